#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>

#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_dialogs.h"
#include "plot/plot_documents.h"
#include "plot/plot_print.h"
#include "plot/plot_render.h"
#include "support/recording_surface.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

using test::DrawCall;
using test::RecordingSurface;

// A printer whose page is a recording surface.
struct FakePrinter : PlotPrinter {
  RecordingSurface page{2000, 1600, false};
  RecordingSurface previewPage{1000, 800, false};
  std::string name = "Lab Printer", port = "usb://lp0", document;
  bool failBegin = false, setupAnswer = true;
  int begins = 0, ends = 0, setups = 0, previews = 0;

  FakePrinter() { SetPrinter(this); }
  ~FakePrinter() override { SetPrinter(nullptr); }
  std::string PrinterName() override { return name; }
  std::string Port() override { return port; }
  DrawSurface* BeginPage(const std::string& doc) override {
    ++begins;
    document = doc;
    return failBegin ? nullptr : &page;
  }
  void EndPage() override { ++ends; }
  bool Setup() override {
    ++setups;
    return setupAnswer;
  }
  void Preview(const std::function<void(DrawSurface&)>& draw) override {
    ++previews;
    draw(previewPage);
  }
};

// The page setup dialog, answered by the test one showing after the other.
struct PageSetupDialogs : PlotDialogs {
  std::deque<std::function<void(Form_PageSetup&)>> answers;
  int shown = 0;
  PageSetupDialogs() { SetPlotDialogs(this); }
  ~PageSetupDialogs() override { SetPlotDialogs(nullptr); }
  void ShowPageSetup(Form_PageSetup& f) override {
    ++shown;
    if (answers.empty()) return;
    auto answer = std::move(answers.front());
    answers.pop_front();
    answer(f);
  }
};

// A sheet of five rows, a plot with a layer of round fractions and fixed
// ranges: on the 2000 x 1600 page the frame is 250..1750 x 200..1400, one
// X unit 150 device units, one Y unit -12.
class PlotPrint : public ::testing::Test {
 protected:
  void SetUp() override {
    CurrentPageSetup() = PageSetup{};
    sheet.Cols(6);
    sheet.Rows(6);
    const float b[5] = {10, 20, 0, 40, 50};
    for (long r = 1; r <= 5; ++r) {
      sheet.TextMatrix(r, 1, Cell(float(r)));
      if (r != 3) sheet.TextMatrix(r, 2, Cell(b[r - 1]));  // a gap in row 3
      sheet.TextMatrix(r, 3, Cell(float(10 * r)));
      sheet.TextMatrix(r, 4, Cell(r % 2 ? "odd" : "even"));
    }
    sheet.Record(4).Typ = kTypL;
    plot.SetWorksheet(&sheet);
    plot.SetPlotName("Plot1");
    plot.Layer.Left = 0.125f;
    plot.Layer.Top = 0.125f;
    plot.Layer.Width = 0.75f;
    plot.Layer.Height = 0.75f;
    plot.XAxis.From = 0;
    plot.XAxis.To = 10;
    plot.XAxis.Inc = 2;
    plot.YAxis.From = 0;
    plot.YAxis.To = 100;
    plot.YAxis.Inc = 20;
    plot.Curves(2);
    for (long i = 0; i < 2; ++i) {
      plot.CurveRecord(i).XCol = 1;
      plot.CurveRecord(i).YCol = 2 + i;
    }
  }
  void TearDown() override { CurrentPageSetup() = PageSetup{}; }

  static DrawPoint At(double x, double y) { return {250 + 150 * x, 1400 - 12 * y}; }
  // Half the symbol size on a page `height` units high.
  static double HalfSize(double points, double height) {
    return points * 20 * (height / kA4HeightTwips) / 2;
  }
  static std::vector<const DrawCall*> Wide(const RecordingSurface& s) {
    std::vector<const DrawCall*> out;
    for (const DrawCall* c : s.Of(DrawCall::Polyline))
      if (c->pen.width > 0) out.push_back(c);
    return out;
  }

  test::ScriptedHost host;
  FakePrinter printer;
  Form_Worksheet sheet;
  Form_Plot plot;
};

