#include "plot/plot_records.h"

#include <cstring>

#include "core/text_1252.h"

namespace sv {

namespace {

// Variant type tags as the file holds them.
constexpr int16_t kVarEmpty = 0, kVarNull = 1, kVarInteger = 2, kVarLong = 3, kVarSingle = 4,
                  kVarDouble = 5;

void WriteMarker(BinaryOut& out, const std::optional<float>& m) {
  if (!m) {
    out.I16(kVarNull);
    return;
  }
  out.I16(kVarSingle);
  out.F32(*m);
}

std::optional<float> ReadMarker(BinaryIn& in, bool& bad) {
  switch (in.I16()) {
    case kVarEmpty:
    case kVarNull:
      return std::nullopt;
    case kVarInteger:
      return float(in.I16());
    case kVarLong:
      return float(in.I32());
    case kVarSingle:
      return in.F32();
    case kVarDouble: {
      uint8_t b[8];
      in.Bytes(b, 8);
      uint64_t bits = 0;
      for (int i = 7; i >= 0; --i) bits = bits << 8 | b[i];
      double d;
      std::memcpy(&d, &bits, 8);
      return float(d);
    }
    default:
      bad = true;
      return std::nullopt;
  }
}

}  // namespace

int32_t BasicColor(long index) {
  static constexpr int32_t kPalette[16] = {
      0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0xC0C0C0,
      0x808080, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
  return kPalette[index & 15];
}

const NamedColor kDetailsColors[15] = {
    {"Black", 0x000000},       {"Light Red", 0x0000FF},     {"Light Green", 0x00FF00},
    {"Light Blue", 0xFF0000},  {"Light Cyan", 0xFFFF00},    {"Light Magenta", 0xFF00FF},
    {"Yellow", 0x00FFFF},      {"Magenta", 0x800080},       {"Green", 0x008000},
    {"Cyan", 0x808000},        {"Blue", 0x800000},          {"Brown", 0x008080},
    {"White", 0xFFFFFF},       {"Light Gray", 0xC0C0C0},    {"Gray", 0x808080},
};

const char* const kPlotTypeNames[3] = {"Line Graph", "Scatter Graph", "Line + Symbol"};
const char* const kLineTypeNames[5] = {"Solid", "Dash", "Dot", "Dash Dot", "Dash Dot Dot"};
const char* const kShapeNames[11] = {"Square",       "Circle",     "Up Triangle", "Down Triangle",
                                     "Diamond",      "Cross (+)",  "Cross (x)",   "Star (*)",
                                     "Bar (-)",      "Bar (|)",    "Pixel (.)"};

PlotCurveRecord PlotCurveRecord::Default(long index) {
  PlotCurveRecord c;
  c.Legend = std::to_string(index + 1) + "Curve";
  c.Color = BasicColor(index);
  return c;
}

void WriteText(BinaryOut& out, const PlotTextRecord& r) {
  out.Str(Windows1252FromUtf8(r.FontName));
  out.I16(r.Bold);
  out.I16(r.Italic);
  out.I16(r.FontSize);
  out.Str(Windows1252FromUtf8(r.Text));
}

void WriteWindow(BinaryOut& out, const PlotWindowRecord& r) {
  out.I16(r.Reserved);
  out.Str(Windows1252FromUtf8(r.Caption));
  out.I32(r.WindowLeft);
  out.I32(r.WindowTop);
  out.I32(r.WindowWidth);
  out.I32(r.WindowHeight);
  out.I16(r.WindowState);
}

void WriteLayer(BinaryOut& out, const PlotLayerRecord& r) {
  out.F32(r.Left);
  out.F32(r.Top);
  out.F32(r.Width);
  out.F32(r.Height);
  out.I32(r.FrameColor);
  out.U32(r.BackColor);
  out.I32(r.OriginX);
  out.I32(r.OriginY);
  out.F32(r.ScaleX);
  out.F32(r.ScaleY);
  for (int32_t w : r.Reserved) out.I32(w);
  out.I32(r.PageColor);
  out.I32(r.CurveCount);
  WriteWindow(out, r.Window);
  WriteText(out, r.Title);
}

void WriteAxis(BinaryOut& out, const PlotAxisRecord& r) {
  out.I32(r.Flags);
  out.F32(r.From);
  out.F32(r.To);
  out.F32(r.Inc);
  out.I32(r.Ticks);
  for (int32_t w : r.Reserved) out.I32(w);
  out.F32(r.Thickness);
  out.I32(r.MajorGridColor);
  out.I32(r.MajorGridStyle);
  out.F32(r.MajorGridWidth);
  out.I32(r.MinorGridColor);
  out.I32(r.MinorGridStyle);
  out.F32(r.MinorGridWidth);
  WriteText(out, r.Title);
  WriteText(out, r.Labels);
}

void WriteCurve(BinaryOut& out, const PlotCurveRecord& r) {
  out.I32(r.XCol);
  out.I32(r.YCol);
  out.Str(Windows1252FromUtf8(r.Legend));
  out.I32(r.PlotType);
  out.I32(r.Color);
  out.F32(r.Width);
  out.I32(r.LineType);
  out.I32(r.Shape);
  out.F32(r.Size);
  WriteMarker(out, r.MarkerLeft);
  WriteMarker(out, r.MarkerRight);
}

PlotTextRecord ReadText(BinaryIn& in) {
  PlotTextRecord r;
  r.FontName = Utf8FromWindows1252(in.Str());
  r.Bold = in.I16();
  r.Italic = in.I16();
  r.FontSize = in.I16();
  r.Text = Utf8FromWindows1252(in.Str());
  return r;
}

PlotWindowRecord ReadWindow(BinaryIn& in) {
  PlotWindowRecord r;
  r.Reserved = in.I16();
  r.Caption = Utf8FromWindows1252(in.Str());
  r.WindowLeft = in.I32();
  r.WindowTop = in.I32();
  r.WindowWidth = in.I32();
  r.WindowHeight = in.I32();
  r.WindowState = in.I16();
  return r;
}

PlotLayerRecord ReadLayer(BinaryIn& in) {
  PlotLayerRecord r;
  r.Left = in.F32();
  r.Top = in.F32();
  r.Width = in.F32();
  r.Height = in.F32();
  r.FrameColor = in.I32();
  r.BackColor = in.U32();
  r.OriginX = in.I32();
  r.OriginY = in.I32();
  r.ScaleX = in.F32();
  r.ScaleY = in.F32();
  for (int32_t& w : r.Reserved) w = in.I32();
  r.PageColor = in.I32();
  r.CurveCount = in.I32();
  r.Window = ReadWindow(in);
  r.Title = ReadText(in);
  return r;
}

PlotAxisRecord ReadAxis(BinaryIn& in) {
  PlotAxisRecord r;
  r.Flags = in.I32();
  r.From = in.F32();
  r.To = in.F32();
  r.Inc = in.F32();
  r.Ticks = in.I32();
  for (int32_t& w : r.Reserved) w = in.I32();
  r.Thickness = in.F32();
  r.MajorGridColor = in.I32();
  r.MajorGridStyle = in.I32();
  r.MajorGridWidth = in.F32();
  r.MinorGridColor = in.I32();
  r.MinorGridStyle = in.I32();
  r.MinorGridWidth = in.F32();
  r.Title = ReadText(in);
  r.Labels = ReadText(in);
  return r;
}

PlotCurveRecord ReadCurve(BinaryIn& in, bool& bad) {
  PlotCurveRecord r;
  r.XCol = in.I32();
  r.YCol = in.I32();
  r.Legend = Utf8FromWindows1252(in.Str());
  r.PlotType = in.I32();
  r.Color = in.I32();
  r.Width = in.F32();
  r.LineType = in.I32();
  r.Shape = in.I32();
  r.Size = in.F32();
  r.MarkerLeft = ReadMarker(in, bad);
  if (!bad) r.MarkerRight = ReadMarker(in, bad);
  return r;
}

}  // namespace sv
