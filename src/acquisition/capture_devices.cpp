#include "acquisition/capture_devices.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace sv {

namespace {

CaptureDevices* g_devices = nullptr;

// Asks the device for its capabilities; false when it cannot be opened or
// does not answer. The device is closed again at once.
bool QueryCapabilities(int index, v4l2_capability& caps) {
  if (index < 0 || index >= kCaptureDeviceCount) return false;
  const std::string path = SystemCaptureDevices::DevicePath(index);
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  if (fd < 0) return false;
  std::memset(&caps, 0, sizeof caps);
  int r;
  do {
    r = ioctl(fd, VIDIOC_QUERYCAP, &caps);
  } while (r < 0 && errno == EINTR);
  close(fd);
  return r == 0;
}

// The node's own capabilities when the driver tells them apart from the
// whole device's (a camera often has a second node for metadata only).
bool TakesPictures(const v4l2_capability& caps) {
  const uint32_t c = (caps.capabilities & V4L2_CAP_DEVICE_CAPS) ? caps.device_caps
                                                                  : caps.capabilities;
  return (c & (V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_CAPTURE_MPLANE)) != 0;
}

}  // namespace

std::string SystemCaptureDevices::DevicePath(int index) {
  return "/dev/video" + std::to_string(index);
}

std::string SystemCaptureDevices::Description(int index) {
  v4l2_capability caps;
  if (!QueryCapabilities(index, caps) || !TakesPictures(caps)) return "";
  const char* card = reinterpret_cast<const char*>(caps.card);
  return std::string(card, strnlen(card, sizeof caps.card));
}

bool SystemCaptureDevices::CanOpen(int index) {
  v4l2_capability caps;
  return QueryCapabilities(index, caps) && TakesPictures(caps);
}

CaptureDevices& CaptureDeviceList() {
  static SystemCaptureDevices system;
  return g_devices ? *g_devices : system;
}

void SetCaptureDevices(CaptureDevices* devices) { g_devices = devices; }

}  // namespace sv
