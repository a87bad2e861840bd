#include <gtest/gtest.h>

#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "plot_fixture.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

// A sheet of `cols` data columns: A is X, the rest Y; `rows` data rows.
void Fill(Form_Worksheet& s, long cols, long rows) {
  s.Cols(cols + 1);
  s.Rows(rows + 1);
  for (long r = 1; r <= rows; ++r) s.TextMatrix(r, 1, Cell(float(r)));
}

TEST(PlotSheet, AutomaticScalingOverConstantAndEmptyColumns) {
  test::ScriptedHost host;
  Form_Worksheet sheet;
  Fill(sheet, 3, 4);
  for (long r = 1; r <= 4; ++r) sheet.TextMatrix(r, 2, Cell(5.0f));
  Form_Plot p;
  p.SetWorksheet(&sheet);
  p.Curves(1);
  p.CurveRecord(0).XCol = 1;
  p.CurveRecord(0).YCol = 2;
  p.Plot();
  // X 1..4 by the table; the constant 5 gives From 0.
  EXPECT_FLOAT_EQ(p.XAxis.From, 1);
  EXPECT_FLOAT_EQ(p.XAxis.To, 4);
  EXPECT_FLOAT_EQ(p.YAxis.From, 0);
  EXPECT_FLOAT_EQ(p.YAxis.To, 5);
  EXPECT_EQ(p.YAxis.Labels.Text, "0.0");
  // A column without numbers leaves the range to 0..10; a rescale redoes it.
  p.CurveRecord(0).YCol = 3;
  p.Rescale();
  EXPECT_FLOAT_EQ(p.YAxis.From, 0);
  EXPECT_FLOAT_EQ(p.YAxis.To, 10);
  EXPECT_FALSE(RescaleFlag());
  // A second curve widens the range.
  p.Curves(2);
  p.CurveRecord(1).XCol = 1;
  p.CurveRecord(1).YCol = 1;
  p.Rescale();
  EXPECT_FLOAT_EQ(p.YAxis.From, 1);
  EXPECT_FLOAT_EQ(p.YAxis.To, 4);
}

TEST(PlotSheet, GraphAddCurveAsksAboutAColumnAlreadyPlotted) {
  test::ScriptedHost host;
  test::ScriptedDialogs dialogs;
  Form_Worksheet sheet;
  Fill(sheet, 3, 2);
  sheet.Filename("/data/RUN.SHT");
  sheet.Col(3);
  sheet.ColLabel("I (counts)");
  Form_Plot p;
  p.SetWorksheet(&sheet);
  p.SetPlotName("Plot1");
  EXPECT_EQ(p.Caption(), "RUN.SHT (Plot1)");
  sheet.Col(2);
  p.AddCurve();
  EXPECT_EQ(p.CurveRecords()[0].Legend, "B");

  sheet.SetSelection(0, 1, 2, 3);
  std::vector<std::string> lines;
  dialogs.newPlot = [&](Form_NewPlot& f) {
    for (auto& c : f.List_YColumns) lines.push_back(c.text);
    EXPECT_EQ(f.XColumn(), 1);
    f.Text_YLabel = "";
    f.Command_OK();
  };
  host.Answer(MsgResult::No);
  p.GraphAddCurve(2);
  ASSERT_EQ(lines, (std::vector<std::string>{"B  ", "C1  I (counts)"}));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "_B is already plotted in this layer!");
  EXPECT_EQ(host.messages[0].title, "Attention");
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::YesNo);
  ASSERT_EQ(p.Curves(), 2);
  EXPECT_EQ(p.CurveRecords()[1].YCol, 3);
  EXPECT_EQ(p.CurveRecords()[1].XCol, 1);
  EXPECT_EQ(p.CurveRecords()[1].PlotType, 2);
  EXPECT_EQ(p.CurveRecords()[1].Legend, "I (counts)");
}

