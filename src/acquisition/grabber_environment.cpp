#include "acquisition/grabber_environment.h"

#include <algorithm>

#include "acquisition/grabber.h"
#include "acquisition/live.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "image/form_camera.h"

namespace sv {

namespace {

constexpr const char* kSourcesToolbar = "Toolbar_Sources";

// The entries that take pictures: usable only with a grabber that came up.
const char* const kAcquisitionMenus[] = {
    "mnuPreview", "mnuGrab",         "mnuTimerGrab",           "mnuAverage", "mnuAvgHist",
    "mnuSource",  "mnuDefineBackground", "mnuSubtractBackground", "mnuWebCam",
};

std::string EscapeAmpersands(const std::string& text) {
  std::string out;
  for (char c : text) {
    out += c;
    if (c == '&') out += '&';
  }
  return out;
}

}  // namespace

Form_Camera* PreviewImage(MDIForm_Main* main) {
  if (!main) main = MainForm();
  if (!main || G().PreviewImageHandle == 0) return nullptr;
  return dynamic_cast<Form_Camera*>(main->Child(G().PreviewImageHandle));
}

std::string SourceCaption(long input, long inputs, const std::string& inputName) {
  if (inputs == 1) return "Video Source";
  return "Source &" + std::to_string(input) + ":" + inputName;
}

long ZoomIndexToFit(long imageWidth, long imageHeight, long rectWidth, long rectHeight) {
  constexpr long kOneToOne = 15, kSmallest = 30;
  if (rectWidth <= 0 || rectHeight <= 0 || imageWidth <= 0 || imageHeight <= 0) return kOneToOne;
  for (long index = 0; index <= kSmallest; ++index) {
    const double f = Form_Camera::ZoomFactorForIndex(index);
    if (double(imageWidth) * f <= double(rectWidth) && double(imageHeight) * f <= double(rectHeight))
      return index;
  }
  return kSmallest;
}

// --- Selection steps --------------------------------------------------------------

bool StartGrabber(const std::string& name) {
  const bool ok = GrabberSelect(name);
  MDIForm_Main* main = MainForm();
  if (ok) {
    if (main) AfterGrabberSelection(*main);
  } else {
    GrabberUnload();
    if (main) RefreshGrabberControls(*main);
  }
  return ok;
}

bool ChangeGrabber(const std::string& name) {
  GrabberClose();
  GrabberUnload();
  return StartGrabber(name);
}

void AfterGrabberSelection(MDIForm_Main& main) {
  Globals& g = G();
  GrabberGlobals& b = GB();
  // 1. No live picture runs across a change of grabber.
  StopPreview();
  g.VideoMode = 0;
  // 3. The grabber's depth and the display range that goes with it.
  b.GrabberBits = std::clamp(GrabberBitsPerPixel(), 1L, 16L);
  b.GrabberDynamik = 1L << b.GrabberBits;
  // 4. The image of the live picture.
  Form_Camera* preview = PreviewImage(&main);
  if (!preview) {
    preview = NewImage(main);
    if (preview) {
      g.PreviewImageHandle = preview->Handle();
      preview->SetLocked(true);
      preview->SetHasColors(GrabberIsColor());
      preview->CreateImage(GrabberWidth(), GrabberHeight(), b.GrabberBits, nullptr);
      if (b.CameraImageWidth > 0 && b.CameraImageHeight > 0)
        preview->SetZoom(ZoomIndexToFit(preview->ImageWidth(), preview->ImageHeight(),
                                        b.CameraImageWidth, b.CameraImageHeight));
      preview->GrabEnabled = true;
      preview->Filename.clear();
      preview->SetTitle("Camera Image");
      main.ShowChild(preview->Handle());
    }
  }
  // 5. A grey picture takes the palette of the default type.
  if (preview && !preview->HasColors()) preview->SetLUTtype(g.DefaultLUTtype);
  // 2 and 6.
  RefreshGrabberControls(main);
}

void RefreshGrabberControls(MDIForm_Main& main) {
  // Without its entry the noise reduction stays off, as start-up leaves it.
  if (MenuEntry* avgHist = main.FindMenu("mnuAvgHist")) {
    if (!avgHist->visible) G().NoiseReduction = false;
    avgHist->checked = G().NoiseReduction;
  }
  ShowGrabberSetupCaption(main);
  RebuildSourceControls(main);
}

void RebuildSourceControls(MDIForm_Main& main) {
  Toolbar* bar = main.FindToolbar(kSourcesToolbar);
  if (!bar) {
    Toolbar t;
    t.name = kSourcesToolbar;
    main.Toolbars().push_back(t);
    bar = &main.Toolbars().back();
  }
  const long inputs = G().GrabberOK ? GrabberInputs() : 0;
  const long current = GB().GrabberSource;
  bar->buttons.clear();
  std::vector<MenuEntry> entries;
  for (long i = 0; i < inputs; ++i) {
    const std::string name = GrabberInputName(i);
    const std::string caption = SourceCaption(i, inputs, name);
    ToolbarButton button;
    button.key = "Source" + std::to_string(i);
    button.caption = caption;
    button.tip = name;
    button.menu = "mnuSource";
    button.menuIndex = static_cast<int>(i);
    button.checked = i == current;
    bar->buttons.push_back(button);
    MenuEntry entry;
    entry.name = "mnuSource";
    entry.index = static_cast<int>(i);
    entry.caption = caption;
    entry.checked = i == current;
    entries.push_back(entry);
  }
  bar->visible = inputs > 0;
  if (MenuEntry* source = main.FindMenu("mnuSource")) {
    // With inputs the entry opens their list; without, it is a plain entry
    // that the grabber rule keeps closed.
    if (!entries.empty()) source->enabled = true;
    source->children = std::move(entries);
  }
  main.UpdateToolbarState();
}

void ShowGrabberSetupCaption(MDIForm_Main& main) {
  if (MenuEntry* setup = main.FindMenu("mnuGrabberSetup"))
    setup->caption = "&Grabber: " + EscapeAmpersands(GrabberDisplayNameOf(G().GrabberName)) + "...";
  if (MainView* view = main.View()) view->MenusChanged();
}

// --- Installation ---------------------------------------------------------------------

void InstallGrabberEnvironment() {
  StartupEnvironment& env = Environment();
  env.grabberInit = [](const std::string& name) { return StartGrabber(name); };
  env.grabberHasOverlay = [] { return GrabberHasOverlay(); };
  env.grabberDisplayName = [](const std::string& name) { return GrabberDisplayNameOf(name); };
  RegisterGrabberSettings();
}

void RegisterGrabberCommands(MDIForm_Main& main) {
  for (const char* name : kAcquisitionMenus) main.SetEnabledRule(name, [] { return G().GrabberOK; });
  main.SetEnabledRule("mnuOverlay", [] { return G().GrabberOK && GrabberHasOverlay(); });
  for (const char* name : {"mnuDlgVideoSource", "mnuDlgVideoFormat"})
    main.SetEnabledRule(name, [] { return G().GrabberOK && GrabberOffersDialogs(); });
  main.SetCommand("mnuSource", [](int input) {
    if (input >= 0) GrabberInput(input);
  });
  // The grabber is the first interface to go.
  auto& shutdown = main.exitHooks.shutdown;
  shutdown.insert(shutdown.begin(), [] { GrabberExit(); });
  RebuildSourceControls(main);
}

}  // namespace sv
