#include "core/mdi_main.h"

#include <algorithm>
#include <cctype>

#include "core/document_recovery.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/settings.h"

namespace sv {

namespace {

MDIForm_Main* g_main = nullptr;

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

MenuEntry Item(const std::string& name, const std::string& caption,
               const std::string& shortcut = "") {
  MenuEntry e;
  e.name = name;
  e.caption = caption;
  e.shortcut = shortcut;
  e.built = false;
  return e;
}

MenuEntry Separator(const std::string& name) {
  MenuEntry e;
  e.name = name;
  e.caption = "-";
  return e;
}

MenuEntry Top(const std::string& name, const std::string& caption,
              std::vector<MenuEntry> children) {
  MenuEntry e;
  e.name = name;
  e.caption = caption;
  e.children = std::move(children);
  return e;
}

MenuEntry* Find(MenuEntry& at, const std::string& name, int index) {
  if (at.name == name && at.index == index) return &at;
  for (auto& c : at.children)
    if (MenuEntry* f = Find(c, name, index)) return f;
  return nullptr;
}

template <typename F>
void ForEach(MenuEntry& at, F&& f) {
  f(at);
  for (auto& c : at.children) ForEach(c, f);
}

// Menu entries that only open their submenu.
bool IsParent(const MenuEntry& e) { return !e.children.empty(); }

// The top menus that MenuEnabled(false) closes for the length of a run.
const char* const kRunMenus[] = {"mnuFile",  "mnuEdit",  "mnuGrabber", "mnuScan",   "mnuImage",
                                 "mnueGun",  "mnuSetup", "mnuView",    "mnuWindow", "mnuInfo"};
const char* const kRunToolbars[] = {"Toolbar_File",  "Toolbar_Edit",  "Toolbar_Grabber",
                                    "Toolbar_Scan",  "Toolbar_Image", "Toolbar_eGun"};

// Toolbar keys and the menu entries they stand for.
struct KeyMenu {
  const char* key;
  const char* menu;
};
const KeyMenu kKeyMenus[] = {
    {"NewImage", "mnuNewImage"},   {"NewWorksheet", "mnuNewWorksheet"},
    {"OpenImage", "mnuOpenImage"}, {"OpenWorksheet", "mnuOpenWorksheet"},
    {"SaveAs", "mnuSaveAs"},       {"Print", "mnuPrint"},
    {"Undo", "mnuUndo"},           {"Cut", "mnuCut"},
    {"Copy", "mnuCopy"},           {"Paste", "mnuPaste"},
    {"Preview", "mnuPreview"},     {"Overlay", "mnuOverlay"},
    {"Grab", "mnuGrab"},           {"TimerGrab", "mnuTimerGrab"},
    {"Average", "mnuAverage"},     {"Line", "mnuLineSetup"},
    {"Frame", "mnuWindowSetup"},   {"LUT", "mnuVGALut"},
    {"Histogram", "mnuHistogram"}, {"FullScreen", "mnuFullScreen"},
    {"Cursor", "mnuToolCursor"},   {"Zoom", "mnuToolZoom"},
    {"ScreenReader", "mnuToolScreenReader"}, {"DataReader", "mnuToolDataReader"},
    {"Marker", "mnuToolMarker"},   {"PeakIntegrate", "mnuPeakIntegrate"},
    {"Growthrate", "mnuGrowthRate"}, {"eGun", "mnuGunParameter"},
};

const char* MenuForKey(const std::string& key) {
  for (const auto& km : kKeyMenus)
    if (key == km.key) return km.menu;
  return nullptr;
}

}  // namespace

MDIForm_Main* MainForm() { return g_main; }
void SetMainForm(MDIForm_Main* main) { g_main = main; }

MDIForm_Main::MDIForm_Main() {
  view_ = &nullView_;
  BuildMenus();
  BuildToolbars();
  LastFiles.assign(kLastFileEntries, "");

  // What the core itself offers.
  SetCommand("mnuExit", [this](int) {
    if (QueryUnload()) view_->CloseMain();
  });
  SetCommand("mnuCloseAllImages", [this](int) { UnloadImages(); });
  SetCommand("mnuLastFile", [this](int i) {
    std::string file = GetLastFile(i);
    if (!file.empty()) OpenDocument(file, 1);
  });
  SetCommand("mnuShowToolbar", [this](int) {
    G().ShowToolbar = G().ShowToolbar ? 0 : -1;
    FindMenu("mnuShowToolbar")->checked = G().ShowToolbar != 0;
    view_->ToolbarVisible(G().ShowToolbar != 0);
    view_->MenusChanged();
  });
  SetCommand("mnuShowStatusBar", [this](int) {
    G().ShowStatusbar = G().ShowStatusbar ? 0 : -1;
    FindMenu("mnuShowStatusBar")->checked = G().ShowStatusbar != 0;
    view_->StatusbarVisible(G().ShowStatusbar != 0);
    view_->MenusChanged();
  });
  SetCommand("mnuShowImageComment", [this](int) {
    G().ViewImageComment = G().ViewImageComment ? 0 : -1;
    FindMenu("mnuShowImageComment")->checked = G().ViewImageComment != 0;
    for (auto& c : children_)
      if (c->Kind() == DocKind::Image) c->Invoke("ViewImageCommentChanged");
    view_->MenusChanged();
  });
  SetCommand("mnuArrange", [this](int how) { view_->Arrange(how); });
  SetCommand("mnuAbout", [](int) {
    host().MsgBox(G().AppTitle + "\r\nWorkbench for surface science and vision", MsgButtons::OK,
                  MsgIcon::Information, "About " + G().AppTitle);
  });
}

MDIForm_Main::~MDIForm_Main() {
  if (g_main == this) g_main = nullptr;
}

void MDIForm_Main::BuildMenus() {
  menuBar_.name = "MenuBar";
  auto routed = [](const std::string& name, const std::string& caption,
                   const std::string& shortcut = "") { return Item(name, caption, shortcut); };
  // An element of a menu array; the operation it is routed to reads the index.
  auto Indexed = [](const std::string& name, int index, const std::string& caption) {
    MenuEntry e = Item(name, caption);
    e.index = index;
    return e;
  };
  menuBar_.children = {
      Top("mnuFile", "&File",
          {Top("mnuNew", "&New",
               {Item("mnuNewImage", "&Image", "Ctrl+N"), Item("mnuNewWorksheet", "&Worksheet")}),
           Top("mnuOpen", "&Open",
               {Item("mnuOpenImage", "&Image...", "Ctrl+O"), Item("mnuOpenFilm", "&Film..."),
                Item("mnuOpenWorksheet", "&Worksheet...")}),
           routed("mnuClose", "&Close"), Item("mnuCloseAllImages", "Close &all Images"),
           Separator("mnuFileDummy1"), routed("mnuSave", "&Save", "Ctrl+S"),
           routed("mnuSaveAs", "Save &As..."), routed("mnuExport", "&Export..."),
           routed("mnuAppend", "A&ppend..."), routed("mnuImportAscii", "&Import ASCII..."),
           routed("mnuImportOptions", "Import &Options..."), Separator("mnuFileDummy2"),
           routed("mnuPrint", "&Print...", "Ctrl+P"), Item("mnuPrinterSetup", "P&rinter Setup..."),
           Separator("mnuFileDummy4"), Separator("mnuFileDummy3"), Item("mnuExit", "E&xit")}),
      Top("mnuEdit", "&Edit",
          {routed("mnuUndo", "&Undo", "Ctrl+Z"), Separator("mnuEditDummy1"),
           routed("mnuCut", "Cu&t", "Ctrl+X"), routed("mnuCopy", "&Copy", "Ctrl+C"),
           routed("mnuPaste", "&Paste", "Ctrl+V"), routed("mnuClear", "C&lear", "Del"),
           Separator("mnuEditDummy2"), routed("mnuEditText", "Edit &Text..."),
           routed("mnuFind", "&Find...", "Ctrl+F")}),
      Top("mnuGrabber", "&Grabber",
          {Item("mnuPreview", "&Preview", "F5"), Item("mnuOverlay", "&Overlay"),
           Item("mnuGrab", "&Grab", "F6"), Item("mnuTimerGrab", "&Timer Grab"),
           Item("mnuAverage", "&Average"), Item("mnuAvgHist", "&Noise Reduction"),
           Separator("mnuGrabberDummy1"), Item("mnuSource", "&Source"),
           Item("mnuDlgVideoSource", "Video S&ource..."),
           Item("mnuDlgVideoFormat", "Video &Format..."), Separator("mnuGrabberDummy2"),
           Item("mnuDefineBackground", "&Define Background"),
           Item("mnuSubtractBackground", "S&ubtract Background"),
           Separator("mnuGrabberDummy3"), Item("mnuGrabInternet", "Grab from &Internet..."),
           Item("mnuWebCam", "&Web Camera...")}),
      Top("mnuScan", "&Scan",
          {Item("mnuLineSetup", "&Line Setup..."), Item("mnuWindowSetup", "&Window Setup..."),
           Item("mnuLoadWindowPar", "L&oad Window Parameters..."),
           Item("mnuSaveWindowPar", "&Save Window Parameters..."), Separator("mnuScanDummy1"),
           Item("mnuExperiment", "&Experiment..."), Item("mnuColorScan", "&Color Scan..."),
           Item("mnuFilm", "&Film..."), Item("mnuImageVTR", "&Image Recorder..."),
           Item("mnuAuger", "&Auger...")}),
      Top("mnuImage", "&Image",
          {routed("mnuVGALut", "&LUT..."), routed("mnuHistogram", "&Histogram..."),
           routed("mnuImageInfo", "&Info..."), Separator("mnuImageDummy1"),
           routed("mnuDuplicate", "&Duplicate"), routed("mnuConvert", "Con&vert..."),
           routed("mnuConvertToImage", "Convert to &Image"),
           Top("mnuDynamikMenu", "D&ynamic",
               {Indexed("mnuDynamik", 8, "&8 Bit"), Indexed("mnuDynamik", 9, "&9 Bit"),
                Indexed("mnuDynamik", 10, "1&0 Bit"), Indexed("mnuDynamik", 11, "11 &Bit"),
                Indexed("mnuDynamik", 12, "1&2 Bit"), Indexed("mnuDynamik", 13, "1&3 Bit"),
                Indexed("mnuDynamik", 14, "1&4 Bit"), Indexed("mnuDynamik", 15, "1&5 Bit"),
                Indexed("mnuDynamik", 16, "1&6 Bit")}),
           Top("mnuColors", "&Colors",
               {routed("mnuColorsColorCount", "&Color Count"),
                routed("mnuColorsGreyScale", "&Grey Scale"),
                routed("mnuColorsSplitToRGB", "&Split to RGB"),
                routed("mnuColorsTrueColor", "&True Color")}),
           Separator("mnuImageDummy2"), routed("mnuResize", "Re&size..."),
           Indexed("mnuRotate", 0, "&Rotate Right"), Indexed("mnuRotate", 1, "Rotate Le&ft"),
           routed("mnuFlip", "&Flip"), routed("mnuMirror", "&Mirror"),
           Indexed("mnuField", 1, "F&ield 1"), Indexed("mnuField", 2, "Fi&eld 2"),
           routed("mnuNegativeImage", "&Negative"),
           Separator("mnuImageDummy3"), routed("mnuBinarize", "&Binarize..."),
           Indexed("mnuDilatation", 0, "Di&latation 4x"),
           Indexed("mnuDilatation", 1, "Dilatation 8x"),
           Indexed("mnuErosion", 0, "&Erosion 4x"), Indexed("mnuErosion", 1, "Erosion 8x"),
           Indexed("mnuMorphOpen", 0, "Morph. &Open 4x"),
           Indexed("mnuMorphOpen", 1, "Morph. Open 8x"),
           Indexed("mnuMorphClose", 0, "Morph. Cl&ose 4x"),
           Indexed("mnuMorphClose", 1, "Morph. Close 8x"),
           routed("mnuEdge", "E&dge"), Item("mnuFilter", "Fil&ter..."),
           Item("mnuImageMath1", "Image M&ath..."),
           Item("mnuImageMath2", "Image Math (&2 Images)..."),
           Item("mnuParticles", "&Particles..."), Separator("mnuImageDummy4"),
           routed("mnuMeasureOfLength", "Measure of &Length..."),
           Item("mnuFullScreen", "F&ull Screen")}),
      Top("mnuColumn", "&Column",
          {routed("mnuAddColumns", "&Add Columns..."), routed("mnuAddRows", "Add &Rows..."),
           routed("mnuInsert", "&Insert"), routed("mnuDelete", "&Delete"),
           routed("mnuMove", "&Move..."), routed("mnuRename", "Re&name..."),
           routed("mnuSetAs", "&Set as..."), routed("mnuSetColumnWidth", "Column &Width..."),
           routed("mnuSetWorksheetX", "Set Worksheet &X..."),
           routed("mnuShowXData", "Show X &Data"), routed("mnuGotoCol", "&Go to Column..."),
           routed("mnuGotoRow", "Go to Ro&w...")}),
      Top("mnuData", "&Data",
          {routed("mnuSort", "&Sort..."), routed("mnuClearWorksheet", "&Clear Worksheet"),
           Separator("mnuDataDummy1"), routed("mnuMath", "&Math..."),
           Top("mnuFkt", "&Functions", {}), routed("mnuSimpleMath", "Simple M&ath..."),
           routed("mnuSmooth", "Sm&ooth..."), routed("mnuDifferentiate", "&Differentiate"),
           routed("mnuIntegrate", "&Integrate"), routed("mnuFFT", "&FFT..."),
           Separator("mnuDataDummy2"), routed("mnuPeakFit", "&Peak Fit..."),
           routed("mnuPeakIntegrate", "Peak I&ntegrate"), routed("mnuRFactor", "&R-Factor..."),
           routed("mnuGrowthRate", "&Growth Rate...")}),
      Top("mnuGraph", "&Plot",
          {routed("mnuNewPlot", "&New Plot"), routed("mnu3DPlot", "&3D Plot"),
           routed("mnu3D_Waterfall", "3D &Waterfall"), routed("mnuAddCurve", "&Add Curve..."),
           routed("mnuAxisSetup", "A&xis..."), routed("mnuLayerSetup", "&Layer..."),
           routed("mnuPlotDetails", "&Details..."), routed("mnuReplot", "&Replot"),
           routed("mnuRescale", "Re&scale"), Separator("mnuPlotDummy1"),
           Item("mnuShowProfile", "3D &Profile")}),
      Top("mnuTools", "T&ools",
          {routed("mnuToolCursor", "&Cursor"), routed("mnuToolZoom", "&Zoom"),
           routed("mnuToolScreenReader", "&Screen Reader"),
           routed("mnuToolDataReader", "&Data Reader"), routed("mnuToolMarker", "&Marker"),
           Separator("mnuToolsDummy1"), routed("mnuToolsCancel", "C&ancel Tool"),
           Separator("mnuToolsDummy2"), Item("mnuScript", "&Script...")}),
      Top("mnueGun", "e-G&un",
          {Item("mnuGunParameter", "&Parameter..."),
           Top("mnuShutter", "&Shutter", {Item("mnuShutterControl", "Shutter &Control...")})}),
      Top("mnuSetup", "Se&tup",
          {Item("mnuGrabberSetup", "&Grabber..."), Item("mnuIOSetup", "&I/O..."),
           Item("mnuDASetup", "&D/A..."), Item("mnuADSetup", "&A/D..."),
           Separator("mnuSetupDummy1"), Item("mnuSetupOptions", "&Options..."),
           Item("mnuPathes", "&Folders...")}),
      Top("mnuView", "&View",
          {Item("mnuShowToolbar", "&Toolbar"), Item("mnuShowStatusBar", "&Status Bar"),
           Item("mnuShowImageComment", "Image &Comment"),
           Item("mnuShowBackgroundImage", "&Background Image"), Separator("mnuViewDummy1"),
           Top("mnuViewLarger", "&Larger", {}), Top("mnuViewSmaller", "S&maller", {}),
           Item("mnuZoom1x", "&1:1")}),
      Top("mnuWindow", "&Window", {}),
      Top("mnuInfo", "&?",
          {Item("mnuHelp", "&Help", "F1"), Item("mnuAbout", "&About..."),
           Item("mnuUpdate", "&Update..."), Item("mnuMemInfo", "&Memory..."),
           Item("mnuStressCounter", "&Stress Counter...")}),
  };

  MenuEntry* window = FindMenu("mnuWindow");
  const char* arrange[] = {"&Cascade", "Tile &Horizontally", "Tile &Vertically",
                           "&Arrange Icons"};
  for (int i = 0; i < 4; ++i) {
    MenuEntry e = Item("mnuArrange", arrange[i]);
    e.index = i;
    window->children.push_back(e);
  }

  // The routing table: menu entry -> operation of the document in front.
  routes_ = {
      {"mnuClose", "FileClose"}, {"mnuSave", "FileSave"}, {"mnuSaveAs", "FileSaveAs"},
      {"mnuExport", "FileExport"}, {"mnuAppend", "FileAppend"},
      {"mnuImportAscii", "FileImportAscii"}, {"mnuImportOptions", "FileImportOptions"},
      {"mnuPrint", "PrintSetup"}, {"mnuUndo", "Undo"}, {"mnuCut", "EditCut"},
      {"mnuCopy", "EditCopy"}, {"mnuPaste", "EditPaste"}, {"mnuClear", "EditClear"},
      {"mnuEditText", "Edit"}, {"mnuImageInfo", "Info"}, {"mnuFind", "FindDlg"},
      {"mnuDuplicate", "Duplicate"}, {"mnuConvert", "Convert"},
      {"mnuConvertToImage", "ConvertToImage"}, {"mnuBinarize", "Binarize"},
      {"mnuDilatation", "Dilatation"}, {"mnuErosion", "Erosion"}, {"mnuMorphOpen", "MorphOpen"},
      {"mnuMorphClose", "MorphClose"}, {"mnuEdge", "Edge"}, {"mnuRotate", "Rotate"},
      {"mnuResize", "Resize"},
      {"mnuFlip", "Flip"}, {"mnuMirror", "Mirror"}, {"mnuField", "field"},
      {"mnuNegativeImage", "Negative"}, {"mnuDynamik", "ChangeImageDynamikTo"},
      {"mnuColorsColorCount", "ColorCount"}, {"mnuColorsGreyScale", "GreyScale"},
      {"mnuColorsSplitToRGB", "SplitToRGB"}, {"mnuColorsTrueColor", "TrueColor"},
      {"mnuHistogram", "Histogram"}, {"mnuMeasureOfLength", "MeasureOfLength"},
      {"mnuVGALut", "Lut"}, {"mnuAddColumns", "AddColumns"}, {"mnuAddRows", "AddRows"},
      {"mnuInsert", "Insert"}, {"mnuDelete", "Delete"}, {"mnuMove", "ColumnMove"},
      {"mnuRename", "ColumnRename"}, {"mnuColumn", "Column"}, {"mnuData", "DATA"},
      {"mnuSort", "DataSort"}, {"mnuClearWorksheet", "ClearWorkSheet"}, {"mnuSetAs", "SetAs"},
      {"mnuSetColumnWidth", "SetColumnWidth"}, {"mnuSetWorksheetX", "SetWorksheetX"},
      {"mnuShowXData", "ShowXData"}, {"mnuGotoCol", "GotoColumn"}, {"mnuGotoRow", "GotoZeile"},
      {"mnuMath", "Math"}, {"mnuFkt", "MathFkt"}, {"mnuSimpleMath", "MathSimpleMath"},
      {"mnuSmooth", "MathSmooth"}, {"mnuDifferentiate", "MathDifferentiate"},
      {"mnuIntegrate", "MathIntegrate"}, {"mnuFFT", "CalcFFT"}, {"mnuPeakFit", "MathPeakFit"},
      {"mnuPeakIntegrate", "MathPeakIntegrate"}, {"mnuRFactor", "MathRFactor"},
      {"mnuGrowthRate", "MathGrowthRate"}, {"mnuNewPlot", "AddNewPlot"},
      {"mnu3DPlot", "AddNew3DPlot"}, {"mnu3D_Waterfall", "AddNew3DPlot"},
      {"mnuAddCurve", "GraphAddCurve"}, {"mnuAxisSetup", "DefineAxis"},
      {"mnuLayerSetup", "DefineLayer"}, {"mnuPlotDetails", "PlotDetails"}, {"mnuReplot", "Plot"},
      {"mnuRescale", "Rescale"},
      // Each tool entry names its tool: 1 cursor, 2 zoom, 3 screen reader,
      // 4 data reader, 5 marker; cancelling a tool returns to the cursor.
      {"mnuToolCursor", "SetTool1"}, {"mnuToolZoom", "SetTool2"},
      {"mnuToolScreenReader", "SetTool3"}, {"mnuToolDataReader", "SetTool4"},
      {"mnuToolMarker", "SetTool5"}, {"mnuToolsCancel", "SetTool1"},
  };
  // A routed entry is built: whether it can be pressed is the document's word.
  ForEach(menuBar_, [&](MenuEntry& e) {
    if (routes_.count(e.name)) e.built = true;
  });
}

void MDIForm_Main::BuildToolbars() {
  auto bar = [](const std::string& name, std::vector<std::string> keys) {
    Toolbar t;
    t.name = name;
    for (auto& k : keys) {
      ToolbarButton b;
      b.key = k;
      b.tip = k;
      b.built = false;
      t.buttons.push_back(b);
    }
    return t;
  };
  toolbars_ = {
      bar("Toolbar_File",
          {"NewImage", "NewWorksheet", "OpenImage", "OpenWorksheet", "SaveAs", "Print"}),
      bar("Toolbar_Edit", {"Undo", "Cut", "Copy", "Paste"}),
      bar("Toolbar_Grabber", {"Preview", "Overlay", "Grab", "TimerGrab", "Average"}),
      bar("Toolbar_Scan", {"Line", "Frame"}),
      bar("Toolbar_Image", {"LUT", "Histogram", "FullScreen"}),
      bar("Toolbar_Plot", {"Cursor", "Zoom", "ScreenReader", "DataReader", "Marker",
                           "PeakIntegrate", "Print", "Growthrate"}),
      bar("Toolbar_eGun", {"eGun"}),
  };
}

void MDIForm_Main::SetCommand(const std::string& name, std::function<void(int)> handler) {
  commands_[name] = std::move(handler);
  ForEach(menuBar_, [&](MenuEntry& e) {
    if (e.name == name) e.built = true;
  });
}

void MDIForm_Main::SetEnabledRule(const std::string& name, std::function<bool()> rule) {
  if (rule)
    enabledRules_[name] = std::move(rule);
  else
    enabledRules_.erase(name);
}

void MDIForm_Main::Load() {
  // Zoom menus: n:1 and 1:n for n from 3 to 16.
  MenuEntry* larger = FindMenu("mnuViewLarger");
  MenuEntry* smaller = FindMenu("mnuViewSmaller");
  larger->children.clear();
  smaller->children.clear();
  for (int n = 3; n <= 16; ++n) {
    MenuEntry l = Item("mnuViewLarger", ZoomLargerCaption(n));
    l.index = n;
    l.built = commands_.count("mnuViewLarger") > 0;
    larger->children.push_back(l);
    MenuEntry s = Item("mnuViewSmaller", ZoomSmallerCaption(n));
    s.index = n;
    s.built = commands_.count("mnuViewSmaller") > 0;
    smaller->children.push_back(s);
  }
  // The last-files entries, one per remembered file.
  MenuEntry* file = FindMenu("mnuFile");
  auto pos = std::find_if(file->children.begin(), file->children.end(),
                          [](const MenuEntry& e) { return e.name == "mnuFileDummy4"; });
  if (!FindMenu("mnuLastFile", 0)) {
    std::vector<MenuEntry> entries;
    for (int i = 0; i < kLastFileEntries; ++i) {
      MenuEntry e = Item("mnuLastFile", "");
      e.index = i;
      e.built = true;
      e.visible = false;
      entries.push_back(e);
    }
    file->children.insert(pos, entries.begin(), entries.end());
  }
  LastFiles.resize(kLastFileEntries);
  FindMenu("mnuShowProfile")->visible = G().Use3D;
  FindMenu("mnuPlotDummy1")->visible = G().Use3D;
  RefreshLastFileMenu();
  view_->MenusChanged();
  view_->ToolbarsChanged();
}

std::string MDIForm_Main::ZoomLargerCaption(int n) {
  return (n <= 10 ? "&" : "") + std::to_string(n) + ":1";
}

std::string MDIForm_Main::ZoomSmallerCaption(int n) {
  return (n <= 10 ? "&" : "") + std::string("1:") + std::to_string(n);
}

MenuEntry* MDIForm_Main::FindMenu(const std::string& name, int index) {
  return Find(menuBar_, name, index);
}

Toolbar* MDIForm_Main::FindToolbar(const std::string& name) {
  for (auto& t : toolbars_)
    if (t.name == name) return &t;
  return nullptr;
}

ToolbarButton* MDIForm_Main::FindButton(const std::string& key) {
  for (auto& t : toolbars_)
    for (auto& b : t.buttons)
      if (b.key == key) return &b;
  return nullptr;
}

void MDIForm_Main::Click(const std::string& name, int index) {
  MenuEntry* e = FindMenu(name, index);
  if (!e && index >= 0) e = FindMenu(name, -1);
  // A closed or unbuilt entry does nothing, as it could not be pressed.
  if (e && (!e->built || !e->enabled)) {
    if (!routes_.count(name)) return;
  }
  if (auto r = routes_.find(name); r != routes_.end()) {
    RouteToActive(r->second, index);
    return;
  }
  if (auto c = commands_.find(name); c != commands_.end()) c->second(index);
}

void MDIForm_Main::ToolbarClick(const std::string& key) {
  const ToolbarButton* button = nullptr;
  for (auto& t : toolbars_)
    for (auto& b : t.buttons)
      if (b.key == key) {
        if (!t.enabled || !b.enabled) return;
        if (!button) button = &b;
      }
  if (const char* menu = MenuForKey(key)) {
    Click(menu);
  } else if (button && !button->menu.empty()) {
    // Copies: the command may rebuild the toolbar it came from.
    const std::string name = button->menu;
    const int index = button->menuIndex;
    Click(name, index);
  }
}

void MDIForm_Main::RouteToActive(const std::string& operation, int index) {
  ChildDocument* doc = ActiveChild();
  if (!doc || doc->Locked()) return;
  // A class that does not offer the operation ignores it.
  if (doc->Offers(operation)) doc->InvokeAt(operation, index);
  UpdateToolbarState();
}

void MDIForm_Main::PrepareMenu(const std::string& topName) {
  MenuEntry* top = FindMenu(topName);
  if (!top) return;
  ChildDocument* doc = ActiveChild();
  const bool free = doc && !doc->Locked();
  ForEach(*top, [&](MenuEntry& e) {
    if (&e == top || e.IsSeparator()) return;
    if (auto r = routes_.find(e.name); r != routes_.end()) {
      e.enabled = free && doc->Offers(r->second);
      if (IsParent(e)) e.enabled = true;
    } else if (!IsParent(e)) {
      auto rule = enabledRules_.find(e.name);
      e.enabled = e.built && (rule == enabledRules_.end() || rule->second());
    }
  });
  if (topName == "mnuEdit") {
    MenuEntry* undo = FindMenu("mnuUndo");
    std::string name = doc ? doc->UndoName() : "";
    undo->caption = name.empty() ? "&Undo" : "&Undo " + name;
    undo->enabled = undo->enabled && !name.empty();
  }
  if (topName == "mnuFile") {
    FindMenu("mnuCloseAllImages")->enabled = ImageCount > 0 && !menusClosed_;
  }
  if (topName == "mnuView") {
    FindMenu("mnuShowToolbar")->checked = G().ShowToolbar != 0;
    FindMenu("mnuShowStatusBar")->checked = G().ShowStatusbar != 0;
    FindMenu("mnuShowImageComment")->checked = G().ViewImageComment != 0;
    const bool image = doc && doc->Kind() == DocKind::Image;
    for (auto* name : {"mnuViewLarger", "mnuViewSmaller"})
      for (auto& z : FindMenu(name)->children) z.enabled = z.built && image;
    MenuEntry* one = FindMenu("mnuZoom1x");
    one->enabled = one->built && image;
  }
  if (topName == "mnuWindow") {
    for (auto& a : top->children) a.enabled = !children_.empty() || a.index == 3;
  }
  if (topName == "mnuTools") {
    // The entry of the active document's tool is checked.
    const std::string pressed = doc ? doc->PressedToolKey() : "";
    const char* menu = pressed.empty() ? nullptr : MenuForKey(pressed);
    for (auto& e : top->children) e.checked = menu && e.name == menu;
  }
  view_->MenusChanged();
}

void MDIForm_Main::PrepareAllMenus() {
  for (auto& top : menuBar_.children) PrepareMenu(top.name);
}

void MDIForm_Main::UpdateToolbarState() {
  PrepareAllMenus();
  // The button of the active document's tool is down.
  ChildDocument* front = ActiveChild();
  const std::string pressed = front ? front->PressedToolKey() : "";
  for (auto& t : toolbars_)
    for (auto& b : t.buttons) {
      if (t.name == "Toolbar_Plot") b.checked = !pressed.empty() && b.key == pressed;
      const char* menu = MenuForKey(b.key);
      MenuEntry* e = menu              ? FindMenu(menu)
                     : b.menu.empty() ? nullptr
                                      : FindMenu(b.menu, b.menuIndex);
      b.built = e && (e->built || routes_.count(e->name));
      b.enabled = e && e->enabled;
      if (b.key == "Undo") {
        ChildDocument* doc = ActiveChild();
        std::string name = doc ? doc->UndoName() : "";
        b.tip = name.empty() ? "Undo" : "Undo: " + name;
      }
    }
  view_->ToolbarsChanged();
}

void MDIForm_Main::MenuEnabled(bool enabled) {
  if (!enabled) {
    if (!menusClosed_) {
      savedMenuState_.clear();
      for (const char* name : kRunMenus)
        if (MenuEntry* e = FindMenu(name)) savedMenuState_[name] = e->enabled;
    }
    for (const char* name : kRunMenus)
      if (MenuEntry* e = FindMenu(name)) e->enabled = false;
    for (const char* name : kRunToolbars)
      if (Toolbar* t = FindToolbar(name)) t->enabled = false;
    menusClosed_ = true;
  } else {
    for (const char* name : kRunMenus)
      if (MenuEntry* e = FindMenu(name)) {
        auto it = savedMenuState_.find(name);
        e->enabled = it == savedMenuState_.end() ? true : it->second;
      }
    for (const char* name : kRunToolbars)
      if (Toolbar* t = FindToolbar(name)) t->enabled = true;
    for (int i = 0; i <= 2; ++i)
      if (MenuEntry* a = FindMenu("mnuArrange", i)) a->enabled = true;
    FindMenu("mnuCloseAllImages")->enabled = true;
    menusClosed_ = false;
  }
  view_->MenusChanged();
  view_->ToolbarsChanged();
}

// --- Documents ---------------------------------------------------------------

void MDIForm_Main::AddChild(std::unique_ptr<ChildDocument> doc) {
  doc->SetHandle(nextHandle_++);
  ChildDocument& ref = *doc;
  children_.push_back(std::move(doc));
  view_->ChildAdded(ref);
}

ChildDocument* MDIForm_Main::AddDocument(std::unique_ptr<ChildDocument> doc) {
  if (!doc) return nullptr;
  ChildDocument* p = doc.get();
  AddChild(std::move(doc));
  return p;
}

ChildDocument* MDIForm_Main::CreateImage() {
  if (!imageFactory_) return nullptr;
  auto doc = imageFactory_(*this);
  if (!doc) return nullptr;
  ++ImageCounter;
  ++ImageCount;
  doc->SetTitle("Image" + std::to_string(ImageCounter));
  ChildDocument* p = doc.get();
  AddChild(std::move(doc));
  ImageList.push_back(p->Handle());
  return p;
}

ChildDocument* MDIForm_Main::CreateWorksheet() {
  if (!sheetFactory_) return nullptr;
  auto doc = sheetFactory_(*this);
  if (!doc) return nullptr;
  ++SheetCounter;
  ++SheetCount;
  doc->SetTitle("Data" + std::to_string(SheetCounter) + "." + "sht");
  ChildDocument* p = doc.get();
  AddChild(std::move(doc));
  SheetList.push_back(p->Handle());
  return p;
}

void MDIForm_Main::ShowChild(long handle) {
  ChildDocument* doc = Child(handle);
  if (!doc) return;
  doc->SetVisible(true);
  activeHandle_ = handle;
  view_->ShowChild(handle);
  UpdateToolbarState();
}

ChildDocument* MDIForm_Main::Child(long handle) {
  for (auto& c : children_)
    if (c->Handle() == handle) return c.get();
  return nullptr;
}

ChildDocument* MDIForm_Main::ActiveChild() {
  ChildDocument* doc = Child(activeHandle_);
  return doc && doc->Visible() ? doc : nullptr;
}

void MDIForm_Main::SetActiveChild(long handle) {
  if (activeHandle_ == handle) return;
  activeHandle_ = handle;
  if (ChildDocument* doc = Child(handle)) doc->Invoke("Activate");
  UpdateToolbarState();
}

bool MDIForm_Main::CloseChild(long handle) {
  ChildDocument* doc = Child(handle);
  if (!doc) return true;
  if (!doc->QueryUnload()) return false;
  const DocKind kind = doc->Kind();
  if (kind == DocKind::Image) RemoveImage(handle);
  if (kind == DocKind::Worksheet) RemoveSheet(handle);
  // The document goes before the view learns of it, so a view that closes
  // its window in turn finds nothing left to ask.
  auto it = std::find_if(children_.begin(), children_.end(),
                         [&](const auto& c) { return c->Handle() == handle; });
  std::unique_ptr<ChildDocument> gone;
  if (it != children_.end()) {
    gone = std::move(*it);
    children_.erase(it);
  }
  if (activeHandle_ == handle) activeHandle_ = 0;
  view_->ChildRemoved(handle);
  gone.reset();
  UpdateToolbarState();
  return true;
}

namespace {
void RemoveFromList(std::vector<long>& list, long& count, long handle) {
  auto it = std::find(list.begin(), list.end(), handle);
  if (it == list.end()) return;
  list.erase(it);  // later entries move one down
  --count;
}
}  // namespace

void MDIForm_Main::RemoveImage(long handle) { RemoveFromList(ImageList, ImageCount, handle); }
void MDIForm_Main::RemoveSheet(long handle) { RemoveFromList(SheetList, SheetCount, handle); }

void MDIForm_Main::UnloadImages() {
  std::vector<long> handles = ImageList;
  for (long h : handles) CloseChild(h);
}

void MDIForm_Main::UnloadSheets() {
  std::vector<long> handles = SheetList;
  for (long h : handles) CloseChild(h);
}

// --- Last files --------------------------------------------------------------

std::string MDIForm_Main::GetLastFile(int index) const {
  if (index < 0 || index >= static_cast<int>(LastFiles.size())) return "";
  if (LastFiles[index].empty()) return "";
  // The caption is "&" + number + " " + file: the file from its fourth character.
  std::string caption = "&" + std::to_string(index + 1) + " " + LastFiles[index];
  return caption.size() > 3 ? caption.substr(3) : "";
}

void MDIForm_Main::RemoveLastFile(int index) {
  if (index < 0 || index >= static_cast<int>(LastFiles.size())) return;
  LastFiles.erase(LastFiles.begin() + index);
  LastFiles.push_back("");
  RefreshLastFileMenu();
}

void MDIForm_Main::UpdateLastFiles(const std::string& path) {
  if (!path.empty()) {
    auto it = std::find_if(LastFiles.begin(), LastFiles.end(),
                           [&](const std::string& f) { return Lower(f) == Lower(path); });
    if (it != LastFiles.end()) LastFiles.erase(it);
    else LastFiles.pop_back();
    LastFiles.insert(LastFiles.begin(), path);
    LastFiles.resize(kLastFileEntries);
  }
  RefreshLastFileMenu();
}

void MDIForm_Main::RefreshLastFileMenu() {
  bool any = false;
  for (int i = 0; i < kLastFileEntries; ++i) {
    MenuEntry* e = FindMenu("mnuLastFile", i);
    if (!e) continue;
    const std::string& f = i < static_cast<int>(LastFiles.size()) ? LastFiles[i] : "";
    e->caption = "&" + std::to_string(i + 1) + " " + f;
    e->visible = e->enabled = !f.empty();
    any = any || !f.empty();
  }
  if (MenuEntry* sep = FindMenu("mnuFileDummy4")) sep->visible = any;
  view_->MenusChanged();
}

// --- Opening by extension ----------------------------------------------------

bool MDIForm_Main::OpenDocument(const std::string& path, int /*asMode*/, bool runNow) {
  std::string ext = path.size() >= 4 ? Lower(path.substr(path.size() - 4)) : Lower(path);
  auto refuse = [&](const std::string& kind) {
    host().MsgBox("Can't open " + path + " at this time.", MsgButtons::OK, MsgIcon::Exclamation,
                  "Open");
    (void)kind;
    return false;
  };
  auto enabled = [&](const char* name) {
    MenuEntry* e = FindMenu(name);
    return e && e->built && e->enabled && !menusClosed_;
  };
  // ".tiff" is how other programs name their TIFF files.
  const bool tiff = path.size() >= 5 && Lower(path.substr(path.size() - 5)) == ".tiff";
  const bool image = ext == ".tif" || tiff || ext == ".bmp" || ext == ".jpg" || ext == ".img" ||
                     ext == ".fts" || ext == ".t16" || ext == ".b16" || ext == ".i16" ||
                     (!path.empty() && path.back() == '.');
  if (image) {
    if (!enabled("mnuOpenImage") || !ImageOpenDo) return refuse("Image Files");
    ChildDocument* doc = CreateImage();
    if (!doc) return false;
    // The opener tells the user why it failed; the empty window goes again.
    if (!ImageOpenDo(*doc, path)) {
      CloseChild(doc->Handle());
      return false;
    }
    ShowChild(doc->Handle());
    return true;
  }
  if (ext == ".sht") {
    if (!enabled("mnuOpenWorksheet") || !WorksheetOpenDo) return refuse("Worksheet Files");
    ChildDocument* doc = CreateWorksheet();
    if (!doc) return false;
    const bool ok = WorksheetOpenDo(*doc, path);
    ShowChild(doc->Handle());  // a failed read leaves what it read on show
    return ok;
  }
  if (ext == ".scr") {
    if (!enabled("mnuScript")) return refuse("Script Files");
    return ScriptOpenDo && ScriptOpenDo(path, runNow);
  }
  if (ext == ".vid" || ext == ".avi") {
    if (!enabled("mnuOpenFilm")) return refuse("Film Files");
    return FilmOpenDo && FilmOpenDo(path);
  }
  return false;  // any other extension: nothing happens
}

// --- Status bar --------------------------------------------------------------

void MDIForm_Main::ShowStatus(const std::string& text, int progress) {
  panels_[kPanelStatus] = text;
  if (HasHost()) host().ShowStatus(text, progress);
}

void MDIForm_Main::SetPanel(const std::string& panel, const std::string& text) {
  panels_[panel] = text;
  view_->StatusPanel(panel, text);
}

std::string MDIForm_Main::Panel(const std::string& panel) const {
  auto it = panels_.find(panel);
  return it == panels_.end() ? "" : it->second;
}

// --- Exit --------------------------------------------------------------------

std::vector<ChildDocument*> MDIForm_Main::Documents() const {
  std::vector<ChildDocument*> docs;
  for (const auto& c : children_) docs.push_back(c.get());
  return docs;
}

bool MDIForm_Main::QueryUnload() { return RunExit(false); }

bool MDIForm_Main::UnloadBySystem() { return RunExit(true); }

bool MDIForm_Main::RunExit(bool bySystem) {
  if (closed_) return true;
  if (exiting_) return false;
  // Events let run below may bring a second request: it finds this one running.
  struct Running {
    bool& flag;
    explicit Running(bool& f) : flag(f) { flag = true; }
    ~Running() { flag = false; }
  } running(exiting_);
  for (auto& f : exitHooks.unloadTools) f();
  const bool previewWasRunning = exitHooks.previewRunning && exitHooks.previewRunning();
  WriteSettings(this);
  if (HasHost()) host().DoEvents();
  if (!bySystem && G().ShowExitDialog) {
    MsgResult r = host().MsgBox("You are exiting Your " + G().AppTitle + " session.",
                                MsgButtons::OKCancel, MsgIcon::Exclamation, "Exit");
    if (r == MsgResult::Cancel) {
      if (previewWasRunning && exitHooks.restartPreview) exitHooks.restartPreview();
      return false;
    }
  }
  for (auto& f : exitHooks.unloadForms) f();
  for (auto& f : exitHooks.shutdown) f();
  if (bySystem) SaveForRecovery(*this);
  // Documents close without questions now: the session is ending.
  std::vector<long> handles = ImageList;
  handles.insert(handles.end(), SheetList.begin(), SheetList.end());
  for (long h : handles) {
    if (h == 0) continue;
    RemoveImage(h);
    RemoveSheet(h);
    view_->ChildRemoved(h);
  }
  // The other child windows (plots) go with them: no view may keep one.
  for (const auto& c : children_)
    if (std::find(handles.begin(), handles.end(), c->Handle()) == handles.end())
      view_->ChildRemoved(c->Handle());
  children_.clear();
  activeHandle_ = 0;
  for (auto& f : exitHooks.finalUnload) f();
  closed_ = true;
  return true;
}

}  // namespace sv
