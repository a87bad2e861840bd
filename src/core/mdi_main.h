// The main window: the lists of open documents, the menus and toolbars, the
// last-files list, the status bar, and the routing of commands to the
// document in front. A view (the Qt window) binds to it; without one it
// runs headless.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "core/document.h"

namespace sv {

struct MenuEntry {
  std::string name;          // "mnuOpenImage"
  int index = -1;            // the element of a menu array, -1 for a single entry
  std::string caption;       // with "&" accelerators; "-" for a separator
  std::string shortcut;      // "Ctrl+O", or ""
  bool enabled = true;
  bool checked = false;
  bool visible = true;
  bool built = true;         // false while its subsystem is not built: stays disabled
  std::vector<MenuEntry> children;

  bool IsSeparator() const { return caption == "-"; }
};

struct ToolbarButton {
  std::string key;           // "NewImage"
  std::string tip;
  bool enabled = true;
  bool checked = false;
  bool built = true;
  std::string caption;       // shown instead of the key when not empty
  // The menu entry a button stands for when its key names none
  // ("mnuSource", index 2 for the third source button).
  std::string menu;
  int menuIndex = -1;
};

struct Toolbar {
  std::string name;          // "Toolbar_File"
  bool enabled = true;
  bool visible = true;
  std::vector<ToolbarButton> buttons;
};

// The status-bar panels, by name.
inline constexpr const char* kPanelStatus = "Picture_Status";
inline constexpr const char* kPanelPixelColor = "Label_PixelColor";
inline constexpr const char* kPanelEnergy = "Picture_Energy";
inline constexpr const char* kPanelGrabberStatus = "Picture_GrabberStatus";
inline constexpr const char* kPanelDuration = "Picture_Duration";
inline constexpr const char* kPanelFrameRate = "Picture_FrameRate";
inline constexpr const char* kPanelStamp = "Picture_Stamp";

// What the main window's view is told. Every call has a harmless default.
class MainView {
 public:
  virtual ~MainView() = default;
  // A new child window, created hidden; ShowChild shows it and brings it to
  // the front. A child that is never shown (the background image) stays hidden.
  virtual void ChildAdded(ChildDocument&) {}
  virtual void ChildRemoved(long /*handle*/) {}
  virtual void ShowChild(long /*handle*/) {}
  virtual void MenusChanged() {}
  virtual void ToolbarsChanged() {}
  virtual void StatusPanel(const std::string& /*panel*/, const std::string& /*text*/) {}
  virtual void ShowMain() {}
  // state 0 normal, 2 maximised; the rectangle applies to state 0.
  virtual void SetWindowRect(int /*state*/, int /*left*/, int /*top*/, int /*width*/,
                             int /*height*/) {}
  virtual void ToolbarVisible(bool) {}
  virtual void StatusbarVisible(bool) {}
  virtual void Arrange(int /*how*/) {}  // 0 cascade, 1 tile horizontally, 2 tile vertically, 3 icons
  virtual void CloseMain() {}           // the process may end now
  virtual void ShowLutForm(ChildDocument&) {}
};

class MDIForm_Main {
 public:
  using DocumentFactory = std::function<std::unique_ptr<ChildDocument>(MDIForm_Main&)>;

  MDIForm_Main();
  ~MDIForm_Main();
  MDIForm_Main(const MDIForm_Main&) = delete;
  MDIForm_Main& operator=(const MDIForm_Main&) = delete;

  void SetView(MainView* view) { view_ = view; }
  MainView* View() { return view_; }
  void SetImageFactory(DocumentFactory f) { imageFactory_ = std::move(f); }
  void SetWorksheetFactory(DocumentFactory f) { sheetFactory_ = std::move(f); }
  // Commands an upper layer offers beyond the core ("mnuNewImage" is the image
  // layer's); registering one marks its menu entry built.
  void SetCommand(const std::string& name, std::function<void(int index)> handler);
  // A condition beyond being built under which an entry may be pressed (the
  // acquisition entries need a grabber that came up). Applied when menus are
  // prepared.
  void SetEnabledRule(const std::string& name, std::function<bool()> rule);

  // The load step: toolbar sizes, last-files array, function list, zoom menus.
  void Load();

  // Menus.
  MenuEntry& MenuBar() { return menuBar_; }
  MenuEntry* FindMenu(const std::string& name, int index = -1);
  std::vector<Toolbar>& Toolbars() { return toolbars_; }
  Toolbar* FindToolbar(const std::string& name);
  ToolbarButton* FindButton(const std::string& key);
  // A menu entry pressed.
  void Click(const std::string& name, int index = -1);
  // A toolbar button pressed: acts like the menu entry of the same word.
  void ToolbarClick(const std::string& key);
  // The top-level click handlers: set Enabled and Checked of the entries below
  // a top menu from the document in front, before the menu opens.
  void PrepareMenu(const std::string& topName);
  void PrepareAllMenus();
  // Enabled state of the toolbar keys for the document in front.
  void UpdateToolbarState();
  void MenuEnabled(bool enabled);

