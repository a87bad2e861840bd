// Capture devices that exist only in a test: each plays recorded frames into
// the buffers its stream has mapped, as a video4linux device fills the
// buffers queued to it, in the order they were queued.
#pragma once

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "acquisition/capture_devices.h"
#include "acquisition/v4l2_capture.h"

namespace sv::test {

struct RecordedDevice {
  enum BufferState { kHeld, kQueued, kFilled };

  // What the device is.
  std::string card = "Recorded Camera";
  std::vector<std::string> inputs;
  std::vector<uint32_t> formats = {kCaptureGrey};
  long width = 4, height = 2;
  long padding = 0;                          // bytes behind each line
  std::vector<std::vector<uint8_t>> frames;  // played in turn, from the first again
  // How it fails.
  bool failStreamOn = false;
  bool failBuffers = false;
  bool gone = false;  // unplugged: waiting fails

  // What it is doing.
  bool open = false, streaming = false;
  long selectedInput = 0;
  CaptureFormat format;
  std::vector<std::vector<uint8_t>> buffers;
  std::vector<BufferState> state;
  std::deque<long> queued, filled;
  std::vector<bool> damaged;
  size_t played = 0, dropped = 0;

  // The device sends `n` frames: each fills the buffer queued first, or is
  // lost when none is queued. A damaged frame is marked so.
  void Send(int n = 1, bool damage = false) {
    if (frames.empty()) return;  // a device with nothing recorded sends nothing
    for (int i = 0; i < n; ++i) {
      const std::vector<uint8_t>& frame = frames[played++ % frames.size()];
      if (!streaming || queued.empty()) {
        ++dropped;
        continue;
      }
      const long b = queued.front();
      queued.pop_front();
      auto& bytes = buffers[size_t(b)];
      std::copy_n(frame.begin(), std::min(frame.size(), bytes.size()), bytes.begin());
      state[size_t(b)] = kFilled;
      damaged[size_t(b)] = damage;
      filled.push_back(b);
    }
  }
  long Count(BufferState s) const { return long(std::count(state.begin(), state.end(), s)); }
};

class RecordedStream : public CaptureStream {
 public:
  explicit RecordedStream(RecordedDevice& d) : d_(d) { d_.open = true; }
  ~RecordedStream() override {
    StreamOff();
    ReleaseBuffers();
    d_.open = false;
  }
  std::string CardName() override { return d_.card; }
  std::vector<std::string> Inputs() override { return d_.inputs; }
  bool SelectInput(long input) override {
    if (input < 0 || input >= long(d_.inputs.size())) return false;
    d_.selectedInput = input;
    return true;
  }
  std::vector<uint32_t> Formats() override { return d_.formats; }
  bool SetFormat(uint32_t pixelFormat, CaptureFormat& got) override {
    if (std::find(d_.formats.begin(), d_.formats.end(), pixelFormat) == d_.formats.end())
      return false;
    got.pixelFormat = pixelFormat;
    got.width = d_.width;
    got.height = d_.height;
    got.bytesPerLine = d_.width * CaptureBytesPerPixel(pixelFormat) + d_.padding;
    got.imageSize = size_t(got.bytesPerLine * d_.height);
    d_.format = got;
    return true;
  }
  long RequestBuffers(long count) override {
    ReleaseBuffers();
    if (d_.failBuffers) return 0;
    d_.buffers.assign(size_t(count), std::vector<uint8_t>(d_.format.imageSize, 0));
    d_.state.assign(size_t(count), RecordedDevice::kHeld);
    d_.damaged.assign(size_t(count), false);
    return count;
  }
  ConstSamples8 BufferBytes(long index) override {
    if (index < 0 || index >= long(d_.buffers.size())) return {};
    return d_.buffers[size_t(index)];
  }
  bool Queue(long index) override {
    if (index < 0 || index >= long(d_.state.size()) || d_.state[size_t(index)] != RecordedDevice::kHeld)
      return false;
    d_.state[size_t(index)] = RecordedDevice::kQueued;
    d_.queued.push_back(index);
    return true;
  }
  bool StreamOn() override {
    if (d_.failStreamOn) return false;
    d_.streaming = true;
    return true;
  }
  void StreamOff() override {
    d_.streaming = false;
    std::fill(d_.state.begin(), d_.state.end(), RecordedDevice::kHeld);
    d_.queued.clear();
    d_.filled.clear();
  }
  // Never waits: a frame is there or it is not.
  int Wait(int) override {
    if (d_.gone) return -1;
    return d_.filled.empty() ? 0 : 1;
  }
  bool Dequeue(CaptureBuffer& b) override {
    if (d_.gone || d_.filled.empty()) return false;
    b.index = d_.filled.front();
    d_.filled.pop_front();
    d_.state[size_t(b.index)] = RecordedDevice::kHeld;
    b.bytesUsed = d_.format.imageSize;
    b.error = d_.damaged[size_t(b.index)];
    return true;
  }
  void ReleaseBuffers() override {
    d_.buffers.clear();
    d_.state.clear();
    d_.damaged.clear();
  }

 private:
  RecordedDevice& d_;
};

class RecordedCaptureDevices : public CaptureDevices {
 public:
  std::map<int, RecordedDevice> devices;
  std::string Description(int index) override {
    auto it = devices.find(index);
    return it == devices.end() ? "" : it->second.card;
  }
  bool CanOpen(int index) override { return devices.count(index) > 0; }
  std::unique_ptr<CaptureStream> OpenStream(int index) override {
    auto it = devices.find(index);
    if (it == devices.end() || it->second.open) return nullptr;
    return std::make_unique<RecordedStream>(it->second);
  }
};

}  // namespace sv::test
