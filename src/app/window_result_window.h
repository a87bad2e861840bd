// The scan report of the window tools: one text, with Cut, Copy, Paste,
// Delete and Save As in its menu and its context menu, bound to the
// Form_WindowScanResult presenter.
#pragma once

#include <QDialog>

#include "analysis/form_window_setup.h"

class QAction;
class QMenuBar;
class QPlainTextEdit;

namespace sv::app {

class WindowResultWindow : public QDialog, public Form_WindowScanResult::View {
  Q_OBJECT
 public:
  explicit WindowResultWindow(QWidget* parent = nullptr);
  ~WindowResultWindow() override;

  QPlainTextEdit* Text() const { return text_; }
  QAction* CutAction() const { return cut_; }
  QAction* CopyAction() const { return copy_; }
  QAction* PasteAction() const { return paste_; }
  QAction* DeleteAction() const { return delete_; }
  QAction* SaveAsAction() const { return saveAs_; }

  void Changed(const Form_WindowScanResult&) override;

 protected:
  void reject() override;

 private:
  void TextToPresenter();

  QMenuBar* menu_;
  QPlainTextEdit* text_;
  QAction* cut_;
  QAction* copy_;
  QAction* paste_;
  QAction* delete_;
  QAction* saveAs_;
  bool loading_ = false;
};

}  // namespace sv::app
