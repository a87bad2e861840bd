// svbatch record: the image recorder without its dialog. The settings are
// read as at start (the recorder's section "Experiment VTR" among them); the
// command line's options go into the dialog's controls, Accept and Start do
// the rest. The questions about an existing film are answered by --append
// and --replace; Ctrl-C and SIGTERM press Stop.
#include "cli/batch_record.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "cli/batch.h"
#include "cli/batch_experiment.h"
#include "cli/batch_host.h"
#include "core/error_table.h"
#include "core/first_start.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "experiment/experiment_settings.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "plot/plot_documents.h"
#include "video/compress_options.h"
#include "video/form_image_vtr.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

namespace sv::cli {

namespace {

constexpr long kMostFrames = 1000000000;

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

enum class Existing { Default, Append, Replace };

struct RecordOptions {
  std::string film, sheet, ini, codec;
  bool ie = false, flush = false;
  double eStart = 0, eStop = 0, eStep = 0;
  long frames = 0, average = 1;
  int sources = -1;
  Existing existing = Existing::Default;
};

bool Number(const std::string& text, double& value) {
  char* end = nullptr;
  value = std::strtod(text.c_str(), &end);
  return !text.empty() && *end == '\0';
}

bool Whole(const std::string& text, long lo, long hi, long& value) {
  char* end = nullptr;
  value = std::strtol(text.c_str(), &end, 10);
  return !text.empty() && *end == '\0' && value >= lo && value <= hi;
}

int Parse(const std::vector<std::string>& args, RecordOptions& o, std::ostream& err) {
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const auto need = [&](size_t n) { return i + n < args.size(); };
    if (a == "--ie") {
      if (!need(3)) return BadCommandLine(err, "--ie needs START STOP STEP");
      if (!Number(args[i + 1], o.eStart) || !Number(args[i + 2], o.eStop) ||
          !Number(args[i + 3], o.eStep) || o.eStep == 0)
        return BadCommandLine(err, "--ie takes three numbers, the step not 0");
      o.ie = true;
      i += 3;
    } else if (a == "--frames" || a == "--average" || a == "--sources") {
      if (!need(1)) return BadCommandLine(err, a + " needs a value");
      long v = 0;
      const std::string& t = args[++i];
      if (a == "--frames" && !Whole(t, 1, kMostFrames, o.frames))
        return BadCommandLine(err, "--frames takes a number from 1");
      if (a == "--average") {
        if (!Whole(t, 1, 256, v) || (v & (v - 1)) != 0)
          return BadCommandLine(err, "--average takes 1, 2, 4 .. 256");
        o.average = v;
      }
      if (a == "--sources") {
        if (!Whole(t, 0, kVideoSourceModes - 1, v)) return BadCommandLine(err, "--sources takes 0 to 4");
        o.sources = int(v);
      }
    } else if (a == "--codec" || a == "--sheet" || a == "--ini") {
      if (!need(1)) return BadCommandLine(err, a + " needs a value");
      const std::string& v = args[++i];
      if (a == "--codec") {
        if (v != "lossless" && v != "view") return BadCommandLine(err, "--codec takes lossless or view");
        o.codec = v;
      } else {
        (a == "--sheet" ? o.sheet : o.ini) = v;
      }
    } else if (a == "--append" || a == "--replace") {
      if (o.existing != Existing::Default) return BadCommandLine(err, "--append or --replace, not both");
      o.existing = a == "--append" ? Existing::Append : Existing::Replace;
    } else if (a == "--flush") {
      o.flush = true;
    } else if (a.rfind("--", 0) == 0) {
      return BadCommandLine(err, "unknown option " + a);
    } else if (o.film.empty()) {
      o.film = a;
    } else {
      return BadCommandLine(err, "record takes one film");
    }
  }
  if (o.film.empty()) return BadCommandLine(err, "record needs OUT.vid or OUT.avi");
  if (o.ie && o.frames > 0) return BadCommandLine(err, "--ie or --frames, not both");
  return 0;
}

// Messages go to the error stream; the questions about an existing film
// take the answer of --append or --replace: by default a film is appended
// to where it can be, and left alone where it cannot.
class RecordHost : public BatchHost {
 public:
  RecordHost(std::ostream& err, Existing existing) : BatchHost(err), existing_(existing) {
    SetStopAction([this] {
      if (form && StopCode() == 0) form->Command_Stop();
    });
  }
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    if (title == kSaveVideoTitle) {
      BatchHost::MsgBox(text, MsgButtons::OK, icon, title);
      const bool replace = existing_ == Existing::Replace;
      if (buttons == MsgButtons::YesNoCancel) return replace ? MsgResult::No : MsgResult::Yes;
      refused = !replace;
      return replace ? MsgResult::OK : MsgResult::Cancel;
    }
    return BatchHost::MsgBox(text, buttons, icon, title);
  }
  Form_ImageVTR* form = nullptr;
  bool refused = false;

 private:
  Existing existing_;
};

