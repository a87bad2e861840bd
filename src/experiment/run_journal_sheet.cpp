// A run's sheet and its journal: the header taken from the sheet and its
// plots, and the sheet rebuilt from a journal read back.
#include <algorithm>
#include <cmath>
#include <set>

#include "experiment/run_journal.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

JournalHeader MakeJournalHeader(const Form_Worksheet& sheet, int experimentType,
                                const std::string& sheetPath,
                                const std::vector<const Form_Plot*>& plots) {
  JournalHeader h;
  h.experimentType = experimentType;
  h.sheetPath = sheetPath;
  for (long c = 1; c < sheet.Cols(); ++c) {
    const ColumnRecord& r = sheet.Record(c);
    h.columns.push_back({r.Name, r.Label, r.Typ});
  }
  const int count = std::min<int>(static_cast<int>(plots.size()), kJournalMaxPlot + 1);
  for (int p = 0; p < count; ++p) {
    const Form_Plot* plot = plots[size_t(p)];
    if (!plot) continue;
    h.plots.push_back({p, plot->XLabelText(), plot->YLabelText()});
    for (const PlotCurveRecord& c : plot->CurveRecords())
      h.curves.push_back({p, c.XCol, c.YCol, c.Legend, c.Color});
  }
  return h;
}

namespace {

// The curves of one plot number on a new plot of the sheet; false when no
// plot library is there to make it.
bool RebuildPlot(const JournalHeader& h, int number, Form_Worksheet& sheet) {
  SheetPlot* made = nullptr;
  if (!sheet.NewPlot(made)) return false;
  auto* plot = dynamic_cast<Form_Plot*>(made);
  if (!plot) return false;
  const long columns = static_cast<long>(h.columns.size());
  for (const JournalCurve& c : h.curves) {
    if (c.plot != number || c.xcol < 1 || c.xcol > columns || c.ycol < 1 || c.ycol > columns)
      continue;
    sheet.Col(c.ycol);
    const long index = plot->AddCurve();
    plot->CurveXCol(c.xcol);
    plot->CurveColor(c.color);
    if (!c.legend.empty()) plot->CurveRecord(index).Legend = c.legend;
  }
  for (const JournalPlot& p : h.plots)
    if (p.plot == number) {
      plot->XLabelText(p.xLabel);
      plot->YLabelText(p.yLabel);
    }
  plot->Rescale();
  return true;
}

}  // namespace

bool RebuildSheet(const JournalContents& journal, Form_Worksheet& sheet) {
  const JournalHeader& h = journal.header;
  const long columns = static_cast<long>(h.columns.size());
  long lastRow = 0;
  for (const auto& [row, values] : journal.rows) lastRow = std::max(lastRow, row);
  if (columns < 1 || lastRow + 1 > kMaxSheetRows) return false;

  const bool redraw = sheet.Redraw();
  sheet.Redraw(false);
  sheet.Cols(columns + 1);
  sheet.Rows(lastRow + 1);
  if (sheet.Cols() != columns + 1 || sheet.Rows() != lastRow + 1) {
    sheet.Redraw(redraw);
    return false;
  }
  for (long c = 1; c <= columns; ++c) {
    const JournalColumn& jc = h.columns[size_t(c - 1)];
    ColumnRecord& r = sheet.Record(c);
    r.Name = jc.name;
    r.Label = jc.label;
    r.Typ = static_cast<int16_t>(jc.typ);
    sheet.BuildHeader(c);
  }
  // A row that came twice (a run that went on after a stop) keeps its last
  // values.
  for (const auto& [row, values] : journal.rows)
    for (long c = 1; c <= columns && c <= static_cast<long>(values.size()); ++c) {
      const double v = values[size_t(c - 1)];
      sheet.TextMatrix(row, c, std::isnan(v) ? Cell() : Cell(static_cast<float>(v)));
      sheet.ColChanged(c, true);
    }

  std::set<int> numbers;
  for (const JournalCurve& c : h.curves) numbers.insert(c.plot);
  for (int number : numbers)
    if (!RebuildPlot(h, number, sheet)) break;  // no plot library: the data alone
  sheet.Col(1);
  sheet.SetChanged();
  sheet.Redraw(redraw);
  return true;
}

}  // namespace sv
