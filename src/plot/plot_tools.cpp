// The mouse tools of a plot: zoom, screen reader, data reader, marker and
// peak integration, and the double-click that opens a curve's details. What
// they draw goes on the picture in inverted colours, so that drawing the same
// again takes it away.
#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>

#include "core/host.h"
#include "core/mdi_main.h"
#include "plot/form_plot.h"
#include "plot/plot_render.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// A rubber band this small (device units, either side) is no zoom.
constexpr double kMinZoomSide = 4;

// The tools' names in Label_Info, and their toolbar keys, by code 1..6.
constexpr const char* kToolNames[] = {"", "", "Zoom", "Screen Reader", "Data Reader",
                                      "Marker", "Peak Integrate"};
constexpr const char* kToolKeys[] = {"", "Cursor", "Zoom", "ScreenReader", "DataReader",
                                     "Marker", "PeakIntegrate"};

bool LeftButton(int button) { return (button & 1) != 0; }

// A size in points on this picture, as the renderer scales it.
double PicturePoints(const DrawSurface& dev, double points) {
  return points * 20.0 * dev.PageHeight() / kA4HeightTwips;
}

// A value as a 32-bit float, held inside the float range (NaN gives 0).
float ToF32(double v) {
  if (std::isnan(v)) return 0;
  return float(std::clamp(v, double(-FLT_MAX), double(FLT_MAX)));
}

// Data values as the tools show them: seven significant digits, or the
// number as it stands when it is beyond a float.
std::string DataText(double v) {
  return std::fabs(v) <= FLT_MAX ? FormatNumber(float(v)) : FormatNumber(v);
}

// The name of a curve's X column, "" for none.
std::string XName(const Form_Worksheet& sheet, long xcol) {
  return xcol >= 0 && xcol < sheet.Cols() ? sheet.ColName(xcol) : std::string();
}

}  // namespace

std::string Form_Plot::PressedToolKey() const {
  return Tool_ >= 1 && Tool_ <= 6 ? kToolKeys[Tool_] : "";
}

void Form_Plot::SetLabelInfo(const std::string& text, bool visible) {
  labelInfo_ = text;
  labelInfoVisible_ = visible;
  view_->SetInfo(text, visible);
}

// --- The tool in force -----------------------------------------------------------

void Form_Plot::SetTool(long code) {
  if (code < 1 || code > 6) return;
  // A gesture under way ends with the tool.
  if (rubberBand_) DrawInverseRect();
  buttonDown_ = false;
  markerDragging_ = -1;
  SyncToolInk();
  if (toolInk_.line) DrawPeakLine();
  if (toolInk_.cross) DrawCross();

  Tool_ = code;
  if (code == 1) {
    SetLabelInfo("", false);
    EraseToolInk();  // the markers' display goes too
  } else if (code == 6) {
    std::string text = "Peak Integrate: ";
    if (sheet_ && !Curve_.empty()) {
      const long ycol = Curve_.front().YCol;
      if (ycol >= 0 && ycol < sheet_->Cols())
        text += sheet_->ColName(ycol) + " vs. " + XName(*sheet_, Curve_.front().XCol);
    }
    SetLabelInfo(text, true);
  } else {
    SetLabelInfo(kToolNames[code], true);
  }
  view_->ToolChanged(code);
  if (main_) main_->UpdateToolbarState();
}

