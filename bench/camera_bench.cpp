// A GenICam camera streaming into an image document: Aravis's in-process fake
// camera (fake-only: nothing is looked for on the network or the bus) sends
// 640 x 480 Mono16 at 100 frames/s, and 200 of them go through Grab into a
// Form_Camera as the live picture takes them. The lines under the table say
// how many frames came against how many the camera sent, and how long this
// program's own code takes per frame. The rows time one frame's conversion
// from a stream buffer into the image beside a memcpy of its bytes.
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "acquisition/genicam.h"
#include "acquisition/grabber.h"
#include "acquisition/live.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "harness.h"
#include "image/form_camera.h"

namespace {

constexpr long kWidth = 640, kHeight = 480;
constexpr size_t kFrameBytes = size_t(kWidth) * kHeight * 2;
constexpr int kFrames = 200;
constexpr double kFrameRate = 100.0;
const char* const kFormat = "Mono16";

using Clock = std::chrono::steady_clock;

double Micros(Clock::duration d) { return std::chrono::duration<double, std::micro>(d).count(); }

// The calling thread's processor time: a blocking wait costs none of it.
double ThreadMicros() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) * 1e6 + double(t.tv_nsec) / 1e3;
}

struct StreamRun {
  std::string error;  // "" when the run took place
  uint64_t sent = 0, delivered = 0, skipped = 0, failed = 0, underruns = 0, timeouts = 0;
  int badReads = 0;   // Grab results other than 0
  double seconds = 0;
  double wallMedian = 0, wallMean = 0, wallMax = 0, cpuMean = 0;  // microseconds a frame
  long width = 0, height = 0, bits = 0;
};

uint64_t Sent(const sv::GenICamStreamStats& s) { return s.Completed + s.Failed + s.Underruns; }

