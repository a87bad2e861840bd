#include <gtest/gtest.h>

#include <cstring>

#include "plot/form_plot.h"
#include "plot_fixture.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

uint32_t U32At(const std::string& b, size_t at) {
  uint32_t v = 0;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}

float F32At(const std::string& b, size_t at) {
  float v = 0;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}

std::string Save(Form_Plot& plot, const std::string& path) {
  BinaryOut out;
  EXPECT_TRUE(out.Create(path));
  EXPECT_EQ(plot.SavePlot(out), 0);
  EXPECT_TRUE(out.Close());
  return test::ReadFile(path);
}

TEST(PlotRecords, DefaultPlotWithOneCurveToTheByte) {
  test::ScriptedHost host;
  test::CountingView view;
  Form_Plot plot;
  plot.SetView(&view);
  plot.SetPlotName("Plot1");  // caption "(Plot1)"
  plot.Curves(1);
  const std::string b = Save(plot, host.root + "/p.bin");
  // Layer 64 + window 2+2+7+16+2 + title 2+5+6+2; two axes of 60 + 15 + 15;
  // the curve 8 + 2+6 + 24 + 2 + 2.
  ASSERT_EQ(b.size(), 332u);
  EXPECT_FLOAT_EQ(F32At(b, 0), 0.145f);
  EXPECT_EQ(U32At(b, 20), 0x80C0C0C0u);  // BackColor
  EXPECT_EQ(U32At(b, 56), 0xFFFFFFu);    // PageColor
  EXPECT_EQ(U32At(b, 60), 1u);           // CurveCount
  EXPECT_EQ(b.substr(66, 9), std::string("\x07\0(Plot1)", 9));
  EXPECT_EQ(U32At(b, 75), 10u);          // WindowLeft, read from the window
  EXPECT_EQ(b.substr(93, 7), std::string("\x05\0Arial", 7));
  EXPECT_EQ(uint8_t(b[100]), 0xFF);      // Bold -1
  EXPECT_EQ(U32At(b, 108), 42u);         // X Flags
  EXPECT_FLOAT_EQ(F32At(b, 108 + 32), 1.5f);  // Thickness
  EXPECT_EQ(U32At(b, 108 + 36), 0xC000u);
  EXPECT_EQ(U32At(b, 198), 42u);         // Y Flags
  EXPECT_EQ(b.substr(288 + 8, 8), std::string("\x06\0" "1Curve", 8));
  EXPECT_FLOAT_EQ(F32At(b, 288 + 16 + 8), 1.0f);  // Width
  EXPECT_EQ(b.substr(328), std::string("\x01\0\x01\0", 4));  // two null markers
}

TEST(PlotRecords, RoundTripAndWindowState) {
  test::ScriptedHost host;
  test::CountingView saveView;
  saveView.placement.WindowState = 2;
  Form_Plot a;
  a.SetView(&saveView);
  a.SetPlotName("Plot3");
  a.Curves(2);
  a.CurveRecord(1).YCol = 4;
  a.CurveRecord(1).MarkerRight = 2.5f;
  a.SetXRange(0.3f, 7.2f);
  a.TitleText("\xC3\x85ngstr\xC3\xB6m");  // UTF-8 in the program
  a.CurveRecord(0).Legend = "\xE2\x82\xAC";
  const std::string path = host.root + "/p.bin";
  const std::string bytes = Save(a, path);
  // Windows-1252 in the file: one byte a character.
  EXPECT_NE(bytes.find(std::string("\x08\0\xC5ngstr\xF6m", 10)), std::string::npos);
  EXPECT_NE(bytes.find(std::string("\x01\0\x80", 3)), std::string::npos);

  test::CountingView view;
  Form_Plot b;
  b.SetView(&view);
  BinaryIn in;
  ASSERT_TRUE(in.Open(path));
  ASSERT_EQ(b.OpenPlot(in), 0);
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(b.Curves(), 2);
  EXPECT_EQ(b.CurveRecords()[1].YCol, 4);
  EXPECT_EQ(b.CurveRecords()[1].MarkerRight, 2.5f);
  EXPECT_FALSE(b.CurveRecords()[1].MarkerLeft);
  EXPECT_EQ(b.XAxis.Labels.Text, "0");
  EXPECT_EQ(b.TitleText(), "\xC3\x85ngstr\xC3\xB6m");
  EXPECT_EQ(b.CurveRecords()[0].Legend, "\xE2\x82\xAC");
  EXPECT_EQ(b.PlotName(), "Plot3");
  EXPECT_EQ(b.Caption(), "(Plot3)");
  // A window that was not in the normal state keeps its place.
  EXPECT_EQ(view.states, 1);
  EXPECT_EQ(view.moves, 0);
  EXPECT_EQ(Save(b, host.root + "/q.bin").substr(100), bytes.substr(100));
}

