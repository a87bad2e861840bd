#include "cli/batch.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "cli/batch_devices.h"
#include "cli/batch_experiment.h"
#include "cli/batch_film.h"
#include "cli/batch_film_edit.h"
#include "cli/batch_film_scan.h"
#include "cli/batch_filters.h"
#include "cli/batch_auger.h"
#include "cli/batch_fit.h"
#include "cli/batch_rfactor.h"
#include "cli/batch_growth.h"
#include "cli/batch_grab.h"
#include "cli/batch_host.h"
#include "cli/batch_image_op.h"
#include "cli/batch_images.h"
#include "cli/batch_lines.h"
#include "cli/batch_particles.h"
#include "cli/batch_links.h"
#include "cli/batch_plot.h"
#include "cli/batch_record.h"
#include "cli/batch_run.h"
#include "cli/batch_scan.h"
#include "cli/batch_script.h"
#include "cli/batch_script_run.h"
#include "cli/batch_calibrate.h"
#include "cli/batch_column.h"
#include "cli/batch_sheets.h"
#include "cli/batch_trigger.h"
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
         "  help        this text\n" +
         GrabUsage() + ImageUsage() + ImageOpUsage() + FiltersUsage() + SheetUsage() + ColumnUsage() + PlotUsage() + ScanUsage() + LinesUsage() + ParticlesUsage() + FitUsage() + RFactorUsage() + GrowthUsage() + AugerUsage() +
         DevicesUsage() + LinksUsage() + ExperimentUsage() + RunUsage() + TriggerUsage() + FilmUsage() + FilmEditUsage() + FilmScanUsage() +
         RecordUsage() + CalibrateUsage() + ScriptUsage() + ScriptRunUsage();
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
  if (cmd == "grabbers") return GrabbersCommand(args, out, err);
  if (cmd == "image-info") return ImageInfo(args, out, err);
  if (cmd == "image-convert") return ImageConvert(args, out, err);
  if (cmd == "image-op") return ImageOpCommand(args, out, err);
  if (cmd == "filters") return FiltersCommand(args, out, err);
  if (cmd == "grab") return GrabCommand(args, out, err);
  if (cmd == "scan") return ScanCommand(args, out, err);
  if (cmd == "calibrate") return CalibrateCommand(args, out, err);
  if (cmd == "sheet-info") return SheetInfo(args, out, err);
  if (cmd == "sheet-export") return SheetExport(args, out, err);
  if (cmd == "sheet-import") return SheetImport(args, out, err);
  if (cmd == "sheet-convert") return SheetConvert(args, out, err);
  if (cmd == "column") return ColumnCommand(args, out, err);
  if (cmd == "plot-export") return PlotExportCommand(args, out, err);
  if (cmd == "lines") return LinesCommand(args, out, err);
  if (cmd == "particles") return ParticlesCommand(args, out, err);
  if (cmd == "fit") return FitCommand(args, out, err);
  if (cmd == "rfactor") return RFactorCommand(args, out, err);
  if (cmd == "growth") return GrowthCommand(args, out, err);
  if (cmd == "auger") return AugerCommand(args, out, err);
  if (cmd == "devices") return DevicesCommand(args, out, err);
  if (cmd == "ad-read") return AdReadCommand(args, out, err);
  if (cmd == "da-set") return DaSetCommand(args, out, err);
  if (cmd == "handshake-send") return HandshakeSendCommand(args, out, err);
  if (cmd == "link-serve") return LinkServeCommand(args, out, err);
  if (cmd == "swp-info") return SwpInfoCommand(args, out, err);
  if (cmd == "swp-check") return SwpCheckCommand(args, out, err);
  if (cmd == "trigger-wait") return TriggerWaitCommand(args, out, err);
  if (cmd == "run") return RunCommand(args, out, err);
  if (cmd == "recover") return RecoverCommand(args, out, err);
  if (cmd == "film-info") return FilmInfoCommand(args, out, err);
  if (cmd == "film-repair") return FilmRepairCommand(args, out, err);
  if (cmd == "film-export") return FilmExportCommand(args, out, err);
  if (cmd == "film-import") return FilmImportCommand(args, out, err);
  if (cmd == "film-scan") return FilmScanCommand(args, out, err);
  if (cmd == "record") return RecordCommand(args, out, err);
  if (cmd == "script-check") return ScriptCheckCommand(args, out, err);
  if (cmd == "script") return ScriptRunCommand(args, out, err);
  return BadCommandLine(err, "unknown command " + cmd);
}

}  // namespace sv::cli
