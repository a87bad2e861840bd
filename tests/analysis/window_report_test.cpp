// The report of one evaluation, line by line, on a frame with a known spot.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "analysis/scan_windows.h"

namespace sv {
namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  size_t from = 0;
  for (;;) {
    const size_t at = text.find("\r\n", from);
    out.push_back(text.substr(from, at == std::string::npos ? std::string::npos : at - from));
    if (at == std::string::npos) break;
    from = at + 2;
  }
  return out;
}

class WindowReportTest : public ::testing::Test {
 protected:
  // A 40 x 30 frame of 100 with a spot: 4000 at (20, 15), 1000 around it.
  void SetUp() override {
    frame.assign(size.Pixels(), 100);
    for (int y = 14; y <= 16; ++y)
      for (int x = 19; x <= 21; ++x) frame[size_t(y * 40 + x)] = 1000;
    frame[15 * 40 + 20] = 4000;
    window.X1 = 8;
    window.Y1 = 8;
    window.W = 21;
    window.H = 15;
    window.Averaging = 4;
    window.Mode = kModeStopAbs;
    window.Threshold = 4000;
    ASSERT_TRUE(WindowRectAnalysis(window, size, frame, 4096, false, result));
  }
  const FrameSize size{40, 30};
  std::vector<uint16_t> frame;
  ScanWindow window;
  AnalysisResult result;
};

TEST_F(WindowReportTest, EveryLine) {
  // The home moves so that the spot is in the middle: (20 - 10, 15 - 7).
  WindowReportOptions options;
  ScanWindow before = window;
  options.moved = WindowApplyResult(window, result);
  ASSERT_TRUE(options.moved);
  // Area 21 x 15 = 315; I.total = (315 x 100 + 8 x 900 + 3900) / 315 =
  // 135.238; the border of 68 pixels gives I.back = 100.
  const std::vector<std::string> expected = {
      "Parameter:",
      "X1 = 8 Pixel\tW = 21 Pixel",
      "Y1 = 8 Pixel\tH = 15 Pixel",
      "Area = 315 Pixel",
      "Averaging = 4",
      "Dynamic = 4095 (4096 = 100%)",
      "",
      "I.back = 100.0%  // 2.4\t(68 Pixel)",
      "I.total = 135.2%  // 3.3\t(I.total-I.back = 35.2)",
      "I.max = 4000.0%  // 97.7\t(I.max-I.back = 3900.0)",
      "X.max = 20 Pixel",
      "Y.max = 15 Pixel",
      "Window moved",
  };
  EXPECT_EQ(Lines(WindowReportText(before, result, options)), expected);
  EXPECT_EQ(std::tuple(window.X1, window.Y1), std::tuple(10, 8));

  // Not moved, no last line; a film's frame has its fixed averaging line.
  options.moved = false;
  options.vtr = true;
  const std::vector<std::string> lines = Lines(WindowReportText(window, result, options));
  ASSERT_EQ(lines.size(), expected.size() - 1);
  EXPECT_EQ(lines[1], "X1 = 10 Pixel\tW = 21 Pixel");
  EXPECT_EQ(lines[4], "Averaging = 1 (VTR Mode)");
  EXPECT_EQ(lines.back(), "Y.max = 15 Pixel");
}

TEST_F(WindowReportTest, CalibratedLinesFollowTheirIntensities) {
  WindowReportOptions options;
  options.calibrate = [](float v) { return 2 * v + 1; };
  options.unit = "nA";
  const std::vector<std::string> lines = Lines(WindowReportText(window, result, options));
  // Each calibrated line follows its percent line.
  ASSERT_EQ(lines.size(), 15u);
  EXPECT_EQ(lines[8], "I.back = 201.0 nA");
  EXPECT_EQ(lines[10], "I.total = 271.5 nA\t(I.total-I.back = 70.5 nA)");
  EXPECT_EQ(lines[12], "I.max = 8001.0 nA\t(I.max-I.back = 7800.0 nA)");
}

TEST_F(WindowReportTest, OneDecimalRoundsHalvesAwayFromZero) {
  AnalysisResult r;
  r.I.back = 0.25f;
  r.I.total = -0.25f;
  r.I.max = 0.04f;
  r.Dynamic = 0;  // no range: every percent is 0
  const std::vector<std::string> lines = Lines(WindowReportText(window, r, {}));
  EXPECT_EQ(lines[5], "Dynamic = -1 (0 = 100%)");
  EXPECT_EQ(lines[7], "I.back = 0.3%  // 0.0\t(0 Pixel)");
  EXPECT_EQ(lines[8], "I.total = -0.3%  // 0.0\t(I.total-I.back = -0.5)");
  EXPECT_EQ(lines[9], "I.max = 0.0%  // 0.0\t(I.max-I.back = -0.2)");
  EXPECT_EQ(lines[10], "X.max = -1 Pixel");
}

}  // namespace
}  // namespace sv
