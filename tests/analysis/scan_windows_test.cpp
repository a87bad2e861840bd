// The window record, its rectangle, the peak line, the moves after a scan
// and the steps of an experiment.
#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "analysis/scan_windows.h"
#include "core/globals.h"

namespace sv {
namespace {

constexpr long kWidth = 100, kHeight = 80;

class ScanWindowsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetWindowGlobals();
  }
  void TearDown() override { ResetWindowGlobals(); }

  // A window by its home corner and size.
  static ScanWindow Home(int x1, int y1, int w, int h, int mode = kModeFixed, int threshold = 10) {
    ScanWindow s;
    s.X1 = x1;
    s.Y1 = y1;
    s.W = w;
    s.H = h;
    s.Mode = mode;
    s.Threshold = threshold;
    return s;
  }
  static ScanWindow At(int cx, int cy, int w, int h) {
    ScanWindow s;
    s.CenterX = cx;
    s.CenterY = cy;
    s.W = w;
    s.H = h;
    return s;
  }
  static AnalysisResult Spot(float max, float back, int x, int y) {
    AnalysisResult r;
    r.I.max = max;
    r.I.back = back;
    r.X.max = x;
    r.Y.max = y;
    return r;
  }
  // Points on x = 100 + 200 s, y = 300 - 400 s, s = 1 / sqrt(E).
  static WindowSum KnownLine() {
    WindowSum sum;
    SumAdd(sum, 25, 140, 220);
    SumAdd(sum, 100, 120, 260);
    SumAdd(sum, 400, 110, 280);
    return sum;
  }
};

TEST_F(ScanWindowsTest, FreshWindowsHaveTheirColours) {
  const int32_t colours[kWindowCount] = {0x800080, 0xFF00FF, 0x0000FF, 0xFFFF00,
                                         0x00FF00, 0xFF0000, 0x808080, 0x008000};
  for (int n = 0; n < kWindowCount; ++n)
    EXPECT_EQ(std::tuple(WG().ScanWindows[size_t(n)].RGBColor, DefaultWindowColor(n)),
              std::tuple(colours[n], colours[n])) << n;
  EXPECT_EQ(WG().CurrentWindow, -1);
}

TEST_F(ScanWindowsTest, ACopyCarriesTheRecordButNoBuffer) {
  ScanWindow a = Home(3, 4, 5, 6, kModeTarget);
  a.Sum.N = 2;
  ASSERT_TRUE(WindowBufferAlloc(a, false, true));
  EXPECT_EQ(a.BufferBytes, 5 * 6 * 4);
  ScanWindow b = a;
  EXPECT_EQ(std::tuple(b.X1, b.Mode, b.Sum.N, b.CurX2, b.BufferBytes),
            std::tuple(3, kModeTarget, 2.0f, 7, 0));
  EXPECT_TRUE(b.Buffer.empty());
  ScanWindow c;
  EXPECT_FALSE(WindowBufferAlloc(c, true, true));  // an empty window has no buffer
  ASSERT_TRUE(WindowBufferAlloc(b, true, true));
  EXPECT_EQ(b.BufferBytes, 5 * 6 * 4 * 3);
  b = c;  // the assigned-to window gives up its own buffer
  EXPECT_EQ(b.BufferBytes, 0);
  EXPECT_EQ(a.BufferBytes, 5 * 6 * 4);  // the source keeps its own
  // A move takes the buffer along, and the kernel's view of it.
  const uint32_t* data = a.Buffer.data();
  ScanWindow moved = std::move(a);
  EXPECT_EQ(std::tuple(moved.BufferBytes, a.BufferBytes), std::tuple(5 * 6 * 4, 0));
  EXPECT_EQ(moved.Buffer.data(), data);
  EXPECT_EQ(moved.Accumulator.Buffer.data(), data);
}

