// The mouse tools of a plot: their texts, what they change, what they leave
// on the picture, and the commands that reach them.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "plot_fixture.h"
#include "support/recording_surface.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

struct ToolView : PlotView {
  test::RecordingSurface picture;
  bool withPicture = true;
  std::vector<std::pair<std::string, bool>> infos;
  std::vector<long> tools;
  std::vector<std::pair<std::string, std::string>> results;
  DrawSurface* Picture() override { return withPicture ? &picture : nullptr; }
  void SetInfo(const std::string& text, bool visible) override { infos.push_back({text, visible}); }
  void ToolChanged(long tool) override { tools.push_back(tool); }
  void ShowResult(const std::string& title, const std::string& text) override {
    results.push_back({title, text});
  }
};

// What is left on the picture of the inverted drawing: the lines and
// rectangles drawn an odd number of times.
std::vector<std::vector<DrawPoint>> Showing(const test::RecordingSurface& s) {
  std::map<std::tuple<int, double, double, double, double>, int> count;
  for (const test::DrawCall& c : s.calls)
    if (c.kind == test::DrawCall::InvertLine || c.kind == test::DrawCall::InvertRect)
      ++count[{int(c.kind), c.points[0].x, c.points[0].y, c.points[1].x, c.points[1].y}];
  std::vector<std::vector<DrawPoint>> out;
  for (const auto& [k, n] : count)
    if (n % 2) out.push_back({{std::get<1>(k), std::get<2>(k)}, {std::get<3>(k), std::get<4>(k)}});
  return out;
}

// A sheet with X in A and curves on B and C1, and a plot of both on a known
// mapping: device x = 100 + 100 * user x, device y = 900 - 100 * user y.
class PlotToolsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RegisterPlotDocuments(main);
    sheet.Cols(4);
    sheet.Rows(6);
    const double ys[] = {1, 3.5, 6, 4.5, 3};
    for (long r = 1; r <= 5; ++r) {
      sheet.TextMatrix(r, 1, Cell(double(r - 1)));
      sheet.TextMatrix(r, 2, Cell(ys[r - 1]));
      sheet.TextMatrix(r, 3, Cell(0.5));
    }
    SheetPlot* made = nullptr;
    ASSERT_TRUE(sheet.NewPlot(made));
    plot = dynamic_cast<Form_Plot*>(made);
    ASSERT_NE(plot, nullptr);
    plot->SetView(&view);
    for (long y : {2, 3}) {
      sheet.Col(y);
      plot->AddCurve();
      plot->CurveXCol(1);
    }
    plot->Curve(0);
    Map();
  }
  void Map() {
    plot->XAxis.From = 0;
    plot->XAxis.To = 10;
    plot->YAxis.From = 0;
    plot->YAxis.To = 8;
    plot->XAxis.Labels.Text = "0.0";
    plot->YAxis.Labels.Text = "0.00";
    plot->Layer.OriginX = 100;
    plot->Layer.OriginY = 900;
    plot->Layer.ScaleX = 100;
    plot->Layer.ScaleY = -100;
  }
  static double DX(double u) { return 100 + 100 * u; }
  static double DY(double u) { return 900 - 100 * u; }
  void Drag(double x0, double y0, double x1, double y1) {
    plot->MouseDown(1, DX(x0), DY(y0));
    plot->MouseMove(1, DX((x0 + x1) / 2), DY((y0 + y1) / 2));
    plot->MouseUp(1, DX(x1), DY(y1));
  }

  test::ScriptedHost host;
  test::ScriptedDialogs dialogs;
  MDIForm_Main main;
  ToolView view;  // outlives the sheet and its plots
  Form_Worksheet sheet;
  Form_Plot* plot = nullptr;
};

TEST_F(PlotToolsTest, SetToolNamesTheToolAndTellsTheView) {
  plot->SetTool(2);
  EXPECT_EQ(std::tuple(plot->Tool(), plot->LabelInfo(), plot->LabelInfoVisible(), plot->PressedToolKey()),
            std::tuple(2L, "Zoom", true, "Zoom"));
  for (long t : {3, 4, 5}) plot->SetTool(t);
  EXPECT_EQ(plot->LabelInfo(), "Marker");
  plot->SetTool(6);
  EXPECT_EQ(std::tuple(plot->LabelInfo(), plot->PressedToolKey()),
            std::tuple("Peak Integrate: B vs. A", "PeakIntegrate"));
  plot->SetTool(1);
  EXPECT_EQ(std::tuple(plot->LabelInfoVisible(), plot->PressedToolKey()), std::tuple(false, "Cursor"));
  plot->SetTool(7);  // no such tool
  plot->SetTool(0);
  EXPECT_EQ(view.tools, (std::vector<long>{2, 3, 4, 5, 6, 1}));
  ASSERT_EQ(view.infos.size(), 6u);
  EXPECT_EQ(view.infos[1], std::pair(std::string("Screen Reader"), true));
  EXPECT_EQ(view.infos[2].first, "Data Reader");
}

