// Live acquisition on the dummy grabber: the preview and its timer, grabs,
// noise reduction, the background image, timed grabs, averaging and the
// full-screen picture.

#include <filesystem>
#include <tuple>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "grabber_fixture.h"
#include "v4l2_fake_stream.h"
#include "image/form_camera.h"
#include "image/kernel/accumulate.h"

namespace sv {
namespace {

constexpr const char* kQuestion =
    "Background Image is different in size and/or dynamik.\r\n"
    "Press [Yes] to reload original background image (recommended)\r\n"
    "Press [No] to convert existing background image\r\n"
    "Press [Cancel] to disable background image subtraction";

class LiveTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    ResetLiveGlobals();
    RegisterImageDocuments(main);
    RegisterGrabberCommands(main);
    RegisterLiveCommands(main);
    G().ImagesPath = host.root + "/images/";
    std::filesystem::create_directories(G().ImagesPath);
    ASSERT_TRUE(StartGrabber("DummyGrb"));
    GB().DummyFramePeriod = 0;  // frames when asked; the pace has tests of its own
    preview = PreviewImage(&main);
    ASSERT_NE(preview, nullptr);
    main.PrepareAllMenus();
  }
  void TearDown() override {
    ResetLiveGlobals();
    GrabberTest::TearDown();
  }
  // The dummy's next frames, as Grab would see them, without taking them.
  std::vector<uint16_t> NextFrames(int count) {
    const uint32_t frames = GB().DummyFrames;
    const size_t samples = size_t(preview->ImageBytes()) / 2;
    std::vector<uint16_t> all(samples * count);
    for (int i = 0; i < count; ++i)
      EXPECT_EQ(DummyReadImage(Samples16(all.data() + i * samples, samples)), 0);
    GB().DummyFrames = frames;
    return all;
  }
  size_t Samples() const { return size_t(preview->ImageBytes()) / 2; }
  // A hidden background image of its own shape.
  Form_Camera& MakeBackground(long width, long height, long bits, uint16_t value) {
    auto* bg = dynamic_cast<Form_Camera*>(main.CreateImage());
    EXPECT_NE(bg, nullptr);
    G().BackgroundImageHandle = bg->Handle();
    G().BackgroundValid = true;
    bg->CreateImage(width, height, bits, nullptr);
    std::fill(bg->ImagePtr(), bg->ImagePtr() + bg->ImageBytes() / 2, value);
    return *bg;
  }
  Form_Camera* preview = nullptr;
};

TEST(TimerListTest, TicksInOrderAndAStoppedTimerMissesItsTurn) {
  TimerList timers;
  std::vector<int> ticks;
  int second = 0;
  const int first = timers.Start(10, [&] {
    ticks.push_back(1);
    timers.Stop(second);  // stops the next one within the same round
  });
  second = timers.Start(20, [&] { ticks.push_back(2); });
  const int third = timers.Start(30, [&] {
    ticks.push_back(3);
    timers.Stop(third);  // and itself
  });
  EXPECT_EQ(timers.Interval(second), 20);
  timers.Fire();
  EXPECT_EQ(ticks, (std::vector<int>{1, 3}));
  EXPECT_EQ(std::tuple(timers.Running(first), timers.Running(third), timers.Count()), std::tuple(true, false, size_t(1)));
}

TEST(FrameRateTest, OneDecimalAndHertz) {
  for (auto [ms, text] : {std::pair{80, "12.5 Hz"}, {1000, "1.0 Hz"}, {3, "333.3 Hz"}, {0, "1000.0 Hz"}})
    EXPECT_EQ(FrameRateText(ms), text);
}

