#include "cli/batch_experiment.h"

#include <charconv>
#include <filesystem>
#include <sstream>

#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "experiment/experiment_settings.h"
#include "experiment/form_experiment.h"
#include "hardware/hardware.h"
#include "plot/plot_documents.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

std::string Single(float value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

std::string IndexList(const std::vector<int16_t>& list) {
  std::string text;
  for (size_t i = 0; i < list.size(); ++i) text += (i ? "," : "") + std::to_string(list[i]);
  return text;
}

std::string OneLine(std::string text) {
  for (char& c : text)
    if (c == '\r' || c == '\n') c = ' ';
  return text;
}

// The batch host whose messages are collected as "title: text" lines (and
// answered with the default button) instead of going to the error stream.
class CollectingHost : public BatchHost {
 public:
  CollectingHost(std::ostream& err, bool collect) : BatchHost(err), collect_(collect) {}
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    if (!collect_) return BatchHost::MsgBox(text, buttons, icon, title);
    lines.push_back(OneLine(title) + ": " + OneLine(text));
    return DefaultAnswer(buttons);
  }
  std::vector<std::string> lines;

 private:
  bool collect_;
};

struct Options {
  std::string file, ini;
  int type = 1;  // I(E)
};

int ParseOptions(const std::vector<std::string>& args, Options& o, std::ostream& err) {
  const std::string& cmd = args[0];
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--type" || a == "--ini") {
      if (i + 1 >= args.size()) return Bad(err, a + " needs a value");
      const std::string& v = args[++i];
      if (a == "--ini") {
        o.ini = v;
      } else if (v == "it" || v == "ie") {
        o.type = v == "it" ? 0 : 1;
      } else {
        return Bad(err, "--type takes it or ie, not " + v);
      }
    } else if (a.rfind("--", 0) == 0) {
      return Bad(err, "unknown option " + a);
    } else if (o.file.empty()) {
      o.file = a;
    } else {
      return Bad(err, cmd + " takes one file");
    }
  }
  if (o.file.empty()) return Bad(err, cmd + " needs a FILE.swp");
  return 0;
}

}  // namespace

void ReadExperimentSetup(Host& host, const std::string& ini, const std::function<void()>& install) {
  ResetHardware();
  ResetWindowGlobals();
  ResetLineGlobals();
  ResetExperimentSettings();
  Globals& g = G();
  g.UserIniName = host.UserName();
  g.IniFile = ini.empty() ? FormIniFile(host.ProgramFolder(), g.UserIniName) : ini;
  install();
  RegisterWindowSettings();
  RegisterLineSettings();
  RegisterExperimentSettings();
  ReadSettings(nullptr);
}

namespace {

// The workbench's state as start-up leaves it: settings of windows, lines,
// devices and the experiment read, the A/D and I/O started, the plot library
// registered. All of it goes again at the end.
class ExperimentSession {
 public:
  ExperimentSession(std::ostream& err, bool collect, const std::string& ini)
      : host(err, collect), scope_(&host) {
    ResetGlobals();
    ReadExperimentSetup(host, ini, [] { InstallHardwareEnvironment(); });
    const Globals& g = G();
    std::string name = g.ADName;
    if (!name.empty()) ADStart(name);
    name = g.IOName;
    if (!name.empty()) IOStart(name);
    RegisterPlotDocuments(main_);
  }
  ~ExperimentSession() {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    IOStop();
    ADStop();
    ResetHardware();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetExperimentSettings();
  }
  ExperimentSession(const ExperimentSession&) = delete;
  ExperimentSession& operator=(const ExperimentSession&) = delete;

  CollectingHost host;