TEST_F(ScanWindowsTest, InvalidWindows) {
  struct Case {
    int x1, y1, w, h;
    bool invalid;
  };
  for (const Case& c : {Case{0, 0, 100, 80, false}, Case{99, 79, 1, 1, false},
                        Case{-1, 0, 10, 10, true}, Case{0, -1, 10, 10, true},
                        Case{0, 0, 0, 10, true}, Case{0, 0, 10, 0, true},
                        Case{91, 0, 10, 10, true}, Case{0, 71, 10, 10, true},
                        Case{2147483000, 0, 2000, 10, true}})
    EXPECT_EQ(WindowIsInvalid(Home(c.x1, c.y1, c.w, c.h), kWidth, kHeight), c.invalid)
        << c.x1 << "," << c.y1 << " " << c.w << "x" << c.h;
}

TEST_F(ScanWindowsTest, TheRectangleIsPushedBackInsideAtEveryBorder) {
  struct Case {
    int cx, cy, w, h;
    int x1, y1, x2, y2;
  };
  for (const Case& c : {
           Case{50, 40, 20, 10, 40, 35, 59, 44},   // inside
           Case{50, 40, 21, 11, 40, 35, 60, 45},   // odd sizes: W/2 rounds down
           Case{3, 40, 20, 10, 0, 35, 19, 44},     // left
           Case{98, 40, 20, 10, 80, 35, 99, 44},   // right
           Case{50, 2, 20, 10, 40, 0, 59, 9},      // top
           Case{50, 79, 20, 10, 40, 70, 59, 79},   // bottom
           Case{-30, 200, 20, 10, 0, 70, 19, 79},  // corner, far outside
           Case{90, 40, 20, 10, 80, 35, 99, 44},   // right edge exactly at the width
       }) {
    ScanWindow w = At(c.cx, c.cy, c.w, c.h);
    EXPECT_TRUE(WindowUpdateRect(w, kWidth, kHeight));
    EXPECT_EQ((std::vector<int>{w.CurX1, w.CurY1, w.CurX2, w.CurY2}),
              (std::vector<int>{c.x1, c.y1, c.x2, c.y2}))
        << c.cx << "," << c.cy;
    EXPECT_EQ(w.CenterX, c.cx);  // the centre keeps its value
    EXPECT_FALSE(WindowUpdateRect(w, kWidth, kHeight));
  }
}

TEST_F(ScanWindowsTest, HorizontalAndVerticalChangesAreReportedApart) {
  ScanWindow w = At(50, 40, 20, 10);
  WindowUpdateRect(w, kWidth, kHeight);
  w.CenterX = 51;  // only across
  EXPECT_TRUE(WindowUpdateRect(w, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CurX1, w.CurY1), std::tuple(41, 35));
  w.CenterY = 30;  // only down
  EXPECT_TRUE(WindowUpdateRect(w, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CurX1, w.CurY1), std::tuple(41, 25));
  // A move that the border takes back is no change.
  w.CenterX = 95;
  WindowUpdateRect(w, kWidth, kHeight);
  w.CenterX = 97;
  EXPECT_FALSE(WindowUpdateRect(w, kWidth, kHeight));
}

TEST_F(ScanWindowsTest, AWindowFollowingASpotToTheRightBorderSlidesAndKeepsItsWidth) {
  ScanWindow w = At(80, 40, 20, 10);
  w.Mode = kModeStopAbs;
  WindowUpdateRect(w, kWidth, kHeight);
  EXPECT_TRUE(WindowFollowStep(w, Spot(500, 0, 99, 40), {true, 100, 100, 1}, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CenterX, w.CurX1, w.CurX2, w.W), std::tuple(99, 80, 99, 20));
}

