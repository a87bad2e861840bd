// The device-independent bitmap header a display bitmap travels with, and the
// seven palettes of the image window.
#pragma once

#include <cstdint>

namespace sv {

#pragma pack(push, 1)
struct BitmapInfoHeader {
  uint32_t biSize = 40;
  int32_t biWidth = 384;
  int32_t biHeight = 288;
  uint16_t biPlanes = 1;
  uint16_t biBitCount = 8;
  uint32_t biCompression = 0;
  uint32_t biSizeImage = 0;
  int32_t biXPelsPerMeter = 0;
  int32_t biYPelsPerMeter = 0;
  uint32_t biClrUsed = 0;
  uint32_t biClrImportant = 0;
};

struct RGBQuad {
  uint8_t rgbBlue = 0, rgbGreen = 0, rgbRed = 0, rgbReserved = 0;
};

struct BitmapInfo {
  BitmapInfoHeader bmiHeader;
  RGBQuad bmiColors[256];
};
#pragma pack(pop)

static_assert(sizeof(BitmapInfoHeader) == 40);
static_assert(sizeof(BitmapInfo) == 1064);

inline constexpr int kLutTypeCount = 7;  // 0 White .. 6 Chart
const char* LutTypeName(int type);

// Fills the 256 entries of the palette for a LUT type (clamped to 0..6).
void FillPalette(int lutType, RGBQuad* colors);

// The global template of a new document's header; its palette is the one of
// the default LUT type.
BitmapInfo HeaderTemplate();

}  // namespace sv
