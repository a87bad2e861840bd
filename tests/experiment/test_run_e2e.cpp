// Whole runs on the dummies, nothing standing in for the loop: an I(E) sweep
// whose windows follow diffraction spots of the simulated LEED screen, and an
// I(t) run on a clock that crosses the wrap of its 32-bit millisecond
// counter, with the shutter driven by the growth oscillation of the (0,0)
// spot. What the rows should hold comes from the screen's own model: the
// places of SpotPosition and noiseless pictures of the same screen.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

#include "analysis/form_window_setup.h"
#include "experiment/shutter.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "image/kernel/test_image.h"
#include "run_fixture.h"

namespace sv {
namespace {

using test::RunTest;

constexpr FrameSize kScreen{kDummyWidth, kDummyHeight};
constexpr int kNoise = TestImageParams().Noise;  // the dummy's noise: 0 .. 2 x this counts on top

// The screen at energy E without its noise: what a pixel holds less the
// noise the dummy adds.
std::vector<uint16_t> CleanScreen(double energy, double seconds = 0) {
  std::vector<uint16_t> picture(size_t(kScreen.width * kScreen.height));
  TestImageParams p;
  p.Energy = energy;
  p.Time = seconds;
  p.Noise = 0;
  p.Bits = int(kDummyBits);
  EXPECT_TRUE(SV_test_image(kScreen, picture, p));
  return picture;
}

struct Pixel {
  long x = 0, y = 0;
  uint16_t value = 0;
};

// The brightest pixel of a picture within `reach` pixels of (x, y).
Pixel Brightest(const std::vector<uint16_t>& picture, double x, double y, long reach) {
  Pixel best{-1, -1, 0};
  const long cx = std::lround(x), cy = std::lround(y);
  for (long py = std::max(cy - reach, 0L); py <= std::min(cy + reach, kScreen.height - 1); ++py)
    for (long px = std::max(cx - reach, 0L); px <= std::min(cx + reach, kScreen.width - 1); ++px) {
      const uint16_t v = picture[size_t(py * kScreen.width + px)];
      if (best.x < 0 || v > best.value) best = {px, py, v};
    }
  return best;
}

// The marked peaks of a curve: inner local maxima that stand out of the
// curve by at least `share` of its whole range on both sides (before a
// higher point or the curve's end). Their indices.
std::vector<size_t> Peaks(const std::vector<double>& v, double share) {
  std::vector<size_t> out;
  if (v.size() < 3) return out;
  const auto [lo, hi] = std::minmax_element(v.begin(), v.end());
  const double needed = share * (*hi - *lo);
  for (size_t i = 1; i + 1 < v.size(); ++i) {
    if (!(v[i] > v[i - 1] && v[i] >= v[i + 1])) continue;
    double left = v[i], right = v[i];
    size_t j = i;
    while (j > 0 && v[j - 1] <= v[i]) left = std::min(left, v[--j]);
    const bool higherLeft = j > 0;
    j = i;
    while (j + 1 < v.size() && v[j + 1] <= v[i]) right = std::min(right, v[++j]);
    const bool higherRight = j + 1 < v.size();
    // Towards a higher point the dip counts; towards an end, the end's.
    const double dipLeft = v[i] - left, dipRight = v[i] - right;
    const double stands = higherLeft && higherRight ? std::min(dipLeft, dipRight)
                          : higherLeft              ? dipLeft
                          : higherRight             ? dipRight
                                                    : std::max(dipLeft, dipRight);
    if (stands >= needed && dipLeft >= needed && dipRight >= needed) out.push_back(i);
  }
  return out;
}

// The top of a sampled curve: the vertex of a parabola fitted to the points
// within `half` of the highest one in (from, to).
double FittedTop(const std::vector<double>& t, const std::vector<double>& v, double from, double to,
                 double half) {
  size_t top = 0;
  bool any = false;
  for (size_t i = 0; i < t.size(); ++i)
    if (t[i] > from && t[i] < to && (!any || v[i] > v[top])) {
      top = i;
      any = true;
    }
  EXPECT_TRUE(any);
  // Least squares of v = a + b u + c u^2, u = t - t[top].
  double s[5] = {}, r[3] = {};
  for (size_t i = 0; i < t.size(); ++i) {
    const double u = t[i] - t[top];
    if (std::abs(u) > half) continue;
    double p = 1;
    for (int k = 0; k < 5; ++k, p *= u) {
      s[k] += p;
      if (k < 3) r[k] += p * v[i];
    }
  }
  // Cramer's rule on the normal equations.
  const auto det = [](double a, double b, double c, double d, double e, double f, double g,
                      double h, double i) {
    return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g);
  };
  const double d = det(s[0], s[1], s[2], s[1], s[2], s[3], s[2], s[3], s[4]);
  const double b = det(s[0], r[0], s[2], s[1], r[1], s[3], s[2], r[2], s[4]) / d;
  const double c = det(s[0], s[1], r[0], s[1], s[2], r[1], s[2], s[3], r[2]) / d;
  EXPECT_LT(c, 0) << "no top near " << t[top];
  return t[top] - b / (2 * c);
}

struct SpotWindow {
  int h, k;      // the spot's order
  int32_t mode;  // the window's
};

// I(E) over 50 .. 300 eV in 2 eV steps: Follow windows on (1,0), (0,1) and
// (1,1), a Repeat window on (-1,0) taught at 80 and 240 eV with the window
// tool as the user teaches it. Every row's X.max and Y.max lie within 1 px
// of where the screen puts the spot, each intensity is the screen's own at
// the row's energy, and each curve has its peaks where the screen's model
// has them. The finished run leaves the energy at EStart and the windows
// home; a second run, stopped, leaves them where the last step had them.
TEST_F(RunTest, AnIERunFollowsTheSpotsOfTheScreen) {
  const SpotWindow spots[] = {
      {1, 0, kModeFollow}, {0, 1, kModeFollow}, {1, 1, kModeFollow}, {-1, 0, kModeRepeat}};
  constexpr int kRepeat = 3;
  constexpr float kFrom = 50, kTo = 300, kStep = 2;
  constexpr long kRows = 126;

  // Teaching the Repeat window: at each energy the user puts the window
  // round the spot, scans, and adds the peak's place.
  const AnalysisHooks kept = Hooks();
  Hooks().EnergyKnown = [] { return true; };
  Hooks().Energy = [] { return G().ElectronEnergy; };
  Form_Camera* live = PreviewImage(&main);
  ASSERT_NE(live, nullptr);
  ScanWindow& repeat = Window(kRepeat, kModeRepeat);
  WindowSetupForm().Load(live);
  WindowSetupForm().TabStrip_Click(kRepeat);
  for (float e : {80.0f, 240.0f}) {
    SetEnergy(e, true);
    ASSERT_EQ(Grab(*live), 0);
    const SpotPlace at = SpotPosition(-1, 0, e, kScreen);
    repeat.X1 = int32_t(std::lround(at.x)) - repeat.W / 2;
    repeat.Y1 = int32_t(std::lround(at.y)) - repeat.H / 2;
    WindowSetupForm().Command_Scan();
    host.Answer(MsgResult::OK);
    WindowSetupForm().Command_AddSum();
  }
  WindowSetupForm().Unload();
  WindowScanResultForm().Hide();
  Hooks() = kept;
  ASSERT_EQ(repeat.Sum.N, 2.0f);
  EXPECT_EQ(host.messages.back().title, "Repeat Mode");

  // The Follow windows start round their spots at the first energy.
  for (int i = 0; i < kRepeat; ++i) {
    const SpotPlace at = SpotPosition(spots[i].h, spots[i].k, kFrom, kScreen);
    ScanWindow& w = Window(i, spots[i].mode);
    w.X1 = int32_t(std::lround(at.x)) - w.W / 2;
    w.Y1 = int32_t(std::lround(at.y)) - w.H / 2;
  }
  ES().SaveXY = 1;
  DefineIE(kFrom, kTo, kStep);
  ASSERT_TRUE(host.messages.size() == 2u) << host.messages.back().text;

  // The rectangle each window was evaluated on: a Follow window's from the
  // step before (it moves after its evaluation), a Repeat window's from its
  // own step (it moves before).
  std::vector<std::array<ScanWindow, 4>> after;  // the windows after each row
  onRow = [&](const RunRow&) {
    std::array<ScanWindow, 4> now;
    for (int i = 0; i < 4; ++i) now[size_t(i)] = WG().ScanWindows[size_t(i)];
    after.push_back(now);
  };
  form.Command_Start(0);
  onRow = nullptr;
  EXPECT_EQ(host.messages.size(), 2u);
  ASSERT_EQ(Sheet().Rows(), kRows + 1);
  ASSERT_EQ(after.size(), size_t(kRows));
  for (long r = 1; r <= kRows; ++r)
    ASSERT_FLOAT_EQ(float(CellNumber(r, 1)), kFrom + kStep * float(r - 1)) << r;

  // Row by row against the screen.
  std::vector<std::vector<double>> measured(4), expected(4);
  std::vector<std::vector<bool>> shown(4);  // the spot's centre is on the screen
  for (long r = 1; r <= kRows; ++r) {
    const double e = CellNumber(r, 1);
    const std::vector<uint16_t> clean = CleanScreen(e);
    for (int i = 0; i < 4; ++i) {
      SCOPED_TRACE(testing::Message() << "window " << i + 1 << " at " << e << " eV");
      const long col = 3 + 5 * i;  // I.max, I.total, I.back, X.max, Y.max
      const SpotPlace at = SpotPosition(spots[i].h, spots[i].k, e, kScreen);
      const Pixel top = Brightest(clean, at.x, at.y, 3);
      const bool onScreen =
          std::abs(double(top.x) - at.x) <= 1 && std::abs(double(top.y) - at.y) <= 1;
      shown[size_t(i)].push_back(onScreen);
      const double xmax = CellNumber(r, col + 3), ymax = CellNumber(r, col + 4);
      const double imax = CellNumber(r, col);
      measured[size_t(i)].push_back(imax);
      expected[size_t(i)].push_back(top.value);
      if (i == kRepeat) {
        // The taught line puts the window on the spot before the frame; it
        // was taught with whole pixels, each within half a pixel of the
        // spot's centre.
        const ScanWindow& w = after[size_t(r - 1)][size_t(i)];
        EXPECT_LE(std::abs(double(w.CenterX) - at.x), 2.0);
        EXPECT_LE(std::abs(double(w.CenterY) - at.y), 2.0);
      }
      if (!onScreen) continue;
      EXPECT_LE(std::abs(xmax - at.x), 1.0) << xmax << " for " << at.x;
      EXPECT_LE(std::abs(ymax - at.y), 1.0) << ymax << " for " << at.y;
      // The spot's top as the screen had it at this energy, and its noise.
      EXPECT_GE(imax, top.value);
      EXPECT_LE(imax, top.value + 2 * kNoise);
    }
  }
  // Only (1,1) stands partly off the phosphor at the lowest energies: its
  // distance from the centre, sqrt(2) lattice steps, is beyond the screen's
  // rim below about 56 eV. Its window has the spot from then on.
  for (int i = 0; i < 4; ++i) {
    const std::vector<bool>& s = shown[size_t(i)];
    const size_t off = size_t(std::count(s.begin(), s.end(), false));
    if (i == 2) {
      EXPECT_GE(off, 1u);
      EXPECT_LE(off, 3u);
      EXPECT_TRUE(std::all_of(s.begin() + long(off), s.end(), [](bool b) { return b; }));
    } else {
      EXPECT_EQ(off, 0u) << "window " << i + 1;
    }
  }
  // The curves' peaks where the screen has them, to one step.
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(testing::Message() << "window " << i + 1);
    const size_t first =
        size_t(std::count(shown[size_t(i)].begin(), shown[size_t(i)].end(), false));
    const std::vector<double> m(measured[size_t(i)].begin() + long(first),
                                measured[size_t(i)].end());
    const std::vector<double> x(expected[size_t(i)].begin() + long(first),
                                expected[size_t(i)].end());
    const std::vector<size_t> got = Peaks(m, 0.1), want = Peaks(x, 0.1);
    ASSERT_FALSE(want.empty());
    ASSERT_EQ(got.size(), want.size());
    for (size_t p = 0; p < got.size(); ++p)
      EXPECT_LE(std::abs(long(got[p]) - long(want[p])), 1L)
          << CellNumber(long(first + got[p]) + 1, 1) << " eV for "
          << CellNumber(long(first + want[p]) + 1, 1) << " eV";
  }