// The camera up through the wrappers as the workbench brings it up, 200
// frames through Grab, the camera let go again.
StreamRun Stream() {
  StreamRun r;
  if (!sv::GenICamSupported()) {
    r.error = "this build has no Aravis";
    return r;
  }
  sv::SetGenICamFakeOnly(true);
  sv::cli::BatchHost host(std::cerr);
  sv::cli::HostScope scope(&host);

  sv::GenICamSettings s;
  s.Camera = sv::kGenICamFakeCameraId;
  s.FrameRate = kFrameRate;
  s.PixelFormat = kFormat;
  s.RegionWidth = kWidth;
  s.RegionHeight = kHeight;
  sv::GenICamConfig() = s;
  if (!sv::GrabberLoad(sv::kGenICamStem) || !sv::GrabberInit(0)) {
    r.error = "the fake camera did not open: " + sv::GenICamLastError();
    sv::GrabberUnload();
    return r;
  }
  sv::G().GrabberOK = true;
  r.width = sv::GrabberWidth();
  r.height = sv::GrabberHeight();
  r.bits = sv::GrabberBitsPerPixel();

  sv::Form_Camera image(nullptr);
  // The first frame gives the image its shape and empties the pool.
  if (sv::Grab(image) != 0) r.error = "the first frame did not come: " + sv::GenICamLastError();

  const sv::GenICamStreamStats base = sv::GenICamStatistics();
  std::vector<double> wall, cpu;
  wall.reserve(kFrames);
  cpu.reserve(kFrames);
  uint64_t seen = base.Completed;
  const Clock::time_point start = Clock::now();
  for (int i = 0; r.error.empty() && i < kFrames; ++i) {
    // Wait outside the clocks until the camera has completed the next frame,
    // so that the read below finds it there.
    const Clock::time_point giveUp = Clock::now() + std::chrono::seconds(1);
    uint64_t completed = seen;
    while ((completed = sv::GenICamStatistics().Completed) <= seen) {
      if (Clock::now() > giveUp) {
        r.error = "no frame for a second after frame " + std::to_string(i);
        break;
      }
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    if (!r.error.empty()) break;
    seen = completed;
    const double c0 = ThreadMicros();
    const Clock::time_point t0 = Clock::now();
    const long result = sv::Grab(image);
    const Clock::time_point t1 = Clock::now();
    const double c1 = ThreadMicros();
    if (result != 0) ++r.badReads;
    wall.push_back(Micros(t1 - t0));
    cpu.push_back(c1 - c0);
  }
  const sv::GenICamStreamStats end = sv::GenICamStatistics();
  r.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  r.sent = Sent(end) - Sent(base);
  r.delivered = end.Delivered - base.Delivered;
  r.skipped = end.Skipped - base.Skipped;
  r.failed = end.Failed - base.Failed;
  r.underruns = end.Underruns - base.Underruns;
  r.timeouts = end.Timeouts - base.Timeouts;
  if (!wall.empty()) {
    double sum = 0, cpuSum = 0;
    for (double w : wall) sum += w;
    for (double c : cpu) cpuSum += c;
    r.wallMean = sum / double(wall.size());
    r.cpuMean = cpuSum / double(cpu.size());
    r.wallMax = *std::max_element(wall.begin(), wall.end());
    std::nth_element(wall.begin(), wall.begin() + long(wall.size() / 2), wall.end());
    r.wallMedian = wall[wall.size() / 2];
  }
  sv::GrabberClose();
  sv::GrabberUnload();
  sv::G().GrabberOK = false;
  return r;
}

// Run once, when the lines are printed (after the timed rows).
const StreamRun& Run() {
  static const StreamRun run = Stream();
  return run;
}

std::string Format(const char* format, auto... values) {
  char text[512];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// One Mono16 frame as a stream buffer holds it, and the image it goes into.
struct FrameRow {
  std::vector<uint8_t> buffer = std::vector<uint8_t>(kFrameBytes);
  sv::Form_Camera image{nullptr};
  FrameRow() {
    const uint16_t* grey = svbench::Data().grey.data();
    for (long y = 0; y < kHeight; ++y)
      std::copy_n(reinterpret_cast<const uint8_t*>(grey + y * svbench::Frames::kWidth),
                  size_t(kWidth) * 2, buffer.data() + size_t(y) * size_t(kWidth) * 2);
    image.CreateImage(kWidth, kHeight, 16, nullptr);
  }
};
FrameRow& Row() {
  static FrameRow row;
  return row;
}

}  // namespace

SVBENCH_ROWS(CameraRows) {
  const std::string convert = "camera frame 640x480 Mono16";
  const std::string whole = "camera frame into the image";
  // The driver's share: the popped buffer into GrabPtr.
  svbench::Kernel(convert, kFrameBytes, [] {
    FrameRow& row = Row();
    const size_t samples = size_t(kWidth) * kHeight;
    sv::GenICamConvert(kFormat, row.buffer.data(), row.buffer.size(), kWidth, kHeight,
                       {row.image.GrabPtr(), samples});
    svbench::Use(row.image.GrabPtr());
  });
  svbench::Target(convert, 2.0, 0);
  // And Grab's after it: the new frame replaces the last, the display bitmap.
  svbench::Kernel(whole, kFrameBytes, [] {
    FrameRow& row = Row();
    const size_t samples = size_t(kWidth) * kHeight;
    sv::GenICamConvert(kFormat, row.buffer.data(), row.buffer.size(), kWidth, kHeight,
                       {row.image.GrabPtr(), samples});
    std::copy_n(row.image.GrabPtr(), samples, row.image.ImagePtr());
    row.image.SetLUT();
    row.image.Update8BitImage();
    svbench::Use(row.image.ImagePtr8());
  });

  svbench::Note([] {
    const StreamRun& r = Run();
    if (!r.error.empty()) return "camera stream: not run, " + r.error;
    const uint64_t lost = r.sent > r.delivered ? r.sent - r.delivered : 0;
    const bool met = lost == 0 && r.badReads == 0 && r.delivered == uint64_t(kFrames);
    return Format(
               "camera stream (fake camera %ldx%ld, %ld bits, %.0f Hz asked): %llu frames "
               "delivered of %llu sent in %.2f s (%.1f frames/s); lost %llu (%llu passed over, "
               "%llu broken, %llu underruns), %llu timeouts, %d bad reads; target none lost: %s",
               r.width, r.height, r.bits, kFrameRate, (unsigned long long)r.delivered,
               (unsigned long long)r.sent, r.seconds,
               r.seconds > 0 ? double(r.sent) / r.seconds : 0.0, (unsigned long long)lost,
               (unsigned long long)r.skipped, (unsigned long long)r.failed,
               (unsigned long long)r.underruns, (unsigned long long)r.timeouts, r.badReads,
               met ? "met" : "MISSED") +
           "\n" +
           Format(
               "  this program's code a frame (Grab with the frame already there: wrapper, "
               "conversion, image update): median %.0f us, mean %.0f us, max %.0f us wall; "
               "%.0f us processor time",
               r.wallMedian, r.wallMean, r.wallMax, r.cpuMean) +
           "\n  \"sent\": the frames the camera put into the stream (Aravis's completed, failed "
           "and underrun counts) from the first read to the last";
  });
}
