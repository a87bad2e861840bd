#include "cli/batch_plot.h"

#include <sys/stat.h>

#include <QByteArray>
#include <QGuiApplication>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "paint/plot_export.h"
#include "plot/form_plot.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

constexpr long kMaxSide = 32767;  // pixels of a side
constexpr long kMaxDpi = 2400;

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

// A whole number written as digits, with an optional sign.
std::optional<long> WholeNumber(const std::string& text) {
  if (text.empty() || text.size() > 12) return std::nullopt;
  size_t i = text[0] == '-' || text[0] == '+' ? 1 : 0;
  if (i == text.size()) return std::nullopt;
  for (size_t k = i; k < text.size(); ++k)
    if (!std::isdigit(static_cast<unsigned char>(text[k]))) return std::nullopt;
  return std::strtol(text.c_str(), nullptr, 10);
}

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return s;
}

// Qt's drawing system for this command only, on the offscreen platform
// whatever the environment asks for. A program that has one already (a
// test, the workbench) keeps it.
class GuiScope {
 public:
  GuiScope() {
    if (QCoreApplication::instance()) return;
    const QByteArray previous = qgetenv("QT_QPA_PLATFORM");
    const bool hadPlatform = qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    previousHandler_ = qInstallMessageHandler(Quiet);
    app_ = std::make_unique<QGuiApplication>(argc_, argv_);
    if (hadPlatform) qputenv("QT_QPA_PLATFORM", previous);
    else qunsetenv("QT_QPA_PLATFORM");
  }
  ~GuiScope() {
    if (!app_) return;
    app_.reset();
    qInstallMessageHandler(previousHandler_);
  }
  GuiScope(const GuiScope&) = delete;
  GuiScope& operator=(const GuiScope&) = delete;

 private:
  // Qt's notes about the session (no runtime folder, no display) are no
  // business of the command's user.
  static void Quiet(QtMsgType, const QMessageLogContext&, const QString&) {}

  int argc_ = 1;
  char name_[8] = "svbatch";
  char* argv_[2] = {name_, nullptr};
  QtMessageHandler previousHandler_ = nullptr;
  std::unique_ptr<QGuiApplication> app_;
};

// The command's surroundings: the batch host, fresh globals, and the plot
// library registered so that the sheet's plots come back as plots.
class PlotScope {
 public:
  explicit PlotScope(std::ostream& err) : host_(err), scope_(&host_) {
    ResetGlobals();
    RegisterPlotDocuments(main_);
  }
  ~PlotScope() {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  PlotScope(const PlotScope&) = delete;
  PlotScope& operator=(const PlotScope&) = delete;

 private:
  BatchHost host_;
  HostScope scope_;
  MDIForm_Main main_;
};

Form_Plot* PlotAt(const Form_Worksheet& sheet, long index) {
  return dynamic_cast<Form_Plot*>(sheet.FindPlot(sheet.PlotWindowHwnd(index)));
}

// --plot: the 1-based place in the file, or the plot's name (the NAME of
// its caption "SHEET.SHT (NAME)"), exactly or else in any case.
Form_Plot* FindPlot(const Form_Worksheet& sheet, const std::string& which) {
  if (const std::optional<long> n = WholeNumber(which); n && *n >= 1 && *n <= sheet.Plots())
    return PlotAt(sheet, *n - 1);
  for (long i = 0; i < sheet.Plots(); ++i)
    if (Form_Plot* p = PlotAt(sheet, i); p && p->PlotName() == which) return p;
  for (long i = 0; i < sheet.Plots(); ++i)
    if (Form_Plot* p = PlotAt(sheet, i); p && Lower(p->PlotName()) == Lower(which)) return p;
  return nullptr;
}

long FileSize(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 ? long(st.st_size) : -1;
}

}  // namespace

std::string PlotUsage() {
  return "  plot-export SHEET.sht OUT.png|OUT.svg|OUT.pdf [--plot N|NAME]\n"
         "              [--width PX --height PX | --dpi N]\n"
         "              draws a plot stored in a sheet file (the first, the Nth, or\n"
         "              the one named NAME) into a picture of PX pixels (SVG and PDF\n"
         "              at 96 a inch), or onto an A4 page in landscape at N dots\n"
         "              per inch (150 when not given)\n";
}

int PlotExportCommand(const std::vector<std::string>& args, std::ostream& out,
                      std::ostream& err) {
  std::vector<std::string> files;
  std::string which = "1";
  std::optional<long> width, height, dpi;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--plot" || a == "--width" || a == "--height" || a == "--dpi";
    if (takesValue && i + 1 >= args.size()) return Bad(err, a + " needs a value");
    if (a == "--plot") {
      which = args[++i];
      const std::optional<long> n = WholeNumber(which);
      if (which.empty()) return Bad(err, "--plot needs a number or a name");
      if (n && *n <= 0) return Bad(err, "--plot counts the plots from 1");
    } else if (a == "--width" || a == "--height" || a == "--dpi") {
      const long high = a == "--dpi" ? kMaxDpi : kMaxSide;
      const std::optional<long> n = WholeNumber(args[++i]);
      if (!n || *n < 1 || *n > high)
        return Bad(err, a + " takes a whole number from 1 to " + std::to_string(high));
      (a == "--width" ? width : a == "--height" ? height : dpi) = *n;
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 2) return Bad(err, "plot-export takes SHEET and OUT");
  const std::string& sheetPath = files[0];
  const std::string& outPath = files[1];
  if (paint::ExportKind(outPath).empty())
    return Bad(err, "OUT must end in .png, .svg or .pdf: " + outPath);
  if (width.has_value() != height.has_value())
    return Bad(err, "--width and --height go together");
  if (width && dpi) return Bad(err, "give --width and --height or --dpi, not both");

  PlotScope scope(err);
  Form_Worksheet sheet;
  // A sheet that does not open has said why through the host.
  if (sheet.OpenWorksheet(sheetPath) != 0) return 1;
  Form_Plot* plot = FindPlot(sheet, which);
  if (!plot) {
    err << "svbatch: " << sheetPath << " has no plot " << which << " (it has "
        << sheet.Plots() << ")\n";
    return 1;
  }
  PlotExportSize size;
  if (width) {
    size.width = int(*width);
    size.height = int(*height);
  }
  if (dpi) size.dpi = int(*dpi);

  GuiScope gui;
  std::string error;
  if (!paint::ExportPlot(*plot, outPath, size, error)) {
    err << "svbatch: " << error << "\n";
    return 1;
  }
  out << outPath << ": " << FileSize(outPath) << " bytes\n";
  return 0;
}

}  // namespace sv::cli