TEST_F(LiveTest, PreviewRunsOnItsTimerShowsTheRateAndStopsOnTheSecondClick) {
  host.tick = 40;  // every clock reading is 40 ms after the last
  main.Click("mnuPreview");
  EXPECT_EQ(std::tuple(PreviewRunning(), host.RunningTimers(), main.FindMenu("mnuPreview")->checked,
                       main.FindButton("Preview")->checked),
            std::tuple(true, size_t(1), true, true));
  const uint32_t frames = GB().DummyFrames;
  EXPECT_GE(frames, 1u) << "one grab before the timer";
  for (int i = 0; i < 3; ++i) host.FireTimers();
  EXPECT_EQ(GB().DummyFrames, frames + 3);
  // Start, the dummy's reading, end: two steps of 40 ms.
  EXPECT_EQ(main.Panel(kPanelFrameRate), "12.5 Hz");
  main.Click("mnuPreview");
  EXPECT_EQ(std::tuple(PreviewRunning(), host.RunningTimers(), main.FindButton("Preview")->checked),
            std::tuple(false, size_t(0), false));
  host.FireTimers();
  EXPECT_EQ(GB().DummyFrames, frames + 3);
}

TEST_F(LiveTest, TheFramePathKeepsItsBuffers) {
  MakeBackground(kDummyWidth, kDummyHeight, kDummyBits, 3);
  G().SubtractBackground = -1;
  G().NoiseReduction = true;
  Preview(*preview);
  host.FireTimers();
  const uint16_t* image = preview->ImagePtr();
  const uint8_t* display = preview->ImagePtr8();
  const uint16_t* grab = preview->GrabPtr();
  const long builds = preview->LutBuilds();
  for (int i = 0; i < 5; ++i) host.FireTimers();
  EXPECT_EQ(std::tuple(preview->ImagePtr(), preview->ImagePtr8(), preview->GrabPtr()),
            std::tuple(image, display, grab));
  EXPECT_EQ(preview->LutBuilds(), builds) << "the table is built only when its limits move";
  EXPECT_TRUE(host.messages.empty());

  StopPreview();
  ASSERT_TRUE(Average(*preview, 4));
  const uint32_t* sum = LV().AverageSum.data();
  ASSERT_TRUE(Average(*preview, 8));
  EXPECT_EQ(LV().AverageSum.data(), sum);
  EXPECT_EQ(preview->ImagePtr(), image);
}

TEST_F(LiveTest, AGrabReplacesTheFrameAndNoiseReductionMixesItIn) {
  auto next = NextFrames(1);
  EXPECT_EQ(Grab(*preview), 0);
  EXPECT_TRUE(std::equal(next.begin(), next.end(), preview->ImagePtr()));

  std::vector<uint16_t> mean(preview->ImagePtr(), preview->ImagePtr() + Samples());
  next = NextFrames(1);
  ASSERT_TRUE(SV_avg_hist(Samples(), next, mean, kNoiseReductionFrames));
  main.Click("mnuAvgHist");
  EXPECT_EQ(std::tuple(G().NoiseReduction, main.FindMenu("mnuAvgHist")->checked), std::tuple(true, true));
  EXPECT_EQ(Grab(*preview), 0);
  EXPECT_TRUE(std::equal(mean.begin(), mean.end(), preview->ImagePtr()));
  EXPECT_FALSE(std::equal(next.begin(), next.end(), preview->ImagePtr()));
  main.Click("mnuAvgHist");
  EXPECT_FALSE(G().NoiseReduction);
}

TEST_F(LiveTest, AGrabFollowsTheCamerasShapeAndKeepsThePreviewRunning) {
  preview->Filename = "/somewhere/old.tif";
  Preview(*preview);
  EXPECT_EQ(preview->Caption().find("old"), std::string::npos);
  GB().GrabberColor = true;
  host.FireTimers();
  EXPECT_EQ(std::tuple(preview->HasColors(), preview->ImageBytes(), preview->ImageBitsPerPixel()),
            std::tuple(true, kDummyWidth * kDummyHeight * 6, kDummyBits));
  EXPECT_EQ(std::tuple(PreviewRunning(), host.RunningTimers()), std::tuple(true, size_t(1)));
  const auto next = NextFrames(1);
  host.FireTimers();
  EXPECT_TRUE(std::equal(next.begin(), next.end(), preview->ImagePtr()));
}

