// The dummy grabber's pace on the simulated clock: frames fall due every
// period from the first read, a read sleeps through the host until the next
// one, a late reader skips frames, events run while a read waits, and the
// period is a key of the grabber's settings.

#include <tuple>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "core/ini_profile.h"
#include "grabber_fixture.h"
#include "image/form_camera.h"
#include "image/kernel/test_image.h"

namespace sv {
namespace {

class DummyPaceTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    ResetLiveGlobals();
    RegisterImageDocuments(main);
    RegisterGrabberCommands(main);
    RegisterLiveCommands(main);
    host.clock = 1000;
    ASSERT_TRUE(StartGrabber("DummyGrb"));
    preview = PreviewImage(&main);
    ASSERT_NE(preview, nullptr);
    frame.resize(size_t(kDummyWidth * kDummyHeight));
  }
  void TearDown() override {
    ResetLiveGlobals();
    GrabberTest::TearDown();
  }
  // One read: the clock after it and the waits it took.
  std::tuple<uint32_t, int> Read() {
    const int waits = host.waits;
    EXPECT_EQ(DummyReadImage(frame), 0);
    return {host.clock, host.waits - waits};
  }
  Form_Camera* preview = nullptr;
  std::vector<uint16_t> frame;
};

TEST_F(DummyPaceTest, PreviewShowsTheCamerasRateAndSleepsBetweenFrames) {
  EXPECT_EQ(GB().DummyFramePeriod, kDummyFramePeriodDefault);
  main.Click("mnuPreview");
  const uint32_t start = host.clock;
  EXPECT_EQ(host.waits, 0) << "the first frame comes at once";
  for (int i = 1; i <= 5; ++i) {
    host.FireTimers();
    EXPECT_EQ(host.clock, start + 40u * uint32_t(i));
    EXPECT_EQ(main.Panel(kPanelFrameRate), "25.0 Hz");
  }
  // Four sleeps of 10 ms a frame, never a spin.
  EXPECT_EQ(host.waits, 20);
  EXPECT_EQ(GB().DummyFrames, 6u);
  // The timer's own gap counts: a tick 15 ms late still shows 25 frames a
  // second, and a picture that takes 50 ms between frames shows 20.
  host.clock += 15;
  host.FireTimers();
  EXPECT_EQ(main.Panel(kPanelFrameRate), "25.0 Hz");
  for (int i = 0; i < 2; ++i) {
    host.clock += 50;
    host.FireTimers();
    EXPECT_EQ(main.Panel(kPanelFrameRate), "20.0 Hz");
  }
  EXPECT_EQ(host.waits, 23);

  // Period 0: as fast as the timer asks.
  GB().DummyFramePeriod = 0;
  const auto [clock, waits] = std::tuple(host.clock, host.waits);
  host.FireTimers();
  EXPECT_EQ(std::tuple(host.clock, host.waits), std::tuple(clock, waits));
  EXPECT_EQ(main.Panel(kPanelFrameRate), "1000.0 Hz");
}

TEST_F(DummyPaceTest, FramesKeepToThePeriodFromTheFirstReadAndALateReaderSkips) {
  GB().DummyFramePeriod = 100;
  EXPECT_EQ(Read(), std::tuple(1000u, 0));
  EXPECT_EQ(Read(), std::tuple(1100u, 10));
  // 250 ms late: the frame due at 1300 comes at once, the one of 1200 is
  // gone, and the next is on the grid again.
  host.clock = 1350;
  EXPECT_EQ(Read(), std::tuple(1350u, 0));
  EXPECT_EQ(Read(), std::tuple(1400u, 5));
  // The picture is the screen at the time its frame fell due.
  GB().DummyFrames = 0;
  host.clock = 1730;
  ASSERT_EQ(DummyReadImage(frame), 0);
  std::vector<uint16_t> expected(frame.size());
  TestImageParams p;
  std::tie(p.Energy, p.Time, p.Seed, p.Bits) = std::tuple(G().ElectronEnergy, 0.7, 1, int(kDummyBits));
  ASSERT_TRUE(SV_test_image({kDummyWidth, kDummyHeight}, expected, p));
  EXPECT_EQ(frame, expected);

  // A new start counts anew, across the clock's wrap.
  GB().DummyFramePeriod = 40;
  host.clock = 0xFFFFFFF0u;
  ASSERT_TRUE(GrabberInit(0));
  EXPECT_EQ(Read(), std::tuple(0xFFFFFFF0u, 0));
  EXPECT_EQ(Read(), std::tuple(24u, 4));
  host.clock = 100;
  EXPECT_EQ(Read(), std::tuple(100u, 0));
  EXPECT_EQ(GB().DummyFrameTime, 64u);
}

