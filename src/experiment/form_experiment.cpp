#include "experiment/form_experiment.h"

#include "experiment/film_source.h"
#include "experiment/sweep_file.h"
#include "experiment/trigger.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "analysis/form_window_setup.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "hardware/energy.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

constexpr double kMaxSeconds = kSweepTimeMax;
constexpr double kMinEnergy = kSweepEnergyMin, kMaxEnergy = kSweepEnergyMax;
constexpr int kTriggerInterval = 200;  // ms
constexpr int kADScanInterval = 500;   // ms

// The shortest text that reads back to the value ("60", "0.5", "20").
std::string NumberText(double value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}
std::string NumberText(float value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

// A field's number: a comma counts as a point; the whole text must be one
// number (blanks around it allowed).
bool FieldNumber(std::string text, double& value) {
  std::replace(text.begin(), text.end(), ',', '.');
  const char* s = text.c_str();
  char* end = nullptr;
  const double v = std::strtod(s, &end);
  if (end == s) return false;
  while (*end == ' ' || *end == '\t') ++end;
  if (*end != '\0' || !std::isfinite(v)) return false;
  value = v;
  return true;
}

std::string BaseName(const std::string& path) {
  const size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The image whose intensity calibration a run uses: the film's picture in
// VTR mode, else the live picture.
Form_Camera* CalibrationImage() {
  if (FilmMode()) return TheFilmSource()->Image();
  return HasHost() ? PreviewImage(MainForm()) : nullptr;
}

int ChannelCount() {
  if (!ADReady()) return 0;
  return int(std::clamp<long>(HW().ADChannelCount, 0, kADChannelMax));
}

}  // namespace

std::function<void(int)>& ExperimentDoHook() {
  static std::function<void(int)> hook;
  return hook;
}

std::function<void()>& ShutterDialogHook() {
  static std::function<void()> hook = [] {};
  return hook;
}

std::string WindowRefusedText(int n) {
  return "Cannot analyse Window #" + std::to_string(n) +
         " in Follow Mode, Repeat Mode or Target Mode during an I(t) experiment.\rWindow is disabled.";
}

std::string IntensityUnit() {
  Form_Camera* image = CalibrationImage();
  const AnalysisHooks& h = Hooks();
  if (image && h.CalibrationOn && h.CalibrationOn(*image) && h.CalibrationUnit) {
    const std::string unit = h.CalibrationUnit(*image);
    if (!unit.empty()) return unit;
  }
  return "I";
}

std::vector<std::string> ExperimentColumnNames(const ExperimentSettings& es,
                                               const std::string& u) {
  std::vector<std::string> names;
  if (es.ExperimentType == kExperimentIE) names.push_back("energy (eV)");
  names.push_back("time (s)");
  for (int16_t i : es.SelectedWindows) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    const std::string n = std::to_string(i + 1);
    const bool less = w.Plot == 4 || w.Plot == 5;
    names.push_back(less ? u + ".max-" + u + ".back_" + n : u + ".max_" + n);
    names.push_back(less ? u + ".total-" + u + ".back_" + n : u + ".total_" + n);
    names.push_back(u + ".back_" + n);
    if (es.SaveXY) {
      names.push_back("X.max_" + n);
      names.push_back("Y.max_" + n);
    }
  }
  for (int16_t c : es.SelectedChannels) names.push_back(HW().ADChannels[size_t(c)].ChannelName);
  return names;
}

Form_Experiment::Form_Experiment() = default;
Form_Experiment::~Form_Experiment() = default;

Form_Experiment& ExperimentForm() {
  static Form_Experiment form;
  return form;
}

void RegisterExperimentForm(MDIForm_Main& main, std::function<void()> show) {
  RegisterExperimentSettings();
  main.SetCommand("mnuExperiment", [show](int) {
    Form_Experiment& form = ExperimentForm();
    if (!form.Visible()) form.Load();
    if (show) show();
  });
}

// --- Opening and closing -------------------------------------------------------

void Form_Experiment::Load() {
  LoadControls();
  visible_ = true;
  std::string folder = G().SheetsPath;
  if (!folder.empty() && folder.back() != '/' && folder.back() != '\\') folder += '/';
  ShowStatus("Default Worksheet Path: " + folder + "*.sht");
  if (!triggerTimer_) triggerTimer_ = host().StartTimer(kTriggerInterval, [this] { Timer_Trigger(); });
  if (!adTimer_) adTimer_ = host().StartTimer(kADScanInterval, [this] { Timer_ADScan(); });
  Timer_Trigger();
  Timer_ADScan();
  Changed();
}