void ExpectPoints(const DrawCall& c, const std::vector<DrawPoint>& want) {
  ASSERT_EQ(c.points.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    EXPECT_NEAR(c.points[i].x, want[i].x, 1.0) << i;
    EXPECT_NEAR(c.points[i].y, want[i].y, 1.0) << i;
  }
}

// --- PrintDo --------------------------------------------------------------------

TEST_F(PlotPrint, AsksThenPrintsLayerCurvesAndLegendInOrder) {
  host.Answer(MsgResult::OK);
  plot.PrintDo();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Print  Plot1\nTo  Lab Printer\nAt  usb://lp0  ?");
  EXPECT_EQ(host.messages[0].title, "Print Plot");
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::OKCancel);
  EXPECT_EQ(host.status, (std::vector<std::string>{"printing Layer...", "printing Curve1...",
                                                   "printing Curve2...", "printing Legend...",
                                                   ""}));
  EXPECT_EQ(std::tuple(printer.begins, printer.ends), std::tuple(1, 1));
  EXPECT_EQ(printer.document, plot.Caption());
  EXPECT_FALSE(printer.page.calls.empty());

  // Without the legend its step is left out.
  plot.Legend(false);
  host.status.clear();
  host.Answer(MsgResult::OK);
  plot.PrintDo();
  EXPECT_EQ(host.status, (std::vector<std::string>{"printing Layer...", "printing Curve1...",
                                                   "printing Curve2...", ""}));
}

TEST_F(PlotPrint, CancelMissingPrinterAndAFailedPagePrintNothing) {
  host.lenient = true;  // the messages end with OK
  host.Answer(MsgResult::Cancel);
  plot.PrintDo();
  EXPECT_EQ(printer.begins, 0);
  EXPECT_TRUE(host.status.empty());

  printer.failBegin = true;
  host.Answer(MsgResult::OK);
  plot.PrintDo();
  EXPECT_EQ(host.messages.back().text, "The printer Lab Printer could not start a page.");
  EXPECT_EQ(printer.ends, 0);
  EXPECT_TRUE(host.status.empty());

  printer.name.clear();
  plot.PrintDo();
  EXPECT_EQ(host.messages.back().text,
            "No printer is installed.\nChoose a printer or a PDF file under File - Printer Setup.");
  SetPrinter(nullptr);
  plot.PrintDo();
  EXPECT_EQ(host.messages.back().text, "No printer is installed.");
  EXPECT_EQ(host.messages.back().title, "Print Plot");
  SetPrinter(&printer);
  printer.name = "Lab Printer";

  // A plot without curves or range has nothing to print.
  Form_Plot empty;
  empty.SetPlotName("Plot2");
  empty.PrintDo();
  EXPECT_EQ(host.messages.back().text, "There is nothing to print in Plot2.");
  EXPECT_EQ(printer.begins, 1);  // only the failed one
}

TEST_F(PlotPrint, AnUnscaledPlotIsScaledBeforeItPrints) {
  plot.XAxis.From = plot.XAxis.To = 0;
  host.Answer(MsgResult::OK);
  plot.PrintDo();
  EXPECT_FLOAT_EQ(plot.XAxis.From, 1);
  EXPECT_FLOAT_EQ(plot.XAxis.To, 5);
  EXPECT_EQ(printer.ends, 1);
}

// --- Curves -----------------------------------------------------------------------

