// The Auger dialog's run side: the sheet and plot of the spectrum, the scan
// driven through its yields, the buttons, and the user's "Auger" settings.
#include <algorithm>
#include <cmath>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "experiment/form_auger.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

constexpr const char* kSection = "Auger";
constexpr const char* kRestartQuestion =
    "You have to Restart the experiment after this edit. Proceed anyway?";

std::string StoreApp() { return UserStoreApp(host().ExeName(), G().SlaveMode); }

long SweepRows(const AugerSweep& s) {
  if (!(std::fabs(s.Step) > 0)) return 1;
  return static_cast<long>(std::fabs(s.To - s.From) / std::fabs(s.Step) + 0.5) + 1;
}

}  // namespace

Form_Auger::~Form_Auger() = default;

Form_Auger& AugerForm() {
  static Form_Auger form;
  return form;
}

void RegisterAugerForm(MDIForm_Main& main, std::function<void()> show) {
  main.SetCommand("mnuAuger", [show](int) {
    AugerForm().LoadSettings();
    if (show) show();
  });
}

void Form_Auger::LoadSettings() {
  if (!HasHost()) return;
  UserStore& st = host().Store();
  Derivative = st.GetSetting(StoreApp(), kSection, "Derivative", "0") == "1";
  Check_ReverseScaling = st.GetSetting(StoreApp(), kSection, "ReverseScaling", "0") == "1";
  RecentFiles.clear();
  for (int i = 1; i <= 4; ++i) {
    const std::string name =
        st.GetSetting(StoreApp(), "Recent Files\\Auger", "File" + std::to_string(i), "");
    if (!name.empty()) RecentFiles.push_back(name);
  }
}

void Form_Auger::SaveSettings() const {
  if (!HasHost()) return;
  UserStore& st = host().Store();
  st.SaveSetting(StoreApp(), kSection, "Derivative", Derivative ? "1" : "0");
  st.SaveSetting(StoreApp(), kSection, "ReverseScaling", Check_ReverseScaling ? "1" : "0");
  for (size_t i = 0; i < 4; ++i)
    st.SaveSetting(StoreApp(), "Recent Files\\Auger", "File" + std::to_string(i + 1),
                   i < RecentFiles.size() ? RecentFiles[i] : "");
}

Form_Worksheet* Form_Auger::Worksheet() const {
  if (ownSheet_) return ownSheet_.get();
  MDIForm_Main* main = MainForm();
  if (!main || !sheetHandle_) return nullptr;
  return dynamic_cast<Form_Worksheet*>(main->Child(sheetHandle_));
}

Form_Plot* Form_Auger::Plot() const {
  Form_Worksheet* sheet = Worksheet();
  return sheet && plotHandle_ ? dynamic_cast<Form_Plot*>(sheet->FindPlot(plotHandle_)) : nullptr;
}

void Form_Auger::RemovePlots() {
  Form_Worksheet* sheet = Worksheet();
  if (sheet && plotHandle_) {
    if (SheetPlot* p = sheet->FindPlot(plotHandle_)) p->Unload();
    sheet->RemovePlot(plotHandle_);
  }
  plotHandle_ = 0;
}

void Form_Auger::SetButtons() {
  Command_Start = !running_ && !paused_;
  Command_Edit = !running_;
  Command_Stop = running_;
  Command_Continue = paused_ && !running_;
  Command_Abort = running_ || paused_;
  if (OnChanged) OnChanged();
}

bool Form_Auger::MayEdit() {
  if (running_) return false;
  if (!paused_) return true;
  if (host().MsgBox(kRestartQuestion, MsgButtons::YesNo, MsgIcon::Question, kAugerTitle) != MsgResult::Yes)
    return false;
  paused_ = false;
  scan_.reset();
  SetButtons();
  return true;
}

bool Form_Auger::QueryUnload() {
  if (running_) return false;
  if (ramp_.Changed) {
    const MsgResult r = host().MsgBox("Ramp settings are changed.\nSave Ramp data?", MsgButtons::YesNoCancel,
                                      MsgIcon::Question, kAugerTitle);
    if (r == MsgResult::Cancel) return false;
    if (r == MsgResult::Yes && !ramp_.Filename.empty() && !SaveRamp(ramp_.Filename)) return false;
  }
  SaveSettings();
  return true;
}

