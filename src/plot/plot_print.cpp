#include "plot/plot_print.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/host.h"
#include "image/kernel/plot_draw.h"
#include "plot/form_plot.h"
#include "plot/plot_dialogs.h"
#include "plot/plot_render.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

PlotPrinter* printer = nullptr;

constexpr const char* kPrintTitle = "Print Plot";
constexpr const char* kNoPrinter = "No printer is installed.";
constexpr const char* kChoosePrinter =
    "No printer is installed.\nChoose a printer or a PDF file under File - Printer Setup.";

// --- The page setup's values ---------------------------------------------------

// The values of the dialog as a page setup; false with `why` when one is
// not usable.
bool ParseSetup(const Form_PageSetup& f, PageSetup& setup, std::string& why) {
  PageSetup s;
  s.scale = FieldValue(f.Text_Scale);
  s.useFullPage = f.Check_UseFullPage;
  s.centerOnPage = f.Check_CenterOnPage;
  if (!(s.scale >= Form_PageSetup::kMinScale && s.scale <= Form_PageSetup::kMaxScale)) {
    why = "The scale must be a number from " + FieldText(Form_PageSetup::kMinScale) + " to " +
          FieldText(Form_PageSetup::kMaxScale) + " %.";
    return false;
  }
  if (!s.useFullPage) {
    s.left = FieldValue(f.Text_l);
    s.top = FieldValue(f.Text_t);
    s.width = FieldValue(f.Text_w);
    s.height = FieldValue(f.Text_h);
    if (!(s.left >= 0 && s.top >= 0 && s.width > 0 && s.height > 0 &&
          s.left + s.width <= 100 && s.top + s.height <= 100)) {
      why =
          "The layer must lie on the page: left and top from 0, width and height above 0, "
          "left + width and top + height at most 100 % of the page.";
      return false;
    }
  } else {
    // Kept for the next time the rectangle is used.
    const PageSetup& kept = CurrentPageSetup();
    s.left = kept.left;
    s.top = kept.top;
    s.width = kept.width;
    s.height = kept.height;
  }
  setup = s;
  return true;
}

// --- The records on the printer's page -------------------------------------------

int16_t ScaledFontSize(int16_t points, double factor) {
  const long size = std::lround(double(points) * factor);
  return int16_t(std::clamp(size, 1L, 32767L));
}

// An axis as printed: its fonts follow the page setup's scale.
PlotAxisRecord PrinterAxis(const PlotAxisRecord& axis, double factor) {
  PlotAxisRecord a = axis;
  a.Title.FontSize = ScaledFontSize(axis.Title.FontSize, factor);
  a.Labels.FontSize = ScaledFontSize(axis.Labels.FontSize, factor);
  return a;
}

// While it lives, the plot's layer and axes are those of the printer's page
// and PrintScale is the printer's, so that the renderer's routines draw for
// the printer; the screen's records and scale come back at the end.
class PrinterRecords {
 public:
  PrinterRecords(Form_Plot& plot, const DrawSurface& dev)
      : plot_(plot), layer_(plot.Layer), x_(plot.XAxis), y_(plot.YAxis), scale_(PrintScale) {
    const double factor = CurrentPageSetup().scale / 100.0;
    plot.Layer = plot.GetPrinterLayer(dev);
    plot.XAxis = PrinterAxis(x_, factor);
    plot.YAxis = PrinterAxis(y_, factor);
    PrintScale = float(dev.PageHeight() / kA4HeightTwips);
  }
  ~PrinterRecords() {
    plot_.Layer = layer_;
    plot_.XAxis = x_;
    plot_.YAxis = y_;
    PrintScale = scale_;
  }
  PrinterRecords(const PrinterRecords&) = delete;
  PrinterRecords& operator=(const PrinterRecords&) = delete;

 private:
  Form_Plot& plot_;
  PlotLayerRecord layer_;
  PlotAxisRecord x_, y_;
  float scale_;
};

// A size in points on the device; what is no size gives 0.
double DeviceSize(float points) {
  const double d = PointsToDevice(points);
  return std::isfinite(d) && d > 0 ? d : 0;
}

// --- Lines on paper ------------------------------------------------------------------

