// What the workbench gives start-up beyond the core: the kernel's version
// and a first call into it, and the plots' exporter and printer.
#pragma once

#include <string>

class QWidget;

namespace sv::app {

// A tiny self-check of the kernel: a table and a 4 x 1 display bitmap must
// come out as expected. Returns "" when it passes, else what went wrong.
std::string KernelSelfCheck();

// Sets Environment().kernelVersion and kernelLoad.
void InstallKernelEnvironment();

// File -> Export writes PNG, SVG and PDF files; the plots print on Qt's
// printer, whose dialogs open over `parent`, and take its paper as their page.
void InstallPlotEnvironment(QWidget* parent);
// Takes both away again.
void RemovePlotEnvironment();

}  // namespace sv::app