TEST_F(PlotPrint, LinesRunPointToPointInsideTheFrameAndBreakAtGaps) {
  plot.CurveRecord(0).Color = 0x0000FF;
  plot.CurveRecord(0).LineType = 1;
  plot.PrintCurve(printer.page, 0);
  const auto lines = Wide(printer.page);
  ASSERT_EQ(lines.size(), 2u);
  ExpectPoints(*lines[0], {At(1, 10), At(2, 20)});
  ExpectPoints(*lines[1], {At(4, 40), At(5, 50)});
  EXPECT_EQ(lines[0]->pen.color, 0x0000FF);
  EXPECT_EQ(lines[0]->pen.style, 1);
  EXPECT_NEAR(lines[0]->pen.width, 20 * 1600 / kA4HeightTwips, 1e-6);
  // A line curve has no symbols.
  EXPECT_EQ(printer.page.Of(DrawCall::Polyline).size(), 2u);
  EXPECT_TRUE(printer.page.Of(DrawCall::Line).empty());
  // Cut to the frame, and the clip taken away after.
  ASSERT_GE(printer.page.calls.size(), 2u);
  const DrawCall& clip = printer.page.calls.front();
  ASSERT_EQ(clip.kind, DrawCall::SetClip);
  EXPECT_NEAR(clip.points[0].x, 250, 1);
  EXPECT_NEAR(clip.points[0].y, 200, 1);
  EXPECT_NEAR(clip.points[1].x, 1750, 1);
  EXPECT_NEAR(clip.points[1].y, 1400, 1);
  EXPECT_EQ(printer.page.calls.back().kind, DrawCall::ClearClip);

  // An axis not yet scaled gives the points no place: nothing is drawn.
  printer.page.Clear();
  plot.YAxis.To = plot.YAxis.From;
  plot.PrintCurve(printer.page, 0);
  EXPECT_TRUE(printer.page.calls.empty());
}

TEST_F(PlotPrint, SymbolsAreStrokedAroundEachPoint) {
  const double d = HalfSize(3, 1600);
  struct Case {
    int shape;
    DrawCall::Kind kind;
    size_t callsAPoint;
  } cases[] = {{0, DrawCall::Polyline, 1}, {1, DrawCall::Ellipse, 1},
               {6, DrawCall::Line, 2},     {7, DrawCall::Line, 4},
               {10, DrawCall::Pixel, 1}};
  for (const Case& c : cases) {
    printer.page.Clear();
    plot.CurveRecord(1).PlotType = 1;
    plot.CurveRecord(1).Shape = c.shape;
    plot.PrintCurve(printer.page, 1);
    EXPECT_TRUE(Wide(printer.page).empty()) << c.shape;  // scatter: no line
    const auto strokes = printer.page.Of(c.kind);
    ASSERT_EQ(strokes.size(), 5 * c.callsAPoint) << c.shape;
    // The first point's strokes lie about it, d from the centre.
    const DrawPoint p = At(1, 10);
    for (size_t i = 0; i < c.callsAPoint; ++i)
      for (const DrawPoint& q : strokes[i]->points) {
        EXPECT_LE(std::max(std::fabs(q.x - p.x), std::fabs(q.y - p.y)), d + 1e-6) << c.shape;
        if (c.kind != DrawCall::Pixel) {
          EXPECT_NEAR(std::max(std::fabs(q.x - p.x), std::fabs(q.y - p.y)), d, 1e-6) << c.shape;
        }
      }
    EXPECT_EQ(strokes[0]->kind == DrawCall::Pixel ? strokes[0]->color : strokes[0]->pen.color,
              plot.CurveRecord(1).Color);
  }
  // Line and symbol: both.
  printer.page.Clear();
  plot.CurveRecord(0).PlotType = 2;
  plot.PrintCurve(printer.page, 0);
  EXPECT_EQ(Wide(printer.page).size(), 2u);
  EXPECT_EQ(printer.page.Of(DrawCall::Polyline).size(), 2u + 4u);
}

TEST_F(PlotPrint, FarPointsOfAZoomedPlotAreCutOffThePaper) {
  sheet.TextMatrix(2, 5, Cell(1.0e7f));
  sheet.TextMatrix(1, 5, Cell(1.0f));
  sheet.TextMatrix(3, 5, Cell(2.0f));
  plot.CurveRecord(1).XCol = 5;
  plot.PrintCurve(printer.page, 1);
  const auto lines = Wide(printer.page);
  ASSERT_EQ(lines.size(), 2u);  // out to the edge of the box and back
  for (const DrawCall* l : lines)
    for (const DrawPoint& q : l->points) {
      EXPECT_GE(q.x, -2000);
      EXPECT_LE(q.x, 4000);
    }
  EXPECT_NEAR(lines[0]->points.front().x, At(1, 0).x, 1);
  EXPECT_NEAR(lines[1]->points.back().x, At(2, 0).x, 1);
  EXPECT_NEAR(lines[1]->points.back().y, At(0, 30).y, 1);
}

