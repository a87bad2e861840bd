#include "cli/batch.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "cli/batch_host.h"
#include "cli/batch_images.h"
#include "cli/batch_scan.h"
#include "cli/batch_sheets.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "image/kernel/sv_kernel.h"

#ifndef SV_PROGRAM_VERSION
#define SV_PROGRAM_VERSION "0.0.0"
#endif

namespace sv::cli {

namespace {

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

int Version(std::ostream& out) {
  KernelVersion k = SV_version();
  out << "SV4200 " << SV_PROGRAM_VERSION << "\n"
      << "kernel " << int(k.major) << "." << int(k.minor) << "." << int(k.patch) << "\n";
  return 0;
}

int Settings(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string ini, user;
  bool haveIni = false, haveUser = false, verbose = false, slave = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--ini" || a == "--user") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      (a == "--ini" ? ini : user) = args[++i];
      (a == "--ini" ? haveIni : haveUser) = true;
    } else if (a == "--verbose") {
      verbose = true;
    } else if (a == "--slave") {
      slave = true;
    } else {
      return BadCommandLine(err, "unknown option " + a);
    }
  }

  BatchHost batchHost(err, verbose);
  HostScope scope(&batchHost);
  ResetGlobals();
  ResetGrabberGlobals();
  Globals& g = G();
  g.SlaveMode = slave;
  g.UserIniName = haveUser ? user : batchHost.UserName();
  g.IniFile = haveIni ? ini : FormIniFile(batchHost.ProgramFolder(), g.UserIniName);
  InstallGrabberEnvironment();
  ReadSettings(nullptr);
  for (const auto& line : DescribeSettings()) out << line << "\n";
  for (const auto& line : DescribeGrabberSettings()) out << line << "\n";
  return 0;
}

// The driver table and the capture devices of this machine.
int Grabbers(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() > 1) return BadCommandLine(err, "grabbers takes no options");
  auto row = [&](const std::string& number, const std::string& stem, const std::string& name,
                 const std::string& available) {
    char line[512];
    std::snprintf(line, sizeof line, "%-7s %-16s %-28s %s\n", number.c_str(), stem.c_str(),
                  name.c_str(), available.c_str());
    out << line;
  };
  row("driver", "stem", "display name", "available");
  for (const auto& d : GrabberDriverTable())
    row(std::to_string(d.number), d.stem.empty() ? "-" : d.stem, d.displayName,
        d.available ? "yes" : "no");
  const auto devices = CaptureDriverEntries();
  for (const auto& d : devices)
    row(std::to_string(d.number), d.stem, d.displayName, d.available ? "yes" : "no");
  if (devices.empty()) out << "no capture devices found\n";
  return 0;
}

bool ParseLong(const std::string& text, long& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') return false;
  value = v;
  return true;
}

