#include "cli/batch_growth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <strings.h>

#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "cli/batch_plot_session.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "fit/form_growth_rate.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

std::string NumberText(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.9g", v);
  return buf;
}

}  // namespace

std::string GrowthUsage() {
  return "  growth SHEET.sht --col COL [--material NAME | --thickness T] [--t1 S] [--t2 S]\n"
         "              [--delta D] [--fit] [--fft] [--out OUT.sht]\n"
         "              the growth rate of column COL against its X column: the\n"
         "              period from minima and maxima (threshold D, a tenth of the\n"
         "              range unless given; --fit refines them by parabolas) or by\n"
         "              --fft; prints rate and tau, and with a material or a\n"
         "              monolayer thickness (Angstrom) the growth; --out saves the\n"
         "              analysis sheet with its plot\n";
}

int GrowthCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string file, coltext, material, outFile, t1text, t2text;
  double thickness = 0, delta = 0;
  bool haveThickness = false, haveDelta = false, fit = false, fft = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--col" || a == "--material" || a == "--thickness" ||
                            a == "--t1" || a == "--t2" || a == "--delta" || a == "--out";
    if (takesValue && i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
    double unused = 0;
    if (a == "--col") {
      coltext = args[++i];
    } else if (a == "--material") {
      material = args[++i];
    } else if (a == "--thickness") {
      if (!ParseNumber(args[++i], thickness) || thickness <= 0)
        return BadArgs(err, "--thickness takes a number above 0");
      haveThickness = true;
    } else if (a == "--t1" || a == "--t2") {
      const std::string& v = args[++i];
      if (!ParseNumber(v, unused)) return BadArgs(err, a + " takes a time in seconds");
      (a == "--t1" ? t1text : t2text) = v;
    } else if (a == "--delta") {
      if (!ParseNumber(args[++i], delta) || delta <= 0)
        return BadArgs(err, "--delta takes a number above 0");
      haveDelta = true;
    } else if (a == "--fit") {
      fit = true;
    } else if (a == "--fft") {
      fft = true;
    } else if (a == "--out") {
      outFile = args[++i];
    } else if (const int bad = TakeSheetArg(err, "growth", a, file)) {
      return bad;
    }
  }
  if (file.empty()) return BadArgs(err, "growth needs a sheet");
  if (coltext.empty()) return BadArgs(err, "growth needs --col COL");
  if (!material.empty() && haveThickness) return BadArgs(err, "--material and --thickness exclude each other");

  PlotSession session(err);

  Form_Worksheet sheet;
  if (sheet.OpenWorksheet(file) != 0) return 1;
  const long col = SheetColumnArg(sheet, coltext);
  if (col < 0) {
    err << "svbatch: " << file << " has no column " << coltext << "\n";
    return 1;
  }
  const long xcol = sheet.XColOf(col);
  if (xcol <= 0 || xcol == col) {
    err << "svbatch: column " << coltext << " has no X column\n";
    return 1;
  }

  // The curve as a plot of the sheet, as the window takes it from a plot.
  sheet.Col(col);
  SheetPlot* made = nullptr;
  Form_Plot* plot = nullptr;
  if (sheet.NewPlot(made) && made) plot = dynamic_cast<Form_Plot*>(made);
  if (!plot) {
    err << "svbatch: cannot make a plot of " << file << "\n";
    return 1;
  }
  plot->Curves(0);
  plot->Curve(plot->AddCurve());
  plot->CurveXCol(xcol);

  Form_GrowthRate form;
  form.SetPlotForm(plot);  // reads the material list; it is never written here
  if (!t1text.empty()) form.Text_t1 = t1text;
  if (!t2text.empty()) form.Text_t2 = t2text;
  if (!material.empty()) {
    const auto& list = form.Materials.Entries;
    int found = -1;
    for (size_t i = 1; i < list.size(); ++i)
      if (strcasecmp(list[i].Name.c_str(), material.c_str()) == 0) found = int(i);
    if (found < 0) {
      err << "svbatch: no material " << material << " in " << kMaterialFileName << "\n";
      return 1;
    }
    form.SelectMaterial(found);
  } else {
    form.SelectMaterial(0);
    form.Text_MonolayerThickness = haveThickness ? NumberText(thickness) : "";
  }
  if (!haveDelta) {
    // A tenth of the curve's range.
    std::vector<float> x, y;
    long count = 0;
    sheet.GetXYColDataAll(xcol, col, x, y, count);
    if (count > 0) {
      const auto [lo, hi] = std::minmax_element(y.begin(), y.begin() + count);
      delta = (*hi - *lo) / 10.0;
    }
    if (!(delta > 0)) delta = 1e-30;
  }
  form.Text_Delta = NumberText(delta);
  form.Check_Fit = fit;
  form.Option_Analysis = fft ? 1 : 0;
  if (!form.Command_Calculate()) return 1;

  out << "rate = " << form.Text_GrowthRate << "\n";
  out << "tau = " << form.Text_Tau << "\n";
  if (!material.empty() || haveThickness) {
    if (!material.empty())
      out << "material = " << form.Materials.Entries[size_t(form.Materials.Index)].Name << "\n";
    out << "growth = " << form.Label_Growth << " " << form.Label_Unit << "\n";
  }
  if (!outFile.empty() && (!form.Sheet() || form.Sheet()->SaveWorksheet(outFile, true) != 0)) {
    err << "svbatch: cannot save " << outFile << "\n";
    return 1;
  }
  return 0;
}

}  // namespace sv::cli