class RecordSession {
 public:
  RecordSession(std::ostream& err, const std::string& ini, Existing existing)
      : host(err, existing), scope_(&host) {
    ResetGlobals();
    ResetGrabberGlobals();
    ResetLiveGlobals();
    ResetVTRSettings();
    ReadExperimentSetup(host, ini, [] {
      InstallGrabberEnvironment();
      InstallHardwareEnvironment();
      RegisterVTRSettings();
    });
    Globals& g = G();
    SetMainForm(&main);
    RegisterImageDocuments(main);
    RegisterWorksheetDocuments(main);
    RegisterPlotDocuments(main);
    LV().SaveBackground = nullptr;
    ChooseSimulatedDevices(StartKind::Batch, false, false);
    if (g.DAName.empty()) g.DAName = "DummyDA";
    if (!StartGrabber(g.GrabberName))
      err << "svbatch: the grabber " << GrabberDisplayNameOf(g.GrabberName) << " did not come up\n";
    for (auto [name, start] : {std::pair{g.DAName, &DAStart}, std::pair{g.ADName, &ADStart}})
      if (!name.empty() && !start(name)) err << "svbatch: " << name << " did not come up\n";
  }
  ~RecordSession() {
    ClearCompressOptions();
    GrabberClose();
    GrabberUnload();
    DAStop();
    ADStop();
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
    SetMainForm(nullptr);
    ResetLiveGlobals();
    ResetHardware();
    ResetExperimentSettings();
    ResetVTRSettings();
  }
  RecordSession(const RecordSession&) = delete;
  RecordSession& operator=(const RecordSession&) = delete;

  RecordHost host;

 private:
  HostScope scope_;

 public:
  MDIForm_Main main;
};

}  // namespace

std::string RecordUsage() {
  return "  record OUT.vid|OUT.avi [--ie START STOP STEP | --frames N] [--average N]\n"
         "      [--sources MODE] [--append|--replace] [--flush] [--codec lossless|view]\n"
         "      [--sheet OUT.sht] [--ini FILE]\n"
         "              the image recorder on the configured grabber (the simulated\n"
         "              camera unless set) and D/A (the dummy when none): an I(E)\n"
         "              sweep, or N I(t) records as fast as frames come (else the\n"
         "              recorder's settings); --average sums N frames into one,\n"
         "              --sources 0 to 4 the inputs and films, --flush flushes each\n"
         "              frame. An existing film is appended to where it can be\n"
         "              (--append), or replaced (--replace); one that cannot be\n"
         "              appended to is left untouched with exit 1. Prints\n"
         "              \"NAME: N frames, W x H, B bit\" for each film\n";
}

int RecordCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  RecordOptions o;
  if (int code = Parse(args, o, err)) return code;
  if (!o.ini.empty() && !std::filesystem::is_regular_file(o.ini)) {
    err << "svbatch: no ini file " << o.ini << "\n";
    return 1;
  }
  ClearStopRequest();
  InstallStopHandler();
  TerminateScope terminate;
  RecordSession session(err, o.ini, o.existing);
  // AVI films take the codec named, else that of "Compress.opt", else
  // lossless: the command line shows no chooser.
  if (!SelectCompressCodec(o.codec)) {
    err << "svbatch: no codec " << o.codec << "\n";
    return 1;
  }
  Form_ImageVTR form;
  session.host.form = &form;
  struct FormScope {
    RecordHost& host;
    ~FormScope() { host.form = nullptr; }
  } formScope{session.host};

  form.LoadControls();
  if (o.ie) {
    form.Option_Experiment = kExperimentIE;
    form.Text_EStart = std::to_string(o.eStart);
    form.Text_EStop = std::to_string(o.eStop);
    form.Text_EStep = std::to_string(o.eStep);
    form.Check_UserSweep = false;
  } else if (o.frames > 0) {
    // As fast as frames come, until the count is reached.
    form.Option_Experiment = kExperimentIt;
    form.Text_tStart = form.Text_tStep = form.Text_tStop = form.Text_DwellTime = "0";
    form.Check_UserSweep = false;
  }
  form.Combo_Average = 0;
  for (long n = o.average; n > 1; n /= 2) ++form.Combo_Average;
  if (o.sources >= 0) {
    if (!form.Ctl_Option_VideoSource[size_t(o.sources)].Enabled) {
      err << "svbatch: the grabber has not the inputs of source mode " << o.sources << "\n";
      return 1;
    }
    form.Option_VideoSource = o.sources;
  }
  if (o.flush) form.Check_FlushBuffer = true;
  form.Check_AutoSave = false;
  form.Text_File = o.film;
  form.Text_File_Change();
  form.Command_Accept();
  form.StepLimit = o.frames;
  form.Command_Start();
  session.host.SetStopAction(nullptr);

  const std::vector<std::string>& names = form.FilmNames();
  const bool started = !form.Video.empty() && names.size() == form.Video.size() && !session.host.refused;
  if (!started) {
    err << "svbatch: the recording did not start\n";
    return 1;
  }
  for (size_t f = 0; f < names.size(); ++f)
    out << names[f] << ": " << form.FrameIndex[f] << " frames, " << form.Video[f]->Width() << " x "
        << form.Video[f]->Height() << ", " << form.FilmBits() << " bit\n";
  if (!o.sheet.empty()) {
    Form_Worksheet* sheet = form.Worksheet();
    if (!sheet || sheet->SaveWorksheet(o.sheet, true) != 0) {
      err << "svbatch: cannot save " << o.sheet << "\n";
      return 1;
    }
  }
  const int code = form.LastError();
  return code == 0 || code == kErrExperimentCanceled ? 0 : 1;
}

}  // namespace sv::cli
