#include "analysis/form_particle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"
#include "core/settings.h"
#include "image/form_camera.h"
#include "image/kernel/draw_surface.h"
#include "image/kernel/image_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// "0.0": one decimal, rounded to nearest.
std::string Format1(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.1f", v);
  std::string s = buf;
  if (s == "-0.0") s = "0.0";
  return s;
}

// The first non-zero byte of row[from, to), or `to`.
long NextLit(const uint8_t* row, long from, long to) {
  long x = from;
  while (x < to && (x & 7) != 0) {
    if (row[x]) return x;
    ++x;
  }
  while (x + 8 <= to) {
    uint64_t word;
    std::memcpy(&word, row + x, 8);
    if (word) break;
    x += 8;
  }
  while (x < to && !row[x]) ++x;
  return x;
}

}  // namespace

Form_Particle& ParticleForm() {
  static Form_Particle form;
  return form;
}

// --- The image ----------------------------------------------------------------------

void Form_Particle::Bind(Form_Camera* image) {
  if (image != image_) {
    Particles.clear();
    current_ = 0;
  }
  image_ = image;
  imageHandle_ = image ? image->Handle() : 0;
  Caption = image ? image->Title() + " - " + std::to_string(image->ImageWidth()) + " x " +
                        std::to_string(image->ImageHeight()) + " Pixel"
                  : std::string();
  Notify();
}

Form_Camera* Form_Particle::Image() const {
  if (!image_) return nullptr;
  if (imageHandle_ == 0) return image_;
  MDIForm_Main* main = MainForm();
  if (!main) return image_;
  return main->Child(imageHandle_) == image_ ? image_ : nullptr;
}

void Form_Particle::Notify() {
  if (view_) view_->Changed(*this);
}

const Class_Particle* Form_Particle::Current() const {
  if (current_ < 1 || current_ > Count()) return nullptr;
  return &Particles[size_t(current_ - 1)];
}

// --- Detection ----------------------------------------------------------------------

void Form_Particle::DeleteParticles() {
  Particles.clear();
  current_ = 0;
  if (Form_Camera* image = Image()) image->HasParticle = false;
}

