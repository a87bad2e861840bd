// Form_Fit: the peak fit of one worksheet column. It takes the data of the
// selection, finds a start model (auto input) or takes the user's, runs the
// fit engine through the status window, writes the fitted curve into the
// column "<Y name>.fit" right after the Y column, plots data and fit ("Peak
// Fit") and builds the text report. A presenter: the Qt dialog binds to the
// public controls and calls the event methods.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fit/fit_engine.h"
#include "fit/peak_model.h"

namespace sv {

class Form_FitSetup;
class Form_FitStatus;
class Form_Plot;
class Form_Worksheet;

class Form_Fit {
 public:
  Form_Fit();
  ~Form_Fit();
  Form_Fit(const Form_Fit&) = delete;
  Form_Fit& operator=(const Form_Fit&) = delete;

  // Steps 1 to 5 of LineScanFit and the first auto input: selection, fit
  // column, data, plot, table. False, after a message titled "Peak Fit",
  // when the fit column cannot be made. With `rows` empty the selection's
  // rows are used (all rows 1 .. Rows - 1 without one). `ycol` and `xcol`
  // -1 take the selection's column and its X column.
  bool Start(Form_Worksheet& sheet, long ycol = -1, long xcol = -1, long firstRow = -1,
             long lastRow = -1, bool autoInput = true);

  // --- Controls ---
  // "Y = Y0 + m * X", then "Peak 1" .. "Peak 20". Choosing a peak beyond
  // Peaks adds peaks up to it (shape "(none)" until set).
  std::vector<std::string> Combo_Lines;
  int Combo_LinesIndex = 0;
  // One line per table entry 1 .. Peaks * 4 + 3: name, tab, description.
  std::vector<std::string> List_Parameter;
  int List_ParameterIndex = -1;  // the line shown in the editing controls
  std::string Text_ini;          // value of the selected entry
  std::string Label_ini;         // its name
  // The shape of a "Peak" entry: "(none)", "Lorenzian", "Gaussian".
  std::vector<std::string> Combo_ini;
  int Combo_iniIndex = 0;
  bool Combo_iniVisible = false;  // a shape entry is selected
  // "= const", "= ?", then "= <name>" of every other entry of the same kind.
  std::vector<std::string> Combo_fsw;
  int Combo_fswIndex = 0;
  bool Combo_fswEnabled = true;
  std::string RichTextBox1;  // the report

  // --- Events ---
  void Combo_Lines_Click();
  void List_Parameter_Click();
  void Command_AutoInput();
  // The setup dialog; its settings count for the next auto input and fit.
  void Command_Setup();
  void Command_Accept();
  // Runs the fit through the status window (modal); afterwards the report,
  // CreateList, and with Status not below 0 the results become the inputs.
  void Command_Calculate();
  // The report of the last fit (or of the table as it stands).
  void Command_ShowResult();
  void Command_Close();

  // --- Operations ---
  // The points of the fit from the data arrays: Y = y, X = x.
  void CreatePRMfile();
  void AutoInit();
  void CreateList();
  // The model at the point i (0-based): writes its x to entry 1.
  float fitTheo(int i);
  // The table entries to the peak array.
  void newparModel();
  // CalcYFit at each data row into the fit column.
  void WriteResult();
  void PlotFit();
  void EraseArrays();
  // The report text of the table and the last run.
  std::string ReportText() const;

  // --- State ---
  Form_Worksheet* Sheet() const { return sheet_; }
  Form_Plot* Plot() const { return plot_; }
  long YCol() const { return ycol_; }
  long XCol() const { return xcol_; }
  long FitCol() const { return fitcol_; }
  long Points() const { return static_cast<long>(y_.size()); }
  const PeakModel& Model() const { return model_; }
  int Peaks() const { return model_.Peaks; }
  void Peaks(int count);
  // The status of the last fit; kFitRunning when none ran.
  int LastStatus() const { return lastStatus_; }
  bool Fitted() const { return fitted_; }
  // The elapsed time or "Fit Error: ..." text of the last run.
  const std::string& LastRunText() const { return lastRunText_; }
  // Settings for this run only (svbatch): not read from or written to the ini.
  bool KeepSettings = false;

 private:
  void LoadEntry(int index);
  void InstallModel();

  Form_Worksheet* sheet_ = nullptr;
  Form_Plot* plot_ = nullptr;
  long plotHandle_ = 0;
  long ycol_ = -1, xcol_ = -1, fitcol_ = -1;
  std::vector<float> y_, x_;
  std::vector<long> row_;  // the sheet row of each point
  PeakModel model_;
  int lastStatus_ = kFitRunning;
  bool fitted_ = false;
  std::string lastRunText_;
};

// The report: one line per report line, fields split by tabs. `date` and
// `time` are the texts of the first line. Line 4 (index 3) is the head, which
// the window shows underlined.
std::string FitReport(const FitState& fit, int peaks, const std::string& date,
                      const std::string& time);
inline constexpr int kFitReportHeadLine = 3;

// How the windows are shown. Each runs modally and returns when closed; an
// empty function leaves the window out: Form_Fit then just returns (the
// caller drives it), the status window runs on the host's timer until the fit
// ends, and the setup dialog counts as cancelled. showStatus gets the status
// window with its timer already started (Form_Load) and returns once
// Finished() is true (closing it is Form_Unload). showSetup returns true for
// OK; Form_Fit then stores the settings (Command_OK).
struct FitDialogs {
  std::function<void(Form_Fit&)> showFit;
  std::function<void(Form_FitStatus&)> showStatus;
  std::function<bool(Form_FitSetup&)> showSetup;
};
FitDialogs& FitWindows();

// MathPeakFit of a worksheet: Start on the sheet, then the dialog, then
// EraseArrays. Registered as the sheet operation "MathPeakFit".
void LineScanFit(Form_Worksheet& sheet);
void RegisterPeakFit();

}  // namespace sv
