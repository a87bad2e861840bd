#include "cli/batch_lines.h"

#include <cstdlib>
#include <filesystem>

#include "analysis/form_line_setup.h"
#include "analysis/scan_lines.h"
#include "analysis/window_tools.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

// The profile of one line as a table: location, then the intensity (or the
// three channels).
void PrintProfile(std::ostream& out, const ScanLine& line) {
  const LineGlobals& g = LG();
  const size_t planes = g.ProfileColour ? 3 : 1;
  const size_t n = g.Profile.size() / planes;
  out << "Line " << (&line - g.ScanLines.data()) + 1 << ": (" << line.X1 << "," << line.Y1
      << ")-(" << line.X2 << "," << line.Y2 << ") Thickness " << line.Thickness
      << " Averaging " << line.Averaging << " Points " << n << "\n";
  out << kLocationColumn << (g.ProfileColour ? "\tRed\tGreen\tBlue" : "\tintensity (a.u.)")
      << "\n";
  for (size_t i = 0; i < n; ++i) {
    out << ShortNumber(LineLocation(line, long(n), long(i)));
    for (size_t c = 0; c < planes; ++c) out << "\t" << ShortNumber(g.Profile[c * n + i]);
    out << "\n";
  }
}

}  // namespace

std::string LinesUsage() {
  return "  lines IMAGE [--ini FILE] [--line N]\n"
         "              reads the profile of every enabled line of the ini file\n"
         "              (the workbench's own when none is given), or of line N,\n"
         "              1 to 8, on the image as one frame, and prints each as a\n"
         "              table: location in pixels along the line, intensity\n";
}

int LinesCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string imagePath, iniPath;
  long only = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--ini" || a == "--line";
    if (takesValue && i + 1 >= args.size()) return Bad(err, a + " needs a value");
    if (a == "--ini") {
      iniPath = args[++i];
    } else if (a == "--line") {
      const std::string& text = args[++i];
      char* end = nullptr;
      only = std::strtol(text.c_str(), &end, 10);
      if (text.empty() || *end != '\0' || only < 1 || only > kLineCount)
        return Bad(err, "--line takes 1 to 8, not " + text);
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else if (imagePath.empty()) {
      imagePath = a;
    } else {
      return Bad(err, "lines takes one image");
    }
  }
  if (imagePath.empty()) return Bad(err, "lines needs an IMAGE");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  ResetLineGlobals();
  struct Scope {
    ~Scope() { ResetLineGlobals(); }
  } linesBack;

  std::error_code ec;
  if (!std::filesystem::is_regular_file(imagePath, ec)) {
    err << "svbatch: no image " << imagePath << "\n";
    return 1;
  }
  if (!iniPath.empty()) {
    if (!std::filesystem::is_regular_file(iniPath, ec)) {
      err << "svbatch: no ini file " << iniPath << "\n";
      return 1;
    }
    LinesLoad(iniPath);
  } else {
    Globals& g = G();
    g.UserIniName = batchHost.UserName();
    g.IniFile = FormIniFile(batchHost.ProgramFolder(), g.UserIniName);
    RegisterLineSettings();
    ReadSettings(nullptr);
  }
  Form_Camera image(nullptr);
  if (!ImageOpenDo(image, imagePath) || !image.ImagePtr()) {
    err << "svbatch: cannot read " << imagePath << "\n";
    return 1;
  }

  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  int read = 0, bad = 0;
  for (int n = 0; n < kLineCount; ++n) {
    ScanLine& line = LG().ScanLines[size_t(n)];
    if (only != 0 ? n != only - 1 : line.Enabled != 1) continue;
    if (read + bad > 0) out << "\n";
    if (LineIsInvalid(line, iw, ih)) {
      out << InvalidLineText(n) << "\n";
      ++bad;
      continue;
    }
    // A stored image is one frame.
    line.Averaging = 1;
    if (!LineBufferAlloc(line, LinePointCount(line), image.HasColors()) ||
        !LineScan(line, image)) {
      out << "Line " << n + 1 << ": " << kNoMemoryText << "\n";
      ++bad;
      continue;
    }
    PrintProfile(out, line);
    LineBufferFree(line);
    ++read;
  }
  if (read + bad == 0) {
    err << "svbatch: no enabled line" << (iniPath.empty() ? "" : " in " + iniPath) << "\n";
    return 1;
  }
  return bad == 0 ? 0 : 1;
}

}  // namespace sv::cli
