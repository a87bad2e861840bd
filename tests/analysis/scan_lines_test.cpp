// The scan lines: reading rules, profiles on crafted images, the linked
// lines, the board's read and the experiment's per-step read.
#include "analysis/scan_lines.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "analysis/form_window_setup.h"
#include "analysis/scan_windows.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class ScanLinesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    Hooks() = AnalysisHooks();
  }
  void TearDown() override {
    SetLineBoard(nullptr);
    Hooks() = AnalysisHooks();
    ResetLineGlobals();
    ResetWindowGlobals();
    ResetGlobals();
  }
  static ScanLine& Line(int n) { return LG().ScanLines[size_t(n)]; }
  static void SetEnds(ScanLine& l, int x1, int y1, int x2, int y2) {
    l.X1 = x1;
    l.Y1 = y1;
    l.X2 = x2;
    l.Y2 = y2;
    LineSetHome(l);
  }
  test::ScriptedHost host;
};

TEST_F(ScanLinesTest, ReadingRulesRepairWhatTheFileHolds) {
  struct Case {
    const char* key;
    const char* value;
    int32_t ScanLine::*field;
    int32_t expected;
  };
  const Case cases[] = {
      {"Thickness", "2", &ScanLine::Thickness, 3},   {"Thickness", "25", &ScanLine::Thickness, 25},
      {"Thickness", "15", &ScanLine::Thickness, 15}, {"Thickness", "0", &ScanLine::Thickness, 3},
      {"Averaging", "3", &ScanLine::Averaging, 1},   {"Averaging", "8192", &ScanLine::Averaging, 8192},
      {"Averaging", "16384", &ScanLine::Averaging, 1}, {"Averaging", "0", &ScanLine::Averaging, 1},
      {"enabled", "-1", &ScanLine::Enabled, 1},      {"enabled", "0", &ScanLine::Enabled, 0},
      {"Mode", "9", &ScanLine::Mode, 0},             {"Mode", "8", &ScanLine::Mode, 8},
  };
  for (const Case& c : cases) {
    ResetLineGlobals();
    LinesRead(Profile::Parse(std::string("[Line3]\r\n") + c.key + "=" + c.value + "\r\n"));
    EXPECT_EQ(Line(2).*c.field, c.expected) << c.key << "=" << c.value;
  }
}

TEST_F(ScanLinesTest, DefaultsAndRoundTripKeepTheHomePosition) {
  LinesRead(Profile());
  EXPECT_EQ(LG().CurrentLine, -1);
  EXPECT_EQ(LG().PlotAuto, 1);
  for (int n = 0; n < kLineCount; ++n) {
    EXPECT_EQ(Line(n).Color, DefaultWindowColor(n));
    EXPECT_EQ(std::tuple(Line(n).Averaging, Line(n).Thickness, Line(n).Enabled), std::tuple(1, 3, 0));
  }
  SetEnds(Line(4), 10, 20, 40, 5);
  Line(4).Mode = 2;
  Line(4).Enabled = 1;
  // A linked line that has moved is stored at home.
  Line(4).X1 += 7;
  Line(4).X2 += 7;
  LG().CurrentLine = 4;
  Profile ini;
  LinesWrite(ini);
  EXPECT_EQ(ini.GetString("Line5", "X1", ""), "10");
  EXPECT_EQ(ini.GetString("Line5", "Y2", ""), "5");
  ResetLineGlobals();
  LinesRead(ini);
  EXPECT_EQ(LG().CurrentLine, 4);
  EXPECT_EQ(std::tuple(Line(4).X1, Line(4).Y1, Line(4).X2, Line(4).Y2), std::tuple(10, 20, 40, 5));
  EXPECT_EQ(std::tuple(Line(4).DX, Line(4).DY, Line(4).Mode, Line(4).Enabled),
            std::tuple(30, -15, 2, 1));
}

TEST_F(ScanLinesTest, SettingsRegisterOnceAtTheLineSlot) {
  ClearSettingsSections();
  RegisterLineSettings();
  RegisterLineSettings();
  int found = 0;
  for (const SettingsSection& s : SettingsSections())
    if (s.slot == SettingsSlot::Line) ++found;
  EXPECT_EQ(found, 1);
  ClearSettingsSections();
}