TEST_F(PlotToolsTest, OperationsChooseTheTools) {
  for (const char* op : {"SetTool1", "SetTool5", "MathPeakIntegrate", "PrintSetup", "FileExport"})
    EXPECT_TRUE(plot->Offers(op)) << op;
  for (const char* op : {"SetTool", "SetTool6", "SetTool0", "MathGrowthRate"})
    EXPECT_FALSE(plot->Offers(op)) << op;
  EXPECT_TRUE(plot->Invoke("SetTool3"));
  EXPECT_EQ(plot->Tool(), 3);
  EXPECT_TRUE(plot->Invoke("MathPeakIntegrate"));
  EXPECT_EQ(plot->Tool(), 6);
  EXPECT_FALSE(plot->Invoke("SetTool9"));
  EXPECT_EQ(plot->Tool(), 6);
}

TEST_F(PlotToolsTest, TheActiveToolsButtonIsDownInTheMainWindow) {
  auto own = std::make_unique<Form_Plot>(&main);
  Form_Plot* p = own.get();
  main.AddDocument(std::move(own));
  main.ShowChild(p->Handle());
  auto pressed = [&] {
    std::vector<std::string> keys;
    for (const ToolbarButton& b : main.FindToolbar("Toolbar_Plot")->buttons)
      if (b.checked) keys.push_back(b.key);
    return keys;
  };
  EXPECT_EQ(pressed(), (std::vector<std::string>{"Cursor"}));
  EXPECT_TRUE(main.FindButton("Marker")->enabled);
  EXPECT_FALSE(main.FindButton("Growthrate")->enabled);
  main.Click("mnuToolScreenReader");
  EXPECT_EQ(std::tuple(p->Tool(), pressed()), std::tuple(3L, std::vector<std::string>{"ScreenReader"}));
  // A zoom that ends returns to the cursor by itself, and the toolbar follows.
  main.ToolbarClick("Zoom");
  p->MouseDown(1, 10, 10);
  p->MouseUp(1, 12, 12);
  EXPECT_EQ(pressed(), (std::vector<std::string>{"Cursor"}));
  main.Click("mnuPeakIntegrate");
  EXPECT_EQ(pressed(), (std::vector<std::string>{"PeakIntegrate"}));
}

TEST_F(PlotToolsTest, ASmallZoomBeepsAndKeepsTheRanges) {
  plot->SetTool(2);
  plot->MouseDown(1, 300, 300);
  plot->MouseMove(1, 320, 302);
  plot->MouseUp(1, 304, 350);  // 4 units wide
  EXPECT_EQ(host.beeps, 1);
  EXPECT_EQ(std::tuple(plot->XAxis.From, plot->XAxis.To, plot->YAxis.From, plot->YAxis.To),
            std::tuple(0.f, 10.f, 0.f, 8.f));
  EXPECT_EQ(plot->Tool(), 1);
  EXPECT_TRUE(Showing(view.picture).empty()) << "the rubber band is gone";
  EXPECT_FALSE(view.picture.Of(test::DrawCall::InvertRect).empty());
}

TEST_F(PlotToolsTest, AZoomTakesEachAxisLowValueFirst) {
  plot->SetTool(2);
  // From the lower right to the upper left: both pairs come in high first.
  plot->MouseDown(1, DX(8), DY(1));
  plot->MouseMove(1, DX(5), DY(4));
  EXPECT_EQ(Showing(view.picture).size(), 1u) << "one rubber band while dragging";
  plot->MouseUp(1, DX(2), DY(7));
  EXPECT_EQ(host.beeps, 0);
  Form_Plot expected;
  expected.SetXRange(2, 8);
  expected.SetYRange(1, 7);
  EXPECT_EQ(std::tuple(plot->XAxis.From, plot->XAxis.To, plot->XAxis.Inc),
            std::tuple(expected.XAxis.From, expected.XAxis.To, expected.XAxis.Inc));
  EXPECT_EQ(std::tuple(plot->YAxis.From, plot->YAxis.To, plot->YAxis.Inc),
            std::tuple(expected.YAxis.From, expected.YAxis.To, expected.YAxis.Inc));
  EXPECT_LT(plot->XAxis.From, plot->XAxis.To);
  EXPECT_EQ(plot->Tool(), 1);
}