void Form_Experiment::Unload() {
  if (!visible_) return;
  visible_ = false;
  if (triggerTimer_) host().StopTimer(triggerTimer_);
  if (adTimer_) host().StopTimer(adTimer_);
  triggerTimer_ = adTimer_ = 0;
  ExperimentWindowPlace place = ExperimentWindowPlaces().Sheet;
  if (Worksheet() && view_->ReadSheetPlace(place)) {
    ExperimentWindowPlace& kept = ExperimentWindowPlaces().Sheet;
    kept.Left = place.Left;
    kept.Top = place.Top;
    kept.Width = place.Width;
    kept.Height = place.Height;
  }
  if (!running_) ExperimentExit();
  Changed();
}

void Form_Experiment::LoadControls() {
  const ExperimentSettings& es = ES();
  Option_Experiment = es.ExperimentType == kExperimentIt ? kExperimentIt : kExperimentIE;
  Caption = Option_Experiment == kExperimentIt ? "I(t)-Experiment" : "I(E)-Experiment";
  for (Field f : {tStart, tStop, tStep, DwellTime, EStart, EStop, EStep}) Text(f) = HeldText(f);

  // The sweep list is read again from the held file, quietly on no file.
  List_Sweep.clear();
  List_SweepIndex = -1;
  sweepPath_ = es.SweepFile;
  Text_File = BaseName(sweepPath_);
  std::string message;
  if (!sweepPath_.empty() && !OpenSweepFileDo(sweepPath_, Option_Experiment, List_Sweep, message))
    List_Sweep.clear();  // a file gone since is told when it is opened again
  Check_UserSweep = es.UserSweep != 0 && !List_Sweep.empty();

  for (int i = 0; i < kWindowCount; ++i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    Ctl_Check_Window[size_t(i)].Enabled = w.W > 0;
    Check_Window[size_t(i)] = w.Select == 1 && w.W > 0;
    Combo_Plot[size_t(i)] = std::clamp<int>(w.Plot, 0, 5);
  }
  for (int i = 0; i < kLineCount; ++i) {
    const ScanLine& l = LG().ScanLines[size_t(i)];
    Check_Line[size_t(i)] = l.Enabled != 0;
    Check_LPlot[size_t(i)] = l.Plot != 0;
  }
  const int channels = ChannelCount();
  for (int c = 0; c < kADChannelMax; ++c) {
    const ADChannel& ch = HW().ADChannels[size_t(c)];
    Label_AD[size_t(c)] = ch.ChannelName;
    Ctl_Check_AD[size_t(c)].Enabled = c < channels;
    Ctl_Check_AD[size_t(c)].Visible = c < channels;
    Check_AD[size_t(c)] = c < channels && ch.Selected != 0;
    Check_ADPlot[size_t(c)] = ch.Plot != 0;
  }
  Check_SaveXY = es.SaveXY != 0;
  Check_ShutterControl = ES().ShutterEnabled() != 0;
  Option_ShutterControl.fill(false);
  Option_ShutterControl[size_t(std::clamp<int32_t>(ES().ShutterWindow(), 0, kWindowCount - 1))] = true;
  Check_AutoSave = es.AutoSave != 0;
  Check_OnlineExport = es.OnlineExport != 0;
  Check_UpdateWorksheet = es.UpdateWorksheet != 0;
  FillTriggerLists();
  Label_WScans = std::to_string(es.SelectedWindowCount()) + " window(s)";
  Label_LScans = std::to_string(es.SelectedLineCount()) + " line(s)";
  Label_ADScans = std::to_string(es.SelectedChannelCount()) + " A/D-channel(s)";
  Label_avmax = "x" + std::to_string(es.MaxAveraging);
  ShowPictures();
  SetEditState(es.ExperimentActive == kActiveNone);
}

void Form_Experiment::FillTriggerLists() {
  Combo_TriggerModeList = TriggerModeTexts();
  Combo_TriggerSourceList = TriggerSourceTexts();
  const int32_t mode = ES().TriggerMode, source = ES().TriggerSource;
  Combo_TriggerMode = mode >= 0 && mode < int(Combo_TriggerModeList.size()) ? mode : 0;
  Combo_TriggerSource = source >= 0 && source < int(Combo_TriggerSourceList.size()) ? source : -1;
}

void Form_Experiment::ShowPictures() {
  Picture_UserSweep.Visible = Check_UserSweep;
  Picture_SweepTime.Visible = !Check_UserSweep && Option_Experiment == kExperimentIt;
  Picture_SweepEnergy.Visible = !Check_UserSweep && Option_Experiment == kExperimentIE;
}

void Form_Experiment::SetEditState(bool pending) {
  Ctl_Command_Accept.Enabled = pending;
  Ctl_Command_Cancel.Enabled = pending;
  // Measured rows can be gone on with; a fresh start over them goes through
  // Command_New, which asks about them first, or through an accepted edit.
  const Form_Worksheet* sheet = Worksheet();
  const bool goOn = initialised_ && !restart_ && sheet && sheet->Rows() > 1;
  Ctl_Command_Start[0].Enabled = !pending && !goOn;
  Ctl_Command_Start[1].Enabled = !pending && goOn;
}