 private:
  HostScope scope_;
  MDIForm_Main main_;
};

void PrintDefinition(const Form_Experiment& form, std::ostream& out) {
  const ExperimentSettings& es = ES();
  out << "Caption=" << form.Caption << "\n"
      << "ExperimentType=" << es.ExperimentType << "\n"
      << "SweepFile=" << es.SweepFile << "\n"
      << "UserSweep=" << es.UserSweep << "\n"
      << "Time=" << es.Time << "\n"
      << "tStart=" << es.tStart << "\n"
      << "tStop=" << es.tStop << "\n"
      << "tStep=" << es.tStep << "\n"
      << "Energy=" << Single(es.Energy) << "\n"
      << "EStart=" << Single(es.EStart) << "\n"
      << "EStop=" << Single(es.EStop) << "\n"
      << "EStep=" << Single(es.EStep) << "\n"
      << "DwellTime=" << Single(es.DwellTime) << "\n"
      << "AutoSave=" << es.AutoSave << "\n"
      << "OnlineExport=" << es.OnlineExport << "\n"
      << "UpdateWorksheet=" << es.UpdateWorksheet << "\n"
      << "FlushBuffer=" << es.FlushBuffer << "\n"
      << "CScanMaxRecords=" << es.CScanMaxRecords << "\n"
      << "SaveXY=" << es.SaveXY << "\n"
      << "MaxAveraging=" << es.MaxAveraging << "\n"
      << "SelectedWindows=" << IndexList(es.SelectedWindows) << "\n"
      << "SelectedWindowCount=" << es.SelectedWindowCount() << "\n"
      << "SelectedLines=" << IndexList(es.SelectedLines) << "\n"
      << "SelectedLineCount=" << es.SelectedLineCount() << "\n"
      << "SelectedChannels=" << IndexList(es.SelectedChannels) << "\n"
      << "SelectedChannelCount=" << es.SelectedChannelCount() << "\n"
      << "TriggerMode=" << es.TriggerMode << "\n"
      << "TriggerSource=" << es.TriggerSource << "\n"
      << "ShutterEnabled=" << ExperimentSettings::ShutterEnabled() << "\n"
      << "ShutterWindow=" << ExperimentSettings::ShutterWindow() << "\n"
      << "ExperimentActive=" << es.ExperimentActive << "\n"
      << "StopCode=" << es.StopCode << "\n";
  for (size_t i = 0; i < form.List_Sweep.size(); ++i)
    out << "Sweep[" << i << "]=" << form.List_Sweep[i] << "\n";
  if (const Form_Worksheet* sheet = form.Worksheet())
    for (long c = 1; c < sheet->Cols(); ++c)
      out << "Column[" << c << "]=" << sheet->ColName(c) << "\n";
}

int Run(const std::vector<std::string>& args, std::ostream& out, std::ostream& err, bool check) {
  Options o;
  if (int code = ParseOptions(args, o, err)) return code;
  std::error_code ec;
  if (!o.ini.empty() && !std::filesystem::is_regular_file(o.ini, ec)) {
    err << "svbatch: no ini file " << o.ini << "\n";
    return 1;
  }
  ExperimentSession session(err, check, o.ini);
  Form_Experiment form;
  form.LoadControls();
  form.Option_Experiment_Click(o.type);
  const bool read = form.OpenSweepFile(o.file);
  form.Check_UserSweep = true;
  form.Check_UserSweep_Click();  // an empty list clears itself
  form.Command_Accept();
  bool started = false;
  if (check) {
    auto keep = ExperimentDoHook();
    ExperimentDoHook() = [&started](int) { started = true; };
    form.Command_Start();
    ExperimentDoHook() = keep;
  }
  PrintDefinition(form, out);
  if (!check) return read ? 0 : 1;
  for (const std::string& line : session.host.lines) out << line << "\n";
  out << "start: " << (started ? "yes" : "no") << "\n";
  return read && started ? 0 : 1;
}

}  // namespace

std::string ExperimentUsage() {
  return "  swp-info FILE.swp [--type it|ie] [--ini FILE]\n"
         "              reads a sweep file into the experiment definition of the\n"
         "              settings (type I(E) unless --type it) as the experiment\n"
         "              dialog's Accept does, and prints the caption, every field\n"
         "              of the definition as Key=value (times in ms, lists of\n"
         "              0-based indices), the sweep points and the run's columns;\n"
         "              exit 1 when the file was refused\n"
         "  swp-check FILE.swp [--type it|ie] [--ini FILE]\n"
         "              the same, then Start's checks: each message the dialog\n"
         "              would show as \"title: text\", and \"start: yes\" or\n"
         "              \"start: no\"; exit 0 only when the file was read whole\n"
         "              and the run could start\n";
}

int SwpInfoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  return Run(args, out, err, false);
}

int SwpCheckCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  return Run(args, out, err, true);
}

}  // namespace sv::cli
