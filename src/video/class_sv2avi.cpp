#include "video/class_sv2avi.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>

#include "core/host.h"
#include "video/avi_impl.h"

namespace sv {

bool AVILibraryTooOld(unsigned runFormat, unsigned runCodec) {
  return runFormat < LIBAVFORMAT_VERSION_INT || runCodec < LIBAVCODEC_VERSION_INT;
}

void Class_SV2AVI::Impl::Release() {
  sws_freeContext(sws);
  sws = nullptr;
  av_frame_free(&frame);
  av_frame_free(&held);
  av_frame_free(&converted);
  av_frame_free(&input);
  av_packet_free(&packet);
  avcodec_free_context(&codec);
  if (fmt) {
    if (writing) {
      if (!(fmt->oformat->flags & AVFMT_NOFILE)) avio_closep(&fmt->pb);
      avformat_free_context(fmt);
    } else {
      avformat_close_input(&fmt);
    }
    fmt = nullptr;
  }
  if (memoryIO) {
    av_freep(&memoryIO->buffer);
    avio_context_free(&memoryIO);
  }
  stream = nullptr;
}

Class_SV2AVI::Class_SV2AVI() {
  static const bool quiet = [] {
    av_log_set_level(AV_LOG_QUIET);
    return true;
  }();
  (void)quiet;
}

Class_SV2AVI::~Class_SV2AVI() { FileClose(); }

bool Class_SV2AVI::IsOpen() const { return d_ != nullptr; }
bool Class_SV2AVI::IsWriting() const { return d_ && d_->writing; }

long Class_SV2AVI::Samples() const { return IsOpen() ? frames_ : 0; }

uint32_t Class_SV2AVI::FrameSize() const {
  const uint64_t perPixel = colour_ ? 3 : bits_ > 8 ? 2 : 1;
  const uint64_t bytes =
      uint64_t(std::max(width_, 0L)) * uint64_t(std::max(height_, 0L)) * perPixel;
  return bytes > kMaxAVIFrameBytes ? 0 : uint32_t(bytes);
}

bool Class_SV2AVI::FileSize(uint32_t& low, uint32_t& high) const {
  low = high = 0;
  if (!IsOpen()) return false;
  uint64_t size = 0;
  if (d_->memory.data) {
    size = d_->memory.size;
  } else {
    struct stat st {};
    if (::stat(filename_.c_str(), &st) != 0) return false;
    size = uint64_t(st.st_size);
  }
  low = uint32_t(size);
  high = uint32_t(size >> 32);
  return true;
}

bool Class_SV2AVI::FileClose() {
  if (!d_) return true;
  bool ok = true;
  if (d_->writing) {
    ok = d_->Encode(nullptr);
    ok = av_write_trailer(d_->fmt) == 0 && ok;
    ok = avio_closep(&d_->fmt->pb) == 0 && ok;
  }
  d_.reset();
  filename_.clear();
  return ok;
}

bool Class_SV2AVI::FileOpen(std::string& filename, int mode, long* width, long* height, long* bits,
                            float* rate, bool hasColors) {
  FileClose();
  if (AVILibraryTooOld(avformat_version(), avcodec_version())) {
    host().MsgBox("Video for Windows version is too old", MsgButtons::OK, MsgIcon::Critical,
                  "VfW Error");
    return false;
  }
  if (mode == kFilmOpenDelete) return ::unlink(filename.c_str()) == 0;
  if (mode == kFilmOpenRead || mode == kFilmOpenExist) {
    if (mode == kFilmOpenExist && ::access(filename.c_str(), R_OK) != 0) return false;
    if (!OpenRead(filename, nullptr, 0)) return false;
    if (mode == kFilmOpenRead) {
      if (width) *width = width_;
      if (height) *height = height_;
      if (bits) *bits = bits_;
      if (rate) *rate = rate_;
    }
    return true;
  }
  if ((mode & kFilmOpenWrite) == 0 || !width || !height || !bits) return false;
  // A new film either way: AVI has no room to append.
  width_ = *width;
  height_ = *height;
  colour_ = hasColors;
  bits_ = colour_ || *bits <= 8 ? 8 : std::min(*bits, 16L);
  if (colour_ && *bits != 8) *bits = 8;
  if (!rate || !std::isfinite(*rate) || *rate <= 0) {
    rate_ = 15.0f;
    if (rate) *rate = rate_;
  } else {
    rate_ = *rate;
  }
  frames_ = 0;
  if (!ChooseOptions()) return false;
  return OpenWrite(filename);
}

bool Class_SV2AVI::ChooseOptions() {
  if (options_) return true;
  options_ = CompressOptionsAtHand();
  if (!options_) options_ = sv::ReadCompressOptions();
  if (options_) return true;
  CompressOptions chosen;
  if (!ChooseCompressOptions(chosen)) return false;
  sv::SaveCompressOptions(chosen);
  SetCompressOptions(chosen);
  options_ = chosen;
  return true;
}

bool Class_SV2AVI::ReadCompressOptions() {
  auto o = sv::ReadCompressOptions();
  if (o) options_ = o;
  return o.has_value();
}

bool Class_SV2AVI::SaveCompressOptions() {
  return options_ && sv::SaveCompressOptions(*options_);
}

std::unique_ptr<VideoFile> NewAVIFile() { return std::make_unique<Class_SV2AVI>(); }

}  // namespace sv
