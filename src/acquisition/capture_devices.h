// The system's video capture devices, /dev/video0 to /dev/video9, as the
// grabber layer sees them: a description per device number, or none. Tests
// put a list of their own in place of the system's.
#pragma once

#include <string>

namespace sv {

inline constexpr int kCaptureDeviceCount = 10;

class CaptureDevices {
 public:
  virtual ~CaptureDevices() = default;
  // The card name of device n, cut at its first zero character; "" when there
  // is no such device or it takes no pictures.
  virtual std::string Description(int index) = 0;
  // True when device n can be opened for capture now.
  virtual bool CanOpen(int index) = 0;
};

// The video4linux devices of this machine.
class SystemCaptureDevices : public CaptureDevices {
 public:
  std::string Description(int index) override;
  bool CanOpen(int index) override;
  static std::string DevicePath(int index);  // "/dev/video" + index
};

// The list in use: the system's unless another was set.
CaptureDevices& CaptureDeviceList();
// nullptr goes back to the system's list.
void SetCaptureDevices(CaptureDevices* devices);

}  // namespace sv
