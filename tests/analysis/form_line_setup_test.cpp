// The line tool: the single scan and its repeats, the profile display, the
// profile over time, the profile sheet, the mouse and the keys.
#include "analysis/form_line_setup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>
#include <vector>

#include "acquisition/live.h"
#include "analysis/form_line_scan_plot.h"
#include "analysis/form_window_setup.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "plot/plot_documents.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

constexpr long kW = 40, kH = 6;

class PressingView : public Form_LineSetup::View {
 public:
  void Changed(const Form_LineSetup& form) override {
    ++changes;
    if (onChange) onChange(form);
  }
  int changes = 0;
  std::function<void(const Form_LineSetup&)> onChange;
};

// An image of the main window: 40 x 6, 12 bits, column x at 100 * x.
class FormLineSetupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetLiveGlobals();
    Hooks() = AnalysisHooks();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
    RegisterLineCommands(main);
    image = NewImage(main);
    ASSERT_NE(image, nullptr);
    std::vector<uint16_t> px(size_t(kW * kH));
    for (long y = 0; y < kH; ++y)
      for (long x = 0; x < kW; ++x) px[size_t(y * kW + x)] = uint16_t(100 * x);
    image->CreateImage(kW, kH, 12, px.data());
    form().SetView(&view);
    form().Load(image);
  }
  void TearDown() override {
    view.onChange = nullptr;
    if (form().Visible()) form().Unload();
    form().SetView(nullptr);
    form().Check_AutoScale = false;
    LineScanPlotForm().Curves.clear();
    LineScanPlotForm().Hide();
    ClearSettingsSections();
    ResetLiveGlobals();
    ResetLineGlobals();
    ResetWindowGlobals();
    SetMainForm(nullptr);
    ResetGlobals();
  }
  static Form_LineSetup& form() { return LineSetupForm(); }
  static ScanLine& Line(int n) { return LG().ScanLines[size_t(n)]; }
  void Ends(int x1, int y1, int x2, int y2) {
    form().Text_x1 = std::to_string(x1);
    form().Text_x1_Change();
    form().Text_Y1 = std::to_string(y1);
    form().Text_Y1_Change();
    form().Text_x2 = std::to_string(x2);
    form().Text_x2_Change();
    form().Text_Y2 = std::to_string(y2);
    form().Text_Y2_Change();
  }
  test::ScriptedHost host;
  MDIForm_Main main;
  Form_Camera* image = nullptr;
  PressingView view;
};

TEST_F(FormLineSetupTest, OpeningTakesThePictureAndTheFieldsFollowTheLine) {
  EXPECT_EQ(image->mode(), kLineSetupMode);
  EXPECT_EQ(LG().CurrentLine, 0);
  form().TabStrip_Click(2);
  Ends(3, 4, 13, 4);
  EXPECT_EQ(std::tuple(Line(2).X, Line(2).Y, Line(2).DX, Line(2).DY), std::tuple(3, 4, 10, 0));
  EXPECT_EQ(form().Label_Length, "Length = 10.0 Pixel");
  EXPECT_EQ(form().Label_Angle, "Angle = 0.0\xC2\xB0");
  Ends(0, 5, 5, 0);
  EXPECT_EQ(form().Label_Angle, "Angle = 45.0\xC2\xB0");
  // The line is on the overlay in its colour, with grips as the current one.
  ASSERT_GE(image->Overlay.ItemCount(), 1);
  EXPECT_EQ(image->Overlay.Items()[0].colour, Line(2).Color);
  // Text that is no number changes nothing.
  form().Text_x1 = "abc";
  form().Text_x1_Change();
  EXPECT_EQ(Line(2).X1, 0);
  // Lists: thickness and mode.
  form().Combo_LineWidth = 5;
  form().Combo_LineWidth_Click();
  EXPECT_EQ(Line(2).Thickness, 15);
  form().Combo_Mode = 4;
  form().Combo_Mode_Click();
  EXPECT_EQ(Line(2).Mode, 4);
  EXPECT_EQ(LineModeName(4), "Link to Window 4");
  EXPECT_EQ(LineModeName(0), "Fixed Position");
  // A still image has nothing to average; the length calibration is there.
  EXPECT_FALSE(form().Ctl_Combo_Averaging.Enabled);
  EXPECT_EQ(form().Combo_AveragingText, "1");
  EXPECT_TRUE(form().Ctl_Command_Calibration.Enabled);
  form().Unload();
  EXPECT_EQ(image->mode(), 0);
}

