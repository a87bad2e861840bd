// The system's video capture devices, /dev/video0 to /dev/video9, as the
// grabber layer sees them: a description per device number, or none, and the
// stream of frames of an opened device. Tests put a list of their own in
// place of the system's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "image/kernel/kernel_types.h"

namespace sv {

inline constexpr int kCaptureDeviceCount = 10;

// Pixel formats by their four-character codes, as video4linux names them.
constexpr uint32_t CaptureFourCC(char a, char b, char c, char d) {
  return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 |
         uint32_t(uint8_t(d)) << 24;
}
inline constexpr uint32_t kCaptureGrey = CaptureFourCC('G', 'R', 'E', 'Y');   // 8-bit grey
inline constexpr uint32_t kCaptureY16 = CaptureFourCC('Y', '1', '6', ' ');    // 16-bit grey, little-endian
inline constexpr uint32_t kCaptureYUYV = CaptureFourCC('Y', 'U', 'Y', 'V');   // 4:2:2, Y0 U Y1 V
inline constexpr uint32_t kCaptureRGB24 = CaptureFourCC('R', 'G', 'B', '3');  // R, G, B bytes

// The frames a device settled on.
struct CaptureFormat {
  uint32_t pixelFormat = 0;
  long width = 0;
  long height = 0;
  long bytesPerLine = 0;  // a line's bytes, padding included
  size_t imageSize = 0;   // a frame's bytes
};

// A filled buffer as the device hands it out.
struct CaptureBuffer {
  long index = -1;
  size_t bytesUsed = 0;
  bool error = false;  // the device marked the frame as damaged
};

// An opened capture device and its memory-mapped frame buffers. A buffer is
// either queued (the device may fill it) or held by this program between
// Dequeue and Queue. Destroying the stream stops it, unmaps the buffers and
// lets the device go.
class CaptureStream {
 public:
  virtual ~CaptureStream() = default;
  virtual std::string CardName() = 0;
  // The device's inputs (connectors, tuners); may be empty.
  virtual std::vector<std::string> Inputs() = 0;
  virtual bool SelectInput(long input) = 0;
  virtual std::vector<uint32_t> Formats() = 0;
  // Asks for a pixel format at the device's present frame size; `got` is what
  // the device settled on, which may be another format.
  virtual bool SetFormat(uint32_t pixelFormat, CaptureFormat& got) = 0;
  // Maps up to `count` buffers; how many the device granted, 0 on failure.
  virtual long RequestBuffers(long count) = 0;
  virtual ConstSamples8 BufferBytes(long index) = 0;
  virtual bool Queue(long index) = 0;
  virtual bool StreamOn() = 0;
  // Stops streaming; every buffer comes back to this program.
  virtual void StreamOff() = 0;
  // Waits up to `ms` milliseconds for a filled buffer: 1 when one is ready,
  // 0 when none came, -1 when the device failed.
  virtual int Wait(int ms) = 0;
  // Takes a filled buffer without waiting; false when none is ready.
  virtual bool Dequeue(CaptureBuffer& buffer) = 0;
  virtual void ReleaseBuffers() = 0;
};

class CaptureDevices {
 public:
  virtual ~CaptureDevices() = default;
  // The card name of device n, cut at its first zero character; "" when there
  // is no such device or it takes no pictures.
  virtual std::string Description(int index) = 0;
  // True when device n can be opened for capture now.
  virtual bool CanOpen(int index) = 0;
  // Opens device n for streaming; nullptr when it cannot be had. A list that
  // knows nothing of streams opens none.
  virtual std::unique_ptr<CaptureStream> OpenStream(int index) {
    (void)index;
    return nullptr;
  }
};

// The video4linux devices of this machine.
class SystemCaptureDevices : public CaptureDevices {
 public:
  std::string Description(int index) override;
  bool CanOpen(int index) override;
  std::unique_ptr<CaptureStream> OpenStream(int index) override;  // v4l2_stream.cpp
  static std::string DevicePath(int index);  // "/dev/video" + index
};

// The list in use: the system's unless another was set.
CaptureDevices& CaptureDeviceList();
// nullptr goes back to the system's list.
void SetCaptureDevices(CaptureDevices* devices);

}  // namespace sv
