// Helpers of the plot tests: dialogs answered by the test and a view that
// counts what it was asked to do.
#pragma once

#include <functional>
#include <string>

#include "plot/form_plot.h"
#include "plot/plot_dialogs.h"

namespace sv::test {

// Installs itself as the process's plot dialogs while it lives.
struct ScriptedDialogs : PlotDialogs {
  std::function<void(Form_NewPlot&)> newPlot;
  std::function<void(Form_PlotDetails&)> details;
  std::function<void(Form_Layer&)> layer;
  std::function<void(Form_Axis&)> axis;
  std::function<void(Form_GridSetup&)> grid;

  ScriptedDialogs() { SetPlotDialogs(this); }
  ~ScriptedDialogs() override { SetPlotDialogs(nullptr); }
  void ShowNewPlot(Form_NewPlot& f) override {
    if (newPlot) newPlot(f);
  }
  void ShowPlotDetails(Form_PlotDetails& f) override {
    if (details) details(f);
  }
  void ShowLayer(Form_Layer& f) override {
    if (layer) layer(f);
  }
  void ShowAxis(Form_Axis& f) override {
    if (axis) axis(f);
  }
  void ShowGridSetup(Form_GridSetup& f) override {
    if (grid) grid(f);
  }
};

struct CountingView : PlotView {
  int plots = 0, clears = 0, states = 0, moves = 0;
  PlotWindowRecord placement{0, "", 10, 20, 300, 200, 0};
  void Plot(Form_Plot&) override { ++plots; }
  void ClearPlot(Form_Plot&) override { ++clears; }
  void ReadPlacement(PlotWindowRecord& w) override {
    w.WindowLeft = placement.WindowLeft;
    w.WindowTop = placement.WindowTop;
    w.WindowWidth = placement.WindowWidth;
    w.WindowHeight = placement.WindowHeight;
    w.WindowState = placement.WindowState;
  }
  void SetWindowState(int) override { ++states; }
  void MoveWindow(int, int, int, int) override { ++moves; }
};

}  // namespace sv::test