TEST_F(FormLineSetupTest, ALineOutsideTheImageIsRefusedWithItsNumber) {
  form().TabStrip_Click(1);
  Ends(0, 0, kW, 0);
  EXPECT_FALSE(form().Ctl_Command_Scan.Enabled);
  host.Answer(MsgResult::OK);
  form().Command_Scan();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Line 2 Invalid Line Position.");
  EXPECT_TRUE(LG().Profile.empty());
}

TEST_F(FormLineSetupTest, OneScanPlotsTheProfileAndTheButtonComesBack) {
  Ends(2, 3, 6, 3);
  std::vector<std::string> captions;
  view.onChange = [&](const Form_LineSetup& f) { captions.push_back(f.Command_ScanCaption); };
  form().Command_Scan();
  EXPECT_NE(std::find(captions.begin(), captions.end(), "S&top"), captions.end());
  EXPECT_EQ(form().Command_ScanCaption, "&Scan");
  EXPECT_TRUE(Line(0).Buffer.empty());
  const Form_LineScanPlot& plot = LineScanPlotForm();
  EXPECT_TRUE(plot.Visible());
  EXPECT_EQ(plot.Caption, kProfileName);
  ASSERT_EQ(plot.Curves.size(), 1u);
  EXPECT_EQ(plot.Curves[0].Values, (std::vector<float>{200, 300, 400, 500, 600}));
  EXPECT_EQ(plot.Curves[0].Color, Line(0).Color);
  // Auto range: the top is the highest value.
  EXPECT_EQ(plot.Label_Max, "Max = 600");
  EXPECT_EQ(plot.Label_Overload, "");
  EXPECT_TRUE(form().Ctl_Command_SHT.Enabled);
  // X1 = X2 and Y1 = Y2: one point.
  Ends(7, 1, 7, 1);
  form().Command_Scan();
  EXPECT_EQ(LineScanPlotForm().Curves[0].Values, std::vector<float>{700});
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(FormLineSetupTest, TheRangeFollowsTheLutAndTheTopShowsMaxAndOverload) {
  for (long y = 2; y <= 4; ++y) image->ImagePtr()[y * kW + 39] = 4095;
  Ends(30, 3, 39, 3);
  form().Command_Scan();
  Form_LineScanPlot& plot = LineScanPlotForm();
  EXPECT_EQ(plot.Label_Overload, kOverloadText);
  // A LUT change on the tool's image reaches the window; Auto keeps its own range.
  image->LUTmax = 0.5f;
  image->SetLUT();
  EXPECT_EQ(plot.LutMax, 0.5f);
  EXPECT_EQ(plot.RangeMax, 4095.0f);
  plot.Check_Auto_Click(false);
  EXPECT_EQ(std::tuple(plot.RangeMin, plot.RangeMax), std::tuple(0.0f, 2048.0f));
  EXPECT_EQ(plot.Label_Max, "Max = 4095");
  plot.SetRange(0.0f, 1.0f);
  EXPECT_EQ(plot.Label_Max, "");
  // Values at the range's ends lie on the picture's edges.
  const auto points = plot.Polyline(0, 101, 51);
  ASSERT_EQ(points.size(), 10u);
  EXPECT_EQ(points.front()[0], 0.0);
  EXPECT_EQ(points.back()[0], 100.0);
  EXPECT_NEAR(points.back()[1], 50.0 * (1.0 - 4095.0 / 4096.0), 1e-9);
}

TEST_F(FormLineSetupTest, RepeatsRunUntilTheButtonIsPressedAgain) {
  Ends(0, 0, 9, 0);
  form().Check_AutoScale = true;
  bool pressed = false;
  view.onChange = [&](const Form_LineSetup&) {
    if (form().Scanning() && host.doEvents == 3 && !pressed) {
      pressed = true;
      form().Command_Scan();  // the second press
    }
  };
  form().Command_Scan();
  // The pass that saw the press ends with its yield.
  EXPECT_EQ(host.doEvents, 4);
  EXPECT_FALSE(form().Scanning());
  EXPECT_EQ(form().Command_ScanCaption, "&Scan");
  EXPECT_EQ(LG().StopCode, kErrUserAbort);
}

TEST_F(FormLineSetupTest, ProfileOverTimeFillsANewImageUntilItIsFull) {
  Ends(1, 2, 8, 2);
  host.Answer(MsgResult::OK);
  std::vector<std::string> captions;
  view.onChange = [&](const Form_LineSetup& f) { captions.push_back(f.Command_ScanTCaption); };
  form().Command_ScanT();
  EXPECT_EQ(LG().StopCode, kErrImageFull);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Experiment stopped: Image full");
  EXPECT_NE(std::find(captions.begin(), captions.end(), "S&top"), captions.end());
  EXPECT_EQ(form().Command_ScanTCaption, "Profile(&t)");
  EXPECT_EQ(host.doEvents, int(kH));
  // The new image: one row a profile, as many rows as the source has.
  auto* made = dynamic_cast<Form_Camera*>(main.ActiveChild());
  ASSERT_NE(made, nullptr);
  ASSERT_NE(made, image);
  EXPECT_EQ(made->Title(), kProfileTName);
  EXPECT_EQ(std::tuple(made->ImageWidth(), made->ImageHeight()), std::tuple(8L, kH));
  for (long r = 0; r < kH; ++r)
    for (long i = 0; i < 8; ++i) EXPECT_EQ(made->ImagePtr()[r * 8 + i], 100 * (i + 1));
}

TEST_F(FormLineSetupTest, ProfileOverTimeStopsOnASecondPress) {
  Ends(1, 2, 8, 2);
  view.onChange = [&](const Form_LineSetup&) {
    if (form().Scanning() && host.doEvents == 2) form().Command_ScanT();
  };
  form().Command_ScanT();
  EXPECT_EQ(LG().StopCode, kErrUserAbort);
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(FormLineSetupTest, TheProfileSheetHasLocationAndIntensityColumns) {
  Ends(0, 1, 4, 1);
  form().Command_Scan();
  Form_Worksheet* sheet = form().CreateProfileSHT();
  ASSERT_NE(sheet, nullptr);
  ASSERT_EQ(sheet->Cols(), 3);
  EXPECT_EQ(sheet->ColName(1), kLocationColumn);
  EXPECT_EQ(sheet->ColName(2), kIntensityColumn);
  EXPECT_EQ(sheet->Record(1).Typ, kTypX);
  EXPECT_EQ(sheet->Rows(), 6);
  for (long r = 1; r <= 5; ++r) {
    EXPECT_EQ(sheet->CellAt(r, 1).Number(), double(r - 1));
    EXPECT_EQ(sheet->CellAt(r, 2).Number(), 100.0 * double(r - 1));
  }
  EXPECT_EQ(sheet->Plots(), 1);
  // A diagonal line: locations are pixels along it.
  Ends(0, 0, 3, 3);
  form().Command_Scan();
  sheet = form().CreateProfileSHT();
  ASSERT_NE(sheet, nullptr);
  EXPECT_NEAR(sheet->CellAt(4, 1).Number(), 3 * std::sqrt(2.0), 1e-5);
}

TEST_F(FormLineSetupTest, AColourProfileSheetHasThreeChannels) {
  std::vector<uint16_t> rgb(size_t(kW * kH * 3), 50);
  image->SetHasColors(true);
  image->CreateImage(kW, kH, 8, rgb.data());
  form().Refresh();
  Ends(0, 0, 2, 0);
  form().Command_Scan();
  EXPECT_EQ(LineScanPlotForm().Curves.size(), 3u);
  Form_Worksheet* sheet = form().CreateProfileSHT();
  ASSERT_NE(sheet, nullptr);
  ASSERT_EQ(sheet->Cols(), 5);
  EXPECT_EQ(std::tuple(sheet->ColName(2), sheet->ColName(3), sheet->ColName(4)),
            std::tuple("Red", "Green", "Blue"));
  EXPECT_EQ(sheet->Plots(), 1);
}

TEST_F(FormLineSetupTest, TheMouseDrawsDragsEndsAndSlidesWholeLines) {
  Form_LineSetup& f = form();
  // A new line.
  f.Picture_MouseDown(5, 1);
  f.Picture_MouseMove(20, 4, true);
  f.Picture_MouseUp(25, 4);
  EXPECT_EQ(std::tuple(Line(0).X1, Line(0).Y1, Line(0).X2, Line(0).Y2), std::tuple(5, 1, 25, 4));
  EXPECT_EQ(f.Text_x2, "25");
  // Its end, grabbed within three pixels.
  f.Picture_MouseDown(27, 5);
  f.Picture_MouseUp(30, 2);
  EXPECT_EQ(std::tuple(Line(0).X1, Line(0).Y1, Line(0).X2, Line(0).Y2), std::tuple(5, 1, 30, 2));
  // The whole line, held inside the image.
  f.Picture_MouseDown(17, 1);
  f.Picture_MouseUp(37, 5);
  EXPECT_EQ(std::tuple(Line(0).X1, Line(0).Y1, Line(0).X2, Line(0).Y2), std::tuple(14, 4, 39, 5));
  // A click elsewhere draws nothing.
  f.Picture_MouseDown(2, 0);
  f.Picture_MouseUp(2, 0);
  EXPECT_EQ(std::tuple(Line(0).X1, Line(0).X2), std::tuple(14, 39));
  // Another line's body selects it.
  f.TabStrip_Click(1);
  f.Picture_MouseDown(3, 0);
  f.Picture_MouseUp(3, 3);
  f.TabStrip_Click(0);
  f.Picture_MouseDown(3, 1);
  EXPECT_EQ(f.Tab, 1);
  f.Picture_MouseUp(3, 1);
  // A locked line does not move.
  f.Check_Lock = true;
  f.Check_Lock_Click();
  f.Picture_MouseDown(3, 2);
  f.Picture_MouseUp(10, 2);
  EXPECT_EQ(std::tuple(Line(1).X1, Line(1).Y1, Line(1).X2, Line(1).Y2), std::tuple(3, 1, 3, 3));
  EXPECT_FALSE(f.Ctl_Command_Delete.Enabled);
  f.Command_Delete();
  EXPECT_EQ(Line(1).Y2, 3);
}

TEST_F(FormLineSetupTest, KeysMoveTheEndOrTheLineAndStopAtTheBorder) {
  Form_LineSetup& f = form();
  Ends(0, 0, 38, 5);
  using F = Form_LineSetup;
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyRight, F::kShift));
  EXPECT_EQ(Line(0).X2, 39);
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyRight, F::kShift));  // refused at the border
  EXPECT_EQ(Line(0).X2, 39);
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyLeft, F::kCtrl));    // refused: X1 at 0
  EXPECT_EQ(Line(0).X1, 0);
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyUp, F::kCtrl));
  EXPECT_EQ(std::tuple(Line(0).Y1, Line(0).Y2), std::tuple(0, 5));
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyLeft, F::kShift));
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyLeft, F::kCtrl));
  EXPECT_EQ(std::tuple(Line(0).X1, Line(0).X2), std::tuple(0, 38));
  EXPECT_FALSE(f.Form_KeyDown('A', 0));
  EXPECT_TRUE(f.Form_KeyDown(F::kKeyF5, 0));
  EXPECT_EQ(LG().Profile.size(), 39u);
}

TEST_F(FormLineSetupTest, TheMenuOpensTheToolOnTheActiveImage) {
  form().Unload();
  main.ShowChild(image->Handle());
  main.Click("mnuLineSetup");
  EXPECT_TRUE(form().Visible());
  EXPECT_EQ(form().ImageForm, image);
}

}  // namespace
}  // namespace sv
