// The Fourier transform of a column into a sheet of its own.
#include <cmath>
#include <string>

#include "core/host.h"
#include "core/mdi_main.h"
#include "image/kernel/fft.h"
#include "worksheet/column_math.h"
#include "worksheet/column_math_cells.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

namespace {

// Values are gathered in arrays that grow in steps of this many.
constexpr size_t kGrowStep = 512;

std::string Stem(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// The name is also the label: a sheet file keeps labels, not names.
void NameColumn(Form_Worksheet& sheet, long col, const char* name, int16_t typ) {
  sheet.Record(col).Name = name;
  sheet.Record(col).Label = name;
  sheet.Record(col).Typ = typ;
  sheet.BuildHeader(col);
}

}  // namespace

bool CalcFFTInto(const Form_Worksheet& source, Form_Worksheet& target) {
  const long ycol = source.Col();
  if (ycol < 1 || ycol >= source.Cols()) return false;
  const long xcol = source.XColOf(ycol);
  std::vector<float> x, y;
  for (long r = 1; r < source.Rows(); ++r) {
    double xv, yv;
    if (!source.NumberAt(r, xcol, xv) || !source.NumberAt(r, ycol, yv)) continue;
    if (x.size() == x.capacity()) {
      x.reserve(x.size() + kGrowStep);
      y.reserve(y.size() + kGrowStep);
    }
    x.push_back(float(xv));
    y.push_back(float(yv));
  }
  const size_t count = y.size();
  if (count == 0 || !FFT_expand(y)) return false;
  const size_t n = y.size(), bins = n / 2 + 1;
  if (bins + 1 > size_t(kMaxSheetRows)) return false;
  std::vector<float> re(bins), im(bins), amp(bins), phi(bins);
  if (!FFT(y, re, im, kFFTForward) || !FFT_polar(re, im, amp, phi)) return false;
  // The sample step is the mean X spacing of the points taken; without one
  // (a single point, equal X) a step of 1.
  double step = count > 1 ? std::fabs(double(x[count - 1]) - x[0]) / double(count - 1) : 0.0;
  if (!(step > 0.0) || !std::isfinite(step)) step = 1.0;

  const bool redraw = target.Redraw();
  target.Redraw(false);
  target.ClearAllPlots();
  target.Cols(6);
  target.Rows(long(bins) + 1);
  NameColumn(target, 1, "Freq", kTypX);
  NameColumn(target, 2, "Real", kTypY);
  NameColumn(target, 3, "Imag", kTypY);
  NameColumn(target, 4, "Ampl", kTypY);
  NameColumn(target, 5, "Phi", kTypY);
  for (size_t k = 0; k < bins; ++k) {
    const long r = long(k) + 1;
    column_cells::Put(target, r, 1, float(double(k) / (double(n) * step)));
    column_cells::Put(target, r, 2, re[k]);
    column_cells::Put(target, r, 3, im[k]);
    column_cells::Put(target, r, 4, amp[k]);
    column_cells::Put(target, r, 5, phi[k]);
  }
  for (long c = 1; c < 6; ++c) target.ColChanged(c, true);
  target.SetChanged();
  target.Col(4);
  target.Redraw(redraw);

  SheetPlot* plot = nullptr;
  if (target.NewPlot(plot) && plot) {
    plot->SetPlotName("Real FFT");
    ColumnPlotSetup setup;
    setup.title = "Real FFT";
    setup.xTitle = "Frequency (Hz)";
    setup.yTitle = "Amplitude";
    setup.xCol = 1;
    setup.yCol = 4;
    if (ColumnHooks().setupPlot) ColumnHooks().setupPlot(*plot, setup);
  }
  return true;
}

Form_Worksheet* CalcFFT(Form_Worksheet& sheet) {
  MDIForm_Main* main = sheet.Main();
  if (!main) return nullptr;
  ShowStatus("Calculating FFT...");
  host().SetBusy(true);
  Form_Worksheet* made = nullptr;
  if (auto* target = dynamic_cast<Form_Worksheet*>(main->CreateWorksheet())) {
    target->SetTitle(Stem(sheet.Filename()) + "_FFT.sht");
    if (CalcFFTInto(sheet, *target)) {
      made = target;
      main->ShowChild(target->Handle());
    } else {
      target->Saved();  // nothing in it to ask about
      main->CloseChild(target->Handle());
    }
  }
  host().SetBusy(false);
  ShowStatus("");
  return made;
}

}  // namespace sv
