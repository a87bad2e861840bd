#include "acquisition/live.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/startup.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "image/kernel/accumulate.h"
#include "image/kernel/geometry.h"
#include "image/kernel/image_math.h"
#include "image/kernel/numbers.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

LiveGlobals g_live;
Form_TimerGrab g_timerGrab;
Form_FullScreen g_fullScreen;

constexpr const char* kBackgroundQuestion =
    "Background Image is different in size and/or dynamik.\r\n"
    "Press [Yes] to reload original background image (recommended)\r\n"
    "Press [No] to convert existing background image\r\n"
    "Press [Cancel] to disable background image subtraction";

Samples16 Whole(Form_Camera& image) {
  return {image.ImagePtr(), image.ImagePtr() ? size_t(image.ImageBytes()) / 2 : 0};
}
Samples16 Grabbed(Form_Camera& image) {
  return {image.GrabPtr(), image.GrabPtr() ? size_t(image.ImageBytes()) / 2 : 0};
}

bool SameShape(const Form_Camera& a, long width, long height, long bits, bool colour) {
  return a.ImageWidth() == width && a.ImageHeight() == height &&
         a.ImageBitsPerPixel() == bits && a.HasColors() == colour;
}

// Makes the image take the grabber's present shape. True when it changed.
bool TakeDriverShape(Form_Camera& image) {
  long width = GrabberWidth(), height = GrabberHeight();
  long bits = std::clamp(GrabberBitsPerPixel(), 1L, 16L);
  const bool colour = GrabberIsColor();
  // A driver that cannot tell its frame yet delivers none either: the
  // dummy's frame stands in, under "(No Sync)".
  if (width <= 0 || height <= 0) {
    width = kDummyWidth;
    height = kDummyHeight;
    bits = kDummyBits;
  }
  if (SameShape(image, width, height, bits, colour)) return false;
  const bool running = PreviewRunning();
  if (running) host().StopTimer(std::exchange(g_live.TimerPreview, 0));
  image.ImageClose();
  image.SetHasColors(colour);
  // The header template, the buffers, the depth (a visible LUT dialog is
  // told) and a window that fits the new picture.
  image.CreateImage(width, height, bits, nullptr);
  image.SetZoom(image.ZoomIndex);
  image.OptimizeFormSize();
  if (running) g_live.TimerPreview = host().StartTimer(kPreviewIntervalMs, [] { Timer_Preview(); });
  return true;
}

// ReadFrame's answer when the image went while the frame was awaited.
constexpr long kImageGone = -3;

// Whether an image is still there: one that belongs to the main window may be
// closed by an event that runs while a frame is awaited.
class ImageGuard {
 public:
  explicit ImageGuard(Form_Camera& image)
      : image_(image), main_(MainForm()), handle_(image.Handle()),
        listed_(main_ && main_->Child(handle_) == &image) {}
  bool There() const { return !listed_ || (MainForm() == main_ && main_->Child(handle_) == &image_); }

 private:
  Form_Camera& image_;
  MDIForm_Main* main_;
  long handle_;
  bool listed_;
};

// The frame into GrabPtr: the driver's, or the dummy's when no sync came.
// The dummy's frame is awaited first, before the image's buffer is taken.
long ReadFrame(Form_Camera& image) {
  if (DummyPaced()) {
    const ImageGuard guard(image);
    DummyAwaitFrame();
    if (!guard.There()) return kImageGone;
  }
  Samples16 dest = Grabbed(image);
  long result = GB().GrabberDriver == kDriverDummy ? DummyReadImage(dest) : GrabberReadImage(dest);
  if (result == kGrabberNoSync) {
    image.StatusLine = kNoSyncText;
    // The dummy's frame stands in where it fits; a camera of another shape
    // keeps its last frame under the notice.
    const bool dummyShape = image.ImageWidth() == kDummyWidth &&
                            image.ImageHeight() == kDummyHeight &&
                            image.HasColors() == GB().GrabberColor;
    if (dummyShape && DummyReadImage(dest) != 0) return -1;
  }
  return result;
}