// A 32 x 24 picture: column x holds 10 * x, row 7 holds 1000 everywhere.
class CraftedImage : public ScanLinesTest {
 protected:
  void SetUp() override {
    ScanLinesTest::SetUp();
    std::vector<uint16_t> px(32 * 24);
    for (long y = 0; y < 24; ++y)
      for (long x = 0; x < 32; ++x) px[size_t(y * 32 + x)] = uint16_t(y == 7 ? 1000 : 10 * x);
    image.CreateImage(32, 24, 12, px.data());
  }
  Form_Camera image{nullptr};
};

TEST_F(CraftedImage, ProfilesFollowThePixelsAcrossTheirThickness) {
  struct Case {
    int x1, y1, x2, y2, thickness;
    std::vector<float> expected;
  };
  const Case cases[] = {
      // Horizontal on row 2: the ramp itself.
      {0, 2, 4, 2, 1, {0, 10, 20, 30, 40}},
      // Vertical through row 7 at column 3, one pixel thick: the bright row.
      {3, 5, 3, 9, 1, {30, 30, 1000, 30, 30}},
      // Three across a horizontal line on row 8: rows 7, 8, 9 averaged.
      {3, 8, 4, 8, 3, {353, 360}},
      // Right to left.
      {4, 0, 1, 0, 1, {40, 30, 20, 10}},
      // One point.
      {5, 5, 5, 5, 1, {50}},
  };
  for (const Case& c : cases) {
    ScanLine& l = Line(0);
    SetEnds(l, c.x1, c.y1, c.x2, c.y2);
    l.Thickness = c.thickness;
    ASSERT_TRUE(LineBufferAlloc(l, LinePointCount(l), false));
    ASSERT_TRUE(LineScan(l, image)) << c.x1 << "," << c.y1;
    EXPECT_EQ(LG().Profile, c.expected) << c.x1 << "," << c.y1 << "-" << c.x2 << "," << c.y2;
    EXPECT_EQ(l.Length, long(c.expected.size()));
    EXPECT_EQ(LG().Dynamic, image.ImageDynamik());
  }
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(CraftedImage, WithoutABufferNothingIsReadAndTheUserIsTold) {
  SetEnds(Line(1), 0, 0, 5, 0);
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(LineScan(Line(1), image));
  ASSERT_EQ(host.MessageTexts(), std::vector<std::string>{kNoMemoryText});
  // A grey buffer does not do for a colour image.
  image.SetHasColors(true);
  image.CreateImage(32, 24, 8, nullptr);
  ASSERT_TRUE(LineBufferAlloc(Line(1), 6, false));
  EXPECT_FALSE(LineScan(Line(1), image));
  EXPECT_EQ(host.messages.size(), 2u);
}

TEST_F(CraftedImage, AColourImageGivesThreePlanes) {
  std::vector<uint16_t> rgb(8 * 4 * 3);
  for (size_t p = 0; p < 32; ++p) {
    rgb[3 * p] = uint16_t(p);
    rgb[3 * p + 1] = 100;
    rgb[3 * p + 2] = 200;
  }
  image.SetHasColors(true);
  image.CreateImage(8, 4, 8, rgb.data());
  ScanLine& l = Line(0);
  SetEnds(l, 1, 1, 3, 1);
  l.Thickness = 1;
  ASSERT_TRUE(LineBufferAlloc(l, 3, true));
  ASSERT_TRUE(LineScan(l, image));
  EXPECT_TRUE(LG().ProfileColour);
  EXPECT_EQ(LG().Profile, (std::vector<float>{9, 10, 11, 100, 100, 100, 200, 200, 200}));
}

TEST_F(CraftedImage, AFilmFrameIsReadOnceWhateverTheAveraging) {
  Hooks().IsFilmFrame = [](const Form_Camera&) { return true; };
  ScanLine& l = Line(0);
  SetEnds(l, 0, 2, 2, 2);
  l.Averaging = 64;
  l.Thickness = 1;
  ASSERT_TRUE(LineBufferAlloc(l, 3, false));
  ASSERT_TRUE(LineScan(l, image));
  EXPECT_EQ(LG().Result[0].Frames, 1);
  EXPECT_EQ(LG().Profile, (std::vector<float>{0, 10, 20}));
}

// A board that reads the line itself, from a flat picture of its own.
class FakeLineBoard : public LineBoard {
 public:
  bool Roi() override { return true; }
  bool Digitize() override { return ++digitized, true; }
  bool Sync() override { return ++synced, true; }
  bool ReadLine(ScanLine& line, long frame) override {
    frames.push_back(frame);
    std::vector<uint16_t> flat(32 * 24, uint16_t(100 + 10 * frame));
    if (stopAt == frame) LG().StopCode = 1;
    return LineScanFrame(line, FrameSize{32, 24}, flat, frame) > 0;
  }
  int digitized = 0, synced = 0;
  long stopAt = -1;
  std::vector<long> frames;
};

TEST_F(CraftedImage, TheBoardSumsFramesOfALiveImageAndTellsTheRate) {
  // The image is the live picture.
  G().GrabberOK = true;
  image.SetHandle(77);
  G().PreviewImageHandle = 77;
  FakeLineBoard board;
  SetLineBoard(&board);
  host.tick = 25;
  ScanLine& l = Line(0);
  SetEnds(l, 0, 0, 3, 0);
  l.Averaging = 4;
  ASSERT_TRUE(LineBufferAlloc(l, 4, false));
  ASSERT_TRUE(LineScan(l, image));
  EXPECT_EQ(board.frames, (std::vector<long>{0, 1, 2, 3}));
  EXPECT_EQ(board.digitized, 5);
  EXPECT_EQ(board.synced, 5);
  // Frames of 100, 110, 120, 130: the mean.
  EXPECT_EQ(LG().Profile, std::vector<float>(4, 115.0f));
  EXPECT_EQ(host.status.front(), "Scanning...");
  EXPECT_EQ(host.LastStatus(), "160.0 Hz");  // 4 frames in 25 ms
  // A stop ends the frames at the next pass; what was summed is evaluated.
  board.frames.clear();
  board.stopAt = 1;
  ASSERT_TRUE(LineScan(l, image));
  EXPECT_EQ(board.frames, (std::vector<long>{0, 1}));
  EXPECT_EQ(LG().Result[0].Frames, 2);
}

TEST_F(ScanLinesTest, ALinkedLineSlidesAtTheBordersAndKeepsItsLength) {
  ScanWindow& w = WG().ScanWindows[2];
  w.X1 = 40;
  w.Y1 = 30;
  w.W = w.H = 10;  // home centre (45, 35)
  struct Case {
    int cx, cy;  // the window's centre now
    int x1, y1, x2, y2;
    bool moved;
  };
  // The line runs from (20, 10) to (50, 30) on a 100 x 80 image.
  const Case cases[] = {
      {45, 35, 20, 10, 50, 30, false},  // at home: nothing moves
      {50, 33, 25, 8, 55, 28, true},
      {10, 35, 0, 10, 30, 30, true},     // X1 below 0
      {95, 35, 69, 10, 99, 30, true},    // X2 past the width
      {45, 0, 20, 0, 50, 20, true},      // Y1 below 0
      {45, 90, 20, 59, 50, 79, true},    // Y2 past the height
  };
  for (const Case& c : cases) {
    ScanLine& l = Line(5);
    SetEnds(l, 20, 10, 50, 30);
    l.Mode = 3;
    w.CenterX = c.cx;
    w.CenterY = c.cy;
    EXPECT_EQ(LineFollowWindow(l, 100, 80), c.moved) << c.cx << "," << c.cy;
    EXPECT_EQ(std::tuple(l.X1, l.Y1, l.X2, l.Y2), std::tuple(c.x1, c.y1, c.x2, c.y2))
        << c.cx << "," << c.cy;
    EXPECT_EQ(std::tuple(l.X2 - l.X1, l.Y2 - l.Y1), std::tuple(30, 20));
  }
  // A reversed line (X2 left of X1) slides the other way round.
  ScanLine& r = Line(6);
  SetEnds(r, 50, 10, 20, 10);
  r.Mode = 3;
  w.CenterX = 10;
  w.CenterY = 35;
  EXPECT_TRUE(LineFollowWindow(r, 100, 80));
  EXPECT_EQ(std::tuple(r.X1, r.X2), std::tuple(30, 0));
  // A fixed line never follows.
  SetEnds(Line(7), 1, 1, 5, 5);
  EXPECT_FALSE(LineFollowWindow(Line(7), 100, 80));
}

TEST_F(CraftedImage, TheExperimentReadsSelectedLinesBelowTheirAveraging) {
  SetEnds(Line(0), 0, 2, 3, 2);
  Line(0).Enabled = 1;
  Line(0).Averaging = 2;
  Line(0).Thickness = 1;
  SetEnds(Line(1), 0, 0, 9, 9);
  Line(1).Enabled = 1;
  Line(1).Averaging = 1;
  Line(1).Thickness = 1;
  SetEnds(Line(2), 0, 0, 5, 0);  // not selected
  ASSERT_TRUE(LinesStartRun(false));
  EXPECT_EQ(Line(0).Buffer.size(), 4u);
  EXPECT_EQ(Line(1).Buffer.size(), 10u);
  EXPECT_TRUE(Line(2).Buffer.empty());
  const FrameSize size{32, 24};
  std::vector<uint16_t> second(32 * 24, 0);
  ConstSamples16 frames[2] = {ConstSamples16(image.ImagePtr(), 32 * 24), second};
  for (long i = 0; i < 2; ++i) LinesScanFrame(size, frames[i], i, false);
  std::array<std::vector<float>, kLineCount> profiles;
  LinesStep(profiles);
  // Line 1 averaged its two frames; line 2 read the first only.
  EXPECT_EQ(profiles[0], (std::vector<float>{0, 5, 10, 15}));
  EXPECT_EQ(profiles[1].size(), 10u);
  EXPECT_EQ(profiles[1][7], 1000.0f);
  EXPECT_TRUE(profiles[2].empty());
  LinesEndRun();
  EXPECT_TRUE(Line(0).Buffer.empty());
}

}  // namespace
}  // namespace sv

