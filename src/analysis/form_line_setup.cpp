#include "analysis/form_line_setup.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

#include "acquisition/grabber_environment.h"
#include "acquisition/live.h"
#include "analysis/calibration_settings.h"
#include "analysis/form_line_scan_plot.h"
#include "analysis/form_window_setup.h"
#include "analysis/window_tools.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/kernel/numbers.h"
#include "plot/form_plot.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {

namespace {

constexpr int kAveragingEntries = 14;  // 1 .. 8192
constexpr long kGrip = 3;              // an end or the line is hit within 3 pixels
constexpr long kErrStopped = kErrUserAbort;

long ImageW(const Form_Camera* image) { return image ? image->ImageWidth() : 0; }
long ImageH(const Form_Camera* image) { return image ? image->ImageHeight() : 0; }

bool HasLiveSource(const Form_Camera* image) {
  return image && G().GrabberOK && image->Handle() != 0 &&
         image->Handle() == G().PreviewImageHandle;
}

int AveragingIndex(long averaging) {
  if (averaging < 1 || !std::has_single_bit(static_cast<unsigned long>(averaging))) return -1;
  const int index = std::bit_width(static_cast<unsigned long>(averaging)) - 1;
  return index < kAveragingEntries ? index : -1;
}

int ThicknessIndex(long thickness) {
  for (int i = 0; i < kLineThicknessCount; ++i)
    if (kLineThicknesses[i] == thickness) return i;
  return -1;
}

void Status(const std::string& text) {
  if (MDIForm_Main* main = MainForm())
    main->ShowStatus(text);
  else
    ShowStatus(text);
}

std::string OneDecimal(double v) {
  char buf[48];
  std::snprintf(buf, sizeof buf, "%.1f", v);
  return buf;
}

// The line is the empty one: both ends at the origin.
bool LineIsUnset(const ScanLine& l) { return l.X1 == 0 && l.Y1 == 0 && l.X2 == 0 && l.Y2 == 0; }

double Distance(long x, long y, long x1, long y1, long x2, long y2) {
  const double dx = double(x2 - x1), dy = double(y2 - y1);
  const double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? (double(x - x1) * dx + double(y - y1) * dy) / len2 : 0;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(double(x) - (double(x1) + t * dx), double(y) - (double(y1) + t * dy));
}

// The line under an image point, the current one first; -1 for none. `what`
// is 1 at the start, 2 at the end, 3 elsewhere on the line.
int LineAt(const Form_Camera& image, long x, long y, int current, int& what) {
  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  auto hit = [&](int i) {
    const ScanLine& l = LG().ScanLines[size_t(i)];
    if (LineIsUnset(l) || LineIsInvalid(l, iw, ih)) return 0;
    if (std::labs(x - l.X1) <= kGrip && std::labs(y - l.Y1) <= kGrip) return 1;
    if (std::labs(x - l.X2) <= kGrip && std::labs(y - l.Y2) <= kGrip) return 2;
    if (Distance(x, y, l.X1, l.Y1, l.X2, l.Y2) <= double(kGrip)) return 3;
    return 0;
  };
  if (current >= 0 && current < kLineCount && (what = hit(current)) != 0) return current;
  for (int i = 0; i < kLineCount; ++i)
    if ((what = hit(i)) != 0) return i;
  what = 0;
  return -1;
}

}  // namespace

std::string LineModeName(int mode) {
  if (mode <= 0 || mode > kWindowCount) return "Fixed Position";
  return "Link to Window " + std::to_string(mode);
}

std::string InvalidLineText(int n) { return "Line " + std::to_string(n + 1) + kInvalidLineText; }

float LineLocation(const ScanLine& line, long points, long i) {
  if (points <= 1) return 0.0f;
  const double length = std::hypot(double(line.X2 - line.X1), double(line.Y2 - line.Y1));
  return float(length * double(i) / double(points - 1));
}

// --- Overlay -----------------------------------------------------------------------

