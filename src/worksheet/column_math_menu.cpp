// Two-column arithmetic and the Data menu's column commands: what the menu
// offers for the selection, the questions and dialogs before each operation,
// and their registration on the sheets.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/host.h"
#include "core/mdi_main.h"
#include "worksheet/column_math.h"
#include "worksheet/column_math_cells.h"
#include "worksheet/form_simple_math.h"
#include "worksheet/form_sort.h"
#include "worksheet/form_worksheet.h"

namespace sv {

// --- Two-column arithmetic -------------------------------------------------------------

const std::vector<std::string>& SimpleMathOperators() {
  static const std::vector<std::string> ops = {"+", "-", "*", "/", "^"};
  return ops;
}

namespace {

// An operand: a column, or a number when no column has that name.
struct Operand {
  long col = -1;
  double value = 0.0;
  bool Read(const Form_Worksheet& sheet, const std::string& text) {
    col = sheet.ColOf(text);
    if (col >= 1) return true;
    return ParseNumber(text, value);
  }
  bool At(const Form_Worksheet& sheet, long row, double& v) const {
    if (col < 1) {
      v = value;
      return true;
    }
    return sheet.NumberAt(row, col, v);
  }
};

bool Apply(long op, double a, double b, double& r) {
  switch (op) {
    case 0: r = a + b; break;
    case 1: r = a - b; break;
    case 2: r = a * b; break;
    case 3:
      if (b == 0.0) return false;
      r = a / b;
      break;
    case 4: r = std::pow(a, b); break;
    default: return false;
  }
  return std::isfinite(r);
}

}  // namespace

long SimpleMath(Form_Worksheet& sheet, const std::string& y, const std::string& y1,
                const std::string& y2, long op) {
  if (op < 0 || op >= long(SimpleMathOperators().size()) || y.empty()) return 0;
  Operand a, b;
  if (!a.Read(sheet, y1) || !b.Read(sheet, y2)) return 0;
  long target = sheet.ColOf(y);
  if (target >= 1) {
    if (sheet.IsAnyProtected()) return 0;
  } else {
    // A new column at the right end, named as asked.
    if (!sheet.InsertColumn(sheet.Cols(), 1)) return 0;
    target = sheet.Cols() - 1;
    sheet.Record(target).Name = y;
    sheet.Record(target).Typ = kTypY;
    sheet.BuildHeader(target);
  }
  for (long r = 1; r < sheet.Rows(); ++r) {
    double u, v, w;
    if (a.At(sheet, r, u) && b.At(sheet, r, v) && Apply(op, u, v, w))
      column_cells::Put(sheet, r, target, float(w));
    else
      sheet.TextMatrix(r, target, Cell());
  }
  sheet.SetChanged();
  sheet.ColChanged(target, true);
  sheet.Record(target).MinValue = 0.0f;
  sheet.Record(target).MaxValue = -1.0f;
  if (sheet.Redraw()) sheet.DrawWorksheet();
  sheet.UpdatePlots();
  return 1;
}

// --- The menu ------------------------------------------------------------------------

MathMenuState Math(const Form_Worksheet& sheet) {
  MathMenuState m;
  const bool current = sheet.Col() >= 1 && sheet.Col() < sheet.Cols();
  const bool selected = sheet.SelStartCol() >= 1 && sheet.SelStartCol() < sheet.Cols();
  const bool rows = sheet.Rows() > 1;
  m.functions = m.smooth = (current || selected) && rows;
  m.differentiate = m.integrate = m.fft = current && rows;
  m.simpleMath = sheet.Cols() > 1;
  m.sort = selected && std::max(sheet.SelStartRow(), 1L) <=
                           std::min(sheet.SelEndRow(), sheet.Rows() - 1);
  return m;
}

void MathFkt(Form_Worksheet& sheet, long index) {
  long first = sheet.SelStartCol(), last = sheet.SelEndCol();
  if (first < 1) first = last = sheet.Col();
  last = std::min(last, sheet.Cols() - 1);
  for (long c = first; c >= 1 && c <= last; ++c)
    if (!Functions(sheet, c, index)) break;  // refused: said once
  sheet.UpdatePlots();
}

void MathDifferentiate(Form_Worksheet& sheet) { Differentiate(sheet); }

void MathIntegrate(Form_Worksheet& sheet) { Integrate(sheet); }

void MathSmooth(Form_Worksheet& sheet) {
  long col = sheet.SelStartCol() >= 1 ? sheet.SelStartCol() : sheet.Col();
  if (col < 1 || col >= sheet.Cols()) return;
  const auto answer =
      host().InputBox("Degree of smoothing:", "Smoothing " + sheet.ColName(col), "1");
  if (!answer) return;
  double degree = 0;
  if (!ParseNumber(*answer, degree) || degree != std::floor(degree)) return;
  // Outside 1 .. 100 the answer is ignored.
  Smooth(sheet, long(degree), false);
}

void DataSort(Form_Worksheet& sheet) {
  Form_Sort form;
  if (!ShowDialog(form)) return;
  Sort(sheet, form.Combo_Sort, form.Combo_Selection);
}

void MathSimpleMath(Form_Worksheet& sheet) {
  Form_SimpleMath form;
  form.Load(sheet);
  if (!ShowDialog(form)) return;
  if (!SimpleMath(sheet, form.Text_Y, form.Text_Y1, form.Text_Y2, form.Combo_Operator))
    host().Beep();
}

ColumnMathHooks& ColumnHooks() {
  static ColumnMathHooks hooks;
  return hooks;
}

void RegisterColumnMath(MDIForm_Main* main) {
  using W = const Form_Worksheet&;
  // The Math entry sets the Data menu's entries from the selection.
  Form_Worksheet::RegisterOperation(
      "Math",
      [](Form_Worksheet& s) {
        if (s.Main()) s.Main()->PrepareMenu("mnuData");
      },
      [](W s) { return s.Cols() > 1; });
  Form_Worksheet::RegisterOperation(
      "MathFkt", [](Form_Worksheet& s) { MathFkt(s, s.MenuIndex()); },
      [](W s) { return Math(s).functions; });
  Form_Worksheet::RegisterOperation("MathDifferentiate", MathDifferentiate,
                                    [](W s) { return Math(s).differentiate; });
  Form_Worksheet::RegisterOperation("MathIntegrate", MathIntegrate,
                                    [](W s) { return Math(s).integrate; });
  Form_Worksheet::RegisterOperation("MathSmooth", MathSmooth,
                                    [](W s) { return Math(s).smooth; });
  Form_Worksheet::RegisterOperation("DataSort", DataSort, [](W s) { return Math(s).sort; });
  Form_Worksheet::RegisterOperation(
      "CalcFFT", [](Form_Worksheet& s) { CalcFFT(s); }, [](W s) { return Math(s).fft; });
  Form_Worksheet::RegisterOperation("MathSimpleMath", MathSimpleMath,
                                    [](W s) { return Math(s).simpleMath; });
  if (!main) return;
  // One entry a function, until the first empty caption.
  if (MenuEntry* fkt = main->FindMenu("mnuFkt")) {
    fkt->children.clear();
    for (long i = 0; !FktText(i).empty(); ++i) {
      MenuEntry e;
      e.name = "mnuFkt";
      e.index = int(i);
      e.caption = FktText(i);
      fkt->children.push_back(e);
    }
    if (main->View()) main->View()->MenusChanged();
  }
}

}  // namespace sv