TEST_F(PlotPrint, ALabelColumnPrintsTextAndNoLine) {
  plot.CurveRecord(1).YCol = 4;
  plot.PrintCurve(printer.page, 1);
  EXPECT_TRUE(Wide(printer.page).empty());
  const auto texts = printer.page.Texts();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "odd"), 3);
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "even"), 2);
}

// --- The screen's records ----------------------------------------------------------

TEST_F(PlotPrint, TheScreensOriginScaleAndFontsSurviveAPrint) {
  plot.Layer.OriginX = 11;
  plot.Layer.OriginY = 22;
  plot.Layer.ScaleX = 3;
  plot.Layer.ScaleY = -4;
  PrintScale = 0.5f;
  CurrentPageSetup().scale = 50;
  const PlotLayerRecord layer = plot.Layer;
  host.Answer(MsgResult::OK);
  plot.PrintDo();
  plot.PrintLayer(printer.page);
  plot.PrintCurve(printer.page, 0);
  plot.PrintLegend(printer.page);
  EXPECT_EQ(std::tuple(plot.Layer.OriginX, plot.Layer.OriginY), std::tuple(11, 22));
  EXPECT_EQ(std::tuple(plot.Layer.ScaleX, plot.Layer.ScaleY), std::tuple(3.f, -4.f));
  EXPECT_EQ(std::tuple(plot.Layer.Left, plot.Layer.Top, plot.Layer.Width, plot.Layer.Height),
            std::tuple(layer.Left, layer.Top, layer.Width, layer.Height));
  EXPECT_EQ(plot.Layer.Title.FontSize, 24);
  EXPECT_EQ(plot.XAxis.Labels.FontSize, 16);
  EXPECT_EQ(plot.YAxis.Title.FontSize, 24);
  EXPECT_FLOAT_EQ(PrintScale, 0.5f);
}

// --- The page setup ------------------------------------------------------------------

TEST(PageSetupMapping, FullPageScaledOrCentredAndTheGivenRectangle) {
  PlotLayerRecord layer;
  layer.Left = 0.125f;
  layer.Top = 0.125f;
  layer.Width = 0.75f;
  layer.Height = 0.75f;
  struct Case {
    PageSetup setup;
    DrawRect want;
  } cases[] = {
      {{100, 0, 0, 0, 0, true, false}, {250, 200, 1750, 1400}},
      {{50, 0, 0, 0, 0, true, false}, {125, 100, 875, 700}},
      {{50, 0, 0, 0, 0, true, true}, {625, 500, 1375, 1100}},
      {{100, 10, 20, 50, 40, false, false}, {200, 320, 1200, 960}},
      {{50, 10, 20, 50, 40, false, false}, {200, 320, 700, 640}},
      {{50, 10, 20, 50, 40, false, true}, {750, 640, 1250, 960}},
  };
  for (const Case& c : cases) {
    const DrawRect r = PrintedLayerRect(c.setup, layer, 2000, 1600);
    EXPECT_NEAR(r.left, c.want.left, 1e-3);
    EXPECT_NEAR(r.top, c.want.top, 1e-3);
    EXPECT_NEAR(r.right, c.want.right, 1e-3);
    EXPECT_NEAR(r.bottom, c.want.bottom, 1e-3);
  }
}

TEST_F(PlotPrint, ThePrinterLayerIsTheMappedFrameWithItsOriginScaleAndFont) {
  CurrentPageSetup().scale = 50;
  const PlotLayerRecord l = plot.GetPrinterLayer(printer.page);
  EXPECT_NEAR(l.Left, 0.0625, 1e-6);
  EXPECT_NEAR(l.Width, 0.375, 1e-6);
  EXPECT_NEAR(l.Top, 0.5625, 1e-6);  // the lower edge, from the bottom
  EXPECT_NEAR(l.Height, 0.375, 1e-6);
  EXPECT_EQ(std::tuple(l.OriginX, l.OriginY), std::tuple(125, 700));
  EXPECT_FLOAT_EQ(l.ScaleX, 75);
  EXPECT_FLOAT_EQ(l.ScaleY, -6);
  EXPECT_EQ(l.Title.FontSize, 12);
  // Curves follow the same mapping.
  plot.PrintCurve(printer.page, 1);
  const auto lines = Wide(printer.page);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NEAR(lines[0]->points.front().x, 125 + 75, 1);
  EXPECT_NEAR(lines[0]->points.front().y, 700 - 60, 1);
}

