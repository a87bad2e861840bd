// The window tool: field rules, keys, the single scan in its branches, the
// peak line, the move form and the mouse.
#include "analysis/form_window_setup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "acquisition/grabber_environment.h"
#include "acquisition/grabber_fixture.h"
#include "acquisition/live.h"
#include "core/globals.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

constexpr long kW = 64, kH = 48;

class RecordingView : public Form_WindowSetup::View {
 public:
  void Changed(const Form_WindowSetup&) override { ++changes; }
  void ShowResult(const Form_WindowSetup&) override { ++results; }
  void RepeatLine(long x1, long y1, long x2, long y2, const std::string& l1,
                  const std::string& l2) override {
    line = {x1, y1, x2, y2};
    label1 = l1;
    label2 = l2;
  }
  int changes = 0, results = 0;
  std::array<long, 4> line{};
  std::string label1, label2;
};

// One image of its own (no main window), the eight windows fresh, no energy.
class FormWindowSetupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetWindowGlobals();
    Hooks() = AnalysisHooks();
    image.CreateImage(kW, kH, 12, nullptr);
    std::fill(image.ImagePtr(), image.ImagePtr() + kW * kH, uint16_t(100));
    form.SetView(&view);
  }
  void TearDown() override {
    Hooks() = AnalysisHooks();
    ResetWindowGlobals();
    ResetGlobals();
  }
  ScanWindow& Win(int n) { return WG().ScanWindows[size_t(n)]; }
  void Place(int n, int x1, int y1, int w, int h) {
    Win(n).X1 = x1;
    Win(n).Y1 = y1;
    Win(n).W = w;
    Win(n).H = h;
  }
  static void KnowEnergy(float e) {
    Hooks().EnergyKnown = [] { return true; };
    Hooks().Energy = [e] { return e; };
  }
  test::ScriptedHost host;
  Form_Camera image{nullptr};
  Form_WindowSetup form;
  RecordingView view;
};

TEST_F(FormWindowSetupTest, LoadTakesTheImageAndUnloadGivesItBack) {
  WG().CurrentWindow = 2;
  Place(2, 1, 2, 3, 4);
  form.Load(&image);
  EXPECT_TRUE(form.Visible());
  EXPECT_GT(view.changes, 0);
  EXPECT_EQ(image.mode(), kWindowSetupMode);
  EXPECT_EQ(form.Tab, 2);
  EXPECT_EQ(form.Text_w, "3");
  // No live source: the averaging shows 1 and cannot be chosen.
  Win(2).Averaging = 16;
  form.Refresh();
  EXPECT_EQ(form.Combo_AveragingText, "1");
  EXPECT_FALSE(form.Ctl_Combo_Averaging.Enabled);
  form.Unload();
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(image.mode(), 0);
}

TEST_F(FormWindowSetupTest, PlaceAndSizeFieldsStoreTheCentreAndTheSizeAtOneElectronVolt) {
  Place(0, 2, 3, 10, 8);
  form.Load(&image);
  form.Text_l = "7";
  form.Text_l_Change();
  form.Text_t = "5";
  form.Text_t_Change();
  EXPECT_EQ(std::tuple(Win(0).X1, Win(0).CenterX, Win(0).CenterY), std::tuple(7, 12, 9));
  for (const char* junk : {"x7", "", "7.5", "99999999999"}) {
    form.Text_l = junk;
    form.Text_l_Change();
    form.Text_t = junk;
    form.Text_t_Change();
  }
  EXPECT_EQ(std::tuple(Win(0).X1, Win(0).Y1), std::tuple(7, 5));

  // Without an energy W0, H0 stay; with one they follow.
  form.Text_w = "20";
  form.Text_w_Change();
  EXPECT_EQ(std::tuple(Win(0).W, Win(0).W0), std::tuple(20, 100.0f));
  KnowEnergy(25.0f);
  form.Text_h = "6";
  form.Text_h_Change();
  EXPECT_EQ(std::tuple(Win(0).H, Win(0).CenterX, Win(0).CenterY), std::tuple(6, 17, 8));
  EXPECT_FLOAT_EQ(Win(0).W0, 100.0f);
  EXPECT_FLOAT_EQ(Win(0).H0, 30.0f);
}

