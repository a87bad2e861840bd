// AVI films: 20 frames of 1024 x 1024 at 16 bits written losslessly
// (FFV1) through Class_SV2AVI, beside the same frames encoded by
// libavcodec's FFV1 alone, with no container and no file, in the same run.
// The difference is what the film adds: the container, the file and the
// class. Informational: no target.
#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "harness.h"
#include "video/class_sv2avi.h"
#include "video/compress_options.h"

namespace {

using svbench::Data;
using svbench::Frames;

constexpr uint32_t kAviFrames = 20;

std::string Temp(const char* name) {
  std::error_code ec;
  const std::string folder = std::filesystem::is_directory("/dev/shm", ec)
                                 ? std::string("/dev/shm/")
                                 : std::filesystem::temp_directory_path().string() + "/";
  return folder + "sv_avi_bench_" + std::to_string(::getpid()) + "_" + name;
}

// Two camera frames in turn, so that no frame repeats the one before.
const void* Source(uint32_t i) {
  return i % 2 ? static_cast<const void*>(Data().grey2.data())
               : static_cast<const void*>(Data().grey.data());
}

void FilmWrite(const std::string& path) {
  sv::Class_SV2AVI film;
  film.Options(sv::DefaultCompressOptions(sv::FilmCodec::Lossless));
  std::string name = path;
  long w = Frames::kWidth, h = Frames::kHeight, bits = 16;
  float rate = 25;
  if (!film.FileOpen(name, sv::kFilmOpenCreateWrite, &w, &h, &bits, &rate, false)) std::abort();
  for (uint32_t i = 0; i < kAviFrames; ++i)
    if (!film.WriteFrame(i, Source(i))) std::abort();
  if (!film.FileClose()) std::abort();
}

// The codec alone, set up as the film sets it up.
void EncodeOnly() {
  const AVCodec* ffv1 = avcodec_find_encoder(AV_CODEC_ID_FFV1);
  AVCodecContext* c = ffv1 ? avcodec_alloc_context3(ffv1) : nullptr;
  if (!c) std::abort();
  c->width = int(Frames::kWidth);
  c->height = int(Frames::kHeight);
  c->pix_fmt = AV_PIX_FMT_GRAY16LE;
  c->time_base = AVRational{1, 25};
  c->framerate = AVRational{25, 1};
  c->gop_size = 1;
  c->thread_count = 1;
  if (avcodec_open2(c, ffv1, nullptr) < 0) std::abort();
  AVFrame* f = av_frame_alloc();
  AVPacket* p = av_packet_alloc();
  f->format = c->pix_fmt;
  f->width = c->width;
  f->height = c->height;
  if (av_frame_get_buffer(f, 0) < 0) std::abort();
  const size_t line = size_t(Frames::kWidth) * 2;
  size_t bytes = 0;
  auto drain = [&] {
    while (avcodec_receive_packet(c, p) == 0) {
      bytes += size_t(p->size);
      av_packet_unref(p);
    }
  };
  for (uint32_t i = 0; i < kAviFrames; ++i) {
    if (av_frame_make_writable(f) < 0) std::abort();
    const auto* src = static_cast<const uint8_t*>(Source(i));
    for (long y = 0; y < Frames::kHeight; ++y)
      std::memcpy(f->data[0] + y * f->linesize[0], src + size_t(y) * line, line);
    f->pts = i;
    if (avcodec_send_frame(c, f) < 0) std::abort();
    drain();
  }
  avcodec_send_frame(c, nullptr);
  drain();
  svbench::Use(&bytes);
  av_packet_free(&p);
  av_frame_free(&f);
  avcodec_free_context(&c);
}

}  // namespace

SVBENCH_ROWS(VideoAviRows) {
  // Rows are per film of 20 frames; the memcpy column is that of one frame.
  svbench::Kernel("AVI FFV1 write (20 x 2 MB)", Frames::kGreyBytes, [] {
    const std::string path = Temp("w.avi");
    FilmWrite(path);
    ::unlink(path.c_str());
  });
  svbench::Kernel("FFV1 encode only (20 x 2 MB)", Frames::kGreyBytes, [] { EncodeOnly(); });
  svbench::Note([] {
    const std::string path = Temp("size.avi");
    FilmWrite(path);
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    ::unlink(path.c_str());
    return "AVI FFV1: " + std::to_string(size / kAviFrames) + " bytes a 2 MB frame (of " +
           std::to_string(kAviFrames) + ")";
  });
}