void Form_Plot::MouseDown(int button, double x, double y) {
  if (!LeftButton(button)) return;
  buttonDown_ = true;
  switch (Tool_) {
    case 2:
      if (rubberBand_) DrawInverseRect();
      ZoomRect[0] = ZoomRect[2] = ToF32(x);
      ZoomRect[1] = ZoomRect[3] = ToF32(y);
      DrawInverseRect();
      break;
    case 3:
      ScreenReader(x, y);
      break;
    case 4:
      DataReader(x, y);
      break;
    case 5: {
      const PlotCurveRecord* c = Current();
      if (!c) break;
      // The marker nearer in X is taken; a missing one stands at its end of
      // the axis, and a tie goes to the left marker.
      const double ux = UserX(x);
      const double left = c->MarkerLeft ? double(*c->MarkerLeft) : double(XAxis.From);
      const double right = c->MarkerRight ? double(*c->MarkerRight) : double(XAxis.To);
      markerDragging_ = std::fabs(ux - left) <= std::fabs(ux - right) ? 0 : 1;
      MouseMove(button, x, y);
      break;
    }
    case 6:
      PeakIntegrate(x, y, 0);
      break;
    default:
      break;
  }
}

void Form_Plot::MouseMove(int button, double x, double y) {
  if (!LeftButton(button) || !buttonDown_) return;
  switch (Tool_) {
    case 2:
      if (rubberBand_) DrawInverseRect();
      ZoomRect[2] = ToF32(x);
      ZoomRect[3] = ToF32(y);
      DrawInverseRect();
      break;
    case 3:
      ScreenReader(x, y);
      break;
    case 4:
      DataReader(x, y);
      break;
    case 5:
      if (PlotCurveRecord* c = Current(); c && markerDragging_ >= 0) {
        const float ux = ToF32(UserX(x));
        (markerDragging_ == 0 ? c->MarkerLeft : c->MarkerRight) = ux;
        DrawMarker(markerDragging_);
      }
      break;
    case 6:
      PeakIntegrate(x, y, 1);
      break;
    default:
      break;
  }
}

void Form_Plot::MouseUp(int button, double x, double y) {
  if (!LeftButton(button) || !buttonDown_) return;
  switch (Tool_) {
    case 2: {
      if (rubberBand_) DrawInverseRect();
      buttonDown_ = false;
      ZoomRect[2] = ToF32(x);
      ZoomRect[3] = ToF32(y);
      const double w = std::fabs(double(ZoomRect[2]) - ZoomRect[0]);
      const double h = std::fabs(double(ZoomRect[3]) - ZoomRect[1]);
      if (w <= kMinZoomSide || h <= kMinZoomSide) {
        host().Beep();
      } else {
        const double x1 = UserX(ZoomRect[0]), x2 = UserX(ZoomRect[2]);
        const double y1 = UserY(ZoomRect[1]), y2 = UserY(ZoomRect[3]);
        SetXRange(ToF32(std::min(x1, x2)), ToF32(std::max(x1, x2)));
        SetYRange(ToF32(std::min(y1, y2)), ToF32(std::max(y1, y2)));
        ClearPlot();
        Plot();
      }
      SetTool(1);
      break;
    }
    case 5:
      MouseMove(button, x, y);
      markerDragging_ = -1;
      break;
    case 6:
      PeakIntegrate(x, y, 2);
      break;
    default:
      break;
  }
  buttonDown_ = false;
}

void Form_Plot::DoubleClick(double x, double y) {
  if (Tool_ == 1) GetDataColumn(x, y);
}

// --- Zoom ------------------------------------------------------------------------

void Form_Plot::DrawInverseRect() {
  rubberBand_ = !rubberBand_;
  DrawSurface* picture = view_->Picture();
  if (!picture) return;
  const DrawRect r{std::min(ZoomRect[0], ZoomRect[2]), std::min(ZoomRect[1], ZoomRect[3]),
                   std::max(ZoomRect[0], ZoomRect[2]), std::max(ZoomRect[1], ZoomRect[3])};
  picture->InvertRect(r);
  view_->ShowPicture(DrawRect{r.left - 1, r.top - 1, r.right + 2, r.bottom + 2});
}

// --- Readers ---------------------------------------------------------------------

void Form_Plot::ScreenReader(double x, double y) {
  SetLabelInfo("x=" + TickLabel(UserX(x), XAxis) + "; y=" + TickLabel(UserY(y), YAxis), true);
}

