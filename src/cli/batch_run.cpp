#include "cli/batch_run.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/calibration_settings.h"
#include "analysis/energy_hooks.h"
#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "cli/batch.h"
#include "cli/batch_experiment.h"
#include "cli/batch_host.h"
#include "cli/batch_plot_session.h"
#include "core/first_start.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "experiment/experiment_run.h"
#include "experiment/experiment_settings.h"
#include "experiment/form_experiment.h"
#include "experiment/run_journal.h"
#include "experiment/shutter.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

constexpr int32_t kRowPrintInterval = 500;  // ms
constexpr long kMostSteps = 1000000000;

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

struct RunOptions {
  std::string sweep, out, par, ini;
  int type = -1;  // -1: I(E) with a sweep file, else I(t)
  bool saveXY = false;
  long maxSteps = 0;
};

int ParseRunOptions(const std::vector<std::string>& args, RunOptions& o, std::ostream& err) {
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue =
        a == "--out" || a == "--type" || a == "--par" || a == "--ini" || a == "--max-steps";
    if (takesValue && i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
    if (a == "--out") {
      o.out = args[++i];
    } else if (a == "--par") {
      o.par = args[++i];
    } else if (a == "--ini") {
      o.ini = args[++i];
    } else if (a == "--type") {
      const std::string& v = args[++i];
      if (v != "it" && v != "ie") return BadCommandLine(err, "--type takes it or ie, not " + v);
      o.type = v == "it" ? kExperimentIt : kExperimentIE;
    } else if (a == "--max-steps") {
      const std::string& v = args[++i];
      char* end = nullptr;
      o.maxSteps = std::strtol(v.c_str(), &end, 10);
      if (v.empty() || *end != '\0' || o.maxSteps < 1 || o.maxSteps > kMostSteps)
        return BadCommandLine(err, "--max-steps takes a number of rows from 1");
    } else if (a == "--save-xy") {
      o.saveXY = true;
    } else if (a.rfind("--", 0) == 0) {
      return BadCommandLine(err, "unknown option " + a);
    } else if (o.sweep.empty()) {
      o.sweep = a;
    } else {
      return BadCommandLine(err, "run takes one sweep file");
    }
  }
  if (o.type < 0) o.type = o.sweep.empty() ? kExperimentIt : kExperimentIE;
  return 0;
}

// The host of a run: Ctrl-C and SIGTERM press the form's stop button at the
// next yield; the handshake's "Try again?" is answered Retry until a stop
// was asked for, then Cancel.
class RunHost : public BatchHost {
 public:
  explicit RunHost(std::ostream& err) : BatchHost(err) {
    SetStopAction([this] {
      if (!form || stopping_ || StopCode() != 0) return;
      stopping_ = true;
      form->Command_Stop();
      stopping_ = false;
    });
  }
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    const MsgResult answer = BatchHost::MsgBox(text, buttons, icon, title);
    if (buttons == MsgButtons::RetryCancel && StopRequested()) return MsgResult::Cancel;
    return answer;
  }
  Form_Experiment* form = nullptr;

 private:
  bool stopping_ = false;
};

// The workbench as start-up leaves it, without a window: settings read from
// the ini file, the devices started, the documents registered. All of it
// goes again at the end; nothing is written back to the settings.
class RunSession {
 public:
  RunSession(std::ostream& err, const std::string& ini) : host(err), scope_(&host) {
    ResetGlobals();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    ReadExperimentSetup(host, ini, [] {
      InstallGrabberEnvironment();
      InstallHardwareEnvironment();
      InstallShutter();
      InstallEnergyHooks();
      InstallCalibration();
    });
    Globals& g = G();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
    LV().SaveBackground = nullptr;
    ChooseSimulatedDevices(StartKind::Batch, false, false);
    if (!StartGrabber(g.GrabberName))
      err << "svbatch: the grabber " << GrabberDisplayNameOf(g.GrabberName)
          << " did not come up\n";
    for (auto [name, start] : {std::pair{g.IOName, &IOStart}, std::pair{g.DAName, &DAStart},
                               std::pair{g.ADName, &ADStart}})
      if (!name.empty() && !start(name)) err << "svbatch: " << name << " did not come up\n";
  }
  ~RunSession() {
    GrabberClose();
    GrabberUnload();
    IOStop();
    DAStop();
    ADStop();
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    SetMainForm(nullptr);
    ResetLiveGlobals();
    ResetHardware();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetExperimentSettings();
  }
  RunSession(const RunSession&) = delete;
  RunSession& operator=(const RunSession&) = delete;

