#include "acquisition/v4l2_capture.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "acquisition/grabber.h"
#include "core/globals.h"
#include "core/startup.h"

namespace sv {

namespace {

// No capture device sends frames larger than this a side; bigger numbers are
// a driver's mistake, not a picture.
constexpr long kMostSide = 1L << 15;

// Bytes of a line without padding. A YUYV pair of pixels shares four bytes,
// so an odd width still takes a whole pair.
size_t LineBytes(uint32_t pixelFormat, long width) {
  if (pixelFormat == kCaptureYUYV) return size_t((width + 1) / 2) * 4;
  return size_t(width) * size_t(CaptureBytesPerPixel(pixelFormat));
}

uint16_t Clamp8(int v) { return uint16_t(std::clamp(v, 0, 255)); }

// BT.601, studio range, in 8.8 fixed point.
void YuvToRgb(int y, int u, int v, uint16_t* rgb) {
  const int c = 298 * (y - 16) + 128;
  const int d = u - 128;
  const int e = v - 128;
  rgb[0] = Clamp8((c + 409 * e) >> 8);
  rgb[1] = Clamp8((c - 100 * d - 208 * e) >> 8);
  rgb[2] = Clamp8((c + 516 * d) >> 8);
}

uint16_t Grey555(std::span<const uint16_t> table, uint8_t r, uint8_t g, uint8_t b) {
  return table[size_t(r >> 3) << 10 | size_t(g >> 3) << 5 | size_t(b >> 3)];
}

}  // namespace

int CaptureBytesPerPixel(uint32_t pixelFormat) {
  switch (pixelFormat) {
    case kCaptureGrey: return 1;
    case kCaptureY16:
    case kCaptureYUYV: return 2;
    case kCaptureRGB24: return 3;
    default: return 0;
  }
}

size_t CaptureFrameBytes(const CaptureFormat& f) {
  if (CaptureBytesPerPixel(f.pixelFormat) == 0) return 0;
  if (f.width <= 0 || f.height <= 0 || f.width > kMostSide || f.height > kMostSide) return 0;
  const size_t line = LineBytes(f.pixelFormat, f.width);
  if (f.bytesPerLine < 0 || size_t(f.bytesPerLine) < line || f.bytesPerLine > 16 * kMostSide)
    return 0;
  return size_t(f.bytesPerLine) * size_t(f.height - 1) + line;
}

bool ConvertCaptureFrame(const CaptureFormat& f, ConstSamples8 bytes, bool colour,
                         std::span<const uint16_t> rgbToGrey, Samples16 dest) {
  const size_t need = CaptureFrameBytes(f);
  if (need == 0 || bytes.size() < need) return false;
  const FrameSize size{f.width, f.height};
  if (!Holds(dest, size, colour ? 3 : 1)) return false;
  if (f.pixelFormat == kCaptureRGB24 && !colour && rgbToGrey.size() < 65536) return false;
  const long w = f.width;
  uint16_t* out = dest.data();
  for (long y = 0; y < f.height; ++y) {
    const uint8_t* in = bytes.data() + size_t(y) * size_t(f.bytesPerLine);
    switch (f.pixelFormat) {
      case kCaptureGrey:
        if (!colour) {
          for (long x = 0; x < w; ++x) out[x] = in[x];
          out += w;
          break;
        }
        for (long x = 0; x < w; ++x) {
          const uint16_t v = in[x];
          *out++ = v;
          *out++ = v;
          *out++ = v;
        }
        break;
      case kCaptureY16:
        if (!colour && std::endian::native == std::endian::little) {
          // The words are the samples already.
          std::memcpy(out, in, size_t(w) * 2);
          out += w;
          break;
        }
        for (long x = 0; x < w; ++x) {
          const uint16_t v = uint16_t(in[2 * x] | in[2 * x + 1] << 8);
          *out++ = v;
          if (colour) {
            *out++ = v;
            *out++ = v;
          }
        }
        break;
      case kCaptureYUYV:
        for (long x = 0; x < w; x += 2) {
          const uint8_t* q = in + 2 * x;  // Y0 U Y1 V
          const bool second = x + 1 < w;
          if (colour) {
            YuvToRgb(q[0], q[1], q[3], out);
            out += 3;
            if (second) {
              YuvToRgb(q[2], q[1], q[3], out);
              out += 3;
            }
          } else {
            *out++ = q[0];
            if (second) *out++ = q[2];
          }
        }
        break;
      case kCaptureRGB24:
        for (long x = 0; x < w; ++x) {
          const uint8_t* p = in + 3 * x;
          if (colour) {
            *out++ = p[0];
            *out++ = p[1];
            *out++ = p[2];
          } else {
            *out++ = Grey555(rgbToGrey, p[0], p[1], p[2]);
          }
        }
        break;
      default: return false;
    }
  }
  return true;
}

// --- The driver --------------------------------------------------------------------

V4L2CaptureDriver::V4L2CaptureDriver(int index) : index_(index) {}

V4L2CaptureDriver::~V4L2CaptureDriver() { Close(); }

std::string V4L2CaptureDriver::InterfaceName() {
  if (stream_) return card_;
  return CaptureDeviceList().Description(index_);
}

std::string V4L2CaptureDriver::Version() { return "video4linux"; }

long V4L2CaptureDriver::Inputs() {
  return std::max<long>(1, static_cast<long>(inputs_.size()));
}

std::string V4L2CaptureDriver::InputName(long input) {
  if (input >= 0 && input < static_cast<long>(inputs_.size()) && !inputs_[size_t(input)].empty())
    return inputs_[size_t(input)];
  return "Video Source";
}

bool V4L2CaptureDriver::Open(long input) {
  Close();
  stream_ = CaptureDeviceList().OpenStream(index_);
  if (!stream_) return false;
  card_ = stream_->CardName();
  inputs_ = stream_->Inputs();
  // The first input is the device's own choice already; another one must take.
  if (input > 0 && input < static_cast<long>(inputs_.size()) && !stream_->SelectInput(input)) {
    Close();
    return false;
  }
  if (!Negotiate()) {
    Close();
    return false;
  }
  buffers_ = stream_->RequestBuffers(kBuffers);
  bool mapped = buffers_ > 0;
  for (long i = 0; mapped && i < buffers_; ++i)
    mapped = stream_->BufferBytes(i).size() >= frameBytes_;
  if (!mapped) {
    Close();
    return false;
  }
  // A colour device in a grey picture goes through the grey table.
  std::vector<uint16_t>& grey = G().RGBtoGrey;
  if (grey.size() != 65536) grey = BuildRGBtoGrey();
  return true;
}

bool V4L2CaptureDriver::Negotiate() {
  const std::vector<uint32_t> offered = stream_->Formats();
  for (uint32_t want : kCaptureFormatOrder) {
    if (std::find(offered.begin(), offered.end(), want) == offered.end()) continue;
    CaptureFormat got;
    if (!stream_->SetFormat(want, got)) continue;
    // Some drivers leave the line length to be worked out.
    if (got.bytesPerLine == 0 && got.width > 0)
      got.bytesPerLine = static_cast<long>(LineBytes(got.pixelFormat, got.width));
    const size_t bytes = CaptureFrameBytes(got);
    if (bytes == 0) continue;
    format_ = got;
    frameBytes_ = bytes;
    return true;
  }
  return false;
}

void V4L2CaptureDriver::Close() {
  if (stream_) {
    if (streaming_) stream_->StreamOff();
    stream_->ReleaseBuffers();
    stream_.reset();
  }
  streaming_ = false;
  buffers_ = 0;
  format_ = CaptureFormat();
  frameBytes_ = 0;
  card_.clear();
  inputs_.clear();
}

bool V4L2CaptureDriver::IsOpen() const { return stream_ != nullptr; }

long V4L2CaptureDriver::Width() { return stream_ ? format_.width : 0; }
long V4L2CaptureDriver::Height() { return stream_ ? format_.height : 0; }
long V4L2CaptureDriver::Bits() { return stream_ && format_.pixelFormat == kCaptureY16 ? 16 : 8; }
bool V4L2CaptureDriver::IsColor() { return GB().GrabberColor; }

bool V4L2CaptureDriver::Start() {
  if (!stream_) return false;
  if (streaming_) return true;
  bool ok = true;
  for (long i = 0; ok && i < buffers_; ++i) ok = stream_->Queue(i);
  if (ok) ok = stream_->StreamOn();
  // A failed start leaves every buffer with this program again.
  if (!ok) stream_->StreamOff();
  streaming_ = ok;
  return ok;
}

long V4L2CaptureDriver::ReadImage(Samples16 dest) {
  if (!stream_) return kGrabberNoSync;
  const bool colour = IsColor();
  if (!Holds(dest, FrameSize{format_.width, format_.height}, colour ? 3 : 1)) return -1;
  if (!Start()) return kGrabberNoSync;

  // Everything the device has filled by now: the newest frame is kept, the
  // older ones and damaged ones go straight back to the device.
  CaptureBuffer newest;
  bool have = false;
  auto takeReady = [&] {
    CaptureBuffer b;
    while (stream_->Dequeue(b)) {
      const size_t mapped = stream_->BufferBytes(b.index).size();
      const size_t used = b.bytesUsed ? std::min(b.bytesUsed, mapped) : mapped;
      if (b.error || used < frameBytes_) {
        stream_->Queue(b.index);
        continue;
      }
      if (have) stream_->Queue(newest.index);
      newest = b;
      have = true;
    }
  };
  takeReady();
  if (!have && stream_->Wait(timeoutMs_) > 0) takeReady();
  if (!have) return kGrabberNoSync;

  const bool ok = ConvertCaptureFrame(format_, stream_->BufferBytes(newest.index), colour,
                                      G().RGBtoGrey, dest);
  stream_->Queue(newest.index);
  return ok ? 0 : kGrabberNoSync;
}

std::unique_ptr<CameraDriver> MakeCaptureDriver(int index) {
  return std::make_unique<V4L2CaptureDriver>(index);
}

}  // namespace sv