TEST_F(FormWindowSetupTest, WidthLeavingItsFieldIsBoundByX1PlusImageWidthMinusOne) {
  Place(0, 10, 0, 5, 5);
  form.Load(&image);
  struct Case {
    const char* typed;
    int32_t stored;
    int beeps;
  };
  for (const Case& c : {Case{"-3", 0, 1}, Case{"74", 73, 1}, Case{"80", 73, 1},
                        Case{"73", 73, 0}, Case{"12", 12, 0}}) {
    host.beeps = 0;
    form.Text_w = c.typed;
    form.Text_w_Change();
    form.Text_w_LostFocus();
    EXPECT_EQ(Win(0).W, c.stored) << c.typed;
    EXPECT_EQ(form.Text_w, std::to_string(c.stored)) << c.typed;
    EXPECT_EQ(host.beeps, c.beeps) << c.typed;
  }
}

TEST_F(FormWindowSetupTest, PlusAndMinusStepTheFieldAndPlusStopsBelowTheImageSize) {
  Place(0, 62, 46, 2, 2);
  form.Load(&image);
  EXPECT_TRUE(form.Text_KeyPress('l', '+'));
  EXPECT_EQ(Win(0).X1, 63);
  EXPECT_TRUE(form.Text_KeyPress('l', '+'));  // kW - 1 reached
  EXPECT_EQ(Win(0).X1, 63);
  EXPECT_EQ(form.Text_l, "63");
  EXPECT_TRUE(form.Text_KeyPress('t', '+'));
  EXPECT_TRUE(form.Text_KeyPress('t', '+'));
  EXPECT_EQ(Win(0).Y1, 47);
  EXPECT_TRUE(form.Text_KeyPress('h', '-'));
  EXPECT_EQ(std::tuple(Win(0).H, Win(0).CenterY), std::tuple(1, 47));
  EXPECT_FALSE(form.Text_KeyPress('w', '5'));
  EXPECT_EQ(Win(0).W, 2);
}

TEST_F(FormWindowSetupTest, ThresholdTakesOneTo65000AndPutsTheOldValueBackElse) {
  form.Load(&image);
  Win(0).Threshold = 10;
  struct Case {
    const char* typed;
    int32_t stored;
    const char* shown;
    int beeps;
  };
  for (const Case& c : {Case{"0", 10, "10", 1}, Case{"65001", 10, "10", 1},
                        Case{"abc", 10, "10", 1}, Case{"", 10, "", 0},
                        Case{"65000", 65000, "65000", 0}, Case{"1", 1, "1", 0}}) {
    host.beeps = 0;
    form.Text_Threshold = c.typed;
    form.Text_Threshold_LostFocus();
    EXPECT_EQ(Win(0).Threshold, c.stored) << c.typed;
    EXPECT_EQ(form.Text_Threshold, c.shown) << c.typed;
    EXPECT_EQ(host.beeps, c.beeps) << c.typed;
    if (c.stored != 10) Win(0).Threshold = 10;
  }
}

TEST_F(FormWindowSetupTest, LockDisablesThePlaceSizeDynamicSizeAndDelete) {
  Place(0, 1, 1, 4, 4);
  form.Load(&image);
  auto controls = [&] {
    return std::vector<bool>{form.Ctl_Text_l.Enabled, form.Ctl_Text_t.Enabled,
                             form.Ctl_Text_w.Enabled, form.Ctl_Text_h.Enabled,
                             form.Ctl_Check_DynamicSize.Enabled, form.Ctl_Command_Delete.Enabled};
  };
  form.Check_Lock = true;
  form.Check_Lock_Click();
  EXPECT_EQ(Win(0).Locked, 1);
  EXPECT_EQ(controls(), std::vector<bool>(6, false));
  form.Command_Delete();  // a locked window stays
  EXPECT_EQ(Win(0).W, 4);
  form.Check_Lock = false;
  form.Check_Lock_Click();
  EXPECT_EQ(controls(), std::vector<bool>(6, true));
  form.Command_Delete();
  EXPECT_EQ(Win(0).W, 0);
  EXPECT_EQ(form.Text_l, "");
  EXPECT_FALSE(form.Ctl_Command_Scan.Enabled);
}