// One frame, or an average, from the configured grabber (the simulated
// camera when none is configured), written to a file.
int GrabCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string path;
  long filter = 0, average = 1;
  bool subtract = false, haveEnergy = false;
  double energy = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--out" || a == "--filter" || a == "--average" || a == "--energy";
    if (takesValue && i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
    if (a == "--out") {
      path = args[++i];
    } else if (a == "--filter") {
      if (!ParseLong(args[++i], filter) || filter < 1 || filter > 12)
        return BadCommandLine(err, "--filter takes 1 to 12");
    } else if (a == "--average") {
      if (!ParseLong(args[++i], average) || average < kAverageMin || average > kAverageMax)
        return BadCommandLine(err, "--average takes 2 to 8192");
    } else if (a == "--energy") {
      char* end = nullptr;
      const std::string& text = args[++i];
      energy = std::strtod(text.c_str(), &end);
      if (text.empty() || *end != '\0' || !std::isfinite(energy))
        return BadCommandLine(err, "--energy takes a number of eV");
      haveEnergy = true;
    } else if (a == "--subtract-background") {
      subtract = true;
    } else {
      return BadCommandLine(err, "unknown option " + a);
    }
  }
  if (path.empty()) return BadCommandLine(err, "grab needs --out FILE");
  if (filter == 0 && ImageFilterForPath(path) == 0)
    return BadCommandLine(err, "the extension of " + path + " names no image format; give --filter N");

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  ResetGrabberGlobals();
  ResetLiveGlobals();
  Globals& g = G();
  g.UserIniName = batchHost.UserName();
  g.IniFile = FormIniFile(batchHost.ProgramFolder(), g.UserIniName);
  InstallGrabberEnvironment();
  ReadSettings(nullptr);
  if (g.GrabberName.empty()) g.GrabberName = "DummyGrb";
  if (haveEnergy) g.ElectronEnergy = float(energy);
  g.NoiseReduction = false;  // one frame stands on its own
  g.SubtractBackground = subtract ? -1 : 0;

  MDIForm_Main main;
  SetMainForm(&main);
  struct MainScope {
    ~MainScope() {
      GrabberClose();
      GrabberUnload();
      ResetLiveGlobals();
      SetMainForm(nullptr);
    }
  } mainScope;
  RegisterImageDocuments(main);
  LV().SaveBackground = nullptr;
  if (!StartGrabber(g.GrabberName)) {
    err << "svbatch: the grabber " << GrabberDisplayNameOf(g.GrabberName)
        << " did not come up\n";
    return 1;
  }
  Form_Camera* image = PreviewImage(&main);
  if (!image) {
    err << "svbatch: no image for the frame\n";
    return 1;
  }
  if (subtract) {
    if (auto* bg = dynamic_cast<Form_Camera*>(main.CreateImage())) g.BackgroundImageHandle = bg->Handle();
    LoadBackgroundImage();
    if (!g.BackgroundValid) {
      err << "svbatch: no background image in " << BackgroundFilePath() << "\n";
      return 1;
    }
  }
  const bool ok = average > 1 ? Average(*image, average) : sv::Grab(*image) >= 0;
  if (!ok) {
    err << "svbatch: no frame came from " << GrabberDisplayNameOf(g.GrabberName) << "\n";
    return 1;
  }
  if (!GrabWriter()) {
    err << "svbatch: no image writer is built in; the frame was not saved\n";
    return 1;
  }
  if (!GrabWriter()(*image, path, int(filter))) {
    err << "svbatch: cannot write " << path << "\n";
    return 1;
  }
  out << path << ": " << image->ImageWidth() << " x " << image->ImageHeight() << ", "
      << image->ImageBitsPerPixel() << " bits" << (image->HasColors() ? ", colour" : "")
      << ", " << (average > 1 ? std::to_string(average) + " frames" : std::string("1 frame"))
      << " from " << GrabberDisplayNameOf(g.GrabberName) << " at " << g.ElectronEnergy
      << " eV" << (subtract ? ", background subtracted" : "") << "\n";
  return 0;
}

}  // namespace

std::function<bool(Form_Camera&, const std::string& path, int filter)>& GrabWriter() {
  static std::function<bool(Form_Camera&, const std::string&, int)> writer =
      [](Form_Camera& image, const std::string& path, int filter) {
        return ImageSaveDo(image, path, filter ? filter : ImageFilterForPath(path));
      };
  return writer;
}

std::string Usage() {
  return "usage: svbatch <command> [options]\n"
         "commands:\n"
         "  version     the program's and the kernel's versions\n"
         "  settings [--ini FILE] [--user NAME] [--slave] [--verbose]\n"
         "              the settings as the workbench reads them at start, one\n"
         "              Section/Key=value a line; a FILE without a folder is\n"
         "              looked for in the config folder\n"
         "  grabbers    the grabber drivers: number, stem, display name and whether\n"
         "              it can come up here, then the capture devices found\n"
         "  grab --out FILE [--filter N] [--average N] [--subtract-background] [--energy EV]\n"
         "              one frame, or the average of N (2 to 8192), from the configured\n"
         "              grabber (the simulated camera when none is set) at the given\n"
         "              electron energy, minus the background image if asked, saved\n"
         "              with filter N (1 to 12; default from the file's extension)\n"
         "  help        this text\n" +
         ImageUsage() + SheetUsage() + ScanUsage();
}

int RunBatch(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty() || args[0] == "help" || args[0] == "--help" || args[0] == "-h") {
    out << Usage();
    return 0;
  }
  const std::string& cmd = args[0];
  if (cmd == "version") {
    if (args.size() > 1) return BadCommandLine(err, "version takes no options");
    return Version(out);
  }
  if (cmd == "settings") return Settings(args, out, err);
  if (cmd == "grabbers") return Grabbers(args, out, err);
  if (cmd == "image-info") return ImageInfo(args, out, err);
  if (cmd == "image-convert") return ImageConvert(args, out, err);
  if (cmd == "grab") return GrabCommand(args, out, err);
  if (cmd == "scan") return ScanCommand(args, out, err);
  if (cmd == "sheet-info") return SheetInfo(args, out, err);
  if (cmd == "sheet-export") return SheetExport(args, out, err);
  if (cmd == "sheet-import") return SheetImport(args, out, err);
  if (cmd == "sheet-convert") return SheetConvert(args, out, err);
  return BadCommandLine(err, "unknown command " + cmd);
}

}  // namespace sv::cli