  // Finished: the energy back at EStart, every window home.
  EXPECT_FLOAT_EQ(ES().Energy, kFrom);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, kFrom);
  for (int i = 0; i < 4; ++i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    EXPECT_EQ(w.CenterX, w.X1 + w.W / 2) << i;
    EXPECT_EQ(w.CenterY, w.Y1 + w.H / 2) << i;
    EXPECT_EQ(w.CurX1, w.CenterX - w.W / 2) << i;
    EXPECT_EQ(w.CurY1, w.CenterY - w.H / 2) << i;
    const ScanWindow& last = after.back()[size_t(i)];  // where the last step had it
    EXPECT_NE(std::pair(last.CenterX, last.CenterY), std::pair(w.CenterX, w.CenterY)) << i;
  }
  EXPECT_EQ(repeat.Sum.N, 2.0f);

  // Again, stopped at 128 eV: energy and windows stay where they were.
  NewSheet();
  after.clear();
  onRow = [&](const RunRow& r) {
    std::array<ScanWindow, 4> now;
    for (int i = 0; i < 4; ++i) now[size_t(i)] = WG().ScanWindows[size_t(i)];
    after.push_back(now);
    if (r.row == 40) form.Command_Stop();
  };
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  onRow = nullptr;
  ASSERT_EQ(host.messages.size(), 4u);  // the new sheet's question, the stop's message
  EXPECT_EQ(host.messages.back().text, "Experiment canceled by user");
  ASSERT_EQ(after.size(), 40u);
  EXPECT_FLOAT_EQ(ES().Energy, 128);
  EXPECT_FLOAT_EQ(G().ElectronEnergy, 128);
  for (int i = 0; i < 4; ++i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    EXPECT_EQ(w.CenterX, after.back()[size_t(i)].CenterX) << i;
    EXPECT_EQ(w.CenterY, after.back()[size_t(i)].CenterY) << i;
    EXPECT_NE(std::pair(w.CenterX, w.CenterY), std::pair(w.X1 + w.W / 2, w.Y1 + w.H / 2)) << i;
    // Still on its spot: the Repeat window kept its line from the first run.
    const SpotPlace at = SpotPosition(spots[i].h, spots[i].k, 128, kScreen);
    EXPECT_LE(std::abs(CellNumber(40, 3 + 5 * i + 3) - at.x), 1.0) << i;
    EXPECT_LE(std::abs(CellNumber(40, 3 + 5 * i + 4) - at.y), 1.0) << i;
  }
}

