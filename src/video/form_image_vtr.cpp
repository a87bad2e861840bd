// The recorder's controls: loading them from the settings, the fields and
// their limits, the sweep file, the sources, the film name and its info,
// the target sheet, Command_Accept and the menu entry.
#include "video/form_image_vtr.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "experiment/form_experiment.h"
#include "experiment/sweep_file.h"
#include "experiment/trigger.h"
#include "hardware/energy.h"
#include "plot/form_plot.h"
#include "video/film_files.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

constexpr int kADScanInterval = 500;  // ms

std::string NumberText(double value) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value);
  return std::string(buf, r.ptr);
}

// A field's number: a comma counts as a point; the whole text is one number.
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

int ChannelCount() {
  if (!ADReady()) return 0;
  return int(std::clamp<long>(HW().ADChannelCount, 0, kADChannelMax));
}

bool HasExtension(const std::string& name, const char* ext) {
  const size_t n = std::char_traits<char>::length(ext);
  if (name.size() < n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(name[name.size() - n + i])) != ext[i]) return false;
  return true;
}

}  // namespace

Form_ImageVTR::Form_ImageVTR() {
  for (long n = 1; n <= 256; n *= 2) Combo_AverageList.push_back(std::to_string(n));
}
Form_ImageVTR::~Form_ImageVTR() = default;

Form_ImageVTR& ImageVTRForm() {
  static Form_ImageVTR form;
  return form;
}

void RegisterImageVTRForm(MDIForm_Main& main, std::function<void()> show) {
  RegisterVTRSettings();
  main.SetCommand("mnuImageVTR", [show](int) {
    Form_ImageVTR& form = ImageVTRForm();
    if (!form.Visible()) form.Load();
    if (show) show();
  });
}

// --- Opening and closing -------------------------------------------------------------

void Form_ImageVTR::Load() {
  LoadControls();
  visible_ = true;
  if (!adTimer_) adTimer_ = host().StartTimer(kADScanInterval, [this] { Timer_ADScan(); });
  Timer_ADScan();
  Changed();
}

void Form_ImageVTR::Unload() {
  if (!visible_) return;
  visible_ = false;
  if (adTimer_) host().StopTimer(adTimer_);
  adTimer_ = 0;
  Changed();
}

void Form_ImageVTR::LoadControls() {
  const VTRSettings& v = VTR();
  Option_Experiment = v.ExperimentType == kExperimentIE ? kExperimentIE : kExperimentIt;
  for (Field f : {tStart, tStop, tStep, DwellTime, EStart, EStop, EStep}) Text(f) = HeldText(f);
  Combo_Average = 0;
  for (long n = v.Average; n > 1 && Combo_Average + 1 < kRecorderAverages; n /= 2) ++Combo_Average;
  List_Sweep.clear();
  List_SweepIndex = -1;
  sweepPath_ = v.SweepFile;
  Label_SweepFile = BaseName(sweepPath_);
  std::string message;
  if (!sweepPath_.empty() && !sv::OpenSweepFileDo(sweepPath_, Option_Experiment, List_Sweep, message))
    List_Sweep.clear();
  Check_UserSweep = v.UserSweep != 0 && !List_Sweep.empty();
  const int channels = ChannelCount();
  for (int c = 0; c < kADChannelMax; ++c) {
    Label_AD[size_t(c)] = HW().ADChannels[size_t(c)].ChannelName;
    Ctl_Check_AD[size_t(c)].Enabled = Ctl_Check_AD[size_t(c)].Visible = c < channels;
    Check_AD[size_t(c)] =
        c < channels && std::find(v.Channels.begin(), v.Channels.end(), c) != v.Channels.end();
    Check_ADPlot[size_t(c)] =
        std::find(v.PlotChannels.begin(), v.PlotChannels.end(), c) != v.PlotChannels.end();
  }
  Label_ADScans = std::to_string(std::count(Check_AD.begin(), Check_AD.end(), true)) +
                  " A/D-channel(s)";
  Check_ADScan = v.ADScan != 0;
  Check_AutoSave = v.AutoSave != 0;
  Check_FlushBuffer = v.FlushBuffer != 0;
  Check_UpdateWorksheet = v.UpdateWorksheet != 0;
  FillLists();
  const long inputs = RecorderGrabber().Inputs();
  for (int m = 0; m < kVideoSourceModes; ++m) {
    long needed = 1;
    for (int f = 0; f < VideoSourcesOf(m); ++f) needed = std::max(needed, VideoSourceOf(m, f, 0) + 1);
    Ctl_Option_VideoSource[size_t(m)].Enabled = m == 0 || needed <= inputs;
  }
  Option_VideoSource = Ctl_Option_VideoSource[size_t(std::clamp(v.VideoSource, 0, 4))].Enabled
                           ? std::clamp(v.VideoSource, 0, 4)
                           : 0;
  Label_Sources = VideoSourceLabel(Option_VideoSource, RecorderGrabber().Input());
  Text_File = v.Filename;
  Label_VIDFilename = v.Filename;
  LastVIDFiles = v.LastFiles;
  DrawFilmInfo();
  RefreshSheetList();
  SetEditState(false);
}