TEST_F(ScanWindowsTest, ApplyResultByMode) {
  struct Case {
    int mode, threshold;
    float max, back;
    bool moves;
  };
  for (const Case& c : {
           Case{kModeFixed, 0, 1000, 0, false},
           Case{kModeStopAbs, 300, 300, 100, true},    // equal to I.max moves
           Case{kModeStopAbs, 301, 300, 100, false},   // one above does not
           Case{kModeStopRel, 200, 300, 100, true},    // I.max - I.back
           Case{kModeStopRel, 201, 300, 100, false},
           Case{kModeFollow, 200, 300, 100, true},
           Case{kModeFollow, 201, 300, 100, false},
           Case{kModeRepeat, 200, 300, 100, true},
           Case{kModeRepeat, 201, 300, 100, false},
           Case{kModeTarget, 200, 300, 100, true},
           Case{kModeTarget, 201, 300, 100, false},
           Case{6, 0, 1000, 0, false},
           Case{-1, 0, 1000, 0, false},
       }) {
    ScanWindow w = Home(5, 6, 20, 10, c.mode, c.threshold);
    EXPECT_EQ(WindowApplyResult(w, Spot(c.max, c.back, 50, 40)), c.moves) << c.mode << " "
                                                                         << c.threshold;
    EXPECT_EQ(std::tuple(w.X1, w.Y1), c.moves ? std::tuple(40, 35) : std::tuple(5, 6));
  }
}

TEST_F(ScanWindowsTest, ApplyResultCutsTo16BitsThenRaisesToZero) {
  struct Case {
    int xmax, ymax;
    int x1, y1;
  };
  for (const Case& c : {Case{3, 2, 0, 0},             // negative: 0
                        Case{70000, 200, 4459, 195},  // 69995 cut to 16 bits
                        Case{40000, 5, 0, 0},         // 39995 is negative in 16 bits
                        Case{500, 300, 495, 295}}) {  // no check against the border
    ScanWindow w = Home(1, 1, 10, 10, kModeStopAbs, 1);
    WindowApplyResult(w, Spot(10, 0, c.xmax, c.ymax));
    EXPECT_EQ(std::tuple(w.X1, w.Y1), std::tuple(c.x1, c.y1)) << c.xmax;
  }
  // Where the place gives the same home, nothing moved.
  ScanWindow w = Home(40, 35, 20, 10, kModeStopAbs, 1);
  WG().Result = Spot(10, 0, 50, 40);
  EXPECT_FALSE(WindowApplyResult(w));
}

TEST_F(ScanWindowsTest, RoundEvenTiesToEven) {
  for (auto [v, r] : {std::pair{0.5, 0L}, {1.5, 2L}, {2.5, 2L}, {-0.5, 0L}, {-1.5, -2L},
                      {2.4999, 2L}, {2.5001, 3L}})
    EXPECT_EQ(RoundEven(v), r) << v;
}

TEST_F(ScanWindowsTest, TheSumsAddPointsOnlyAtPositiveEnergies) {
  WindowSum sum;
  SumAdd(sum, 0, 1, 1);
  SumAdd(sum, -5, 1, 1);
  EXPECT_EQ(sum.N, 0.0f);
  SumAdd(sum, 4, 10, 20);
  EXPECT_EQ(std::tuple(sum.N, sum.Energy1, sum.Energy2, sum.E, sum.E2, sum.EX, sum.EY),
            std::tuple(1.0f, 4.0f, 0.0f, 0.5f, 0.25f, 5.0f, 10.0f));
  SumAdd(sum, 16, 9, 30);
  SumAdd(sum, 64, 9, 30);
  EXPECT_EQ(std::tuple(sum.Energy1, sum.Energy2, sum.X), std::tuple(4.0f, 64.0f, 28.0f));
  SumClear(sum);
  EXPECT_EQ(std::tuple(sum.N, sum.X, sum.Energy1), std::tuple(0.0f, 0.0f, 0.0f));
}