namespace sv {
namespace {

// The profile as the plain rule reads it: every point placed by LinePointAt,
// every pixel across held at the frame's edge, the rounded mean across.
std::vector<uint32_t> ReferenceProfile(const LineAccumulator& l, FrameSize size,
                                       const std::vector<uint16_t>& image, int channels) {
  auto roundDiv = [](long a, long n) {
    return a >= 0 ? (2 * a + n) / (2 * n) : -((-2 * a + n) / (2 * n));
  };
  const long points = LinePoints(l.X1, l.Y1, l.X2, l.Y2), steps = points - 1;
  const long dx = l.X2 - l.X1, dy = l.Y2 - l.Y1, half = l.Thickness / 2;
  std::vector<uint32_t> out(size_t(points) * size_t(channels));
  for (long i = 0; i < points; ++i) {
    const LinePoint p = LinePointAt(l.X1, l.Y1, l.X2, l.Y2, i);
    for (int c = 0; c < channels; ++c) {
      uint64_t sum = 0;
      for (long k = -half; k <= half; ++k) {
        const long x = std::clamp(p.x + (steps ? roundDiv(-k * dy, steps) : 0), 0L, size.width - 1);
        const long y = std::clamp(p.y + (steps ? roundDiv(k * dx, steps) : k), 0L, size.height - 1);
        sum += image[size_t((y * size.width + x) * channels + c)];
      }
      out[size_t(c * points + i)] =
          uint32_t((2 * sum + uint64_t(l.Thickness)) / (2 * uint64_t(l.Thickness)));
    }
  }
  return out;
}

TEST(ScanLineKernel, EveryLineReadsAsThePlainRuleOnAnyFrame) {
  const FrameSize size{61, 47};
  uint32_t seed = 12345;
  auto next = [&seed] { return seed = seed * 1664525u + 1013904223u; };
  for (int channels : {1, 3}) {
    std::vector<uint16_t> image(size_t(size.width * size.height * channels));
    for (uint16_t& v : image) v = uint16_t(next() >> 16);
    for (int n = 0; n < 400; ++n) {
      LineAccumulator l;
      l.X1 = long(next() % 61);
      l.Y1 = long(next() % 47);
      l.X2 = long(next() % 61);
      l.Y2 = long(next() % 47);
      const int thicknesses[] = {1, 3, 5, 7, 9, 15, 25, 33, 41};
      l.Thickness = thicknesses[next() % 9];
      std::vector<uint32_t> buffer(size_t(l.Points()) * size_t(channels));
      l.Buffer = buffer;
      const long points = channels == 3 ? SV_RGB_scan_line16(l, size, image, 0)
                                        : SV_scan_line16(l, size, image, 0);
      ASSERT_EQ(points, l.Points());
      ASSERT_EQ(buffer, ReferenceProfile(l, size, image, channels))
          << "(" << l.X1 << "," << l.Y1 << ")-(" << l.X2 << "," << l.Y2 << ") t " << l.Thickness;
    }
  }
}

}  // namespace
}  // namespace sv