TEST_F(LiveTest, TheBackgroundIsSubtractedAndMarkedInTheStatus) {
  Grab(*preview);
  main.Click("mnuDefineBackground");
  Form_Camera* bg = BackgroundImage();
  ASSERT_NE(bg, nullptr);
  EXPECT_EQ(std::tuple(G().BackgroundValid, bg->Visible(), bg->ImageBitsPerPixel()),
            std::tuple(true, false, kDummyBits));
  EXPECT_TRUE(std::equal(bg->ImagePtr(), bg->ImagePtr() + Samples(), preview->ImagePtr()));

  main.Click("mnuSubtractBackground");
  EXPECT_NE(G().SubtractBackground, 0);
  EXPECT_TRUE(main.FindMenu("mnuSubtractBackground")->checked);
  const auto next = NextFrames(1);
  Grab(*preview);
  for (size_t i = 0; i < Samples(); i += 997)
    EXPECT_EQ(preview->ImagePtr()[i], next[i] > bg->ImagePtr()[i] ? next[i] - bg->ImagePtr()[i] : 0)
        << i;
  EXPECT_EQ(preview->StatusLine, " [- Background Image]");
  main.Click("mnuSubtractBackground");
  Grab(*preview);
  EXPECT_EQ(preview->StatusLine, "");

  main.PrepareAllMenus();
  main.Click("mnuShowBackgroundImage");
  EXPECT_EQ(std::tuple(bg->Visible(), main.FindMenu("mnuShowBackgroundImage")->checked), std::tuple(true, true));
  main.Click("mnuShowBackgroundImage");
  EXPECT_FALSE(bg->Visible());
}

TEST_F(LiveTest, DefineBackgroundSavesThroughThePluggedWriter) {
  std::string saved;
  LV().SaveBackground = [&](Form_Camera&, const std::string& path) { return !(saved = path).empty(); };
  Grab(*preview);
  mnuDefineBackground_Click();
  EXPECT_EQ(saved, G().ImagesPath + "~BckGrnd.tif");
}

TEST_F(LiveTest, TheBackgroundSurvivesARestartThroughItsFile) {
  G().ImagesPath = host.root + "/not/made/yet/";
  Grab(*preview);
  mnuDefineBackground_Click();
  ASSERT_TRUE(std::filesystem::exists(G().ImagesPath + "~BckGrnd.tif"));
  EXPECT_TRUE(main.LastFiles.empty() || main.GetLastFile(0).find("~BckGrnd") == std::string::npos);
  Form_Camera* bg = BackgroundImage();
  ASSERT_NE(bg, nullptr);
  bg->CreateImage(2, 2, 8, nullptr);  // what a fresh start has
  LoadBackgroundImage();
  EXPECT_TRUE(G().BackgroundValid);
  // The camera's depth, so no question follows.
  EXPECT_EQ(std::tuple(bg->ImageWidth(), bg->ImageHeight(), bg->ImageBitsPerPixel()),
            std::tuple(kDummyWidth, kDummyHeight, kDummyBits));
  EXPECT_TRUE(std::equal(bg->ImagePtr(), bg->ImagePtr() + Samples(), preview->ImagePtr()));
  G().SubtractBackground = -1;
  Grab(*preview);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(preview->StatusLine, " [- Background Image]");
}

TEST_F(LiveTest, AnUnwritableReferenceFileIsReported) {
  test::WriteFile(host.root + "/plain", "a file, not a folder");
  G().ImagesPath = host.root + "/plain/";
  Grab(*preview);
  host.Answer(MsgResult::OK);
  mnuDefineBackground_Click();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title),
            std::tuple("Error writing " + host.root + "/plain/~BckGrnd.tif", "Save Image"));
  EXPECT_TRUE(G().BackgroundValid) << "the image in memory still serves";
}

TEST_F(LiveTest, AMismatchedBackgroundAsksAndCancelTurnsSubtractionOff) {
  MakeBackground(100, 50, 8, 1);
  G().SubtractBackground = -1;
  host.Answer(MsgResult::Cancel);
  Grab(*preview);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title, host.messages[0].buttons),
            std::tuple(kQuestion, "Background Image Subtraction", MsgButtons::YesNoCancel));
  // And the ini value follows.
  EXPECT_EQ(std::tuple(G().SubtractBackground, main.FindMenu("mnuSubtractBackground")->checked, preview->StatusLine),
            std::tuple(0, false, ""));
  Grab(*preview);
  EXPECT_EQ(host.messages.size(), 1u) << "asked once";
}

