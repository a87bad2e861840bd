// Arithmetic with whole columns of a sheet: functions of a column,
// derivative, running integral, smoothing, sorting, the Fourier transform and
// two-column arithmetic. Each works on the selection or the current column,
// writes into a new column or in place (refusing through IsAnyProtected when
// in place), marks what it changed and updates the sheet's plots.
//
// Every operation reads a cell as a number when it holds one (a float, a
// double or a text that parses); other cells are left as they are. Results are
// stored as 32-bit floats. A result that cannot be computed (the logarithm of
// zero, a division by zero, an overflow) makes its own cell a gap and nothing
// else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sv {

class Form_Worksheet;
class MDIForm_Main;
class SheetPlot;

// --- Functions of a column -------------------------------------------------------

// Caption of function `index` for the Functions menu, "&" before the key
// letter; "" past the last one.
std::string FktText(long index);
// The number of functions, FktText's first empty index.
long FktCount();
// One function on one value; false when it has no result (the cell becomes a
// gap). An index past the last leaves the value.
bool FktValue(long index, float x, float& y);
// Applies function `index` to every numeric cell of `column`, in place.
// 1 done, 0 refused (no such column, a protected column).
long Functions(Form_Worksheet& sheet, long column, long index);

// --- Derivative and integral -----------------------------------------------------

// The derivative of the current column against its X column, in a new column
// right of it named old name + "'". 1 done, 0 nothing to work on.
long Differentiate(Form_Worksheet& sheet);
// The running integral (trapezoids over the X spacing), old name + ".int".
long Integrate(Form_Worksheet& sheet);

// The derivative of points (x, y) into `out`, one value a point; points with
// no value get NaN. The rule of Differentiate, for callers with arrays.
void DerivativeOf(const float* x, const float* y, float* out, size_t n);

// --- Smoothing -------------------------------------------------------------------

inline constexpr long kMaxSmoothDegree = 100;
// `degree` binomial passes over the numeric cells of each selected column
// (the current one without a selection), in place or into a ".sm" copy beside
// each. A degree outside 1 .. 100 is ignored. 1 done, 0 nothing.
long Smooth(Form_Worksheet& sheet, long degree, bool newColumn);
// The passes on an array: inner points become (2 y(i) + y(i-1) + y(i+1)) / 4
// from the previous pass, the ends stay.
void SmoothValues(std::vector<float>& values, long degree);

// --- Sorting ---------------------------------------------------------------------

// Rows SelStartRow .. SelEndRow (cut to 1 .. Rows - 1) by the column
// SelStartCol: ascending, or descending for direction 1. Scope 0 moves whole
// rows, another scope the key column alone. 1 done, 0 nothing.
long Sort(Form_Worksheet& sheet, long direction, long scope);
// The order of a selection sort over the keys, without its n^2 scans: for
// each place the smallest remaining key (first of equals) swapped in. Keys are
// ranks (smaller sorts first); `order[k]` is the index of the key that ends at
// place k.
std::vector<uint32_t> SelectionOrder(const std::vector<uint32_t>& keys);

// --- Fourier transform -------------------------------------------------------------

// The transform of the current column against its X column into a new sheet
// made by the main window, named after the source with "_FFT", with its plot
// "Real FFT". Null (and a message) without numbers to work on or a main window.
Form_Worksheet* CalcFFT(Form_Worksheet& sheet);
// The same into a given sheet, which is emptied first. False with nothing to
// work on.
bool CalcFFTInto(const Form_Worksheet& source, Form_Worksheet& target);

// --- Two-column arithmetic ---------------------------------------------------------

// The operators of Form_SimpleMath, in the order of Combo_Operator.
const std::vector<std::string>& SimpleMathOperators();
// y = y1 op y2 row by row into column `y` (made at the right when no column
// has that name). A row where an operand is no number becomes a gap. 1 done,
// 0 refused (an operand missing, a protected column, another operator).
long SimpleMath(Form_Worksheet& sheet, const std::string& y, const std::string& y1,
                const std::string& y2, long op);

// --- Menu commands -----------------------------------------------------------------

// Which commands of the Data menu the sheet offers as it stands.
struct MathMenuState {
  bool functions = false, simpleMath = false, smooth = false, differentiate = false,
       integrate = false, fft = false, sort = false;
};
MathMenuState Math(const Form_Worksheet& sheet);
void MathFkt(Form_Worksheet& sheet, long index);
void MathDifferentiate(Form_Worksheet& sheet);
void MathIntegrate(Form_Worksheet& sheet);
// Asks "Degree of smoothing:" under "Smoothing " + column name.
void MathSmooth(Form_Worksheet& sheet);
// Form_Sort, then Sort.
void DataSort(Form_Worksheet& sheet);
// Form_SimpleMath, then SimpleMath.
void MathSimpleMath(Form_Worksheet& sheet);

// What a plot made by column arithmetic shows.
struct ColumnPlotSetup {
  std::string title, xTitle, yTitle;
  long xCol = 1, yCol = 2;
};
// The intensity calibration of function 11 and the filling of a new plot
// come from later layers.
struct ColumnMathHooks {
  std::function<float(float)> calIntensity;
  std::function<void(SheetPlot&, const ColumnPlotSetup&)> setupPlot;
};
ColumnMathHooks& ColumnHooks();

// Registers the operations on the sheets and fills the Functions menu of
// `main` (when given) with one entry a function.
void RegisterColumnMath(MDIForm_Main* main);

}  // namespace sv