TEST_F(DummyPaceTest, EventsRunWhileAReadWaitsAndTheStopReachesThePreview) {
  main.Click("mnuPreview");
  // The second click comes while the timer's grab waits for its frame.
  host.After(15, [this] { main.Click("mnuPreview"); });
  host.FireTimers();
  EXPECT_FALSE(PreviewRunning());
  EXPECT_EQ(GB().DummyFrames, 2u) << "the frame awaited still comes";
  EXPECT_EQ(host.PendingActions(), 0u);

  // A grabber closed during the wait ends it at once; closed, or at period
  // 0, the dummy gives a frame whenever asked.
  ASSERT_TRUE(GrabberInit(0));
  Read();
  const uint32_t before = host.clock;
  host.After(10, [] { GrabberClose(); });
  EXPECT_EQ(Read(), std::tuple(before + 10, 1));
  EXPECT_EQ(Read(), std::tuple(before + 10, 0));
  ASSERT_TRUE(GrabberInit(0));
  GB().DummyFramePeriod = 0;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(Read(), std::tuple(before + 10, 0));
}

TEST_F(DummyPaceTest, AnImageClosedWhileItsFrameIsAwaitedIsLeftAlone) {
  Grab(*preview);
  const long handle = preview->Handle();
  host.After(20, [this, handle] { main.CloseChild(handle); });
  EXPECT_EQ(Grab(*preview), -1);
  EXPECT_EQ(main.Child(handle), nullptr);

  // The same during an average.
  G().PreviewImageHandle = 0;
  AfterGrabberSelection(main);
  Form_Camera* image = PreviewImage(&main);
  ASSERT_NE(image, nullptr);
  const long h = image->Handle();
  host.After(50, [this, h] { main.CloseChild(h); });
  EXPECT_FALSE(Average(*image, 8));
  EXPECT_EQ(main.Child(h), nullptr);
  EXPECT_LT(LV().AverageDone, 8);
}

TEST_F(DummyPaceTest, AClockThatStandsStillStillGivesFrames) {
  Read();
  const uint32_t still = host.clock;
  host.onWait = [&] { host.clock = still; };
  for (int i = 0; i < 3; ++i) {
    const auto [clock, waits] = Read();
    EXPECT_EQ(clock, still);
    EXPECT_LE(waits, int(kDummyFramePeriodDefault) + 9);
  }
  EXPECT_EQ(GB().DummyFrames, 4u);
}

TEST_F(DummyPaceTest, ThePeriodIsAKeyOfTheGrabbersSection) {
  InstallGrabberEnvironment();
  G().IniFile = host.programFolder + "/SV4200.ini";
  ReadSettings(nullptr);
  EXPECT_EQ(GB().DummyFramePeriod, 40) << "missing: 25 frames a second";
  for (auto [text, period] : {std::pair{"100", 100L}, {"0", 0L}, {" 33ms", 33L}, {"-5", 0L},
                              {"20000", kDummyFramePeriodMax}, {"fast", 0L}}) {
    test::WriteFile(G().IniFile, std::string("[Grabber]\r\nDummyFramePeriod=") + text + "\r\n");
    ReadSettings(nullptr);
    EXPECT_EQ(GB().DummyFramePeriod, period) << text;
  }
  GB().DummyFramePeriod = 125;
  WriteSettings(nullptr);
  EXPECT_EQ(Profile::Load(G().IniFile).GetString("Grabber", "DummyFramePeriod", "?"), "125");
  GB().DummyFramePeriod = 40;
  ReadSettings(nullptr);
  EXPECT_EQ(GB().DummyFramePeriod, 125);
  const auto lines = DescribeGrabberSettings();
  EXPECT_NE(std::find(lines.begin(), lines.end(), "Grabber/DummyFramePeriod=125"), lines.end());

  // A selection takes the period of the ini file in use.
  test::WriteFile(G().IniFile, "[Grabber]\r\nDummyFramePeriod=0\r\n");
  ASSERT_TRUE(ChangeGrabber("DummyGrb"));
  EXPECT_FALSE(DummyPaced());
}

}  // namespace
}  // namespace sv