TEST_F(LiveTest, NoConvertsTheBackgroundToTheCamerasSizeAndDepth) {
  Form_Camera& bg = MakeBackground(96, 72, 8, 16);  // 16 at 8 bits is 256 at 12
  G().SubtractBackground = -1;
  host.Answer(MsgResult::No);
  const auto next = NextFrames(1);
  Grab(*preview);
  EXPECT_EQ(std::tuple(bg.ImageWidth(), bg.ImageHeight(), bg.ImageBitsPerPixel()),
            std::tuple(kDummyWidth, kDummyHeight, kDummyBits));
  EXPECT_EQ(bg.ImagePtr()[1000], 256);
  EXPECT_EQ(preview->ImagePtr()[1000], next[1000] > 256 ? next[1000] - 256 : 0);
  EXPECT_EQ(preview->StatusLine, " [- Background Image]");
  Grab(*preview);
  EXPECT_EQ(host.messages.size(), 1u);
}

TEST_F(LiveTest, YesReloadsTheReferenceFile) {
  Form_Camera& bg = MakeBackground(10, 10, 8, 1);
  test::WriteFile(BackgroundFilePath(), "stand-in");
  int loads = 0;
  LV().LoadBackground = [&](Form_Camera& image, const std::string& path) {
    ++loads;
    EXPECT_EQ(path, BackgroundFilePath());
    image.CreateImage(kDummyWidth, kDummyHeight, kDummyBits, nullptr);
    std::fill(image.ImagePtr(), image.ImagePtr() + image.ImageBytes() / 2, uint16_t(7));
    return true;
  };
  G().SubtractBackground = -1;
  host.Answer(MsgResult::Yes);
  Grab(*preview);
  EXPECT_EQ(std::tuple(loads, bg.ImagePtr()[5], preview->StatusLine),
            std::tuple(1, 7, " [- Background Image]"));
}

TEST_F(LiveTest, TheBackgroundLoadsAtStartOnlyFromItsFile) {
  MakeBackground(1, 1, 8, 0);
  int loads = 0;
  LV().LoadBackground = [&](Form_Camera&, const std::string&) { return ++loads > 0; };
  InstallLiveEnvironment();
  Environment().backgroundImage();
  EXPECT_EQ(std::tuple(loads, G().BackgroundValid), std::tuple(0, false)) << "no file yet";
  test::WriteFile(BackgroundFilePath(), "x");
  Environment().backgroundImage();
  EXPECT_EQ(std::tuple(loads, G().BackgroundValid), std::tuple(1, true));
}

TEST_F(LiveTest, TimerGrabAsksCountsDownAndGrabs) {
  host.AnswerInput(std::string("abc"));
  main.Click("mnuTimerGrab");
  ASSERT_EQ(host.inputPrompts.size(), 1u);
  EXPECT_EQ(host.inputPrompts[0], "Input delay time in seconds:");
  EXPECT_FALSE(TimerGrabForm().Visible());
  host.AnswerInput(std::nullopt);
  main.Click("mnuTimerGrab");
  EXPECT_FALSE(TimerGrabForm().Visible());

  host.AnswerInput(std::string("2"));
  main.Click("mnuTimerGrab");
  ASSERT_TRUE(TimerGrabForm().Visible());
  EXPECT_EQ(std::tuple(TimerGrabForm().Label_Time, main.FindButton("TimerGrab")->checked), std::tuple("2", true));
  const uint32_t frames = GB().DummyFrames;
  host.clock += 1500;
  host.FireTimers();
  EXPECT_EQ(std::tuple(TimerGrabForm().Label_Time, GB().DummyFrames), std::tuple("1", frames));
  host.clock += 600;
  host.FireTimers();
  EXPECT_EQ(std::tuple(TimerGrabForm().Visible(), GB().DummyFrames, host.RunningTimers(),
                       main.FindButton("TimerGrab")->checked),
            std::tuple(false, frames + 1, size_t(0), false));
}