TEST_F(FormWindowSetupTest, ModeDecidesThresholdAndPeakButtons) {
  Place(0, 1, 1, 4, 4);
  struct Case {
    int32_t mode;
    int combo;
    bool thresholdOn, thresholdShown, sumsShown;
  };
  for (const Case& c : {Case{0, 0, false, true, false}, Case{1, 1, true, true, false},
                        Case{3, 3, true, true, false}, Case{4, 4, true, false, true},
                        Case{5, -1, true, true, false}}) {
    Win(0).Mode = c.mode;
    form.Load(&image);
    EXPECT_EQ(form.Combo_Mode, c.combo) << c.mode;
    EXPECT_EQ(form.Ctl_Text_Threshold.Enabled, c.thresholdOn) << c.mode;
    EXPECT_EQ(form.Ctl_Label_Threshold.Visible, c.thresholdShown) << c.mode;
    EXPECT_EQ(form.Ctl_Command_AddSum.Visible, c.sumsShown) << c.mode;
    EXPECT_EQ(form.Ctl_Command_ClearSum.Visible, c.sumsShown) << c.mode;
    EXPECT_FALSE(form.Ctl_Command_AddSum.Enabled) << "no energy";
  }
  EXPECT_EQ(Win(0).Mode, 5);  // shown as no entry, kept
  KnowEnergy(100.0f);
  form.Combo_Mode = 4;
  form.Combo_Mode_Click();
  EXPECT_EQ(Win(0).Mode, 4);
  EXPECT_TRUE(form.Ctl_Command_AddSum.Enabled);
  // The shape list only with the extended shapes.
  EXPECT_FALSE(form.Ctl_Combo_Shape.Visible);
  form.Combo_Shape = 2;
  form.Combo_Shape_Click();
  EXPECT_EQ(Win(0).Shape, 0);
  WG().ExtendedShapes = true;
  form.Refresh();
  EXPECT_TRUE(form.Ctl_Combo_Shape.Visible);
  form.Combo_Shape = 2;
  form.Combo_Shape_Click();
  EXPECT_EQ(Win(0).Shape, 2);
}

TEST_F(FormWindowSetupTest, ArrowKeysAreRefusedAtTheBordersAndF5Scans) {
  Place(0, 0, 0, 1, 1);
  form.Load(&image);
  using F = Form_WindowSetup;
  for (auto [key, shift] : {std::pair{F::kKeyLeft, F::kShift}, std::pair{F::kKeyLeft, F::kCtrl},
                            std::pair{F::kKeyUp, F::kShift}, std::pair{F::kKeyUp, F::kCtrl}})
    EXPECT_TRUE(form.Form_KeyDown(key, shift));
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1, Win(0).W, Win(0).H}), (std::array{0, 0, 1, 1}));

  Place(0, 60, 40, 3, 7);  // right edge at kW - 1, bottom at kH - 1
  form.Refresh();
  form.Form_KeyDown(F::kKeyRight, F::kShift);
  form.Form_KeyDown(F::kKeyRight, F::kCtrl);
  form.Form_KeyDown(F::kKeyDown, F::kShift);
  form.Form_KeyDown(F::kKeyDown, F::kCtrl);
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1, Win(0).W, Win(0).H}), (std::array{60, 40, 3, 7}));
  form.Form_KeyDown(F::kKeyLeft, F::kCtrl);
  form.Form_KeyDown(F::kKeyRight, F::kShift);
  form.Form_KeyDown(F::kKeyUp, F::kShift);
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1, Win(0).W, Win(0).H}), (std::array{59, 40, 4, 6}));
  EXPECT_EQ(form.Text_l, "59");
  EXPECT_FALSE(form.Form_KeyDown(F::kKeyLeft, 0));

  image.ImagePtr()[42 * kW + 61] = 900;
  EXPECT_TRUE(form.Form_KeyDown(F::kKeyF5, 0));
  EXPECT_EQ(view.results, 1);
  EXPECT_NE(form.Report().find("X.max = 61 Pixel"), std::string::npos) << form.Report();
  EXPECT_FALSE(form.Form_KeyDown(F::kKeyF5, F::kShift));
  Place(0, 0, 0, 0, 0);
  form.Refresh();
  EXPECT_FALSE(form.Form_KeyDown(F::kKeyF5, 0));  // Command_Scan disabled
  EXPECT_EQ(view.results, 1);
}

TEST_F(FormWindowSetupTest, ScanWithoutAnImageSaysSo) {
  form.Load(nullptr);
  host.Answer(MsgResult::OK);
  form.Command_Scan();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title),
            std::tuple("No image in memory. Open or Grab a new image", "Scan"));
}