TEST(PageSetupForm, LoadsChecksAndReadsTheValues) {
  test::ScriptedHost host;
  host.lenient = true;
  Form_PageSetup f;
  f.Load(PageSetup{});
  EXPECT_EQ(std::tuple(f.Text_Scale, f.Text_l, f.Text_t, f.Text_w, f.Text_h),
            std::tuple("100", "14.5", "12.5", "76.3", "74"));
  EXPECT_TRUE(f.Check_UseFullPage);
  EXPECT_FALSE(f.RectangleEnabled());

  for (const char* bad : {"5", "401", "abc", ""}) {
    f.Text_Scale = bad;
    f.Command_OK();
    EXPECT_EQ(f.Tag, "") << bad;
    EXPECT_EQ(host.messages.back().text, "The scale must be a number from 10 to 400 %.");
    EXPECT_EQ(host.messages.back().title, "Page Setup");
  }
  // The rectangle counts only without the full page.
  f.Text_Scale = "50,5";
  f.Text_l = "60";
  f.Command_OK();
  EXPECT_EQ(f.Tag, "OK");
  f.Check_UseFullPage = false;
  f.Command_Preview();
  EXPECT_EQ(f.Tag, "");
  EXPECT_NE(host.messages.back().text.find("The layer must lie on the page"), std::string::npos);
  f.Text_w = "40";
  f.Check_CenterOnPage = true;
  f.Command_Preview();
  EXPECT_EQ(f.Tag, "Preview");
  PageSetup s;
  ASSERT_TRUE(f.Read(s));
  EXPECT_EQ(std::tuple(s.scale, s.left, s.top, s.width, s.height, s.useFullPage, s.centerOnPage),
            std::tuple(50.5, 60.0, 12.5, 40.0, 74.0, false, true));
}

TEST_F(PlotPrint, PrintSetupPreviewsStoresAndPrintsOrCancels) {
  PageSetupDialogs dialogs;
  // Cancelled: nothing kept, nothing printed.
  dialogs.answers.push_back([](Form_PageSetup& f) {
    EXPECT_EQ(f.Text_Scale, "100");
    f.Text_Scale = "50";
    f.Command_Cancel();
  });
  plot.PrintSetup();
  EXPECT_EQ(CurrentPageSetup().scale, 100);
  EXPECT_EQ(printer.begins + printer.previews, 0);

  // Preview, then the dialog again, then OK prints.
  dialogs.answers.push_back([](Form_PageSetup& f) {
    f.Text_Scale = "50";
    f.Command_Preview();
  });
  dialogs.answers.push_back([](Form_PageSetup& f) {
    EXPECT_EQ(f.Text_Scale, "50");
    f.Command_OK();
  });
  host.Answer(MsgResult::OK);
  plot.PrintSetup();
  EXPECT_EQ(dialogs.shown, 3);
  EXPECT_EQ(printer.previews, 1);
  EXPECT_FALSE(Wide(printer.previewPage).empty());
  EXPECT_EQ(CurrentPageSetup().scale, 50);
  EXPECT_EQ(printer.ends, 1);
  EXPECT_EQ(host.messages.size(), 1u);  // the question

  // No dialogs at all: the default ends it as cancelled.
  SetPlotDialogs(nullptr);
  plot.PrintSetup();
  EXPECT_EQ(printer.begins, 1);
  SetPlotDialogs(&dialogs);
}

TEST_F(PlotPrint, PrinterSetupRunsThePrintersDialog) {
  host.lenient = true;
  plot.PrinterSetup();
  EXPECT_EQ(printer.setups, 1);
  printer.setupAnswer = false;
  EXPECT_FALSE(RunPrinterSetup());
  // File -> Printer Setup needs no plot in front.
  MDIForm_Main main;
  RegisterPlotDocuments(main);
  main.Click("mnuPrinterSetup");
  EXPECT_EQ(printer.setups, 3);
  SetPrinter(nullptr);
  EXPECT_FALSE(RunPrinterSetup());
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "No printer is installed.");
  EXPECT_EQ(host.messages[0].title, "Printer Setup");
  SetPrinter(&printer);
}

}  // namespace
}  // namespace sv
