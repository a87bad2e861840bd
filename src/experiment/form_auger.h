// The Auger dialog's editing side as a presenter: the sweep fields, the
// general values, the sweep list, the title, the total time and the ramp
// files. The view binds its controls to these members.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "experiment/auger_ramp.h"
#include "experiment/auger_scan.h"

namespace sv {

class Form_Plot;
class Form_Worksheet;
class MDIForm_Main;

class Form_Auger {
 public:
  Form_Auger();
  ~Form_Auger();

  // --- The run ---
  bool Check_AutoSave = false, Check_AutoUpdate = true, Check_ReverseScaling = false;
  bool Derivative = false;
  // Button states: editing enables Start and the edit commands; a run
  // enables Stop and Abort; a pause enables Continue and Abort.
  bool Command_Start = true, Command_Stop = false, Command_Continue = false, Command_Abort = false;
  bool Command_Edit = true;

  // The A/D and D/A the scan uses; the workbench's hardware when not set.
  void SetIO(AugerScanIO io) { io_ = std::move(io); }
  // Sheet and plot made ready for the ramp; false with a message.
  void ExperimentInit(bool& ok);
  // Runs (fresh, or on from a pause) until the end, a pause or an abort.
  AugerScan::End ExperimentDo(bool fresh);
  void ExperimentExit();
  void StartScan();
  void StopScan() { if (scan_) scan_->Pause(); }
  void ContinueScan();
  void AbortScan() { if (scan_) scan_->Abort(); }
  bool Running() const { return running_; }
  bool Paused() const { return paused_; }
  // Asks before an edit during a pause; false when the user declines.
  bool MayEdit();
  // Asks about an unsaved ramp; false when the user cancels closing.
  bool QueryUnload();
  Form_Worksheet* Worksheet() const;
  Form_Plot* Plot() const;
  const AugerScan* Scan() const { return scan_.get(); }
  void RemovePlots();
  // The "Auger" settings read from and written to the user store.
  void LoadSettings();
  void SaveSettings() const;
  std::string LastSaved;  // the autosaved sheet's path, "" when none
  // Called when the status or the buttons change, so a view can follow.
  std::function<void()> OnChanged;

  // The fields, as typed.
  std::string Text_Start = "100", Text_Stop = "1000", Text_Step = "1", Text_IntTime = "0.1";
  std::string Text_Delay = "0", Text_Iterations = "1";
  int Combo_Profile = 1;
  // The list's lines and the selected sweep (-1: none).
  std::vector<std::string> List_Sweep;
  int List_Index = -1;
  std::string Label_Status, Caption;
  // The control that got the focus after a failed check ("" when none).
  std::string Focus;

  const AugerRamp& Ramp() const { return ramp_; }
  bool Changed() const { return ramp_.Changed; }
  const std::string& Filename() const { return ramp_.Filename; }

  // The sweep fields checked in order (start, stop, step, integration time);
  // the first failure shows "Invalid Parameter" (titled "Auger"), sets Focus
  // and returns false.
  bool AddSweep();
  bool EditSweep(int index);
  void RemoveSweep(int index);
  // Shows sweep `index` in the fields.
  void SelectSweep(int index);
  // Delay (a number, at least 0) and iterations (an integer 1..100), and the
  // profile; false with "Invalid Parameter" as above.
  bool AcceptGeneral();
  void ClearRamp();
  // The ramp a fresh form offers: one sweep of the fields' defaults (100 to
  // 1000 eV in steps of 1 eV, 0.1 s a step), one iteration, no file.
  void DefaultRamp();
  // The ramp as a page of text (title, general values, a line a sweep, the
  // total time), handed to the print hook; the text is returned too.
  std::string PrintAugerRamp();
  // The last ramp files, most recent first (at most four).
  std::vector<std::string> RecentFiles;

  // The host's open and save dialogs for ramp files ("Auger Ramp (*.rmp)"),
  // starting at the ramp's own name; "" when cancelled. A saved name gets
  // ".rmp" when it has no extension.
  std::string GetOpenRampFilename();
  std::string GetSaveRampFilename();
  // Reads a ramp file: "Invalid File Format" (titled "Auger") for a refused
  // one, leaving the ramp held; repairs show in the status.
  bool LoadRamp(const std::string& path);
  // Writes the ramp; a failed write says "Cannot write " and the path.
  bool SaveRamp(const std::string& path);

 private:
  bool ReadSweep(AugerSweep& sweep);
  bool Invalid(const char* control);
  void Refresh();
  AugerLimits Limits() const;

  AugerRamp ramp_;
  AugerScanIO io_;
  std::unique_ptr<AugerScan> scan_;
  std::unique_ptr<Form_Worksheet> ownSheet_;
  long sheetHandle_ = 0, plotHandle_ = 0;
  bool running_ = false, paused_ = false;
  void SetButtons();
  void Finish(AugerScan::End end);
};

Form_Auger& AugerForm();
// Where PrintAugerRamp sends its page; empty: nowhere (the text is still made).
std::function<void(const std::string& title, const std::string& text)>& AugerPrintHook();
// "mnuAuger" on the main window shows the form through `show`.
void RegisterAugerForm(MDIForm_Main& main, std::function<void()> show);

}  // namespace sv
