// The main window of the workbench: menus, toolbars and status bar built from
// MDIForm_Main, the child windows in an MDI area, and the exit question on
// the close box.
#pragma once

#include <QIcon>
#include <QMainWindow>
#include <map>
#include <string>
#include <vector>

#include "core/mdi_main.h"

class QAction;
class QLabel;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QProgressBar;
class QToolBar;

namespace sv::app {

class ChildSubWindow;
class ImageWindow;
class LutDialog;
class PlotWindow;
class WorksheetWindow;
class QtHost;

class MainWindow : public QMainWindow, public MainView {
  Q_OBJECT
 public:
  // Binds itself as the view of `main`; with a host, the status line comes here.
  explicit MainWindow(MDIForm_Main& main, QtHost* host = nullptr);
  ~MainWindow() override;

  MDIForm_Main& Main() { return main_; }
  QMdiArea* MdiArea() const { return mdi_; }
  ImageWindow* ImageWindowFor(long handle) const;
  WorksheetWindow* WorksheetWindowFor(long handle) const;
  PlotWindow* PlotWindowFor(long handle) const;
  QMdiSubWindow* SubWindowFor(long handle) const;
  // The action of a menu entry, nullptr when there is none.
  QAction* MenuAction(const std::string& name, int index = -1) const;
  QMenu* TopMenu(const std::string& name) const;
  QToolBar* ToolbarWidget(const std::string& name) const;
  QAction* ToolbarAction(const std::string& key) const;
  QLabel* PanelLabel(const std::string& panel) const;
  QProgressBar* Progress() const { return progress_; }
  LutDialog* Lut() const { return lut_; }

  // The status line: text in the first panel, progress in percent or -1.
  void ShowStatusText(const std::string& text, int progress);

  // MainView.
  void ChildAdded(ChildDocument& doc) override;
  void ChildRemoved(long handle) override;
  void ShowChild(long handle) override;
  void MenusChanged() override;
  void ToolbarsChanged() override;
  void StatusPanel(const std::string& panel, const std::string& text) override;
  void ShowMain() override;
  void SetWindowRect(int state, int left, int top, int width, int height) override;
  void ToolbarVisible(bool visible) override;
  void StatusbarVisible(bool visible) override;
  void Arrange(int how) override;
  void CloseMain() override;
  void ShowLutForm(ChildDocument& doc) override;

 protected:
  void closeEvent(QCloseEvent* e) override;
  void moveEvent(QMoveEvent* e) override;
  void resizeEvent(QResizeEvent* e) override;
  void changeEvent(QEvent* e) override;
  bool eventFilter(QObject* watched, QEvent* e) override;
  QMenu* createPopupMenu() override { return nullptr; }

 private:
  struct TopMenuBinding {
    std::string name;
    QMenu* menu = nullptr;
    std::string signature;
    // One action per entry below the top, in depth-first order.
    std::vector<QAction*> actions;
  };
  struct ChildBinding {
    ChildSubWindow* sub = nullptr;
    // The window of the document's kind; nullptr for the other kinds.
    ImageWindow* image = nullptr;
    WorksheetWindow* sheet = nullptr;
    PlotWindow* plot = nullptr;
  };

  void StoreWindowRect();
  void BuildMenuBar();
  void FillMenu(QMenu* menu, const MenuEntry& entry, std::vector<QAction*>& actions);
  void ClearMenu(QMenu* menu);
  void SyncMenus();
  void SyncTopMenu(TopMenuBinding& top, const MenuEntry& entry);
  void TopMenuOpening(const std::string& name);
  void FillWindowList(QMenu* menu);
  void BuildToolbars();
  void SyncToolbars();
  void BuildStatusBar();
  void SubWindowActivated(QMdiSubWindow* sub);
  void UpdateMaxClientSizes();
  void TileLinear(bool horizontally);

  MDIForm_Main& main_;
  QtHost* host_;
  QMdiArea* mdi_;
  QProgressBar* progress_ = nullptr;
  LutDialog* lut_ = nullptr;
  std::map<std::string, QLabel*> panels_;
  std::string menuSignature_;
  std::vector<TopMenuBinding> tops_;
  std::vector<QAction*> windowListActions_;
  std::string toolbarSignature_;
  std::vector<QToolBar*> toolbars_;
  std::map<std::string, QAction*> toolbarActions_;
  std::map<long, ChildBinding> children_;
  bool showToolbars_ = true;
  int windowState_ = 0;
  QRect normalRect_;
  bool addingChild_ = false;
  bool syncingMenus_ = false;
};

}  // namespace sv::app