// Cuts the segment a-b to the box (Liang-Barsky); false when nothing is left.
bool CutToBox(DrawPoint& a, DrawPoint& b, const DrawRect& box) {
  double t0 = 0, t1 = 1;
  const double dx = b.x - a.x, dy = b.y - a.y;
  const double p[4] = {-dx, dx, -dy, dy};
  const double q[4] = {a.x - box.left, box.right - a.x, a.y - box.top, box.bottom - a.y};
  for (int i = 0; i < 4; ++i) {
    if (p[i] == 0) {
      if (q[i] < 0) return false;
      continue;
    }
    const double t = q[i] / p[i];
    if (p[i] < 0) {
      if (t > t1) return false;
      t0 = std::max(t0, t);
    } else {
      if (t < t0) return false;
      t1 = std::min(t1, t);
    }
  }
  const DrawPoint start{a.x + t0 * dx, a.y + t0 * dy};
  b = {a.x + t1 * dx, a.y + t1 * dy};
  a = start;
  return true;
}

// The line from point to point through a run. Points far off the page (a
// zoomed plot) are cut to a box of three pages about it, so that the device
// never gets huge coordinates; a line leaving that box and coming back is
// drawn in pieces.
void PrintRunLine(DrawSurface& dev, const std::vector<DrawPoint>& pts, const DrawPen& pen) {
  if (pts.size() < 2) return;
  const double w = dev.PageWidth(), h = dev.PageHeight();
  const DrawRect box{-w, -h, 2 * w, 2 * h};
  auto inside = [&](const DrawPoint& p) {
    return p.x >= box.left && p.x <= box.right && p.y >= box.top && p.y <= box.bottom;
  };
  if (std::all_of(pts.begin(), pts.end(), inside)) {
    dev.Polyline(pts.data(), pts.size(), pen);
    return;
  }
  std::vector<DrawPoint> piece;
  auto flush = [&] {
    if (piece.size() >= 2) dev.Polyline(piece.data(), piece.size(), pen);
    piece.clear();
  };
  for (size_t i = 1; i < pts.size(); ++i) {
    DrawPoint a = pts[i - 1], b = pts[i];
    if (!CutToBox(a, b, box)) {
      flush();
      continue;
    }
    if (piece.empty() || piece.back().x != a.x || piece.back().y != a.y) {
      flush();
      piece.push_back(a);
    }
    piece.push_back(b);
    if (!inside(pts[i])) flush();
  }
  flush();
}

// One curve on the printer by the plot's present records.
void PrintCurveNow(Form_Plot& plot, DrawSurface& dev, long curve) {
  Form_Worksheet* sheet = plot.Worksheet();
  if (!sheet || curve < 0 || curve >= plot.Curves()) return;
  const PlotCurveRecord& c = plot.CurveRecord(curve);
  if (c.XCol < 0 || c.XCol >= sheet->Cols() || c.YCol < 0 || c.YCol >= sheet->Cols()) return;
  const long lastRow = sheet->Rows() - 1;
  std::vector<float> x, y;
  long count = 0;

  if (sheet->Record(c.YCol).Typ == kTypL) {
    std::vector<std::string> labels;
    long row = 1;
    sheet->GetXYLabelData(c.XCol, c.YCol, row, lastRow, x, y, labels, count);
    if (count > 0) SV_print_labels(dev, x, y, labels, count, plot, curve);
    return;
  }

  const PlotLayerRecord& l = plot.Layer;
  // An unscaled axis has no place for a point.
  if (!(l.ScaleX != 0 && l.ScaleY != 0 && std::isfinite(l.ScaleX) && std::isfinite(l.ScaleY)))
    return;
  const double fromX = plot.XAxis.From, fromY = plot.YAxis.From;
  const bool lines = c.PlotType == 0 || c.PlotType == 2;
  const bool symbols = c.PlotType == 1 || c.PlotType == 2;
  const int32_t color = c.Color & 0xFFFFFF;
  const DrawPen pen{color, DeviceSize(c.Width), c.LineType};
  const double size = DeviceSize(c.Size);
  dev.SetClip(LayerFrame(l, dev));
  std::vector<DrawPoint> run;
  long row = 1;
  for (;;) {
    sheet->GetXYColData(c.XCol, c.YCol, row, lastRow, x, y, count);
    if (count <= 0) break;
    run.clear();
    for (long i = 0; i < count; ++i) {
      const DrawPoint p{l.OriginX + (double(x[size_t(i)]) - fromX) * l.ScaleX,
                        l.OriginY + (double(y[size_t(i)]) - fromY) * l.ScaleY};
      if (!std::isfinite(p.x) || !std::isfinite(p.y)) {
        if (lines) PrintRunLine(dev, run, pen);
        run.clear();
        continue;
      }
      run.push_back(p);
      if (symbols) kernel::PlotSymbol(dev, p.x, p.y, c.Shape, size, color);
    }
    if (lines) PrintRunLine(dev, run, pen);
  }
  dev.ClearClip();
}

