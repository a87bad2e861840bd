#include "cli/batch_fit.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "cli/batch_plot_session.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "fit/fit_settings.h"
#include "fit/form_fit.h"
#include "fit/form_fit_status.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

// Keeps the `keep` highest of the peaks auto input found, in their order.
void KeepHighestPeaks(Form_Fit& form, int keep) {
  const int peaks = form.Peaks();
  if (keep >= peaks) return;
  auto& par = FitG().Par;
  std::vector<int> order(static_cast<size_t>(peaks));
  for (int k = 1; k <= peaks; ++k) order[size_t(k - 1)] = k;
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
    return par[size_t(4 * a + 1)].Input > par[size_t(4 * b + 1)].Input;
  });
  order.resize(size_t(keep));
  std::sort(order.begin(), order.end());
  std::vector<FitParameter> kept;
  for (int k : order)
    for (int j = 0; j < 4; ++j) kept.push_back(par[size_t(4 * k + j)]);
  for (size_t i = 0; i < kept.size(); ++i) {
    FitParameter& e = par[4 + i];
    const std::string name = e.Name;
    e = kept[i];
    e.Name = name;
  }
  form.Peaks(keep);
}

}  // namespace

std::string FitUsage() {
  return "  fit SHEET.sht --y COL [--x COL] [--rows FIRST:LAST] [--model gauss|lorentz]\n"
         "              [--peaks N] [--width W|auto] [--out OUT.sht]\n"
         "              fits a straight background and peaks found by auto input to\n"
         "              column COL (number as sheet-info lists it, or name) and\n"
         "              prints the report; --peaks keeps the N highest peaks, --width\n"
         "              auto takes the widths from the half-height; --out saves the\n"
         "              sheet with its \".fit\" column and the \"Peak Fit\" plot\n";
}

int FitCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string file, ytext, xtext, outFile, model, width;
  long firstRow = -1, lastRow = -1, peaks = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--y" || a == "--x" || a == "--rows" || a == "--model" ||
                            a == "--peaks" || a == "--width" || a == "--out";
    if (takesValue && i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
    if (a == "--y") {
      ytext = args[++i];
    } else if (a == "--x") {
      xtext = args[++i];
    } else if (a == "--rows") {
      const std::string& v = args[++i];
      const size_t colon = v.find(':');
      if (colon == std::string::npos || !ParseWhole(v.substr(0, colon), firstRow) ||
          !ParseWhole(v.substr(colon + 1), lastRow) || firstRow < 1 || lastRow < firstRow)
        return BadArgs(err, "--rows takes FIRST:LAST, 1 <= FIRST <= LAST");
    } else if (a == "--model") {
      model = args[++i];
      if (model != "gauss" && model != "lorentz") return BadArgs(err, "--model is gauss or lorentz");
    } else if (a == "--peaks") {
      if (!ParseWhole(args[++i], peaks) || peaks < 1 || peaks > kMaxPeaks)
        return BadArgs(err, "--peaks takes a number from 1 to 20");
    } else if (a == "--width") {
      width = args[++i];
      if (width != "auto" && !(FitTextToFloat(width) > 0.0f))
        return BadArgs(err, "--width takes a number above 0 or auto");
    } else if (a == "--out") {
      outFile = args[++i];
    } else if (const int bad = TakeSheetArg(err, "fit", a, file)) {
      return bad;
    }
  }
  if (file.empty()) return BadArgs(err, "fit needs a sheet");
  if (ytext.empty()) return BadArgs(err, "fit needs --y COL");

  PlotSession session(err);
  BatchHost& batchHost = session.host;
  struct ResetFitWindows {
    ~ResetFitWindows() { FitWindows() = FitDialogs(); }
  } resetFitWindows;

  Form_Worksheet sheet;
  if (sheet.OpenWorksheet(file) != 0) return 1;
  const long ycol = SheetColumnArg(sheet, ytext);
  if (ycol < 0) {
    err << "svbatch: " << file << " has no column " << ytext << "\n";
    return 1;
  }
  long xcol = -1;
  if (!xtext.empty()) {
    xcol = SheetColumnArg(sheet, xtext);
    if (xcol < 0) {
      err << "svbatch: " << file << " has no column " << xtext << "\n";
      return 1;
    }
  }

  // The settings of this run: read, changed by the options, never written.
  FitSettings& s = FitG().Settings;
  s = LoadFitSettings();
  if (model == "gauss") s.PeakShape = kShapeGauss;
  if (model == "lorentz") s.PeakShape = kShapeLorentz;
  if (width == "auto") s.PeakWidth = -std::abs(s.PeakWidth);
  else if (!width.empty()) s.PeakWidth = FitTextToFloat(width);

  Form_Fit form;
  form.KeepSettings = true;
  if (!form.Start(sheet, ycol, xcol, firstRow, lastRow)) return 1;
  if (peaks > 0) {
    KeepHighestPeaks(form, int(peaks));
    form.PlotFit();
  }

  // The status window's timer, fired here until the fit ends; Ctrl-C cancels.
  FitWindows().showStatus = [&batchHost](Form_FitStatus& status) {
    ClearStopRequest();
    InstallStopHandler();
    while (!status.Finished()) {
      if (StopRequested()) status.Command_Cancel_Click();
      else if (batchHost.Timers().Count() > 0) batchHost.Timers().Fire();
      else batchHost.WaitForEvents(10);
    }
    ClearStopRequest();
  };
  form.Command_Calculate();
  out << form.RichTextBox1;
  if (!outFile.empty() && sheet.SaveWorksheet(outFile, true) != 0) {
    err << "svbatch: cannot save " << outFile << "\n";
    return 1;
  }
  return 0;
}

}  // namespace sv::cli
