#include "image/form_camera.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_lut.h"
#include "image/image_files.h"
#include "image/image_operations.h"
#include "image/kernel/sv_kernel.h"

namespace sv {

namespace {

// Larger buffers count as an allocation failure without being tried.
constexpr long kMaxImageBytes = 1L << 30;

// The operations Invoke runs.
constexpr const char* kOperations[] = {"FileClose", "Undo",     "EditClear", "Lut",
                                        "Activate",  "FileSave", "FileSaveAs"};

// Colour of the measuring polygon's legs (0xBBGGRR).
constexpr long kPolygonColour = 0x0000FF;

template <class T>
void Release(std::vector<T>& v) {
  std::vector<T>().swap(v);
}

// Zero-filled buffer of n elements; empty when the memory is not there.
template <class T>
void Allocate(std::vector<T>& v, size_t n) {
  Release(v);
  if (n == 0 || n * sizeof(T) > size_t(kMaxImageBytes)) return;
  try {
    v.assign(n, T(0));
  } catch (const std::bad_alloc&) {
    Release(v);
  } catch (const std::length_error&) {
    Release(v);
  }
}

}  // namespace

// --- Life ---------------------------------------------------------------------

Form_Camera::Form_Camera(MDIForm_Main* main) : main_(main) {
  // The load step: the overlay, the default palette type, zoom 1:1, and the
  // header of a new document.
  LUTtype_ = std::clamp(G().DefaultLUTtype, 0, kLutTypeCount - 1);
  ZoomFactor_ = 1.0f;
  Overlay.factor = ZoomFactor_;
  Header = HeaderTemplate();
  FillPalette(LUTtype_, Header.bmiColors);
  UndoHeader = Header;
}

Form_Camera::~Form_Camera() {
  if (lutForm_) lutForm_->Bind(nullptr);
  // A window still bound to us lets go.
  view_->Close(*this);
}

MDIForm_Main* Form_Camera::Main() const { return main_ ? main_ : MainForm(); }

bool Form_Camera::IsActive() const {
  MDIForm_Main* m = Main();
  if (!m) return false;
  const ChildDocument* active = m->ActiveChild();
  return active == nullptr || active == this;
}

std::map<std::string, ImageOperation>& ImageOperationTable() {
  static std::map<std::string, ImageOperation> table;
  return table;
}

bool Form_Camera::Offers(const std::string& operation) const {
  for (const char* op : kOperations)
    if (operation == op) return true;
  const auto& table = ImageOperationTable();
  auto it = table.find(operation);
  return it != table.end() && it->second.run && (!it->second.offered || it->second.offered(*this));
}

bool Form_Camera::InvokeAt(const std::string& operation, int index) {
  const auto& table = ImageOperationTable();
  if (auto it = table.find(operation); it != table.end()) {
    // Not for this kind of image: nothing happens.
    if (!Offers(operation)) return false;
    // A copy: the operation may change the table while it runs.
    const auto run = it->second.run;
    run(*this, index);
    return true;
  }
  return Invoke(operation);
}

bool Form_Camera::Invoke(const std::string& operation) {
  if (operation == "FileClose") {
    FileClose();  // may destroy this document: nothing may follow
    return true;
  }
  if (operation == "Undo") {
    Undo();
    return true;
  }
  if (operation == "EditClear") {
    EditClear();
    return true;
  }
  if (operation == "Lut") {
    Lut();
    return true;
  }
  if (operation == "Activate") {
    RealizeLUT();
    return true;
  }
  if (operation == "FileSave") {
    sv::FileSave(*this);
    return true;
  }
  if (operation == "FileSaveAs") {
    sv::FileSaveAs(*this);
    return true;
  }
  if (ImageOperationTable().count(operation)) return InvokeAt(operation, -1);
  return false;
}

std::string Form_Camera::Caption() const { return (changed_ ? "*" : "") + title_; }

void Form_Camera::SetTitle(const std::string& title) {
  title_ = title;
  view_->CaptionChanged(*this);
}

void Form_Camera::SetChanged(bool changed) {
  if (changed_ == changed) return;
  changed_ = changed;
  view_->CaptionChanged(*this);
}

bool Form_Camera::QueryUnload() {
  if (!changed_ || !HasHost()) return true;
  const MsgResult r = host().MsgBox("Save changes to " + title_ + "?", MsgButtons::YesNoCancel,
                                    MsgIcon::Question, "Close");
  if (r == MsgResult::No) return true;
  if (r == MsgResult::Yes && Offers("FileSave")) {
    Invoke("FileSave");
    return !changed_;
  }
  // Cancel, or Yes with nothing to save through: the image stays.
  return false;
}

void Form_Camera::FileClose() {
  MDIForm_Main* m = Main();
  if (m && m->Child(Handle()) == this) {
    m->CloseChild(Handle());
    return;
  }
  if (QueryUnload()) {
    ImageClose();
    view_->Close(*this);
  }
}

void Form_Camera::EditClear() {
  if (!ImagePtr()) return;
  RegisterUndo("Clear");
  SV_memset(ImagePtr(), 0, ImagePtr_.size() * sizeof(uint16_t));
  Update8BitImage();
  SetChanged(true);
}

void Form_Camera::Lut() {
  MDIForm_Main* m = Main();
  if (m && m->View()) m->View()->ShowLutForm(*this);
}

// --- Sizing -------------------------------------------------------------------

void Form_Camera::SizeImage(long width, long height) {
  width = std::max(0L, width);
  height = std::max(0L, height);
  const long bytes = width * height * BytesPerPixel();
  Header.bmiHeader.biWidth = static_cast<int32_t>(width);
  Header.bmiHeader.biHeight = static_cast<int32_t>(height);
  if (width == sizedWidth_ && height == sizedHeight_ && bytes == ImageBytes_) {
    SizeImage();
    return;
  }
  ImageBytes_ = bytes;
  ImageByteWidth_ = DisplayByteWidth(width, HasColors_);
  Release(ImagePtr_);
  DIB_ClearUp();
  Release(GrabPtr_);
  sizedWidth_ = width;
  sizedHeight_ = height;
  if (ImageBytes_ != 0) {
    Allocate(ImagePtr_, size_t(ImageBytes_) / sizeof(uint16_t));
    DIB_Create();
    Allocate(GrabPtr_, size_t(ImageBytes_) / sizeof(uint16_t));
    SizeImage();
  }
  if (MDIForm_Main* m = Main(); m && m->ActiveChild() == this) {
    if (ToolbarButton* cut = m->FindButton("Cut")) cut->enabled = ImagePtr() != nullptr;
    if (m->View()) m->View()->ToolbarsChanged();
  }
}

void Form_Camera::SizeImage() { Updatescrollbars(); }

uint16_t* Form_Camera::GrabPtr() {
  if (!ImagePtr_.empty() && GrabPtr_.size() != ImagePtr_.size()) Allocate(GrabPtr_, ImagePtr_.size());
  return GrabPtr_.empty() ? nullptr : GrabPtr_.data();
}

bool Form_Camera::DIB_Create() {
  const long bytes = ImageHeight() * ImageByteWidth_;
  Allocate(ImagePtr8_, size_t(std::max(0L, bytes)));
  return !ImagePtr8_.empty();
}

void Form_Camera::DIB_ClearUp() {
  Release(ImagePtr8_);
  displayStale_ = false;
}

void Form_Camera::SetImageHeight(long h) {
  if (h >= 0 && h < ImageHeight()) Header.bmiHeader.biHeight = static_cast<int32_t>(h);
}

void Form_Camera::SetImageBitsPerPixel(long bits) {
  bits = std::clamp(bits, 1L, 16L);
  if (!bitsSet_) {
    LUTmin = 0.0f;
    LUTmax = 1.0f;
    bitsSet_ = true;
  }
  ImageBitsPerPixel_ = bits;
  ImageDynamik_ = 1L << bits;
  SetLUT(true);
  if (lutForm_ && lutForm_->Visible) lutForm_->Refresh();
}

void Form_Camera::SetHasColors(bool colour) {
  HasColors_ = colour;
  Header.bmiHeader.biBitCount = colour ? 24 : 8;
  if (!colour) FillPalette(LUTtype_, Header.bmiColors);
}

bool Form_Camera::AdoptImage(long width, long height, bool colour, std::vector<uint16_t>& pixels) {
  if (width <= 0 || height <= 0) return false;
  const size_t samples = size_t(width) * size_t(height) * (colour ? 3 : 1);
  if (pixels.size() != samples || samples * sizeof(uint16_t) > size_t(kMaxImageBytes)) return false;
  SetHasColors(colour);
  Header.bmiHeader.biWidth = static_cast<int32_t>(width);
  Header.bmiHeader.biHeight = static_cast<int32_t>(height);
  ImagePtr_.swap(pixels);
  ImageBytes_ = long(samples * sizeof(uint16_t));
  const long byteWidth = DisplayByteWidth(width, colour);
  const bool displayFits = byteWidth == ImageByteWidth_ && height == sizedHeight_;
  ImageByteWidth_ = byteWidth;
  sizedWidth_ = width;
  sizedHeight_ = height;
  sizedColour_ = colour;
  if (!displayFits) {
    // The display copy is rebuilt from the samples before it is shown: its
    // old contents need no clearing, and its memory is used again.
    try {
      ImagePtr8_.resize(size_t(height) * size_t(byteWidth));
    } catch (const std::bad_alloc&) {
      Release(ImagePtr8_);
    }
  }
  if (GrabPtr_.size() != samples) Release(GrabPtr_);
  SizeImage();
  Update8BitImage();
  return true;
}

void Form_Camera::CreateImage(long width, long height, long bits, const void* source) {
  ImageClose();
  Header = HeaderTemplate();
  // The template is mono with the default palette; this image keeps its own
  // colour mode and palette type.
  Header.bmiHeader.biBitCount = HasColors_ ? 24 : 8;
  FillPalette(LUTtype_, Header.bmiColors);
  SizeImage(width, height);
  SetImageBitsPerPixel(bits);
  LUTmin = 0.0f;
  LUTmax = 1.0f;
  SetLUT(true);
  FitWindow(width, height);
  if (source && ImagePtr()) SV_memcpy(ImagePtr(), source, size_t(ImageBytes_));
  Update8BitImage();
  ImgDescription.clear();
  view_->CommentChanged(*this);
}

void Form_Camera::FitWindow(long width, long height) {
  if (width <= 0 || height <= 0) return;
  const double maxW = std::max(1, MaxClientWidth);
  const double maxH = std::max(1, MaxClientHeight);
  double w = double(width), h = double(height);
  if (w > maxW || h > maxH) {
    // The largest window that fits, in the image's proportions.
    if (maxH / h < maxW / w) {
      w = w * maxH / h;
      h = maxH;
    } else {
      h = h * maxW / w;
      w = maxW;
    }
  }
  const int cw = std::max(1, static_cast<int>(w));
  const int ch = std::max(1, static_cast<int>(h));
  if (!view_->Maximised()) {
    ClientWidth = cw;
    ClientHeight = ch;
    view_->ResizeTo(*this, cw, ch);
  }
  Updatescrollbars();
}

void Form_Camera::ImageClose() {
  HScrollVisible = VScrollVisible = false;
  HScrollMax = VScrollMax = 0;
  ZoomOffsetX_ = ZoomOffsetY_ = 0;
  view_->ScrollBarsChanged(*this);
  ImgDescription.clear();
  view_->CommentChanged(*this);
  Filename.clear();
  SizeImage(0, 0);
  ClearUndo();
}

long Form_Camera::GetMaxWidth() const {
  return std::min<long>(long(double(ImageWidth()) * ZoomFactor_), MaxClientWidth);
}

long Form_Camera::GetMaxHeight() const {
  return std::min<long>(long(double(ImageHeight()) * ZoomFactor_), MaxClientHeight);
}

// --- Display pipeline -----------------------------------------------------------

void Form_Camera::SetLUT(bool force) {
  if (force) LutCache = LutCacheRecord{-2.0f, -2.0f, -2};
  const long inverse = LUTinverse ? -1 : 0;
  if (LUTmin == LutCache.min && LUTmax == LutCache.max && inverse == LutCache.inverse) return;
  const long levels = std::clamp(ImageDynamik_, 1L, 65536L);
  LutCache = LutCacheRecord{LUTmin, LUTmax, inverse};
  SV_set_lut(LUTmin, LUTmax, levels, 65536, LutTable_.data(), LUTinverse);
  ++lutBuilds_;
  Update8BitImage();
  if (mode_ == 4 && LineScanPlotRange()) LineScanPlotRange()(LUTmin, LUTmax);
}

std::function<void(float, float)>& LineScanPlotRange() {
  static std::function<void(float, float)> hook;
  return hook;
}

bool Form_Camera::DisplayMatches() const {
  const long w = ImageWidth(), h = ImageHeight();
  if (w <= 0 || h <= 0 || ImagePtr_.empty() || ImagePtr8_.empty()) return false;
  // A colour mode changed without SizeImage leaves buffers of the old shape:
  // nothing is drawn until they match again.
  const size_t samples = size_t(w) * size_t(h) * (HasColors_ ? 3 : 1);
  const long byteWidth = DisplayByteWidth(w, HasColors_);
  return ImageByteWidth_ == byteWidth && ImagePtr_.size() >= samples &&
         ImagePtr8_.size() >= size_t(h) * size_t(byteWidth);
}

void Form_Camera::Update8BitImage() {
  if (!DisplayMatches()) return;
  displayStale_ = true;
  DrawCameraImage();
}

void Form_Camera::RefreshDisplay() const {
  if (!displayStale_) return;
  displayStale_ = false;
  if (!DisplayMatches()) return;
  const long w = ImageWidth(), h = ImageHeight();
  if (HasColors_)
    SV_RGB_display(w, h, ImagePtr_.data(), ImagePtr8_.data(), LutTable_.data());
  else
    SV_display(w, h, ImagePtr_.data(), ImagePtr8_.data(), LutTable_.data());
}

void Form_Camera::DrawCameraImage() {
  if (ImagePtr8_.empty()) return;
  view_->Present(*this);
}

void Form_Camera::RealizeLUT() {
  // The palette is rebuilt from the type; with a true-colour screen nothing
  // else is needed.
  FillPalette(LUTtype_, Header.bmiColors);
  DrawCameraImage();
}

void Form_Camera::SetLUTtype(int type) {
  LUTtype_ = std::clamp(type, 0, kLutTypeCount - 1);
  FillPalette(LUTtype_, Header.bmiColors);
  RealizeLUT();
}

// --- Zoom ---------------------------------------------------------------------

float Form_Camera::ZoomFactorForIndex(long index) {
  if (index >= 0 && index <= 14) return float(16 - index);
  if (index > 14) return 1.0f / float(index - 14);
  return 1.0f;
}

void Form_Camera::SetZoom(long index) {
  const double w = ClientWidth < 1 ? 100.0 : double(ClientWidth);
  const double h = ClientHeight < 1 ? 100.0 : double(ClientHeight);
  // The image point in the middle of the window stays there.
  const double f0 = ZoomFactor_;
  const double cx = ((w - f0) / 2.0 - double(ZoomOffsetX_)) / f0;
  const double cy = ((h - f0) / 2.0 - double(ZoomOffsetY_)) / f0;
  if (index >= 0) ZoomIndex = index;
  ZoomFactor_ = ZoomFactorForIndex(ZoomIndex);
  Overlay.factor = ZoomFactor_;
  const double f = ZoomFactor_;
  ZoomOffsetX_ = static_cast<long>(-(f * cx - w / 2.0) + f / 2.0);
  ZoomOffsetY_ = static_cast<long>(-(f * cy - h / 2.0) + f / 2.0);
  OptimizeFormSize();
}

void Form_Camera::OptimizeFormSize() {
  const int wantW = static_cast<int>(GetMaxWidth());
  const int wantH = static_cast<int>(GetMaxHeight());
  if (wantW > 0 && wantH > 0 && (wantW != ClientWidth || wantH != ClientHeight) &&
      !view_->Maximised()) {
    ClientWidth = wantW;
    ClientHeight = wantH;
    view_->ResizeTo(*this, wantW, wantH);
  }
  Updatescrollbars();
  DrawCameraImage();
}

void Form_Camera::Updatescrollbars() {
  const long w = ClientWidth < 1 ? 100 : ClientWidth;
  const long h = ClientHeight < 1 ? 100 : ClientHeight;
  const long zw = long(double(ImageWidth()) * ZoomFactor_);
  const long zh = long(double(ImageHeight()) * ZoomFactor_);
  ZoomOffsetX_ = std::clamp(ZoomOffsetX_, std::min(0L, w - zw), 0L);
  ZoomOffsetY_ = std::clamp(ZoomOffsetY_, std::min(0L, h - zh), 0L);
  HScrollVisible = zw > w;
  VScrollVisible = zh > h;
  HScrollMax = std::max(0L, zw - w);
  VScrollMax = std::max(0L, zh - h);
  view_->ScrollBarsChanged(*this);
}

void Form_Camera::SetZoomOffsets(long x, long y) {
  const long w = ClientWidth < 1 ? 100 : ClientWidth;
  const long h = ClientHeight < 1 ? 100 : ClientHeight;
  const long zw = long(double(ImageWidth()) * ZoomFactor_);
  const long zh = long(double(ImageHeight()) * ZoomFactor_);
  ZoomOffsetX_ = std::clamp(x, std::min(0L, w - zw), 0L);
  ZoomOffsetY_ = std::clamp(y, std::min(0L, h - zh), 0L);
}

bool Form_Camera::ScreenToImage(int sx, int sy, long& ix, long& iy) const {
  const double f = ZoomFactor_ > 0.0f ? double(ZoomFactor_) : 1.0;
  ix = static_cast<long>(std::floor((double(sx) - double(ZoomOffsetX_)) / f));
  iy = static_cast<long>(std::floor((double(sy) - double(ZoomOffsetY_)) / f));
  return ix >= 0 && iy >= 0 && ix < ImageWidth() && iy < ImageHeight();
}

void Form_Camera::PointScan(int sx, int sy) {
  MDIForm_Main* m = Main();
  if (!m) return;
  long x = 0, y = 0;
  std::string text;
  const size_t samples = size_t(std::max(0L, ImageWidth())) * size_t(std::max(0L, ImageHeight()));
  if (ScreenToImage(sx, sy, x, y) && ImagePtr() &&
      ImagePtr_.size() >= samples * (HasColors_ ? 3 : 1)) {
    const size_t at = size_t(y) * size_t(ImageWidth()) + size_t(x);
    text = std::to_string(x) + ", " + std::to_string(y) + ": ";
    if (HasColors_) {
      const uint16_t* p = ImagePtr() + 3 * at;
      text += std::to_string(p[0]) + ", " + std::to_string(p[1]) + ", " + std::to_string(p[2]);
    } else {
      text += std::to_string(ImagePtr()[at]);
    }
  }
  m->SetPanel(kPanelPixelColor, text);
}

// --- Undo ---------------------------------------------------------------------

void Form_Camera::UndoControls(bool enabled, const std::string& name) {
  MDIForm_Main* m = Main();
  if (!m || !IsActive()) return;
  if (MenuEntry* e = m->FindMenu("mnuUndo")) {
    e->caption = enabled ? "&Undo " + name : "&Undo";
    e->enabled = enabled;
  }
  if (ToolbarButton* b = m->FindButton("Undo")) {
    b->tip = enabled ? "Undo: " + name : "Undo";
    b->enabled = enabled;
  }
  if (MainView* v = m->View()) {
    v->MenusChanged();
    v->ToolbarsChanged();
  }
}

void Form_Camera::RegisterUndo(const std::string& name) {
  // A buffer of the same size is used again rather than allocated afresh.
  std::vector<uint16_t> previous;
  previous.swap(UndoBuffer);
  ClearUndo();
  if (!G().UndoEnabled || !ImagePtr()) return;
  std::string stripped = name;
  stripped.erase(std::remove(stripped.begin(), stripped.end(), '&'), stripped.end());
  UndoName_ = stripped;
  UndoHeader = Header;
  UndoBitsPerPixel = ImageBitsPerPixel_;
  // Without the memory there is simply no undo.
  if (previous.size() == ImagePtr_.size())
    UndoBuffer.swap(previous);
  else {
    Release(previous);
    Allocate(UndoBuffer, ImagePtr_.size());
  }
  if (UndoBuffer.empty()) return;
  SV_memcpy(UndoBuffer.data(), ImagePtr(), UndoBuffer.size() * sizeof(uint16_t));
  UndoControls(true, stripped);
}

void Form_Camera::Undo() {
  if (UndoBuffer.empty()) return;
  Header = UndoHeader;
  HasColors_ = Header.bmiHeader.biBitCount == 24;
  SizeImage(ImageWidth(), ImageHeight());
  SizeImage();
  if (ImagePtr())
    SV_memcpy(ImagePtr(), UndoBuffer.data(),
              std::min(ImagePtr_.size(), UndoBuffer.size()) * sizeof(uint16_t));
  if (UndoName_ == "Resize" || UndoName_ == "Rotate") OptimizeFormSize();
  // The depth comes back with the samples.
  if (UndoBitsPerPixel != ImageBitsPerPixel_) SetImageBitsPerPixel(UndoBitsPerPixel);
  ClearUndo();
  Update8BitImage();
}

void Form_Camera::ClearUndo() {
  Release(UndoBuffer);
  UndoName_.clear();
  UndoControls(false, "");
}

// --- Measuring polygon ------------------------------------------------------------

long Form_Camera::AddPoint(long x, long y) {
  const long at = CurrPolygon_ + 1;
  if (at > PointCount_ - 1) {
    PointCount_ = CurrPolygon_ + 2;
    PointList_.resize(size_t(PointCount_), Point{0, 0});
  }
  PointList_[size_t(at)] = Point{x, y};
  CurrPolygon_ = at;
  PolygonInfo();
  return at;
}

long Form_Camera::SetPoint(long x, long y) {
  if (CurrPolygon_ >= 0 && CurrPolygon_ < PointCount_) {
    PointList_[size_t(CurrPolygon_)] = Point{x, y};
    PolygonInfo();
  }
  return CurrPolygon_;
}

long Form_Camera::ClearPoints() {
  PointList_.clear();
  PointCount_ = 0;
  CurrPolygon_ = -1;
  PolygonLength = PolygonAngle = 0.0;
  return -1;
}

long Form_Camera::DeletePoint() {
  if (CurrPolygon_ >= 0) --CurrPolygon_;
  return CurrPolygon_;
}

long Form_Camera::UnDeletePoint() {
  if (CurrPolygon_ < PointCount_ - 1) ++CurrPolygon_;
  return CurrPolygon_;
}

void Form_Camera::LoopPoint() {
  PlotPolygon();
  if (PointCount_ == 0 || CurrPolygon_ < 0) return;
  const Point first = PointList_[0];
  AddPoint(first.x, first.y);
  PointCount_ = CurrPolygon_ + 1;
  PointList_.resize(size_t(PointCount_));
  PlotPolygon();
}

void Form_Camera::SetCurrPolygon(long n) {
  // Used only to rewind: beyond the list it goes to the end, else to the start.
  CurrPolygon_ = n > PointCount_ ? PointCount_ : 0;
}

void Form_Camera::PlotPolygon() {
  Overlay.Clear();
  if (PointCount_ > 0) {
    const long last = std::min(CurrPolygon_, PointCount_ - 1);
    for (long i = 1; i <= last; ++i) {
      const Point& a = PointList_[size_t(i - 1)];
      const Point& b = PointList_[size_t(i)];
      Overlay.AddLine(a.x, a.y, b.x, b.y, kPolygonColour);
    }
  }
  DrawCameraImage();
}

void Form_Camera::PolygonInfo() {
  PolygonLength = 0.0;
  PolygonAngle = 0.0;
  const long last = std::min(CurrPolygon_, PointCount_ - 1);
  for (long i = 1; i <= last; ++i) {
    const double dx = double(PointList_[size_t(i)].x - PointList_[size_t(i - 1)].x);
    const double dy = double(PointList_[size_t(i)].y - PointList_[size_t(i - 1)].y);
    PolygonLength += std::sqrt(dx * dx + dy * dy);
    // Counter-clockwise as seen on the screen, whose y runs downwards.
    if (i == last) PolygonAngle = std::atan2(-dy, dx) * 180.0 / 3.14159265358979323846;
  }
}

// --- Overlay --------------------------------------------------------------------

void Form_Camera::Overlay_Clear() {
  Overlay.Clear();
  DrawCameraImage();
}

void Form_Camera::OVERLAY_TEXT(long x, long y, const std::string& text, long colour) {
  Overlay.AddText(x, y, text, colour);
}

// --- Test picture -------------------------------------------------------------------

void Form_Camera::MakeTestImage(long width, long height) {
  width = std::max(1L, width);
  height = std::max(3L, height);
  CreateImage(width, height, 16, nullptr);
  uint16_t* p = ImagePtr();
  if (!p || HasColors_) return;
  const long band = height / 3;
  const double pi = 3.14159265358979323846;
  auto level = [](double v) { return uint16_t(std::lrint(std::clamp(v, 0.0, 1.0) * 65535.0)); };
  for (long y = 0; y < height; ++y) {
    uint16_t* line = p + y * width;
    if (y < band) {
      // Every level from black to white, left to right.
      for (long x = 0; x < width; ++x)
        line[x] = width > 1 ? uint16_t((x * 65535L) / (width - 1)) : 0;
    } else if (y < 2 * band) {
      // Rings round the middle and three soft spots.
      const double cy = band + band / 2.0, cx = width / 2.0;
      const double sigma = std::max(2.0, band / 8.0);
      const double spots[3][2] = {{width * 0.15, cy}, {width * 0.85, cy - band / 4.0},
                                  {width * 0.70, cy + band / 4.0}};
      for (long x = 0; x < width; ++x) {
        const double r = std::hypot(x - cx, y - cy);
        double v = 0.5 * (0.5 + 0.5 * std::cos(2.0 * pi * r / 24.0)) * std::exp(-r / band);
        for (const auto& s : spots) {
          const double d2 = (x - s[0]) * (x - s[0]) + (y - s[1]) * (y - s[1]);
          v += std::exp(-d2 / (2.0 * sigma * sigma));
        }
        line[x] = level(v);
      }
    } else {
      // Every level again, top to bottom.
      const long rows = height - 2 * band;
      const uint16_t v = rows > 1 ? uint16_t(((y - 2 * band) * 65535L) / (rows - 1)) : 0;
      std::fill(line, line + width, v);
    }
  }
  Update8BitImage();
  SetChanged(false);
}

// --- Registration -------------------------------------------------------------------

Form_Camera* NewImage(MDIForm_Main& main) {
  return dynamic_cast<Form_Camera*>(main.CreateImage());
}

void RegisterImageDocuments(MDIForm_Main& main) {
  main.SetImageFactory([](MDIForm_Main& m) -> std::unique_ptr<ChildDocument> {
    return std::make_unique<Form_Camera>(&m);
  });
  RegisterImageFiles(main);
  RegisterImageOperations();
  MDIForm_Main* m = &main;
  main.SetCommand("mnuNewImage", [m](int) {
    Form_Camera* image = NewImage(*m);
    if (!image) return;
    image->MakeTestImage();
    m->ShowChild(image->Handle());
  });
  auto active = [m]() { return dynamic_cast<Form_Camera*>(m->ActiveChild()); };
  // The zoom menus: entry n of "Larger" is n:1, of "Smaller" 1:n.
  main.SetCommand("mnuViewLarger", [active](int n) {
    if (n < 3 || n > 16) return;
    if (Form_Camera* image = active()) image->SetZoom(16 - n);
  });
  main.SetCommand("mnuViewSmaller", [active](int n) {
    if (n < 3 || n > 16) return;
    if (Form_Camera* image = active()) image->SetZoom(14 + n);
  });
  main.SetCommand("mnuZoom1x", [active](int) {
    if (Form_Camera* image = active()) image->SetZoom(15);
  });
}

}  // namespace sv