// The layer and its axes on the printer by the plot's present records; the
// origin and scale the routine works out stay in the plot's (printer) layer.
void PrintLayerNow(Form_Plot& plot, DrawSurface& dev) {
  DrawLayerAndAxes(dev, plot.Layer, plot.XAxis, plot.YAxis, FlatThirdAxis());
}

std::string PlotNameOf(const Form_Plot& plot) {
  return plot.PlotName().empty() ? plot.Caption() : plot.PlotName();
}

}  // namespace

PlotPrinter* Printer() { return printer; }
void SetPrinter(PlotPrinter* p) { printer = p; }

PageSetup& CurrentPageSetup() {
  static PageSetup setup;
  return setup;
}

// --- Form_PageSetup ------------------------------------------------------------------

void Form_PageSetup::Load(const PageSetup& s) {
  Text_Scale = FieldText(s.scale);
  Text_l = FieldText(s.left);
  Text_t = FieldText(s.top);
  Text_w = FieldText(s.width);
  Text_h = FieldText(s.height);
  Check_UseFullPage = s.useFullPage;
  Check_CenterOnPage = s.centerOnPage;
  Tag.clear();
}

bool Form_PageSetup::Read(PageSetup& setup) const {
  std::string why;
  if (ParseSetup(*this, setup, why)) return true;
  host().MsgBox(why, MsgButtons::OK, MsgIcon::Exclamation, Caption);
  return false;
}

void Form_PageSetup::Command_OK() {
  PageSetup s;
  Tag = Read(s) ? "OK" : "";
}

void Form_PageSetup::Command_Preview() {
  PageSetup s;
  Tag = Read(s) ? "Preview" : "";
}

// --- The mapping ------------------------------------------------------------------------

DrawRect PrintedLayerRect(const PageSetup& setup, const PlotLayerRecord& layer, double pageWidth,
                          double pageHeight) {
  const double s = setup.scale / 100.0;
  DrawRect r;
  if (setup.useFullPage) {
    // The plot's page, scaled, at the upper left corner or in the middle.
    const double w = pageWidth * s, h = pageHeight * s;
    const double ox = setup.centerOnPage ? (pageWidth - w) / 2 : 0;
    const double oy = setup.centerOnPage ? (pageHeight - h) / 2 : 0;
    r.left = ox + w * layer.Left;
    r.top = oy + h * (1.0 - double(layer.Top) - double(layer.Height));
    r.right = r.left + w * layer.Width;
    r.bottom = r.top + h * layer.Height;
  } else {
    const double w = pageWidth * setup.width / 100.0 * s;
    const double h = pageHeight * setup.height / 100.0 * s;
    r.left = setup.centerOnPage ? (pageWidth - w) / 2 : pageWidth * setup.left / 100.0;
    r.top = setup.centerOnPage ? (pageHeight - h) / 2 : pageHeight * setup.top / 100.0;
    r.right = r.left + w;
    r.bottom = r.top + h;
  }
  return r;
}

// --- Form_Plot: printing -------------------------------------------------------------------

PlotLayerRecord Form_Plot::GetPrinterLayer(const DrawSurface& dev) const {
  PlotLayerRecord l = Layer;
  const double pw = dev.PageWidth(), ph = dev.PageHeight();
  if (!(pw > 0 && ph > 0)) return l;
  const PageSetup& setup = CurrentPageSetup();
  const DrawRect r = PrintedLayerRect(setup, Layer, pw, ph);
  l.Left = float(r.left / pw);
  l.Width = float(r.Width() / pw);
  l.Top = float((ph - r.bottom) / ph);
  l.Height = float(r.Height() / ph);
  // What the layer routine works out on this page: its frame in whole
  // device units, the From ends at the lower left.
  const DrawRect frame = LayerFrame(l, dev);
  l.OriginX = int32_t(frame.left);
  l.OriginY = int32_t(frame.bottom);
  const double xr = double(XAxis.To) - XAxis.From, yr = double(YAxis.To) - YAxis.From;
  l.ScaleX = xr != 0 && std::isfinite(xr) ? float(frame.Width() / xr) : 0.f;
  l.ScaleY = yr != 0 && std::isfinite(yr) ? float(-frame.Height() / yr) : 0.f;
  l.Title.FontSize = ScaledFontSize(Layer.Title.FontSize, setup.scale / 100.0);
  return l;
}

