// The capture stream of a video4linux device: the ioctl calls behind
// CaptureStream, with memory-mapped buffers.
#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "acquisition/capture_devices.h"

namespace sv {

namespace {

// A device never lists more than this; a broken driver that answers every
// index cannot keep the loops going.
constexpr uint32_t kMostEntries = 64;
// Buffers beyond this are never asked for.
constexpr long kMostBuffers = 32;

int Ioctl(int fd, unsigned long request, void* arg) {
  int r;
  do {
    r = ioctl(fd, request, arg);
  } while (r < 0 && errno == EINTR);
  return r;
}

std::string CutAtZero(const uint8_t* text, size_t size) {
  const char* c = reinterpret_cast<const char*>(text);
  return std::string(c, strnlen(c, size));
}

class V4L2Stream : public CaptureStream {
 public:
  V4L2Stream(int fd, std::string card) : fd_(fd), card_(std::move(card)) {}
  ~V4L2Stream() override {
    StreamOff();
    ReleaseBuffers();
    close(fd_);
  }
  V4L2Stream(const V4L2Stream&) = delete;
  V4L2Stream& operator=(const V4L2Stream&) = delete;

  std::string CardName() override { return card_; }

  std::vector<std::string> Inputs() override {
    std::vector<std::string> out;
    for (uint32_t i = 0; i < kMostEntries; ++i) {
      v4l2_input input;
      std::memset(&input, 0, sizeof input);
      input.index = i;
      if (Ioctl(fd_, VIDIOC_ENUMINPUT, &input) < 0) break;
      out.push_back(CutAtZero(input.name, sizeof input.name));
    }
    return out;
  }

  bool SelectInput(long input) override {
    int index = static_cast<int>(input);
    return input >= 0 && Ioctl(fd_, VIDIOC_S_INPUT, &index) == 0;
  }

  std::vector<uint32_t> Formats() override {
    std::vector<uint32_t> out;
    for (uint32_t i = 0; i < kMostEntries; ++i) {
      v4l2_fmtdesc desc;
      std::memset(&desc, 0, sizeof desc);
      desc.index = i;
      desc.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
      if (Ioctl(fd_, VIDIOC_ENUM_FMT, &desc) < 0) break;
      out.push_back(desc.pixelformat);
    }
    return out;
  }

  bool SetFormat(uint32_t pixelFormat, CaptureFormat& got) override {
    v4l2_format format;
    std::memset(&format, 0, sizeof format);
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    // The size stays what the device has now; only the pixel layout changes.
    if (Ioctl(fd_, VIDIOC_G_FMT, &format) < 0) return false;
    format.fmt.pix.pixelformat = pixelFormat;
    format.fmt.pix.field = V4L2_FIELD_ANY;
    format.fmt.pix.bytesperline = 0;
    format.fmt.pix.sizeimage = 0;
    if (Ioctl(fd_, VIDIOC_S_FMT, &format) < 0) return false;
    got.pixelFormat = format.fmt.pix.pixelformat;
    got.width = format.fmt.pix.width;
    got.height = format.fmt.pix.height;
    got.bytesPerLine = format.fmt.pix.bytesperline;
    got.imageSize = format.fmt.pix.sizeimage;
    return true;
  }

  long RequestBuffers(long count) override {
    ReleaseBuffers();
    if (count <= 0 || count > kMostBuffers) return 0;
    v4l2_requestbuffers request;
    std::memset(&request, 0, sizeof request);
    request.count = static_cast<uint32_t>(count);
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (Ioctl(fd_, VIDIOC_REQBUFS, &request) < 0) return 0;
    requested_ = true;
    const uint32_t granted = std::min<uint32_t>(request.count, kMostBuffers);
    for (uint32_t i = 0; i < granted; ++i) {
      v4l2_buffer buffer;
      std::memset(&buffer, 0, sizeof buffer);
      buffer.index = i;
      buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
      buffer.memory = V4L2_MEMORY_MMAP;
      void* p = MAP_FAILED;
      if (Ioctl(fd_, VIDIOC_QUERYBUF, &buffer) == 0 && buffer.length > 0)
        p = mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, buffer.m.offset);
      if (p == MAP_FAILED) {
        ReleaseBuffers();
        return 0;
      }
      maps_.push_back({static_cast<uint8_t*>(p), buffer.length});
    }
    return static_cast<long>(maps_.size());
  }