TEST_F(FormWindowSetupTest, ScanReportsMovesAndCrossesTheMaximum) {
  Place(0, 10, 10, 11, 11);
  Win(0).Mode = kModeStopAbs;
  Win(0).Threshold = 500;
  Win(0).RGBColor = 0x123456;
  image.ImagePtr()[18 * kW + 19] = 500;  // equal to the threshold: the window moves
  form.Load(&image);
  form.Command_Scan();
  EXPECT_EQ(std::tuple(WG().Result.Dynamic, Win(0).X1, Win(0).Y1), std::tuple(4096, 19 - 5, 18 - 5));
  EXPECT_EQ(form.Text_l, "14");
  EXPECT_NE(form.Report().find("\r\nWindow moved"), std::string::npos);
  EXPECT_EQ(WindowScanResultForm().Text_Result, form.Report());
  EXPECT_EQ(WindowScanResultForm().ImageForm, &image);
  EXPECT_EQ(std::tuple(host.busy, host.status.front(), host.LastStatus()), std::tuple(false, "Scanning...", ""));
  // The cross: 5 pixels each side of (19, 18), in the window's colour.
  const auto& items = image.Overlay.Items();
  ASSERT_GE(items.size(), 2u);
  const OverlayItem& h = items[items.size() - 2];
  const OverlayItem& v = items.back();
  EXPECT_EQ((std::array{h.x1, h.y1, h.x2, h.y2, h.colour}), (std::array{14L, 18L, 24L, 18L, 0x123456L}));
  EXPECT_EQ((std::array{v.x1, v.y1, v.x2, v.y2, v.colour}), (std::array{19L, 13L, 19L, 23L, 0x123456L}));
  // The moved window's frame runs round its 11 x 11 pixels: a frame ends
  // before its far corner.
  EXPECT_TRUE(std::any_of(items.begin(), items.end(), [](const OverlayItem& i) {
    return i.type == 2 && std::array{i.x1, i.y1, i.x2, i.y2} == std::array{14L, 13L, 25L, 24L};
  }));
  WindowScanResultForm().Hide();
}

TEST_F(FormWindowSetupTest, PeakPointsAreAddedAndClearedWithTheirMessages) {
  Place(0, 0, 0, 10, 10);
  Win(0).Mode = kModeRepeat;
  KnowEnergy(100.0f);
  form.Load(&image);
  EXPECT_FALSE(form.Ctl_Command_ClearSum.Enabled);
  WG().Result.X.max = 10;
  WG().Result.Y.max = 20;
  host.Answer(MsgResult::OK);
  form.Command_AddSum();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title, host.messages[0].icon),
            std::tuple("Peak position (X.max = 10, Y.max = 20) at Energy = 100 eV is added as data #1",
                       "Repeat Mode", MsgIcon::Information));
  EXPECT_TRUE(form.Ctl_Command_ClearSum.Enabled);
  EXPECT_EQ(Win(0).Sum.N, 1.0f);

  host.Answer(MsgResult::No);
  form.Command_ClearSum();
  EXPECT_EQ(host.messages[1].text, "Clear peak tracking parameter ?");
  EXPECT_EQ(host.messages[1].buttons, MsgButtons::YesNo);
  EXPECT_EQ(Win(0).Sum.N, 1.0f);
  host.Answer(MsgResult::Yes);
  form.Command_ClearSum();
  EXPECT_EQ(Win(0).Sum.N, 0.0f);
  EXPECT_FALSE(form.Ctl_Command_ClearSum.Enabled);
}

