#include "cli/batch.h"

#include <cstdio>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "cli/batch_host.h"
#include "cli/batch_images.h"
#include "core/globals.h"
#include "core/settings.h"
#include "image/kernel/sv_kernel.h"

#ifndef SV_PROGRAM_VERSION
#define SV_PROGRAM_VERSION "0.0.0"
#endif

namespace sv::cli {

namespace {

// Makes a host the process host for the length of one command.
class HostScope {
 public:
  explicit HostScope(Host* h) : previous_(HasHost() ? &host() : nullptr) { SetHost(h); }
  ~HostScope() { SetHost(previous_); }
  HostScope(const HostScope&) = delete;
  HostScope& operator=(const HostScope&) = delete;

 private:
  Host* previous_;
};

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

}  // namespace

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
         "  help        this text\n" +
         ImageUsage();
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
  return BadCommandLine(err, "unknown command " + cmd);
}

}  // namespace sv::cli
