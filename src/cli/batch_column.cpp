#include "cli/batch_column.h"

#include <map>

#include "analysis/calibration_settings.h"
#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/calibration.h"
#include "plot/column_math_plot.h"
#include "plot/plot_documents.h"
#include "worksheet/column_math.h"
#include "worksheet/form_simple_math.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

// "A:B" or "A": a range of whole numbers.
bool ParseRange(const std::string& text, long& from, long& to) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) {
    if (!ParseWhole(text, from)) return false;
    to = from;
  } else if (!ParseWhole(text.substr(0, colon), from) ||
             !ParseWhole(text.substr(colon + 1), to)) {
    return false;
  }
  return from >= 1 && to >= from;
}

// The command's surroundings: the batch host, fresh globals, the plots of
// sheet files and the hooks of the column arithmetic.
class ColumnScope {
 public:
  explicit ColumnScope(std::ostream& err) : host_(err), scope_(&host_) {
    ResetGlobals();
    RegisterPlotDocuments(main_);
    InstallColumnMathPlots();
    ColumnHooks().calIntensity = [](float x) { return ZCal().Count > 0 ? TableValue(x) : x; };
  }
  ~ColumnScope() {
    ColumnHooks() = ColumnMathHooks();
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    CloseCalibration();
  }
  ColumnScope(const ColumnScope&) = delete;
  ColumnScope& operator=(const ColumnScope&) = delete;

 private:
  BatchHost host_;
  HostScope scope_;
  MDIForm_Main main_;
};

int Refused(std::ostream& err, const std::string& why) {
  err << "svbatch: column: " << why << "\n";
  return 1;
}

}  // namespace

std::string ColumnUsage() {
  return "  column SHEET.sht --op NAME [--col N] [args] --out OUT.sht\n"
         "              column arithmetic on the current column N (data columns from\n"
         "              1, by number, name or label; default 1), saved as OUT.sht:\n"
         "              fkt --index I [--lut FILE.lut]   function I of the Functions menu\n"
         "              differentiate | integrate        a new column beside N\n"
         "              smooth --degree D [--new] [--cols A:B]\n"
         "              sort [--descending] [--key-only] [--rows A:B]\n"
         "              fft                              OUT is the transform's sheet\n"
         "              simple --y NAME --y1 NAME --y2 NAME --operator + - * / ^\n";
}

int ColumnCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  std::map<std::string, std::string> opt;
  bool fresh = false, descending = false, keyOnly = false;
  static const char* kValued[] = {"--op",   "--col",   "--out", "--index", "--lut", "--degree",
                                  "--cols", "--rows",  "--y",   "--y1",    "--y2",  "--operator"};
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    bool valued = false;
    for (const char* v : kValued) valued = valued || a == v;
    if (valued) {
      if (i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
      opt[a] = args[++i];
    } else if (a == "--new") {
      fresh = true;
    } else if (a == "--descending") {
      descending = true;
    } else if (a == "--key-only") {
      keyOnly = true;
    } else if (a.rfind("--", 0) == 0) {
      return BadArgs(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 1) return BadArgs(err, "column takes one sheet");
  if (!opt.count("--op")) return BadArgs(err, "column needs --op");
  if (!opt.count("--out")) return BadArgs(err, "column needs --out");
  const std::string op = opt["--op"];
  static const char* kOps[] = {"fkt",  "differentiate", "integrate", "smooth",
                               "sort", "fft",           "simple"};
  bool known = false;
  for (const char* o : kOps) known = known || op == o;
  if (!known) return BadArgs(err, "unknown --op " + op);

  long index = 0, degree = 0, first = 0, last = 0;
  if (op == "fkt" && (!opt.count("--index") || !ParseWhole(opt["--index"], index)))
    return BadArgs(err, "fkt needs --index I");
  if (op == "smooth" && (!opt.count("--degree") || !ParseWhole(opt["--degree"], degree)))
    return BadArgs(err, "smooth needs --degree D");
  if (op == "smooth" && (degree < 1 || degree > kMaxSmoothDegree))
    return BadArgs(err, "--degree takes 1 to 100");
  if (opt.count("--cols") && !ParseRange(opt["--cols"], first, last))
    return BadArgs(err, "--cols takes A:B");
  long rowFirst = 1, rowLast = -1;
  if (opt.count("--rows") && !ParseRange(opt["--rows"], rowFirst, rowLast))
    return BadArgs(err, "--rows takes A:B");
  long opIndex = -1;
  if (op == "simple") {
    if (!opt.count("--y") || !opt.count("--y1") || !opt.count("--y2") || !opt.count("--operator"))
      return BadArgs(err, "simple needs --y, --y1, --y2 and --operator");
    const auto& ops = SimpleMathOperators();
    for (size_t k = 0; k < ops.size(); ++k)
      if (ops[k] == opt["--operator"]) opIndex = long(k);
    if (opIndex < 0) return BadArgs(err, "--operator takes + - * / ^");
  }

  ColumnScope scope(err);
  Form_Worksheet sheet;
  if (sheet.OpenWorksheet(files[0]) != 0) return 1;
  long col = 1;
  if (opt.count("--col")) {
    col = SheetColumnArg(sheet, opt["--col"]);
    if (col < 0) return Refused(err, "no column " + opt["--col"]);
  }
  if (col >= sheet.Cols()) return Refused(err, "the sheet has no data column");
  sheet.Col(col);
  if (opt.count("--lut")) {
    const long code = LoadCalibrationTable(opt["--lut"], ZCal());
    if (code != 0) return Refused(err, LutErrorText(opt["--lut"]));
  }

  long done = 0;
  Form_Worksheet fft;
  Form_Worksheet* result = &sheet;
  if (op == "fkt") {
    done = Functions(sheet, col, index);
  } else if (op == "differentiate") {
    done = Differentiate(sheet);
  } else if (op == "integrate") {
    done = Integrate(sheet);
  } else if (op == "smooth") {
    if (opt.count("--cols")) {
      if (last >= sheet.Cols()) return Refused(err, "no columns " + opt["--cols"]);
      sheet.SetSelection(0, first, sheet.Rows() - 1, last);
    } else {
      sheet.SetSelection(-1, -1, -1, -1);
    }
    done = Smooth(sheet, degree, fresh);
  } else if (op == "sort") {
    if (rowLast < 0) rowLast = sheet.Rows() - 1;
    sheet.SetSelection(rowFirst, col, rowLast, col);
    done = Sort(sheet, descending ? 1 : 0, keyOnly ? 1 : 0);
  } else if (op == "fft") {
    done = CalcFFTInto(sheet, fft) ? 1 : 0;
    result = &fft;
  } else if (op == "simple") {
    done = SimpleMath(sheet, opt["--y"], opt["--y1"], opt["--y2"], opIndex);
  }
  if (!done) return Refused(err, op + " had nothing to work on or was refused");
  if (result->SaveWorksheet(opt["--out"]) != 0) return 1;
  out << opt["--out"] << ": " << result->Rows() - 1 << " rows, " << result->Cols() - 1
      << " columns";
  if (result->Plots() > 0) out << ", " << result->Plots() << " plot";
  out << "\n";
  return 0;
}

}  // namespace sv::cli