TEST_F(ScanWindowsTest, SumPositionFollowsTheLine) {
  long x = -7, y = -7;
  WindowSum one;
  SumAdd(one, 100, 5, 5);
  EXPECT_FALSE(SumPosition(one, 100, x, y));  // one point is no line
  WindowSum same;
  SumAdd(same, 100, 5, 5);
  SumAdd(same, 100, 9, 9);
  EXPECT_FALSE(SumPosition(same, 50, x, y));  // two points at one energy: D = 0
  EXPECT_EQ(std::tuple(x, y), std::tuple(-7L, -7L));

  const WindowSum line = KnownLine();
  EXPECT_FALSE(SumPosition(line, 0, x, y));
  EXPECT_FALSE(SumPosition(line, -1, x, y));
  ASSERT_TRUE(SumPosition(line, 16, x, y));  // s = 0.25
  EXPECT_EQ(std::tuple(x, y), std::tuple(150L, 200L));
  ASSERT_TRUE(SumPosition(line, 100, x, y));
  EXPECT_EQ(std::tuple(x, y), std::tuple(120L, 260L));

  // Lines through x = 8.5 and 9.5 at E = 64: ties go to the even neighbour.
  for (auto [x1, x2, expected] : {std::tuple{10L, 9L, 8L}, {11L, 10L, 10L}}) {
    WindowSum tie;
    SumAdd(tie, 4, x1, 0);
    SumAdd(tie, 16, x2, 0);
    ASSERT_TRUE(SumPosition(tie, 64, x, y));
    EXPECT_EQ(x, expected) << x1;
  }
}

TEST_F(ScanWindowsTest, SizesFollowTheEnergy) {
  ScanWindow w;
  w.W0 = 200;
  w.H0 = 50;
  WindowSizeFromEnergy(w, 400);
  EXPECT_EQ(std::tuple(w.W, w.H), std::tuple(10, 2));  // 2.5 rounds to even
  WindowSizeFromEnergy(w, 0);
  EXPECT_EQ(w.W, 10);
  w.W = 30;
  w.H = 20;
  WindowSizeAtEnergy(w, 100);
  EXPECT_EQ(std::tuple(w.W0, w.H0), std::tuple(300.0f, 200.0f));
}

TEST_F(ScanWindowsTest, ForecastByMode) {
  // Repeat: the peak line, in an I(E) run only.
  ScanWindow w = At(10, 10, 20, 10);
  w.Mode = kModeRepeat;
  w.Sum = KnownLine();
  WindowPrepareStep(w, {false, 16, 100, 1}, kWidth, kHeight);
  EXPECT_EQ(w.CenterX, 10);
  EXPECT_TRUE(WindowPrepareStep(w, {true, 16, 100, 1}, kWidth, kHeight));
  // The centre is the line's, the rectangle is pushed in.
  EXPECT_EQ(std::tuple(w.CenterX, w.CenterY, w.CurX2, w.CurY2), std::tuple(150, 200, 99, 79));
  // Without a line the centre stays.
  w = At(10, 10, 20, 10);
  w.Mode = kModeRepeat;
  WindowPrepareStep(w, {true, 16, 100, 1}, kWidth, kHeight);
  EXPECT_EQ(w.CenterX, 10);

  // Target: closing in on the target point as sqrt(EStart / E).
  WG().TargetX = 10;
  WG().TargetY = 20;
  w = At(50, 60, 4, 4);
  w.Mode = kModeTarget;
  EXPECT_TRUE(WindowPrepareStep(w, {true, 400, 100, 10}, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CenterX, w.CenterY, w.CurX1), std::tuple(30, 40, 28));

  // Other modes: no forecast; the size follows the energy with DynamicSize.
  w = At(50, 40, 4, 4);
  w.Mode = kModeFollow;
  w.Sum = KnownLine();
  w.DynamicSize = 1;
  w.W0 = 200;
  w.H0 = 100;
  EXPECT_TRUE(WindowPrepareStep(w, {true, 400, 100, 10}, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CenterX, w.W, w.H, w.CurX1, w.CurY2), std::tuple(50, 10, 5, 45, 42));
  // Not in an I(t) run.
  w.W = 4;
  WindowPrepareStep(w, {false, 100, 100, 10}, kWidth, kHeight);
  EXPECT_EQ(w.W, 4);
}