TEST_F(LiveTest, AverageAsksAndRefusesCountsOutsideItsLimits) {
  const uint32_t frames = GB().DummyFrames;
  for (const char* refused : {"1", "8193", "0", "-4", "four", ""}) {
    host.AnswerInput(std::string(refused));
    main.Click("mnuAverage");
  }
  EXPECT_EQ(GB().DummyFrames, frames);
  ASSERT_FALSE(host.inputPrompts.empty());
  EXPECT_EQ(host.inputPrompts[0], "Enter Number of Frames?\r\n(2, 4, 8, 16 ... 8192)");
  long n = 0;
  EXPECT_TRUE(ParseAverageCount("8192", n));
  EXPECT_EQ(n, 8192);
  EXPECT_TRUE(ParseAverageCount("3", n));

  host.AnswerInput(std::string("16"));
  main.Click("mnuAverage");
  EXPECT_EQ(std::tuple(GB().DummyFrames, preview->UndoName(), preview->Changed(), LV().AverageDone),
            std::tuple(frames + 16, "Average 16x", true, 16L));
}

TEST_F(LiveTest, AverageStopsThePreviewSumsAndShiftsByTheLogOfTheCount) {
  Preview(*preview);
  for (long n : {2L, 3L}) {
    const auto frames = NextFrames(int(n));
    ASSERT_TRUE(Average(*preview, n));
    const size_t samples = Samples();
    for (size_t i = 0; i < samples; i += 331) {
      uint32_t sum = 0;
      for (long f = 0; f < n; ++f) sum += frames[f * samples + i];
      ASSERT_EQ(preview->ImagePtr()[i], sum >> 1) << "n " << n << " sample " << i;
    }
  }
  EXPECT_EQ(std::tuple(PreviewRunning(), host.RunningTimers()), std::tuple(false, size_t(0)));
  EXPECT_EQ(preview->UndoName(), "") << "no undo below four frames";
  EXPECT_EQ(preview->ImageBitsPerPixel(), kDummyBits);
}

class RecordingFullScreen : public Form_FullScreen::View {
 public:
  void Present(const Form_Camera& image) override {
    ++presents;
    last = &image;
  }
  void Shown(bool on) override { shown = on; }
  int presents = 0;
  bool shown = false;
  const Form_Camera* last = nullptr;
};

TEST_F(LiveTest, FullScreenShowsTheLivePicture) {
  RecordingFullScreen view;
  FullScreenForm().SetView(&view);
  Grab(*preview);
  main.SetActiveChild(preview->Handle());
  main.Click("mnuFullScreen");
  EXPECT_EQ(std::tuple(view.shown, view.presents, view.last), std::tuple(true, 1, preview));
  Grab(*preview);
  EXPECT_EQ(view.presents, 2);
  main.Click("mnuFullScreen");
  EXPECT_FALSE(view.shown);
  Grab(*preview);
  EXPECT_EQ(view.presents, 2);
  FullScreenForm().SetView(nullptr);
}

TEST_F(LiveTest, NoSyncShowsTheDummysFrameWithNotice) {
  // A device of the dummy's size that sends nothing.
  test::RecordedCaptureDevices recorded;
  test::RecordedDevice& camera = recorded.devices[0];
  camera.card = "USB Camera";
  camera.width = kDummyWidth;
  camera.height = kDummyHeight;
  SetCaptureDevices(&recorded);
  ASSERT_TRUE(ChangeGrabber("USB Camera"));
  ASSERT_EQ(GB().GrabberDriver, kDriverCapture);
  const uint32_t frames = GB().DummyFrames;
  EXPECT_EQ(Grab(*preview), kGrabberNoSync);
  // The dummy filled the frame.
  EXPECT_EQ(std::tuple(preview->StatusLine, GB().DummyFrames, preview->ImageWidth()),
            std::tuple("(No Sync)", frames + 1, kDummyWidth));
  EXPECT_TRUE(std::any_of(preview->ImagePtr(), preview->ImagePtr() + Samples(),
                          [](uint16_t v) { return v > 0; }));
  ASSERT_TRUE(Average(*preview, 2));
  EXPECT_EQ(GB().DummyFrames, frames + 3);
  GrabberClose();
  GrabberUnload();
  SetCaptureDevices(&devices);
}

TEST_F(LiveTest, NothingIsTakenWithoutAGrabber) {
  GrabberClose();
  GrabberUnload();
  G().GrabberOK = false;
  EXPECT_EQ(Grab(*preview), -1);
  EXPECT_FALSE(Average(*preview, 4));
}

}  // namespace
}  // namespace sv
