// Video capture device n as a camera behind the grabber wrappers: frames by
// memory-mapped streaming from CaptureDeviceList().OpenStream(n), converted
// once into the caller's samples.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "acquisition/camera_driver.h"
#include "acquisition/capture_devices.h"

namespace sv {

// The formats taken, best first: grey needs no conversion, Y16 keeps a deep
// camera's depth, YUYV is what nearly every webcam sends, RGB24 the rest.
inline constexpr std::array<uint32_t, 4> kCaptureFormatOrder = {kCaptureGrey, kCaptureY16,
                                                                kCaptureYUYV, kCaptureRGB24};

// Bytes of one pixel in a format this program takes; 0 for any other.
int CaptureBytesPerPixel(uint32_t pixelFormat);

// The bytes a frame of `format` needs: its last line ends without padding.
// 0 when the format is not one this program takes or its numbers do not fit
// together.
size_t CaptureFrameBytes(const CaptureFormat& format);

// One frame of `format` from `bytes` into `dest`: three samples a pixel (R,
// G, B) when `colour`, else one. Grey and Y16 are widened or copied (a grey
// frame in colour has three equal samples); YUYV goes to RGB by BT.601 in
// integers, or to grey straight from Y; RGB24 is copied, or taken to grey
// through `rgbToGrey` (65536 entries, indexed by RGB555). False when the
// bytes or `dest` are too short or the format is not taken.
bool ConvertCaptureFrame(const CaptureFormat& format, ConstSamples8 bytes, bool colour,
                         std::span<const uint16_t> rgbToGrey, Samples16 dest);

class V4L2CaptureDriver : public CameraDriver {
 public:
  static constexpr long kBuffers = 4;
  static constexpr int kDefaultTimeoutMs = 1000;

  explicit V4L2CaptureDriver(int index);
  ~V4L2CaptureDriver() override;
  V4L2CaptureDriver(const V4L2CaptureDriver&) = delete;
  V4L2CaptureDriver& operator=(const V4L2CaptureDriver&) = delete;

  std::string InterfaceName() override;
  std::string Version() override;
  long Inputs() override;
  std::string InputName(long input) override;
  bool Open(long input) override;
  void Close() override;
  bool IsOpen() const override;
  long Width() override;
  long Height() override;
  long Bits() override;
  bool IsColor() override;
  bool Start() override;
  long ReadImage(Samples16 dest) override;

  // How long ReadImage waits for a frame before it answers -2.
  void SetTimeout(int ms) { timeoutMs_ = ms < 0 ? 0 : ms; }
  // The format the device settled on; 0 while closed.
  uint32_t PixelFormat() const { return stream_ ? format_.pixelFormat : 0; }

 private:
  bool Negotiate();

  int index_;
  std::unique_ptr<CaptureStream> stream_;
  std::string card_;
  std::vector<std::string> inputs_;
  CaptureFormat format_;
  size_t frameBytes_ = 0;
  long buffers_ = 0;
  bool streaming_ = false;
  int timeoutMs_ = kDefaultTimeoutMs;
};

}  // namespace sv