TEST(PlotRecords, ATruncatedOrHostileBlockFailsAndKeepsThePlot) {
  test::ScriptedHost host;
  Form_Plot a;
  a.Curves(3);
  const std::string path = host.root + "/p.bin";
  const std::string bytes = Save(a, path);
  Form_Plot b;
  b.Curves(1);
  b.TitleText("kept");
  for (size_t n = 0; n < bytes.size(); n += 7) {
    test::WriteFile(path, bytes.substr(0, n));
    BinaryIn in;
    ASSERT_TRUE(in.Open(path));
    EXPECT_EQ(b.OpenPlot(in), kErrBadPlotBlock) << n;
  }
  // Two thousand million curves announced, and an unknown marker tag.
  std::string hostile = bytes;
  hostile[63] = 0x7F;
  test::WriteFile(path, hostile);
  BinaryIn in;
  ASSERT_TRUE(in.Open(path));
  EXPECT_EQ(b.OpenPlot(in), kErrBadPlotBlock);
  hostile = bytes;
  hostile[hostile.size() - 2] = 9;
  test::WriteFile(path, hostile);
  BinaryIn in2;
  ASSERT_TRUE(in2.Open(path));
  EXPECT_EQ(b.OpenPlot(in2), kErrBadPlotBlock);
  EXPECT_EQ(b.Curves(), 1);
  EXPECT_EQ(b.TitleText(), "kept");
}

TEST(PlotModel, CurveColumnsFollowTheSheet) {
  Form_Plot p;
  p.Curves(4);
  const int ys[] = {2, 3, 5, 3};
  for (int i = 0; i < 4; ++i) {
    p.CurveRecord(i).XCol = 3;
    p.CurveRecord(i).YCol = ys[i];
  }
  // The first curve on column 3 goes; Y columns above 3 move down, X stays.
  p.RemoveCurve(3);
  ASSERT_EQ(p.Curves(), 3);
  EXPECT_EQ(p.CurveRecords()[0].YCol, 2);
  EXPECT_EQ(p.CurveRecords()[1].YCol, 4);
  EXPECT_EQ(p.CurveRecords()[2].YCol, 3);
  EXPECT_EQ(p.CurveRecords()[1].XCol, 3);
  // A column without a curve still lowers the ones above it.
  p.RemoveCurve(1);
  EXPECT_EQ(p.Curves(), 3);
  EXPECT_EQ(p.CurveRecords()[0].YCol, 1);
  // Columns come in at 2: Y at or above moves up, X never.
  p.ColsAdded(2, 2);
  EXPECT_EQ(p.CurveRecords()[0].YCol, 1);
  EXPECT_EQ(p.CurveRecords()[1].YCol, 5);
  EXPECT_EQ(p.CurveRecords()[2].YCol, 4);
  EXPECT_EQ(p.CurveRecords()[2].XCol, 3);
  EXPECT_TRUE(p.IsCurve(5));
  EXPECT_FALSE(p.IsCurve(3));
  // New curves: "<n>Curve" in the basic palette, index AND 15.
  p.Curves(18);
  EXPECT_EQ(p.CurveRecords()[17].Legend, "18Curve");
  EXPECT_EQ(p.CurveRecords()[17].Color, BasicColor(1));
  EXPECT_EQ(BasicColor(17), 0x800000);
}