// The step schedule of an I(t) run: a step on time is due tStep after the
// step before was due; a step that comes late (after the delay tStart, after
// a step whose work took longer than tStep) is taken at once and the
// schedule goes on from its own time.
TEST_F(RunTest, ItStepsKeepTheirScheduleAndStartItAfreshWhenLate) {
  Window(0);
  ES().tStart = 150;
  DefineIt(100, 0);
  onRow = [this](const RunRow& r) {
    if (r.row == 3) host.clock += 250;  // a slow step
    if (r.row == 6) form.Command_Stop();
  };
  host.Answer(MsgResult::OK);
  form.Command_Start(0);
  EXPECT_EQ(Column(1), (std::vector<float>{0.15f, 0.25f, 0.35f, 0.6f, 0.7f, 0.8f}));
}

// I(t) at 100 ms for 100 s on the centre spot, the millisecond counter
// wrapping 30 s in, each step's work taking 37 ms and every clock read one
// more. The rows keep to their 100 ms without drifting, the spot's growth
// oscillation has its tops 20 s apart, and the shutter, watching the spot's
// curve, closes after every second top.
TEST_F(RunTest, AnItRunAcrossTheClocksWrapKeepsItsStepsAndShutsAfterItsCycles) {
  constexpr long kRows = 1000;
  constexpr int32_t kStepMs = 100;
  SetEnergy(100, true);
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.ShutterEnabled = 1;
  sc.ShutterWindow = 0;
  sc.Cycles = 2;
  sc.Hysterese = 150;  // counts: a tenth of the oscillation's swing
  sc.MinTimeRange = 1;
  sc.OpenLevel = 1;
  sc.TriggerSource = 0;  // on maxima
  Window(0);             // the (0,0) spot
  DefineIt(kStepMs, kStepMs * kRows);

  const uint32_t start = 0xFFFFFFFFu - 30'000u;
  host.clock = start;
  host.tick = 1;
  GB().StartTime = start;  // the screen's growth begins with the run
  std::vector<bool> open;
  onRow = [&](const RunRow&) {
    open.push_back(ShutterIsOpen());
    host.clock += 37;
  };
  form.Command_Start(0);
  onRow = nullptr;
  const bool shutAtEnd = !ShutterIsOpen();
  IOStop();

  EXPECT_TRUE(host.messages.empty());
  ASSERT_EQ(Sheet().Rows(), kRows + 1);
  EXPECT_LT(host.clock, 80'000u);  // the counter went round
  // Each row within a few ms of its place on the 100 ms grid, to the last.
  std::vector<double> t, v;
  long worst = 0;
  for (long r = 1; r <= kRows; ++r) {
    const long ms = std::lround(CellNumber(r, 1) * 1000);
    worst = std::max(worst, std::abs(ms - r * kStepMs));
    t.push_back(CellNumber(r, 1));
    v.push_back(CellNumber(r, 2));
  }
  EXPECT_LE(worst, 5);
  EXPECT_EQ(form.Text_Time, "100 s");
  EXPECT_EQ(form.Text_Rate, "10.0 Hz (1000)");

  // The tops of the growth oscillation: one a period, 20 s apart, where the
  // screen has them (its clock ran from `start`, the run's from a few reads
  // later).
  const double lag = double(form.StartTime() - start) / 1000;
  EXPECT_LT(lag, 0.1);
  std::vector<double> tops;
  for (int k = 1; k <= 4; ++k) {
    const double p = kTestImageGrowthPeriod * k - lag;
    tops.push_back(
        FittedTop(t, v, p - kTestImageGrowthPeriod / 2, p + kTestImageGrowthPeriod / 2, 2.0));
    EXPECT_NEAR(tops.back(), p, 0.3) << k;
  }
  for (size_t k = 1; k < tops.size(); ++k)
    EXPECT_NEAR(tops[k] - tops[k - 1], kTestImageGrowthPeriod, 0.2) << k;

  // The shutter: open at every row but two, which follow the second and the
  // fourth top; open again at the next step, closed at the end.
  ASSERT_EQ(open.size(), size_t(kRows));
  std::vector<double> shut;
  for (size_t i = 0; i < open.size(); ++i)
    if (!open[i]) {
      shut.push_back(t[i]);
      if (i + 1 < open.size()) {
        EXPECT_TRUE(open[i + 1]) << t[i];
      }
    }
  ASSERT_EQ(shut.size(), 2u);
  EXPECT_GE(shut[0], tops[1] - 0.5);
  EXPECT_LE(shut[0], tops[1] + 3);
  EXPECT_GE(shut[1], tops[3] - 0.5);
  EXPECT_LE(shut[1], tops[3] + 3);
  EXPECT_TRUE(shutAtEnd);
}

}  // namespace
}  // namespace sv
