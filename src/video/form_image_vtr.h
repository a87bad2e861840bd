// The image recorder: Form_ImageVTR records frames from the grabber into one
// or more films while an I(t) or I(E) sweep runs, and fills a worksheet row
// for each frame. It steps on the experiment's loop (RunSteps): the same
// timing, trigger and sweep-file handling. What it adds: the films, the
// video sources, the numbers stored inside the frames, the append and
// overwrite rules and the disk watch. A presenter: a Qt dialog binds to it
// through its View.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "experiment/experiment_settings.h"
#include "hardware/hardware.h"
#include "image/kernel/kernel_types.h"
#include "video/video_file.h"

namespace sv {

class Form_Worksheet;
class MDIForm_Main;
class Profile;

inline constexpr const char* kRecorderTitle = "Image Recorder";
inline constexpr const char* kRecorderInitTitle = "Experiment Init";
inline constexpr const char* kSaveVideoTitle = "Save Video";
inline constexpr const char* kChangingSourceText = "Changing Video Source...";
inline constexpr const char* kRecorderSweepSheet = "~Sweep.sht";
inline constexpr int kLastVIDFiles = 4;
// The averaging counts offered, 1 to 256.
inline constexpr int kRecorderAverages = 9;

// --- Video sources ----------------------------------------------------------------------
// Mode 0: one film from the current input; 1: inputs 0 and 1; 2: inputs 0
// and 2; 3: inputs 1 and 2; 4: inputs 0, 1 and 2, one film each.
inline constexpr int kVideoSourceModes = 5;
// Films of a mode (1, 2 or 3; 1 for a mode out of range).
int VideoSourcesOf(int mode);
// The input film `film` records; mode 0 records `current`.
long VideoSourceOf(int mode, long film, long current);
// The input after input `s`.
long NextVideoSourceOf(int mode, long s);
// The film that input `s` feeds.
long FilmIndexOf(int mode, long s);
// The form's source-list label: "[0] -> [1]", "[0] -> [1] -> [2]"; mode 0
// names the current input alone, "[2]".
std::string VideoSourceLabel(int mode, long current);

// --- Names and numbers --------------------------------------------------------------------
// The name cut at its last "."; with more than one film "_" + index + 1 is
// appended. The caller adds the extension.
std::string BuildFilmFilename(const std::string& name, int films, int index);
// Keeps the four last names, most recent first; an empty name does nothing,
// a name on the list (ignoring case) moves to the top.
void UpdateLastVIDFileList(std::vector<std::string>& list, const std::string& name);
// The stored depth: the grabber's bits plus one for each halving of the
// average count down to 1, at most 16.
long RecorderBits(long grabberBits, long average);
// "640 x 480 Pixel x 8 bpp RGB" (or "B&W").
std::string FilmFormatText(long width, long height, long bits, bool colour);
// "label = value" of each pair, joined by "; ": what an AVI frame shows.
std::string StampLine(const std::vector<std::string>& labels, const std::vector<float>& values);

// --- Settings: section "Experiment VTR" ----------------------------------------------------
struct VTRSettings {
  int16_t ExperimentType = kExperimentIt;
  int32_t tStart = 0, tStop = 60000, tStep = 0;  // ms; tStop 0: no end
  float EStart = 20, EStop = 100, EStep = 1;     // eV
  float DwellTime = 0;                           // ms
  int32_t Average = 1;                           // frames summed into one
  int32_t UserSweep = 0;
  std::string SweepFile;
  std::vector<int16_t> Channels;                 // A/D channels read into each record
  std::vector<int16_t> PlotChannels;             // of these, the plotted ones
  int32_t ADScan = 0;
  int32_t AutoSave = 0, FlushBuffer = 0, UpdateWorksheet = 0;
  int32_t VideoSource = 0;                       // mode 0 to 4
  std::string Filename;                          // the film's name
  std::vector<std::string> LastFiles;            // most recent first
  int32_t SettleTime = 100;  // ms after a change of input on a real camera
};
VTRSettings& VTR();
void ResetVTRSettings();
void ReadVTRSettings(const Profile& ini);
void WriteVTRSettings(Profile& ini);
// Registers the section at the film's place in the settings order (once).
void RegisterVTRSettings();

// --- The grabber as the recorder sees it ---------------------------------------------------
// The workbench's is Grabber_BAS; tests put a grabber of their own in place.
class VTRGrabber {
 public:
  virtual ~VTRGrabber() = default;
  virtual long Inputs();
  virtual long Input();                 // the selected input
  virtual bool SelectInput(long input);
  virtual long Width();
  virtual long Height();
  virtual long Bits();
  virtual bool IsColor();
  // One frame: Width x Height samples (three a pixel in colour, R G B). 0
  // when it came.
  virtual long Read(Samples16 dest);
  // Milliseconds to wait after a change of input before the next frame is
  // good; 0 for a grabber that switches at once.
  virtual long SettleMs();
};
VTRGrabber& RecorderGrabber();
// nullptr goes back to Grabber_BAS.
void SetRecorderGrabber(VTRGrabber* grabber);

// --- The form ---------------------------------------------------------------------------------
class Form_ImageVTR {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_ImageVTR&) {}
  };
  struct Control {
    bool Enabled = true;
    bool Visible = true;
  };
  enum Field { tStart, tStop, tStep, DwellTime, EStart, EStop, EStep };

  Form_ImageVTR();
  ~Form_ImageVTR();
  Form_ImageVTR(const Form_ImageVTR&) = delete;
  Form_ImageVTR& operator=(const Form_ImageVTR&) = delete;
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Opening fills the controls from the settings and starts the A/D timer;
  // closing stops it (and a run's films are closed by the run's end).
  void Load();
  void Unload();
  bool Visible() const { return visible_; }
  void LoadControls();

  std::string Caption = "Image Recorder";
  int Option_Experiment = kExperimentIt;  // 0 I(t), 1 I(E)
  void Option_Experiment_Click(int index);

  std::string Text_tStart, Text_tStop, Text_tStep, Text_DwellTime;  // s
  std::string Text_EStart, Text_EStop, Text_EStep;                  // eV
  std::string& Text(Field f);
  void Text_Change();
  // A value out of its limits beeps and the held value comes back.
  bool Text_LostFocus(Field f);

  // "1", "2", "4" .. "256"; Combo_Average is the list index.
  std::vector<std::string> Combo_AverageList;
  int Combo_Average = 0;
  void Combo_Average_Click();
  long Average() const;

  // The trigger of a run, shared with the experiment (one trigger line).
  std::vector<std::string> Combo_TriggerModeList, Combo_TriggerSourceList;
  int Combo_TriggerMode = 0, Combo_TriggerSource = 4;
  void Combo_TriggerMode_Click();
  void Combo_TriggerSource_Click();

  bool Check_UserSweep = false;
  std::vector<std::string> List_Sweep;  // the points as text
  int List_SweepIndex = -1;
  std::string Label_SweepFile;          // the sweep file's name without folder
  void Check_UserSweep_Click();
  // The "Open Sweep File" dialog, then OpenSweepFileDo.
  void OpenSweepFile();
  // Reads a sweep file into List_Sweep; a point out of range shows its
  // message ("Energy[3] = 1001 eV is out of range") and empties the list.
  bool OpenSweepFileDo(const std::string& name);
  const std::string& SweepPath() const { return sweepPath_; }

  // Per A/D channel: read into each record, plot.
  std::array<bool, kADChannelMax> Check_AD{}, Check_ADPlot{};
  std::array<Control, kADChannelMax> Ctl_Check_AD;
  std::array<std::string, kADChannelMax> Label_AD;  // names, and values while scanning
  bool Check_ADScan = false;
  std::string Label_ADScans;  // n + " A/D-channel(s)"
  bool Check_AutoSave = false, Check_FlushBuffer = false, Check_UpdateWorksheet = false;
  void Control_Click() { Text_Change(); }

  // The video source mode, 0 to 4; a mode needing inputs the grabber lacks
  // is disabled.
  int Option_VideoSource = 0;
  std::array<Control, kVideoSourceModes> Ctl_Option_VideoSource;
  std::string Label_Sources;  // "[0] -> [1]"
  void Option_VideoSource_Click(int mode);

  // The film's name as typed, and the name a run records to.
  std::string Text_File, Label_VIDFilename;
  void Text_File_Change();
  // The save dialog for the film's name.
  void Command_File();
  // DrawFilmInfo's two lines: " (n frames)" and "Video Format: ...", or
  // "Not a valid Video File".
  std::string Label_FilmFrames, Label_FilmFormat;
  void DrawFilmInfo();
  std::vector<std::string> LastVIDFiles;  // most recent first

  // The target sheet: entry 0 is a new sheet of the recorder's own, then the
  // open worksheets of the main window.
  std::vector<std::string> Combo_MySHTList;
  int Combo_MySHT = 0;
  void RefreshSheetList();
  void Combo_MySHT_Click();

  // Commands.
  Control Ctl_Command_Accept, Ctl_Command_Cancel, Ctl_Command_Start, Ctl_Command_Close;
  Control Ctl_Command_Stop{false, true};
  bool AcceptPending() const { return Ctl_Command_Accept.Enabled; }
  // Takes the controls into the settings and builds the sheet's columns.
  void Command_Accept();
  void Command_Cancel();
  void Command_Start();
  void Command_Stop();

  // Run displays.
  std::string Text_Time = "0.0 s", Text_Rate = "- Hz", Text_Records = "0 Records";
  std::string Label_FileSize;  // PrintMyFileSize
  std::string MainCaption;
  bool Label_tStartMarked = false, Label_tStepMarked = false, Label_dwellTimeMarked = false;

  // --- The run ---
  bool ExperimentInit();
  void ExperimentDo();
  // One record; false when the run must end (StopCode says why).
  bool ExperimentGrab();
  void ExperimentExit();
  bool Running() const { return running_; }
  // Records after which the loop leaves; 0 for no limit.
  long StepLimit = 0;

  // Recorder state.
  int VideoSources = 1;
  std::vector<std::unique_ptr<VideoFile>> Video;
  std::vector<uint32_t> FrameIndex;
  std::vector<float> FrameRates;
  std::vector<float> NumericDataRow;  // the present row, 0 .. Cols - 1
  long VideoSource(long film) const;
  long NextVideoSource(long s) const;
  long FilmIndex(long s) const;
  long CurrentSource() const { return source_; }
  long CurrentFilm() const { return film_; }
  long Cycle() const { return cycle_; }
  // The film names of the last start, in film order.
  const std::vector<std::string>& FilmNames() const { return filmNames_; }
  long FilmBits() const { return bits_; }
  bool FilmColour() const { return colour_; }

  void CloseAllFilms();
  // False (and the last-error code -1) when the present film's size cannot
  // be had.
  bool PrintMyFileSize();
  // The sheet's data columns become the film's labels.
  bool NumericData(long film);
  void RemovePlots();

  // The A/D scan timer; public so that hosts without a loop can tick it.
  void Timer_ADScan();

  // The run's sheet: null while there is none.
  Form_Worksheet* Worksheet() const;
  Form_Worksheet* EnsureWorksheet();
  long ColumnCount = 0;  // data columns of a row
  // The end of the last run: the code that ended it.
  int LastError() const { return lastError_; }

 private:
  void Changed() { view_->Changed(*this); }
  void SetEditState(bool pending);
  void FillLists();
  bool ParseField(Field f, double& value) const;
  std::string HeldText(Field f) const;
  void BuildColumns(Form_Worksheet& sheet);
  void RunControls(bool running);
  void ShowTimeAndRate();
  bool CheckSizes();
  bool OpenFilm(long film, long width, long height);
  bool ChangeSource();
  void ReadFrame();
  void PutCells(long film);
  void ShowDiskSpace();
  void EndRun();

  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
  bool running_ = false;
  int adTimer_ = 0;
  std::string sweepPath_;
  std::vector<long> sheetHandles_;  // Combo_MySHT entries 1.. by handle
  long sheetHandle_ = 0;
  std::unique_ptr<Form_Worksheet> ownSheet_;
  long adPlotHandle_ = 0;

  // Run state.
  long source_ = 0, film_ = 0, firstSource_ = 0;
  long cycle_ = 0;
  long width_ = 0, height_ = 0, bits_ = 8, grabberBits_ = 8;
  bool colour_ = false, avi_ = false, ie_ = false;
  int lastError_ = 0;
  uint32_t startTime_ = 0;
  int32_t time_ = 0, nextDisplay_ = 0;
  float energy_ = 0;
  uint32_t lastDiskShow_ = 0;
  std::vector<std::string> filmNames_, labels_;
  std::vector<int16_t> channels_;  // A/D channels of the run
  std::vector<uint16_t> grab_;     // one frame from the grabber
  std::vector<uint32_t> sum_;      // averaging
  std::vector<uint8_t> frame_;     // the film's frame
  std::vector<float> rowData_;     // 0 .. ColumnCount for SetRowData
};
Form_ImageVTR& ImageVTRForm();

// mnuImageVTR on a main window: opens the recorder (the view shows it).
void RegisterImageVTRForm(MDIForm_Main& main, std::function<void()> show);

}  // namespace sv