TEST_F(FormWindowSetupTest, RepeatLineWritesTheLatestEndIntoTheResultClampedToTheImage) {
  Place(0, 0, 0, 10, 10);
  Win(0).Mode = kModeRepeat;
  form.Load(&image);
  SumAdd(Win(0).Sum, 100.0f, 10, 10);
  SumAdd(Win(0).Sum, 25.0f, 30, 40);
  form.DrawRepeatLine(0);
  EXPECT_EQ(view.line, (std::array{10L, 10L, 30L, 40L}));
  EXPECT_EQ(std::tuple(view.label1, view.label2), std::tuple("100 eV", "25 eV"));
  EXPECT_EQ(std::tuple(WG().Result.X.max, WG().Result.Y.max), std::tuple(30, 40));
  const auto& items = image.Overlay.Items();
  EXPECT_TRUE(std::any_of(items.begin(), items.end(), [](const OverlayItem& i) {
    return i.type == 5 && i.text == "25 eV";
  }));

  SumClear(Win(0).Sum);
  SumAdd(Win(0).Sum, 100.0f, 10, 10);
  SumAdd(Win(0).Sum, 25.0f, 100, -20);
  form.DrawRepeatLine(0);
  EXPECT_EQ(view.line, (std::array{10L, 10L, kW - 1, 0L}));
  EXPECT_EQ(std::tuple(WG().Result.X.max, WG().Result.Y.max), std::tuple(int(kW - 1), 0));

  // Another mode, or one energy: no line, and the result stays.
  WG().Result.X.max = 7;
  Win(0).Mode = kModeFollow;
  form.DrawRepeatLine(0);
  EXPECT_EQ(view.line, (std::array{-1L, -1L, -1L, -1L}));
  EXPECT_EQ(WG().Result.X.max, 7);
}

TEST_F(FormWindowSetupTest, EnergyChangeSizesTheCurrentWindow) {
  Place(0, 10, 10, 10, 10);
  Win(0).W0 = 100.0f;
  Win(0).H0 = 50.0f;
  WindowCenterFromHome(Win(0));
  form.Load(&image);
  form.EnergyChganged();  // unknown energy: nothing
  EXPECT_EQ(Win(0).W, 10);
  KnowEnergy(4.0f);
  form.EnergyChganged();
  EXPECT_EQ(std::tuple(Win(0).W, Win(0).H, form.Text_w), std::tuple(50, 25, "50"));
  // Slid back inside, never cut.
  EXPECT_EQ(std::tuple(Win(0).CurX1, Win(0).CurX2), std::tuple(0, 49));
}

TEST_F(FormWindowSetupTest, MouseDrawsANewWindowAndDragsAnother) {
  Place(1, 30, 20, 10, 10);
  form.Load(&image);
  // Drawing from (10, 8) back to (4, 20): normalised.
  form.Picture_MouseDown(10, 8);
  form.Picture_MouseMove(6, 12, true);
  EXPECT_EQ(Win(0).W, 5);
  form.Picture_MouseUp(4, 20);
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1, Win(0).W, Win(0).H}), (std::array{4, 8, 7, 13}));
  EXPECT_EQ(form.Text_h, "13");

  // A plain click draws nothing.
  form.Picture_MouseDown(50, 5);
  form.Picture_MouseUp(50, 5);
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1, Win(0).W, Win(0).H}), (std::array{4, 8, 7, 13}));

  // Over window 2 the status names it; dragging it makes it current and it
  // stops at the image's edge.
  form.Picture_MouseMove(35, 25, false);
  EXPECT_EQ(host.LastStatus(), "Window: 2");
  form.Picture_MouseDown(35, 25);
  EXPECT_EQ(form.Tab, 1);
  form.Picture_MouseMove(40, 27, true);
  EXPECT_EQ(Win(1).X1, 35);
  form.Picture_MouseUp(90, 27);
  EXPECT_EQ((std::array{Win(1).X1, Win(1).Y1, Win(1).W}), (std::array{54, 22, 10}));

  // A locked window does not move.
  Win(1).Locked = 1;
  form.Picture_MouseDown(60, 25);
  form.Picture_MouseUp(40, 25);
  EXPECT_EQ(Win(1).X1, 54);
}

TEST_F(FormWindowSetupTest, MoveFormClampsTheEvaluatedRectangleAndSetsHome) {
  Place(0, 10, 10, 8, 6);
  Place(3, 50, 40, 10, 5);
  WG().CurrentWindow = 3;
  Form_MoveWindow move;
  move.Load(&image);
  EXPECT_EQ(move.Option_Frame, 3);
  EXPECT_FALSE(move.Ctl_Option_Frame[1].Enabled);
  EXPECT_EQ(host.LastStatus(), "#4: (X1 = 50, Y1 = 40) - (X2 = 59, Y2 = 44)");
  move.Check_Fast = true;
  move.Command_Right();  // 58 > kW - W: held at 54
  move.Command_Down();
  EXPECT_EQ(host.LastStatus(), "#4: (X1 = 54, Y1 = 43) - (X2 = 63, Y2 = 47)");
  EXPECT_EQ(Win(3).X1, 50);  // home stays
  move.Option_Frame_Click(0);
  move.Check_Fast = false;
  for (int i = 0; i < 11; ++i) move.Command_Left();
  move.Command_Up();
  EXPECT_EQ((std::array{Win(0).CurX1, Win(0).CurY1, Win(0).CurX2, Win(0).CurY2}),
            (std::array{0, 9, 7, 14}));
  move.Check_SetStart = true;
  move.Check_SetStart_Click();
  EXPECT_EQ((std::array{Win(0).X1, Win(0).Y1}), (std::array{0, 9}));
}