namespace {

// The ratio NearestRow weighs Y distances with: (X range) / (Y range).
double RangeRatio(const PlotAxisRecord& x, const PlotAxisRecord& y) {
  const double ry = double(y.To) - y.From;
  const double r = (double(x.To) - x.From) / ry;
  return ry != 0 && std::isfinite(r) && r != 0 ? std::fabs(r) : 1.0;
}

// A row of a curve found by NearestRow and its values in the curve's X and
// Y columns, the ones the curve is drawn from.
struct FoundRow {
  long row = -1;
  double x = 0, y = 0;
};

FoundRow Nearest(Form_Worksheet& sheet, const PlotCurveRecord& c, double ux, double uy,
                 double ratio) {
  FoundRow f;
  const long ycol = c.YCol, xcol = c.XCol;
  if (ycol < 1 || ycol >= sheet.Cols() || xcol < 0 || xcol >= sheet.Cols()) return f;
  sheet.Col(ycol);
  const long row = sheet.NearestRow(xcol, ycol, ux, uy, ratio);
  if (row < 1) return f;
  if (!sheet.NumberAt(row, xcol, f.x) || !sheet.NumberAt(row, ycol, f.y)) return f;
  f.row = row;
  return f;
}

}  // namespace

void Form_Plot::DataReader(double x, double y) {
  SyncToolInk();
  if (toolInk_.cross) DrawCross();
  const PlotCurveRecord* c = Current();
  FoundRow f;
  if (c && sheet_) f = Nearest(*sheet_, *c, UserX(x), UserY(y), RangeRatio(XAxis, YAxis));
  if (f.row < 1) {
    SetLabelInfo("[-]: x= -, y= -", true);
    return;
  }
  SetLabelInfo("[" + std::to_string(f.row) + "]: x=" + DataText(f.x) + ", y=" + DataText(f.y),
               true);
  toolInk_.crossAt = {ScreenX(f.x), ScreenY(f.y)};
  DrawCross();
}

void Form_Plot::GetDataColumn(double x, double y) {
  if (Curve_.empty() || !sheet_) return;
  ShowStatus("searching for nearest Data Point...");
  const double ux = UserX(x), uy = UserY(y), ratio = RangeRatio(XAxis, YAxis);
  long best = -1;
  double bestD = 0;
  for (long i = 0; i < Curves(); ++i) {
    const FoundRow f = Nearest(*sheet_, Curve_[size_t(i)], ux, uy, ratio);
    if (f.row < 1) continue;
    const double dx = ScreenX(f.x) - x, dy = ScreenY(f.y) - y;
    const double d = dx * dx + dy * dy;
    // Strictly nearer: on a tie the earlier curve stays.
    if (best < 0 || d < bestD) {
      best = i;
      bestD = d;
    }
  }
  ShowStatus("");
  if (best >= 0) PlotDetails(best);
}

// --- Markers ---------------------------------------------------------------------

void Form_Plot::DrawMarker(long index) {
  if (index != 0 && index != 1) return;
  SyncToolInk();
  DrawSurface* picture = view_->Picture();
  const double top = ScreenY(YAxis.To), bottom = ScreenY(YAxis.From);
  // The line stands where the marker is: the old one goes first.
  if (toolInk_.marker[index] && picture) {
    const double mx = toolInk_.markerX[index];
    picture->InvertLine(mx, top, mx, bottom);
    view_->ShowPicture(DrawRect{mx - 1, std::min(top, bottom) - 1, mx + 2, std::max(top, bottom) + 2});
  }
  toolInk_.marker[index] = false;
  std::optional<float> m;
  if (const PlotCurveRecord* c = Current()) m = index == 0 ? c->MarkerLeft : c->MarkerRight;
  if (!m) return;
  SetLabelInfo(std::string(index == 0 ? "Left" : "Right") + " Marker=" + TickLabel(*m, XAxis),
               true);
  if (!picture) return;
  const double mx = ScreenX(*m);
  picture->InvertLine(mx, top, mx, bottom);
  view_->ShowPicture(DrawRect{mx - 1, std::min(top, bottom) - 1, mx + 2, std::max(top, bottom) + 2});
  toolInk_.marker[index] = true;
  toolInk_.markerX[index] = mx;
  peakLine_ = true;
}

