// The film player: a frame into the image document, its numbers, the
// captions, the background subtraction and the film's information.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "acquisition/live.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "image/kernel/convert.h"
#include "image/kernel/image_math.h"
#include "image/kernel/numbers.h"
#include "video/form_soft_vtr.h"

namespace sv {

namespace {

constexpr const char* kCRLF = "\r\n";

// A number as the program prints a float: up to seven significant digits,
// no trailing zeros.
std::string Num(double v) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.7g", v);
  return buf;
}

std::string Fixed(double v, int digits) {
  char buf[48];
  std::snprintf(buf, sizeof buf, "%.*f", digits, v);
  return buf;
}

// "#,##0".
std::string Grouped(uint64_t v) {
  std::string digits = std::to_string(v), out;
  const size_t n = digits.size();
  for (size_t i = 0; i < n; ++i) {
    if (i > 0 && (n - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

bool ReadFull(int fd, void* buffer, size_t bytes, uint64_t offset) {
  auto* p = static_cast<uint8_t*>(buffer);
  size_t done = 0;
  while (done < bytes) {
    const ssize_t n = ::pread(fd, p + done, bytes - done, off_t(offset + done));
    if (n < 0) return false;
    if (n == 0) break;
    done += size_t(n);
  }
  // Past the end of the file a frame reads as zeros.
  if (done < bytes) std::fill(p + done, p + bytes, uint8_t(0));
  return true;
}

constexpr uint64_t kFirstFrameOffset = 8 + 1048;

}  // namespace

std::string FormatTime(long ms) {
  if (ms < 0) return "--:--.-";
  const long minutes = ms / 60000;
  const double seconds = double(ms % 60000) / 1000.0;
  char buf[48];
  // Tenths are cut, not rounded, so 59.96 s never shows as "60.0".
  const long tenths = long(std::floor(seconds * 10.0 + 1e-9));
  std::snprintf(buf, sizeof buf, "%02ld:%02ld.%ld", minutes, tenths / 10, tenths % 10);
  return buf;
}

// --- The image document ----------------------------------------------------------------------

Form_Camera* Form_SoftVTR::ImageIf() const {
  if (ownImage_) return ownImage_.get();
  if (imageHandle_ == 0) return nullptr;
  MDIForm_Main* main = MainForm();
  auto* image = main ? dynamic_cast<Form_Camera*>(main->Child(imageHandle_)) : nullptr;
  // A handle of another main window, or of a document made after ours went.
  return image == imageDoc_ ? image : nullptr;
}

Form_Camera* Form_SoftVTR::Image() { return IsOpen() ? EnsureImage() : ImageIf(); }

Form_Camera* Form_SoftVTR::EnsureImage() {
  if (Form_Camera* image = ImageIf()) return image;
  if (MDIForm_Main* main = MainForm()) {
    auto* image = dynamic_cast<Form_Camera*>(main->CreateImage());
    if (image) {
      imageHandle_ = image->Handle();
      imageDoc_ = image;
      main->ShowChild(imageHandle_);
      return image;
    }
  }
  ownImage_ = std::make_unique<Form_Camera>(nullptr);
  return ownImage_.get();
}

// --- A frame ---------------------------------------------------------------------------------

bool Form_SoftVTR::ShowFrame(long n) {
  if (!IsOpen()) return false;
  // 1.
  if (n < 0 || n >= Frames) {
    host().MsgBox("Frame " + std::to_string(n) + " does not exist.", MsgButtons::OK,
                  MsgIcon::Exclamation, kOpenFilmTitle);
    return false;
  }
  if (!ReadIntoImage(n)) return false;
  CurrentFrame = n;
  SliderValue = n;
  // 3., 4.
  DecodeNumbers();
  // 6.
  Form_Camera* image = ImageIf();
  bool subtracted = false;
  if (G().SubtractBackground && G().BackgroundValid) subtracted = SubtractBackground(*image);
  // 5.
  UpdateCaptions();
  if (subtracted) Label_Position += kBackgroundStatus;
  image->StatusLine = Label_Position;
  image->Update8BitImage();
  view_->FrameShown(*this);
  Changed();
  return true;
}

bool Form_SoftVTR::ReadIntoImage(long n) {
  Form_Camera* image = EnsureImage();
  const long w = FilmHeader.Width, h = FilmHeader.Height, bits = FilmHeader.BitsPerPixel;
  const bool colour = FilmHeader.HasColors != 0;
  // The document takes the film's shape; nothing is allocated while it stays.
  if (image->HasColors() != colour || image->ImageWidth() != w || image->ImageHeight() != h ||
      !image->ImagePtr()) {
    image->SetHasColors(colour);
    image->SizeImage(w, h);
    image->SetImageBitsPerPixel(bits);
    image->SetTitle(Caption);
  } else if (image->ImageBitsPerPixel() != bits) {
    image->SetImageBitsPerPixel(bits);
  }
  uint16_t* dest = image->ImagePtr();
  if (!dest) return false;
  const size_t samples = size_t(w) * size_t(h) * (colour ? 3 : 1);
  const bool wide = bits > 8;
  const bool avi = video_->IsAVI();
  // 2. Frames above 8 bits go straight into the document; 8-bit frames are
  // widened there.
  bool ok = false;
  if (wide) {
    if (avi) {
      uint32_t got = 0;
      if (video_->FrameSize() <= samples * 2) {
        ok = video_->ReadFrame(uint32_t(n), dest, got);
      } else {
        frame8_.resize(video_->FrameSize());
        ok = video_->ReadFrame(uint32_t(n), frame8_.data(), got);
        if (ok) std::memcpy(dest, frame8_.data(), samples * 2);
      }
    } else {
      const uint64_t offset = kFirstFrameOffset + uint64_t(n) * uint64_t(FrameBytes);
      ok = ReadFull(fd_, dest, std::min<size_t>(FrameBytes, samples * 2), offset);
    }
  } else {
    const size_t bytes = avi ? std::max<size_t>(video_->FrameSize(), samples) : FrameBytes;
    frame8_.resize(std::max(bytes, samples));
    if (avi) {
      uint32_t got = 0;
      ok = video_->ReadFrame(uint32_t(n), frame8_.data(), got);
    } else {
      const uint64_t offset = kFirstFrameOffset + uint64_t(n) * uint64_t(FrameBytes);
      ok = ReadFull(fd_, frame8_.data(), FrameBytes, offset);
    }
    if (ok) {
      if (colour)
        SV_RGB_convert_8_to_16(samples / 3, ConstSamples8(frame8_.data(), samples),
                               Samples16(dest, samples));
      else
        SV_convert_8_to_16(frame8_.data(), dest, samples);
    }
  }
  if (!ok) {
    host().MsgBox("Error reading frame " + std::to_string(n) + " of " + filename_,
                  MsgButtons::OK, MsgIcon::Exclamation, kOpenFilmTitle);
    return false;
  }
  return true;
}

void Form_SoftVTR::DecodeNumbers() {
  const long cols = Cols();
  if (cols > 0) {
    const uint8_t* frame = FilmHeader.BitsPerPixel > 8
                               ? reinterpret_cast<const uint8_t*>(ImageIf()->ImagePtr())
                               : frame8_.data();
    const size_t bytes = FrameBytes;
    // Cell 0 is the cycle count; column c sits in cell c + 1.
    if (bytes > kCodeCellBytes) {
      const size_t fit = std::min(size_t(cols), (bytes - kCodeCellBytes) / kCodeCellBytes);
      std::fill(colData_.begin(), colData_.end(), 0.0f);
      SV_decode(std::span<float>(colData_.data(), fit),
                ConstSamples8(frame + kCodeCellBytes, bytes - kCodeCellBytes));
    }
  }
  // A frame without numbers (the gap) counts by the half-second rule.
  const auto finite = [this](long col) {
    return col >= 0 && std::isfinite(colData_[size_t(col)]) &&
           std::fabs(colData_[size_t(col)]) < 2e6f;
  };
  if (finite(TimeCol))
    VTR_Time = int32_t(std::lround(double(colData_[size_t(TimeCol)]) * 1000.0));
  else
    VTR_Time = int32_t(CurrentFrame) * kFrameMsWithoutTime;
  energy_ = EnergyCol >= 0 ? colData_[size_t(EnergyCol)] : -1.0f;
  cycle_ = finite(CycleCol) ? long(std::lround(colData_[size_t(CycleCol)])) : -1;
}

void Form_SoftVTR::UpdateCaptions() {
  if (EnergyCol >= 0)
    Label_Position = "(" + Num(energy_) + " eV)";
  else
    Label_Position = "(" + Fixed(double(VTR_Time) / 1000.0, 1) + " s)";
  Label_Time = FormatTime(VTR_Time);
  Label_Frame = "Frame " + std::to_string(CurrentFrame) + " / " + std::to_string(Frames - 1);
  Label_Col = Cols() > 0 ? ColLabel(Col + 1) + " = " + Num(ColData(Col + 1)) : "";
}

bool Form_SoftVTR::SubtractBackground(Form_Camera& image) {
  if (!BackgroundFits(image)) return false;
  Form_Camera* bg = BackgroundImage();
  if (!bg || !bg->ImagePtr() || bg->ImageBytes() != image.ImageBytes()) return false;
  const FrameSize size{image.ImageWidth(), image.ImageHeight()};
  const size_t samples = size_t(image.ImageBytes()) / 2;
  return SV_subtract_background(size, image.HasColors() ? 3 : 1,
                                Samples16(image.ImagePtr(), samples),
                                ConstSamples16(bg->ImagePtr(), samples));
}

bool Form_SoftVTR::GotoFrame(long frame) {
  if (!IsOpen() || frame < 0 || frame >= Frames) return false;
  return ShowFrame(frame);
}

// --- Columns ---------------------------------------------------------------------------------

long Form_SoftVTR::Cols() const { return long(colLabels_.size()); }

std::string Form_SoftVTR::ColLabel(long i) const {
  if (i < 1 || i > Cols()) return "";
  return colLabels_[size_t(i - 1)];
}

float Form_SoftVTR::ColData(long i) const {
  if (i < 1 || i > Cols()) return 0.0f;
  return colData_[size_t(i - 1)];
}

long Form_SoftVTR::ColOf(const std::string& label) const {
  for (size_t i = 0; i < colLabels_.size(); ++i)
    if (colLabels_[i] == label) return long(i);
  return -1;
}

std::string Form_SoftVTR::ColInfo() const {
  std::string s = "Frame " + std::to_string(CurrentFrame);
  for (long i = 1; i <= Cols(); ++i) s += kCRLF + ("[" + ColLabel(i) + "] = " + Num(ColData(i)));
  return s;
}

bool Form_SoftVTR::VTR_UserData(const std::string& label, float& value) const {
  const long c = ColOf(label);
  if (c < 0) return false;
  value = colData_[size_t(c)];
  return true;
}

bool Form_SoftVTR::PlotClipRange(ClipRange& range) {
  range = ClipRange();
  if (!IsOpen()) return false;
  // The numbers of every frame are in its first bytes: only those are read.
  const bool vid = !video_->IsAVI();
  std::vector<uint8_t> head(std::min<size_t>(FrameBytes, size_t(Cols() + 1) * kCodeCellBytes));
  std::vector<float> values(colData_.size());
  bool first = true;
  for (long n = 0; n < Frames; ++n) {
    float e = -1;
    double t = double(n) * kFrameMsWithoutTime / 1000.0;
    if (vid && Cols() > 0 && head.size() > kCodeCellBytes) {
      ReadFull(fd_, head.data(), head.size(), kFirstFrameOffset + uint64_t(n) * FrameBytes);
      const size_t fit = std::min(values.size(), (head.size() - kCodeCellBytes) / kCodeCellBytes);
      std::fill(values.begin(), values.end(), 0.0f);
      SV_decode(std::span<float>(values.data(), fit),
                ConstSamples8(head.data() + kCodeCellBytes, head.size() - kCodeCellBytes));
      if (EnergyCol >= 0) e = values[size_t(EnergyCol)];
      if (TimeCol >= 0) t = values[size_t(TimeCol)];
    }
    // Frames without numbers do not widen the range.
    if (!std::isfinite(e) || !std::isfinite(t)) continue;
    if (first) {
      range.eMin = range.eMax = e;
      range.tMin = range.tMax = t;
      first = false;
    } else {
      range.eMin = std::min(range.eMin, e);
      range.eMax = std::max(range.eMax, e);
      range.tMin = std::min(range.tMin, t);
      range.tMax = std::max(range.tMax, t);
    }
  }
  if (EnergyCol < 0) range.eMin = range.eMax = -1;
  return true;
}

// --- Information and background --------------------------------------------------------------

std::string Form_SoftVTR::InfoText() const {
  if (!IsOpen()) return "";
  uint32_t low = 0, high = 0;
  uint64_t size = 0;
  if (video_->FileSize(low, high)) size = (uint64_t(high) << 32) | low;
  const float rate = video_->Rate();
  std::string s = filename_ + kCRLF;
  s += Grouped(size) + " Bytes (" + Grouped(FrameBytes) + "/Frame)" + kCRLF;
  s += std::to_string(Frames) + " Frames" + kCRLF;
  s += std::to_string(FilmHeader.Width) + " x " + std::to_string(FilmHeader.Height) + kCRLF;
  s += std::to_string(FilmHeader.BitsPerPixel) + " bpp" + (FilmHeader.HasColors ? " RGB" : "") +
       kCRLF;
  s += Fixed(rate, 2) + " Frames/s" + kCRLF;
  s += "0 ... " + std::to_string(Frames - 1);
  return s;
}

void Form_SoftVTR::mnuInfo() {
  if (!IsOpen()) return;
  host().MsgBox(InfoText(), MsgButtons::OK, MsgIcon::Information, "Film Info");
}

void Form_SoftVTR::mnuDefineBackground() {
  Form_Camera* image = ImageIf();
  if (!IsOpen() || !image || !image->ImagePtr()) return;
  MDIForm_Main* main = MainForm();
  if (!main) return;
  Globals& g = G();
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
  bg->SetTitle("Background Image");
  g.BackgroundValid = true;
  // The reference file, as the live picture keeps it.
  const std::string path = BackgroundFilePath();
  std::error_code ec;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ec);
  const bool saved = LV().SaveBackground ? LV().SaveBackground(*bg, path)
                                         : SaveTIF(*bg, path, kBackgroundFilter);
  if (!saved)
    host().MsgBox("Error writing " + path, MsgButtons::OK, MsgIcon::Exclamation, "Save Image");
}

void Form_SoftVTR::mnuSubtractBackground() {
  G().SubtractBackground = G().SubtractBackground ? 0 : -1;
  if (IsOpen()) ShowFrame(CurrentFrame);
}

std::string Form_SoftVTR::BackgroundText() const {
  std::string s = std::string("Background Subtraction: ") + (G().SubtractBackground ? "on" : "off");
  const Form_Camera* bg = MainForm() ? BackgroundImage() : nullptr;
  if (bg && G().BackgroundValid)
    s += std::string(kCRLF) + "Background Image: " + std::to_string(bg->ImageWidth()) + " x " +
         std::to_string(bg->ImageHeight()) + " x " + std::to_string(bg->ImageBitsPerPixel()) +
         " bpp";
  else
    s += std::string(kCRLF) + "Background Image: none";
  return s;
}

void Form_SoftVTR::mnuBackground() {
  host().MsgBox(BackgroundText(), MsgButtons::OK, MsgIcon::Information, "Background Image");
}

}  // namespace sv
