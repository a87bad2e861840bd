// The records of a plot: the layer on its page, the two axes and the curves,
// with their defaults, their packed form in a worksheet file and the colour
// tables of new curves and of the curve dialog.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/binary_file.h"

namespace sv {

// Colours are 0x00BBGGRR.
struct PlotTextRecord {
  std::string FontName = "Arial";
  int16_t Bold = 0;    // -1 on, 0 off
  int16_t Italic = 0;
  int16_t FontSize = 24;  // points
  std::string Text;
};

struct PlotWindowRecord {
  int16_t Reserved = 0;
  std::string Caption;
  int32_t WindowLeft = 0, WindowTop = 0, WindowWidth = 0, WindowHeight = 0;
  int16_t WindowState = 0;  // 0 normal, otherwise minimised or maximised
};

struct PlotLayerRecord {
  float Left = 0.145f;    // fractions of the page
  float Top = 0.135f;     // from the bottom of the page
  float Width = 0.763f;
  float Height = 0.74f;
  int32_t FrameColor = 0;
  uint32_t BackColor = 0x80C0C0C0u;  // bit 31: the background is not filled
  int32_t OriginX = 0, OriginY = 0;  // device position of the axes' From ends
  float ScaleX = 0, ScaleY = 0;      // device units per user unit
  int32_t Reserved[4] = {0, 0, 0, 0};
  int32_t PageColor = 0xFFFFFF;
  int32_t CurveCount = 0;
  PlotWindowRecord Window;
  PlotTextRecord Title{"Arial", -1, 0, 24, ""};
};

// Display bits of an axis: box n of the axis dialog is bit n. The Y axis
// reads left/right where the X axis reads bottom/top.
namespace AxisFlag {
inline constexpr int32_t LineLow = 2;        // axis line bottom/left
inline constexpr int32_t LineHigh = 4;       // axis line top/right
inline constexpr int32_t LabelsLow = 8;
inline constexpr int32_t LabelsHigh = 16;
inline constexpr int32_t MajorLow = 32;
inline constexpr int32_t MinorLow = 64;
inline constexpr int32_t MajorHigh = 128;
inline constexpr int32_t MinorHigh = 256;
inline constexpr int32_t MajorGrid = 512;
inline constexpr int32_t MinorGrid = 1024;
inline constexpr int32_t ZeroLine = 2048;
inline constexpr int32_t Oblique = 4096;     // a third axis; never set by a 2-D plot
}  // namespace AxisFlag

struct PlotAxisRecord {
  int32_t Flags = AxisFlag::LineLow | AxisFlag::LabelsLow | AxisFlag::MajorLow;  // 42
  float From = 0;  // From equal to To: not yet scaled
  float To = 0;
  float Inc = 0;   // negative for a reversed axis
  int32_t Ticks = 0;
  int32_t Reserved[3] = {0, 0, 0};
  float Thickness = 1.5f;
  int32_t MajorGridColor = 0xC000;
  int32_t MajorGridStyle = 0;
  float MajorGridWidth = 0.3f;
  int32_t MinorGridColor = 0xC00000;
  int32_t MinorGridStyle = 0;
  float MinorGridWidth = 0.5f;
  PlotTextRecord Title{"Arial", 0, 0, 24, ""};
  PlotTextRecord Labels{"Arial", 0, 0, 16, ""};  // Text: the number format
};

struct PlotCurveRecord {
  int32_t XCol = 0;
  int32_t YCol = 0;
  std::string Legend;
  int32_t PlotType = 0;  // 0 line, 1 scatter, 2 line + symbol
  int32_t Color = 0;
  float Width = 1.0f;
  int32_t LineType = 0;
  int32_t Shape = 0;
  float Size = 3.0f;
  std::optional<float> MarkerLeft, MarkerRight;  // user X, or none

  // A new curve at 0-based `index`: "<index+1>Curve" in palette colour index AND 15.
  static PlotCurveRecord Default(long index);
};

// The classic 16-colour palette, by index 0..15.
int32_t BasicColor(long index);

// The colour list of the curve dialog, in its order.
struct NamedColor {
  const char* name;
  int32_t color;
};
extern const NamedColor kDetailsColors[15];

// Captions of the curve dialog's lists.
extern const char* const kPlotTypeNames[3];
extern const char* const kLineTypeNames[5];
extern const char* const kShapeNames[11];

// Packed little-endian records, as a worksheet file holds them.
void WriteText(BinaryOut& out, const PlotTextRecord& r);
void WriteWindow(BinaryOut& out, const PlotWindowRecord& r);
void WriteLayer(BinaryOut& out, const PlotLayerRecord& r);
void WriteAxis(BinaryOut& out, const PlotAxisRecord& r);
void WriteCurve(BinaryOut& out, const PlotCurveRecord& r);

// The readers leave `in` failed (in.ok() false) on a short or malformed record.
PlotTextRecord ReadText(BinaryIn& in);
PlotWindowRecord ReadWindow(BinaryIn& in);
PlotLayerRecord ReadLayer(BinaryIn& in);
PlotAxisRecord ReadAxis(BinaryIn& in);
PlotCurveRecord ReadCurve(BinaryIn& in, bool& bad);

// Fewest bytes a curve record can take in a file.
inline constexpr uint64_t kMinCurveBytes = 8 + 2 + 24 + 2 + 2;

}  // namespace sv
