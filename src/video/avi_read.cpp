// Class_SV2AVI: opening a film for reading and finding its frames.
#include <algorithm>
#include <cstring>

#include "video/avi_impl.h"

namespace sv {
namespace {

constexpr long kMaxSide = 32768;
// Decode errors in a row after which a frame counts as unreadable.
constexpr int kMaxErrors = 64;

int ReadMemory(void* opaque, uint8_t* buf, int size) {
  auto* m = static_cast<Class_SV2AVI::Impl::Memory*>(opaque);
  const size_t left = m->size - m->pos;
  if (left == 0) return AVERROR_EOF;
  const size_t n = std::min(left, size_t(size));
  std::memcpy(buf, m->data + m->pos, n);
  m->pos += n;
  return int(n);
}

int64_t SeekMemory(void* opaque, int64_t offset, int whence) {
  auto* m = static_cast<Class_SV2AVI::Impl::Memory*>(opaque);
  whence &= ~AVSEEK_FORCE;
  if (whence == AVSEEK_SIZE) return int64_t(m->size);
  int64_t base = whence == SEEK_CUR ? int64_t(m->pos) : whence == SEEK_END ? int64_t(m->size) : 0;
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return -1;
  const int64_t to = base + offset;
  if (to < 0 || to > int64_t(m->size)) return -1;
  m->pos = size_t(to);
  return to;
}

bool ValidRate(AVRational r) { return r.num > 0 && r.den > 0; }

}  // namespace

bool Class_SV2AVI::OpenFromMemory(const uint8_t* data, size_t size) {
  FileClose();
  if (!data) return false;
  return OpenRead("", data, size);
}

bool Class_SV2AVI::OpenRead(const std::string& filename, const uint8_t* data, size_t size) {
  d_ = std::make_unique<Impl>();
  Impl& d = *d_;
  auto fail = [this] {
    d_.reset();
    return false;
  };
  d.fmt = avformat_alloc_context();
  if (!d.fmt) return fail();
  if (data) {
    d.memory = {data, size, 0};
    auto* buf = static_cast<unsigned char*>(av_malloc(4096));
    if (!buf) return fail();
    d.memoryIO = avio_alloc_context(buf, 4096, 0, &d.memory, ReadMemory, nullptr, SeekMemory);
    if (!d.memoryIO) {
      av_free(buf);
      return fail();
    }
    d.fmt->pb = d.memoryIO;
    d.fmt->flags |= AVFMT_FLAG_CUSTOM_IO;
  }
  // Only the AVI reader: another container is not a film of this class.
  const AVInputFormat* avi = av_find_input_format("avi");
  if (avformat_open_input(&d.fmt, data ? nullptr : filename.c_str(), avi, nullptr) < 0) {
    d.fmt = nullptr;  // freed on failure
    return fail();
  }
  if (avformat_find_stream_info(d.fmt, nullptr) < 0) return fail();
  const AVCodec* decoder = nullptr;
  d.streamIndex = av_find_best_stream(d.fmt, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
  if (d.streamIndex < 0 || !decoder) return fail();
  d.stream = d.fmt->streams[d.streamIndex];
  const AVCodecParameters* par = d.stream->codecpar;
  if (par->width <= 0 || par->height <= 0 || par->width > kMaxSide || par->height > kMaxSide)
    return fail();
  d.codec = avcodec_alloc_context3(decoder);
  if (!d.codec || avcodec_parameters_to_context(d.codec, par) < 0) return fail();
  d.codec->thread_count = 1;
  if (avcodec_open2(d.codec, decoder, nullptr) < 0) return fail();
  d.frame = av_frame_alloc();
  d.held = av_frame_alloc();
  d.packet = av_packet_alloc();
  if (!d.frame || !d.held || !d.packet) return fail();

  d.width = par->width;
  d.height = par->height;
  switch (AVPixelFormat(par->format)) {
    case AV_PIX_FMT_GRAY16LE:
    case AV_PIX_FMT_GRAY16BE: d.pixels = AVIPixels::Grey16; break;
    case AV_PIX_FMT_GRAY8: d.pixels = AVIPixels::Grey8; break;
    default: d.pixels = AVIPixels::Colour; break;
  }
  width_ = d.width;
  height_ = d.height;
  colour_ = d.pixels == AVIPixels::Colour;
  bits_ = d.pixels == AVIPixels::Grey16 ? 16 : 8;
  if (FrameSize() == 0) return fail();

  AVRational rate = d.stream->avg_frame_rate;
  if (!ValidRate(rate)) rate = d.stream->r_frame_rate;
  if (!ValidRate(rate) && ValidRate(d.stream->time_base)) rate = av_inv_q(d.stream->time_base);
  if (!ValidRate(rate)) rate = AVRational{15, 1};
  d.frameTime = av_inv_q(rate);
  rate_ = float(av_q2d(rate));
  d.startTs = d.stream->start_time != AV_NOPTS_VALUE ? d.stream->start_time : 0;
  d.delay = std::clamp(par->video_delay, 0, 16);

  int64_t frames = d.stream->nb_frames;
  if (frames <= 0) {
    // A film whose writer never closed it: no count and no index. Its
    // chunks are counted, and the film read from the first.
    while (av_read_frame(d.fmt, d.packet) >= 0) {
      if (d.packet->stream_index == d.streamIndex) {
        int64_t at = frames;
        if (d.packet->dts != AV_NOPTS_VALUE)
          at = av_rescale_q(d.packet->dts - d.startTs, d.stream->time_base, d.frameTime);
        frames = std::max(frames + 1, at + 1);
      }
      av_packet_unref(d.packet);
    }
    if (frames <= 0 || av_seek_frame(d.fmt, d.streamIndex, d.startTs, AVSEEK_FLAG_BACKWARD) < 0)
      return fail();
  }
  frames_ = long(std::min<int64_t>(frames, INT32_MAX));
  filename_ = data ? std::string("(memory)") : filename;
  return true;
}

// AVI keeps no presentation times: a picture's stamp is that of the chunk
// whose decoding let it out, later by the decoder's delay when it reorders
// B-frames.
int64_t Class_SV2AVI::Impl::IndexOf(const AVFrame* f) const {
  const int64_t ts = f->best_effort_timestamp;
  if (ts == AV_NOPTS_VALUE) return heldIndex + 1;
  return av_rescale_q_rnd(ts - startTs, stream->time_base, frameTime,
                          AVRounding(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX)) -
         delay;
}

bool Class_SV2AVI::Impl::Seek(int64_t target) {
  int64_t ts = startTs + av_rescale_q(target, frameTime, stream->time_base);
  if (delay > 0) {
    // A B-frame may lean on the picture before the key frame found, so one
    // key frame further back.
    const int e = av_index_search_timestamp(stream, ts, AVSEEK_FLAG_BACKWARD);
    const AVIndexEntry* key = e >= 0 ? avformat_index_get_entry(stream, e) : nullptr;
    const int before = key ? av_index_search_timestamp(stream, key->timestamp - 1,
                                                       AVSEEK_FLAG_BACKWARD)
                           : -1;
    const AVIndexEntry* earlier = before >= 0 ? avformat_index_get_entry(stream, before) : nullptr;
    ts = earlier ? earlier->timestamp : startTs;
  }
  avcodec_flush_buffers(codec);
  if (av_seek_frame(fmt, streamIndex, ts, AVSEEK_FLAG_BACKWARD) < 0 &&
      av_seek_frame(fmt, streamIndex, startTs, AVSEEK_FLAG_BACKWARD) < 0 &&
      av_seek_frame(fmt, -1, 0, AVSEEK_FLAG_BYTE) < 0)
    return false;
  av_frame_unref(held);
  heldIndex = -1;
  drained = false;
  inputDone = false;
  return true;
}

bool Class_SV2AVI::Impl::ReadInto(int64_t target, uint8_t* buffer) {
  if (heldIndex == target) return CopyOut(held, buffer);
  bool forward = heldIndex >= 0 && target > heldIndex;
  if (forward && drained) return CopyOut(held, buffer);  // past the end of the data
  if (forward) {
    // Seek only when a key frame lies between the frame held and the one asked for.
    const int64_t ts = startTs + av_rescale_q(target, frameTime, stream->time_base);
    const int e = av_index_search_timestamp(stream, ts, AVSEEK_FLAG_BACKWARD);
    const AVIndexEntry* entry = e >= 0 ? avformat_index_get_entry(stream, e) : nullptr;
    if (entry && av_rescale_q(entry->timestamp - startTs, stream->time_base, frameTime) > heldIndex)
      forward = false;
  }
  if (!forward && !Seek(target)) return false;
  int errors = 0;
  for (;;) {
    int r = avcodec_receive_frame(codec, frame);
    if (r == 0) {
      errors = 0;
      const int64_t index = IndexOf(frame);
      if (index > target && heldIndex >= 0) {
        // The frame asked for was skipped: the one before stands for it.
        const bool ok = CopyOut(held, buffer);
        av_frame_unref(held);
        av_frame_move_ref(held, frame);
        heldIndex = index;
        return ok;
      }
      av_frame_unref(held);
      av_frame_move_ref(held, frame);
      heldIndex = index;
      if (index == target) return CopyOut(held, buffer);
      if (index > target) {  // nothing before it: a gap in front reads as black
        std::memset(buffer, 0, size_t(width) * size_t(height) * BytesPerPixel());
        return true;
      }
      continue;
    }
    if (r == AVERROR_EOF) {
      drained = true;
      return heldIndex >= 0 && CopyOut(held, buffer);
    }
    if (r != AVERROR(EAGAIN) && (inputDone || ++errors > kMaxErrors)) return false;
    if (inputDone) return false;
    r = av_read_frame(fmt, packet);
    if (r < 0) {
      inputDone = true;
      avcodec_send_packet(codec, nullptr);
      continue;
    }
    // Empty chunks are skipped frames; an empty packet would end the decoder's input.
    if (packet->stream_index == streamIndex && packet->size > 0) {
      if (avcodec_send_packet(codec, packet) < 0 && ++errors > kMaxErrors) {
        av_packet_unref(packet);
        return false;
      }
    }
    av_packet_unref(packet);
  }
}

bool Class_SV2AVI::Impl::CopyOut(const AVFrame* f, uint8_t* buffer) {
  if (!f || f->width <= 0 || f->height <= 0 || f->format < 0) return false;
  const size_t lineBytes = size_t(width) * BytesPerPixel();
  const AVPixelFormat want = BufferFormat();
  const uint8_t* src = nullptr;
  int srcStride = 0;
  if (f->format == want && f->width == width && f->height == height) {
    src = f->data[0];
    srcStride = f->linesize[0];
  } else {
    // Any other picture goes through libswscale into a padded frame first.
    sws = sws_getCachedContext(sws, f->width, f->height, AVPixelFormat(f->format), width, height,
                               want, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT,
                               nullptr, nullptr, nullptr);
    if (!sws) return false;
    if (!converted) {
      converted = av_frame_alloc();
      if (!converted) return false;
      converted->format = want;
      converted->width = width;
      converted->height = height;
      if (av_frame_get_buffer(converted, 0) < 0) {
        av_frame_free(&converted);
        return false;
      }
    }
    if (sws_scale(sws, f->data, f->linesize, 0, f->height, converted->data, converted->linesize) !=
        height)
      return false;
    src = converted->data[0];
    srcStride = converted->linesize[0];
  }
  for (int y = 0; y < height; ++y)
    std::memcpy(buffer + size_t(y) * lineBytes, src + ptrdiff_t(y) * srcStride, lineBytes);
  return true;
}

bool Class_SV2AVI::ReadFrame(uint32_t index, void* buffer, uint32_t& bytesRead) {
  bytesRead = 0;
  if (!d_ || d_->writing || !buffer || long(index) >= frames_) return false;
  if (!d_->ReadInto(int64_t(index), static_cast<uint8_t*>(buffer))) return false;
  bytesRead = FrameSize();
  return true;
}

}  // namespace sv
