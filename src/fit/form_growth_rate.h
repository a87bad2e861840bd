// The growth-rate window: a curve of a plot taken as intensity against time,
// its period found from minima and maxima or by a Fourier transform, with the
// growth given by the monolayer thickness of the chosen material.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "fit/growth_analysis.h"
#include "fit/material_database.h"

namespace sv {

class Form_Plot;
class Form_Worksheet;

class Form_GrowthRate {
 public:
  Form_GrowthRate();
  ~Form_GrowthRate();
  Form_GrowthRate(const Form_GrowthRate&) = delete;
  Form_GrowthRate& operator=(const Form_GrowthRate&) = delete;

  // The curves of the plot fill Combo_Curve; t1 and t2 take the first
  // curve's time range. The material list is read.
  void SetPlotForm(Form_Plot* plot);
  // The sheet the working data go to (by default one of the window's own).
  void SetWorksheet(Form_Worksheet* sheet);
  // Picks a curve and takes its time range.
  void SelectCurve(int index);

  // Controls.
  std::vector<std::string> Combo_Curve;
  int CurveIndex = 0;
  std::string Text_t1, Text_t2;
  int Option_Analysis = 0;  // 0 min/max, 1 FFT
  std::string Text_Delta = "0";
  bool Check_Fit = false;
  bool Check_AutoScale = true, Check_YAutoScale = true;
  std::string Text_Xto;
  std::string Text_GrowthRate, Text_Tau;
  std::string Text_MonolayerThickness;
  std::string Label_Unit = "\xC3\x85/s";  // Angstrom per second
  std::string Label_Growth;                // rate times thickness
  std::string Status;
  std::string FocusedControl;  // the control a refused value sends the focus to

  // The material list, "(User)" first.
  MaterialDatabase Materials;
  std::vector<std::string> Combo_Material() const;
  void SelectMaterial(int index);
  // Adds the typed thickness under a name asked for; false when cancelled or empty.
  bool Command_Add();
  // Removes the chosen material ("(User)" stays).
  bool Command_Delete();

  // Runs the analysis Option_Analysis names; false when it stopped on a message.
  bool Command_Calculate();
  bool MinMaxAnalysis();
  bool FftAnalysis();
  double Rate() const { return rate_; }
  // The growth rate times the monolayer thickness (0 without a thickness).
  double Growth() const;

  // Shows or hides the working sheet; the caption says what a press does.
  void Command_ShowSht();
  std::string ShowShtCaption() const { return sheetShown_ ? "Hide &SHT" : "Show &SHT"; }
  bool SheetShown() const { return sheetShown_; }
  Form_Worksheet* Sheet() const { return sheet_; }
  Form_Plot* ResultPlot() const { return resultPlot_; }

  // Saves the material list (the dialog closes).
  void Close();

 private:
  bool ReadData(GrowthData& data);
  Form_Worksheet& WorkSheet();
  Form_Plot* MakeResultPlot(const std::string& title, const std::string& xLabel,
                            const std::string& yLabel);
  void UpdateGrowth();

  Form_Plot* plot_ = nullptr;
  Form_Worksheet* sheet_ = nullptr;
  std::unique_ptr<Form_Worksheet> ownSheet_;
  Form_Plot* resultPlot_ = nullptr;
  long resultPlotHandle_ = 0;
  bool sheetShown_ = false;
  double rate_ = 0;
};

// How the window comes up: the workbench sets `show` to its modal dialog.
// Without it the operation only opens and closes the presenter.
struct GrowthRateWindows {
  std::function<void(Form_GrowthRate&)> show;
};
GrowthRateWindows& GrowthWindows();

// "MathGrowthRate" on a plot: the window on that plot; the material list is
// saved when it closes.
void RegisterGrowthRate();

}  // namespace sv