void Overlay_LineSetup(Form_Camera& image) {
  Class_Overlay& overlay = image.Overlay;
  overlay.Clear();
  const long iw = image.ImageWidth(), ih = image.ImageHeight();
  for (int i = 0; i < kLineCount; ++i) {
    const ScanLine& l = LG().ScanLines[size_t(i)];
    if (LineIsUnset(l) || LineIsInvalid(l, iw, ih)) continue;
    overlay.AddLine(l.X1, l.Y1, l.X2, l.Y2, l.Color);
    // The current line has grips at its ends.
    if (i == LG().CurrentLine) overlay.AddGriffLine(l.X1, l.Y1, l.X2, l.Y2);
  }
  image.DrawCameraImage();
}

// --- Form_LineSetup ------------------------------------------------------------------

Form_LineSetup& LineSetupForm() {
  static Form_LineSetup form;
  return form;
}

Form_Camera* Form_LineSetup::Image() const {
  if (!ImageForm) return nullptr;
  if (imageHandle_ != 0) {
    MDIForm_Main* main = MainForm();
    if (!main || main->Child(imageHandle_) != ImageForm) return nullptr;
  }
  return ImageForm;
}

ScanLine& Form_LineSetup::Current() {
  return LG().ScanLines[size_t(std::clamp(Tab, 0, kLineCount - 1))];
}

void Form_LineSetup::Load(Form_Camera* image) {
  if (visible_ && ImageForm && ImageForm != image) Unload();
  ImageForm = image;
  imageHandle_ = image ? image->Handle() : 0;
  if (image) image->set_mode(kLineSetupMode);
  Tab = LG().CurrentLine >= 0 && LG().CurrentLine < kLineCount ? LG().CurrentLine : 0;
  LG().CurrentLine = Tab;
  visible_ = true;
  drag_ = Drag();
  Refresh();
  Redraw();
  Changed();
}

void Form_LineSetup::Unload() {
  // A running scan ends at its next pass.
  if (Scanning()) {
    stopPressed_ = true;
    LG().StopCode = kErrStopped;
  }
  if (Form_Camera* image = Image()) {
    if (image->mode() == kLineSetupMode) image->set_mode(0);
    image->Overlay_Clear();
  }
  visible_ = false;
  drag_ = Drag();
  ImageForm = nullptr;
  imageHandle_ = 0;
  Changed();
}

void Form_LineSetup::TabStrip_Click(int tab) {
  if (tab < 0 || tab >= kLineCount) return;
  Tab = tab;
  LG().CurrentLine = tab;
  Refresh();
  Redraw();
  Changed();
}

void Form_LineSetup::Refresh() {
  const ScanLine& l = Current();
  Text_x1 = std::to_string(l.X1);
  Text_Y1 = std::to_string(l.Y1);
  Text_x2 = std::to_string(l.X2);
  Text_Y2 = std::to_string(l.Y2);
  Combo_Mode = l.Mode >= 0 && l.Mode <= kWindowCount ? int(l.Mode) : 0;
  Ctl_Combo_Averaging.Enabled = HasLiveSource(Image());
  if (!Ctl_Combo_Averaging.Enabled) {
    // Without new frames there is nothing to average.
    Combo_Averaging = 0;
    Combo_AveragingText = "1";
  } else {
    Combo_Averaging = AveragingIndex(l.Averaging);
    Combo_AveragingText = std::to_string(l.Averaging);
  }
  Combo_LineWidth = ThicknessIndex(l.Thickness);
  Check_Lock = LG().Locked[size_t(Tab)];
  Check_Enabled = l.Enabled == 1;
  UpdateLabels();
  UpdateButtonStatus();
}

void Form_LineSetup::UpdateLabels() {
  const ScanLine& l = Current();
  const double dx = double(l.X2 - l.X1), dy = double(l.Y2 - l.Y1);
  Label_Length = "Length = " + OneDecimal(CalLength(float(dx), float(dy))) + " " + CalUnit();
  // Image rows grow downwards; the angle is counted as on paper, 0 to 360.
  Label_Angle = "Angle = " + OneDecimal(CalAngle(float(dx), float(-dy))) + "\xC2\xB0";
}