TEST_F(PlotToolsTest, ScreenReaderShowsTheMouseInTheAxesFormats) {
  plot->SetTool(3);
  plot->MouseMove(1, DX(2.5), DY(2.5));  // no button press yet: nothing
  EXPECT_EQ(plot->LabelInfo(), "Screen Reader");
  plot->MouseDown(1, DX(2.5), DY(2.5));
  EXPECT_EQ(plot->LabelInfo(), "x=2.5; y=2.50");
  plot->MouseMove(1, DX(7.26), DY(0.5));
  EXPECT_EQ(plot->LabelInfo(), "x=7.3; y=0.50");
  plot->MouseUp(1, DX(7.26), DY(0.5));
  plot->MouseMove(0, DX(1), DY(1));
  EXPECT_EQ(plot->LabelInfo(), "x=7.3; y=0.50") << "moves without the button read nothing";
}

TEST_F(PlotToolsTest, DataReaderMarksTheNearestRowOfTheCurrentCurve) {
  plot->SetTool(4);
  plot->MouseDown(1, DX(2.1), DY(5.5));
  EXPECT_EQ(plot->LabelInfo(), "[3]: x=2, y=6");
  EXPECT_EQ(sheet.Col(), 2) << "the curve's column is the sheet's current one";
  // The cross stands at the point.
  auto lines = Showing(view.picture);
  ASSERT_EQ(lines.size(), 2u);
  for (const auto& l : lines) {
    EXPECT_DOUBLE_EQ((l[0].x + l[1].x) / 2, DX(2));
    EXPECT_DOUBLE_EQ((l[0].y + l[1].y) / 2, DY(6));
  }
  // Moving on takes the old cross away.
  plot->MouseMove(1, DX(4), DY(3));
  EXPECT_EQ(plot->LabelInfo(), "[5]: x=4, y=3");
  lines = Showing(view.picture);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_DOUBLE_EQ((lines[0][0].x + lines[0][1].x) / 2, DX(4));

  // A curve without numbers has no nearest row.
  for (long r = 1; r <= 5; ++r) sheet.TextMatrix(r, 2, Cell());
  plot->MouseMove(1, DX(4), DY(3));
  EXPECT_EQ(plot->LabelInfo(), "[-]: x= -, y= -");
  EXPECT_TRUE(Showing(view.picture).empty());
}

TEST_F(PlotToolsTest, DataReaderWorksWithoutAPicture) {
  view.withPicture = false;
  plot->Curve(1);
  plot->SetTool(4);
  plot->MouseDown(1, DX(0.9), DY(0));
  EXPECT_EQ(plot->LabelInfo(), "[2]: x=1, y=0.5");
  plot->Curve(5);  // no such curve
  plot->MouseMove(1, DX(0.9), DY(0));
  EXPECT_EQ(plot->LabelInfo(), "[-]: x= -, y= -");
}

TEST_F(PlotToolsTest, ToolsReadTheCurvesOwnXColumn) {
  // Curve 2 (column 3) drawn against column 2 rather than the sheet's X.
  view.withPicture = false;
  plot->Curve(1);
  plot->CurveXCol(2);
  plot->SetTool(4);
  plot->MouseDown(1, DX(6.1), DY(0.6));
  EXPECT_EQ(plot->LabelInfo(), "[3]: x=6, y=0.5");
  plot->Curve(0);
  plot->CurveXCol(3);
  plot->SetTool(6);
  EXPECT_EQ(plot->LabelInfo(), "Peak Integrate: " + sheet.ColName(2) + " vs. " + sheet.ColName(3));
}