  // Documents.
  ChildDocument* CreateImage();
  ChildDocument* CreateWorksheet();
  // Any other child window (a plot): gets its handle and is shown by the view.
  ChildDocument* AddDocument(std::unique_ptr<ChildDocument> doc);
  // Shows the child window and makes it the active one.
  void ShowChild(long handle);
  ChildDocument* Child(long handle);
  ChildDocument* ActiveChild();
  // Every child window's document, in the order they were made.
  std::vector<ChildDocument*> Documents() const;
  void SetActiveChild(long handle);
  // Closes the window when its document agrees; true when it is gone.
  bool CloseChild(long handle);
  void RemoveImage(long handle);
  void RemoveSheet(long handle);
  void UnloadImages();
  void UnloadSheets();
  long ImageCounter = 0, ImageCount = 0, SheetCounter = 0, SheetCount = 0;
  std::vector<long> ImageList, SheetList;

  // Last files.
  std::vector<std::string> LastFiles;
  int LastFileEntries() const { return kLastFileEntries; }
  std::string GetLastFile(int index) const;
  void RemoveLastFile(int index);
  void UpdateLastFiles(const std::string& path);

  // Opens a file by its extension; false when refused or not opened.
  bool OpenDocument(const std::string& path, int asMode = 0, bool runNow = false);
  // Upper layers plug their openers in: returns true on success.
  std::function<bool(ChildDocument&, const std::string&)> ImageOpenDo;
  // The sheet's file open: it reports its own errors and keeps what it read.
  std::function<bool(ChildDocument&, const std::string&)> WorksheetOpenDo;
  // The film player's open: shows the player and opens the film there.
  std::function<bool(const std::string&)> FilmOpenDo;
  // The script window's open: loads the script and, with `runNow`, starts it.
  std::function<bool(const std::string&, bool runNow)> ScriptOpenDo;

  // Status bar.
  void ShowStatus(const std::string& text, int progress = -1);
  void SetPanel(const std::string& panel, const std::string& text);
  std::string Panel(const std::string& panel) const;

  // The exit sequence; false when the user cancelled. Upper layers plug in
  // what they must stop, save or shut down at their place.
  bool QueryUnload();
  // The same sequence when the system ends the session (a signal, the
  // desktop logging out): nobody is asked, and documents with changes are
  // kept in the recovery folder before they go. Runs once; true when the
  // session is closed now, false while another exit sequence still runs
  // (its question open): the caller tries again once that has ended.
  bool UnloadBySystem();
  struct ExitHooks {
    std::vector<std::function<void()>> unloadTools;     // step 1
    std::function<bool()> previewRunning;                // step 2: true when stopped here
    std::function<void()> restartPreview;                // after a Cancel
    std::vector<std::function<void()>> unloadForms;     // step 6
    std::vector<std::function<void()>> shutdown;        // step 7, in order
    std::vector<std::function<void()>> finalUnload;     // step 9
  } exitHooks;
  bool Closed() const { return closed_; }
  // True while the exit sequence runs; a request that comes meanwhile is refused.
  bool Exiting() const { return exiting_; }
  // True between MenuEnabled(false) and MenuEnabled(true): a long run is on.
  bool MenusClosed() const { return menusClosed_; }

  // Zoom menus: captions for n = 3 .. 16.
  static std::string ZoomLargerCaption(int n);
  static std::string ZoomSmallerCaption(int n);

 private:
  void BuildMenus();
  void BuildToolbars();
  void RouteToActive(const std::string& operation, int index = -1);
  void RefreshLastFileMenu();
  void AddChild(std::unique_ptr<ChildDocument> doc);

  static constexpr int kLastFileEntries = 4;
  MainView* view_ = nullptr;
  MainView nullView_;
  DocumentFactory imageFactory_, sheetFactory_;
  MenuEntry menuBar_;
  std::vector<Toolbar> toolbars_;
  std::map<std::string, std::function<void(int)>> commands_;
  std::map<std::string, std::function<bool()>> enabledRules_;
  std::map<std::string, std::string> routes_;  // menu name -> operation of the active document
  std::vector<std::unique_ptr<ChildDocument>> children_;
  long nextHandle_ = 1000;
  long activeHandle_ = 0;
  std::map<std::string, std::string> panels_;
  // MenuEnabled(false) notes the states it closes.
  std::map<std::string, bool> savedMenuState_;
  bool menusClosed_ = false;
  bool closed_ = false;
  bool exiting_ = false;
  bool RunExit(bool bySystem);
};

// The main window of this process (set by whoever builds one).
MDIForm_Main* MainForm();
void SetMainForm(MDIForm_Main* main);

}  // namespace sv