void Form_LineSetup::UpdateButtonStatus() {
  const Form_Camera* image = Image();
  const ScanLine& l = Current();
  const bool valid = image && image->ImagePtr() && !LineIsInvalid(l, ImageW(image), ImageH(image));
  const bool editable = !LG().Locked[size_t(Tab)] && !Scanning();
  for (Control* c : {&Ctl_Text_x1, &Ctl_Text_Y1, &Ctl_Text_x2, &Ctl_Text_Y2, &Ctl_Command_Delete})
    c->Enabled = editable;
  Ctl_Command_Scan.Enabled = valid && !scanningT_;
  Ctl_Command_ScanT.Enabled = valid && !scanning_ && MainForm() != nullptr;
  Ctl_Command_Grab.Enabled = G().GrabberOK && !Scanning();
  Ctl_Command_SHT.Enabled = !LG().Profile.empty() && !Scanning() && MainForm() != nullptr;
  Ctl_Command_Calibration.Enabled = true;
}

void Form_LineSetup::Redraw() {
  if (Form_Camera* image = Image()) Overlay_LineSetup(*image);
}

void Form_LineSetup::StoreEnds(long x1, long y1, long x2, long y2) {
  ScanLine& l = Current();
  l.X1 = int32_t(x1);
  l.Y1 = int32_t(y1);
  l.X2 = int32_t(x2);
  l.Y2 = int32_t(y2);
  LineSetHome(l);
  Text_x1 = std::to_string(l.X1);
  Text_Y1 = std::to_string(l.Y1);
  Text_x2 = std::to_string(l.X2);
  Text_Y2 = std::to_string(l.Y2);
  UpdateLabels();
  UpdateButtonStatus();
  Redraw();
  Changed();
}

// A field keeps what was typed; the line takes it when it is a number.
bool Form_LineSetup::TextEnd(const std::string& text, int which) {
  long v = 0;
  if (LG().Locked[size_t(Tab)] || !ParseWholeNumber(text, v)) return false;
  ScanLine& l = Current();
  int32_t* ends[4] = {&l.X1, &l.Y1, &l.X2, &l.Y2};
  *ends[which] = int32_t(v);
  LineSetHome(l);
  UpdateLabels();
  UpdateButtonStatus();
  Redraw();
  Changed();
  return true;
}

void Form_LineSetup::Text_x1_Change() { TextEnd(Text_x1, 0); }
void Form_LineSetup::Text_Y1_Change() { TextEnd(Text_Y1, 1); }
void Form_LineSetup::Text_x2_Change() { TextEnd(Text_x2, 2); }
void Form_LineSetup::Text_Y2_Change() { TextEnd(Text_Y2, 3); }

void Form_LineSetup::Combo_Mode_Click() {
  if (Combo_Mode < 0 || Combo_Mode > kWindowCount) return;
  Current().Mode = Combo_Mode;
  Changed();
}

void Form_LineSetup::Combo_Averaging_Click() {
  if (!Ctl_Combo_Averaging.Enabled || Combo_Averaging < 0 || Combo_Averaging >= kAveragingEntries)
    return;
  Current().Averaging = int32_t(1) << Combo_Averaging;
  Combo_AveragingText = std::to_string(Current().Averaging);
  Changed();
}

void Form_LineSetup::Combo_LineWidth_Click() {
  if (Combo_LineWidth < 0 || Combo_LineWidth >= kLineThicknessCount) return;
  Current().Thickness = kLineThicknesses[Combo_LineWidth];
  Redraw();
  Changed();
}

void Form_LineSetup::Check_Lock_Click() {
  LG().Locked[size_t(Tab)] = Check_Lock;
  UpdateButtonStatus();
  Changed();
}