TEST(PlotModel, MarkerRangeFallsBackToFromAtBothEnds) {
  Form_Plot p;
  p.SetXRange(2, 9);  // 2..9 -> 2..10 after the tick computation
  float from = -1, to = -1;
  p.GetMarkerRange(from, to);  // no curve at all
  EXPECT_EQ(from, 2);
  EXPECT_EQ(to, 2);
  p.Curves(1);
  p.CurveRecord(0).MarkerLeft = 4.5f;
  p.GetMarkerRange(from, to);
  EXPECT_EQ(from, 4.5f);
  EXPECT_EQ(to, 2);  // From, not To
}

TEST(PlotModel, PlotDetailsRemoveLeavesColumnNumbers) {
  test::ScriptedDialogs dialogs;
  test::CountingView view;
  Form_Plot p;
  p.SetView(&view);
  p.Curves(3);
  for (int i = 0; i < 3; ++i) p.CurveRecord(i).YCol = 2 + i;
  dialogs.details = [](Form_PlotDetails& f) { f.Command_Remove(); };
  p.PlotDetails(0);
  ASSERT_EQ(p.Curves(), 2);
  EXPECT_EQ(p.CurveRecords()[0].YCol, 3);
  EXPECT_EQ(p.CurveRecords()[1].YCol, 4);
  EXPECT_GE(view.clears, 1);
  // "OK" takes the edited record whole.
  dialogs.details = [](Form_PlotDetails& f) {
    f.Combo_Color = 1;  // "Light Red"
    f.Combo_Width = "2,5";
    f.Command_OK();
  };
  p.PlotDetails(1);
  EXPECT_EQ(p.CurveRecords()[1].Color, 0x0000FF);
  EXPECT_EQ(p.CurveRecords()[1].Width, 2.5f);
  EXPECT_EQ(p.CurveRecords()[1].YCol, 4);
}

TEST(PlotModel, AxisDialogRepairsInOrder) {
  struct Case {
    int axis;
    const char *from, *to, *inc, *ticks;
    float wantFrom, wantTo, wantInc;
    int wantTicks;
  };
  const Case cases[] = {
      {1, "5", "5", "1", "3", 0, 5, 1, 1},          // equal ends: all anew
      {1, "0", "10", "0", "3", 0, 10, 2, 1},        // no increment: Inc and Ticks
      {1, "0", "100", "5", "3", 0, 100, 20, 1},     // 20 intervals on X: too many
      {2, "0", "100", "5", "3", 0, 100, 5, 3},      // ... but fine on Y
      {2, "0", "10", "5", "3", 0, 10, 2, 1},        // 2 intervals: too few
      {1, "0", "10", "2", "12", 0, 10, 2, 1},       // Ticks out of 0..9
      {1, "10", "0", "2", "3", 10, 0, -2, 1},       // reversed, Inc of the wrong sign
  };
  test::ScriptedDialogs dialogs;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.from) + ".." + c.to + " by " + c.inc + " axis " +
                 std::to_string(c.axis));
    Form_Plot p;
    dialogs.axis = [&](Form_Axis& f) {
      f.Text_From = c.from;
      f.Text_To = c.to;
      f.Text_Inc = c.inc;
      f.Text_ticks = c.ticks;
      f.Text_Title = "E (eV)";
      f.Command_OK();
    };
    EXPECT_EQ(p.AxisDefinition(c.axis), 1);
    const PlotAxisRecord& a = c.axis == 2 ? p.YAxis : p.XAxis;
    EXPECT_FLOAT_EQ(a.From, c.wantFrom);
    EXPECT_FLOAT_EQ(a.To, c.wantTo);
    EXPECT_FLOAT_EQ(a.Inc, c.wantInc);
    EXPECT_EQ(a.Ticks, c.wantTicks);
    EXPECT_EQ(a.Title.Text, "E (eV)");
  }
}

