#include "image/kernel/geometry.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "image/kernel/cpu_paths.h"
#include "image/kernel/simd_dispatch.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace sv {

namespace {

simd::Level g_level;

bool Overlaps(const uint16_t* a, size_t an, const uint16_t* b, size_t bn) {
  const auto pa = reinterpret_cast<uintptr_t>(a), pb = reinterpret_cast<uintptr_t>(b);
  return pa < pb + bn * sizeof(uint16_t) && pb < pa + an * sizeof(uint16_t);
}

// Both spans hold the frame, and `dest` is `source` itself or apart from it.
template <int C>
bool SameSizeArgs(FrameSize size, ConstSamples16 source, Samples16 dest) {
  if (!Holds(source, size, C) || !Holds(dest, size, C)) return false;
  const size_t n = size.Samples(C);
  return source.data() == dest.data() || !Overlaps(source.data(), n, dest.data(), n);
}

// --- Flip and mirror --------------------------------------------------------

// One line of n words, stored from a cache line's start on with the source
// fetched 1 KB ahead.
void CopyLine(uint16_t* d, const uint16_t* s, size_t n) {
#if defined(__SSE2__)
  if (reinterpret_cast<uintptr_t>(d) % 2 == 0) {
    size_t i = std::min(n, size_t((64 - reinterpret_cast<uintptr_t>(d) % 64) % 64) / 2);
    std::memcpy(d, s, i * 2);
    for (; i + 32 <= n; i += 32) {
      __builtin_prefetch(reinterpret_cast<const char*>(s + i) + 1024);
      const auto* from = reinterpret_cast<const __m128i*>(s + i);
      auto* to = reinterpret_cast<__m128i*>(d + i);
      const __m128i a = _mm_loadu_si128(from), b = _mm_loadu_si128(from + 1),
                    c = _mm_loadu_si128(from + 2), e = _mm_loadu_si128(from + 3);
      _mm_store_si128(to, a);
      _mm_store_si128(to + 1, b);
      _mm_store_si128(to + 2, c);
      _mm_store_si128(to + 3, e);
    }
    std::memcpy(d + i, s + i, (n - i) * 2);
    return;
  }
#endif
  std::memcpy(d, s, n * 2);
}

template <int C>
bool Flip(FrameSize size, ConstSamples16 source, Samples16 dest) {
  if (!SameSizeArgs<C>(size, source, dest)) return false;
  const size_t line = size_t(size.width) * C;
  const size_t h = size_t(size.height);
  uint16_t* d = dest.data();
  if (source.data() == d) {
    for (size_t y = 0; y < h / 2; ++y)
      std::swap_ranges(d + y * line, d + (y + 1) * line, d + (h - 1 - y) * line);
    return true;
  }
  const uint16_t* s = source.data();
  // Frames beyond 4 MB (colour) gain by the own copy; the grey frame did not.
  const bool own = !cpu::FetchAheadPays(h * line * 2);
  for (size_t y = 0; y < h; ++y) {
    if (own)
      CopyLine(d + (h - 1 - y) * line, s + y * line, line);
    else
      std::memcpy(d + (h - 1 - y) * line, s + y * line, line * 2);
  }
  return true;
}

using U16x32 = uint16_t __attribute__((vector_size(64)));

// Ten colour pixels in a 32-word vector loaded two words before them: word
// 3k + c of the result is channel c of the k-th pixel from the right.
[[maybe_unused]] constexpr U16x32 kReverseTenPixels = {29, 30, 31, 26, 27, 28, 23, 24, 25, 20, 21,
                                      22, 17, 18, 19, 14, 15, 16, 11, 12, 13, 8,
                                      9,  10, 5,  6,  7,  2,  3,  4,  0,  1};
// The same for five pixels in 16 words loaded one word before them.
using U16x16 = uint16_t __attribute__((vector_size(32)));
[[maybe_unused]] constexpr U16x16 kReverseFivePixels = {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0};

template <int C>
void MirrorLine(const uint16_t* s, uint16_t* d, long width) {
  simd::Run(
      g_level,
      [](const uint16_t* s, uint16_t* d, long width, int level) SV_INLINE_BODY {
        long x = 0;
        if constexpr (C == 3) {
          // Blocks of ten (or five) pixels; each store runs two words (one
          // word) into the next block, which the next store or the tail
          // overwrites. Sixteen-bit shuffles across a whole 32-word vector
          // need AVX-512; without AVX2 the plain loop is the faster.
#if !defined(__clang__)  // GCC's vector shuffle; clang builds take the plain loop
          if (level >= 2) {
            for (; x + 11 <= width; x += 10) {
              U16x32 v;
              std::memcpy(&v, s + 3 * (width - x - 10) - 2, sizeof v);
              v = __builtin_shuffle(v, kReverseTenPixels);
              std::memcpy(d + 3 * x, &v, sizeof v);
            }
          } else if (level == 1) {
            for (; x + 6 <= width; x += 5) {
              U16x16 v;
              std::memcpy(&v, s + 3 * (width - x - 5) - 1, sizeof v);
              v = __builtin_shuffle(v, kReverseFivePixels);
              std::memcpy(d + 3 * x, &v, sizeof v);
            }
          }
#else
          (void)level;
#endif
        }
        const uint16_t* last = s + (width - 1) * C;
        for (; x < width; ++x)
          for (int c = 0; c < C; ++c) d[x * C + c] = last[-x * C + c];
      },
      s, d, width, g_level.Get());
}

template <int C>
bool Mirror(FrameSize size, ConstSamples16 source, Samples16 dest) {
  if (!SameSizeArgs<C>(size, source, dest)) return false;
  const size_t line = size_t(size.width) * C;
  const bool inPlace = source.data() == dest.data();
  std::vector<uint16_t> copy(inPlace ? line : 0);
  for (long y = 0; y < size.height; ++y) {
    const uint16_t* s = source.data() + size_t(y) * line;
    uint16_t* d = dest.data() + size_t(y) * line;
    if (inPlace) {
      std::memcpy(copy.data(), s, line * 2);
      s = copy.data();
    }
    MirrorLine<C>(s, d, size.width);
  }
  return true;
}

// --- Quarter turns ------------------------------------------------------------
//
// Source pixel (x, y) goes to destination pixel (h - 1 - y, x) clockwise and
// (y, w - 1 - x) counter-clockwise, in a destination h pixels wide. The frame
// is walked in tiles so that the lines of a tile stay in the cache, and each
// destination line is written in ascending order.

constexpr long kTile = 32;
// The colour loop's bands: sixteen lines (a 96-byte piece of each destination
// line) ran 1.5 times faster than thirty-two, whose pieces the caches lose
// before the next column writes on (measured on 1024 x 1024).
constexpr long kColourTile = 16;

// Where source pixel (x, y) lands, in pixels from the destination's start.
template <bool kClockwise>
inline size_t TurnedIndex(long x, long y, long w, long h) {
  return kClockwise ? size_t(x) * size_t(h) + size_t(h - 1 - y)
                    : size_t(w - 1 - x) * size_t(h) + size_t(y);
}

// Pixel by pixel, for the parts that are not whole blocks.
template <int C, bool kClockwise>
void TurnPixels(const uint16_t* s, uint16_t* d, long w, long h, long x0, long x1, long y0,
                long y1) {
  for (long y = y0; y < y1; ++y)
    for (long x = x0; x < x1; ++x) {
      const uint16_t* from = s + (size_t(y) * size_t(w) + size_t(x)) * C;
      uint16_t* to = d + TurnedIndex<kClockwise>(x, y, w, h) * C;
      for (int c = 0; c < C; ++c) to[c] = from[c];
    }
}

#if defined(__SSE2__)
// Eight lines of eight words become eight columns.
SV_INLINE_BODY inline void Transpose8x8(__m128i r[8]) {
  const __m128i a0 = _mm_unpacklo_epi16(r[0], r[1]), a1 = _mm_unpackhi_epi16(r[0], r[1]);
  const __m128i a2 = _mm_unpacklo_epi16(r[2], r[3]), a3 = _mm_unpackhi_epi16(r[2], r[3]);
  const __m128i a4 = _mm_unpacklo_epi16(r[4], r[5]), a5 = _mm_unpackhi_epi16(r[4], r[5]);
  const __m128i a6 = _mm_unpacklo_epi16(r[6], r[7]), a7 = _mm_unpackhi_epi16(r[6], r[7]);
  const __m128i b0 = _mm_unpacklo_epi32(a0, a2), b1 = _mm_unpackhi_epi32(a0, a2);
  const __m128i b2 = _mm_unpacklo_epi32(a1, a3), b3 = _mm_unpackhi_epi32(a1, a3);
  const __m128i b4 = _mm_unpacklo_epi32(a4, a6), b5 = _mm_unpackhi_epi32(a4, a6);
  const __m128i b6 = _mm_unpacklo_epi32(a5, a7), b7 = _mm_unpackhi_epi32(a5, a7);
  r[0] = _mm_unpacklo_epi64(b0, b4);
  r[1] = _mm_unpackhi_epi64(b0, b4);
  r[2] = _mm_unpacklo_epi64(b1, b5);
  r[3] = _mm_unpackhi_epi64(b1, b5);
  r[4] = _mm_unpacklo_epi64(b2, b6);
  r[5] = _mm_unpackhi_epi64(b2, b6);
  r[6] = _mm_unpacklo_epi64(b3, b7);
  r[7] = _mm_unpackhi_epi64(b3, b7);
}
#endif

// Grey: blocks of 8 x 8 turned in registers, the rest pixel by pixel.
template <bool kClockwise>
void TurnGrey(const uint16_t* s, uint16_t* d, long w, long h) {
  long w8 = 0, h8 = 0;
#if defined(__SSE2__)
  w8 = w & ~7L;
  h8 = h & ~7L;
  simd::Run(
      g_level,
      [](const uint16_t* s, uint16_t* d, long w, long h, long w8, long h8) SV_INLINE_BODY {
        // Bands of 64 lines: each destination line gets 128 bytes a band.
        for (long ty = 0; ty < h8; ty += 64) {
          const long tyEnd = std::min(h8, ty + 64);
          for (long x0 = 0; x0 < w8; x0 += 8)
            for (long y0 = ty; y0 < tyEnd; y0 += 8) {
              // Clockwise the lines go in bottom first, so each column comes
              // out in the order of its destination line.
              __m128i r[8];
              for (int k = 0; k < 8; ++k) {
                const long y = kClockwise ? y0 + 7 - k : y0 + k;
                r[k] = _mm_loadu_si128(
                    reinterpret_cast<const __m128i*>(s + size_t(y) * size_t(w) + size_t(x0)));
              }
              Transpose8x8(r);
              for (int m = 0; m < 8; ++m) {
                const size_t at = kClockwise ? TurnedIndex<true>(x0 + m, y0 + 7, w, h)
                                             : TurnedIndex<false>(x0 + m, y0, w, h);
                _mm_storeu_si128(reinterpret_cast<__m128i*>(d + at), r[m]);
              }
            }
        }
      },
      s, d, w, h, w8, h8);
#endif
  TurnPixels<1, kClockwise>(s, d, w, h, w8, w, 0, h);
  TurnPixels<1, kClockwise>(s, d, w, h, 0, w8, h8, h);
}

// Colour: each pixel moves as one 8-byte copy, whose fourth word lands on the
// first word of the next pixel of the destination line, written right after
// it. The last pixel of each run, and the source's very last pixel, move as
// exactly three words.
template <bool kClockwise>
void TurnColour(const uint16_t* s, uint16_t* d, long w, long h) {
  simd::Run(
      g_level,
      [](const uint16_t* s, uint16_t* d, long w, long h) SV_INLINE_BODY {
        auto exact = [](uint16_t* to, const uint16_t* from) SV_INLINE_BODY {
          to[0] = from[0];
          to[1] = from[1];
          to[2] = from[2];
        };
        for (long y0 = 0; y0 < h; y0 += kColourTile) {
          const long y1 = std::min(h, y0 + kColourTile);
          for (long x = 0; x < w; ++x) {
            // The run of destination pixels from source column x, lines y0..y1.
            const uint16_t* col = s + size_t(x) * 3;
            const size_t lineStep = size_t(w) * 3;
            uint16_t* run = d + (kClockwise ? TurnedIndex<true>(x, y1 - 1, w, h)
                                            : TurnedIndex<false>(x, y0, w, h)) * 3;
            const long n = y1 - y0;
            const bool lastPixelInRun = x == w - 1 && y1 == h;
            for (long k = 0; k + 1 < n; ++k) {
              const long y = kClockwise ? y1 - 1 - k : y0 + k;
              const uint16_t* from = col + size_t(y) * lineStep;
              if (lastPixelInRun && y == h - 1) {
                exact(run + 3 * k, from);
              } else {
                uint64_t v;
                std::memcpy(&v, from, 8);
                std::memcpy(run + 3 * k, &v, 8);
              }
            }
            exact(run + 3 * (n - 1), col + size_t(kClockwise ? y0 : y1 - 1) * lineStep);
          }
        }
      },
      s, d, w, h);
}

#if defined(__x86_64__)
// Colour with AVX-512: blocks of 8 x 8 pixels, each pixel widened to four
// words so that a line of the block fills one register, turned as 8 x 8
// quad-words and packed back to three words a pixel.
template <bool kClockwise>
__attribute__((target("avx512f,avx512bw,avx512vl,avx512dq"))) void TurnColourAvx512(
    const uint16_t* s, uint16_t* d, long w, long h) {
  alignas(64) int16_t widen[32], pack[32];
  for (int i = 0; i < 32; ++i) {
    widen[i] = int16_t(i % 4 == 3 ? 0 : (i / 4) * 3 + i % 4);
    pack[i] = int16_t(i < 24 ? (i / 3) * 4 + i % 3 : 0);
  }
  const __m512i widenIndex = _mm512_load_si512(widen);
  const __m512i packIndex = _mm512_load_si512(pack);
  // Quad-word pickers for the three stages of the 8 x 8 turn.
  const __m512i evens = _mm512_set_epi64(14, 6, 12, 4, 10, 2, 8, 0);
  const __m512i odds = _mm512_set_epi64(15, 7, 13, 5, 11, 3, 9, 1);
  const __m512i pairsLo = _mm512_set_epi64(13, 12, 5, 4, 9, 8, 1, 0);
  const __m512i pairsHi = _mm512_set_epi64(15, 14, 7, 6, 11, 10, 3, 2);
  const __m512i halvesLo = _mm512_set_epi64(11, 10, 9, 8, 3, 2, 1, 0);
  const __m512i halvesHi = _mm512_set_epi64(15, 14, 13, 12, 7, 6, 5, 4);
  const long w8 = w & ~7L, h8 = h & ~7L;
  for (long ty = 0; ty < h8; ty += kTile) {
    const long tyEnd = std::min(h8, ty + kTile);
    for (long x0 = 0; x0 < w8; x0 += 8)
      for (long y0 = ty; y0 < tyEnd; y0 += 8) {
        __m512i r[8];
        for (int k = 0; k < 8; ++k) {
          const long y = kClockwise ? y0 + 7 - k : y0 + k;
          const __m512i line =
              _mm512_maskz_loadu_epi16(0x00FFFFFF, s + (size_t(y) * size_t(w) + size_t(x0)) * 3);
          r[k] = _mm512_permutexvar_epi16(widenIndex, line);
        }
        __m512i a[8], b[8];
        for (int k = 0; k < 4; ++k) {
          a[2 * k] = _mm512_permutex2var_epi64(r[2 * k], evens, r[2 * k + 1]);
          a[2 * k + 1] = _mm512_permutex2var_epi64(r[2 * k], odds, r[2 * k + 1]);
        }
        // b[0..3]: lines 0-3 of pixels (0,4), (1,5), (2,6), (3,7); b[4..7]
        // the same of lines 4-7.
        for (int half = 0; half < 2; ++half) {
          const __m512i* lo = a + 4 * half;
          b[4 * half + 0] = _mm512_permutex2var_epi64(lo[0], pairsLo, lo[2]);
          b[4 * half + 1] = _mm512_permutex2var_epi64(lo[1], pairsLo, lo[3]);
          b[4 * half + 2] = _mm512_permutex2var_epi64(lo[0], pairsHi, lo[2]);
          b[4 * half + 3] = _mm512_permutex2var_epi64(lo[1], pairsHi, lo[3]);
        }
        for (int m = 0; m < 4; ++m) {
          const __m512i columns[2] = {_mm512_permutex2var_epi64(b[m], halvesLo, b[4 + m]),
                                      _mm512_permutex2var_epi64(b[m], halvesHi, b[4 + m])};
          for (int j = 0; j < 2; ++j) {
            const long x = x0 + m + 4 * j;
            const size_t at = kClockwise ? TurnedIndex<true>(x, y0 + 7, w, h)
                                         : TurnedIndex<false>(x, y0, w, h);
            _mm512_mask_storeu_epi16(d + at * 3, 0x00FFFFFF,
                                     _mm512_permutexvar_epi16(packIndex, columns[j]));
          }
        }
      }
  }
  TurnPixels<3, kClockwise>(s, d, w, h, w8, w, 0, h);
  TurnPixels<3, kClockwise>(s, d, w, h, 0, w8, h8, h);
}
#endif

template <int C, bool kClockwise>
bool Rotate(FrameSize size, ConstSamples16 source, Samples16 dest) {
  if (!Holds(source, size, C) || !Holds(dest, size, C)) return false;
  const size_t n = size.Samples(C);
  if (Overlaps(source.data(), n, dest.data(), n)) return false;
  if constexpr (C == 1) {
    TurnGrey<kClockwise>(source.data(), dest.data(), size.width, size.height);
  } else {
#if defined(__x86_64__)
    if (g_level.Get() >= 2) {
      TurnColourAvx512<kClockwise>(source.data(), dest.data(), size.width, size.height);
      return true;
    }
#endif
    TurnColour<kClockwise>(source.data(), dest.data(), size.width, size.height);
  }
  return true;
}

// --- Stretch --------------------------------------------------------------------

constexpr int kFracBits = 11;
constexpr int32_t kOne = 1 << kFracBits;  // one pixel in steps of 1/2048

// Where each destination pixel samples one axis of the source: the pixel
// `index` and the weight `frac` / 2048 of the pixel after it. Positions beyond
// either end take the edge pixel with weight 0 for its neighbour.
struct AxisMap {
  std::vector<int32_t> index, frac;
};

AxisMap MapAxis(long from, long to) {
  AxisMap m;
  m.index.resize(size_t(to));
  m.frac.resize(size_t(to));
  for (long d = 0; d < to; ++d) {
    // ((d + 0.5) * from / to - 0.5) * 2048, rounded down, in integers.
    const int64_t num = (2 * int64_t(d) + 1) * from * kOne - int64_t(to) * kOne;
    const int64_t den = 2 * int64_t(to);
    int64_t q = num >= 0 ? num / den : -((-num + den - 1) / den);
    if (q < 0) q = 0;
    int64_t i = q >> kFracBits;
    int32_t f = int32_t(q & (kOne - 1));
    if (i >= from - 1) {
      i = from - 1;
      f = 0;
    }
    m.index[size_t(d)] = int32_t(i);
    m.frac[size_t(d)] = f;
  }
  return m;
}

// One source line resized across, in 1/16 steps of a level:
// (a * (2048 - f) + b * f + 64) >> 7. The result stays below 2^20, so the
// pass down in steps of 1/2048 stays inside 31 bits.
template <int C>
void StretchAcross(const uint16_t* s, long from, const AxisMap& xs, long to, int32_t* out) {
  const int32_t* index = xs.index.data();
  const int32_t* frac = xs.frac.data();
  simd::Run(
      g_level,
      [](const uint16_t* s, long from, const int32_t* index, const int32_t* frac, long to,
         int32_t* out) SV_INLINE_BODY {
        for (long x = 0; x < to; ++x) {
          const long i = index[x];
          const long j = i + 1 < from ? i + 1 : i;
          const int32_t f = frac[x];
          for (int c = 0; c < C; ++c) {
            const int32_t a = s[i * C + c], b = s[j * C + c];
            out[x * C + c] = (a * (kOne - f) + b * f + 64) >> 7;
          }
        }
      },
      s, from, index, frac, to, out);
}

// The pass across as 16-sample blocks for AVX-512: each block reads one
// window of 64 source words and picks its pairs (a, b) from it with one word
// permute; the weights (2048 - f, f) go beside them for a multiply-add.
struct AcrossBlocks {
  bool usable = false;
  std::vector<int32_t> base;  // first word of each block's window
  std::vector<int16_t> pick, weight;  // 32 a block
};

// The K samples of block b of a line of n: the words of each pair (a, b),
// the weight of b, and the lowest and highest word they take.
template <int C, int K>
void PlanPairs(long from, const AxisMap& xs, long n, long b, long* ia, long* ib, long* wb,
               long& lo, long& hi) {
  for (int k = 0; k < K; ++k) {
    const long sample = std::min(K * b + k, n - 1);  // the tail repeats the last
    const long x = sample / C, c = sample % C;
    const long i = xs.index[size_t(x)];
    const long j = i + 1 < from ? i + 1 : i;
    ia[k] = i * C + c;
    ib[k] = j * C + c;
    wb[k] = xs.frac[size_t(x)];
    lo = std::min(lo, ia[k]);
    hi = std::max(hi, ib[k]);
  }
}

template <int C>
AcrossBlocks PlanAcross(long from, const AxisMap& xs, long to) {
  AcrossBlocks p;
  const long rowLen = from * C, n = to * C;
  if (rowLen < 64) return p;
  const long blocks = (n + 15) / 16;
  p.base.resize(size_t(blocks));
  p.pick.resize(size_t(blocks) * 32);
  p.weight.resize(size_t(blocks) * 32);
  for (long b = 0; b < blocks; ++b) {
    long ia[16], ib[16], wb[16];
    long lo = rowLen, hi = 0;
    PlanPairs<C, 16>(from, xs, n, b, ia, ib, wb, lo, hi);
    if (hi - lo >= 64) return AcrossBlocks{};  // shrinking too far for one window
    const long base = std::min(lo, rowLen - 64);
    p.base[size_t(b)] = int32_t(base);
    for (int k = 0; k < 16; ++k) {
      p.pick[size_t(32 * b + 2 * k)] = int16_t(ia[k] - base);
      p.pick[size_t(32 * b + 2 * k + 1)] = int16_t(ib[k] - base);
      p.weight[size_t(32 * b + 2 * k)] = int16_t(kOne - wb[k]);
      p.weight[size_t(32 * b + 2 * k + 1)] = int16_t(wb[k]);
    }
  }
  p.usable = true;
  return p;
}

#if defined(__x86_64__)
// The same sums as StretchAcross: with the samples offset by -32768 to fit
// the signed multiply-add, (a - 32768) wa + (b - 32768) wb is the sum less
// 32768 * 2048, added back with the rounding. Writes whole blocks.
__attribute__((target("avx512f,avx512bw,avx512vl,avx512dq"))) void StretchAcrossAvx512(
    const uint16_t* s, const AcrossBlocks& p, int32_t* out) {
  const __m512i flip = _mm512_set1_epi16(int16_t(0x8000));
  const __m512i offset = _mm512_set1_epi32((32768 << kFracBits) + 64);
  const size_t blocks = p.base.size();
  for (size_t b = 0; b < blocks; ++b) {
    const uint16_t* window = s + p.base[b];
    const __m512i lo = _mm512_loadu_si512(window);
    const __m512i hi = _mm512_loadu_si512(window + 32);
    const __m512i pairs = _mm512_xor_si512(
        _mm512_permutex2var_epi16(lo, _mm512_loadu_si512(p.pick.data() + 32 * b), hi), flip);
    const __m512i sum = _mm512_madd_epi16(pairs, _mm512_loadu_si512(p.weight.data() + 32 * b));
    _mm512_storeu_si512(out + 16 * b,
                        _mm512_maskz_srai_epi32(0xFFFF, _mm512_add_epi32(sum, offset), 7));
  }
}
#endif

// The grey pass across for AVX2 when a shrink is too strong for the lane
// windows below: eight samples at a time, each pair (a, b) of adjacent words
// taken by one 32-bit gather; the weights as for AVX-512. A sample at the
// last pixel is taken as the pixel before with all the weight on its
// neighbour, so no gather reads past the line.
struct GatherPlan {
  bool usable = false;
  std::vector<int32_t> at;       // word of a
  std::vector<int32_t> weights;  // (2048 - f) | f << 16
};

GatherPlan PlanGather(long from, const AxisMap& xs, long to) {
  GatherPlan p;
  if (from < 2) return p;
  const long padded = (to + 7) / 8 * 8;
  p.at.resize(size_t(padded));
  p.weights.resize(size_t(padded));
  for (long k = 0; k < padded; ++k) {
    const long x = std::min(k, to - 1);
    long i = xs.index[size_t(x)];
    int32_t f = xs.frac[size_t(x)];
    if (i == from - 1) {
      i = from - 2;
      f = kOne;
    }
    p.at[size_t(k)] = int32_t(i);
    p.weights[size_t(k)] = int32_t(uint32_t(kOne - f) | uint32_t(f) << 16);
  }
  p.usable = true;
  return p;
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void StretchAcrossAvx2(const uint16_t* s, const GatherPlan& p,
                                                        int32_t* out) {
  const __m256i flip = _mm256_set1_epi16(int16_t(0x8000));
  const __m256i offset = _mm256_set1_epi32((32768 << kFracBits) + 64);
  const int* base = reinterpret_cast<const int*>(s);
  for (size_t k = 0; k < p.at.size(); k += 8) {
    const __m256i at = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.at.data() + k));
    const __m256i pairs =
        _mm256_mask_i32gather_epi32(_mm256_setzero_si256(), base, at, _mm256_set1_epi32(-1), 2);
    const __m256i sum = _mm256_madd_epi16(
        _mm256_xor_si256(pairs, flip),
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.weights.data() + k)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k),
                        _mm256_srai_epi32(_mm256_add_epi32(sum, offset), 7));
  }
}
#endif

