#include "cli/batch_rfactor.h"

#include <cmath>
#include <cstdlib>

#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "fit/form_rfactor.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {

namespace {

}  // namespace

std::string RFactorUsage() {
  return "  rfactor A.sht [B.sht] [--factor pendry|r2] [--cols LIST] [--energy COL]\n"
         "              [--v0i EV] [--threshold PCT] [--smooth N] [--shift-range FROM:TO:STEP]\n"
         "              R-factors of every pair of columns of A, or of each column of\n"
         "              A against the column of B with the same label (or name), with\n"
         "              the overall R; --shift-range tries shifts of B's energies and\n"
         "              reports at the best common one\n";
}

int RFactorCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  std::string colsText, energyText;
  RFactorSettings s;
  RFactorShiftRange range;
  bool withShift = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--factor" || a == "--cols" || a == "--energy" || a == "--v0i" ||
                            a == "--threshold" || a == "--smooth" || a == "--shift-range";
    if (takesValue && i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
    double v = 0;
    if (a == "--factor") {
      const std::string& f = args[++i];
      if (f != "pendry" && f != "r2") return BadArgs(err, "--factor is pendry or r2");
      s.pendry = f == "pendry";
    } else if (a == "--cols") {
      colsText = args[++i];
    } else if (a == "--energy") {
      energyText = args[++i];
    } else if (a == "--v0i") {
      if (!ParseNumber(args[++i], v) || v <= 0) return BadArgs(err, "--v0i takes a number above 0");
      s.voi = float(v);
    } else if (a == "--threshold") {
      if (!ParseNumber(args[++i], v) || v < 0) return BadArgs(err, "--threshold takes a percentage, 0 or more");
      s.threshold = float(v * 0.01);
    } else if (a == "--smooth") {
      if (!ParseNumber(args[++i], v) || v < 0 || v >= 100 || v != std::floor(v))
        return BadArgs(err, "--smooth takes a whole number from 0 to 99");
      s.passes = int(v);
    } else if (a == "--shift-range") {
      const std::string& t = args[++i];
      const size_t c1 = t.find(':'), c2 = c1 == std::string::npos ? c1 : t.find(':', c1 + 1);
      if (c2 == std::string::npos || !ParseNumber(t.substr(0, c1), range.from) ||
          !ParseNumber(t.substr(c1 + 1, c2 - c1 - 1), range.to) || !ParseNumber(t.substr(c2 + 1), range.step) ||
          range.to < range.from || range.step <= 0 || (range.to - range.from) / range.step > 100000)
        return BadArgs(err, "--shift-range takes FROM:TO:STEP, FROM <= TO, STEP above 0");
      withShift = true;
    } else if (a.rfind("--", 0) == 0) {
      return BadArgs(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.empty()) return BadArgs(err, "rfactor needs a sheet");
  if (files.size() > 2) return BadArgs(err, "rfactor takes one or two sheets");
  if (withShift && files.size() < 2) return BadArgs(err, "--shift-range needs a second sheet");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  Form_Worksheet a, b;
  if (a.OpenWorksheet(files[0]) != 0) return 1;
  if (files.size() > 1 && b.OpenWorksheet(files[1]) != 0) return 1;

  long energy = RFactorEnergyColumn(a);
  if (!energyText.empty()) {
    energy = SheetColumnArg(a, energyText);
    if (energy < 0) {
      err << "svbatch: " << files[0] << " has no column " << energyText << "\n";
      return 1;
    }
  }
  std::vector<long> cols;
  if (colsText.empty()) {
    for (long c = 1; c < a.Cols(); ++c)
      if (a.Record(c).Typ == kTypY && c != energy) cols.push_back(c);
  } else {
    size_t start = 0;
    while (start <= colsText.size()) {
      size_t comma = colsText.find(',', start);
      if (comma == std::string::npos) comma = colsText.size();
      const std::string one = colsText.substr(start, comma - start);
      const long c = SheetColumnArg(a, one);
      if (c < 0) {
        err << "svbatch: " << files[0] << " has no column " << one << "\n";
        return 1;
      }
      cols.push_back(c);
      start = comma + 1;
    }
  }
  if (s.pendry && energy < 0) {
    err << "svbatch: " << files[0] << " has no energy column\n";
    return 1;
  }
  if (cols.empty()) {
    err << "svbatch: no intensity columns to compare\n";
    return 1;
  }

  out << RFactorReportHead(s);
  if (files.size() == 1) {
    out << RFactorPairsReport(a, energy, cols, s);
    return cols.size() >= 2 ? 0 : 1;
  }
  if (RFactorEnergyColumn(b) < 0) {
    err << "svbatch: " << files[1] << " has no energy column\n";
    return 1;
  }
  out << RFactorBeamsReport(a, energy, cols, b, range, withShift, s);
  return 0;
}

}  // namespace sv::cli
