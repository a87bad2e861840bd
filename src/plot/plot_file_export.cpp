// File -> Export of a plot: a PNG, SVG or PDF file through the exporter the
// drawing library puts in.
#include <algorithm>
#include <cctype>
#include <string>

#include "core/globals.h"
#include "core/host.h"
#include "plot/form_plot.h"

namespace sv {

namespace {

constexpr const char* kExportTitle = "Export";

struct ExportKindEntry {
  const char* text;
  const char* ext;
};
constexpr ExportKindEntry kExportKinds[] = {
    {"PNG Image", ".png"}, {"SVG Drawing", ".svg"}, {"PDF Document", ".pdf"}};
constexpr int kExportKindCount = int(sizeof(kExportKinds) / sizeof(kExportKinds[0]));

// The dialog remembers its folder and choice for the process.
std::string lastExportFolder;
int lastExportFilter = 1;

std::string ExportFilter() {
  std::string f;
  for (int i = 0; i < kExportKindCount; ++i) {
    if (i > 0) f += "|";
    f += std::string(kExportKinds[i].text) + " (*" + kExportKinds[i].ext + ")|*" +
         kExportKinds[i].ext;
  }
  return f;
}

bool HasExportExtension(const std::string& path) {
  const size_t dot = path.rfind('.');
  const size_t slash = path.find_last_of("/\\");
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
  std::string ext = path.substr(dot);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return std::any_of(std::begin(kExportKinds), std::end(kExportKinds),
                     [&](const ExportKindEntry& k) { return ext == k.ext; });
}

std::string SafeFileName(std::string name) {
  for (char& c : name)
    if (std::string("\\/:*?\"<>|").find(c) != std::string::npos) c = '_';
  return name;
}

}  // namespace

void Form_Plot::FileExport() {
  if (!HasHost()) return;
  FileDialog dlg;
  dlg.title = kExportTitle;
  dlg.filter = ExportFilter();
  dlg.filterIndex = std::clamp(lastExportFilter, 1, kExportKindCount);
  dlg.folder = lastExportFolder.empty() ? G().ExportPath : lastExportFolder;
  dlg.fileName = SafeFileName(PlotName());
  const FileDialogResult r = host().SaveFileDialog(dlg);
  if (r.path.empty()) return;
  const int filter = std::clamp(r.filterIndex, 1, kExportKindCount);
  lastExportFilter = filter;
  std::string path = r.path;
  // Without a known extension the chosen kind gives one.
  if (!HasExportExtension(path)) path += kExportKinds[filter - 1].ext;
  const size_t slash = path.find_last_of("/\\");
  if (slash != std::string::npos) lastExportFolder = path.substr(0, slash + 1);

  std::string error;
  const PlotExporter& exporter = PlotExportSource();
  bool ok = false;
  if (!exporter)
    error = "Plots cannot be exported in this program.";
  else
    ok = exporter(*this, path, PlotExportSize{}, error);
  if (ok) return;
  if (error.empty()) error = "The file could not be written:\r\n" + path;
  host().MsgBox(error, MsgButtons::OK, MsgIcon::Exclamation, kExportTitle);
}

}  // namespace sv