void Form_Plot::PrintLayer(DrawSurface& dev) {
  PrinterRecords records(*this, dev);
  PrintLayerNow(*this, dev);
}

void Form_Plot::PrintCurve(DrawSurface& dev, long curve) {
  PrinterRecords records(*this, dev);
  PrintCurveNow(*this, dev, curve);
}

void Form_Plot::PrintLegend(DrawSurface& dev) {
  PrinterRecords records(*this, dev);
  DrawLegend(*this, dev);
}

void Form_Plot::PrintRectangle(DrawSurface& dev) {
  const DrawRect r = PrintedLayerRect(CurrentPageSetup(), Layer, dev.PageWidth(), dev.PageHeight());
  const DrawPoint frame[5] = {
      {r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}, {r.left, r.top}};
  dev.Polyline(frame, 5, DrawPen{Layer.FrameColor, 0, 0});
}

void Form_Plot::PrintDo() {
  PlotPrinter* p = Printer();
  if (!p || p->PrinterName().empty()) {
    host().MsgBox(p ? kChoosePrinter : kNoPrinter, MsgButtons::OK, MsgIcon::Exclamation, kPrintTitle);
    return;
  }
  const std::string name = PlotNameOf(*this);
  if (!AutoScale()) {
    host().MsgBox("There is nothing to print in " + name + ".", MsgButtons::OK,
                  MsgIcon::Exclamation, kPrintTitle);
    return;
  }
  const std::string printerName = p->PrinterName();
  const std::string question =
      "Print  " + name + "\nTo  " + printerName + "\nAt  " + p->Port() + "  ?";
  if (host().MsgBox(question, MsgButtons::OKCancel, MsgIcon::Question, kPrintTitle) !=
      MsgResult::OK)
    return;
  DrawSurface* dev = p->BeginPage(Caption());
  if (!dev) {
    host().MsgBox("The printer " + printerName + " could not start a page.", MsgButtons::OK,
                  MsgIcon::Exclamation, kPrintTitle);
    return;
  }
  PrintPage(*this, *dev, [](const std::string& text) { ShowStatus(text); });
  p->EndPage();
  ShowStatus("");
}

void Form_Plot::PrintSetup() {
  Form_PageSetup form;
  form.Load(CurrentPageSetup());
  for (;;) {
    form.Tag.clear();
    plotDialogs().ShowPageSetup(form);
    PageSetup setup;
    std::string why;
    if (form.Tag.empty() || !ParseSetup(form, setup, why)) return;
    CurrentPageSetup() = setup;
    if (form.Tag == "OK") {
      PrintDo();
      return;
    }
    if (form.Tag != "Preview") return;
    // The preview, then the dialog again.
    PlotPrinter* p = Printer();
    if (!p) {
      host().MsgBox(kNoPrinter, MsgButtons::OK, MsgIcon::Exclamation, kPrintTitle);
      return;
    }
    p->Preview([this](DrawSurface& dev) { PrintPage(*this, dev); });
  }
}

void Form_Plot::PrinterSetup() { RunPrinterSetup(); }

// --- The printed page ------------------------------------------------------------------------

void PrintPage(Form_Plot& plot, DrawSurface& dev,
               const std::function<void(const std::string&)>& status) {
  if (!(dev.PageWidth() > 0 && dev.PageHeight() > 0) || !plot.AutoScale()) return;
  auto tell = [&](const std::string& text) {
    if (status) status(text);
  };
  PrinterRecords records(plot, dev);
  tell("printing Layer...");
  PrintLayerNow(plot, dev);
  for (long i = 0; i < plot.Curves(); ++i) {
    tell("printing Curve" + std::to_string(i + 1) + "...");
    PrintCurveNow(plot, dev, i);
  }
  if (plot.Legend()) {
    tell("printing Legend...");
    DrawLegend(plot, dev);
  }
}

bool RunPrinterSetup() {
  PlotPrinter* p = Printer();
  if (!p) {
    host().MsgBox(kNoPrinter, MsgButtons::OK, MsgIcon::Exclamation, "Printer Setup");
    return false;
  }
  return p->Setup();
}

}  // namespace sv
