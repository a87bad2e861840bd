// What the recorder tests start from: a scripted host, no main window (the
// recorder keeps a sheet of its own), fresh settings, and a grabber of three
// inputs whose frames tell which input they came from.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "experiment/experiment_settings.h"
#include "hardware/hardware.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/form_image_vtr.h"
#include "video/video_file.h"
#include "worksheet/form_worksheet.h"

namespace sv::test {

// Every sample of a frame from input i is 1000 + 10 * i (+ the frame's
// number with `counting`).
class FakeGrabber : public VTRGrabber {
 public:
  long inputs = 3, input = 0, width = 64, height = 8, bits = 12;
  bool colour = false, counting = false;
  long settle = 0;
  std::vector<long> widths;  // per input, when set
  std::vector<long> selects;
  long reads = 0;

  long Inputs() override { return inputs; }
  long Input() override { return input; }
  bool SelectInput(long i) override {
    if (i < 0 || i >= inputs) return false;
    input = i;
    selects.push_back(i);
    return true;
  }
  long Width() override { return size_t(input) < widths.size() ? widths[size_t(input)] : width; }
  long Height() override { return height; }
  long Bits() override { return bits; }
  bool IsColor() override { return colour; }
  long Read(Samples16 dest) override {
    const uint16_t v = uint16_t(1000 + 10 * input + (counting ? reads : 0));
    ++reads;
    std::fill(dest.begin(), dest.end(), v);
    return 0;
  }
  long SettleMs() override { return settle; }
};

class RecorderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetHardware();
    ResetExperimentSettings();
    ResetVTRSettings();
    ClearSettingsSections();
    SetMainForm(nullptr);
    SetRecorderGrabber(&grabber);
    StopCode() = 0;
    host.tick = 0;
    folder = host.root + "/films/";
    std::filesystem::create_directories(folder);
  }
  void TearDown() override {
    if (!form.Running()) form.CloseAllFilms();
    SetRecorderGrabber(nullptr);
    ResetVTRSettings();
    ResetHardware();
    ResetGlobals();
  }

  // An I(t) recording of `records` frames at 100 ms a step into `name`.
  void DefineIt(const std::string& name, int mode = 0, int records = 3, int average = 1) {
    form.LoadControls();
    form.Option_Experiment = kExperimentIt;
    form.Text_tStep = "0.1";
    form.Text_tStop = std::to_string(records * 100 - 50) + "e-3";
    form.Text_tStart = "0";
    form.Option_VideoSource = mode;
    form.Combo_Average = 0;
    for (int n = average; n > 1; n /= 2) ++form.Combo_Average;
    form.Text_File = name;
    form.Text_File_Change();
    // The records of the last recording go with the new columns.
    if (form.Worksheet() && form.Worksheet()->Rows() > 1) host.Answer(MsgResult::Yes);
    form.Command_Accept();
  }
  void Record() { form.Command_Start(); }

  // Opens a film for reading with its labels; the test fails when it does not open.
  std::unique_ptr<VideoFile> Open(const std::string& name) {
    auto film = NewVideoFile(false);
    std::string n = name;
    EXPECT_TRUE(film->FileOpen(n, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false)) << name;
    return film;
  }
  // Frame i of a film: its cells (cycle first) and its last sample.
  struct Frame {
    std::vector<float> cells;
    uint32_t lastSample = 0;
  };
  Frame ReadFrame(VideoFile& film, uint32_t i) {
    std::vector<uint8_t> bytes(film.FrameSize());
    uint32_t got = 0;
    EXPECT_TRUE(film.ReadFrame(i, bytes.data(), got));
    Frame f;
    f.cells.resize(size_t(film.Cols() + 1));
    SV_decode(f.cells, bytes);
    const size_t n = bytes.size();
    f.lastSample = film.BitsPerPixel() > 8 ? uint32_t(bytes[n - 2] | bytes[n - 1] << 8) : bytes[n - 1];
    return f;
  }
  std::vector<std::string> Titles() const {
    std::vector<std::string> out;
    for (const RecordedMessage& m : host.messages) out.push_back(m.title);
    return out;
  }

  ScriptedHost host;
  FakeGrabber grabber;
  Form_ImageVTR form;
  std::string folder;
};

}  // namespace sv::test