TEST_F(ScanWindowsTest, StopModesMoveAtTheThreshold) {
  struct Case {
    int mode, threshold;
    bool moves;
  };
  for (const Case& c : {Case{kModeStopAbs, 300, true}, Case{kModeStopAbs, 301, false},
                        Case{kModeStopRel, 200, true}, Case{kModeStopRel, 201, false},
                        Case{kModeFixed, 0, false}, Case{kModeRepeat, 0, false},
                        Case{kModeTarget, 0, false}}) {
    ScanWindow w = At(50, 40, 20, 10);
    w.Mode = c.mode;
    w.Threshold = c.threshold;
    WindowFollowStep(w, Spot(300, 100, 60, 45), {true, 100, 100, 1}, kWidth, kHeight);
    EXPECT_EQ(std::tuple(w.CenterX, w.CenterY), c.moves ? std::tuple(60, 45) : std::tuple(50, 40))
        << c.mode << " " << c.threshold;
    // Every mode but 0 brings its rectangle up to date.
    EXPECT_EQ(w.CurX2, c.mode == kModeFixed ? 0 : w.CurX1 + 19);
  }
}

TEST_F(ScanWindowsTest, FollowModeLearnsTheLineAndCarriesAFadingSpotAlongIt) {
  const WindowStepEnergy step{true, 100, 25, 300};  // the next energy is 400
  auto follower = [] {
    ScanWindow w = At(50, 40, 20, 10);
    w.Mode = kModeFollow;
    w.Threshold = 100;
    return w;
  };
  // A fading spot with no line yet (N of 0 or 1) leaves the centre.
  for (int points : {0, 1}) {
    ScanWindow w = follower();
    if (points == 1) SumAdd(w.Sum, 25, 140, 220);
    WindowFollowStep(w, Spot(150, 100, 70, 30), step, kWidth, kHeight);
    EXPECT_EQ(std::tuple(w.CenterX, w.CenterY, w.Sum.N), std::tuple(50, 40, float(points)));
  }
  // With a line it goes on to the line's place at E + EStep.
  ScanWindow w = follower();
  w.Sum = KnownLine();
  WindowFollowStep(w, Spot(150, 100, 70, 30), step, kWidth, kHeight);
  EXPECT_EQ(std::tuple(w.CenterX, w.CenterY, w.Sum.N), std::tuple(110, 280, 3.0f));
  // Not in an I(t) run.
  w = follower();
  w.Sum = KnownLine();
  WindowFollowStep(w, Spot(150, 100, 70, 30), {false, 100, 25, 300}, kWidth, kHeight);
  EXPECT_EQ(w.CenterX, 50);
  // A spot at the threshold is followed and its place added to the line.
  w = follower();
  EXPECT_TRUE(WindowFollowStep(w, Spot(200, 100, 70, 30), step, kWidth, kHeight));
  EXPECT_EQ(std::tuple(w.CenterX, w.CenterY, w.Sum.N, w.Sum.X, w.Sum.Energy1),
            std::tuple(70, 30, 1.0f, 70.0f, 100.0f));
}

TEST_F(ScanWindowsTest, RunsStartAndEnd) {
  ScanWindow follow, repeat;
  follow.Mode = kModeFollow;
  repeat.Mode = kModeRepeat;
  follow.Sum = repeat.Sum = KnownLine();
  WindowStartRun(follow);
  WindowStartRun(repeat);
  EXPECT_EQ(follow.Sum.N, 0.0f);  // Follow learns anew each run
  EXPECT_EQ(repeat.Sum.N, 3.0f);  // Repeat keeps its path

  ScanWindow w = At(90, 70, 20, 10);
  w.X1 = 10;
  w.Y1 = 20;
  w.W0 = 200;
  w.H0 = 100;
  w.DynamicSize = 1;
  WindowReturnHome(w, true, 100, kWidth, kHeight);
  EXPECT_EQ(std::tuple(w.W, w.H, w.CenterX, w.CenterY), std::tuple(20, 10, 20, 25));
  EXPECT_EQ((std::vector<int>{w.CurX1, w.CurY1, w.CurX2, w.CurY2}),
            (std::vector<int>{10, 20, 29, 29}));
  // Without DynamicSize, or after an I(t) run, the size stays.
  w.W = 8;
  WindowReturnHome(w, false, 400, kWidth, kHeight);
  EXPECT_EQ(w.W, 8);
  EXPECT_EQ(w.CenterX, 14);
}