// The pass across for AVX2: four samples a 128-bit lane, their pairs
// (a, b) picked by byte shuffles from a window of sixteen words, two
// shuffles (one for each half of the window) joined; two lanes a step. The
// weights and sums as for AVX-512.
struct LanePlan {
  bool usable = false;
  std::vector<int32_t> base;    // first word of each lane's window
  std::vector<uint8_t> mask;    // 64 bytes a step: both lanes' picks from the low halves, then the high
  std::vector<int16_t> weight;  // 8 a lane
};

template <int C>
LanePlan PlanLanes(long from, const AxisMap& xs, long to) {
  LanePlan p;
  const long n = to * C, rowLen = from * C;
  if (rowLen < 16) return p;
  const long lanes = (n + 7) / 8 * 2;
  p.base.resize(size_t(lanes));
  p.mask.resize(size_t(lanes) * 32);
  p.weight.resize(size_t(lanes) * 8);
  for (long b = 0; b < lanes; ++b) {
    long ia[4], ib[4], wb[4];
    long lo = rowLen, hi = 0;
    PlanPairs<C, 4>(from, xs, n, b, ia, ib, wb, lo, hi);
    if (hi - lo >= 16) return LanePlan{};  // shrinking too far for one window
    const long base = std::min(lo, rowLen - 16);
    p.base[size_t(b)] = int32_t(base);
    uint8_t* low = p.mask.data() + 64 * (b / 2) + 16 * (b % 2);
    uint8_t* high = low + 32;
    for (int k = 0; k < 4; ++k)
      for (int t = 0; t < 2; ++t) {
        const long w = (t == 0 ? ia[k] : ib[k]) - base;
        const int at = 2 * (2 * k + t);
        for (int e = 0; e < 2; ++e) {
          low[at + e] = w < 8 ? uint8_t(2 * w + e) : 0x80;
          high[at + e] = w >= 8 ? uint8_t(2 * (w - 8) + e) : 0x80;
        }
      }
    for (int k = 0; k < 4; ++k) {
      p.weight[size_t(8 * b + 2 * k)] = int16_t(kOne - wb[k]);
      p.weight[size_t(8 * b + 2 * k + 1)] = int16_t(wb[k]);
    }
  }
  p.usable = true;
  return p;
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void StretchAcrossLanes(const uint16_t* s, const LanePlan& p,
                                                         int32_t* out) {
  const __m256i flip = _mm256_set1_epi16(int16_t(0x8000));
  const __m256i offset = _mm256_set1_epi32((32768 << kFracBits) + 64);
  const size_t lanes = p.base.size();
  for (size_t b = 0; b < lanes; b += 2) {
    const uint16_t* w0 = s + p.base[b];
    const uint16_t* w1 = s + p.base[b + 1];
    const __m256i low = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(w1),
                                            reinterpret_cast<const __m128i*>(w0));
    const __m256i high = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(w1 + 8),
                                             reinterpret_cast<const __m128i*>(w0 + 8));
    const uint8_t* m = p.mask.data() + 32 * b;
    const __m256i pairs = _mm256_or_si256(
        _mm256_shuffle_epi8(low, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m))),
        _mm256_shuffle_epi8(high, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(m + 32))));
    const __m256i sum = _mm256_madd_epi16(
        _mm256_xor_si256(pairs, flip),
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p.weight.data() + 8 * b)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * b),
                        _mm256_srai_epi32(_mm256_add_epi32(sum, offset), 7));
  }
}
#endif