// Grey from colour with the usual weights, colour from grey by repetition.
void ConvertChannels(const std::vector<uint16_t>& from, bool fromColour, size_t pixels,
                     std::vector<uint16_t>& to) {
  to.assign(pixels * (fromColour ? 1 : 3), 0);
  for (size_t i = 0; i < pixels; ++i) {
    if (fromColour) {
      const uint64_t grey = 19595ull * from[3 * i] + 38470ull * from[3 * i + 1] +
                            7471ull * from[3 * i + 2] + 32768ull;
      to[i] = uint16_t(grey >> 16);
    } else {
      to[3 * i] = to[3 * i + 1] = to[3 * i + 2] = from[i];
    }
  }
}

// The background takes the live picture's size, depth and colour mode.
void ConvertBackground(Form_Camera& bg, const Form_Camera& image) {
  const FrameSize from{bg.ImageWidth(), bg.ImageHeight()};
  const FrameSize to{image.ImageWidth(), image.ImageHeight()};
  const long fromBits = bg.ImageBitsPerPixel(), toBits = image.ImageBitsPerPixel();
  std::vector<uint16_t> old(bg.ImagePtr(), bg.ImagePtr() + size_t(bg.ImageBytes()) / 2);
  if (bg.HasColors() != image.HasColors()) {
    std::vector<uint16_t> converted;
    ConvertChannels(old, bg.HasColors(), from.Pixels(), converted);
    old.swap(converted);
  }
  const bool colour = image.HasColors();
  bg.SetHasColors(colour);
  bg.CreateImage(to.width, to.height, fromBits, nullptr);
  Samples16 dest = Whole(bg);
  if (from.Valid() && to.Valid()) {
    if (colour)
      SV_RGB_stretch(from, old, to, dest);
    else
      SV_stretch(from, old, to, dest);
    if (colour)
      SV_RGB_change_color_depth(to, dest, int(fromBits), int(toBits));
    else
      SV_change_color_depth(to, dest, int(fromBits), int(toBits));
  }
  bg.SetImageBitsPerPixel(toBits);
  bg.Update8BitImage();
}

bool LoadBackgroundFile(Form_Camera& bg) {
  const std::string path = BackgroundFilePath();
  if (!std::filesystem::exists(path)) return false;
  if (g_live.LoadBackground) return g_live.LoadBackground(bg, path);
  // The reader itself, not the open command: the reference file stays out
  // of the last files.
  if (!LoadTIF(bg, path)) return false;
  // A TIFF keeps 8 or 16 bits a sample, not the camera's depth: the image
  // takes the camera's depth back when its samples fit.
  const long bits = GB().GrabberBits;
  if (G().GrabberOK && bg.ImageBitsPerPixel() != bits && bg.ImagePtr()) {
    const uint16_t* p = bg.ImagePtr();
    const uint16_t top = *std::max_element(p, p + size_t(bg.ImageBytes()) / 2);
    if (top < (1L << bits)) bg.SetImageBitsPerPixel(bits);
  }
  return true;
}

// Step 7 of a grab: a background of another shape is reloaded, converted, or
// subtraction is turned off. True when subtraction goes on.
bool BackgroundReady(Form_Camera& image) {
  Form_Camera* bg = BackgroundImage();
  if (!bg) return false;
  if (SameShape(*bg, image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(),
                image.HasColors()))
    return true;
  const MsgResult answer =
      host().MsgBox(kBackgroundQuestion, MsgButtons::YesNoCancel, MsgIcon::Question,
                    kBackgroundQuestionTitle);
  if (answer == MsgResult::Cancel) {
    G().SubtractBackground = 0;
    if (MDIForm_Main* main = MainForm()) RefreshLiveControls(*main);
    return false;
  }
  // A reference file that cannot be read, or that does not fit either, is
  // converted as with No.
  if (answer == MsgResult::Yes) LoadBackgroundFile(*bg);
  if (!SameShape(*bg, image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(),
                 image.HasColors()))
    ConvertBackground(*bg, image);
  return true;
}

void Redisplay(Form_Camera& image) {
  const long builds = image.LutBuilds();
  image.SetLUT();
  if (image.LutBuilds() == builds) image.Update8BitImage();
  if (g_fullScreen.Visible() && g_fullScreen.ImageHandle() == image.Handle())
    g_fullScreen.DrawImage();
}