  RunHost host;

 private:
  HostScope scope_;  // before the main form, which goes first

 public:
  MDIForm_Main main;
};

// The run's row and end events for the length of one run.
class HookScope {
 public:
  HookScope() : row_(RunRowHook()), end_(RunEndHook()) {}
  ~HookScope() {
    RunRowHook() = row_;
    RunEndHook() = end_;
  }
  HookScope(const HookScope&) = delete;
  HookScope& operator=(const HookScope&) = delete;

 private:
  std::function<void(const RunRow&)> row_;
  std::function<void(const RunEnd&)> end_;
};

// "StopCode 10007 Experiment canceled by user"; the codes without a text of
// their own (0, -1, 1, 9999) stand alone.
std::string StopCodeLine(int code) {
  std::string line = "StopCode " + std::to_string(code);
  switch (code) {
    case kErrNoMemory:
    case kErrEndOfClip:
    case kErrExperimentCanceled:
    case kErrImageFull:
    case kErrMaxRows:
    case kErrRdyTimeOut: line += " " + ErrorText(code); break;
    default: break;
  }
  return line;
}

// Whether the last step was the run's last by its definition: the end of
// an I(t) run's time, of the sweep list, or of the energy range (where the
// loop puts the energy back to the start).
bool FileExists(const std::string& path) {
  std::error_code ec;
  return std::filesystem::exists(path, ec);
}

}  // namespace

std::string RunUsage() {
  return "  run [FILE.swp] [--out SHEET.sht] [--type it|ie] [--par WINDOWS.par]\n"
         "      [--ini FILE] [--save-xy] [--max-steps N]\n"
         "              runs the experiment the settings define (section \"I(T) I(E)\",\n"
         "              windows, lines, A/D channels, shutter) on the configured\n"
         "              devices, the dummies unless set otherwise; FILE.swp gives the\n"
         "              energies (its first one is the start), --type as for swp-info\n"
         "              (I(E) with a sweep file, else I(t)), --par the windows,\n"
         "              --save-xy the X.max and Y.max columns, --max-steps ends the\n"
         "              run after N rows. Ctrl-C or SIGTERM stops it as the dialog's\n"
         "              Stop does. Prints \"row N, time T s[, energy E eV]\" at most\n"
         "              twice a second once the row is safe in the journal, then\n"
         "              \"N Records saved to PATH\" and \"StopCode C[ TEXT]\". The sheet\n"
         "              goes to SHEET.sht or under the run's own name in the worksheet\n"
         "              folder; exit 0 when saved, 1 when the run did not start or\n"
         "              its sheet could not be saved (the journal then keeps the rows)\n"
         "  recover JOURNAL OUT.sht\n"
         "              the sheet of a run's journal (SHEET.sht.jnl beside the sheet a\n"
         "              run was writing): every complete row, the columns and the\n"
         "              curves; prints \"N rows recovered to OUT.sht\"; the journal is\n"
         "              kept; exit 1 for a file that is no journal\n";
}

int RunCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  RunOptions o;
  if (int code = ParseRunOptions(args, o, err)) return code;
  for (const auto& [path, what] : {std::pair{o.ini, "ini file"}, std::pair{o.sweep, "sweep file"},
                                   std::pair{o.par, "parameter file"}})
    if (!path.empty() && !std::filesystem::is_regular_file(path)) {
      err << "svbatch: no " << what << " " << path << "\n";
      return 1;
    }

  ClearStopRequest();
  InstallStopHandler();
  TerminateScope terminate;
  RunSession session(err, o.ini);
  Form_Experiment form;
  session.host.form = &form;
  struct FormScope {
    RunHost& host;
    ~FormScope() { host.form = nullptr; }
  } formScope{session.host};

  if (!o.par.empty() && !WindowsLoad(o.par)) {
    err << "svbatch: cannot read " << o.par << "\n";
    return 1;
  }
  form.LoadControls();
  form.Option_Experiment_Click(o.type);
  if (!o.sweep.empty()) {
    if (!form.OpenSweepFile(o.sweep)) return 1;  // its message is out
    form.Check_UserSweep = true;
    form.Check_UserSweep_Click();
    if (o.type == kExperimentIE && !form.List_Sweep.empty()) form.Text_EStart = form.List_Sweep[0];
  }
  if (o.saveXY) form.Check_SaveXY = true;
  // The command line saves the sheet itself, where it was asked to.
  form.Check_AutoSave = false;
  form.Control_Click();
  form.Command_Accept();
  if (form.AcceptPending()) {
    err << "svbatch: the definition was not accepted; the run did not start\n";
    return 1;
  }

  HookScope hooks;
  bool ended = false, printed = false;
  RunEnd end;
  uint32_t lastPrint = 0;
  RunRowHook() = [&](const RunRow& r) {
    const uint32_t now = session.host.TimeGetTime();
    if (printed && SV_SubTime(now, lastPrint) < kRowPrintInterval) return;
    printed = true;
    lastPrint = now;
    out << "row " << r.row << ", time " << ShortestFloatText(float(r.seconds)) << " s";
    if (r.ie) out << ", energy " << ShortestFloatText(float(r.energy)) << " eV";
    out << "\n" << std::flush;
  };
  RunEndHook() = [&](const RunEnd& e) {
    ended = true;
    end = e;
  };
  // A row limit leaves the loop after that row, as one step does.
  form.StepLimit = o.maxSteps;
  form.Command_Start(0);
  form.StepLimit = 0;
  session.host.SetStopAction(nullptr);
  if (!ended) {
    err << "svbatch: the run did not start\n";
    return 1;
  }

  // The sheet is written in any case: where it was asked to go, else under
  // the run's own name. Its journal goes once it is on disk.
  Form_Worksheet* sheet = form.Worksheet();
  const std::string& runPath = end.sheetPath;
  const std::string target = o.out.empty() ? runPath : o.out;
  bool saved = end.saved && o.out.empty();
  if (!saved && sheet && !target.empty()) saved = sheet->SaveWorksheet(target) == 0;
  const std::string journal = RunJournal::PathFor(runPath);
  if (saved) {
    if (!runPath.empty() && FileExists(journal)) ::unlink(journal.c_str());
    out << end.rows << " Records saved to " << target << "\n";
  } else {
    err << "svbatch: the sheet was not saved";
    if (!runPath.empty() && FileExists(journal)) err << "; its rows are kept in " << journal;
    err << "\n";
  }
  out << StopCodeLine(end.stopCode) << "\n" << std::flush;
  return saved ? 0 : 1;
}

int RecoverCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 3 || args[1].rfind("--", 0) == 0 || args[2].rfind("--", 0) == 0)
    return BadCommandLine(err, "recover takes a JOURNAL and an OUT.sht");
  const std::string& path = args[1];
  const std::string& target = args[2];
  std::string error;
  const auto journal = ReadJournal(path, error);
  if (!journal) {
    err << "svbatch: " << error << "\n";
    return 1;
  }
  if (JournalLocked(path))
    err << "svbatch: " << path << " belongs to a run that is still going; its rows so far\n";
  const std::string notes = JournalReadNotes(*journal);
  if (!notes.empty()) err << "svbatch: " << path << ": " << notes << "\n";

  PlotSession session(err);
  Form_Worksheet sheet;
  if (!RebuildSheet(*journal, sheet)) {
    err << "svbatch: the rows of " << path << " do not fit into a worksheet\n";
    return 1;
  }
  if (sheet.SaveWorksheet(target) != 0) return 1;  // the message is out
  out << journal->rows.size() << " rows recovered to " << target << "\n";
  return 0;
}

}  // namespace sv::cli