TEST(PlotSheet, NewPlotThroughTheMainWindow) {
  test::ScriptedHost host;
  test::ScriptedDialogs dialogs;
  MDIForm_Main main;
  RegisterPlotDocuments(main);
  Form_Worksheet sheet(&main);
  Fill(sheet, 3, 3);
  sheet.ColName(3, "Win5");
  sheet.Col(1);
  sheet.ColLabel("E (eV)");
  sheet.SetSelection(0, 2, 3, 3);
  std::vector<std::string> lines;
  dialogs.newPlot = [&](Form_NewPlot& f) {
    for (auto& c : f.List_YColumns) lines.push_back(c.text);
    EXPECT_EQ(f.List_XColumn.size(), 1u);
    f.Command_OK();
  };
  ASSERT_TRUE(sheet.AddNewPlot());
  EXPECT_EQ(lines, (std::vector<std::string>{"B  [Y]", "Win5  [Y]"}));
  ASSERT_EQ(sheet.Plots(), 1);
  auto* plot = dynamic_cast<Form_Plot*>(main.Child(sheet.PlotWindowHwnd(0)));
  ASSERT_NE(plot, nullptr);
  EXPECT_EQ(main.ActiveChild(), plot);
  ASSERT_EQ(plot->Curves(), 2);
  EXPECT_EQ(plot->CurveRecords()[0].Color, BasicColor(0));
  EXPECT_EQ(plot->CurveRecords()[1].Color, BasicColor(10));  // window 5's colour
  EXPECT_EQ(plot->XLabelText(), "E (eV)");
  EXPECT_EQ(plot->YLabelText(), "B");
  EXPECT_EQ(plot->PlotName(), "Plot1");
  EXPECT_FLOAT_EQ(plot->XAxis.To, 3);  // scaled on the way in

  // Closing the plot window takes it off the sheet's list.
  main.Click("mnuClose");
  EXPECT_EQ(sheet.Plots(), 0);
  EXPECT_EQ(main.ActiveChild(), nullptr);
}

TEST(PlotSheet, PlotsTravelInTheSheetFile) {
  test::ScriptedHost host;
  MDIForm_Main main;
  RegisterPlotDocuments(main);
  const std::string path = host.root + "/RUN.SHT";
  {
    Form_Worksheet sheet;
    Fill(sheet, 2, 3);
    SheetPlot* made = nullptr;
    ASSERT_TRUE(sheet.NewPlot(made));
    auto* plot = dynamic_cast<Form_Plot*>(made);
    ASSERT_NE(plot, nullptr);
    sheet.Col(2);
    plot->AddCurve();
    plot->CurveXCol(1);
    plot->XLabelText("E (eV)");
    SheetPlot* second = nullptr;
    ASSERT_TRUE(sheet.NewPlot(second));
    auto* other = dynamic_cast<Form_Plot*>(second);
    sheet.Col(3);
    other->AddCurve();
    other->AddCurve();
    other->TitleText("second");
    ASSERT_EQ(sheet.SaveWorksheet(path), 0);
  }
  Form_Worksheet sheet;
  ASSERT_EQ(sheet.OpenWorksheet(path), 0);
  ASSERT_EQ(sheet.Plots(), 2);
  auto* other = dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(1)));
  ASSERT_NE(other, nullptr);
  EXPECT_EQ(other->TitleText(), "second");
  EXPECT_EQ(other->Curves(), 2);
  EXPECT_EQ(other->PlotName(), "Plot2");
  auto* plot = dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(0)));
  ASSERT_NE(plot, nullptr);
  ASSERT_EQ(plot->Curves(), 1);
  EXPECT_EQ(plot->CurveRecords()[0].XCol, 1);
  EXPECT_EQ(plot->CurveRecords()[0].YCol, 2);
  EXPECT_EQ(plot->XLabelText(), "E (eV)");
  EXPECT_EQ(plot->PlotName(), "Plot1");
  EXPECT_EQ(plot->Caption(), "RUN.SHT (Plot1)");
}

}  // namespace
}  // namespace sv