TEST_F(FormWindowSetupTest, ParameterFilesGoThroughTheirDialogsAndKeepTheirFolder) {
  Place(4, 1, 2, 3, 4);
  Win(4).Mode = kModeTarget;
  WG().CurrentWindow = 4;
  form.Load(&image);
  host.AnswerFile(host.root + "/set");
  form.INIFileSave();
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(std::tuple(host.fileDialogs[0].title, host.fileDialogs[0].filter),
            std::tuple("Save Parameter", "Parameter File Format (*.par)|*.par||"));
  EXPECT_EQ(G().ParameterPath, host.root + "/");

  ResetWindowGlobals();
  form.TabStrip_Click(0);
  host.AnswerFile(host.root + "/set.par");
  form.INIFileOpen();
  EXPECT_EQ(std::tuple(host.fileDialogs[1].title, host.fileDialogs[1].filter, host.fileDialogs[1].folder),
            std::tuple("Load Parameter", "Paramer File Format (*.par)|*.par||", host.root + "/"));
  EXPECT_EQ(std::tuple(form.Tab, form.Text_h, Win(4).Mode), std::tuple(4, "4", kModeTarget));
}

TEST_F(FormWindowSetupTest, ResultTextGoesToTheClipboardAndToAFile) {
  Form_WindowScanResult result;
  result.Show("Parameter:\r\nX1 = 1 Pixel", &image);
  result.EditCopy();
  EXPECT_EQ(host.clipboard, result.Text_Result);
  result.EditCut();
  EXPECT_EQ(result.Text_Result, "");
  result.EditPaste();
  EXPECT_EQ(result.Text_Result, host.clipboard);
  host.AnswerFile(host.root + "/result.txt");
  EXPECT_TRUE(result.FileSaveAs());
  EXPECT_EQ(test::ReadFile(host.root + "/result.txt"), "Parameter:\r\nX1 = 1 Pixel");
  host.AnswerFile("");
  EXPECT_FALSE(result.FileSaveAs());
}

// --- With the simulated camera -----------------------------------------------------

class FakeBoard : public WindowBoard {
 public:
  bool Roi() override { return true; }
  bool Digitize() override { return true; }
  bool Sync() override { return true; }
  bool ScanFrame(ScanWindow& window, long frame) override {
    frames.push_back(frame);
    std::vector<uint16_t> picture(size_t(width * height), value);
    return WindowScanFrame(window, FrameSize{width, height}, picture, frame, false);
  }
  long width = 0, height = 0;
  uint16_t value = 1000;
  std::vector<long> frames;
};

class WindowScanLiveTest : public test::GrabberTest {
 protected:
  void SetUp() override {
    GrabberTest::SetUp();
    ResetLiveGlobals();
    ResetWindowGlobals();
    Hooks() = AnalysisHooks();
    RegisterImageDocuments(main);
    RegisterGrabberCommands(main);
    RegisterLiveCommands(main);
    RegisterWindowCommands(main);
    ASSERT_TRUE(StartGrabber("DummyGrb"));
    preview = PreviewImage(&main);
    ASSERT_NE(preview, nullptr);
    board.width = preview->ImageWidth();
    board.height = preview->ImageHeight();
    WindowScanResultForm().Hide();
  }
  void TearDown() override {
    SetWindowBoard(nullptr);
    if (WindowSetupForm().Visible()) WindowSetupForm().Unload();
    WindowScanResultForm().Hide();
    ResetWindowGlobals();
    ResetLiveGlobals();
    GrabberTest::TearDown();
  }
  ScanWindow& Win0() { return WG().ScanWindows[0]; }
  Form_Camera* preview = nullptr;
  FakeBoard board;
};