void StretchDown(const int32_t* upper, const int32_t* lower, int32_t g, uint16_t* d, long n) {
  simd::Run(
      g_level,
      [](const int32_t* upper, const int32_t* lower, int32_t g, uint16_t* d, long n)
          SV_INLINE_BODY {
            const int32_t ga = kOne - g;
            for (long k = 0; k < n; ++k)
              d[k] = uint16_t((upper[k] * ga + lower[k] * g + (1 << 14)) >> 15);
          },
      upper, lower, g, d, n);
}

template <int C>
bool Stretch(FrameSize from, ConstSamples16 source, FrameSize to, Samples16 dest) {
  if (!Holds(source, from, C) || !Holds(dest, to, C)) return false;
  if (Overlaps(source.data(), from.Samples(C), dest.data(), to.Samples(C))) return false;
  const AxisMap xs = MapAxis(from.width, to.width);
  const AxisMap ys = MapAxis(from.height, to.height);
  AcrossBlocks blocks;
  GatherPlan gathers;
#if defined(__x86_64__)
  if (g_level.Get() >= 2) blocks = PlanAcross<C>(from.width, xs, to.width);
  if (g_level.Get() == 1 && C == 1) gathers = PlanGather(from.width, xs, to.width);
  LanePlan lanes;
  if (g_level.Get() == 1) lanes = PlanLanes<C>(from.width, xs, to.width);
#endif
  const size_t line = size_t(to.width) * C;
  const size_t stride = line + 16;  // whole blocks may run on past the line
  // Two source lines resized across, kept while the destination lines use them.
  std::vector<int32_t> rows(2 * stride);
  long held[2] = {-1, -1};
  auto across = [&](long y) -> const int32_t* {
    for (int k = 0; k < 2; ++k)
      if (held[k] == y) return rows.data() + size_t(k) * stride;
    // Replace the line that is not the other one asked for now.
    const int k = held[0] < held[1] ? 0 : 1;
    held[k] = y;
    int32_t* r = rows.data() + size_t(k) * stride;
    const uint16_t* s = source.data() + size_t(y) * size_t(from.width) * C;
#if defined(__x86_64__)
    if (blocks.usable) {
      StretchAcrossAvx512(s, blocks, r);
      return r;
    }
    if (lanes.usable) {
      StretchAcrossLanes(s, lanes, r);
      return r;
    }
    if (gathers.usable) {
      StretchAcrossAvx2(s, gathers, r);
      return r;
    }
#endif
    StretchAcross<C>(s, from.width, xs, to.width, r);
    return r;
  };
  for (long y = 0; y < to.height; ++y) {
    const long i = ys.index[size_t(y)];
    const long j = i + 1 < from.height ? i + 1 : i;
    const int32_t* upper = across(i);
    const int32_t* lower = across(j);
    StretchDown(upper, lower, ys.frac[size_t(y)], dest.data() + size_t(y) * line, long(line));
  }
  return true;
}

