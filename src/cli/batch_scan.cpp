#include "cli/batch_scan.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "analysis/calibration_settings.h"
#include "analysis/form_window_setup.h"
#include "analysis/scan_windows.h"
#include "cli/batch_calibrate.h"
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

// The report's CR LF as the lines of this platform.
std::string PlainLines(const std::string& text) {
  std::string lines;
  lines.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    lines += text[i];
  }
  return lines;
}

}  // namespace

std::string ScanUsage() {
  return "  scan IMAGE --par FILE.par [--window N] [--energy EV] [--lut FILE.lut]\n"
         "              evaluates every valid window of the parameter file (or\n"
         "              window N, 1 to 8) on the image as one frame and prints\n"
         "              each report; with EV, windows whose size follows the\n"
         "              energy take their size at EV eV around their centre;\n"
         "              the intensity calibration of the settings applies, or\n"
         "              with --lut that table, switched on\n";
}

int ScanCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string imagePath, parPath, lutPath;
  long window = 0;
  bool haveEnergy = false;
  double energy = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--par" || a == "--window" || a == "--energy" || a == "--lut";
    if (takesValue && i + 1 >= args.size()) return Bad(err, a + " needs a value");
    if (a == "--par") {
      parPath = args[++i];
    } else if (a == "--lut") {
      lutPath = args[++i];
    } else if (a == "--window") {
      const std::string& text = args[++i];
      char* end = nullptr;
      window = std::strtol(text.c_str(), &end, 10);
      if (text.empty() || *end != '\0' || window < 1 || window > kWindowCount)
        return Bad(err, "--window takes 1 to 8, not " + text);
    } else if (a == "--energy") {
      const std::string& text = args[++i];
      char* end = nullptr;
      energy = std::strtod(text.c_str(), &end);
      if (text.empty() || *end != '\0' || !std::isfinite(energy) || energy <= 0)
        return Bad(err, "--energy takes a number of eV above 0, not " + text);
      haveEnergy = true;
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else if (imagePath.empty()) {
      imagePath = a;
    } else {
      return Bad(err, "scan takes one image");
    }
  }
  if (imagePath.empty()) return Bad(err, "scan needs an IMAGE");
  if (parPath.empty()) return Bad(err, "scan needs --par FILE.par");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  Globals& g = G();
  g.UserIniName = batchHost.UserName();
  g.IniFile = FormIniFile(batchHost.ProgramFolder(), g.UserIniName);
  // The shape option is the workbench's own setting; the intensity
  // calibration is read with the rest.
  InstallCalibration();
  ReadSettings(nullptr);
  if (!lutPath.empty() && !LoadLutArg(lutPath, err)) return 1;
  ResetWindowGlobals();
  struct Scope {
    ~Scope() { ResetWindowGlobals(); }
  } windowsBack;

  std::error_code ec;
  if (!std::filesystem::is_regular_file(imagePath, ec)) {
    err << "svbatch: no image " << imagePath << "\n";
    return 1;
  }
  if (!std::filesystem::is_regular_file(parPath, ec)) {
    err << "svbatch: no parameter file " << parPath << "\n";
    return 1;
  }
  Form_Camera image(nullptr);
  if (!ImageOpenDo(image, imagePath) || !image.ImagePtr()) {
    err << "svbatch: cannot read " << imagePath << "\n";
    return 1;
  }
  if (!WindowsLoad(parPath)) {
    err << "svbatch: cannot read " << parPath << "\n";
    return 1;
  }

  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  int reported = 0;
  for (int i = 0; i < kWindowCount; ++i) {
    if (window != 0 && i != window - 1) continue;
    ScanWindow& w = WG().ScanWindows[size_t(i)];
    if (haveEnergy && w.DynamicSize == 1) {
      // The size at that energy, around the window's centre, slid inside.
      WindowCenterFromHome(w);
      WindowSizeFromEnergy(w, float(energy));
      if (w.W > 0 && w.H > 0 && w.W <= iw && w.H <= ih) {
        WindowUpdateRect(w, iw, ih);
        w.X1 = w.CurX1;
        w.Y1 = w.CurY1;
      }
    }
    if (WindowIsInvalid(w, iw, ih)) {
      if (window != 0) {
        err << "svbatch: window " << window << " of " << parPath << " does not fit the "
            << iw << " x " << ih << " image\n";
        return 1;
      }
      continue;
    }
    // A stored image is one frame.
    w.Averaging = 1;
    if (!WindowEvaluate(w, image)) {
      err << "svbatch: window " << i + 1 << " could not be evaluated\n";
      return 1;
    }
    bool moved = false;
    const std::string report = WindowReport(w, image, moved);
    if (reported > 0) out << "\n";
    out << "Window " << i + 1 << "\n" << PlainLines(report) << "\n";
    ++reported;
  }
  if (reported == 0) {
    err << "svbatch: no window of " << parPath << " fits the " << iw << " x " << ih
        << " image\n";
    return 1;
  }
  return 0;
}

}  // namespace sv::cli
