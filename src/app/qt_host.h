// The Host of the Qt workbench: real message boxes and file dialogs, the
// status line of the main window, the Qt event pump, the clipboard, and the
// folders and per-user store of the platform layer.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include <QString>
#include <QStringList>

#include "core/host.h"
#include "core/platform/platform.h"

class QTimer;
class QWidget;

namespace sv::app {

// "Images (*.tif;*.bmp)|*.tif;*.bmp|All (*.*)|*.*" in the form Qt's file
// dialogs take: one "Label (*.tif *.bmp)" string per filter.
QStringList QtFilters(const std::string& filter);

class QtHost : public Host {
 public:
  QtHost();
  ~QtHost() override;

  // Where the status line goes; until a window is there it goes nowhere.
  using StatusSink = std::function<void(const std::string& text, int progress)>;
  void SetStatusSink(StatusSink sink) { statusSink_ = std::move(sink); }
  // The parent of the modal dialogs.
  void SetDialogParent(QWidget* parent) { dialogParent_ = parent; }
  // While the system ends the session nobody is there to answer: a message
  // box is written to standard error and answers as its close box would,
  // input boxes and file dialogs count as cancelled.
  void SetUnattended(bool unattended) { unattended_ = unattended; }
  bool Unattended() const { return unattended_; }

  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override;
  std::optional<std::string> InputBox(const std::string& prompt, const std::string& title,
                                      const std::string& def) override;
  FileDialogResult OpenFileDialog(const FileDialog& dlg) override;
  FileDialogResult SaveFileDialog(const FileDialog& dlg) override;

  void ShowStatus(const std::string& text, int progress) override;
  void DoEvents() override;
  // Waits in Qt's loop for the next event, at most `maxMs`.
  void WaitForEvents(int maxMs) override;
  void Beep() override;
  void SetBusy(bool busy) override;
  std::string ClipboardText() override;
  void SetClipboardText(const std::string& text) override;

  uint32_t TimeGetTime() override;
  std::string UserName() override;
  std::string TempPath() override;
  std::string ProgramFolder() override;
  std::string ExeName() override;
  std::string ConfigFolder() override;
  std::string HomeFolder() override;
  UserStore& Store() override;
  int64_t FreeDiskSpace(const std::string& path) override;
  ScreenSize Screen() override;
  // QTimers on the event loop.
  int StartTimer(int intervalMs, std::function<void()> tick) override;
  void StopTimer(int id) override;

 private:
  FileDialogResult RunFileDialog(const FileDialog& dlg, bool save);

  StatusSink statusSink_;
  QWidget* dialogParent_ = nullptr;
  std::unique_ptr<platform::IniUserStore> store_;
  bool busy_ = false;
  bool unattended_ = false;
  std::map<int, QTimer*> qtimers_;
  int nextTimer_ = 1;
};

}  // namespace sv::app
