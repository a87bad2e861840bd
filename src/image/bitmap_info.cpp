#include "image/bitmap_info.h"

#include <algorithm>
#include <cmath>

#include "core/globals.h"

namespace sv {

namespace {

// Round to nearest, ties to even, and keep within a byte.
uint8_t ToByte(double v) {
  const double r = std::nearbyint(v);
  return static_cast<uint8_t>(std::clamp(r, 0.0, 255.0));
}

RGBQuad Quad(uint8_t r, uint8_t g, uint8_t b) {
  RGBQuad q;
  q.rgbRed = r;
  q.rgbGreen = g;
  q.rgbBlue = b;
  q.rgbReserved = 0;
  return q;
}

// A ramp from black through half the peak colour to the peak colour washed
// out towards white; the last entry is white.
void Ramp(long peak, RGBQuad* colors) {
  const int channel[3] = {int(peak & 0xFF), int((peak >> 8) & 0xFF), int((peak >> 16) & 0xFF)};
  for (int i = 0; i < 255; ++i) {
    uint8_t c[3];
    for (int k = 0; k < 3; ++k) {
      const int half = channel[k] / 2;
      c[k] = i <= 127 ? ToByte(double(half) * i / 127.0)
                      : ToByte(half + double(255 - half) * (i - 127) / 128.0);
    }
    colors[i] = Quad(c[0], c[1], c[2]);
  }
  colors[255] = Quad(255, 255, 255);
}

// Blue, cyan, green, yellow, red, in five ramps on bounds of a sixth of 256.
void Rainbow(RGBQuad* colors) {
  int bound[5];
  for (int k = 0; k < 5; ++k) bound[k] = int(std::nearbyint(256.0 * k / 6.0));
  auto rise = [](int i, int start, int end) { return ToByte(double(i - start) / (end - start) * 255.0); };
  auto fall = [](int i, int start, int end) {
    return ToByte(double(end - 1 - i) / (end - start) * 255.0);
  };
  for (int i = 0; i < 256; ++i) {
    uint8_t r = 0, g = 0, b = 0;
    if (i < bound[1]) {
      b = rise(i, bound[0], bound[1]);
    } else if (i < bound[2]) {
      b = 255;
      g = rise(i, bound[1], bound[2]);
    } else if (i < bound[3]) {
      g = 255;
      b = fall(i, bound[2], bound[3]);
    } else if (i < bound[4]) {
      g = 255;
      r = rise(i, bound[3], bound[4]);
    } else {
      // The last fall runs across the rest of the table, up to 1536 / 6.
      r = 255;
      g = fall(i, bound[4], 256);
    }
    colors[i] = Quad(r, g, b);
  }
}

void Chart(RGBQuad* colors) {
  struct Node {
    int i, r, g, b;
  };
  static constexpr Node kNodes[] = {{0, 255, 255, 255}, {36, 105, 166, 232}, {72, 3, 21, 132},
                                    {108, 15, 162, 124}, {144, 252, 240, 23}, {180, 211, 124, 103},
                                    {216, 202, 112, 23}, {255, 140, 3, 29}};
  constexpr int kLast = int(std::size(kNodes)) - 1;
  for (int i = 0; i < 256; ++i) {
    if (i >= kNodes[kLast].i) {
      colors[i] = Quad(uint8_t(kNodes[kLast].r), uint8_t(kNodes[kLast].g), uint8_t(kNodes[kLast].b));
      continue;
    }
    int n = 0;
    while (i >= kNodes[n + 1].i) ++n;
    const Node& a = kNodes[n];
    const Node& z = kNodes[n + 1];
    const double t = double(i - a.i) / double(z.i - a.i);
    colors[i] = Quad(ToByte(a.r + (z.r - a.r) * t), ToByte(a.g + (z.g - a.g) * t),
                     ToByte(a.b + (z.b - a.b) * t));
  }
}

}  // namespace

const char* LutTypeName(int type) {
  static constexpr const char* kNames[kLutTypeCount] = {"White",  "Rainbow", "Green", "Orange",
                                                        "Yellow", "Blue",    "Chart"};
  return kNames[std::clamp(type, 0, kLutTypeCount - 1)];
}

void FillPalette(int lutType, RGBQuad* colors) {
  if (!colors) return;
  switch (std::clamp(lutType, 0, kLutTypeCount - 1)) {
    case 0: Ramp(0xFFFFFF, colors); break;
    case 1: Rainbow(colors); break;
    case 2: Ramp(0xFF00, colors); break;
    case 3: Ramp(0x80FF, colors); break;
    case 4: Ramp(0xFFFF, colors); break;
    case 5: Ramp(0xFF0000, colors); break;
    default: Chart(colors); break;
  }
}

BitmapInfo HeaderTemplate() {
  BitmapInfo info;  // 40-byte header, 384 x 288, one plane, 8 bits
  FillPalette(G().DefaultLUTtype, info.bmiColors);
  return info;
}

}  // namespace sv