TEST(PlotModel, DefineAxisWalksToTheOtherAxisAndTheGrid) {
  test::ScriptedDialogs dialogs;
  std::vector<std::string> shown;
  dialogs.axis = [&](Form_Axis& f) {
    shown.push_back(f.Caption + "|" + f.Command_Axis_Caption + "|" + f.Check_typ11_Caption);
    f.Text_From = "0";
    f.Text_To = "10";
    f.Text_Inc = "2";
    if (shown.size() == 1) f.Command_Axis();
    else f.Command_Grid();
  };
  dialogs.grid = [&](Form_GridSetup& f) {
    shown.push_back(f.Caption);
    f.MajorGridColor = 0x123456;
    f.Check_ApplyToAll = true;
    f.Command_OK();
  };
  Form_Plot p;
  p.DefineAxis(false);
  ASSERT_EQ(shown.size(), 3u);
  EXPECT_EQ(shown[0], "X Axis|&Y-Axis|X=&0");
  EXPECT_EQ(shown[1], "Y Axis|&X-Axis|Y=&0");
  EXPECT_EQ(shown[2], "Y Axis: Grid Lines");
  EXPECT_EQ(p.YAxis.MajorGridColor, 0x123456);
  EXPECT_EQ(p.XAxis.MajorGridColor, 0x123456);  // applied to all
}

TEST(PlotModel, LayerUnitsConvertAndComeBackAsFractions) {
  test::ScriptedDialogs dialogs;
  std::string mm, cm, inch;
  dialogs.layer = [&](Form_Layer& f) {
    f.Combo_Unit_Click(2);
    mm = f.Text_l + " " + f.Text_t;
    f.Combo_Unit_Click(3);
    cm = f.Text_w;
    f.Combo_Unit_Click(1);
    inch = f.Text_h;
    f.Text_l = "1";  // inch
    f.Check_Color = true;
    f.Command_OK();
  };
  Form_Plot p;
  ASSERT_TRUE(p.DefineLayer());
  // An A4 page in landscape, 297 x 210 mm.
  EXPECT_EQ(mm, "43.065 28.35");
  EXPECT_EQ(cm, "22.6611");
  EXPECT_EQ(inch, "6.11811");
  EXPECT_NEAR(p.Layer.Left, 25.4 / 297, 1e-6);
  EXPECT_NEAR(p.Layer.Height, 0.74, 1e-6);
  EXPECT_EQ(p.Layer.BackColor, 0xC0C0C0u);  // filled now

  // The picture keeps the page's proportions inside the window.
  long w = 600, h = 600;
  FitToPage(w, h, PlotPage{});
  EXPECT_EQ(w, 600);
  EXPECT_EQ(h, 424);
  w = 1000, h = 300;
  FitToPage(w, h, PlotPage{});
  EXPECT_EQ(w, 424);
  EXPECT_EQ(h, 300);
}

TEST(PlotModel, EmptyPlotDrawsNothingAndScalesWhenAsked) {
  test::CountingView view;
  Form_Plot p;
  p.SetView(&view);
  p.Plot();
  EXPECT_EQ(view.plots, 0);
  EXPECT_EQ(p.XAxis.From, p.XAxis.To);
  // With an X range the empty Y axis becomes 0..10.
  p.SetXRange(0, 5);
  p.Plot();
  EXPECT_EQ(view.plots, 1);
  EXPECT_FLOAT_EQ(p.YAxis.To, 10);
  EXPECT_FLOAT_EQ(p.YAxis.Inc, 2);
}

}  // namespace
}  // namespace sv
