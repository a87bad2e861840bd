// Image files: a 1024 x 1024 16-bit picture loaded and saved as TIFF and as
// B16, beside a plain read and write of the same bytes through the C library.
// The files' target is at most 1.3 times the plain rows. The loads include
// the depth scan and marking the display copy stale; the copy itself is made
// when the picture is first drawn (the SV_display row times it).
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "harness.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace {

using svbench::Data;
using svbench::Frames;

// Memory-backed when the system has it: the disk's own writeback would
// drown the difference between the rows.
std::string Temp(const char* name) {
  static const std::string folder = [] {
    std::error_code ec;
    return std::filesystem::is_directory("/dev/shm", ec) ? std::string("/dev/shm/")
                                                         : std::string("/tmp/");
  }();
  return folder + "sv_files_bench_" + name;
}

sv::Form_Camera& Picture() {
  static sv::Form_Camera* image = [] {
    auto* p = new sv::Form_Camera(nullptr);
    p->CreateImage(Frames::kWidth, Frames::kHeight, 16, Data().grey.data());
    sv::SaveTIF(*p, Temp("a.t16"), 6);
    sv::SaveB16(*p, Temp("a.b16"));
    // The same picture with 12-bit samples: the depth scan reads them all.
    sv::Form_Camera twelve(nullptr);
    std::vector<uint16_t> samples(Data().grey);
    for (uint16_t& v : samples) v = uint16_t(v >> 4);
    twelve.CreateImage(Frames::kWidth, Frames::kHeight, 16, samples.data());
    sv::SaveB16(twelve, Temp("a12.b16"));
    return p;
  }();
  return *image;
}

std::vector<char>& Buffer() {
  static std::vector<char> b(Frames::kGreyBytes + 4096);
  return b;
}

void PlainRead(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return;
  const size_t n = std::fread(Buffer().data(), 1, Buffer().size(), f);
  std::fclose(f);
  svbench::Use(&n);
}

void PlainWrite(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return;
  std::fwrite(Data().grey.data(), 1, Frames::kGreyBytes, f);
  std::fclose(f);
}

}  // namespace

SVBENCH_ROWS(FileRows) {
  static sv::Form_Camera reader(nullptr);
  svbench::Kernel("LoadTIF (16 bits)", Frames::kGreyBytes, [] {
    Picture();
    sv::LoadTIF(reader, Temp("a.t16"));
    svbench::Use(reader.ImagePtr());
  });
  svbench::Kernel("LoadB16", Frames::kGreyBytes, [] {
    Picture();
    sv::LoadB16(reader, Temp("a.b16"));
    svbench::Use(reader.ImagePtr());
  });
  svbench::Kernel("LoadB16 (12-bit samples)", Frames::kGreyBytes, [] {
    Picture();
    sv::LoadB16(reader, Temp("a12.b16"));
    svbench::Use(reader.ImagePtr());
  });
  svbench::Kernel("plain read (2 MB file)", Frames::kGreyBytes, [] {
    Picture();
    PlainRead(Temp("a.b16"));
  });
  svbench::Kernel("SaveTIF (16 bits)", Frames::kGreyBytes,
                  [] { sv::SaveTIF(Picture(), Temp("b.t16"), 6); });
  svbench::Kernel("SaveB16", Frames::kGreyBytes, [] { sv::SaveB16(Picture(), Temp("b.b16")); });
  svbench::Kernel("plain write (2 MB file)", Frames::kGreyBytes,
                  [] { PlainWrite(Temp("c.raw")); });
  // The 12-bit row has no target: its depth scan must read every sample back
  // after the system's copy, which leaves them out of the cache.
  for (const char* load : {"LoadTIF (16 bits)", "LoadB16"})
    svbench::TargetAgainst(load, "plain read (2 MB file)", 1.3);
  for (const char* save : {"SaveTIF (16 bits)", "SaveB16"})
    svbench::TargetAgainst(save, "plain write (2 MB file)", 1.3);
}
