#include "analysis/form_window_setup.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "acquisition/grabber.h"
#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/window_tools.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/convert.h"
#include "image/kernel/numbers.h"

namespace sv {

namespace {

constexpr const char* kLoadParCaption = "Load Parameter";
constexpr const char* kSaveParCaption = "Save Parameter";
// The two filters differ by a letter; both are kept as users know them.
constexpr const char* kLoadParFilter = "Paramer File Format (*.par)|*.par||";
constexpr const char* kSaveParFilter = "Parameter File Format (*.par)|*.par||";
constexpr const char* kClearSumQuestion = "Clear peak tracking parameter ?";
constexpr const char* kNewImageQuestion = "Create new image?";
constexpr int kAveragingEntries = 14;  // 1 .. 8192
constexpr long kThresholdMin = 1, kThresholdMax = 65000;

// The board of the grabber: no driver of this platform sums windows itself.
class GrabberWindowBoard : public WindowBoard {
 public:
  bool Digitize() override { return GrabberDigitize(); }
  bool Sync() override { return GrabberSync(); }
};

GrabberWindowBoard g_grabberBoard;
WindowBoard* g_board = &g_grabberBoard;

long ImageW(const Form_Camera* image) { return image ? image->ImageWidth() : 0; }
long ImageH(const Form_Camera* image) { return image ? image->ImageHeight() : 0; }

// The frame is the live picture: the grabber is up and this is its image.
bool HasLiveSource(const Form_Camera* image) {
  return image && G().GrabberOK && image->Handle() != 0 &&
         image->Handle() == G().PreviewImageHandle;
}

bool IsFilm(const Form_Camera& image) {
  return Hooks().IsFilmFrame && Hooks().IsFilmFrame(image);
}

// The averaging list index of a power of two from 1 to 8192, else -1.
int AveragingIndex(long averaging) {
  if (averaging < 1 || !std::has_single_bit(static_cast<unsigned long>(averaging))) return -1;
  const int index = std::bit_width(static_cast<unsigned long>(averaging)) - 1;
  return index < kAveragingEntries ? index : -1;
}

}  // namespace

// --- Hooks and board ---------------------------------------------------------------

AnalysisHooks& Hooks() {
  static AnalysisHooks hooks;
  return hooks;
}

bool EnergyKnownFor(const Form_Camera* image) {
  const AnalysisHooks& h = Hooks();
  if (image && h.IsFilmFrame && h.IsFilmFrame(*image))
    return h.FilmHasEnergy && h.FilmHasEnergy(*image);
  return h.EnergyKnown && h.EnergyKnown();
}

float PresentEnergy() {
  const AnalysisHooks& h = Hooks();
  const Form_Camera* image = WindowSetupForm().Image();
  if (!EnergyKnownFor(image)) return 0.0f;
  if (image && h.IsFilmFrame && h.IsFilmFrame(*image))
    return h.FilmEnergy ? h.FilmEnergy(*image) : 0.0f;
  if (!h.Energy) return 0.0f;
  return h.Energy();
}

WindowBoard& Board() { return *g_board; }
void SetWindowBoard(WindowBoard* board) { g_board = board ? board : &g_grabberBoard; }

// --- Texts -------------------------------------------------------------------------

bool ParseWholeNumber(const std::string& text, long& value) {
  size_t b = 0, e = text.size();
  while (b < e && text[b] == ' ') ++b;
  while (e > b && text[e - 1] == ' ') --e;
  if (b == e) return false;
  if (text[b] == '+') ++b;
  long v = 0;
  const auto [end, ec] = std::from_chars(text.data() + b, text.data() + e, v);
  if (ec != std::errc() || end != text.data() + e) return false;
  if (v < INT32_MIN || v > INT32_MAX) return false;
  value = v;
  return true;
}

std::string ShortNumber(float value) {
  char buf[32];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
  return ec == std::errc() ? std::string(buf, end) : std::string("0");
}

// --- The repeat line -----------------------------------------------------------------

bool RepeatLineEnds(const ScanWindow& window, const Form_Camera& image, RepeatLineGeometry& line) {
  if (window.Mode != kModeRepeat || window.Sum.Energy1 == window.Sum.Energy2) return false;
  const long w = image.ImageWidth(), h = image.ImageHeight();
  if (w <= 0 || h <= 0) return false;
  long x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  if (!SumPosition(window.Sum, window.Sum.Energy1, x1, y1) ||
      !SumPosition(window.Sum, window.Sum.Energy2, x2, y2))
    return false;
  // Below 0 raised to 0; beyond the image held at its edge.
  line.x1 = std::clamp(x1, 0L, w - 1);
  line.y1 = std::clamp(y1, 0L, h - 1);
  line.x2 = std::clamp(x2, 0L, w - 1);
  line.y2 = std::clamp(y2, 0L, h - 1);
  line.label1 = ShortNumber(window.Sum.Energy1) + " eV";
  line.label2 = ShortNumber(window.Sum.Energy2) + " eV";
  return true;
}

// --- Form_WindowSetup ------------------------------------------------------------------

Form_WindowSetup::Form_WindowSetup() = default;

Form_WindowSetup& WindowSetupForm() {
  static Form_WindowSetup form;
  return form;
}

void Form_WindowSetup::Changed() { view_->Changed(*this); }

Form_Camera* Form_WindowSetup::Image() const {
  if (!ImageForm) return nullptr;
  // An image of the main window may have been closed since.
  if (imageHandle_ != 0) {
    MDIForm_Main* main = MainForm();
    if (!main || main->Child(imageHandle_) != ImageForm) return nullptr;
  }
  return ImageForm;
}

ScanWindow& Form_WindowSetup::Current() {
  return WG().ScanWindows[size_t(std::clamp(Tab, 0, kWindowCount - 1))];
}

void Form_WindowSetup::Load(Form_Camera* image) {
  if (visible_ && ImageForm && ImageForm != image) Unload();
  ImageForm = image;
  imageHandle_ = image ? image->Handle() : 0;
  if (image) image->set_mode(kWindowSetupMode);
  Tab = WG().CurrentWindow >= 0 && WG().CurrentWindow < kWindowCount ? WG().CurrentWindow : 0;
  WG().CurrentWindow = Tab;
  Check_AutoScan = G().AutoScan != 0;
  visible_ = true;
  drag_ = Drag();
  Refresh();
  Redraw();
  Changed();
}

void Form_WindowSetup::Unload() {
  if (Form_Camera* image = Image()) {
    if (image->mode() == kWindowSetupMode) image->set_mode(0);
    image->Overlay_Clear();
  }
  visible_ = false;
  drag_ = Drag();
  ImageForm = nullptr;
  imageHandle_ = 0;
  Changed();
}

void Form_WindowSetup::TabStrip_Click(int tab) {
  if (tab < 0 || tab >= kWindowCount) return;
  Tab = tab;
  WG().CurrentWindow = tab;
  Refresh();
  Redraw();
  Changed();
}

void Form_WindowSetup::Refresh() {
  const ScanWindow& w = Current();
  const Form_Camera* image = Image();
  Text_l = std::to_string(w.X1);
  Text_t = std::to_string(w.Y1);
  Text_w = std::to_string(w.W);
  Text_h = std::to_string(w.H);
  Text_Threshold = std::to_string(w.Threshold);
  Ctl_Combo_Averaging.Enabled = HasLiveSource(image);
  if (!Ctl_Combo_Averaging.Enabled) {
    // Without new frames there is nothing to average.
    Combo_Averaging = 0;
    Combo_AveragingText = "1";
  } else {
    Combo_Averaging = AveragingIndex(w.Averaging);
    Combo_AveragingText = std::to_string(w.Averaging);
  }
  Combo_Mode = w.Mode >= kModeFixed && w.Mode <= kModeRepeat ? int(w.Mode) : -1;
  Combo_Shape = WG().ExtendedShapes ? int(w.Shape) : 0;
  Check_DynamicSize = w.DynamicSize == 1;
  Check_Lock = w.Locked != 0;
  Check_AutoScan = G().AutoScan != 0;
  UpdateControls();
}

void Form_WindowSetup::UpdateControls() {
  ScanWindow& w = Current();
  const Form_Camera* image = Image();
  const bool unlocked = w.Locked == 0;
  for (Control* c : {&Ctl_Text_l, &Ctl_Text_t, &Ctl_Text_w, &Ctl_Text_h,
                     &Ctl_Check_DynamicSize, &Ctl_Command_Delete})
    c->Enabled = unlocked;
  // Threshold: any tracking mode; hidden in Repeat mode, which has none.
  Ctl_Text_Threshold.Enabled = Ctl_Label_Threshold.Enabled = w.Mode != kModeFixed;
  Ctl_Text_Threshold.Visible = Ctl_Label_Threshold.Visible = w.Mode != kModeRepeat;
  Ctl_Combo_Shape.Visible = Ctl_Combo_Shape.Enabled = WG().ExtendedShapes;
  const bool valid = image && !WindowIsInvalid(w, ImageW(image), ImageH(image));
  const bool energy = EnergyKnownFor(image);
  Ctl_Command_Scan.Enabled = valid;
  Ctl_Command_AddSum.Visible = Ctl_Command_ClearSum.Visible = w.Mode == kModeRepeat;
  Ctl_Command_AddSum.Enabled = valid && w.Mode == kModeRepeat && energy;
  Ctl_Command_ClearSum.Enabled = w.Mode == kModeRepeat && energy && w.Sum.N > 0;
}

void Form_WindowSetup::Redraw() {
  Form_Camera* image = Image();
  if (!image) return;
  Overlay_WindowSetup(*image);
  // The peak line of the current window goes with it.
  RepeatLineGeometry line;
  if (RepeatLineEnds(Current(), *image, line)) {
    AddRepeatLine(*image, line, Current().RGBColor);
    image->DrawCameraImage();
  }
}

void Form_WindowSetup::StoreX1(long v) {
  ScanWindow& w = Current();
  w.X1 = int32_t(v);
  w.CenterX = w.X1 + w.W / 2;
  Text_l = std::to_string(w.X1);
}

void Form_WindowSetup::StoreY1(long v) {
  ScanWindow& w = Current();
  w.Y1 = int32_t(v);
  w.CenterY = w.Y1 + w.H / 2;
  Text_t = std::to_string(w.Y1);
}

void Form_WindowSetup::StoreW(long v) {
  ScanWindow& w = Current();
  w.W = int32_t(v);
  w.CenterX = w.X1 + w.W / 2;
  w.CenterY = w.Y1 + w.H / 2;
  if (EnergyKnownFor(Image())) WindowSizeAtEnergy(w, PresentEnergy());
  Text_w = std::to_string(w.W);
}

void Form_WindowSetup::StoreH(long v) {
  ScanWindow& w = Current();
  w.H = int32_t(v);
  w.CenterX = w.X1 + w.W / 2;
  w.CenterY = w.Y1 + w.H / 2;
  if (EnergyKnownFor(Image())) WindowSizeAtEnergy(w, PresentEnergy());
  Text_h = std::to_string(w.H);
}

// The fields keep what was typed; the record takes it when it is a number.
void Form_WindowSetup::Text_l_Change() {
  long v = 0;
  if (!ParseWholeNumber(Text_l, v)) return;
  ScanWindow& w = Current();
  w.X1 = int32_t(v);
  w.CenterX = w.X1 + w.W / 2;
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Text_t_Change() {
  long v = 0;
  if (!ParseWholeNumber(Text_t, v)) return;
  ScanWindow& w = Current();
  w.Y1 = int32_t(v);
  w.CenterY = w.Y1 + w.H / 2;
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Text_w_Change() {
  long v = 0;
  if (!ParseWholeNumber(Text_w, v)) return;
  const std::string typed = Text_w;
  StoreW(v);
  Text_w = typed;
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Text_h_Change() {
  long v = 0;
  if (!ParseWholeNumber(Text_h, v)) return;
  const std::string typed = Text_h;
  StoreH(v);
  Text_h = typed;
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Text_w_LostFocus() {
  long v = 0;
  if (!ParseWholeNumber(Text_w, v)) return;
  const ScanWindow& w = Current();
  long bounded = v;
  if (v < 0) {
    bounded = 0;
  } else if (const Form_Camera* image = Image(); image && v >= w.X1 + ImageW(image)) {
    // The bound is X1 + imageWidth - 1, not imageWidth - X1: the window
    // check catches what does not fit.
    bounded = w.X1 + ImageW(image) - 1;
  }
  if (bounded == v) return;
  host().Beep();
  StoreW(bounded);
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Text_Threshold_LostFocus() {
  if (Text_Threshold.empty()) return;
  ScanWindow& w = Current();
  long v = 0;
  if (!ParseWholeNumber(Text_Threshold, v) || v < kThresholdMin || v > kThresholdMax) {
    host().Beep();
    Text_Threshold = std::to_string(w.Threshold);
    Changed();
    return;
  }
  w.Threshold = int32_t(v);
  Text_Threshold = std::to_string(w.Threshold);
  Changed();
}

bool Form_WindowSetup::Text_KeyPress(char field, char key) {
  if (key != '+' && key != '-') return false;
  std::string* text = nullptr;
  long limit = 0;
  const Form_Camera* image = Image();
  switch (field) {
    case 'l': text = &Text_l; limit = ImageW(image) - 1; break;
    case 't': text = &Text_t; limit = ImageH(image) - 1; break;
    case 'w': text = &Text_w; limit = ImageW(image) - 1; break;
    case 'h': text = &Text_h; limit = ImageH(image) - 1; break;
    default: return false;
  }
  if (Current().Locked) return true;
  long v = 0;
  if (!ParseWholeNumber(*text, v)) return true;
  if (key == '+') {
    if (v + 1 > limit) return true;  // stops at the image size minus 1
    ++v;
  } else {
    if (v - 1 < 0) return true;
    --v;
  }
  switch (field) {
    case 'l': StoreX1(v); break;
    case 't': StoreY1(v); break;
    case 'w': StoreW(v); break;
    default: StoreH(v); break;
  }
  UpdateControls();
  Redraw();
  Changed();
  return true;
}

void Form_WindowSetup::Combo_Averaging_Click() {
  if (!Ctl_Combo_Averaging.Enabled || Combo_Averaging < 0 || Combo_Averaging >= kAveragingEntries)
    return;
  ScanWindow& w = Current();
  w.Averaging = int32_t(1) << Combo_Averaging;
  Combo_AveragingText = std::to_string(w.Averaging);
  Changed();
}

void Form_WindowSetup::Combo_Mode_Click() {
  if (Combo_Mode < kModeFixed || Combo_Mode > kModeRepeat) return;
  ScanWindow& w = Current();
  w.Mode = Combo_Mode;
  UpdateControls();
  if (w.Mode == kModeRepeat)
    DrawRepeatLine(Tab);
  else
    Redraw();
  Changed();
}

void Form_WindowSetup::Combo_Shape_Click() {
  if (!WG().ExtendedShapes || Combo_Shape < kShapeRectangle || Combo_Shape > kShapeCircle) return;
  Current().Shape = int16_t(Combo_Shape);
  Redraw();
  Changed();
}

void Form_WindowSetup::Check_AutoScan_Click() {
  G().AutoScan = Check_AutoScan ? 1 : 0;
  Changed();
}

void Form_WindowSetup::Check_DynamicSize_Click() {
  if (Current().Locked) {
    Check_DynamicSize = Current().DynamicSize == 1;
  } else {
    Current().DynamicSize = Check_DynamicSize ? 1 : 0;
  }
  Changed();
}

void Form_WindowSetup::Check_Lock_Click() {
  Current().Locked = Check_Lock ? 1 : 0;
  UpdateControls();
  Changed();
}

bool Form_WindowSetup::Form_KeyDown(int keyCode, int shift) {
  if (keyCode == kKeyF5 && shift == 0) {
    if (!Ctl_Command_Scan.Enabled) return false;
    Command_Scan();
    return true;
  }
  if (shift != kShift && shift != kCtrl) return false;
  if (keyCode < kKeyLeft || keyCode > kKeyDown) return false;
  ScanWindow& w = Current();
  if (w.Locked) return true;
  const Form_Camera* image = Image();
  const long iw = ImageW(image), ih = ImageH(image);
  const bool size = shift == kShift;
  // A step right or down is refused once the far edge reached the image size
  // minus 1; W, H stop at 1 and X1, Y1 at 0.
  switch (keyCode) {
    case kKeyLeft:
      if (size ? w.W <= 1 : w.X1 <= 0) return true;
      size ? StoreW(w.W - 1) : StoreX1(w.X1 - 1);
      break;
    case kKeyRight:
      if (long(w.X1) + w.W >= iw - 1) return true;
      size ? StoreW(w.W + 1) : StoreX1(w.X1 + 1);
      break;
    case kKeyUp:
      if (size ? w.H <= 1 : w.Y1 <= 0) return true;
      size ? StoreH(w.H - 1) : StoreY1(w.Y1 - 1);
      break;
    default:
      if (long(w.Y1) + w.H >= ih - 1) return true;
      size ? StoreH(w.H + 1) : StoreY1(w.Y1 + 1);
      break;
  }
  UpdateControls();
  Redraw();
  Changed();
  return true;
}

void Form_WindowSetup::Command_Delete() {
  ScanWindow& w = Current();
  if (w.Locked) return;
  w.X1 = w.Y1 = w.W = w.H = 0;
  Text_l.clear();
  Text_t.clear();
  Text_w.clear();
  Text_h.clear();
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Command_Scan() {
  if (scanning_) return;
  Form_Camera* image = Image();
  if (!image || !image->ImagePtr()) {
    host().MsgBox(kNoImageText, MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  ScanWindow& w = Current();
  if (WindowIsInvalid(w, image->ImageWidth(), image->ImageHeight())) return;
  scanning_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{scanning_};
  MDIForm_Main* main = MainForm();
  auto status = [main](const std::string& text) {
    if (main)
      main->ShowStatus(text);
    else
      ShowStatus(text);
  };
  status("Scanning...");
  host().SetBusy(true);

  AnalysisResult& result = WG().Result;
  auto frame = [image] {
    return ConstSamples16(image->ImagePtr(),
                          image->ImagePtr() ? size_t(image->ImageBytes()) / 2 : 0);
  };
  auto size = [image] { return FrameSize{image->ImageWidth(), image->ImageHeight()}; };
  const bool colour = image->HasColors();
  bool ok = false;
  if (IsFilm(*image)) {
    // A film's frame stands alone: one frame, whatever the window averages.
    ok = WindowRectAnalysis(w, size(), frame(), image->ImageDynamik(), colour, result);
    result.Dynamic = int32_t(image->ImageDynamik());
  } else {
    const int32_t stored = w.Averaging;
    if (!Ctl_Combo_Averaging.Enabled) w.Averaging = 1;
    const long n = w.Averaging;
    if (n <= 1) {
      ok = WindowRectAnalysis(w, size(), frame(), image->ImageDynamik(), colour, result);
      result.Dynamic = int32_t(image->ImageDynamik());
    } else if (WindowBufferAlloc(w, colour, true)) {
      if (!Board().Roi()) {
        // The image document averages; one pass of the window over it.
        if (Average(*image, n) && !WindowIsInvalid(w, image->ImageWidth(), image->ImageHeight()) &&
            WindowScanFrame(w, size(), frame(), 0, colour) &&
            WindowFrameAnalysis(w, image->ImageDynamik(), colour, result)) {
          result.Dynamic = int32_t(RoundEven(double(image->ImageDynamik()) / double(n)));
          ok = true;
        }
      } else {
        // The board sums the window itself; only the window crosses the bus.
        const uint32_t start = host().TimeGetTime();
        WindowBoard& board = Board();
        board.Digitize();
        for (long i = 0; i < n; ++i) {
          Label_Status = std::to_string(i);
          Changed();
          host().DoEvents();
          board.Sync();
          board.ScanFrame(w, i);
          board.Digitize();
        }
        const int32_t elapsed = SV_SubTime(host().TimeGetTime(), start);
        Label_Status.clear();
        if (elapsed != 0) {
          char rate[48];
          std::snprintf(rate, sizeof rate, "%.1f Hz", double(n) * 1000.0 / double(elapsed));
          status(rate);
        }
        ok = WindowFrameAnalysis(w, image->ImageDynamik(), colour, result);
        result.Dynamic = int32_t(image->ImageDynamik());
        board.Sync();
        board.Sync();
        board.Sync();
        Grab(*image);
        const MsgResult answer =
            host().MsgBox(kNewImageQuestion, MsgButtons::YesNo, MsgIcon::Question, kScanTitle);
        if (answer == MsgResult::Yes && main) {
          const size_t pixels = size_t(w.W) * size_t(w.H);
          const size_t samples = pixels * (colour ? 3 : 1);
          if (w.Buffer.size() >= samples) {
            // The sum needs log2(frames) bits more than one frame; what is
            // above 16 bits is shifted away.
            const long extra = std::bit_width(static_cast<unsigned long>(n - 1));
            long bits = image->ImageBitsPerPixel() + extra;
            if (bits > 16) {
              SV_shr(samples, Samples32(w.Buffer.data(), samples), int(bits - 16));
              bits = 16;
            }
            std::vector<uint16_t> words(samples);
            SV_convert_32_to_16(samples, ConstSamples32(w.Buffer.data(), samples), words);
            if (colour) {
              // Three planes to three words a pixel.
              std::vector<uint16_t> rgb(samples);
              for (size_t p = 0; p < pixels; ++p)
                for (size_t c = 0; c < 3; ++c) rgb[3 * p + c] = words[c * pixels + p];
              words.swap(rgb);
            }
            if (Form_Camera* made = NewImage(*main)) {
              made->SetHasColors(colour);
              made->SetLUTtype(image->LUTtype());
              made->CreateImage(w.W, w.H, bits, words.data());
              std::copy(std::begin(image->Header.bmiColors), std::end(image->Header.bmiColors),
                        std::begin(made->Header.bmiColors));
              made->SetChanged(true);
              main->ShowChild(made->Handle());
            }
          }
        }
      }
      WindowBufferFree(w);
    }
    w.Averaging = stored;
  }
  if (ok) {
    bool moved = false;
    report_ = WindowReport(w, *image, moved);
    RepeatLineGeometry line;
    if (RepeatLineEnds(w, *image, line)) {
      AddRepeatLine(*image, line, w.RGBColor);
      image->DrawCameraImage();
    }
    WindowScanResultForm().Show(report_, image);
    view_->ShowResult(*this);
  }
  host().SetBusy(false);
  status("");
  Text_l = std::to_string(w.X1);
  Text_t = std::to_string(w.Y1);
  UpdateControls();
  Changed();
}

void Form_WindowSetup::Command_Grab() {
  Form_Camera* image = Image();
  if (!image || !G().GrabberOK) return;
  StopPreview();
  Grab(*image);
  Refresh();
  Redraw();
  Changed();
}

void Form_WindowSetup::Command_Close() { Unload(); }

void Form_WindowSetup::Command_Color(int32_t rgb) {
  Current().RGBColor = rgb & 0xFFFFFF;
  Redraw();
  Changed();
}

void Form_WindowSetup::Command_AddSum() {
  ScanWindow& w = Current();
  const float energy = PresentEnergy();
  const AnalysisResult& r = WG().Result;
  SumAdd(w.Sum, energy, r.X.max, r.Y.max);
  host().MsgBox("Peak position (X.max = " + std::to_string(r.X.max) +
                    ", Y.max = " + std::to_string(r.Y.max) + ") at Energy = " +
                    ShortNumber(energy) + " eV is added as data #" + ShortNumber(w.Sum.N),
                MsgButtons::OK, MsgIcon::Information, kRepeatModeTitle);
  Ctl_Command_ClearSum.Enabled = true;
  DrawRepeatLine(Tab);
  Changed();
}

void Form_WindowSetup::Command_ClearSum() {
  if (host().MsgBox(kClearSumQuestion, MsgButtons::YesNo, MsgIcon::Question, kRepeatModeTitle) !=
      MsgResult::Yes)
    return;
  SumClear(Current().Sum);
  Ctl_Command_ClearSum.Enabled = false;
  DrawRepeatLine(Tab);
  Changed();
}

void Form_WindowSetup::AutoScan() {
  if (!visible_ || scanning_ || G().AutoScan == 0) return;
  // The new image may have another size: the window check is made again.
  UpdateControls();
  if (Current().Averaging == 1 && Ctl_Command_Scan.Enabled) Command_Scan();
}

void Form_WindowSetup::DrawRepeatLine(int index) {
  if (index < 0 || index >= kWindowCount) return;
  Form_Camera* image = Image();
  RepeatLineGeometry line;
  if (!image || !RepeatLineEnds(WG().ScanWindows[size_t(index)], *image, line)) {
    Redraw();
    view_->RepeatLine(-1, -1, -1, -1, "", "");
    return;
  }
  // Both ends pass through the shared result, the latest energy's last: a
  // later Command_AddSum takes it as the peak position.
  WG().Result.X.max = int32_t(line.x2);
  WG().Result.Y.max = int32_t(line.y2);
  Overlay_WindowSetup(*image);
  AddRepeatLine(*image, line, WG().ScanWindows[size_t(index)].RGBColor);
  image->DrawCameraImage();
  view_->RepeatLine(line.x1, line.y1, line.x2, line.y2, line.label1, line.label2);
}

void Form_WindowSetup::EnergyChganged() {
  const float energy = PresentEnergy();
  if (energy <= 0) return;
  ScanWindow& w = Current();
  WindowSizeFromEnergy(w, energy);
  const Form_Camera* image = Image();
  if (image) WindowUpdateRect(w, image->ImageWidth(), image->ImageHeight());
  Text_w = std::to_string(w.W);
  Text_h = std::to_string(w.H);
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::INIFileOpen() {
  FileDialog dlg;
  dlg.title = kLoadParCaption;
  dlg.filter = kLoadParFilter;
  dlg.folder = G().ParameterPath;
  const FileDialogResult chosen = host().OpenFileDialog(dlg);
  if (chosen.path.empty()) return;
  namespace fs = std::filesystem;
  std::error_code ec;
  // A name that is not there loads nothing: the windows stay as they are.
  if (!fs::is_regular_file(chosen.path, ec)) return;
  G().ParameterPath = fs::path(chosen.path).parent_path().string() + "/";
  WindowsLoad(chosen.path);
  if (WG().CurrentWindow >= 0 && WG().CurrentWindow < kWindowCount) Tab = WG().CurrentWindow;
  WG().CurrentWindow = Tab;
  Refresh();
  Redraw();
  Changed();
}

void Form_WindowSetup::INIFileSave() {
  FileDialog dlg;
  dlg.title = kSaveParCaption;
  dlg.filter = kSaveParFilter;
  dlg.folder = G().ParameterPath;
  const FileDialogResult chosen = host().SaveFileDialog(dlg);
  if (chosen.path.empty()) return;
  namespace fs = std::filesystem;
  std::string path = chosen.path;
  if (!fs::path(path).has_extension()) path += ".par";
  G().ParameterPath = fs::path(path).parent_path().string() + "/";
  if (!WindowsSave(path))
    host().MsgBox("Error writing " + path, MsgButtons::OK, MsgIcon::Exclamation, kSaveParCaption);
}

// --- The mouse -------------------------------------------------------------------------

namespace {

// The valid window under an image point, the current one first; -1 for none.
int WindowAt(const Form_Camera& image, long x, long y, int current) {
  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  auto inside = [&](int i) {
    const ScanWindow& w = WG().ScanWindows[size_t(i)];
    return !WindowIsInvalid(w, iw, ih) && x >= w.X1 && x < long(w.X1) + w.W && y >= w.Y1 &&
           y < long(w.Y1) + w.H;
  };
  if (current >= 0 && current < kWindowCount && inside(current)) return current;
  for (int i = 0; i < kWindowCount; ++i)
    if (inside(i)) return i;
  return -1;
}

}  // namespace

void Form_WindowSetup::ShowWindowStatus(long x, long y) {
  const Form_Camera* image = Image();
  const int n = image ? WindowAt(*image, x, y, Tab) : -1;
  if (n == statusWindow_) return;
  statusWindow_ = n;
  const std::string text = n >= 0 ? "Window: " + std::to_string(n + 1) : std::string();
  if (MDIForm_Main* main = MainForm())
    main->ShowStatus(text);
  else
    ShowStatus(text);
}

void Form_WindowSetup::Picture_MouseDown(long x, long y) {
  Form_Camera* image = Image();
  if (!image || image->mode() != kWindowSetupMode) return;
  const long iw = image->ImageWidth(), ih = image->ImageHeight();
  if (x < 0 || y < 0 || x >= iw || y >= ih) return;
  const int hit = WindowAt(*image, x, y, Tab);
  drag_ = Drag();
  if (hit >= 0 && WG().ScanWindows[size_t(hit)].Locked) return;
  if (hit >= 0) {
    if (hit != Tab) TabStrip_Click(hit);
    const ScanWindow& w = Current();
    drag_.active = true;
    drag_.moving = true;
    drag_.x0 = x;
    drag_.y0 = y;
    drag_.startX1 = w.X1;
    drag_.startY1 = w.Y1;
    return;
  }
  const ScanWindow& w = Current();
  if (w.Locked) return;
  drag_.active = true;
  drag_.moving = false;
  drag_.x0 = x;
  drag_.y0 = y;
  drag_.oldX1 = w.X1;
  drag_.oldY1 = w.Y1;
  drag_.oldW = w.W;
  drag_.oldH = w.H;
  drag_.oldW0 = w.W0;
  drag_.oldH0 = w.H0;
  drag_.oldCenterX = w.CenterX;
  drag_.oldCenterY = w.CenterY;
}

void Form_WindowSetup::Picture_MouseMove(long x, long y, bool buttonDown) {
  Form_Camera* image = Image();
  if (!image || image->mode() != kWindowSetupMode) return;
  if (!drag_.active || !buttonDown) {
    ShowWindowStatus(x, y);
    return;
  }
  const long iw = image->ImageWidth(), ih = image->ImageHeight();
  ScanWindow& w = Current();
  if (drag_.moving) {
    // The window slides with the mouse and stays inside the image.
    const long nx = std::clamp(drag_.startX1 + (x - drag_.x0), 0L, std::max(0L, iw - w.W));
    const long ny = std::clamp(drag_.startY1 + (y - drag_.y0), 0L, std::max(0L, ih - w.H));
    StoreX1(nx);
    StoreY1(ny);
  } else {
    const long cx = std::clamp(x, 0L, iw - 1), cy = std::clamp(y, 0L, ih - 1);
    StoreX1(std::min(drag_.x0, cx));
    StoreY1(std::min(drag_.y0, cy));
    Current().W = int32_t(std::abs(cx - drag_.x0) + 1);
    StoreH(std::abs(cy - drag_.y0) + 1);
    Text_w = std::to_string(Current().W);
  }
  ShowWindowStatus(x, y);
  UpdateControls();
  Redraw();
  Changed();
}

void Form_WindowSetup::Picture_MouseUp(long x, long y) {
  if (!drag_.active) return;
  const Drag was = drag_;
  Picture_MouseMove(x, y, true);
  drag_ = Drag();
  if (!was.moving && x == was.x0 && y == was.y0) {
    // A click draws nothing: the window stays as it was.
    ScanWindow& w = Current();
    w.X1 = was.oldX1;
    w.Y1 = was.oldY1;
    w.W = was.oldW;
    w.H = was.oldH;
    w.W0 = was.oldW0;
    w.H0 = was.oldH0;
    w.CenterX = was.oldCenterX;
    w.CenterY = was.oldCenterY;
    Refresh();
    Redraw();
  }
  Changed();
}

// --- Wiring -----------------------------------------------------------------------------

void RegisterWindowCommands(MDIForm_Main& main) {
  RegisterWindowSettings();
  MDIForm_Main* m = &main;
  main.SetCommand("mnuWindowSetup", [m](int) {
    auto* image = dynamic_cast<Form_Camera*>(m->ActiveChild());
    if (!image) image = PreviewImage(m);
    WindowSetupForm().Load(image);
  });
  main.SetCommand("mnuLoadWindowPar", [](int) { WindowSetupForm().INIFileOpen(); });
  main.SetCommand("mnuSaveWindowPar", [](int) { WindowSetupForm().INIFileSave(); });
  LV().NewImage = [](Form_Camera& image) {
    Form_WindowSetup& form = WindowSetupForm();
    if (form.Visible() && form.ImageForm == &image) form.AutoScan();
  };
  main.exitHooks.unloadTools.push_back([] {
    if (WindowSetupForm().Visible()) WindowSetupForm().Unload();
    MoveWindowForm().Command_Close();
    WindowScanResultForm().Hide();
  });
}

}  // namespace sv