void Form_Auger::ExperimentInit(bool& ok) {
  ok = false;
  if (ramp_.Sweeps.empty()) {
    host().MsgBox("The ramp has no sweeps", MsgButtons::OK, MsgIcon::Exclamation, kAugerTitle);
    return;
  }
  AugerScanIO io = io_.setEnergy || io_.readAD ? io_ : HardwareAugerIO();
  io.status = [this](const std::string& s) {
    Label_Status = s;
    if (MDIForm_Main* main = MainForm()) main->ShowStatus(s);
    if (OnChanged) OnChanged();
  };
  io.setRow = [this](long row, double x, double y) {
    Form_Worksheet* sheet = Worksheet();
    if (!sheet) return;
    sheet->Row(row);  // the row written is the next one: row 0 is the header
    sheet->SetRowData(std::vector<double>{0, x, y});
    if (Form_Plot* plot = Plot(); plot && scan_ && scan_->Iteration() == 0)
      plot->PlotPoint(0, static_cast<float>(x), static_cast<float>(y));
  };
  io.sweepEnded = [this](int iteration, int sweep) {
    Form_Plot* plot = Plot();
    if (plot && iteration > 0 && Check_AutoUpdate) plot->Plot();
    // The list shows the sweep that comes next.
    if (!ramp_.Sweeps.empty()) {
      List_Index = int((size_t(sweep) + 1) % ramp_.Sweeps.size());
      if (OnChanged) OnChanged();
    }
  };
  HW().AugerDerivative = Derivative ? 1 : 0;  // the simulated spectrometer follows it
  scan_ = std::make_unique<AugerScan>(ramp_, Derivative, io);
  std::string message;
  if (!scan_->Init(message)) {
    host().MsgBox(message, MsgButtons::OK, MsgIcon::Exclamation, kAugerTitle);
    scan_.reset();
    return;
  }
  // The sheet: a row per step, energy and spectrum.
  Form_Worksheet* sheet = Worksheet();
  if (!sheet) {
    MDIForm_Main* main = MainForm();
    sheet = main ? NewWorksheet(*main) : nullptr;
    if (sheet) {
      sheetHandle_ = sheet->Handle();
    } else {
      ownSheet_ = std::make_unique<Form_Worksheet>(nullptr);
      sheet = ownSheet_.get();
    }
  }
  long rows = 0;
  float lo = ramp_.Sweeps[0].From, hi = lo;
  for (const AugerSweep& s : ramp_.Sweeps) {
    rows += SweepRows(s);
    lo = std::min({lo, s.From, s.To});
    hi = std::max({hi, s.From, s.To});
  }
  sheet->Redraw(false);
  sheet->Cols(3);
  sheet->Rows(rows + 1);  // row 0 is the header
  sheet->Col(1);
  sheet->ColTyp(kTypX);
  sheet->ColLabel("energy (eV)");
  sheet->Col(2);
  sheet->ColTyp(kTypY);
  sheet->ColLabel("AES (V/eV)");
  sheet->Redraw(true);
  // The plot of the spectrum.
  RemovePlots();
  SheetPlot* made = nullptr;
  if (sheet->NewPlot(made) && made)
    if (Form_Plot* plot = dynamic_cast<Form_Plot*>(made)) {
      plotHandle_ = plot->Handle();
      sheet->Col(2);
      plot->AddCurve();
      plot->CurveXCol(1);
      plot->CurveColor(0xFF0000);
      plot->TitleText("AES    " + (ramp_.Filename.empty() ? std::string("(untitled)") : ramp_.Filename));
      plot->XLabelText("energy (eV)");
      plot->YLabelText("AES (V/eV)");
      if (hi <= lo) hi = lo + 1;
      // Reversed scaling runs the energy axis from high to low.
      if (Check_ReverseScaling) plot->SetXRange(hi, lo);
      else plot->SetXRange(lo, hi);
      plot->SetYRange(0, 1);
      plot->ClearPlot();
    }
  ok = true;
}

AugerScan::End Form_Auger::ExperimentDo(bool fresh) {
  if (!scan_) return AugerScan::End::Failed;
  running_ = true;
  paused_ = false;
  SetButtons();
  const AugerScan::End end = scan_->Do(fresh);
  Finish(end);
  return end;
}

void Form_Auger::Finish(AugerScan::End end) {
  running_ = false;
  paused_ = end == AugerScan::End::Paused;
  if (Form_Plot* plot = Plot()) {
    plot->Rescale();
    const float a = plot->XAxis.From, b = plot->XAxis.To;
    if (Check_ReverseScaling && a < b) plot->SetXRange(b, a);
    plot->Plot();
  }
  if (end == AugerScan::End::Done) {
    Label_Status = FormatFixed(scan_->RunTimeMs() * 0.001, 3) + " s";
    Form_Worksheet* sheet = Worksheet();
    if (Check_AutoSave && sheet) {
      std::string folder = G().SheetsPath;
      if (!folder.empty() && folder.back() != '/' && folder.back() != '\\') folder += '/';
      const std::string path = folder + "AES_" + std::to_string(host().TimeGetTime()) + ".sht";
      if (sheet->SaveWorksheet(path, true) == 0) {
        LastSaved = path;
        Label_Status = std::to_string(sheet->Rows()) + " Records saved to " + path;
      }
    }
  }
  if (end != AugerScan::End::Paused) ExperimentExit();
  SetButtons();
}

void Form_Auger::ExperimentExit() {
  // The D/A stays where the scan left it.
  running_ = false;
  paused_ = false;
  SetButtons();
}

void Form_Auger::StartScan() {
  if (running_) return;
  Form_Worksheet* sheet = Worksheet();
  if ((paused_ || (sheet && scan_ && scan_->Reads() > 0)) &&
      host().MsgBox(kRestartQuestion, MsgButtons::YesNo, MsgIcon::Question, kAugerTitle) != MsgResult::Yes)
    return;
  bool ok = false;
  ExperimentInit(ok);
  if (ok) ExperimentDo(true);
}

void Form_Auger::ContinueScan() {
  if (running_ || !paused_ || !scan_) return;
  ExperimentDo(false);
}

}  // namespace sv
