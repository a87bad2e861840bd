#include "cli/batch_sheets.h"

#include <sys/stat.h>

#include <cstdlib>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

bool ParseCount(const std::string& text, long low, long high, long& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || v < low || v > high) return false;
  value = v;
  return true;
}

// One command's surroundings: the batch host, fresh globals, and the plot
// library registered so that sheet files with plots load.
class SheetScope {
 public:
  explicit SheetScope(std::ostream& err) : host_(err), scope_(&host_) {
    ResetGlobals();
    RegisterPlotDocuments(main_);
  }
  ~SheetScope() {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  SheetScope(const SheetScope&) = delete;
  SheetScope& operator=(const SheetScope&) = delete;

 private:
  BatchHost host_;
  HostScope scope_;
  MDIForm_Main main_;
};

std::string Shape(const Form_Worksheet& sheet) {
  return std::to_string(sheet.Rows() - 1) + " rows, " + std::to_string(sheet.Cols() - 1) +
         " columns";
}

bool Exists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

}  // namespace

std::string SheetUsage() {
  return "  sheet-info FILE\n"
         "              a worksheet's rows, its columns (name, role, label) and its\n"
         "              plots (title, axis ranges, curves as X/Y column numbers)\n"
         "  sheet-export FILE OUT.dat [--all]\n"
         "              the worksheet as tab-separated text with a header line\n"
         "  sheet-import IN OUT.sht [--delimiter C|tab|space] [--header-lines N]\n"
         "              [--fixed WIDTH] [--as replace|columns|rows]\n"
         "              reads a text file into a worksheet (columns and rows are\n"
         "              added to OUT.sht when it exists) and saves it\n"
         "  sheet-convert IN.MOS OUT.sht\n"
         "              a .MOS spectrum as a worksheet\n";
}

int SheetInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2) return Bad(err, "sheet-info takes one file");
  SheetScope scope(err);
  Form_Worksheet sheet;
  if (sheet.OpenWorksheet(args[1]) != 0) return 1;
  out << "file: " << args[1] << "\n"
      << "rows: " << sheet.Rows() - 1 << "\n"
      << "columns: " << sheet.Cols() - 1 << "\n";
  for (long c = 1; c < sheet.Cols(); ++c) {
    const ColumnRecord& rec = sheet.Record(c);
    out << "column " << c << ": " << rec.Name << " " << TypIDLabel(rec.Typ);
    if (!rec.Label.empty()) out << " " << rec.Label;
    out << "\n";
  }
  out << "plots: " << sheet.Plots() << "\n";
  for (long i = 0; i < sheet.Plots(); ++i) {
    auto* plot = dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(i)));
    if (!plot) continue;
    out << "plot " << i + 1 << ": " << plot->TitleText() << "\n"
        << "  x axis: " << FormatNumber(plot->XAxis.From) << " to "
        << FormatNumber(plot->XAxis.To) << " " << plot->XLabelText() << "\n"
        << "  y axis: " << FormatNumber(plot->YAxis.From) << " to "
        << FormatNumber(plot->YAxis.To) << " " << plot->YLabelText() << "\n";
    const auto& curves = plot->CurveRecords();
    for (size_t k = 0; k < curves.size(); ++k)
      out << "  curve " << k + 1 << ": x " << curves[k].XCol << ", y " << curves[k].YCol
          << " " << curves[k].Legend << "\n";
  }
  return 0;
}

int SheetExport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  bool all = false;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--all") all = true;
    else if (args[i].rfind("--", 0) == 0) return Bad(err, "unknown option " + args[i]);
    else files.push_back(args[i]);
  }
  if (files.size() != 2) return Bad(err, "sheet-export takes FILE and OUT");
  SheetScope scope(err);
  Form_Worksheet sheet;
  if (sheet.OpenWorksheet(files[0]) != 0) return 1;
  if ((all ? sheet.ExportAll(files[1]) : sheet.Export(files[1])) != 0) return 1;
  out << files[1] << ": " << Shape(sheet) << "\n";
  return 0;
}

int SheetImport(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::vector<std::string> files;
  int delimiter = 0, importAs = 0, structure = 0;
  long headerLines = 0, width = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue =
        a == "--delimiter" || a == "--header-lines" || a == "--fixed" || a == "--as";
    if (takesValue && i + 1 >= args.size()) return Bad(err, a + " needs a value");
    if (a == "--delimiter") {
      const std::string& v = args[++i];
      if (v == "tab") delimiter = 0;
      else if (v == "space") delimiter = ' ';
      else if (v.size() == 1) delimiter = static_cast<unsigned char>(v[0]);
      else return Bad(err, "--delimiter takes one character, tab or space");
    } else if (a == "--header-lines") {
      if (!ParseCount(args[++i], 0, 32767, headerLines))
        return Bad(err, "--header-lines takes 0 to 32767");
    } else if (a == "--fixed") {
      if (!ParseCount(args[++i], 1, 32767, width)) return Bad(err, "--fixed takes 1 to 32767");
      structure = 1;
    } else if (a == "--as") {
      const std::string& v = args[++i];
      if (v == "replace") importAs = 0;
      else if (v == "columns") importAs = 1;
      else if (v == "rows") importAs = 2;
      else return Bad(err, "--as takes replace, columns or rows");
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return Bad(err, "sheet-import takes IN and OUT");
  SheetScope scope(err);
  Form_Worksheet sheet;
  // Columns and rows go into the sheet that is there.
  if (importAs != 0 && Exists(files[1]) && sheet.OpenWorksheet(files[1]) != 0) return 1;
  sheet.Structure = structure;
  sheet.Delimiter = delimiter;
  sheet.ColWidthText = structure ? std::to_string(width) : "";
  sheet.Header = headerLines > 0 ? 1 : 0;
  sheet.HeaderLines = int(headerLines);
  sheet.ImportAs = importAs;
  sheet.UnknownColumns = 1;
  sheet.RenameColumns = 1;
  sheet.RenameWorksheet = 0;
  if (sheet.Import(files[0]) != 0) return 1;
  if (sheet.SaveWorksheet(files[1]) != 0) return 1;
  out << files[1] << ": " << Shape(sheet) << "\n";
  return 0;
}

int SheetConvert(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 3) return Bad(err, "sheet-convert takes IN.MOS and OUT.sht");
  SheetScope scope(err);
  Form_Worksheet sheet;
  if (sheet.OpenMOS(args[1]) != 0) return 1;
  if (sheet.SaveWorksheet(args[2]) != 0) return 1;
  out << args[2] << ": " << Shape(sheet) << "\n";
  return 0;
}

}  // namespace sv::cli