// --- Peak integration ------------------------------------------------------------

void Form_Plot::PeakIntegrate(double x, double y, int mode) {
  SyncToolInk();
  // A move or release belongs to a line that began with a press.
  if (mode != 0 && peakStartRow_ < 1) return;
  const long startRow = peakStartRow_;
  if (mode == 2) {
    if (toolInk_.line) DrawPeakLine();
    peakStartRow_ = 0;
  }
  // 1. The nearest row of the first curve.
  FoundRow f;
  const long ycol = Curve_.empty() ? -1 : Curve_.front().YCol;
  if (sheet_ && ycol >= 1)
    f = Nearest(*sheet_, Curve_.front(), UserX(x), UserY(y), RangeRatio(XAxis, YAxis));
  if (f.row < 1) {
    host().Beep();
    SetLabelInfo("", labelInfoVisible_);
    return;
  }
  // 2. A point outside the layer is no use.
  auto inside = [](double v, const PlotAxisRecord& a) {
    return v >= std::min(a.From, a.To) && v <= std::max(a.From, a.To);
  };
  if (!inside(f.x, XAxis) || !inside(f.y, YAxis)) {
    host().Beep();
    return;
  }
  // 3. A press starts the line, a move draws it to the point, the release
  // integrates from the start to the point.
  peakRow_ = f.row;
  peakX_ = ToF32(f.x);
  peakY_ = ToF32(f.y);
  SetLabelInfo("[" + std::to_string(f.row) + "]: x=" + DataText(f.x) + ", y=" + DataText(f.y),
               true);
  const DrawPoint at{ScreenX(f.x), ScreenY(f.y)};
  if (mode == 0) {
    if (toolInk_.line) DrawPeakLine();
    peakStartRow_ = f.row;
    toolInk_.lineFrom = at;
    return;
  }
  if (mode == 1) {
    if (toolInk_.line) DrawPeakLine();
    toolInk_.lineTo = at;
    DrawPeakLine();
    return;
  }
  if (mode == 2) IntegratePeak(startRow, f.row, ycol);
}

namespace {

bool SameName(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char p, char q) {
           return std::tolower(static_cast<unsigned char>(p)) ==
                  std::tolower(static_cast<unsigned char>(q));
         });
}

bool NameTaken(const Form_Worksheet& sheet, const std::string& name, long except) {
  for (long c = 1; c < sheet.Cols(); ++c)
    if (c != except && SameName(sheet.ColName(c), name)) return true;
  return false;
}

}  // namespace

