// The experiment tool: Form_Experiment holds the definition of a run as the
// dialog shows it (type, time and energy limits, user sweep, windows, lines,
// A/D channels, trigger, shutter), turns it into the shared definition with
// Command_Accept (columns of the run's worksheet and its two plots), and
// starts the run. A presenter: it talks only to the host; a Qt dialog binds
// to it through its View.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "analysis/scan_lines.h"
#include "analysis/scan_windows.h"
#include "experiment/experiment_settings.h"
#include "experiment/run_journal.h"
#include "experiment/soft_trigger.h"
#include "hardware/dde.h"
#include "hardware/handshake.h"
#include "hardware/hardware.h"

namespace sv {

class Form_Camera;
class Form_Plot;
class Form_Worksheet;
class MDIForm_Main;

inline constexpr const char* kItExperimentTitle = "I(t) Experiment";
inline constexpr const char* kRestartQuestion =
    "You have to Restart the experiment after this edit. Proceed anyway?";
inline constexpr const char* kNothingToScanText = "Nothing to scan for.";
inline constexpr const char* kIntensityAxis = "intensity (a.u.)";
inline constexpr const char* kVoltageAxis = "voltage (V)";
inline constexpr const char* kRunningCaption = " - Experiment running";
inline constexpr const char* kDDETitle = "DDE";

// What Command_Start hands the run to. Empty (the default): the form's own
// ExperimentDo. Filled, it stands in for the run (a check that only wants to
// know whether a run would start). Bit 0 of `flags`: a fresh start; bit 1:
// one step only.
std::function<void(int flags)>& ExperimentDoHook();
// Label_Shutter's click: the shutter dialog. Does nothing until filled.
std::function<void()>& ShutterDialogHook();

// "Cannot analyse Window #" n " in Follow Mode, ..." CR "Window is disabled."
std::string WindowRefusedText(int n);
// The column names of a definition, in their order (without the index column).
std::vector<std::string> ExperimentColumnNames(const ExperimentSettings& es,
                                               const std::string& unit);
// The intensity unit: "I", or the calibration's unit text.
std::string IntensityUnit();

class Form_Experiment {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_Experiment&) {}
    // The worksheet's window place, when it has a window (Unload keeps it).
    virtual bool ReadSheetPlace(ExperimentWindowPlace&) { return false; }
  };
  struct Control {
    bool Enabled = true;
    bool Visible = true;
  };
  // The text fields that are checked when left.
  enum Field { tStart, tStop, tStep, DwellTime, EStart, EStop, EStep };

  Form_Experiment();
  ~Form_Experiment();
  Form_Experiment(const Form_Experiment&) = delete;
  Form_Experiment& operator=(const Form_Experiment&) = delete;
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // Opening: the controls from the definition, the status line shows the
  // default worksheet path, the two timers run. Closing keeps the sheet's
  // place, frees the window buffers and stops the timers.
  void Load();
  void Unload();
  bool Visible() const { return visible_; }
  // The controls back from the definition (Load and Command_Cancel).
  void LoadControls();

  std::string Caption = "I(E)-Experiment";
  int Option_Experiment = kExperimentIE;  // 0 I(t), 1 I(E)
  void Option_Experiment_Click(int index);

  // Seconds for the times, eV for the energies.
  std::string Text_tStart, Text_tStop, Text_tStep, Text_DwellTime;
  std::string Text_EStart, Text_EStop, Text_EStep;
  std::string& Text(Field f);
  // A field typed in.
  void Text_Change();
  // A field left: a value out of its limits beeps and the held value comes
  // back. False when it was refused.
  bool Text_LostFocus(Field f);

  bool Check_UserSweep = false;
  std::string Text_File;                // the file's name without its folder
  std::vector<std::string> List_Sweep;  // the sweep points as text
  int List_SweepIndex = -1;
  void Check_UserSweep_Click();
  // Empties the list, reads the file; on success keeps the name, else
  // clears name and list. True on success.
  bool OpenSweepFile(const std::string& name);
  // The open dialog, then OpenSweepFile.
  void SweepFileOpen();
  const std::string& SweepPath() const { return sweepPath_; }
  Control Picture_UserSweep, Picture_SweepTime, Picture_SweepEnergy;

  std::array<bool, kWindowCount> Check_Window{};
  std::array<int, kWindowCount> Combo_Plot{};  // list index = the window's Plot
  std::array<Control, kWindowCount> Ctl_Check_Window;
  bool Check_WScan = false;
  std::array<bool, kLineCount> Check_Line{}, Check_LPlot{};
  std::array<Control, kLineCount> Ctl_Check_Line;
  bool Check_LScan = false;
  std::array<bool, kADChannelMax> Check_AD{}, Check_ADPlot{};
  std::array<Control, kADChannelMax> Ctl_Check_AD;
  std::array<std::string, kADChannelMax> Label_AD;  // channel names
  bool Check_SaveXY = false;
  bool Check_ShutterControl = false;
  std::array<bool, kWindowCount> Option_ShutterControl{};
  bool Check_AutoSave = false, Check_OnlineExport = false, Check_UpdateWorksheet = false;
  // The DDE export of rows; plain fields the run reads.
  bool Check_DDE = false;
  std::string Text_DDE, Text_DDELinkTopic;
  // Any check or list above changed by the user.
  void Control_Click() { Text_Change(); }

  std::string Label_WScans, Label_LScans, Label_ADScans, Label_avmax;
  std::string Label_TriggerStatus, Label_U;
  std::string Label_Shutter = "Shutter...";
  void Label_Shutter_Click();

  std::vector<std::string> Combo_TriggerModeList, Combo_TriggerSourceList;
  int Combo_TriggerMode = 0, Combo_TriggerSource = 4;
  void Combo_TriggerMode_Click();
  void Combo_TriggerSource_Click();

  Control Ctl_Command_Accept, Ctl_Command_Cancel, Ctl_Command_New;
  std::array<Control, 3> Ctl_Command_Start;  // "Start", continue, "Step"
  bool AcceptPending() const { return Ctl_Command_Accept.Enabled; }

  void Command_Accept();
  void Command_Cancel();
  void Command_New();
  // index 0 "Start", 1 continue after a stop, 2 "Step".
  void Command_Start(int index = 0);

  // The run: the measuring loop and its steps (experiment_run.cpp,
  // run_init.cpp, run_grab.cpp).
  // Buffers, sheet, file name, handshake; false when the run cannot begin.
  bool ExperimentInit();
  // Bit 0 of `flags`: a fresh start; bit 1: one step only.
  void ExperimentDo(int flags);
  // One row; called only by ExperimentDo.
  void ExperimentGrab();
  // Frees what ExperimentInit took.
  void ExperimentExit();
  // The run's windows and lines on the picture as they stand, by
  // Check_WScan and Check_LScan.
  void RefreshOverlay();
  // StopCode 10007 and one yield; the loop ends at its next check.
  void Command_Stop();
  Control Ctl_Command_Stop{false, true};
  bool Running() const { return running_; }
  // Rows after which the loop leaves as one step does; 0 for no limit.
  long StepLimit = 0;
  // The time and rate fields ("12 s", "2.5 Hz (30)").
  std::string Text_Time = "0.0 s", Text_Rate;
  // The controls that may not change while a run goes on.
  Control Ctl_Text_tStop, Ctl_Command_Move, Ctl_Command_WindowSetup, Ctl_Command_Close;
  Control Ctl_Frame, Ctl_Frame_AD, Ctl_TabStrip;
  // The waits of a run show themselves on their labels.
  bool Label_tStartMarked = false, Label_tStepMarked = false, Label_dwellTimeMarked = false;
  // The main window's caption while the run goes on (application title and
  // " - Experiment running"); the title alone after it.
  std::string MainCaption;
  // The plots are rescaled at the end of a run while these are ticked.
  bool Check_IPlotAutoScale = true, Check_ADPlotAutoScale = true;
  // The run's state.
  uint32_t StartTime() const { return startTime_; }
  const std::string& SheetFileName() const { return sheetPath_; }
  long ImageWidth() const { return imageWidth_; }
  long ImageHeight() const { return imageHeight_; }
  const std::vector<float>& RowData() const { return rowData_; }
  Class_SoftTrigger SoftTrigger;
  HandShakeTX HandShake1;

  // The two idle timers; public so that hosts without a loop can tick them.
  void Timer_Trigger();
  void Timer_ADScan();

  // The run's documents; null while there are none.
  Form_Worksheet* Worksheet() const;
  Form_Plot* IntensityPlot() const;
  Form_Plot* ADPlot() const;
  long ColumnCount = 0;  // data columns a row must have
  // Makes the sheet of the run when there is none (a window of the main
  // window when one is there, else the tool's own).
  Form_Worksheet* EnsureWorksheet();
  void RemovePlots();

 private:
  void Changed() { view_->Changed(*this); }
  void SetEditState(bool pending);
  void ShowPictures();
  void FillTriggerLists();
  std::string HeldText(Field f) const;
  bool ParseField(Field f, double& value) const;
  void AcceptWindows(bool ie, long width, long height, bool& needIPlot);
  void AcceptLines();
  void AcceptChannels(bool& needADPlot);
  void BuildColumns(Form_Worksheet& sheet);
  void BuildPlots(Form_Worksheet& sheet, bool needIPlot, bool needADPlot);
  Form_Plot* NewPlot(Form_Worksheet& sheet);

  // The run's pieces.
  bool SweepEntryEnergy(long index, float& energy) const;
  Form_Camera* SourceImage() const;
  bool Stopped();
  void RunControls(bool running);
  void ShowTimeAndRate(bool clockTime);
  bool StepLoop(bool single, bool vtr, bool ie);
  void CleanUp(bool ended);
  void LinkFailed(const std::string& error);
  bool InitWindows(bool ie, bool vtr, float energy);
  bool InitImage(bool vtr);
  void BuildRowText();
  void OpenJournal(bool fresh);
  void DropJournal();
  void SendRow();
  void ReadFrames(bool vtr, Form_Camera* image);
  bool EvaluateWindows(bool vtr, float x, float seconds, long& column);
  void RunPoint(Form_Plot& plot, bool autoscale, bool& redraw, long curve, float x, float y);
  bool iplotRedraw_ = false, adplotRedraw_ = false;

  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
  std::string sweepPath_;
  long sheetHandle_ = 0;  // the sheet's window, 0 for the tool's own
  std::unique_ptr<Form_Worksheet> ownSheet_;
  long iPlotHandle_ = 0, adPlotHandle_ = 0;
  bool restart_ = false;  // an accepted edit needs a fresh start
  bool running_ = false;
  bool initialised_ = false;  // ExperimentInit took the buffers
  bool shutterOn_ = false;
  bool linkFailed_ = false;   // the spreadsheet link failed in this run
  bool previewWas_ = false;
  int overlayFlags_ = 0;
  uint32_t startTime_ = 0;
  int32_t nextDisplay_ = 0;
  long imageWidth_ = 0, imageHeight_ = 0;
  long dynamik_ = 0;
  bool colour_ = false;
  std::string sheetPath_;
  std::vector<float> rowData_;
  std::vector<double> journalValues_;
  std::vector<float> filmValues_;  // the A/D columns of a film's frame
  std::vector<uint16_t> ownFrame_;  // frames when no image document holds them
  uint16_t* imageBuffer_ = nullptr;
  size_t imageSamples_ = 0;
  std::array<std::vector<float>, kLineCount> profiles_;
  std::string rowText_;
  DDESheetLink sheetLink_;
  RunJournal journal_;
  bool journalOpen_ = false;     // rows of this run go to it
  bool journalPending_ = false;  // its file stays until the sheet is saved or discarded
  int triggerTimer_ = 0, adTimer_ = 0;
};
Form_Experiment& ExperimentForm();

// mnuExperiment on a main window: opens the tool (the view shows it).
void RegisterExperimentForm(MDIForm_Main& main, std::function<void()> show);

}  // namespace sv