TEST_F(PlotToolsTest, TheNearerMarkerMovesAndATieTakesTheLeft) {
  plot->SetTool(5);
  // No markers yet: they stand at 0 and 10, and 5 lies as far from both.
  Drag(5, 4, 5, 4);
  EXPECT_EQ(plot->CurveRecord(0).MarkerLeft, std::optional<float>(5.f));
  EXPECT_FALSE(plot->CurveRecord(0).MarkerRight.has_value());
  EXPECT_EQ(plot->LabelInfo(), "Left Marker=5.0");
  // 8 is nearer the right end (10) than the left marker (5): the right one
  // comes and follows the mouse to 9.
  Drag(8, 4, 9, 1);
  EXPECT_EQ(plot->CurveRecord(0).MarkerRight, std::optional<float>(9.f));
  EXPECT_EQ(plot->CurveRecord(0).MarkerLeft, std::optional<float>(5.f));
  EXPECT_EQ(plot->LabelInfo(), "Right Marker=9.0");
  float from = 0, to = 0;
  plot->GetMarkerRange(from, to);
  EXPECT_EQ(std::tuple(from, to), std::tuple(5.f, 9.f));
  // Two lines over the layer's height stand on the picture.
  auto lines = Showing(view.picture);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(std::tuple(lines[0][0].x, lines[0][1].x, lines[1][0].x), std::tuple(DX(5), DX(5), DX(9)));
  EXPECT_DOUBLE_EQ(std::fabs(lines[0][0].y - lines[0][1].y), 800);
  // The cursor takes the markers' lines away; the markers stay.
  plot->SetTool(1);
  EXPECT_TRUE(Showing(view.picture).empty());
  EXPECT_TRUE(plot->CurveRecord(0).MarkerRight.has_value());
}

TEST_F(PlotToolsTest, PeakIntegrationOfATriangle) {
  sheet.Col(3);
  sheet.ColLabel("other");
  plot->SetTool(6);
  plot->MouseDown(1, DX(0.1), DY(1));
  plot->MouseMove(1, DX(2), DY(6));
  EXPECT_EQ(Showing(view.picture).size(), 1u) << "the line from the start";
  plot->MouseUp(1, DX(3.9), DY(3.2));
  EXPECT_EQ(host.beeps, 0);
  ASSERT_EQ(view.results.size(), 1u);
  EXPECT_EQ(view.results[0].second,
            "Peak integration of  B  vs.  A\n"
            "from  x[1] = 0  to  x[5] = 4\n"
            "Area from baseline\t8\n"
            "Area from zero\t16\n"
            "Peak at\t2\n"
            "Height\t4\n");
  EXPECT_EQ(std::tuple(sheet.SelStartRow(), sheet.SelEndRow(), sheet.SelStartCol()),
            std::tuple(1L, 5L, 2L));

  // A text column "Area" came in after B; C1 moved on with its curve.
  ASSERT_EQ(sheet.Cols(), 5);
  EXPECT_EQ(std::tuple(sheet.Record(3).Label, sheet.Record(3).Typ, sheet.Record(4).Label),
            std::tuple("Area", kTypL, "other"));
  EXPECT_NE(sheet.ColName(3), sheet.ColName(4));
  EXPECT_EQ(sheet.CellAt(3, 3).Text(), "8") << "at the peak's row";
  ASSERT_EQ(plot->Curves(), 3);
  EXPECT_EQ(std::tuple(plot->CurveRecord(1).YCol, plot->CurveRecord(2).YCol, plot->CurveRecord(2).XCol),
            std::tuple(4, 3, 1));
  EXPECT_EQ(plot->Curve(), 0) << "the current curve stays";

  // A second peak reuses the column.
  Map();
  Drag(1, 3.5, 3, 4.5);
  ASSERT_EQ(view.results.size(), 2u);
  EXPECT_NE(view.results[1].second.find("Area from baseline\t2\n"), std::string::npos);
  EXPECT_EQ(std::tuple(sheet.Cols(), plot->Curves()), std::tuple(5L, 3L));
  EXPECT_EQ(sheet.CellAt(3, 3).Text(), "2");
}

TEST_F(PlotToolsTest, PeakIntegrationBeepsOnUnusablePoints) {
  plot->SetTool(6);
  // The nearest point lies above the layer.
  sheet.TextMatrix(3, 2, Cell(8.5));
  plot->MouseDown(1, DX(2), DY(8.4));
  EXPECT_EQ(host.beeps, 1);
  plot->MouseUp(1, DX(2), DY(8.4));
  EXPECT_TRUE(view.results.empty());
  // One point only: the status clears and nothing else.
  Drag(4, 3, 4, 3);
  EXPECT_EQ(std::tuple(host.status.back(), view.results.size(), sheet.Cols()),
            std::tuple("", size_t(0), 4L));
  // No curve to search: a beep and an empty label.
  plot->Curves(0);
  plot->MouseDown(1, DX(1), DY(1));
  EXPECT_EQ(std::tuple(host.beeps, plot->LabelInfo()), std::tuple(2, ""));
}

