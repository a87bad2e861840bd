// Qt tests of the tool dialogs: the main window built over its presenter with
// the dummy devices behind it and taken down again, a dialog's controls found
// by name, text typed into a field and a button clicked as a user would.
#pragma once

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDialog>
#include <QLineEdit>
#include <QTest>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "app/app_environment.h"
#include "app/main_window.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/settings.h"
#include "core/startup.h"
#include "hardware/hardware.h"
#include "image/form_camera.h"
#include "plot/plot_documents.h"
#include "worksheet/sheet_plot.h"
#include "worksheet/worksheet_documents.h"

namespace sv::test {

// The control NAME of the dialog DIALOG under WINDOW; null while either is missing.
template <typename T>
T* DialogChild(QWidget& window, const char* dialog, const char* name) {
  QDialog* d = window.findChild<QDialog*>(dialog);
  return d ? d->findChild<T*>(name) : nullptr;
}

// The field's text replaced by TEXT, typed key by key; a missing field fails
// the test with WHAT.
inline void TypeInto(QLineEdit* field, const QString& text, const char* what) {
  QVERIFY2(field, what);
  field->selectAll();
  QTest::keyClicks(field, text);
}

// A left click on the button; a missing or closed one fails the test with WHAT.
inline void ClickButton(QAbstractButton* button, const char* what) {
  QVERIFY2(button && button->isEnabled(), what);
  QTest::mouseClick(button, Qt::LeftButton);
}

// What a test's main window is built with besides worksheet and plot
// documents and the kernel environment.
struct WorkbenchParts {
  bool images = false;   // image documents
  bool hardware = true;  // the hardware environment (the dummy devices)
};

// A new main form that is the main form, with the documents and environments
// PARTS names, and a main window over it.
inline void BuildMainWindow(std::unique_ptr<MDIForm_Main>& main,
                            std::unique_ptr<app::MainWindow>& window, WorkbenchParts parts) {
  main = std::make_unique<MDIForm_Main>();
  SetMainForm(main.get());
  if (parts.images) RegisterImageDocuments(*main);
  RegisterWorksheetDocuments(*main);
  RegisterPlotDocuments(*main);
  app::InstallKernelEnvironment();
  if (parts.hardware) InstallHardwareEnvironment();
  window = std::make_unique<app::MainWindow>(*main);
}

// The last of a test's teardown, once the window is gone: the plot hooks and
// the main form cleared, the main form and what Qt deletes late gone, then the host.
template <typename HostT>
void DropMainForm(std::unique_ptr<MDIForm_Main>& main, std::unique_ptr<HostT>& host) {
  SetPlotFactory(nullptr);
  SetAddPlotHandler(nullptr);
  SetMainForm(nullptr);
  main.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  host.reset();
}

// The dummy grabber started with MAIN's grabber and live commands; its clock
// stands still, so it gives a frame only when asked.
inline void StartDummyGrabber(MDIForm_Main& main) {
  InstallGrabberEnvironment();
  RegisterGrabberCommands(main);
  RegisterLiveCommands(main);
  QVERIFY(StartGrabber("DummyGrb"));
  GB().DummyFramePeriod = 0;
}

// The teardown of a workbench that ran the grabber, once the grabber is
// closed: the window gone, the devices, environment, settings sections,
// grabber and live modes as at start, then the main form and host dropped.
template <typename HostT>
void DropGrabberWorkbench(std::unique_ptr<app::MainWindow>& window,
                          std::unique_ptr<MDIForm_Main>& main, std::unique_ptr<HostT>& host) {
  window.reset();
  ResetHardware();
  Environment() = StartupEnvironment();
  ClearSettingsSections();
  ResetGrabberGlobals();
  ResetLiveGlobals();
  DropMainForm(main, host);
}

// The last of the teardown of a plotting workbench on a scripted host, once
// the window and the main form are gone: the plot environment removed, the
// main form cleared, the environment and settings sections as at start, what
// Qt deletes late gone, then the host; a message it was given no answer for
// fails the test.
template <typename HostT>
void DropScriptedPlotHost(std::unique_ptr<HostT>& host) {
  app::RemovePlotEnvironment();
  SetMainForm(nullptr);
  Environment() = StartupEnvironment();
  ClearSettingsSections();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  const std::vector<std::string> unscripted = host->unscripted;
  host.reset();
  QVERIFY2(unscripted.empty(), unscripted.empty() ? "" : unscripted.front().c_str());
}

}  // namespace sv::test