void Form_LineSetup::Check_AutoScale_Click() { Changed(); }

void Form_LineSetup::Check_Enabled_Click() {
  Current().Enabled = Check_Enabled ? 1 : 0;
  Changed();
}

bool Form_LineSetup::Form_KeyDown(int keyCode, int shift) {
  if (keyCode == kKeyF5 && shift == 0) {
    if (!Ctl_Command_Scan.Enabled) return false;
    Command_Scan();
    return true;
  }
  if (shift != kShift && shift != kCtrl) return false;
  if (keyCode < kKeyLeft || keyCode > kKeyDown) return false;
  if (LG().Locked[size_t(Tab)] || Scanning()) return true;
  const Form_Camera* image = Image();
  const long iw = ImageW(image), ih = ImageH(image);
  const long sx = keyCode == kKeyLeft ? -1 : keyCode == kKeyRight ? 1 : 0;
  const long sy = keyCode == kKeyUp ? -1 : keyCode == kKeyDown ? 1 : 0;
  const ScanLine& l = Current();
  auto inside = [&](long x, long y) { return x >= 0 && y >= 0 && x < iw && y < ih; };
  if (shift == kShift) {
    // The end point alone; refused at the border.
    if (!inside(l.X2 + sx, l.Y2 + sy)) return true;
    StoreEnds(l.X1, l.Y1, l.X2 + sx, l.Y2 + sy);
  } else {
    if (!inside(l.X1 + sx, l.Y1 + sy) || !inside(l.X2 + sx, l.Y2 + sy)) return true;
    StoreEnds(l.X1 + sx, l.Y1 + sy, l.X2 + sx, l.Y2 + sy);
  }
  return true;
}

void Form_LineSetup::Command_Delete() {
  if (LG().Locked[size_t(Tab)] || Scanning()) return;
  StoreEnds(0, 0, 0, 0);
}

void Form_LineSetup::Command_Color(int32_t rgb) {
  Current().Color = rgb & 0xFFFFFF;
  Redraw();
  Changed();
}

void Form_LineSetup::Command_Calibration() {
  ShowLengthCalibration();
  UpdateLabels();
  Changed();
}

void Form_LineSetup::Command_Close() { Unload(); }

void Form_LineSetup::Command_Grab() {
  Form_Camera* image = Image();
  if (!image || !G().GrabberOK || Scanning()) return;
  StopPreview();
  Grab(*image);
  Refresh();
  Redraw();
  Changed();
}

bool Form_LineSetup::ScanOnce(Form_Camera& image) {
  ScanLine& l = Current();
  if (LineIsInvalid(l, image.ImageWidth(), image.ImageHeight())) return false;
  // The line may have been edited or the image changed since the last pass.
  const bool colour = image.HasColors();
  const size_t need = size_t(LinePointCount(l)) * (colour ? 3 : 1);
  if (l.Buffer.size() != need || l.BufferColour != colour) {
    if (!LineBufferAlloc(l, LinePointCount(l), colour)) return false;
  }
  auto status = [this](const std::string& text) {
    Label_Status = text;
    Changed();
  };
  if (!LineScan(l, image, status)) return false;
  PlotProfile();
  return true;
}

