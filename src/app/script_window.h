// The script window: a plain-text editor and the listing of the compiled
// lines in one place, with the File, Debug and Run menus (F5 runs), bound to
// the process-wide Form_Script and its run time.
#pragma once

#include <QWidget>

#include "script/form_script.h"

class QAction;
class QListWidget;
class QMenuBar;
class QPlainTextEdit;
class QStackedWidget;

namespace sv {
class MDIForm_Main;
}

namespace sv::app {

class ScriptWindow : public QWidget, public ScriptView {
  Q_OBJECT
 public:
  ScriptWindow(Form_Script& form, QWidget* parent = nullptr);
  ~ScriptWindow() override;

  QPlainTextEdit* Editor() const { return editor_; }
  QListWidget* Listing() const { return listing_; }
  // The action of a menu entry by its name ("mnuStart").
  QAction* Action(const std::string& name) const;
  // The 0-based line the editor's caret is on.
  int CaretLine() const;

  // ScriptView.
  void EditorChanged() override;
  void ListingChanged() override;
  void StateChanged() override;
  void ShowForm() override;
  void HideForm() override;
  void CaretToLine(int line) override;

 protected:
  void moveEvent(QMoveEvent* event) override;
  // Closing the window unloads the form; its place is kept.
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildMenus();
  Form_Script& form_;
  QMenuBar* menuBar_;
  QStackedWidget* stack_;
  QPlainTextEdit* editor_;
  QListWidget* listing_;
  std::vector<std::pair<std::string, QAction*>> actions_;
  bool loading_ = false;
};

// mnuScript and ".scr" files of the main window, the run time on the
// script window, and the window made when the form is first shown.
void InstallScriptWindow(MDIForm_Main& main, QWidget* window);
// The script window once it has been made, else nullptr.
ScriptWindow* ScriptDialog();

}  // namespace sv::app