MDIForm_Main* Main() { return MainForm(); }

}  // namespace

LiveGlobals& LV() { return g_live; }
void ResetLiveGlobals() {
  if (g_live.TimerPreview && HasHost()) host().StopTimer(g_live.TimerPreview);
  g_live = LiveGlobals();
  g_timerGrab.Cancel();
  g_timerGrab = Form_TimerGrab();
  g_fullScreen = Form_FullScreen();
}

std::string BackgroundFilePath() {
  std::string folder = G().ImagesPath;
  if (!folder.empty() && folder.back() != '/') folder += '/';
  return folder + kBackgroundFileName;
}

bool BackgroundFits(Form_Camera& image) { return BackgroundReady(image); }

Form_Camera* BackgroundImage(MDIForm_Main* main) {
  if (!main) main = MainForm();
  if (!main || G().BackgroundImageHandle == 0) return nullptr;
  return dynamic_cast<Form_Camera*>(main->Child(G().BackgroundImageHandle));
}

// --- One frame ----------------------------------------------------------------------

long Grab(Form_Camera& image) {
  Globals& g = G();
  // 1.
  if (!image.UndoBuffer.empty()) image.ClearUndo();
  g.LoadOK = false;
  // 2, 3.
  if (!g.GrabberOK) return -1;
  TakeDriverShape(image);
  // 4.
  if (!image.Filename.empty()) {
    image.Filename.clear();
    image.SetTitle(GrabberInputName(GB().GrabberSource));
  }
  // 5.
  image.StatusLine.clear();
  const long result = ReadFrame(image);
  if (result == -1 || result == kImageGone) return -1;
  // 6.
  const size_t samples = size_t(image.ImageBytes()) / 2;
  if (g.NoiseReduction)
    SV_avg_hist(samples, Grabbed(image), Whole(image), kNoiseReductionFrames);
  else
    SV_memcpy(image.ImagePtr(), image.GrabPtr(), samples * 2);
  // 7, 8.
  if (g.SubtractBackground && g.BackgroundValid && BackgroundReady(image)) {
    Form_Camera* bg = BackgroundImage();
    const FrameSize size{image.ImageWidth(), image.ImageHeight()};
    if (bg && SV_subtract_background(size, image.HasColors() ? 3 : 1, Whole(image), Whole(*bg)))
      image.StatusLine += kBackgroundStatus;
  }
  // 9. (No histogram window exists yet for step 10.)
  Redisplay(image);
  if (g_live.NewImage) g_live.NewImage(image);
  return result;
}

// --- Preview ------------------------------------------------------------------------

void Preview(Form_Camera& image) {
  image.Filename.clear();
  GrabberDigitize();
  g_live.PreviewHandle = image.Handle();
  Grab(image);
  g_live.PreviewFrameTime = host().TimeGetTime();
  g_live.PreviewFrameSeen = true;
  if (!g_live.TimerPreview)
    g_live.TimerPreview = host().StartTimer(kPreviewIntervalMs, [] { Timer_Preview(); });
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
}

bool PreviewRunning() { return g_live.TimerPreview != 0; }

void StopPreview() {
  if (!g_live.TimerPreview) return;
  if (HasHost()) host().StopTimer(g_live.TimerPreview);
  g_live.TimerPreview = 0;
  g_live.PreviewFrameSeen = false;
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
}

std::string FrameRateText(uint32_t ms) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f Hz", ms == 0 ? 1000.0 : 1000.0 / double(ms));
  return text;
}

void Timer_Preview() {
  MDIForm_Main* main = Main();
  Form_Camera* image =
      main ? dynamic_cast<Form_Camera*>(main->Child(g_live.PreviewHandle)) : nullptr;
  if (!image) {
    StopPreview();
    return;
  }
  // The rate is the frames': the time from the last frame the live picture
  // showed to this one, so that a grab that waits for its frame and the
  // timer's own gaps both count.
  const uint32_t start = g_live.PreviewFrameSeen ? g_live.PreviewFrameTime : host().TimeGetTime();
  Grab(*image);
  const uint32_t end = host().TimeGetTime();
  g_live.PreviewFrameTime = end;
  g_live.PreviewFrameSeen = true;
  const int32_t ms = SV_SubTime(end, start);
  main->SetPanel(kPanelFrameRate, FrameRateText(uint32_t(std::max(0, ms))));
}

