// The sheet's list of plot handles. In a main window the plots are its child
// windows; outside one (svbatch, tests) the sheet keeps them itself and hands
// out handles from a counter of its own.
#include <algorithm>

#include "core/mdi_main.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_plot.h"

namespace sv {

namespace {
std::string StemOf(const std::string& path) {
  size_t slash = path.find_last_of("/\\");
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  size_t dot = name.rfind('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}
}  // namespace

long Form_Worksheet::PlotWindowHwnd(long index) const {
  if (index < 0 || index >= Plots()) return 0;
  return PlotHwnds_[index];
}

SheetPlot* Form_Worksheet::FindPlot(long hwnd) const {
  if (hwnd == 0) return nullptr;
  if (main_) return dynamic_cast<SheetPlot*>(main_->Child(hwnd));
  for (const auto& p : ownPlots_)
    if (p && p->Handle() == hwnd) return p.get();
  return nullptr;
}

namespace {
// Plots of our own whose handles left the list are dropped here, outside of
// any call of theirs.
void Sweep(std::vector<std::unique_ptr<SheetPlot>>& own, const std::vector<long>& handles) {
  own.erase(std::remove_if(own.begin(), own.end(),
                           [&](const std::unique_ptr<SheetPlot>& p) {
                             return !p || std::find(handles.begin(), handles.end(),
                                                    p->Handle()) == handles.end();
                           }),
            own.end());
}
}  // namespace

bool Form_Worksheet::NewPlot(SheetPlot*& plot) {
  plot = AdoptPlot(MakePlot(*this, false), "Plot" + std::to_string(Plots() + 1));
  return plot != nullptr;
}

bool Form_Worksheet::New3DPlot(SheetPlot*& plot) {
  plot = AdoptPlot(MakePlot(*this, true), StemOf(Filename_) + "_Plot");
  return plot != nullptr;
}

// A new plot joins the sheet: a child window of the main window, or, with
// none, one of the sheet's own.
SheetPlot* Form_Worksheet::AdoptPlot(std::unique_ptr<SheetPlot> p, const std::string& name) {
  if (!p) return nullptr;
  p->SetWorksheet(this);
  p->SetPlotName(name);
  SheetPlot* raw = p.get();
  if (main_) {
    if (!main_->AddDocument(std::move(p))) return nullptr;
  } else {
    Sweep(ownPlots_, PlotHwnds_);
    raw->SetHandle(++ownPlotCounter_);
    ownPlots_.push_back(std::move(p));
  }
  PlotHwnds_.push_back(raw->Handle());
  return raw;
}

bool Form_Worksheet::AddNewPlot(long layer) { return RunAddPlot(*this, false, layer); }

bool Form_Worksheet::AddNew3DPlot() { return RunAddPlot(*this, true, 0); }

void Form_Worksheet::RemovePlot(long hwnd) {
  auto it = std::find(PlotHwnds_.begin(), PlotHwnds_.end(), hwnd);
  if (it != PlotHwnds_.end()) PlotHwnds_.erase(it);  // the later ones move down
}

void Form_Worksheet::ClearAllPlots() {
  const std::vector<long> handles = PlotHwnds_;
  for (auto it = handles.rbegin(); it != handles.rend(); ++it) {
    if (*it == 0) continue;
    if (SheetPlot* p = FindPlot(*it)) p->Unload();
  }
  PlotHwnds_.clear();
  for (auto& p : ownPlots_)
    if (p) p->SetWorksheet(nullptr);
  ownPlots_.clear();
}

void Form_Worksheet::UpdatePlots() {
  for (long h : std::vector<long>(PlotHwnds_))
    if (SheetPlot* p = FindPlot(h)) p->Update();
  for (ColumnRecord& rec : records_) rec.Changed = false;
}

}  // namespace sv
