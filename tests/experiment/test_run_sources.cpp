// Where a run's frames come from besides the grabber's whole picture: a
// board that sums windows and lines itself (only they cross the bus), and a
// film in the player, whose frames bring their own time and energy.
#include <gtest/gtest.h>

#include <cmath>

#include "core/error_table.h"
#include "experiment/shutter.h"
#include "hardware/hardware.h"
#include "run_fixture.h"

namespace sv {
namespace {

constexpr long kW = 64, kH = 48;

// A flat frame with one bright pixel.
std::vector<uint16_t> Frame(long width, long height, uint16_t base, long px, long py, uint16_t peak) {
  std::vector<uint16_t> f(size_t(width * height), base);
  f[size_t(py * width + px)] = peak;
  return f;
}

class FakeBoard : public WindowBoard {
 public:
  bool Roi() override { return true; }
  bool Digitize() override { return ++digitizes, true; }
  bool Sync() override { return ++syncs, true; }
  bool ScanFrame(ScanWindow& w, long frame) override {
    frames.push_back(frame);
    return WindowScanFrame(w, size, pixels, frame, false);
  }
  FrameSize size{kDummyWidth, kDummyHeight};
  std::vector<uint16_t> pixels =
      Frame(kDummyWidth, kDummyHeight, 100, kDummyWidth / 2, kDummyHeight / 2, 3000);
  int digitizes = 0, syncs = 0;
  std::vector<long> frames;
};

class FakeLineBoard : public LineBoard {
 public:
  bool ReadLine(ScanLine&, long frame) override {
    frames.push_back(frame);
    return true;
  }
  std::vector<long> frames;
};

class RunSourceTest : public test::RunTest {
 protected:
  void TearDown() override {
    SetLineBoard(nullptr);
    RunTest::TearDown();
  }
};

// The board sums each window over its own averaging; the whole picture is
// read once a step, for the screen.
TEST_F(RunSourceTest, ABoardThatSumsWindowsReadsOnlyThem) {
  FakeBoard board;
  FakeLineBoard lines;
  SetWindowBoard(&board);
  SetLineBoard(&lines);
  ScanWindow& w = Window(0);
  w.Averaging = 4;
  Window(1).Averaging = 2;
  ScanLine& l = LG().ScanLines[0];
  l.X1 = 10, l.Y1 = 10, l.X2 = 60, l.Y2 = 10;
  l.Enabled = 1;
  l.Averaging = 8;
  DefineIt(100, 200);
  ASSERT_EQ(ES().MaxAveraging, 8);
  const uint32_t framesBefore = GB().DummyFrames;
  form.Command_Start(0);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(GB().DummyFrames - framesBefore, 2u);  // one Grab a step
  EXPECT_EQ(board.digitizes, 16);  // MaxAveraging a step
  EXPECT_EQ(board.frames, (std::vector<long>{0, 0, 1, 1, 2, 3, 0, 0, 1, 1, 2, 3}));
  EXPECT_EQ(lines.frames, (std::vector<long>{0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7}));

  // The row holds what the window's sum gives.
  ScanWindow ref = w;
  ASSERT_TRUE(WindowBufferAlloc(ref, false, false));
  for (long f = 0; f < 4; ++f)
    ASSERT_TRUE(WindowScanFrame(ref, board.size, board.pixels, f, false));
  AnalysisResult expected;
  ASSERT_TRUE(WindowFrameAnalysis(ref, 4095, false, expected));
  EXPECT_FLOAT_EQ(float(CellNumber(1, 2)), expected.I.max);
  EXPECT_FLOAT_EQ(float(CellNumber(1, 3)), expected.I.total);
  EXPECT_FLOAT_EQ(float(CellNumber(1, 4)), expected.I.back);
}

TEST_F(RunSourceTest, WithoutTheBoardEveryFrameIsRead) {
  Window(0).Averaging = 4;
  DefineIt(100, 200);
  const uint32_t framesBefore = GB().DummyFrames;
  form.Command_Start(0);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(GB().DummyFrames - framesBefore, 1u + 2u * 4u);  // the first Grab, then 4 a step
}

// A film in the player: frames with their time, energy and numbers.
class FakeFilm : public FilmSource {
 public:
  struct Shot {
    float energy;
    int32_t ms;
    uint16_t peak;
  };
  explicit FakeFilm(std::vector<Shot> shots) : shots_(std::move(shots)) {
    image.CreateImage(kW, kH, 12, nullptr);
    Load();
  }
  Form_Camera* Image() override { return &image; }
  long Bits() const override { return 12; }
  void First() override {
    ++firsts;
    current = 0;
    Load();
  }
  bool Step() override {
    if (current + 1 >= long(shots_.size())) return false;
    ++current;
    Load();
    return true;
  }
  bool NextFrameInSweepEnergyRange(float a, float b) override {
    const float lo = std::min(a, b), hi = std::max(a, b);
    for (;;) {
      if (!Step()) return true;
      const float e = shots_[size_t(current)].energy;
      if (e >= lo && e <= hi) return false;
    }
  }
  float Energy() const override { return shots_[size_t(current)].energy; }
  int32_t TimeMs() const override { return shots_[size_t(current)].ms; }
  bool UserData(const std::string& label, float& value) const override {
    if (label != channel) return false;
    value = 0.25f * float(current);
    return true;
  }
  void Stop() override { ++stops; }