// --- Average --------------------------------------------------------------------------

bool ParseAverageCount(const std::string& text, long& n) {
  size_t i = 0;
  while (i < text.size() && text[i] == ' ') ++i;
  size_t digits = i;
  while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) ++digits;
  if (digits == i || digits - i > 6) return false;
  for (size_t j = digits; j < text.size(); ++j)
    if (text[j] != ' ') return false;
  const long value = std::stol(text.substr(i, digits - i));
  if (value < kAverageMin || value > kAverageMax) return false;
  n = value;
  return true;
}

bool Average(Form_Camera& image, long n) {
  if (n < kAverageMin || n > kAverageMax || !G().GrabberOK) return false;
  // The events let through between frames cannot start a second run.
  static bool running = false;
  if (running) return false;
  struct Running {
    explicit Running(bool& r) : flag(r) { flag = true; }
    ~Running() { flag = false; }
    bool& flag;
  } guard(running);
  // 1.
  if (n >= 4) image.RegisterUndo("Average " + std::to_string(n) + "x");
  // 2.
  StopPreview();
  TakeDriverShape(image);
  image.SetLUT(true);
  image.OptimizeFormSize();
  // 3.
  const std::string status = "Averaging " + std::to_string(n) + " Images...";
  image.StatusLine = "Averaging...";
  MDIForm_Main* main = Main();
  auto show = [&](int percent) {
    if (main)
      main->ShowStatus(status, percent);
    else
      ShowStatus(status, percent);
  };
  // 4.
  const size_t samples = size_t(image.ImageBytes()) / 2;
  std::vector<uint32_t>& sum = g_live.AverageSum;
  if (sum.size() != samples) sum.assign(samples, 0);
  std::fill(sum.begin(), sum.end(), 0u);
  g_live.AverageDone = 0;
  show(0);
  // Events run between frames: the image may go, or take another shape.
  const ImageGuard kept(image);
  auto gone = [&] {
    show(-1);
    if (main && MainForm() == main) main->ShowStatus("");
    return false;
  };
  for (long frame = 0; frame < n; ++frame) {
    const long read = ReadFrame(image);
    if (read == kImageGone) return gone();
    if (read == -1 || size_t(image.ImageBytes()) / 2 != samples) break;
    SV_add_16_to_32(samples, Grabbed(image), sum);
    g_live.AverageDone = frame + 1;
    show(int(100 * (frame + 1) / n));
    host().DoEvents();
    if (!kept.There()) return gone();
  }
  const int shift = std::bit_width(static_cast<unsigned long>(n)) - 1;  // log2(n)
  SV_shr(samples, sum, Whole(image), shift);
  // 5.
  image.StatusLine.clear();
  image.SetChanged(true);
  show(-1);
  if (main) main->ShowStatus("");
  Redisplay(image);
  const bool complete = g_live.AverageDone == n;
  if (complete && g_live.NewImage) g_live.NewImage(image);
  return complete;
}

// --- Background ----------------------------------------------------------------------

void LoadBackgroundImage() {
  Form_Camera* bg = BackgroundImage();
  G().BackgroundValid = bg && LoadBackgroundFile(*bg);
  if (bg && G().BackgroundValid) bg->StatusLine = "Background Image";
}

// --- Timer Grab -----------------------------------------------------------------------

bool ParseDelaySeconds(const std::string& text, double& seconds) {
  std::string t = text;
  std::replace(t.begin(), t.end(), ',', '.');
  char* end = nullptr;
  const double value = std::strtod(t.c_str(), &end);
  if (end == t.c_str()) return false;
  while (*end == ' ') ++end;
  if (*end != '\0' || !std::isfinite(value) || value <= 0 || value > 86400) return false;
  seconds = value;
  return true;
}

void Form_TimerGrab::Start(double seconds) {
  Cancel();
  visible_ = true;
  deadline_ = host().TimeGetTime() + uint32_t(std::lround(seconds * 1000.0));
  Label_Time = std::to_string(long(std::ceil(seconds)));
  timer_ = host().StartTimer(100, [this] { Tick(); });
  if (view_) view_->Changed(*this);
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
}