TEST_F(ScanWindowsTest, AveragingSumsFramesIntoTheBuffer) {
  const FrameSize size{16, 12};
  std::vector<uint16_t> frame(size.Pixels(), 10);
  frame[5 * 16 + 7] = 300;
  ScanWindow w = Home(4, 3, 6, 5);
  ASSERT_TRUE(WindowBufferAlloc(w, false, true));
  for (long i = 0; i < 4; ++i) ASSERT_TRUE(WindowScanFrame(w, size, frame, i, false));
  AnalysisResult r;
  ASSERT_TRUE(WindowFrameAnalysis(w, 4096, false, r));
  EXPECT_EQ(std::tuple(r.I.max, r.X.max, r.Y.max, r.Dynamic, r.Area),
            std::tuple(1200.0f, 7, 5, 4 * 4096, 30));
  // Frame 0 starts anew.
  ASSERT_TRUE(WindowScanFrame(w, size, frame, 0, false));
  ASSERT_TRUE(WindowFrameAnalysis(w, 4096, false, r));
  EXPECT_EQ(r.I.max, 300.0f);
  // The same window evaluated directly on the frame.
  AnalysisResult direct;
  ASSERT_TRUE(WindowRectAnalysis(w, size, frame, 4096, false, direct));
  EXPECT_EQ(direct.I.total, r.I.total);
  EXPECT_EQ(direct.Dynamic, 4096);
  // No buffer, no scan.
  WindowBufferFree(w);
  EXPECT_FALSE(WindowScanFrame(w, size, frame, 0, false));
  EXPECT_FALSE(WindowFrameAnalysis(w, 4096, false, r));
}

TEST_F(ScanWindowsTest, AColourWindowReportsTheMeanOfItsChannels) {
  const FrameSize size{8, 8};
  std::vector<uint16_t> frame(size.Pixels() * 3, 0);
  for (size_t i = 0; i < size.Pixels(); ++i) {
    frame[3 * i] = 30;
    frame[3 * i + 1] = 60;
    frame[3 * i + 2] = 90;
  }
  frame[3 * (2 * 8 + 3) + 1] = 600;  // green at (3, 2)
  frame[3 * (4 * 8 + 5) + 2] = 900;  // blue, the brightest, at (5, 4)
  ScanWindow w;
  w.W = 8;
  w.H = 8;
  AnalysisResult r;
  ASSERT_TRUE(WindowRectAnalysis(w, size, frame, 1024, true, r));
  EXPECT_EQ(std::tuple(r.I.max, r.I.back, r.X.max, r.Y.max),
            std::tuple((30.0f + 600.0f + 900.0f) / 3.0f, 60.0f, 5, 4));
  ASSERT_TRUE(WindowBufferAlloc(w, true, true));
  ASSERT_TRUE(WindowScanFrame(w, size, frame, 0, true));
  ASSERT_TRUE(WindowScanFrame(w, size, frame, 1, true));
  AnalysisResult s;
  ASSERT_TRUE(WindowFrameAnalysis(w, 1024, true, s));
  EXPECT_EQ(std::tuple(s.I.max, s.X.max, s.Dynamic), std::tuple(2 * r.I.max, 5, 2048));
}

}  // namespace
}  // namespace sv
