// A long I(t) run on the simulated clock: 100,000 steps over two sheets, the
// first filled to its last row. The process's resident memory may grow by
// what the sheets hold and little else: a step keeps nothing it allocates.
//
// The frames come from a capture device that plays one stored picture of the
// simulated screen, so that a step costs the loop's own work and a frame's
// copy rather than the drawing of a new screen. Heavy: not run under the
// sanitizers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>

#include "acquisition/capture_devices.h"
#include "acquisition/v4l2_fake_stream.h"
#include "core/error_table.h"
#include "image/kernel/test_image.h"
#include "run_fixture.h"

namespace sv {
namespace {

using test::RunTest;

// Resident bytes of this process, from /proc/self/statm.
long ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  long size = 0, resident = 0;
  statm >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

// A camera of the dummy's size that sends one picture of the simulated
// screen (the (0,0) spot at 100 eV) as 16-bit grey, a frame at every yield
// of the loop.
class StoredCamera {
 public:
  explicit StoredCamera(test::RunHost& host) : host_(host) {
    test::RecordedDevice& camera = devices_.devices[0];
    camera.card = "Stored Screen";
    camera.formats = {kCaptureY16};
    camera.width = kDummyWidth;
    camera.height = kDummyHeight;
    std::vector<uint16_t> picture(size_t(kDummyWidth * kDummyHeight));
    TestImageParams p;
    p.Energy = 100;
    SV_test_image({kDummyWidth, kDummyHeight}, picture, p);
    std::vector<uint8_t> bytes;
    for (uint16_t v : picture) {
      bytes.push_back(uint8_t(v & 0xFF));
      bytes.push_back(uint8_t(v >> 8));
    }
    camera.frames = {bytes};
    SetCaptureDevices(&devices_);
    host_.onYield = [&camera] { camera.Send(); };
  }
  ~StoredCamera() {
    host_.onYield = nullptr;
    GrabberClose();
    GrabberUnload();
    SetCaptureDevices(nullptr);
  }
  bool Start() { return ChangeGrabber("Stored Screen") && GB().GrabberDriver == kDriverCapture; }

 private:
  test::RunHost& host_;
  test::RecordedCaptureDevices devices_;
};

TEST_F(RunTest, AHundredThousandStepsKeepTheirMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "too slow under the sanitizers";
#endif
  constexpr long kSteps = 100'000;
  constexpr long kFirst = kMaxSheetRows - 1;  // rows of the first sheet
  constexpr int32_t kStepMs = 10;
  const auto started = std::chrono::steady_clock::now();
  StoredCamera camera(host);
  ASSERT_TRUE(camera.Start());
  ScanWindow& w = Window(0);
  w.W = w.H = 8;
  w.X1 = int32_t(kDummyWidth / 2 - 4);
  w.Y1 = int32_t(kDummyHeight / 2 - 4);
  DefineIt(kStepMs, 0);                 // no end of its own
  const long columns = Sheet().Cols();  // the index column and the data
  long steps = 0, resident1000 = 0, worst = 0;
  // Counted here, not kept: the fixture's list of rows would grow by 32
  // bytes a step.
  RunRowHook() = [&](const RunRow&) {
    ++steps;
    if (steps == 1000) resident1000 = ResidentBytes();
    if (steps > 1000 && steps % 5000 == 0)
      worst = std::max(worst, ResidentBytes() - resident1000 - (steps - 1000) * columns * 4);
  };
  // The first sheet fills up.
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Max. number of Sheet rows reached");
  ASSERT_EQ(ends.size(), 1u);
  EXPECT_EQ(ends[0].stopCode, kErrMaxRows);
  EXPECT_EQ(ends[0].rows, kFirst);
  EXPECT_EQ(steps, kFirst);
  EXPECT_GT(CellNumber(kFirst, 2), 1000);  // the spot, measured to the last row
  EXPECT_FLOAT_EQ(float(CellNumber(kFirst, 1)), float(kFirst) * 0.01f);
  // A new sheet, and on to the 100,000th step.
  NewSheet();
  form.StepLimit = kSteps - kFirst;
  form.Command_Start(0);
  form.StepLimit = 0;
  ASSERT_EQ(ends.size(), 2u);
  EXPECT_EQ(ends[1].stopCode, 0);
  EXPECT_EQ(steps, kSteps);
  ASSERT_EQ(Sheet().Rows(), kSteps - kFirst + 1);
  EXPECT_FLOAT_EQ(float(CellNumber(kSteps - kFirst, 1)), float(kSteps - kFirst) * 0.01f);
  EXPECT_GT(CellNumber(kSteps - kFirst, 2), 1000);

  const long grown = ResidentBytes() - resident1000;
  const long allowed = (kSteps - 1000) * columns * 4 + 2 * 1024 * 1024;
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf(
      "[ soak     ] %ld steps in %.1f s; resident memory +%ld KiB after step 1000 "
      "(allowed %ld KiB), most above the cells %ld KiB\n",
      steps, seconds, grown / 1024, allowed / 1024, worst / 1024);
  EXPECT_LE(grown, allowed);
  EXPECT_LE(worst, 2 * 1024 * 1024);
}

}  // namespace
}  // namespace sv
