#include "cli/batch_film_scan.h"

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>

#include "acquisition/live.h"
#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "experiment/experiment_run.h"
#include "experiment/experiment_settings.h"
#include "experiment/film_source.h"
#include "experiment/form_experiment.h"
#include "experiment/run_journal.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "plot/plot_documents.h"
#include "video/form_soft_vtr.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

bool ParseFloat(const std::string& text, float& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  value = std::strtof(text.c_str(), &end);
  return *end == '\0' && std::isfinite(value);
}

// Everything a scan sets up goes again at its end.
class ScanSession {
 public:
  explicit ScanSession(std::ostream& err) : host_(err), scope_(&host_), mode_(GrabMode()) {
    ResetGlobals();
    ResetLiveGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetExperimentSettings();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
  }
  ~ScanSession() {
    player.CloseVideo();
    GrabMode() = mode_;
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    SetMainForm(nullptr);
    ResetLiveGlobals();
    ResetWindowGlobals();
    ResetLineGlobals();
    ResetExperimentSettings();
  }
  ScanSession(const ScanSession&) = delete;
  ScanSession& operator=(const ScanSession&) = delete;

 private:
  BatchHost host_;
  HostScope scope_;
  int mode_;

 public:
  MDIForm_Main main;
  Form_SoftVTR player;  // goes before the main window that holds its picture
};

class RunEndScope {
 public:
  RunEndScope() : end_(RunEndHook()) {}
  ~RunEndScope() { RunEndHook() = end_; }
  RunEndScope(const RunEndScope&) = delete;
  RunEndScope& operator=(const RunEndScope&) = delete;

 private:
  std::function<void(const RunEnd&)> end_;
};

}  // namespace

std::string FilmScanUsage() {
  return "  film-scan FILE --par WINDOWS.par --out SHEET.sht [--energy-range E0 E1]\n"
         "              a run of the experiment with the film as camera over the windows\n"
         "              WINDOWS.par selects: I(E) when the film has an \"energy (eV)\"\n"
         "              column (by default from its lowest to its highest energy, so\n"
         "              every frame counts; E0 and E1 either way round), else I(t) over\n"
         "              all frames; prints \"SHEET.sht: R rows\"\n";
}

int FilmScan(const FilmScanOptions& o, long& rows, std::ostream& err) {
  rows = 0;
  ScanSession s(err);
  std::error_code ec;
  const std::filesystem::path outPath = std::filesystem::absolute(o.out, ec);
  // The run's journal goes beside the sheet and away again once it is saved.
  G().SheetsPath = outPath.parent_path().string() + "/";
  if (!WindowsLoad(o.par)) {
    err << "svbatch: cannot read " << o.par << "\n";
    return 1;
  }
  G().SubtractBackground = 0;
  if (!s.player.OpenVideo(o.film)) {
    err << "svbatch: cannot open the film " << o.film << "\n";
    return 1;
  }
  GrabMode() = kGrabModeVTR;
  const bool ie = s.player.EnergyCol >= 0;
  ExperimentSettings& es = ES();
  es.ExperimentType = int16_t(ie ? kExperimentIE : kExperimentIt);
  es.tStart = es.tStop = es.tStep = 0;
  es.DwellTime = 0;
  es.UserSweep = 0;
  es.SweepFile.clear();
  es.SelectedChannels.clear();
  if (ie) {
    if (o.rangeGiven) {
      es.EStart = o.eStart;
      es.EStop = o.eStop;
    } else {
      Form_SoftVTR::ClipRange range;
      s.player.PlotClipRange(range);
      es.EStart = range.eMin;
      es.EStop = range.eMax;
    }
  }
  Form_Experiment form;
  form.LoadControls();
  form.Option_Experiment_Click(ie ? kExperimentIE : kExperimentIt);
  form.Check_AutoSave = false;
  form.Control_Click();
  // The range as set, whatever the dialog's limits on typed energies.
  const float eStart = es.EStart, eStop = es.EStop;
  form.Command_Accept();
  es.EStart = eStart;
  es.EStop = eStop;
  es.tStop = es.tStep = 0;
  es.DwellTime = 0;
  if (form.AcceptPending()) {
    err << "svbatch: the definition was not accepted; the run did not start\n";
    return 1;
  }
  if (es.SelectedWindows.empty()) {
    err << "svbatch: " << o.par << " selects no window\n";
    return 1;
  }
  RunEndScope endScope;
  bool ended = false;
  RunEnd end;
  RunEndHook() = [&](const RunEnd& e) {
    ended = true;
    end = e;
  };
  form.Command_Start(0);
  if (!ended) {
    err << "svbatch: the run did not start\n";
    return 1;
  }
  Form_Worksheet* sheet = form.Worksheet();
  if (!sheet || sheet->SaveWorksheet(o.out) != 0) {
    err << "svbatch: the sheet was not saved\n";
    return 1;
  }
  if (!end.sheetPath.empty()) {
    const std::string journal = RunJournal::PathFor(end.sheetPath);
    if (std::filesystem::exists(journal, ec)) ::unlink(journal.c_str());
    if (end.saved && end.sheetPath != o.out) ::unlink(end.sheetPath.c_str());
  }
  rows = end.rows;
  return 0;
}

int FilmScanCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  FilmScanOptions o;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--par" || a == "--out") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      (a == "--par" ? o.par : o.out) = args[++i];
    } else if (a == "--energy-range") {
      if (i + 2 >= args.size() || !ParseFloat(args[i + 1], o.eStart) ||
          !ParseFloat(args[i + 2], o.eStop))
        return BadCommandLine(err, "--energy-range takes two energies in eV");
      o.rangeGiven = true;
      i += 2;
    } else if (a.rfind("--", 0) == 0) {
      return BadCommandLine(err, "unknown option " + a);
    } else if (o.film.empty()) {
      o.film = a;
    } else {
      return BadCommandLine(err, "film-scan takes one film");
    }
  }
  if (o.film.empty() || o.par.empty() || o.out.empty())
    return BadCommandLine(err, "film-scan needs FILE, --par WINDOWS.par and --out SHEET.sht");
  if (!std::filesystem::is_regular_file(o.film)) {
    err << "svbatch: no film " << o.film << "\n";
    return 1;
  }
  if (!std::filesystem::is_regular_file(o.par)) {
    err << "svbatch: no parameter file " << o.par << "\n";
    return 1;
  }
  long rows = 0;
  if (const int code = FilmScan(o, rows, err)) return code;
  out << o.out << ": " << rows << " rows\n";
  return 0;
}

}  // namespace sv::cli
