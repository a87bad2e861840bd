// The FFmpeg state behind Class_SV2AVI; only its own files include this.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <string>

#include "video/class_sv2avi.h"

namespace sv {

// How the film's pixels lie in the caller's buffer.
enum class AVIPixels { Grey8, Grey16, Colour };

struct Class_SV2AVI::Impl {
  ~Impl() { Release(); }
  void Release();

  AVIPixels pixels = AVIPixels::Grey8;
  int width = 0, height = 0;
  size_t BytesPerPixel() const {
    return pixels == AVIPixels::Grey16 ? 2 : pixels == AVIPixels::Colour ? 3 : 1;
  }
  AVPixelFormat BufferFormat() const {
    return pixels == AVIPixels::Grey16   ? AV_PIX_FMT_GRAY16LE
           : pixels == AVIPixels::Colour ? AV_PIX_FMT_RGB24
                                         : AV_PIX_FMT_GRAY8;
  }

  AVFormatContext* fmt = nullptr;
  AVCodecContext* codec = nullptr;
  AVStream* stream = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  SwsContext* sws = nullptr;
  bool writing = false;

  // Reading.
  AVIOContext* memoryIO = nullptr;  // over `memory` when opened from bytes
  struct Memory {
    const uint8_t* data = nullptr;
    size_t size = 0, pos = 0;
  } memory;
  int streamIndex = -1;
  int64_t startTs = 0;
  int delay = 0;                 // frames a B-frame decoder holds back
  AVRational frameTime{1, 15};   // one frame's duration
  AVFrame* held = nullptr;       // the last decoded frame,
  int64_t heldIndex = -1;        // its index (-1: none)
  bool drained = false;          // the decoder has given all it had
  bool inputDone = false;        // the file has given all its packets
  AVFrame* converted = nullptr;  // a picture in the buffer's format, padded
  // Frame `target` into the caller's buffer.
  bool ReadInto(int64_t target, uint8_t* buffer);
  bool Seek(int64_t target);
  int64_t IndexOf(const AVFrame* f) const;
  bool CopyOut(const AVFrame* f, uint8_t* buffer);

  // Writing.
  AVFrame* input = nullptr;  // the caller's picture, padded, for libswscale
  bool lossless = true;      // FFV1: pixels copied as they are
  int64_t nextIndex = 0;     // frames written, gaps included
  bool Encode(AVFrame* f);   // nullptr flushes
  bool FillFrame(const uint8_t* buffer, AVFrame* f);
};

}  // namespace sv
