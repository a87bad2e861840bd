// The image recorder: 200 records of 1024 x 1024 at 12 bits (a 2 MB frame
// each) through Form_ImageVTR (the step loop, the frame straight from the
// grabber into the film, the cells, the sheet row) beside the same frames
// copied from the grabber and written by Class_SV2VID alone, in the same
// run. The recorder's target is at most 1.2 times the bare film.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "cli/batch_host.h"
#include "experiment/experiment_settings.h"
#include "harness.h"
#include "video/class_sv2vid.h"
#include "video/form_image_vtr.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr long kRecords = 200;

std::string Temp(const char* name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec) ? std::string("/dev/shm/")
                                                         : std::filesystem::temp_directory_path().string() + "/";
  }();
  return folder + "sv_recorder_bench_" + std::to_string(::getpid()) + "_" + name;
}

// A camera that hands out a frame from memory.
class MemoryGrabber : public sv::VTRGrabber {
 public:
  long Inputs() override { return 1; }
  long Input() override { return 0; }
  bool SelectInput(long) override { return true; }
  long Width() override { return Frames::kWidth; }
  long Height() override { return Frames::kHeight; }
  long Bits() override { return 12; }
  bool IsColor() override { return false; }
  long Read(sv::Samples16 dest) override {
    std::memcpy(dest.data(), Data().grey.data(), std::min(dest.size_bytes(), Frames::kGreyBytes));
    return 0;
  }
  long SettleMs() override { return 0; }
};

void Record(const std::string& path) {
  std::ostringstream quiet;
  sv::cli::BatchHost host(quiet);
  sv::cli::HostScope scope(&host);
  MemoryGrabber grabber;
  sv::SetRecorderGrabber(&grabber);
  sv::ResetVTRSettings();
  sv::VTRSettings& v = sv::VTR();
  v.ExperimentType = sv::kExperimentIt;
  v.tStep = v.tStop = 0;
  v.Filename = path;
  {
    sv::Form_ImageVTR form;
    form.LoadControls();
    form.Command_Accept();
    form.StepLimit = kRecords;
    form.Command_Start();
    if (form.FrameIndex.empty() || form.FrameIndex[0] != uint32_t(kRecords)) std::abort();
  }
  sv::SetRecorderGrabber(nullptr);
  sv::ResetVTRSettings();
}

void FilmOnly(const std::string& path) {
  sv::Class_SV2VID film;
  std::string name = path;
  long w = Frames::kWidth, h = Frames::kHeight, bits = 12;
  float rate = 15;
  if (!film.FileOpen(name, sv::kFilmOpenCreateWrite, &w, &h, &bits, &rate, false)) std::abort();
  MemoryGrabber grabber;
  for (long i = 0; i < kRecords; ++i) {
    grabber.Read(sv::Samples16(Data().outGrey.data(), Frames::kPixels));
    if (!film.WriteFrame(uint32_t(i), Data().outGrey.data())) std::abort();
  }
  film.FileClose();
}

}  // namespace

SVBENCH_ROWS(RecorderRows) {
  svbench::Kernel("recorder (200 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string path = Temp("r.vid");
    Record(path);
    ::unlink(path.c_str());
  });
  svbench::Kernel("grab + VID write (200 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string path = Temp("f.vid");
    FilmOnly(path);
    ::unlink(path.c_str());
  });
  svbench::TargetAgainst("recorder (200 x 2 MB)", "grab + VID write (200 x 2 MB)", 1.2);
}