bool Form_Particle::DetectParticles(Form_Camera& image) {
  DeleteParticles();
  if (&image != image_) Bind(&image);
  const long w = image.ImageWidth(), h = image.ImageHeight();
  const int channels = image.HasColors() ? 3 : 1;
  // The matrix has a frame of zeros around the image, so a neighbour outside
  // the image reads as dark.
  const long stride = w + 2;
  long lit = -1;
  if (image.ImagePtr() && w > 0 && h > 0) {
    matrix_.assign(size_t(stride) * size_t(h + 2), 0);
    const uint32_t threshold = uint32_t(image.ImageDynamik() / 2);
    lit = 0;
    for (long y = 0; y < h && lit >= 0; ++y) {
      const long r = SV_CvtToMono(
          FrameSize{w, 1}, channels,
          ConstSamples16(image.ImagePtr() + size_t(y) * size_t(w) * size_t(channels),
                         size_t(w) * size_t(channels)),
          Samples8(matrix_.data() + size_t(y + 1) * size_t(stride) + 1, size_t(w)), threshold);
      lit = r < 0 ? -1 : lit + r;
    }
  }
  if (lit < 0) {
    matrix_.clear();
    if (HasHost()) host().MsgBox("Can't analyze Particles", MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    Notify();
    return false;
  }

  const bool withHost = HasHost();
  if (withHost) host().SetBusy(true);
  uint32_t lastStatus = withHost ? host().TimeGetTime() : 0;
  uint32_t statusGap = 200;  // the first report comes sooner than the rest

  // Directions 0 up, 1 right, 2 down, 3 left. After a move the next try
  // starts one turn to the left of the way just gone.
  const long step[4] = {-stride, 1, stride, -1};
  const int stepX[4] = {0, 1, 0, -1}, stepY[4] = {-1, 0, 1, 0};
  uint8_t* m = matrix_.data();
  const size_t maxMoves = 4 * size_t(w) * size_t(h) + 8;
  BrokenTraces = 0;
  Class_Particle particle;

  for (long y = 0; y < h; ++y) {
    uint8_t* row = m + size_t(y + 1) * size_t(stride) + 1;
    for (long x = NextLit(row, 0, w); x < w; x = NextLit(row, x + 1, w)) {
      const long start = long(row - m) + x;
      long pos = start, px = x, py = y;
      int dir = 0;
      bool alone = false;
      size_t moves = 0;
      particle.DeletePoints();
      for (;;) {
        int tries = 0;
        while (!m[pos + step[dir]]) {
          dir = (dir + 1) & 3;
          if (++tries == 4) break;
        }
        if (tries == 4) {
          alone = true;  // no neighbour: a lone pixel gives no contour
          break;
        }
        pos += step[dir];
        px += stepX[dir];
        py += stepY[dir];
        dir = (dir + 3) & 3;
        if (pos == start) break;
        particle.AddPoint(px, py);
        if (++moves > maxMoves) {
          ++BrokenTraces;  // cannot happen on a still image; a guard only
          break;
        }
      }
      if (alone) continue;
      // The contour's points go dark; the start pixel and the interior stay,
      // so a filled region gives nested rings.
      for (long i = 0, n = particle.PointCount(); i < n; ++i) {
        long cx = 0, cy = 0;
        particle.Point(i, cx, cy);
        m[size_t(cy + 1) * size_t(stride) + size_t(cx + 1)] = 0;
      }
      Particles.push_back(std::move(particle));
      particle = Class_Particle();
      if (withHost) {
        const uint32_t now = host().TimeGetTime();
        if (now - lastStatus >= statusGap) {
          ShowStatus(std::to_string(Count()) + " Particles");
          host().DoEvents();
          lastStatus = now;
          statusGap = 500;
        }
      }
    }
  }
  matrix_.clear();
  matrix_.shrink_to_fit();

  if (withHost) {
    ShowStatus(std::to_string(Count()) + " Particles");
    host().SetBusy(false);
  }
  image.HasParticle = true;
  current_ = Count() > 0 ? 1 : 0;
  Text_Particle = "1";
  Notify();
  return true;
}

// --- Filter and sheet ---------------------------------------------------------------

std::string Form_Particle::ParticleMinArea(double minArea, long* removed) {
  const long before = Count();
  Particles.erase(std::remove_if(Particles.begin(), Particles.end(),
                                 [minArea](const Class_Particle& p) { return !(p.Area() >= minArea); }),
                  Particles.end());
  const long gone = before - Count();
  if (removed) *removed = gone;
  if (current_ > Count()) current_ = Count();
  if (current_ == 0 && Count() > 0) current_ = 1;
  const std::string line = "ParticleMinArea(" + FormatNumber(float(minArea)) + "): " +
                           std::to_string(Count()) + " Particles (" + std::to_string(gone) +
                           " Particles removed).\n";
  if (view_) view_->ResultLine(line);
  Notify();
  return line;
}

Form_Worksheet* Form_Particle::Worksheet(MDIForm_Main* main) {
  if (!main) main = MainForm();
  if (!main) return nullptr;
  auto* sheet = dynamic_cast<Form_Worksheet*>(main->CreateWorksheet());
  if (!sheet) return nullptr;
  static const char* const kColumns[] = {"#",           "Area [Pixel²]",  "Xc [Pixel]",
                                         "Yc [Pixel]",  "Perim. [Pixel]", "FormFactor"};
  sheet->Redraw(false);
  sheet->Cols(7);
  sheet->Rows(std::max(2L, Count() + 1));
  for (long c = 1; c <= 6; ++c) {
    ColumnRecord& r = sheet->Record(c);
    r.Typ = c == 1 ? kTypX : kTypY;
    r.Label = kColumns[c - 1];
    sheet->ColName(c, kColumns[c - 1]);
  }
  for (long i = 0; i < Count(); ++i) {
    const Class_Particle& p = Particles[size_t(i)];
    double xc = 0.0, yc = 0.0;
    p.CenterOfGravity(xc, yc);
    const long row = i + 1;
    sheet->TextMatrix(row, 1, Cell(i + 1));
    sheet->TextMatrix(row, 2, Cell(Format1(p.Area())));
    sheet->TextMatrix(row, 3, Cell(Format1(xc)));
    sheet->TextMatrix(row, 4, Cell(Format1(yc)));
    sheet->TextMatrix(row, 5, Cell(Format1(p.Perimeter())));
    sheet->TextMatrix(row, 6, Cell(float(p.FormFactor())));
  }
  sheet->Redraw(true);
  main->ShowChild(sheet->Handle());
  return sheet;
}

// --- Drawing ------------------------------------------------------------------------

void Form_Particle::ParticleDraw() {
  Form_Camera* image = Image();
  if (!image) return;
  image->Overlay.Clear();
  for (const Class_Particle& p : Particles) {
    const long n = p.PointCount();
    long x0 = 0, y0 = 0;
    if (!p.Point(0, x0, y0)) continue;
    if (n == 1) {
      image->Overlay.AddLine(x0, y0, x0, y0, kOverlayColour);
      continue;
    }
    // Straight runs become one line each.
    long ax = x0, ay = y0, bx = x0, by = y0, dx = 0, dy = 0;
    for (long i = 1; i < n; ++i) {
      long cx = 0, cy = 0;
      p.Point(i, cx, cy);
      const long ndx = cx - bx, ndy = cy - by;
      if (i > 1 && (ndx != dx || ndy != dy)) {
        image->Overlay.AddLine(ax, ay, bx, by, kOverlayColour);
        ax = bx;
        ay = by;
      }
      dx = ndx;
      dy = ndy;
      bx = cx;
      by = cy;
    }
    image->Overlay.AddLine(ax, ay, bx, by, kOverlayColour);
  }
  image->DrawCameraImage();
}

bool Form_Particle::ResultFrame(double width, double height, double& scale, double& dx,
                                double& dy, long box[4]) const {
  const Class_Particle* p = Current();
  if (!p || p->PointCount() == 0 || width <= 0 || height <= 0) return false;
  p->size(box[0], box[1], box[2], box[3]);
  // One pixel around the box; each pixel a square of `scale` units.
  const double bw = double(box[2] - box[0] + 3), bh = double(box[3] - box[1] + 3);
  scale = std::min(width / bw, height / bh);
  dx = (width - bw * scale) / 2.0 - (box[0] - 1) * scale;
  dy = (height - bh * scale) / 2.0 - (box[1] - 1) * scale;
  return true;
}

void Form_Particle::PlotGrid(DrawSurface& device, double width, double height) const {
  double scale = 0, dx = 0, dy = 0;
  long box[4];
  if (!ResultFrame(width, height, scale, dx, dy, box)) return;
  // A line at every pixel border when pixels are large enough, else at
  // every tenth.
  const long every = scale >= 4.0 ? 1 : 10;
  DrawPen pen;
  pen.color = 0x00C0C0C0;
  const double top = (box[1] - 1) * scale + dy, bottom = (box[3] + 2) * scale + dy;
  const double left = (box[0] - 1) * scale + dx, right = (box[2] + 2) * scale + dx;
  for (long x = box[0] - 1; x <= box[2] + 2; ++x)
    if (x % every == 0) device.Line(x * scale + dx, top, x * scale + dx, bottom, pen);
  for (long y = box[1] - 1; y <= box[3] + 2; ++y)
    if (y % every == 0) device.Line(left, y * scale + dy, right, y * scale + dy, pen);
}

void Form_Particle::DrawResult(DrawSurface& device, double width, double height) const {
  double scale = 0, dx = 0, dy = 0;
  long box[4];
  if (!ResultFrame(width, height, scale, dx, dy, box)) return;
  PlotGrid(device, width, height);
  // Through the pixel centres.
  Current()->Draw(device, scale, dx + scale / 2.0, dy + scale / 2.0, 0x000000FF, 2.0);
}

bool Form_Particle::CutOut(long& left, long& top, long& right, long& bottom) const {
  const Class_Particle* p = Current();
  if (!p || p->PointCount() == 0) return false;
  p->size(left, top, right, bottom);
  return true;
}

// --- The dialog's commands ----------------------------------------------------------

bool Form_Particle::ParseParticle(long& n) const {
  const std::string& t = Text_Particle;
  size_t i = t.find_first_not_of(' ');
  const size_t e = t.find_last_not_of(' ');
  if (i == std::string::npos) return false;
  long v = 0;
  for (; i <= e; ++i) {
    if (t[i] < '0' || t[i] > '9' || v > 100000000L) return false;
    v = v * 10 + (t[i] - '0');
  }
  n = v;
  return n >= 1 && n <= Count();
}

void Form_Particle::Command_Detect() {
  if (Form_Camera* image = Image()) {
    DetectParticles(*image);
    ParticleDraw();
  }
}

bool Form_Particle::Command_Analyze() {
  long n = 0;
  if (!ParseParticle(n)) {
    if (HasHost())
      host().MsgBox("Invalid Particle Number", MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return false;
  }
  current_ = n;
  const Class_Particle& p = Particles[size_t(n - 1)];
  Label_Info = "Area = " + FormatNumber(p.Area()) + " Pixel² (" +
               std::to_string(p.PointCount()) + " Pixel)";
  Notify();
  return true;
}

void Form_Particle::Command_Next() {
  long n = 0;
  if (!ParseParticle(n)) n = current_;
  if (n < Count()) ++n;
  Text_Particle = std::to_string(n);
  Command_Analyze();
}

void Form_Particle::Command_Back() {
  long n = 0;
  if (!ParseParticle(n)) n = current_;
  if (n > 1) --n;
  Text_Particle = std::to_string(n);
  Command_Analyze();
}

long Form_Particle::Command_Inside() {
  long n = 0;
  if (!ParseParticle(n)) {
    if (HasHost())
      host().MsgBox("Invalid Particle Number", MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return -1;
  }
  current_ = n;
  const Class_Particle& outer = Particles[size_t(n - 1)];
  long count = 0;
  for (long i = 0; i < Count(); ++i) {
    if (i == n - 1) continue;
    const Class_Particle& p = Particles[size_t(i)];
    bool all = p.PointCount() > 0;
    for (long k = 0; all && k < p.PointCount(); ++k) {
      long x = 0, y = 0;
      p.Point(k, x, y);
      all = outer.IsInside(double(x), double(y));
    }
    if (all) ++count;
  }
  Label_Info = std::to_string(count) + " Particles are inside of Particle #" + std::to_string(n);
  Notify();
  return count;
}

long Form_Particle::Command_Remove() {
  double minArea = 0.0;
  if (!ParseNumber(Text_MinSize, minArea)) {
    if (HasHost()) host().Beep();
    return -1;
  }
  long removed = 0;
  ParticleMinArea(minArea, &removed);
  Text_Particle = std::to_string(std::max(1L, current_));
  Label_Info = std::to_string(removed) + " partciles removed.";
  ParticleDraw();
  Notify();
  return removed;
}

std::string Form_Particle::SavePath() { return DataRoot(G().UserIniName) + "qqq.txt"; }

bool Form_Particle::Command_Save() {
  const Class_Particle* p = Current();
  if (!p) return false;
  const std::string path = SavePath();
  const std::string folder = path.substr(0, path.find_last_of('/') + 1);
  if (!folder.empty() && !platform::FolderExists(folder)) platform::CreateFolderChain(folder);
  FILE* f = std::fopen(path.c_str(), "wb");
  bool ok = f != nullptr;
  for (long i = 0; ok && i < p->PointCount(); ++i) {
    long x = 0, y = 0;
    p->Point(i, x, y);
    ok = std::fprintf(f, "%ld\t%ld\n", x, y) > 0;
  }
  if (f && std::fclose(f) != 0) ok = false;
  if (!ok && HasHost())
    host().MsgBox("Can't write " + path, MsgButtons::OK, MsgIcon::Critical, kTitle);
  return ok;
}

}  // namespace sv