// --- Fields -----------------------------------------------------------------------

std::string& Form_Experiment::Text(Field f) {
  switch (f) {
    case tStart: return Text_tStart;
    case tStop: return Text_tStop;
    case tStep: return Text_tStep;
    case DwellTime: return Text_DwellTime;
    case EStart: return Text_EStart;
    case EStop: return Text_EStop;
    case EStep: return Text_EStep;
  }
  return Text_tStart;
}

std::string Form_Experiment::HeldText(Field f) const {
  const ExperimentSettings& es = ES();
  switch (f) {
    case tStart: return NumberText(es.tStart / 1000.0);
    case tStop: return NumberText(es.tStop / 1000.0);
    case tStep: return NumberText(es.tStep / 1000.0);
    case DwellTime: return NumberText(double(es.DwellTime) / 1000.0);
    case EStart: return NumberText(es.EStart);
    case EStop: return NumberText(es.EStop);
    case EStep: return NumberText(es.EStep);
  }
  return "";
}

bool Form_Experiment::ParseField(Field f, double& value) const {
  double v = 0;
  if (!FieldNumber(const_cast<Form_Experiment*>(this)->Text(f), v)) return false;
  switch (f) {
    case tStart: break;  // no limit
    case tStop:
    case DwellTime:
      if (v < 0 || v > kMaxSeconds) return false;
      break;
    case tStep:
      if (v < 0) return false;
      break;
    case EStart:
    case EStop:
      if (v < kMinEnergy || v > kMaxEnergy) return false;
      break;
    case EStep:
      if (v < 0 || v > kMaxEnergy) return false;
      break;
  }
  value = v;
  return true;
}

void Form_Experiment::Text_Change() {
  // No edit can be accepted under a running loop.
  if (running_) return;
  SetEditState(true);
  Changed();
}

bool Form_Experiment::Text_LostFocus(Field f) {
  double v = 0;
  if (ParseField(f, v)) return true;
  host().Beep();
  Text(f) = HeldText(f);
  Changed();
  return false;
}

void Form_Experiment::Option_Experiment_Click(int index) {
  Option_Experiment = index == kExperimentIt ? kExperimentIt : kExperimentIE;
  Caption = Option_Experiment == kExperimentIt ? "I(t)-Experiment" : "I(E)-Experiment";
  ShowPictures();
  Text_Change();
}

// --- The user sweep -----------------------------------------------------------------

bool Form_Experiment::OpenSweepFile(const std::string& name) {
  List_SweepIndex = -1;
  const bool ok = sv::OpenSweepFile(name, Option_Experiment, List_Sweep, sweepPath_, Text_File);
  Text_Change();
  return ok;
}

void Form_Experiment::SweepFileOpen() {
  List_SweepIndex = -1;
  sv::SweepFileOpen(Option_Experiment, List_Sweep, sweepPath_, Text_File);
  Text_Change();
}

void Form_Experiment::Check_UserSweep_Click() {
  if (Check_UserSweep && sweepPath_.empty()) SweepFileOpen();
  if (Check_UserSweep && List_Sweep.empty()) {
    sweepPath_.clear();
    Text_File.clear();
    Check_UserSweep = false;
  }
  ShowPictures();
  Text_Change();
}

// --- Trigger, shutter, timers -----------------------------------------------------

void Form_Experiment::Combo_TriggerMode_Click() {
  ES().TriggerMode = Combo_TriggerMode;
  Timer_Trigger();
}

void Form_Experiment::Combo_TriggerSource_Click() { ES().TriggerSource = Combo_TriggerSource; }

void Form_Experiment::Label_Shutter_Click() {
  if (ShutterDialogHook()) ShutterDialogHook()();
  Check_ShutterControl = ES().ShutterEnabled() != 0;
  Option_ShutterControl.fill(false);
  Option_ShutterControl[size_t(std::clamp<int32_t>(ES().ShutterWindow(), 0, kWindowCount - 1))] = true;
  Changed();
}

void Form_Experiment::Timer_Trigger() {
  std::string text = GetExtTrigger() ? "high" : "low";
  if (ES().TriggerMode != 0) text += " *";
  if (text != Label_TriggerStatus) {
    Label_TriggerStatus = text;
    Changed();
  }
}

void Form_Experiment::Timer_ADScan() {
  // The journal of the last run goes once its sheet is saved or gone.
  if (journalPending_ && !running_) {
    const Form_Worksheet* sheet = Worksheet();
    if (!sheet || !sheet->Changed()) DropJournal();
  }
  std::string text;
  const int channels = ChannelCount();
  for (int16_t c : ES().SelectedChannels) {
    if (c < 0 || c >= channels) continue;
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.1f", double(ReadVoltage(c, HW().ADCalibrationOn)));
    if (!text.empty()) text += "  ";
    text += buf;
  }
  if (text != Label_U) {
    Label_U = text;
    Changed();
  }
}

}  // namespace sv