void Form_Plot::IntegratePeak(long startRow, long endRow, long ycol) {
  Form_Worksheet& sheet = *sheet_;
  sheet.SetSelection(startRow, ycol, endRow, ycol);
  const long xcol = Curve_.empty() ? sheet.XColOf(ycol) : Curve_.front().XCol;
  const Form_Worksheet::PeakSummary s = sheet.PeakAnalysis(xcol);
  // 4. Fewer than two rows give no area.
  if (s.rows < 2) {
    ShowStatus("");
    return;
  }

  // 5. The area goes beside the Y column, as a text at the peak's row: into
  // a next column labelled "Area", else into a new one that the plot shows.
  // A sheet that takes no more columns gets no area column; the result
  // still shows.
  auto areaColumn = [&]() -> long {
    const long col = ycol + 1;
    if (col < sheet.Cols() && sheet.Record(col).Label == "Area") return col;
    const long before = sheet.Cols();
    if (!sheet.InsertColumn(col, 1)) return -1;
    // A plot outside the sheet's list is not told of the new column.
    if (sheet.FindPlot(Handle()) != this) ColsAdded(col, sheet.Cols() - before);
    ColumnRecord& rec = sheet.Record(col);
    rec.Typ = kTypL;
    rec.Label = "Area";
    // The place's default name may belong to the column that moved on.
    for (long n = 1; NameTaken(sheet, rec.Name, col); ++n) rec.Name = "C" + std::to_string(n);
    sheet.BuildHeader(col);
    const long keep = current_;
    sheet.Col(col);
    AddCurve();
    CurveXCol(Curve_.front().XCol);
    current_ = keep;
    return col;
  };
  const double fromBaseline = s.area - s.baselineArea;
  if (const long areaCol = areaColumn(); areaCol > 0) {
    sheet.TextMatrix(s.maxRow, areaCol, Cell(DataText(fromBaseline)));
    sheet.ColChanged(areaCol, true);
    sheet.DrawColumn(areaCol);
  }
  ClearPlot();
  Plot();

  // 6. The result in a text window.
  const std::string yname = sheet.ColName(ycol);
  const std::string xname = XName(sheet, xcol);
  std::string text = "Peak integration of  " + yname + "  vs.  " + xname + "\n";
  text += "from  x[" + std::to_string(s.firstRow) + "] = " + DataText(s.firstX) + "  to  x[" +
          std::to_string(s.lastRow) + "] = " + DataText(s.lastX) + "\n";
  text += "Area from baseline\t" + DataText(fromBaseline) + "\n";
  text += "Area from zero\t" + DataText(s.area) + "\n";
  text += "Peak at\t" + DataText(s.peakX) + "\n";
  text += "Height\t" + DataText(s.Height()) + "\n";
  view_->ShowResult("Peak Integration", text);
}

// --- The tools' drawing ----------------------------------------------------------

void Form_Plot::SyncToolInk() {
  if (!peakLine_) toolInk_ = ToolInk{};
}

void Form_Plot::EraseToolInk() {
  SyncToolInk();
  if (toolInk_.line) DrawPeakLine();
  if (toolInk_.cross) DrawCross();
  for (long i = 0; i < 2; ++i)
    if (toolInk_.marker[i]) {
      DrawSurface* picture = view_->Picture();
      const double mx = toolInk_.markerX[i];
      const double top = ScreenY(YAxis.To), bottom = ScreenY(YAxis.From);
      if (picture) {
        picture->InvertLine(mx, top, mx, bottom);
        view_->ShowPicture(
            DrawRect{mx - 1, std::min(top, bottom) - 1, mx + 2, std::max(top, bottom) + 2});
      }
      toolInk_.marker[i] = false;
    }
  peakLine_ = false;
}

void Form_Plot::DrawPeakLine() {
  DrawSurface* picture = view_->Picture();
  if (!picture) return;
  toolInk_.line = !toolInk_.line;
  const DrawPoint a = toolInk_.lineFrom, b = toolInk_.lineTo;
  picture->InvertLine(a.x, a.y, b.x, b.y);
  view_->ShowPicture(DrawRect{std::min(a.x, b.x) - 1, std::min(a.y, b.y) - 1,
                              std::max(a.x, b.x) + 2, std::max(a.y, b.y) + 2});
  if (toolInk_.line) peakLine_ = true;
}

void Form_Plot::DrawCross() {
  DrawSurface* picture = view_->Picture();
  if (!picture) return;
  toolInk_.cross = !toolInk_.cross;
  const DrawPoint p = toolInk_.crossAt;
  const double arm = std::max(3.0, PicturePoints(*picture, 4));
  picture->InvertLine(p.x - arm, p.y, p.x + arm, p.y);
  picture->InvertLine(p.x, p.y - arm, p.x, p.y + arm);
  view_->ShowPicture(DrawRect{p.x - arm - 1, p.y - arm - 1, p.x + arm + 2, p.y + arm + 2});
  if (toolInk_.cross) peakLine_ = true;
}

}  // namespace sv