void Form_LineSetup::Command_Scan() {
  if (scanning_) {
    // The second press stops.
    stopPressed_ = true;
    LG().StopCode = kErrStopped;
    return;
  }
  if (scanningT_) return;
  Form_Camera* image = Image();
  if (!image || !image->ImagePtr()) {
    host().MsgBox(kNoImageText, MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  ScanLine& l = Current();
  if (LineIsInvalid(l, image->ImageWidth(), image->ImageHeight())) {
    host().MsgBox(InvalidLineText(Tab), MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  // The larger of the line's width and height, plus one.
  const long points = std::max(std::labs(l.X2 - l.X1), std::labs(l.Y2 - l.Y1)) + 1;
  if (!LineBufferAlloc(l, points, image->HasColors())) {
    host().MsgBox(kNoMemoryText, MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  scanning_ = true;
  stopPressed_ = false;
  Command_ScanCaption = "S&top";
  LineScanPlotForm().Caption = kProfileName;
  UpdateButtonStatus();
  Changed();
  do {
    if (!ScanOnce(*image)) break;
    Changed();
    host().DoEvents();
    image = Image();
  } while (image && !stopPressed_ && (Check_AutoScale || ScanHeld));
  if (stopPressed_) Status("");  // a stopped scan leaves no rate behind
  LineBufferFree(l);
  scanning_ = false;
  stopPressed_ = false;
  Command_ScanCaption = "&Scan";
  Label_Status.clear();
  UpdateButtonStatus();
  Changed();
}

void Form_LineSetup::Command_ScanT() {
  if (scanningT_) {
    stopPressed_ = true;
    LG().StopCode = kErrStopped;
    return;
  }
  if (scanning_) return;
  Form_Camera* image = Image();
  if (!image || !image->ImagePtr()) {
    host().MsgBox(kNoImageText, MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  ScanLine& l = Current();
  if (LineIsInvalid(l, image->ImageWidth(), image->ImageHeight())) {
    host().MsgBox(InvalidLineText(Tab), MsgButtons::OK, MsgIcon::Exclamation, kScanTitle);
    return;
  }
  MDIForm_Main* main = MainForm();
  if (!main) return;
  const bool colour = image->HasColors();
  const long points = LinePointCount(l);
  // As many profiles as the source image has rows.
  const long rows = std::max(1L, image->ImageHeight());
  Form_Camera* made = NewImage(*main);
  if (!made) return;
  const long madeHandle = made->Handle();
  made->SetHasColors(colour);
  made->SetLUTtype(image->LUTtype());
  made->CreateImage(points, rows, image->ImageBitsPerPixel(), nullptr);
  made->SetTitle(kProfileTName);
  main->ShowChild(madeHandle);
  if (!made->ImagePtr() || !LineBufferAlloc(l, points, colour)) {
    host().MsgBox(kNoMemoryText, MsgButtons::OK, MsgIcon::Exclamation, kProfileTName);
    return;
  }
  scanningT_ = true;
  stopPressed_ = false;
  Command_ScanTCaption = "S&top";
  UpdateButtonStatus();
  Changed();
  const uint32_t start = host().TimeGetTime();
  long row = 0;
  const size_t channels = colour ? 3 : 1;
  while (true) {
    image = Image();
    made = dynamic_cast<Form_Camera*>(main->Child(madeHandle));
    if (!image || !made || !made->ImagePtr() || made->ImageWidth() != points) break;
    if (!ScanOnce(*image)) break;
    const std::vector<float>& profile = LG().Profile;
    const size_t n = profile.size() / channels;
    uint16_t* dest = made->ImagePtr() + size_t(row) * size_t(points) * channels;
    for (size_t i = 0; i < size_t(points) && i < n; ++i)
      for (size_t c = 0; c < channels; ++c) {
        const double v = RoundEven(double(profile[c * n + i]));
        dest[i * channels + c] = uint16_t(std::clamp(v, 0.0, 65535.0));
      }
    ++row;
    made->SetChanged(true);
    made->Update8BitImage();
    made->DrawCameraImage();
    const int32_t elapsed = SV_SubTime(host().TimeGetTime(), start);
    if (elapsed > 0) Label_Status = OneDecimal(double(row) * 1000.0 / double(elapsed)) + " Hz";
    Changed();
    host().DoEvents();
    if (stopPressed_) {
      Status("");
      break;
    }
    if (row >= rows) {
      LG().StopCode = kErrImageFull;
      host().MsgBox(ErrorText(kErrImageFull), MsgButtons::OK, MsgIcon::Exclamation, kProfileTName);
      break;
    }
  }
  LineBufferFree(l);
  scanningT_ = false;
  stopPressed_ = false;
  Command_ScanTCaption = "Profile(&t)";
  UpdateButtonStatus();
  Changed();
}

void Form_LineSetup::Command_SHT() {
  if (Scanning()) return;
  if (!CreateProfileSHT()) host().Beep();
}

Form_Worksheet* Form_LineSetup::CreateProfileSHT() {
  MDIForm_Main* main = MainForm();
  const LineGlobals& g = LG();
  if (!main || g.Profile.empty()) return nullptr;
  Form_Worksheet* sheet = NewWorksheet(*main);
  if (!sheet) return nullptr;
  const long planes = g.ProfileColour ? 3 : 1;
  const long n = long(g.Profile.size()) / planes;
  ScanLine ends;
  ends.X1 = g.ProfileEnds[0];
  ends.Y1 = g.ProfileEnds[1];
  ends.X2 = g.ProfileEnds[2];
  ends.Y2 = g.ProfileEnds[3];
  sheet->Redraw(false);
  sheet->Cols(2 + planes);
  sheet->Rows(n + 1);
  const char* rgb[3] = {"Red", "Green", "Blue"};
  sheet->ColName(1, kLocationColumn);
  sheet->Col(1);
  sheet->ColTyp(kTypX);
  for (long c = 0; c < planes; ++c) {
    sheet->ColName(2 + c, g.ProfileColour ? rgb[c] : kIntensityColumn);
    sheet->Col(2 + c);
    sheet->ColTyp(kTypY);
  }
  for (long i = 0; i < n; ++i) {
    sheet->TextMatrix(i + 1, 1, Cell(LineLocation(ends, n, i)));
    for (long c = 0; c < planes; ++c)
      sheet->TextMatrix(i + 1, 2 + c, Cell(g.Profile[size_t(c * n + i)]));
  }
  sheet->Col(2);
  sheet->Row(1);
  sheet->Redraw(true);
  sheet->SetChanged();
  main->ShowChild(sheet->Handle());
  SheetPlot* made = nullptr;
  if (sheet->NewPlot(made) && made) {
    if (auto* plot = dynamic_cast<Form_Plot*>(made)) {
      const int32_t colours[3] = {0x0000FF, 0x00FF00, 0xFF0000};
      for (long c = 0; c < planes; ++c) {
        sheet->Col(2 + c);
        plot->AddCurve();
        plot->CurveXCol(1);
        if (g.ProfileColour) plot->CurveColor(colours[c]);
      }
      plot->TitleText(kProfileName);
      plot->XLabelText(kLocationColumn);
      plot->YLabelText(g.ProfileColour ? "intensity" : kIntensityColumn);
      plot->Plot();
    }
    main->ShowChild(made->Handle());
  }
  return sheet;
}

void Form_LineSetup::PlotProfile() {
  const LineGlobals& g = LG();
  if (g.Profile.empty()) return;
  Form_LineScanPlot& plot = LineScanPlotForm();
  plot.Auto = g.PlotAuto != 0;
  plot.SetProfile(g.Profile, g.ProfileColour, g.Dynamic, Current().Color);
  if (!plot.Visible()) plot.Show();
}

void Form_LineSetup::AutoScan() {
  if (!visible_ || Scanning() || !Check_AutoScale) return;
  Form_Camera* image = Image();
  UpdateButtonStatus();
  if (!image || Current().Averaging != 1 || !Ctl_Command_Scan.Enabled) return;
  scanning_ = true;
  ScanOnce(*image);
  LineBufferFree(Current());
  scanning_ = false;
  UpdateButtonStatus();
  Changed();
}

// --- The mouse -------------------------------------------------------------------------

void Form_LineSetup::ShowLineStatus(long x, long y) {
  const Form_Camera* image = Image();
  int what = 0;
  const int n = image ? LineAt(*image, x, y, Tab, what) : -1;
  if (n == statusLine_) return;
  statusLine_ = n;
  Status(n >= 0 ? "Line: " + std::to_string(n + 1) : std::string());
}

void Form_LineSetup::Picture_MouseDown(long x, long y) {
  Form_Camera* image = Image();
  drag_ = Drag();
  if (!image || image->mode() != kLineSetupMode || Scanning()) return;
  if (x < 0 || y < 0 || x >= image->ImageWidth() || y >= image->ImageHeight()) return;
  int what = 0;
  const int hit = LineAt(*image, x, y, Tab, what);
  if (hit >= 0 && LG().Locked[size_t(hit)]) return;
  if (hit >= 0 && hit != Tab) TabStrip_Click(hit);
  if (hit < 0 && LG().Locked[size_t(Tab)]) return;
  const ScanLine& l = Current();
  drag_.active = true;
  drag_.what = hit >= 0 ? what : 4;
  drag_.x0 = x;
  drag_.y0 = y;
  drag_.old[0] = l.X1;
  drag_.old[1] = l.Y1;
  drag_.old[2] = l.X2;
  drag_.old[3] = l.Y2;
}

void Form_LineSetup::Picture_MouseMove(long x, long y, bool buttonDown) {
  Form_Camera* image = Image();
  if (!image || image->mode() != kLineSetupMode) return;
  if (!drag_.active || !buttonDown) {
    ShowLineStatus(x, y);
    return;
  }
  const long iw = image->ImageWidth(), ih = image->ImageHeight();
  x = std::clamp(x, 0L, iw - 1);
  y = std::clamp(y, 0L, ih - 1);
  const int32_t* o = drag_.old;
  switch (drag_.what) {
    case 1: StoreEnds(x, y, o[2], o[3]); break;
    case 2: StoreEnds(o[0], o[1], x, y); break;
    case 3: {
      // The whole line slides with the mouse and stays inside the image.
      const long minX = std::min(o[0], o[2]), maxX = std::max(o[0], o[2]);
      const long minY = std::min(o[1], o[3]), maxY = std::max(o[1], o[3]);
      const long dx = std::clamp(x - drag_.x0, -minX, iw - 1 - maxX);
      const long dy = std::clamp(y - drag_.y0, -minY, ih - 1 - maxY);
      StoreEnds(o[0] + dx, o[1] + dy, o[2] + dx, o[3] + dy);
      break;
    }
    default: StoreEnds(drag_.x0, drag_.y0, x, y); break;
  }
}

void Form_LineSetup::Picture_MouseUp(long x, long y) {
  if (!drag_.active) return;
  const Drag was = drag_;
  Picture_MouseMove(x, y, true);
  drag_ = Drag();
  if (was.what == 4 && x == was.x0 && y == was.y0) {
    // A click draws nothing: the line stays as it was.
    StoreEnds(was.old[0], was.old[1], was.old[2], was.old[3]);
  }
  Changed();
}

// --- Wiring -----------------------------------------------------------------------------

void RegisterLineCommands(MDIForm_Main& main) {
  RegisterLineSettings();
  MDIForm_Main* m = &main;
  main.SetCommand("mnuLineSetup", [m](int) {
    auto* image = dynamic_cast<Form_Camera*>(m->ActiveChild());
    if (!image) image = PreviewImage(m);
    LineSetupForm().Load(image);
  });
  // The window tool listens to new images too: both are told.
  auto before = LV().NewImage;
  LV().NewImage = [before](Form_Camera& image) {
    if (before) before(image);
    Form_LineSetup& form = LineSetupForm();
    if (form.Visible() && form.ImageForm == &image) form.AutoScan();
  };
  // The profile window follows the LUT limits of the line tool's image.
  LineScanPlotRange() = [](float lutMin, float lutMax) {
    if (LineScanPlotForm().Visible()) LineScanPlotForm().SetRange(lutMin, lutMax);
  };
  main.exitHooks.unloadTools.push_back([] {
    if (LineSetupForm().Visible()) LineSetupForm().Unload();
    LineScanPlotForm().Hide();
  });
}

}  // namespace sv
