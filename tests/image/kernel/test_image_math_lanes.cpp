// The hand-written vector loops of image arithmetic against the plain rule:
// Fade at every weight (some take a reciprocal instead of a division),
// destinations off their cache-line boundaries, colour frames large enough
// for the stores that pass the caches, and the negative in place.
#include "image/kernel/image_math.h"
#include "image/kernel/convert.h"
#include "image/kernel/geometry.h"

#include <gtest/gtest.h>

#include "frames.h"
#include "kernel_paths.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace sv {
namespace {

class KernelMathLanes : public test::EveryPath {};
SV_EVERY_PATH(KernelMathLanes);

using Words = test::Frame;

// The rule written out: the exact quotient, to nearest, ties to even.
uint16_t Expected(long a, long b, const ImageMathParams& p) {
  const long top = p.levels - 1;
  long num, den = p.divisor;
  switch (p.operation) {
    case kMathFade: num = a * p.fade + b * (100 - p.fade); den *= 100; break;
    case kMathAdd: num = a + b; break;
    case kMathDifference: num = std::abs(a - b); break;
    case kMathMultiply: num = a * b; break;
    case kMathDivide:
      if (b == 0) return uint16_t(a == 0 ? 0 : top);
      num = a;
      den *= b;
      break;
    default: return 0;
  }
  long q = num / den;
  const long twice = 2 * (num % den);
  if (twice > den || (twice == den && (q & 1))) ++q;
  long r = q + p.bias;
  if (p.clip) return uint16_t(std::clamp(r, 0L, top));
  r %= p.levels;
  return uint16_t(r < 0 ? r + p.levels : r);
}

ImageMathParams Params(int operation, bool clip, long levels) {
  ImageMathParams p;
  p.operation = operation;
  p.clip = clip;
  p.levels = levels;
  return p;
}

void ExpectRule(const Words& a, const Words& b, const Words& out, const ImageMathParams& p) {
  for (size_t i = 0; i < out.size(); ++i)
    ASSERT_EQ(out[i], Expected(a[i], b[i], p))
        << "op " << p.operation << " fade " << p.fade << " divisor " << p.divisor << " bias "
        << p.bias << " clip " << p.clip << " a " << a[i] << " b " << b[i] << " at " << i;
}

TEST_P(KernelMathLanes, FadeAtEveryWeight) {
  std::mt19937 rng(5);
  const size_t n = 1000;
  for (long divisor : {1L, 2L, 3L, 5L, 64L, 127L, 128L})
    for (int fade = 0; fade <= 100; ++fade) {
      ImageMathParams p = Params(kMathFade, fade % 2 == 0, fade % 3 == 0 ? 65536 : 4096);
      p.divisor = divisor;
      p.fade = fade;
      p.bias = fade % 5 == 0 ? -7 : 0;
      Words a(n), b(n);
      for (size_t i = 0; i < n; ++i) {
        a[i] = uint16_t(rng() >> (rng() % 17));
        b[i] = uint16_t(rng() >> (rng() % 17));
      }
      // Neighbours of a tie: b one step either side of a, and a = b.
      for (size_t i = 0; i + 3 < n; i += 40) {
        b[i] = a[i];
        b[i + 1] = uint16_t(std::min(65535, a[i + 1] + 1));
        b[i + 2] = uint16_t(std::max(0, a[i + 2] - 1));
      }
      a[7] = b[7] = 65535;
      Words out(n);
      ASSERT_TRUE(SV_image_math2({long(n), 1}, 1, a, b, out, p));
      ExpectRule(a, b, out, p);
    }
}

// Destinations at every word offset from a cache line's start, with sources
// at other offsets, for the vector loops that start on a line.
TEST_P(KernelMathLanes, DestinationsOffTheirLines) {
  const size_t n = 700;
  const Words a0 = test::Random(n + 64, 3), b0 = test::Random(n + 64, 4, 300);
  for (int op : {kMathAdd, kMathDifference, kMathMultiply, kMathDivide, kMathFade})
    for (size_t off = 0; off < 34; ++off) {
      const ImageMathParams p = Params(op, true, 65536);
      const Words a(a0.begin() + long(off), a0.begin() + long(off + n));
      const Words b(b0.begin() + long(33 - off), b0.begin() + long(33 - off + n));
      std::vector<uint16_t> store(n + 64);
      Samples16 out(store.data() + off, n);
      ASSERT_TRUE(SV_image_math2({long(n), 1}, 1, a, b, out, p));
      ExpectRule(a, b, Words(out.begin(), out.end()), p);
    }
}

// Colour frames of more than 4 MB a stream take stores that pass the caches;
// the last pixels, a destination off its boundary and the result written
// over the first image must not differ.
TEST_P(KernelMathLanes, LargeColourFrames) {
  const FrameSize size{1024, 700};
  const Words a = test::Random(size, 3, 21), b = test::Random(size, 3, 22);
  for (bool wrap : {false, true}) {
    const ImageMathParams p = Params(kMathAdd, !wrap, 65536);
    Words out(a.size());
    ASSERT_TRUE(SV_image_math2(size, 3, a, b, out, p));
    ExpectRule(a, b, out, p);
  }
  const ImageMathParams p = Params(kMathDifference, true, 65536);
  std::vector<uint16_t> store(a.size() + 1);
  Samples16 shifted(store.data() + 1, a.size());
  ASSERT_TRUE(SV_image_math2(size, 3, a, b, shifted, p));
  ExpectRule(a, b, Words(shifted.begin(), shifted.end()), p);
  Words inPlace = a;
  ASSERT_TRUE(SV_image_math2(size, 3, inPlace, b, inPlace, p));
  ExpectRule(a, b, inPlace, p);
}

TEST_P(KernelMathLanes, NegativeInPlaceFromAnyWord) {
  const Words source = test::Random(2000, 8);
  for (long levels : {65536L, 4096L, 2L})
    for (size_t off = 0; off < 34; ++off) {
      Words image(source.begin() + long(off), source.end());
      ASSERT_TRUE(SV_negative({long(image.size()), 1}, image, levels));
      for (size_t i = 0; i < image.size(); ++i) {
        const long v = std::min<long>(source[off + i], levels - 1);
        ASSERT_EQ(image[i], levels - 1 - v) << "levels " << levels << " at " << off + i;
      }
    }
}

// The loops that start their stores on a line: floats to words and the
// colour split, from every word offset.
TEST_P(KernelMathLanes, LineStartsFromAnyWord) {
  std::mt19937 rng(9);
  const size_t n = 300;
  std::vector<float> floats(n);
  for (auto& f : floats) f = float(int(rng() % 140000) - 5000) * 0.5f;
  const Words rgb = test::Random(3 * n, 12);
  for (size_t off = 0; off < 34; ++off) {
    std::vector<uint16_t> store(n + 64);
    Samples16 out(store.data() + off, n);
    ASSERT_TRUE(SV_copy_floats_to_shorts(n, floats, out));
    for (size_t i = 0; i < n; ++i)
      ASSERT_EQ(out[i], uint16_t(std::nearbyint(std::clamp(floats[i], 0.0f, 65535.0f))))
          << floats[i];
    std::vector<uint16_t> planes(3 * (n + 64));
    Samples16 r(planes.data() + off, n), g(planes.data() + n + 64, n),
        b(planes.data() + 2 * (n + 64) + 33 - off, n);
    ASSERT_TRUE(SV_RGB_split16({long(n), 1}, rgb, r, g, b));
    for (size_t i = 0; i < n; ++i)
      ASSERT_TRUE(r[i] == rgb[3 * i] && g[i] == rgb[3 * i + 1] && b[i] == rgb[3 * i + 2]) << i;
  }
}

TEST_P(KernelMathLanes, LargeColourFlipFromAnyWord) {
  const FrameSize size{1021, 700};
  const size_t line = size_t(size.width) * 3;
  const Words source = test::Random(size, 3, 31);
  for (size_t off : {0, 1, 5, 31}) {
    std::vector<uint16_t> store(source.size() + 32);
    Samples16 out(store.data() + off, source.size());
    ASSERT_TRUE(SV_RGB_flip(size, source, out));
    for (size_t y = 0; y < size_t(size.height); ++y)
      ASSERT_TRUE(std::equal(source.begin() + long(y * line), source.begin() + long((y + 1) * line),
                             out.begin() + long((size_t(size.height) - 1 - y) * line)))
          << "line " << y << " offset " << off;
  }
}

}  // namespace
}  // namespace sv