void Form_TimerGrab::Tick() {
  if (!visible_) return;
  const int32_t left = SV_SubTime(deadline_, host().TimeGetTime());
  if (left <= 0) {
    Finish(true);
    return;
  }
  Label_Time = std::to_string((left + 999) / 1000);
  if (view_) view_->Changed(*this);
}

void Form_TimerGrab::Cancel() { Finish(false); }

void Form_TimerGrab::Finish(bool grab) {
  const bool was = visible_;
  if (timer_ && HasHost()) host().StopTimer(timer_);
  timer_ = 0;
  visible_ = false;
  if (!was) return;
  Label_Time = "0";
  if (view_) view_->Changed(*this);
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
  if (grab) mnuGrab_Click();
}

Form_TimerGrab& TimerGrabForm() { return g_timerGrab; }

// --- Full screen ----------------------------------------------------------------------

void Form_FullScreen::Show(long imageHandle) {
  handle_ = imageHandle;
  visible_ = true;
  g_live.FullScreenOn = true;
  if (view_) view_->Shown(true);
  DrawImage();
}

void Form_FullScreen::Hide() {
  if (!visible_) return;
  visible_ = false;
  g_live.FullScreenOn = false;
  if (view_) view_->Shown(false);
}

void Form_FullScreen::DrawImage() {
  MDIForm_Main* main = Main();
  if (!visible_ || !main || !view_) return;
  if (auto* image = dynamic_cast<Form_Camera*>(main->Child(handle_))) view_->Present(*image);
}

Form_FullScreen& FullScreenForm() { return g_fullScreen; }

// --- Menu commands -----------------------------------------------------------------

void mnuPreview_Click() {
  if (PreviewRunning()) {
    StopPreview();
    return;
  }
  MDIForm_Main* main = Main();
  Form_Camera* image = PreviewImage(main);
  if (!main || !image) return;
  main->ShowChild(image->Handle());
  Preview(*image);
}

void mnuGrab_Click() {
  MDIForm_Main* main = Main();
  Form_Camera* image = PreviewImage(main);
  if (!main || !image) return;
  StopPreview();
  main->ShowChild(image->Handle());
  Grab(*image);
}

void mnuTimerGrab_Click() {
  if (g_timerGrab.Visible()) {
    g_timerGrab.Cancel();
    return;
  }
  const auto text = host().InputBox("Input delay time in seconds:", kTimerGrabTitle, "5");
  double seconds = 0;
  if (!text || !ParseDelaySeconds(*text, seconds)) return;
  g_timerGrab.Start(seconds);
}

void mnuAverage_Click() {
  MDIForm_Main* main = Main();
  Form_Camera* image = PreviewImage(main);
  if (!main || !image) return;
  const auto text =
      host().InputBox("Enter Number of Frames?\r\n(2, 4, 8, 16 ... 8192)", kAverageTitle, "16");
  long n = 0;
  if (!text || !ParseAverageCount(*text, n)) return;
  main->ShowChild(image->Handle());
  Average(*image, n);
}

void mnuAvgHist_Click() {
  G().NoiseReduction = !G().NoiseReduction;
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
}

void mnuDefineBackground_Click() {
  MDIForm_Main* main = Main();
  Form_Camera* image = PreviewImage(main);
  if (!main || !image || !image->ImagePtr()) return;
  Globals& g = G();
  g.BackgroundValid = true;
  Form_Camera* bg = BackgroundImage(main);
  if (!bg) {
    bg = dynamic_cast<Form_Camera*>(main->CreateImage());
    if (!bg) return;
    g.BackgroundImageHandle = bg->Handle();
  }
  bg->StatusLine = "Background Image";
  bg->SetHasColors(image->HasColors());
  bg->CreateImage(image->ImageWidth(), image->ImageHeight(), image->ImageBitsPerPixel(),
                  image->ImagePtr());
  if (bg->ImagePtr8() && image->ImagePtr8())
    SV_memcpy(bg->ImagePtr8(), image->ImagePtr8(),
              size_t(image->ImageHeight()) * size_t(image->ImageByteWidth()));
  bg->SetTitle("Background Image");
  const std::string path = BackgroundFilePath();
  // The images folder may not have been made yet.
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ec);
  if (g_live.SaveBackground)
    g_live.SaveBackground(*bg, path);
  else if (!SaveTIF(*bg, path, kBackgroundFilter))
    // The writer itself, not the save command: the file stays out of the
    // last files and the image keeps its name.
    host().MsgBox("Error writing " + path, MsgButtons::OK, MsgIcon::Exclamation, "Save Image");
}