  Form_Camera image;
  long current = 0;
  int firsts = 0, stops = 0;
  std::string channel;

 private:
  void Load() {
    const auto f = Frame(kW, kH, 50, kW / 2, kH / 2, shots_[size_t(current)].peak);
    std::copy(f.begin(), f.end(), image.ImagePtr());
  }
  std::vector<Shot> shots_;
};

ScanWindow& FilmWindow() {
  ScanWindow& w = WG().ScanWindows[0];
  w.X1 = kW / 2 - 8;
  w.Y1 = kH / 2 - 8;
  w.W = 16;
  w.H = 16;
  w.Select = 1;
  w.Plot = 1;
  w.Averaging = 4;  // taken as 1 on a film
  return w;
}

TEST_F(RunSourceTest, AnItRunOnAFilmTakesTheFilmsTimeAndEndsWithIt) {
  FakeFilm film({{0, 0, 1000}, {0, 500, 2000}, {0, 1000, 3000}, {0, 1500, 4000}});
  std::string ad = "DummyAD";
  ASSERT_TRUE(ADStart(ad));
  HW().ADChannels[0].Selected = 1;
  film.channel = HW().ADChannels[0].ChannelName;
  GrabMode() = kGrabModeVTR;
  SetFilmSource(&film);
  FilmWindow();
  form.Check_WScan = true;
  DefineIt(0, 0);
  ASSERT_EQ(ES().SelectedChannels, (std::vector<int16_t>{0}));
  EXPECT_EQ(form.ImageWidth(), 0);
  host.tick = 7;  // the clock runs; the film's time is what counts
  const float energy = G().ElectronEnergy;
  form.Command_Start(0);

  EXPECT_TRUE(host.messages.empty());  // the film's end is the run's end
  EXPECT_EQ(ends.at(0).stopCode, kErrEndOfClip);
  EXPECT_EQ(form.ImageWidth(), kW);
  EXPECT_EQ(Column(1), (std::vector<float>{0, 0.5f, 1, 1.5f}));
  EXPECT_EQ(Column(2), (std::vector<float>{1000, 2000, 3000, 4000}));
  EXPECT_EQ(Column(5), (std::vector<float>{0, 0.25f, 0.5f, 0.75f}));
  EXPECT_EQ(ES().MaxAveraging, 1);
  EXPECT_EQ(G().ElectronEnergy, energy);  // nothing went to the D/A
  EXPECT_EQ(film.firsts, 1);
  EXPECT_EQ(film.stops, 1);
  EXPECT_GT(film.image.Overlay.ItemCount(), 0);
}

TEST_F(RunSourceTest, AnIERunOnAFilmTakesTheFramesInItsRange) {
  FakeFilm film({{10, 0, 500}, {20, 500, 600}, {30, 1000, 700}, {40, 1500, 800}, {50, 2000, 900}});
  GrabMode() = kGrabModeVTR;
  SetFilmSource(&film);
  FilmWindow();
  DefineIE(40, 20, -10);
  const float energy = G().ElectronEnergy;
  form.Command_Start(0);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(Column(1), (std::vector<float>{20, 30, 40}));
  EXPECT_EQ(Column(3), (std::vector<float>{600, 700, 800}));
  EXPECT_EQ(G().ElectronEnergy, energy);
  EXPECT_EQ(ends.at(0).stopCode, kErrEndOfClip);

  // No frame in the range: the run ends before its first row.
  FakeFilm none({{10, 0, 500}, {60, 500, 600}});
  SetFilmSource(&none);
  ends.clear();
  host.Answer(MsgResult::No);
  form.Command_New();
  form.Command_Start(0);
  EXPECT_TRUE(host.messages.size() == 1u);  // only the question about the old rows
  EXPECT_EQ(Sheet().Rows(), 1);
  EXPECT_EQ(ends.at(0).stopCode, kErrEndOfClip);
}

// The shutter opens at the top of each step; the window's curve passes its
// maximum, the detector finds it, and the next step closes the shutter; at
// the end it is closed.
TEST_F(RunSourceTest, TheShutterClosesAfterTheCurvesMaximum) {
  std::vector<FakeFilm::Shot> shots;
  for (int i = 0; i <= 8; ++i) {
    const double t = 0.5 * i;
    shots.push_back({0, int32_t(500 * i), uint16_t(std::lround(3000 - 400 * (t - 2.25) * (t - 2.25)))});
  }
  FakeFilm film(shots);
  std::string io = "DummyIO";
  ASSERT_TRUE(IOStart(io));
  ShutterControlRecord& sc = HW().ShutterControl;
  sc.ShutterEnabled = 1;
  sc.ShutterWindow = 0;
  sc.Cycles = 1;
  sc.Hysterese = 1000;
  sc.MinTimeRange = 0.5f;
  sc.OpenLevel = 1;
  GrabMode() = kGrabModeVTR;
  SetFilmSource(&film);
  FilmWindow();
  DefineIt(0, 0);
  std::vector<bool> open;
  onRow = [&](const RunRow&) { open.push_back(ShutterIsOpen()); };
  form.Command_Start(0);
  EXPECT_EQ(Column(2)[4], 2975);  // the measured curve
  EXPECT_EQ(open, (std::vector<bool>{true, true, true, true, true, false, true, true, true}));
  EXPECT_FALSE(ShutterIsOpen());
  IOStop();
}

// With the intensity calibration on, the three intensities are calibrated
// before they are written, and the columns carry its unit.
TEST_F(RunSourceTest, TheIntensityCalibrationGoesIntoTheRow) {
  FakeFilm film({{0, 0, 1000}, {0, 500, 2000}});
  GrabMode() = kGrabModeVTR;
  SetFilmSource(&film);
  Form_Camera* calibrated = &film.image;
  AnalysisHooks& hooks = Hooks();
  const AnalysisHooks kept = hooks;
  hooks.CalibrationOn = [calibrated](const Form_Camera& image) { return &image == calibrated; };
  hooks.CalIntensity = [](const Form_Camera&, float v) { return 2 * v + 1; };
  hooks.CalibrationUnit = [](const Form_Camera&) { return std::string("cps"); };
  FilmWindow();
  DefineIt(0, 0);
  form.Command_Start(0);
  hooks = kept;
  EXPECT_EQ(Sheet().ColName(2), "cps.max_1");
  EXPECT_EQ(Column(2), (std::vector<float>{2001, 4001}));
  EXPECT_EQ(Column(4), (std::vector<float>{101, 101}));  // the background of 50
}

}  // namespace
}  // namespace sv
