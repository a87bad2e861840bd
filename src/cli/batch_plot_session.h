// What the commands that plot a worksheet's columns share: the command line's
// host in force, the globals reset, and a main window with plot documents
// whose plot hooks are cleared again when the session goes.
#pragma once

#include <ostream>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "plot/plot_documents.h"
#include "worksheet/sheet_plot.h"

namespace sv::cli {

class PlotSession {
 public:
  explicit PlotSession(std::ostream& err) : host(err), scope_(&host) {
    RegisterPlotDocuments(main);
  }
  ~PlotSession() {
    SetPlotFactory(nullptr);
    SetAddPlotHandler(nullptr);
  }
  PlotSession(const PlotSession&) = delete;
  PlotSession& operator=(const PlotSession&) = delete;

  BatchHost host;

 private:
  HostScope scope_;
  // The globals are reset before the window is made.
  struct GlobalsReset {
    GlobalsReset() { ResetGlobals(); }
  } reset_;

 public:
  MDIForm_Main main;
};

}  // namespace sv::cli