  ConstSamples8 BufferBytes(long index) override {
    if (index < 0 || index >= static_cast<long>(maps_.size())) return {};
    return {maps_[size_t(index)].data, maps_[size_t(index)].size};
  }

  bool Queue(long index) override {
    if (index < 0 || index >= static_cast<long>(maps_.size())) return false;
    v4l2_buffer buffer;
    std::memset(&buffer, 0, sizeof buffer);
    buffer.index = static_cast<uint32_t>(index);
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    return Ioctl(fd_, VIDIOC_QBUF, &buffer) == 0;
  }

  bool StreamOn() override {
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    on_ = Ioctl(fd_, VIDIOC_STREAMON, &type) == 0;
    return on_;
  }

  void StreamOff() override {
    if (!on_ && maps_.empty()) return;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    Ioctl(fd_, VIDIOC_STREAMOFF, &type);
    on_ = false;
  }

  int Wait(int ms) override {
    pollfd p{fd_, POLLIN, 0};
    int r;
    do {
      r = poll(&p, 1, ms);
    } while (r < 0 && errno == EINTR);
    if (r < 0) return -1;
    if (r == 0) return 0;
    return (p.revents & POLLIN) ? 1 : -1;
  }

  bool Dequeue(CaptureBuffer& out) override {
    v4l2_buffer buffer;
    std::memset(&buffer, 0, sizeof buffer);
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    // The device was opened non-blocking: no filled buffer gives EAGAIN.
    if (Ioctl(fd_, VIDIOC_DQBUF, &buffer) < 0) return false;
    out.index = buffer.index;
    out.bytesUsed = buffer.bytesused;
    out.error = (buffer.flags & V4L2_BUF_FLAG_ERROR) != 0;
    return true;
  }

  void ReleaseBuffers() override {
    for (const auto& m : maps_) munmap(m.data, m.size);
    maps_.clear();
    if (requested_) {
      v4l2_requestbuffers request;
      std::memset(&request, 0, sizeof request);
      request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
      request.memory = V4L2_MEMORY_MMAP;
      Ioctl(fd_, VIDIOC_REQBUFS, &request);
      requested_ = false;
    }
  }

 private:
  struct Mapping {
    uint8_t* data;
    size_t size;
  };
  int fd_;
  std::string card_;
  std::vector<Mapping> maps_;
  bool requested_ = false;
  bool on_ = false;
};

}  // namespace

std::unique_ptr<CaptureStream> SystemCaptureDevices::OpenStream(int index) {
  if (index < 0 || index >= kCaptureDeviceCount) return nullptr;
  const std::string path = DevicePath(index);
  const int fd = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  v4l2_capability caps;
  std::memset(&caps, 0, sizeof caps);
  if (Ioctl(fd, VIDIOC_QUERYCAP, &caps) < 0) {
    close(fd);
    return nullptr;
  }
  // Single-plane capture with streaming I/O is what this stream speaks.
  const uint32_t c = (caps.capabilities & V4L2_CAP_DEVICE_CAPS) ? caps.device_caps : caps.capabilities;
  if (!(c & V4L2_CAP_VIDEO_CAPTURE) || !(c & V4L2_CAP_STREAMING)) {
    close(fd);
    return nullptr;
  }
  return std::make_unique<V4L2Stream>(fd, CutAtZero(caps.card, sizeof caps.card));
}

}  // namespace sv
