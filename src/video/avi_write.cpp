// Class_SV2AVI: creating a film and encoding its frames.
#include <cstring>
#include <vector>

#include "core/host.h"
#include "video/avi_impl.h"

namespace sv {
namespace {

bool Refuse() {
  host().MsgBox(kAVICompressorText, MsgButtons::OK, MsgIcon::Critical, kAVIOpenTitle);
  return false;
}

AVFrame* NewFrame(AVPixelFormat format, int width, int height) {
  AVFrame* f = av_frame_alloc();
  if (!f) return nullptr;
  f->format = format;
  f->width = width;
  f->height = height;
  if (av_frame_get_buffer(f, 0) < 0) av_frame_free(&f);
  return f;
}

}  // namespace

bool Class_SV2AVI::OpenWrite(const std::string& filename) {
  if (width_ <= 0 || height_ <= 0 || width_ > 32768 || height_ > 32768 || FrameSize() == 0)
    return Refuse();
  d_ = std::make_unique<Impl>();
  Impl& d = *d_;
  auto fail = [this] {
    d_.reset();
    return Refuse();
  };
  d.writing = true;
  d.width = int(width_);
  d.height = int(height_);
  d.pixels = colour_ ? AVIPixels::Colour : bits_ > 8 ? AVIPixels::Grey16 : AVIPixels::Grey8;
  d.lossless = options_->handler == kCodecLossless;
  const AVCodec* encoder =
      avcodec_find_encoder(d.lossless ? AV_CODEC_ID_FFV1 : AV_CODEC_ID_MPEG4);
  if (!encoder) return fail();
  if (avformat_alloc_output_context2(&d.fmt, nullptr, "avi", filename.c_str()) < 0 || !d.fmt)
    return fail();
  d.stream = avformat_new_stream(d.fmt, nullptr);
  d.codec = avcodec_alloc_context3(encoder);
  if (!d.stream || !d.codec) return fail();

  // The rate as a fraction MPEG-4 can carry (denominator of the time base up to 65535).
  const AVRational rate = av_d2q(double(rate_), 65535);
  AVCodecContext& c = *d.codec;
  c.width = d.width;
  c.height = d.height;
  c.time_base = av_inv_q(rate);
  c.framerate = rate;
  c.gop_size = options_->keyFrameEvery > 0 ? int(options_->keyFrameEvery) : 12;
  c.thread_count = 1;
  if (d.lossless) {
    c.pix_fmt = d.pixels == AVIPixels::Grey16 ? AV_PIX_FMT_GRAY16LE
                : d.pixels == AVIPixels::Grey8 ? AV_PIX_FMT_GRAY8
                                               : AV_PIX_FMT_BGR0;
  } else {
    c.pix_fmt = AV_PIX_FMT_YUV420P;
    c.max_b_frames = 0;
    // Quality 10000 .. 0 as the quantiser 2 .. 31.
    const int q = 2 + int((kMaxQuality - options_->quality) * 29 / kMaxQuality);
    c.flags |= AV_CODEC_FLAG_QSCALE;
    c.global_quality = FF_QP2LAMBDA * q;
  }
  if (d.fmt->oformat->flags & AVFMT_GLOBALHEADER) c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(d.codec, encoder, nullptr) < 0) return fail();
  if (avcodec_parameters_from_context(d.stream->codecpar, d.codec) < 0) return fail();
  d.stream->time_base = c.time_base;
  d.stream->avg_frame_rate = rate;
  d.frame = NewFrame(c.pix_fmt, d.width, d.height);
  d.packet = av_packet_alloc();
  if (!d.frame || !d.packet) return fail();
  if (!d.lossless) {
    d.input = NewFrame(d.BufferFormat(), d.width, d.height);
    d.sws = sws_getContext(d.width, d.height, d.BufferFormat(), d.width, d.height, c.pix_fmt,
                           SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
    if (!d.input || !d.sws) return fail();
  }
  if (avio_open(&d.fmt->pb, filename.c_str(), AVIO_FLAG_WRITE) < 0) return fail();
  if (avformat_write_header(d.fmt, nullptr) < 0) return fail();
  filename_ = filename;
  return true;
}

bool Class_SV2AVI::Impl::FillFrame(const uint8_t* buffer, AVFrame* f) {
  if (av_frame_make_writable(f) < 0) return false;
  const size_t lineBytes = size_t(width) * BytesPerPixel();
  if (lossless && pixels == AVIPixels::Colour) {
    for (int y = 0; y < height; ++y) {
      const uint8_t* s = buffer + size_t(y) * lineBytes;
      uint8_t* t = f->data[0] + ptrdiff_t(y) * f->linesize[0];
      for (int x = 0; x < width; ++x, s += 3, t += 4) {
        t[0] = s[2];
        t[1] = s[1];
        t[2] = s[0];
        t[3] = 0;
      }
    }
    return true;
  }
  AVFrame* target = lossless ? f : input;
  if (!lossless && av_frame_make_writable(input) < 0) return false;
  for (int y = 0; y < height; ++y)
    std::memcpy(target->data[0] + ptrdiff_t(y) * target->linesize[0],
                buffer + size_t(y) * lineBytes, lineBytes);
  if (lossless) return true;
  return sws_scale(sws, input->data, input->linesize, 0, height, f->data, f->linesize) == height;
}

bool Class_SV2AVI::Impl::Encode(AVFrame* f) {
  if (avcodec_send_frame(codec, f) < 0) return false;
  int r;
  while ((r = avcodec_receive_packet(codec, packet)) == 0) {
    av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
    packet->stream_index = stream->index;
    if (av_interleaved_write_frame(fmt, packet) < 0) return false;
  }
  return r == AVERROR(EAGAIN) || r == AVERROR_EOF;
}

bool Class_SV2AVI::WriteFrame(uint32_t index, const void* buffer) {
  if (!d_ || !d_->writing || !buffer) return false;
  Impl& d = *d_;
  auto stop = [](const std::string& text) {
    host().MsgBox(text, MsgButtons::OK, MsgIcon::Critical, kAVIWriteTitle);
    return false;
  };
  if (int64_t(index) < d.nextIndex)
    return stop("Frame " + std::to_string(index) +
                " is written already: an AVI film takes its frames in order.");
  if (int64_t(index) - d.nextIndex > int64_t(kMaxAVIGap))
    return stop("Frame " + std::to_string(index) + " would leave a gap of more than " +
                std::to_string(kMaxAVIGap) + " frames.");
  // A gap in front of the first frame starts with a black one; the file
  // marks the other frames of a gap as skipped.
  if (index > 0 && d.nextIndex == 0) {
    const std::vector<uint8_t> blackFrame(FrameSize(), 0);
    d.frame->pts = 0;
    if (!d.FillFrame(blackFrame.data(), d.frame) || !d.Encode(d.frame))
      return stop("Cannot write frame 0 of " + filename_ + ".");
  }
  d.frame->pts = index;
  if (!d.FillFrame(static_cast<const uint8_t*>(buffer), d.frame) || !d.Encode(d.frame))
    return stop("Cannot write frame " + std::to_string(index) + " of " + filename_ + ".");
  d.nextIndex = int64_t(index) + 1;
  frames_ = long(d.nextIndex);
  return true;
}

}  // namespace sv