TEST_F(PlotToolsTest, PeakIntegrationOnAPlotOutsideTheSheetsList) {
  ToolView v;
  Form_Plot loose;
  loose.SetView(&v);
  loose.SetWorksheet(&sheet);
  for (long y : {2, 3}) {
    sheet.Col(y);
    loose.AddCurve();
    loose.CurveXCol(1);
  }
  loose.XAxis = plot->XAxis;
  loose.YAxis = plot->YAxis;
  loose.Layer = plot->Layer;
  loose.SetTool(6);
  loose.MouseDown(1, DX(0), DY(1));
  loose.MouseUp(1, DX(4), DY(3));
  ASSERT_EQ(v.results.size(), 1u);
  EXPECT_EQ(std::tuple(loose.CurveRecord(1).YCol, loose.CurveRecord(2).YCol), std::tuple(4, 3));
}

TEST_F(PlotToolsTest, DoubleClickOpensTheNearestCurvesDetails) {
  std::vector<std::string> opened;
  dialogs.details = [&](Form_PlotDetails& f) { opened.push_back(f.Label_Column); };
  plot->DoubleClick(DX(1), DY(0.6));
  plot->DoubleClick(DX(2), DY(5.9));
  EXPECT_EQ(opened, (std::vector<std::string>{"C1", "B"}));
  EXPECT_EQ(host.status.front(), "searching for nearest Data Point...");
  // Two curves on the same column: the earlier one wins.
  plot->CurveRecord(1).YCol = 2;
  plot->CurveRecord(0).PlotType = 2;
  dialogs.details = [&](Form_PlotDetails& f) {
    opened.push_back("type " + std::to_string(f.Combo_PlotType));
  };
  plot->DoubleClick(DX(3), DY(4.5));
  ASSERT_EQ(opened.size(), 3u);
  EXPECT_EQ(opened[2], "type 2");
  // Only the cursor opens details; no curves, nothing.
  plot->SetTool(4);
  plot->DoubleClick(DX(3), DY(4.5));
  plot->SetTool(1);
  plot->Curves(0);
  host.status.clear();
  plot->DoubleClick(DX(3), DY(4.5));
  EXPECT_EQ(std::tuple(opened.size(), host.status.size()), std::tuple(size_t(3), size_t(0)));
}

TEST_F(PlotToolsTest, ExportAsksForAFileAndReportsFailures) {
  std::vector<std::string> paths;
  std::string failWith;
  PlotExportSource() = [&](Form_Plot&, const std::string& path, const PlotExportSize& size,
                           std::string& error) {
    paths.push_back(path);
    EXPECT_EQ(std::tuple(size.width, size.height, size.dpi), std::tuple(0, 0, 150));
    error = failWith;
    return failWith.empty();
  };
  host.AnswerFile("/out/plot", 2);   // the kind chosen gives the extension
  host.AnswerFile("/out/page.PDF");  // one of its own stays
  plot->FileExport();
  plot->FileExport();
  EXPECT_EQ(paths, (std::vector<std::string>{"/out/plot.svg", "/out/page.PDF"}));
  EXPECT_EQ(host.fileDialogs.at(0).filter,
            "PNG Image (*.png)|*.png|SVG Drawing (*.svg)|*.svg|PDF Document (*.pdf)|*.pdf");
  EXPECT_EQ(host.fileDialogs.at(1).folder, "/out/") << "the folder is remembered";

  failWith = "Disk full";
  host.AnswerFile("/out/a.png");
  host.Answer(MsgResult::OK);
  plot->FileExport();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(std::tuple(host.messages[0].text, host.messages[0].title), std::tuple("Disk full", "Export"));

  PlotExportSource() = nullptr;
  host.AnswerFile("/out/b.png");
  host.Answer(MsgResult::OK);
  plot->FileExport();
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[1].title, "Export");

  host.AnswerFile("");  // cancelled
  plot->FileExport();
  EXPECT_EQ(host.messages.size(), 2u);
}

}  // namespace
}  // namespace sv