void Form_ImageVTR::FillLists() {
  Combo_TriggerModeList = TriggerModeTexts();
  Combo_TriggerSourceList = TriggerSourceTexts();
  const int32_t mode = ES().TriggerMode, source = ES().TriggerSource;
  Combo_TriggerMode = mode >= 0 && mode < int(Combo_TriggerModeList.size()) ? mode : 0;
  Combo_TriggerSource = source >= 0 && source < int(Combo_TriggerSourceList.size()) ? source : -1;
}

void Form_ImageVTR::SetEditState(bool pending) {
  Ctl_Command_Accept.Enabled = pending;
  Ctl_Command_Cancel.Enabled = pending;
  Ctl_Command_Start.Enabled = !pending && !running_;
}

// --- Fields ------------------------------------------------------------------------

std::string& Form_ImageVTR::Text(Field f) {
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

std::string Form_ImageVTR::HeldText(Field f) const {
  const VTRSettings& v = VTR();
  switch (f) {
    case tStart: return NumberText(v.tStart / 1000.0);
    case tStop: return NumberText(v.tStop / 1000.0);
    case tStep: return NumberText(v.tStep / 1000.0);
    case DwellTime: return NumberText(double(v.DwellTime) / 1000.0);
    case EStart: return NumberText(double(v.EStart));
    case EStop: return NumberText(double(v.EStop));
    case EStep: return NumberText(double(v.EStep));
  }
  return "";
}

bool Form_ImageVTR::ParseField(Field f, double& value) const {
  double v = 0;
  if (!FieldNumber(const_cast<Form_ImageVTR*>(this)->Text(f), v)) return false;
  switch (f) {
    case tStart:
    case tStop:
    case DwellTime:
      if (v < kSweepTimeMin || v > kSweepTimeMax) return false;
      break;
    case tStep:
      if (v < 0 || v > kSweepTimeMax) return false;
      break;
    case EStart:
    case EStop:
      if (v < kSweepEnergyMin || v > kSweepEnergyMax) return false;
      break;
    case EStep:
      if (v < -kSweepEnergyMax || v > kSweepEnergyMax || v == 0) return false;
      break;
  }
  value = v;
  return true;
}

void Form_ImageVTR::Text_Change() {
  if (running_) return;
  SetEditState(true);
  Changed();
}

bool Form_ImageVTR::Text_LostFocus(Field f) {
  double v = 0;
  if (ParseField(f, v)) return true;
  host().Beep();
  Text(f) = HeldText(f);
  Changed();
  return false;
}

void Form_ImageVTR::Option_Experiment_Click(int index) {
  Option_Experiment = index == kExperimentIE ? kExperimentIE : kExperimentIt;
  // The list holds times or energies: it is read again for the new kind.
  if (!sweepPath_.empty()) OpenSweepFileDo(sweepPath_);
  Text_Change();
}

void Form_ImageVTR::Combo_Average_Click() {
  Combo_Average = std::clamp(Combo_Average, 0, kRecorderAverages - 1);
  Text_Change();
}

long Form_ImageVTR::Average() const { return 1L << std::clamp(Combo_Average, 0, kRecorderAverages - 1); }

void Form_ImageVTR::Combo_TriggerMode_Click() {
  if (Combo_TriggerMode >= 0 && Combo_TriggerMode < int(Combo_TriggerModeList.size()))
    ES().TriggerMode = Combo_TriggerMode;
  Changed();
}

void Form_ImageVTR::Combo_TriggerSource_Click() {
  if (Combo_TriggerSource >= 0 && Combo_TriggerSource < kTriggerSourceCount)
    ES().TriggerSource = Combo_TriggerSource;
  FillLists();
  Changed();
}

// --- Sweep file ----------------------------------------------------------------------

void Form_ImageVTR::Check_UserSweep_Click() {
  if (Check_UserSweep && List_Sweep.empty()) OpenSweepFile();
  if (List_Sweep.empty()) Check_UserSweep = false;
  Text_Change();
}

bool Form_ImageVTR::OpenSweepFileDo(const std::string& name) {
  std::string shortName;
  const bool ok = sv::OpenSweepFile(name, Option_Experiment, List_Sweep, sweepPath_, shortName);
  Label_SweepFile = shortName;
  List_SweepIndex = List_Sweep.empty() ? -1 : 0;
  Changed();
  return ok;
}

void Form_ImageVTR::OpenSweepFile() {
  std::string shortName;
  if (SweepFileOpen(Option_Experiment, List_Sweep, sweepPath_, shortName)) {
    Label_SweepFile = shortName;
    List_SweepIndex = List_Sweep.empty() ? -1 : 0;
    Text_Change();
  } else if (List_Sweep.empty()) {
    Label_SweepFile.clear();
    Changed();
  }
}

// --- Sources and the film ------------------------------------------------------------

void Form_ImageVTR::Option_VideoSource_Click(int mode) {
  if (mode < 0 || mode >= kVideoSourceModes || !Ctl_Option_VideoSource[size_t(mode)].Enabled) return;
  Option_VideoSource = mode;
  Label_Sources = VideoSourceLabel(mode, RecorderGrabber().Input());
  Text_Change();
}

void Form_ImageVTR::Text_File_Change() {
  Label_VIDFilename = Text_File;
  DrawFilmInfo();
  Text_Change();
}

void Form_ImageVTR::Command_File() {
  std::string name = Label_VIDFilename.empty() ? "*.vid" : Label_VIDFilename;
  int filter = HasExtension(name, ".avi") ? 2 : 1;
  if (!SaveFilmDialog("Save Film", name, filter, false)) return;
  Text_File = name;
  Text_File_Change();
}

void Form_ImageVTR::DrawFilmInfo() {
  Label_FilmFrames.clear();
  Label_FilmFormat.clear();
  std::string name = Text_File;
  if (name.empty()) return;
  if (name.find('.') == std::string::npos) name += ".vid";
  std::unique_ptr<VideoFile> film = NewVideoFile(HasExtension(name, ".avi"));
  long w = 0, h = 0, bits = 0;
  float rate = 0;
  if (film && film->FileOpen(name, kFilmOpenRead, &w, &h, &bits, &rate, false)) {
    Label_FilmFrames = " (" + std::to_string(film->Samples()) + " frames)";
    Label_FilmFormat = "Video Format: " + std::to_string(film->Width()) + " x " +
                       std::to_string(film->Height()) + " Pixel, " +
                       std::to_string(film->BitsPerPixel()) + " Bit";
    film->FileClose();
  } else {
    Label_FilmFormat = "Not a valid Video File";
  }
}

// --- The sheet -----------------------------------------------------------------------

void Form_ImageVTR::RefreshSheetList() {
  Combo_MySHTList = {"New Worksheet"};
  sheetHandles_.clear();
  if (MDIForm_Main* main = MainForm())
    for (ChildDocument* doc : main->Documents())
      if (auto* sheet = dynamic_cast<Form_Worksheet*>(doc)) {
        Combo_MySHTList.push_back(sheet->Caption());
        sheetHandles_.push_back(sheet->Handle());
      }
  Combo_MySHT = 0;
  for (size_t i = 0; i < sheetHandles_.size(); ++i)
    if (sheetHandles_[i] == sheetHandle_) Combo_MySHT = int(i + 1);
}

void Form_ImageVTR::Combo_MySHT_Click() {
  if (running_) return;
  RemovePlots();
  if (Combo_MySHT >= 1 && size_t(Combo_MySHT) <= sheetHandles_.size()) {
    sheetHandle_ = sheetHandles_[size_t(Combo_MySHT - 1)];
    ownSheet_.reset();
  } else {
    sheetHandle_ = 0;
  }
  Text_Change();
}

Form_Worksheet* Form_ImageVTR::Worksheet() const {
  if (sheetHandle_) {
    MDIForm_Main* main = MainForm();
    return main ? dynamic_cast<Form_Worksheet*>(main->Child(sheetHandle_)) : nullptr;
  }
  return ownSheet_.get();
}

Form_Worksheet* Form_ImageVTR::EnsureWorksheet() {
  if (Form_Worksheet* sheet = Worksheet()) return sheet;
  sheetHandle_ = 0;
  adPlotHandle_ = 0;
  MDIForm_Main* main = MainForm();
  Form_Worksheet* sheet = main ? NewWorksheet(*main) : nullptr;
  if (sheet) {
    sheetHandle_ = sheet->Handle();
  } else {
    ownSheet_ = std::make_unique<Form_Worksheet>(nullptr);
    sheet = ownSheet_.get();
  }
  sheet->Cols(2);
  sheet->Rows(1);
  return sheet;
}

void Form_ImageVTR::RemovePlots() {
  Form_Worksheet* sheet = Worksheet();
  if (sheet && adPlotHandle_) sheet->RemovePlot(adPlotHandle_);
  adPlotHandle_ = 0;
}

void Form_ImageVTR::BuildColumns(Form_Worksheet& sheet) {
  const bool ie = VTR().ExperimentType == kExperimentIE;
  std::vector<std::pair<std::string, std::string>> cols;  // name, label
  if (ie) cols.push_back({"energy (eV)", "energy (eV)"});
  cols.push_back({"time (s)", "time (s)"});
  for (int16_t c : VTR().Channels) cols.push_back({HW().ADChannels[size_t(c)].ChannelName, "voltage (V)"});
  ColumnCount = long(cols.size());
  sheet.Redraw(false);
  sheet.Cols(ColumnCount + 1);
  for (long c = 1; c <= ColumnCount; ++c) {
    sheet.ColName(c, cols[size_t(c - 1)].first);
    sheet.Col(c);
    sheet.ColLabel(cols[size_t(c - 1)].second);
    sheet.ColTyp(c == 1 ? kTypX : kTypY);
  }
  sheet.Col(1);
  sheet.Redraw(true);
  // The A/D plot: the plotted channels over the first column.
  RemovePlots();
  const std::vector<int16_t>& plotted = VTR().PlotChannels;
  if (plotted.empty()) return;
  SheetPlot* made = nullptr;
  auto* plot = sheet.NewPlot(made) && made ? dynamic_cast<Form_Plot*>(made) : nullptr;
  if (!plot) return;
  adPlotHandle_ = plot->Handle();
  long col = ColumnCount - long(VTR().Channels.size()) + 1;
  for (int16_t c : VTR().Channels) {
    if (std::find(plotted.begin(), plotted.end(), c) != plotted.end()) {
      sheet.Col(col);
      plot->AddCurve();
      plot->CurveXCol(1);
      plot->CurveColor(HW().ADChannels[size_t(c)].Color);
    }
    ++col;
  }
  plot->XLabelText(ie ? "energy (eV)" : "time (s)");
  plot->YLabelText("voltage (V)");
  sheet.Col(1);
}

// --- Accept, cancel --------------------------------------------------------------------

void Form_ImageVTR::Command_Accept() {
  if (running_) return;
  Form_Worksheet* sheet = Worksheet();
  if (sheet && sheet->Rows() > 1 &&
      host().MsgBox(kRestartQuestion, MsgButtons::YesNo, MsgIcon::Question, Caption) != MsgResult::Yes)
    return;
  double values[7] = {};
  for (Field f : {tStart, tStop, tStep, DwellTime, EStart, EStop, EStep}) {
    if (!ParseField(f, values[f])) {
      host().Beep();
      Text(f) = HeldText(f);
      values[f] = 0;
      ParseField(f, values[f]);
    }
  }
  VTRSettings& v = VTR();
  v.ExperimentType = int16_t(Option_Experiment);
  v.tStart = int32_t(std::lround(values[tStart] * 1000));
  v.tStop = int32_t(std::lround(values[tStop] * 1000));
  v.tStep = int32_t(std::lround(values[tStep] * 1000));
  v.DwellTime = float(std::lround(values[DwellTime] * 1000));
  v.EStart = float(values[EStart]);
  v.EStop = float(values[EStop]);
  v.EStep = float(values[EStep]);
  // The step goes the way from start to stop.
  if ((v.EStop < v.EStart) != (v.EStep < 0)) v.EStep = -v.EStep;
  v.Average = int32_t(Average());
  v.UserSweep = Check_UserSweep && !List_Sweep.empty() ? 1 : 0;
  v.SweepFile = sweepPath_;
  v.Channels.clear();
  v.PlotChannels.clear();
  for (int c = 0; c < ChannelCount(); ++c) {
    if (!Check_AD[size_t(c)]) continue;
    v.Channels.push_back(int16_t(c));
    if (Check_ADPlot[size_t(c)]) v.PlotChannels.push_back(int16_t(c));
  }
  Label_ADScans = std::to_string(v.Channels.size()) + " A/D-channel(s)";
  v.ADScan = Check_ADScan;
  v.AutoSave = Check_AutoSave;
  v.FlushBuffer = Check_FlushBuffer;
  v.UpdateWorksheet = Check_UpdateWorksheet;
  v.VideoSource = Option_VideoSource;
  v.Filename = Label_VIDFilename;
  Label_Sources = VideoSourceLabel(Option_VideoSource, RecorderGrabber().Input());
  sheet = EnsureWorksheet();
  sheet->Rows(1);
  BuildColumns(*sheet);
  SetEditState(false);
  Changed();
}

void Form_ImageVTR::Command_Cancel() {
  if (running_) return;
  LoadControls();
  SetEditState(false);
  Changed();
}

void Form_ImageVTR::Timer_ADScan() {
  if (!Check_ADScan || running_) return;
  const int channels = ChannelCount();
  for (int c = 0; c < channels; ++c) {
    if (!Check_AD[size_t(c)]) continue;
    char buf[48];
    std::snprintf(buf, sizeof buf, "%s: %.3f V", HW().ADChannels[size_t(c)].ChannelName.c_str(),
                  double(ReadVoltage(c, HW().ADCalibrationOn)));
    Label_AD[size_t(c)] = buf;
  }
  Changed();
}

}  // namespace sv