TEST_F(WindowScanLiveTest, AveragingIsOfferedInPowersOfTwoAndAStoredOddValueShowsAsText) {
  Win0().Averaging = 3;
  Win0().W = Win0().H = 8;
  main.Click("mnuWindowSetup");
  Form_WindowSetup& form = WindowSetupForm();
  ASSERT_TRUE(form.Visible());
  EXPECT_EQ(form.ImageForm, preview);
  EXPECT_TRUE(form.Ctl_Combo_Averaging.Enabled);
  EXPECT_EQ(std::tuple(form.Combo_Averaging, form.Combo_AveragingText), std::tuple(-1, "3"));
  for (auto [index, value] : {std::pair{0, 1}, std::pair{4, 16}, std::pair{13, 8192}}) {
    form.Combo_Averaging = index;
    form.Combo_Averaging_Click();
    EXPECT_EQ(Win0().Averaging, value);
    EXPECT_EQ(form.Combo_AveragingText, std::to_string(value));
  }
}

TEST_F(WindowScanLiveTest, AveragingWithoutARoiBoardGoesThroughTheImageDocument) {
  std::tie(Win0().X1, Win0().Y1, Win0().W, Win0().H, Win0().Averaging) =
      std::tuple(100, 80, 32, 32, 4);
  WindowSetupForm().Load(preview);
  WindowSetupForm().Command_Scan();
  EXPECT_EQ(std::tuple(long(WG().Result.Dynamic), long(LV().AverageDone), Win0().BufferBytes, Win0().Averaging),
            std::tuple(preview->ImageDynamik() / 4, 4L, 0, 4));
  EXPECT_NE(WindowSetupForm().Report().find("Averaging = 4\r\n"), std::string::npos);
}

TEST_F(WindowScanLiveTest, RoiBoardSumsTheFramesShowsTheRateAndMakesANewImage) {
  SetWindowBoard(&board);
  std::tie(Win0().X1, Win0().Y1, Win0().W, Win0().H) = std::tuple(10, 20, 30, 16);
  Form_WindowSetup& form = WindowSetupForm();
  form.Load(preview);
  host.tick = 10;  // the loop takes one tick
  struct Case {
    int32_t averaging;
    long bits;
    uint16_t sample;  // of the new image
  };
  const long bits = preview->ImageBitsPerPixel();
  ASSERT_EQ(bits, 12);
  for (const Case& c : {Case{4, 14, 4000}, Case{32, 16, 16000}}) {
    Win0().Averaging = c.averaging;
    board.frames.clear();
    const long before = main.ImageCount;
    host.Answer(MsgResult::Yes);
    form.Command_Scan();
    EXPECT_EQ(long(board.frames.size()), c.averaging);
    EXPECT_EQ(WG().Result.Dynamic, preview->ImageDynamik());
    EXPECT_EQ(host.status[host.status.size() - 2],
              std::to_string(c.averaging * 100) + ".0 Hz");
    EXPECT_EQ(std::tuple(host.messages.back().text, host.messages.back().title),
              std::tuple("Create new image?", "Scan"));
    ASSERT_EQ(main.ImageCount, before + 1);
    auto* made = dynamic_cast<Form_Camera*>(main.Child(main.ImageList.back()));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(std::tuple(made->ImageWidth(), made->ImageHeight(), made->ImageBitsPerPixel(),
                         made->ImagePtr()[0]),
              std::tuple(30L, 16L, c.bits, c.sample));
    EXPECT_EQ(Win0().BufferBytes, 0);
  }
  host.Answer(MsgResult::No);
  const long before = main.ImageCount;
  form.Command_Scan();
  EXPECT_EQ(main.ImageCount, before);
  EXPECT_FALSE(form.Report().empty());
}

TEST_F(WindowScanLiveTest, EveryGrabScansTheWindowWhenAutoScanIsOn) {
  Win0().W = Win0().H = 16;
  main.Click("mnuWindowSetup");
  ASSERT_EQ(WindowSetupForm().ImageForm, preview);
  Grab(*preview);
  EXPECT_TRUE(WindowScanResultForm().Visible());
  WindowScanResultForm().Hide();
  WindowSetupForm().Check_AutoScan = false;
  WindowSetupForm().Check_AutoScan_Click();
  EXPECT_EQ(G().AutoScan, 0);
  Grab(*preview);
  EXPECT_FALSE(WindowScanResultForm().Visible());
}

}  // namespace
}  // namespace sv