// --- Fields ---------------------------------------------------------------------

template <int C>
bool ExtractField(FrameSize size, ConstSamples16 source, int field, Samples16 dest) {
  const FrameSize out = FieldSize(size, field);
  if (!out.Valid() || !Holds(source, size, C) || !Holds(dest, out, C)) return false;
  // In place the lines move towards the top, each to a place already read.
  if (source.data() != dest.data() &&
      Overlaps(source.data(), size.Samples(C), dest.data(), out.Samples(C)))
    return false;
  const size_t line = size_t(size.width) * C;
  for (long k = 0; k < out.height; ++k) {
    const uint16_t* s = source.data() + size_t(2 * k + field - 1) * line;
    uint16_t* d = dest.data() + size_t(k) * line;
    if (s != d) std::memmove(d, s, line * 2);
  }
  return true;
}

}  // namespace

bool SV_flip(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Flip<1>(size, source, dest);
}
bool SV_RGB_flip(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Flip<3>(size, source, dest);
}
bool SV_mirror(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Mirror<1>(size, source, dest);
}
bool SV_RGB_mirror(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Mirror<3>(size, source, dest);
}
bool SV_Rotate90(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Rotate<1, true>(size, source, dest);
}
bool SV_Rotate270(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Rotate<1, false>(size, source, dest);
}
bool SV_RGB_Rotate90(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Rotate<3, true>(size, source, dest);
}
bool SV_RGB_Rotate270(FrameSize size, ConstSamples16 source, Samples16 dest) {
  return Rotate<3, false>(size, source, dest);
}
bool SV_stretch(FrameSize from, ConstSamples16 source, FrameSize to, Samples16 dest) {
  return Stretch<1>(from, source, to, dest);
}
bool SV_RGB_stretch(FrameSize from, ConstSamples16 source, FrameSize to, Samples16 dest) {
  return Stretch<3>(from, source, to, dest);
}
bool SV_extract_field(FrameSize size, ConstSamples16 source, int field, Samples16 dest) {
  return ExtractField<1>(size, source, field, dest);
}
bool SV_RGB_extract_field(FrameSize size, ConstSamples16 source, int field, Samples16 dest) {
  return ExtractField<3>(size, source, field, dest);
}

int SV_set_geometry_isa(int level) { return g_level.Set(level); }

}  // namespace sv