void mnuSubtractBackground_Click() {
  G().SubtractBackground = G().SubtractBackground ? 0 : -1;
  if (MDIForm_Main* main = Main()) RefreshLiveControls(*main);
}

void mnuShowBackgroundImage_Click() {
  MDIForm_Main* main = Main();
  Form_Camera* bg = BackgroundImage(main);
  if (!main || !bg) return;
  if (bg->Visible())
    bg->SetVisible(false);
  else
    main->ShowChild(bg->Handle());
  RefreshLiveControls(*main);
}

void mnuFullScreen_Click() {
  MDIForm_Main* main = Main();
  if (!main) return;
  if (g_fullScreen.Visible()) {
    g_fullScreen.Hide();
    return;
  }
  auto* image = dynamic_cast<Form_Camera*>(main->ActiveChild());
  if (!image) image = PreviewImage(main);
  if (image && image->ImagePtr8()) g_fullScreen.Show(image->Handle());
}

// --- Wiring ---------------------------------------------------------------------------

void RefreshLiveControls(MDIForm_Main& main) {
  auto check = [&](const char* menu, bool on) {
    if (MenuEntry* e = main.FindMenu(menu)) e->checked = on;
  };
  check("mnuPreview", PreviewRunning());
  check("mnuTimerGrab", g_timerGrab.Visible());
  check("mnuAvgHist", G().NoiseReduction);
  check("mnuSubtractBackground", G().SubtractBackground != 0);
  Form_Camera* bg = BackgroundImage(&main);
  check("mnuShowBackgroundImage", bg && bg->Visible());
  if (ToolbarButton* b = main.FindButton("Preview")) b->checked = PreviewRunning();
  if (ToolbarButton* b = main.FindButton("TimerGrab")) b->checked = g_timerGrab.Visible();
  if (MainView* view = main.View()) view->MenusChanged();
  main.UpdateToolbarState();
}

void RegisterLiveCommands(MDIForm_Main& main) {
  main.SetCommand("mnuPreview", [](int) { mnuPreview_Click(); });
  main.SetCommand("mnuGrab", [](int) { mnuGrab_Click(); });
  main.SetCommand("mnuTimerGrab", [](int) { mnuTimerGrab_Click(); });
  main.SetCommand("mnuAverage", [](int) { mnuAverage_Click(); });
  main.SetCommand("mnuAvgHist", [](int) { mnuAvgHist_Click(); });
  main.SetCommand("mnuDefineBackground", [](int) { mnuDefineBackground_Click(); });
  main.SetCommand("mnuSubtractBackground", [](int) { mnuSubtractBackground_Click(); });
  main.SetCommand("mnuShowBackgroundImage", [](int) { mnuShowBackgroundImage_Click(); });
  main.SetCommand("mnuFullScreen", [](int) { mnuFullScreen_Click(); });
  main.SetEnabledRule("mnuShowBackgroundImage", [] { return BackgroundImage() != nullptr; });
  // Exit: a running preview stops while the question is open and comes back
  // on Cancel.
  main.exitHooks.previewRunning = [] {
    const bool running = PreviewRunning();
    StopPreview();
    return running;
  };
  main.exitHooks.restartPreview = [] {
    if (Form_Camera* image = PreviewImage()) Preview(*image);
  };
  main.exitHooks.unloadForms.push_back([] {
    g_timerGrab.Cancel();
    g_fullScreen.Hide();
  });
  RefreshLiveControls(main);
}

void InstallLiveEnvironment() {
  Environment().backgroundImage = [] { LoadBackgroundImage(); };
}

}  // namespace sv
