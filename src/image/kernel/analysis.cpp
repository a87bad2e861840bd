#include "image/kernel/analysis.h"
#include "image/kernel/analysis_colour.h"
#include "image/kernel/cpu_paths.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>


namespace sv {

namespace {

using u128 = unsigned __int128;

// No frame comes near this; it keeps every product below in range.
constexpr long kMaxCoordinate = 1L << 28;

bool CoordinateOk(long v) { return v >= -kMaxCoordinate && v <= kMaxCoordinate; }

bool RectOk(const WindowRect& r) {
  return CoordinateOk(r.X1) && CoordinateOk(r.Y1) && CoordinateOk(r.X2) && CoordinateOk(r.Y2) &&
         r.Shape >= kShapeRectangle && r.Shape <= kShapeCircle;
}

bool LevelsOk(long levels) { return levels >= 1 && levels <= 65536; }

uint64_t ISqrt(uint64_t q) {
  uint64_t r = uint64_t(std::sqrt(double(q)));
  while (r > 0 && r * r > q) --r;
  while ((r + 1) * (r + 1) <= q) ++r;
  return r;
}

// The part of a window's rectangle inside the frame.
struct Clip {
  long x1 = 0, y1 = 0, x2 = -1, y2 = -1;
  bool Empty() const { return x1 > x2 || y1 > y2; }
  long Width() const { return x2 - x1 + 1; }
};

Clip ClipOf(const WindowRect& r, FrameSize size) {
  Clip c;
  if (r.Width() == 0 || r.Height() == 0) return c;
  c.x1 = std::max(r.X1, 0L);
  c.y1 = std::max(r.Y1, 0L);
  c.x2 = std::min(r.X2, size.width - 1);
  c.y2 = std::min(r.Y2, size.height - 1);
  return c;
}

// The columns of each row of a window that belong to its shape.
class ShapeRows {
 public:
  explicit ShapeRows(const WindowRect& r) : w_(r.Width()), h_(r.Height()) {
    if (r.Shape == kShapeEllipse) {
      // Pixel centres, doubled to stay on integers: di = 2i - (W - 1),
      // dj = 2j - (H - 1); inside when di^2 H^2 + dj^2 W^2 <= W^2 H^2.
      round_ = true;
      a_ = u128(h_) * u128(h_);
      b_ = u128(w_) * u128(w_);
      c_ = a_ * b_;
    } else if (r.Shape == kShapeCircle) {
      // Diameter the smaller side: di^2 + dj^2 <= D^2.
      round_ = true;
      const long d = std::min(w_, h_);
      a_ = b_ = 1;
      c_ = u128(d) * u128(d);
    }
  }

  bool Round() const { return round_; }

  // Columns lo..hi (local, inclusive) of local row j; lo > hi when empty.
  void Row(long j, long& lo, long& hi) const {
    lo = 0;
    hi = w_ - 1;
    if (!round_) return;
    const long dj = 2 * j - (h_ - 1);
    const u128 dj2 = u128(uint64_t(dj < 0 ? -dj : dj)) * u128(uint64_t(dj < 0 ? -dj : dj));
    const u128 used = dj2 * b_;
    if (used > c_) {
      lo = 1;
      hi = 0;
      return;
    }
    long m = long(ISqrt(uint64_t((c_ - used) / a_)));
    if (((m ^ (w_ - 1)) & 1) != 0) --m;  // di has the parity of W - 1
    if (m < 0) {
      lo = 1;
      hi = 0;
      return;
    }
    m = std::min(m, w_ - 1);
    lo = (w_ - 1 - m) / 2;
    hi = (w_ - 1 + m) / 2;
  }

 private:
  long w_, h_;
  bool round_ = false;
  u128 a_ = 0, b_ = 0, c_ = 0;
};

struct Tally {
  uint64_t sum = 0, back = 0;
  uint64_t area = 0, backArea = 0;
  uint32_t max = 0;
  long maxX = -1, maxY = -1;
};

// --- Instruction sets ------------------------------------------------------
//
// The hot loops are lambdas inlined into a plain, an AVX2 and an AVX-512
// function, so the compiler vectorises the same source for each; integer
// loops give the same results on every path. Arguments come by value: a limit captured by reference
// might, for all the compiler knows, change under the loop's stores.

#define SV_ANALYSIS_BODY __attribute__((always_inline))

std::atomic<int> gIsa{-1};

int BestIsa() {
#if defined(__x86_64__) || defined(__i386__)
  static const int best = [] {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl"))
      return 2;
    return __builtin_cpu_supports("avx2") ? 1 : 0;
  }();
  return best;
#else
  return 0;
#endif
}

#if defined(__x86_64__) || defined(__i386__)
template <class F, class... A>
__attribute__((target("avx2"))) void RunAvx2(F& f, A... args) {
  f(args...);
}
template <class F, class... A>
__attribute__((target("avx512f,avx512bw,avx512vl,avx2" SV_PREFER_512))) void RunAvx512(
    F& f, A... args) {
  f(args...);
}
#endif

int CurrentIsa() {
  const int isa = gIsa.load(std::memory_order_relaxed);
  return isa < 0 ? BestIsa() : isa;
}

// Runs f on the chosen level, at most kMost.
template <int kMost = 2, class F, class... A>
void Run(F& f, A... args) {
#if defined(__x86_64__) || defined(__i386__)
  switch (std::min(CurrentIsa(), kMost)) {
    case 2:
      RunAvx512(f, args...);
      return;
    case 1:
      RunAvx2(f, args...);
      return;
    default:
      break;
  }
#endif
  f(args...);
}

// Samples p[0], p[S], ... p[(n-1) S] of the shape, the first at (x0, y).
template <typename T, int S>
void ShapeSegment(const T* __restrict p, long n, long x0, long y, Tally& t) {
  if (n <= 0) return;
  // 16-bit samples sum in 32-bit lanes, a chunk at a time.
  using Acc = std::conditional_t<sizeof(T) == 2, uint32_t, uint64_t>;
  constexpr long kChunk = sizeof(T) == 2 ? 65536 : LONG_MAX;
  static auto body = [](const T* __restrict q, long m, Acc* sum, T* most) SV_ANALYSIS_BODY {
    Acc s = 0;
    T cm = 0;
    for (long i = 0; i < m; ++i) {
      const T v = q[i * S];
      s += v;
      cm = v > cm ? v : cm;
    }
    *sum = s;
    *most = cm;
  };
  T mx = 0;
  for (long done = 0; done < n;) {
    const long m = std::min(n - done, kChunk);
    Acc s;
    T cm;
    Run(body, p + done * S, m, &s, &cm);
    t.sum += s;
    mx = cm > mx ? cm : mx;
    done += m;
  }
  t.area += uint64_t(n);
  if (t.maxX < 0 || mx > t.max) {
    long i = 0;
    while (p[i * S] != mx) ++i;
    t.max = mx;
    t.maxX = x0 + i;
    t.maxY = y;
  }
}

// A rectangle of `count` rows of n samples, `step` elements from row to row,
// the first at (x0, y0): as ShapeSegment on each row in turn, with the rows
// inside one call of the chosen instruction set.
template <typename T, int S>
void ShapeRect(const T* p, size_t step, long n, long count, long x0, long y0, Tally& t) {
  if (n <= 0 || count <= 0) return;
  using Acc = std::conditional_t<sizeof(T) == 2, uint32_t, uint64_t>;
  static auto body = [](const T* __restrict q, size_t qstep, long m, long rows, uint64_t* sum,
                        T* best, long* bestRow) SV_ANALYSIS_BODY {
    uint64_t total = 0;
    T top = 0;
    long at = 0;
    for (long r = 0; r < rows; ++r, q += qstep) {
      Acc s = 0;
      T cm = 0;
      for (long i = 0; i < m; ++i) {
        const T v = q[i * S];
        s += v;
        cm = v > cm ? v : cm;
      }
      total += s;
      if (r == 0 || cm > top) {
        top = cm;
        at = r;
      }
    }
    *sum = total;
    *best = top;
    *bestRow = at;
  };
  uint64_t sum;
  T mx;
  long row;
  Run(body, p, step, n, count, &sum, &mx, &row);
  t.sum += sum;
  t.area += uint64_t(n) * uint64_t(count);
  if (t.maxX < 0 || mx > t.max) {
    const T* q = p + size_t(row) * step;
    long i = 0;
    while (q[i * S] != mx) ++i;
    t.max = mx;
    t.maxX = x0 + i;
    t.maxY = y0 + row;
  }
}

template <typename T, int S>
void BackSegment(const T* __restrict p, long n, Tally& t) {
  if (n <= 0) return;
  uint64_t s = 0;
  for (long i = 0; i < n; ++i) s += p[i * S];
  t.back += s;
  t.backArea += uint64_t(n);
}

// Runs over the clipped window; at(x, y) points at the sample of frame pixel
// (x, y), the next pixel S elements on.
template <typename T, int S, typename At>
Tally Evaluate(const WindowRect& r, const Clip& c, At at) {
  Tally t;
  if (c.Empty()) return t;
  const ShapeRows rows(r);
  const long n = c.Width();
  // Rows short enough that a 16-bit row sums in 32 bits: the rectangle in one
  // pass, then its one-pixel border.
  if (!rows.Round() && n <= 65536) {
    const T* p = at(c.x1, c.y1);
    const long count = c.y2 - c.y1 + 1;
    const size_t step = count > 1 ? size_t(at(c.x1, c.y1 + 1) - p) : 0;
    ShapeRect<T, S>(p, step, n, count, c.x1, c.y1, t);
    for (long k = 0; k < count; ++k) {
      const T* q = p + size_t(k) * step;
      if (k == 0 || k == count - 1) {
        BackSegment<T, S>(q, n, t);
      } else {
        BackSegment<T, S>(q, 1, t);
        if (n > 1) BackSegment<T, S>(q + (n - 1) * S, 1, t);
      }
    }
    return t;
  }
  for (long y = c.y1; y <= c.y2; ++y) {
    const T* p = at(c.x1, y);
    if (!rows.Round()) {
      ShapeSegment<T, S>(p, n, c.x1, y, t);
      if (y == c.y1 || y == c.y2) {
        BackSegment<T, S>(p, n, t);
      } else {
        BackSegment<T, S>(p, 1, t);
        if (n > 1) BackSegment<T, S>(p + (n - 1) * S, 1, t);
      }
      continue;
    }
    long lo, hi;
    rows.Row(y - r.Y1, lo, hi);
    if (lo > hi) {
      BackSegment<T, S>(p, n, t);
      continue;
    }
    const long sx1 = r.X1 + lo, sx2 = r.X1 + hi;
    const long a = std::max(sx1, c.x1), b = std::min(sx2, c.x2);
    if (a <= b) ShapeSegment<T, S>(p + (a - c.x1) * S, b - a + 1, a, y, t);
    const long leftEnd = std::min(sx1 - 1, c.x2);
    BackSegment<T, S>(p, leftEnd - c.x1 + 1, t);
    const long rightStart = std::max(sx2 + 1, c.x1);
    BackSegment<T, S>(p + (rightStart - c.x1) * S, c.x2 - rightStart + 1, t);
  }
  return t;
}

int32_t Clamp32(uint64_t v) { return v > uint64_t(INT32_MAX) ? INT32_MAX : int32_t(v); }

AnalysisResult ResultOf(const Tally& t, uint64_t dynamic) {
  AnalysisResult res;
  res.Area = Clamp32(t.area);
  res.BackArea = Clamp32(t.backArea);
  if (t.area > 0) {
    res.I.total = float(double(t.sum) / double(t.area));
    res.I.max = float(t.max);
    res.X.max = int32_t(t.maxX);
    res.Y.max = int32_t(t.maxY);
  }
  if (t.backArea > 0) res.I.back = float(double(t.back) / double(t.backArea));
  res.Dynamic = Clamp32(dynamic);
  return res;
}

// --- Window accumulation ---------------------------------------------------


// Rows of a window into its C planes: starts a sum or adds to it. The rows
// run inside one call of the chosen instruction set, so a small window pays
// for the choice once, not once a row.
template <int C, bool kStart>
void AccumulateRows(const uint16_t* s, size_t sourceStride, uint32_t* const* d, size_t stride,
                    long n, long rows) {
  if constexpr (C == 1) {
    static auto body = [](const uint16_t* __restrict src, size_t sstep, uint32_t* __restrict d0,
                          size_t dstep, long m, long count) SV_ANALYSIS_BODY {
      for (long r = 0; r < count; ++r, src += sstep, d0 += dstep)
        for (long i = 0; i < m; ++i) {
          if constexpr (kStart) d0[i] = src[i];
          else d0[i] += src[i];
        }
    };
    Run(body, s, sourceStride, d[0], stride, n, rows);
  } else {
    static auto body = [](const uint16_t* __restrict src, size_t sstep, uint32_t* __restrict d0,
                          uint32_t* __restrict d1, uint32_t* __restrict d2, size_t dstep, long m,
                          long count) SV_ANALYSIS_BODY {
      for (long r = 0; r < count; ++r, src += sstep, d0 += dstep, d1 += dstep, d2 += dstep)
        for (long i = 0; i < m; ++i) {
          if constexpr (kStart) {
            d0[i] = src[3 * i];
            d1[i] = src[3 * i + 1];
            d2[i] = src[3 * i + 2];
          } else {
            d0[i] += src[3 * i];
            d1[i] += src[3 * i + 1];
            d2[i] += src[3 * i + 2];
          }
        }
    };
#if defined(__x86_64__)
    // Whole blocks of 16 or 8 pixels by byte shuffles (word permutes across
    // 512 bits are slower), the rest of each row plainly.
    const int isa = CurrentIsa();
    if (isa >= 1) {
      const long block = isa >= 2 ? 16 : 8, done = n / block * block;
      (isa >= 2 ? analysis_colour::SumAvx512<kStart> : analysis_colour::SumAvx2<kStart>)(
          s, sourceStride, d[0], d[1], d[2], stride, n, rows);
      if (done < n)
        Run<0>(body, s + 3 * done, sourceStride, d[0] + done, d[1] + done, d[2] + done, stride,
               n - done, rows);
      return;
    }
#endif
    Run<0>(body, s, sourceStride, d[0], d[1], d[2], stride, n, rows);
  }
}

template <int C>
bool ScanFrame(WindowAccumulator& w, FrameSize size, ConstSamples16 image, long frame) {
  if (!Holds(image, size, C) || frame < 0 || !RectOk(w.Rect)) return false;
  const size_t pixels = w.Rect.Pixels();
  if (w.Buffer.size() < pixels * C) return false;
  const bool start = frame == 0 || w.Frames <= 0;
  if (!start && (size.width != w.Frame.width || size.height != w.Frame.height)) return false;

  const Clip c = ClipOf(w.Rect, size);
  const long W = w.Rect.Width();
  if (start && (c.Empty() || c.x1 != w.Rect.X1 || c.x2 != w.Rect.X2 || c.y1 != w.Rect.Y1 ||
                c.y2 != w.Rect.Y2))
    std::fill_n(w.Buffer.data(), pixels * C, 0u);
  if (!c.Empty()) {
    const long n = c.Width();
    const uint16_t* s = image.data() + (size_t(c.y1) * size_t(size.width) + size_t(c.x1)) * C;
    uint32_t* d[C];
    const size_t at = size_t(c.y1 - w.Rect.Y1) * size_t(W) + size_t(c.x1 - w.Rect.X1);
    for (int k = 0; k < C; ++k) d[k] = w.Buffer.data() + size_t(k) * pixels + at;
    const size_t sourceStride = size_t(size.width) * C;
    const long rows = c.y2 - c.y1 + 1;
    if (start) AccumulateRows<C, true>(s, sourceStride, d, size_t(W), n, rows);
    else AccumulateRows<C, false>(s, sourceStride, d, size_t(W), n, rows);
  }
  w.Frames = start ? 1 : w.Frames + 1;
  w.Frame = size;
  return true;
}

template <int C>
bool FrameAnalysis(const WindowAccumulator& w, long levels, AnalysisResult* results) {
  if (!LevelsOk(levels) || w.Frames <= 0 || !RectOk(w.Rect) || !w.Frame.Valid()) return false;
  const size_t pixels = w.Rect.Pixels();
  if (w.Buffer.size() < pixels * C) return false;
  const Clip c = ClipOf(w.Rect, w.Frame);
  const long W = w.Rect.Width();
  AnalysisResult out[C];
  for (int k = 0; k < C; ++k) {
    const uint32_t* plane = w.Buffer.data() + size_t(k) * pixels;
    const Tally t = Evaluate<uint32_t, 1>(w.Rect, c, [&](long x, long y) {
      return plane + size_t(y - w.Rect.Y1) * size_t(W) + size_t(x - w.Rect.X1);
    });
    out[k] = ResultOf(t, uint64_t(w.Frames) * uint64_t(levels));
  }
  std::copy(out, out + C, results);
  return true;
}

template <int C>
bool RectAnalysis(const WindowRect& r, FrameSize size, ConstSamples16 image, long levels,
                  AnalysisResult* results) {
  if (!Holds(image, size, C) || !RectOk(r) || !LevelsOk(levels)) return false;
  const Clip c = ClipOf(r, size);
  AnalysisResult out[C];
  for (int k = 0; k < C; ++k) {
    const Tally t = Evaluate<uint16_t, C>(r, c, [&](long x, long y) {
      return image.data() + (size_t(y) * size_t(size.width) + size_t(x)) * C + size_t(k);
    });
    out[k] = ResultOf(t, uint64_t(levels));
  }
  std::copy(out, out + C, results);
  return true;
}

// --- Lines -----------------------------------------------------------------

// a / n rounded to nearest, halves away from zero; n > 0.
long RoundDiv(long a, long n) { return a >= 0 ? (2 * a + n) / (2 * n) : -((-2 * a + n) / (2 * n)); }

bool Inside(long x, long y, FrameSize size) {
  return x >= 0 && y >= 0 && x < size.width && y < size.height;
}

// The place along one axis of point i of a line: RoundDiv(i * d, n) kept by
// steps, without a division a point. n is the line's step count.
struct AxisStepper {
  long q = 0, r = 0, inc = 0, twoN = 0;
  AxisStepper(long d, long n) : r(n), inc(2 * std::labs(d)), twoN(2 * n) {}
  // |d| <= n, so one step never carries more than one.
  void Step() {
    r += inc;
    if (r >= twoN) {
      r -= twoN;
      ++q;
    }
  }
};

// Points of a grey line lying on one pixel row, T pixels across: point m
// takes s[D m + off[k]] for every k. The mean (2 sum + T) / 2T is a
// division by a constant, which the compiler turns into a vector multiply.
template <long T, long D>
void RowRun(const uint16_t* s, const ptrdiff_t* offsets, uint32_t* cells, long n, bool start) {
  static auto body = [](const uint16_t* q, const ptrdiff_t* o, uint32_t* __restrict out, long m,
                        bool first) SV_ANALYSIS_BODY {
    ptrdiff_t off[T];
    for (long k = 0; k < T; ++k) off[k] = o[k];
    if (first) {
      for (long i = 0; i < m; ++i) {
        uint32_t sum = 0;
        for (long k = 0; k < T; ++k) sum += q[D * i + off[k]];
        out[i] = (2 * sum + uint32_t(T)) / uint32_t(2 * T);
      }
    } else {
      for (long i = 0; i < m; ++i) {
        uint32_t sum = 0;
        for (long k = 0; k < T; ++k) sum += q[D * i + off[k]];
        out[i] += (2 * sum + uint32_t(T)) / uint32_t(2 * T);
      }
    }
  };
  Run(body, s, offsets, cells, n, start);
}

template <int C>
long ScanLine(LineAccumulator& line, FrameSize size, ConstSamples16 image, long frame) {
  if (!Holds(image, size, C) || frame < 0) return -1;
  if (!Inside(line.X1, line.Y1, size) || !Inside(line.X2, line.Y2, size)) return -1;
  if (line.Thickness < 1 || line.Thickness % 2 == 0) return -1;
  const long points = line.Points();
  if (line.Buffer.size() < size_t(points) * C) return -1;
  const bool start = frame == 0 || line.Frames <= 0;

  const long dx = line.X2 - line.X1, dy = line.Y2 - line.Y1;
  const long steps = points - 1;
  // The perpendicular (-dy, dx), walked one pixel a step along its longer axis.
  const long half = line.Thickness / 2;
  const long t = line.Thickness;
  constexpr long kOnStack = 32;
  long oxStack[kOnStack], oyStack[kOnStack];
  std::vector<long> oxHeap, oyHeap;
  long* ox = oxStack;
  long* oy = oyStack;
  if (t > kOnStack) {
    oxHeap.resize(size_t(t));
    oyHeap.resize(size_t(t));
    ox = oxHeap.data();
    oy = oyHeap.data();
  }
  long minOx = 0, maxOx = 0, minOy = 0, maxOy = 0;
  for (long k = -half; k <= half; ++k) {
    const long a = steps == 0 ? 0 : RoundDiv(-k * dy, steps);
    const long b = steps == 0 ? k : RoundDiv(k * dx, steps);
    ox[k + half] = a;
    oy[k + half] = b;
    minOx = std::min(minOx, a);
    maxOx = std::max(maxOx, a);
    minOy = std::min(minOy, b);
    maxOy = std::max(maxOy, b);
  }
  const long w = size.width, h = size.height;
  // Every point lies in the box of the ends: when the box widened by the
  // pixels across stays in the frame, no pixel needs holding at an edge.
  const bool within = std::min(line.X1, line.X2) + minOx >= 0 &&
                      std::max(line.X1, line.X2) + maxOx < w &&
                      std::min(line.Y1, line.Y2) + minOy >= 0 &&
                      std::max(line.Y1, line.Y2) + maxOy < h;
  std::vector<ptrdiff_t> offHeap;
  ptrdiff_t offStack[kOnStack];
  ptrdiff_t* off = offStack;
  if (t > kOnStack) {
    offHeap.resize(size_t(t));
    off = offHeap.data();
  }
  for (long k = 0; k < t; ++k) off[k] = (ptrdiff_t(oy[k]) * w + ox[k]) * C;
  // The rounded mean (2 sum + t) / 2t through a multiply: exact while
  // (2 sum + t) * 2t stays below 2^40, which holds for t below 2048.
  const uint64_t twoT = 2 * uint64_t(t);
  const bool multiply = t < 2048;
  const uint64_t reciprocal = (uint64_t(1) << 40) / twoT + 1;
  auto mean = [&](uint64_t sum) {
    const uint64_t x = 2 * sum + uint64_t(t);
    return uint32_t(multiply ? (x * reciprocal) >> 40 : x / twoT);
  };
  const long sx = dx < 0 ? -1 : 1, sy = dy < 0 ? -1 : 1;
  const uint16_t* pixels = image.data();
  uint32_t* cells = line.Buffer.data();
  // The walk along the line; T is the thickness when the compiler may know
  // it (0: only at run time).
  auto walk = [&]<long T>() {
    const long across = T > 0 ? T : t;
    // A grey line nearer the horizontal, held inside: the points go along
    // pixel rows in runs, each run a vector loop.
    if constexpr (C == 1 && T > 0) {
      if (within && steps > 0 && std::labs(dx) == steps) {
        AxisStepper ay(dy, steps);
        for (long i = 0; i < points;) {
          const long q = ay.q, first = i;
          while (i < points && ay.q == q) {
            ++i;
            ay.Step();
          }
          const uint16_t* s =
              pixels + size_t(line.Y1 + sy * q) * size_t(w) + size_t(line.X1 + sx * first);
          if (sx > 0)
            RowRun<T, 1>(s, off, cells + first, i - first, start);
          else
            RowRun<T, -1>(s, off, cells + first, i - first, start);
        }
        return;
      }
    }
    AxisStepper ax(dx, steps), ay(dy, steps);
    for (long i = 0; i < points; ++i) {
      const long px = line.X1 + sx * ax.q, py = line.Y1 + sy * ay.q;
      uint64_t sum[C] = {};
      if (within) {
        const uint16_t* s = pixels + (size_t(py) * size_t(w) + size_t(px)) * C;
        for (long k = 0; k < across; ++k)
          for (int c = 0; c < C; ++c) sum[c] += s[off[k] + c];
      } else {
        for (long k = 0; k < across; ++k) {
          const long x = std::clamp(px + ox[k], 0L, w - 1);
          const long y = std::clamp(py + oy[k], 0L, h - 1);
          const uint16_t* s = pixels + (size_t(y) * size_t(w) + size_t(x)) * C;
          for (int c = 0; c < C; ++c) sum[c] += s[c];
        }
      }
      for (int c = 0; c < C; ++c) {
        // t is odd, so the mean never ends in a half.
        uint32_t& cell = cells[size_t(c) * size_t(points) + size_t(i)];
        cell = start ? mean(sum[c]) : cell + mean(sum[c]);
      }
      ax.Step();
      ay.Step();
    }
  };
  switch (t) {
    case 1: walk.template operator()<1>(); break;
    case 3: walk.template operator()<3>(); break;
    case 5: walk.template operator()<5>(); break;
    default: walk.template operator()<0>(); break;
  }
  line.Length = points;
  line.Frames = start ? 1 : line.Frames + 1;
  return points;
}

template <int C>
bool LineAnalysis(const LineAccumulator& line, std::span<float> profile, LineResult* results) {
  const long n = line.Length;
  if (line.Frames <= 0 || n <= 0) return false;
  if (line.Buffer.size() < size_t(n) * C || profile.size() < size_t(n) * C) return false;
  const double frames = double(line.Frames);
  // A power of two of frames divides exactly by a multiply.
  const bool power = (line.Frames & (line.Frames - 1)) == 0;
  const double inverse = 1.0 / frames;
  for (int c = 0; c < C; ++c) {
    LineResult r;
    r.Length = n;
    r.Frames = line.Frames;
    const uint32_t* sums = line.Buffer.data() + size_t(c) * size_t(n);
    float* out = profile.data() + size_t(c) * size_t(n);
    uint32_t low = sums[0], high = sums[0];
    uint64_t whole = 0;
    if (power) {
      // Over a power of two the float of the sum scales exactly.
      static auto scale = [](const uint32_t* __restrict in, float* __restrict to, long m, float by,
                             uint32_t* lo, uint32_t* hi, uint64_t* all) SV_ANALYSIS_BODY {
        uint32_t l = *lo, h = *hi;
        uint64_t a = 0;
        for (long i = 0; i < m; ++i) {
          to[i] = float(in[i]) * by;
          l = std::min(l, in[i]);
          h = std::max(h, in[i]);
          a += in[i];
        }
        *lo = l;
        *hi = h;
        *all = a;
      };
      Run(scale, sums, out, n, float(inverse), &low, &high, &whole);
    } else {
      for (long i = 0; i < n; ++i) {
        out[i] = float(double(sums[i]) / frames);
        low = std::min(low, sums[i]);
        high = std::max(high, sums[i]);
      }
    }
    // The value follows the sum monotonically: the extremes are those of
    // the sums, the first point at the top is where the maximum lies.
    r.Min = float(double(low) / frames);
    r.Max = float(double(high) / frames);
    r.MaxIndex = long(std::find(out, out + n, r.Max) - out);
    // The mean of the values as floats, summed in order. Values of sums
    // below 2^24 over a power of two are exact, and so is every partial
    // sum: the total is then the whole sum over the frames.
    double total = 0;
    if (power && high < (uint32_t(1) << 24)) {
      total = double(whole) * inverse;
    } else {
      for (long i = 0; i < n; ++i) total += out[i];
    }
    r.Mean = float(total / double(n));
    if (LinePoints(line.X1, line.Y1, line.X2, line.Y2) == n) {
      const LinePoint p = LinePointAt(line.X1, line.Y1, line.X2, line.Y2, r.MaxIndex);
      r.MaxX = p.x;
      r.MaxY = p.y;
    }
    results[c] = r;
  }
  return true;
}

// --- Histograms ------------------------------------------------------------

// Counts every S-th sample from p (n of them) into counts[0..bins-1].
template <int S>
void CountLevels(const uint16_t* __restrict p, size_t n, uint32_t* __restrict counts, size_t bins) {
  if (bins >= 65536) {
    for (size_t i = 0; i < n; ++i) ++counts[p[i * S]];
  } else {
    const uint16_t top = uint16_t(bins - 1);
    for (size_t i = 0; i < n; ++i) {
      const uint16_t v = p[i * S];
      ++counts[v < top ? v : top];
    }
  }
}

// --- Colour counts ---------------------------------------------------------

long CountBits(const std::vector<uint64_t>& bits) {
  long n = 0;
  for (uint64_t b : bits) n += __builtin_popcountll(b);
  return n;
}

}  // namespace

int SV_set_analysis_isa(int level) {
  const int best = BestIsa();
  gIsa.store(level < 0 || level > best ? -1 : level, std::memory_order_relaxed);
  return level < 0 || level > best ? best : level;
}

// --- Windows -----------------------------------------------------------------

bool SV_scan_frame16(WindowAccumulator& window, FrameSize size, ConstSamples16 image, long frame) {
  return ScanFrame<1>(window, size, image, frame);
}

bool SV_RGB_scan_frame16(WindowAccumulator& window, FrameSize size, ConstSamples16 image,
                         long frame) {
  return ScanFrame<3>(window, size, image, frame);
}

bool SV_frame_analysis(const WindowAccumulator& window, long levels, AnalysisResult& result) {
  return FrameAnalysis<1>(window, levels, &result);
}

bool SV_RGB_frame_analysis(const WindowAccumulator& window, long levels,
                           RGBAnalysisResult& result) {
  return FrameAnalysis<3>(window, levels, result.data());
}

bool SV_rect16_analysis(const WindowRect& rect, FrameSize size, ConstSamples16 image, long levels,
                        AnalysisResult& result) {
  return RectAnalysis<1>(rect, size, image, levels, &result);
}

bool SV_RGB_rect16_analysis(const WindowRect& rect, FrameSize size, ConstSamples16 image,
                            long levels, RGBAnalysisResult& result) {
  return RectAnalysis<3>(rect, size, image, levels, result.data());
}

// --- Lines -------------------------------------------------------------------

long LinePoints(long x1, long y1, long x2, long y2) {
  return std::max(std::labs(x2 - x1), std::labs(y2 - y1)) + 1;
}

LinePoint LinePointAt(long x1, long y1, long x2, long y2, long i) {
  const long steps = LinePoints(x1, y1, x2, y2) - 1;
  if (steps == 0) return {x1, y1};
  return {x1 + RoundDiv(i * (x2 - x1), steps), y1 + RoundDiv(i * (y2 - y1), steps)};
}

long LineAccumulator::Points() const { return LinePoints(X1, Y1, X2, Y2); }

long SV_scan_line16(LineAccumulator& line, FrameSize size, ConstSamples16 image, long frame) {
  return ScanLine<1>(line, size, image, frame);
}

long SV_RGB_scan_line16(LineAccumulator& line, FrameSize size, ConstSamples16 image, long frame) {
  return ScanLine<3>(line, size, image, frame);
}

bool SV_line_analysis(const LineAccumulator& line, std::span<float> profile, LineResult& result) {
  return LineAnalysis<1>(line, profile, &result);
}

bool SV_RGB_line_analysis(const LineAccumulator& line, std::span<float> profile,
                          std::array<LineResult, 3>& result) {
  return LineAnalysis<3>(line, profile, result.data());
}

// --- Histograms --------------------------------------------------------------

bool SV_histogram(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts) {
  if (!Holds(image, size) || counts.empty()) return false;
  std::fill(counts.begin(), counts.end(), 0u);
  CountLevels<1>(image.data(), size.Pixels(), counts.data(), counts.size());
  return true;
}

bool SV_RGB_histogram(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts) {
  if (!Holds(image, size, 3) || counts.size() < 3) return false;
  const size_t bins = counts.size() / 3;
  std::fill(counts.begin(), counts.end(), 0u);
  for (size_t c = 0; c < 3; ++c)
    CountLevels<3>(image.data() + c, size.Pixels(), counts.data() + c * bins, bins);
  return true;
}

bool SV_RGB_intensity(FrameSize size, ConstSamples16 image, std::span<uint32_t> counts) {
  if (!Holds(image, size, 3) || counts.empty()) return false;
  std::fill(counts.begin(), counts.end(), 0u);
  const uint32_t top = uint32_t(std::min<size_t>(counts.size(), 65536) - 1);
  const uint16_t* p = image.data();
  for (size_t i = 0, n = size.Pixels(); i < n; ++i, p += 3) {
    const uint32_t v = (uint32_t(p[0]) + p[1] + p[2] + 1) / 3;
    ++counts[v < top ? v : top];
  }
  return true;
}

bool SV_histogramEx(FrameSize size, ConstSamples16 image, const WindowRect& rect, long low,
                    long high, std::span<uint32_t> counts, HistogramStats& stats) {
  if (!Holds(image, size) || !RectOk(rect) || counts.empty()) return false;
  if (low < 0 || high > 65535 || low > high) return false;
  std::fill(counts.begin(), counts.end(), 0u);
  HistogramStats s;
  s.Min = 65535;
  uint64_t sum = 0;
  const uint64_t range = uint64_t(high - low + 1), bins = counts.size();
  const Clip c = ClipOf(rect, size);
  const ShapeRows rows(rect);
  for (long y = c.y1; !c.Empty() && y <= c.y2; ++y) {
    long lo, hi;
    rows.Row(y - rect.Y1, lo, hi);
    const long a = std::max(rect.X1 + lo, c.x1), b = std::min(rect.X1 + hi, c.x2);
    const uint16_t* p = image.data() + size_t(y) * size_t(size.width);
    for (long x = a; x <= b; ++x) {
      const uint32_t v = p[x];
      ++s.Count;
      sum += v;
      s.Min = std::min(s.Min, v);
      s.Max = std::max(s.Max, v);
      if (long(v) < low) ++s.Below;
      else if (long(v) > high) ++s.Above;
      else ++counts[size_t((uint64_t(v) - uint64_t(low)) * bins / range)];
    }
  }
  if (s.Count == 0) s.Min = 0;
  else s.Mean = double(sum) / double(s.Count);
  stats = s;
  return true;
}

// --- Points ------------------------------------------------------------------

bool SV_point16_scan(FrameSize size, ConstSamples16 image, long x, long y, uint16_t& value) {
  if (!Holds(image, size) || !Inside(x, y, size)) return false;
  value = image[size_t(y) * size_t(size.width) + size_t(x)];
  return true;
}

bool SV_RGB_point16_scan(FrameSize size, ConstSamples16 image, long x, long y,
                         std::array<uint16_t, 3>& rgb) {
  if (!Holds(image, size, 3) || !Inside(x, y, size)) return false;
  const size_t at = (size_t(y) * size_t(size.width) + size_t(x)) * 3;
  rgb = {image[at], image[at + 1], image[at + 2]};
  return true;
}

// --- Colour counts -----------------------------------------------------------

long SV_color_count16(FrameSize size, ConstSamples16 image) {
  if (!Holds(image, size)) return -1;
  std::vector<uint64_t> seen(65536 / 64, 0);
  const uint16_t* p = image.data();
  for (size_t i = 0, n = size.Pixels(); i < n; ++i) seen[p[i] >> 6] |= uint64_t(1) << (p[i] & 63);
  return CountBits(seen);
}

long SV_RGB_color_count(FrameSize size, ConstSamples16 image, int bits) {
  if (!Holds(image, size, 3) || bits < 1 || bits > 16) return -1;
  const int shift = std::max(bits - 8, 0);
  const uint32_t top = (1u << bits) - 1;
  std::vector<uint64_t> seen((1u << 24) / 64, 0);
  const uint16_t* p = image.data();
  for (size_t i = 0, n = size.Pixels(); i < n; ++i, p += 3) {
    uint32_t key = 0;
    for (int c = 0; c < 3; ++c) key = key << 8 | (std::min<uint32_t>(p[c], top) >> shift);
    seen[key >> 6] |= uint64_t(1) << (key & 63);
  }
  return CountBits(seen);
}

long SV_RGB_color_count16(FrameSize size, ConstSamples16 image) {
  if (!Holds(image, size, 3)) return -1;
  std::vector<uint64_t> keys(size.Pixels());
  const uint16_t* p = image.data();
  for (size_t i = 0; i < keys.size(); ++i, p += 3)
    keys[i] = uint64_t(p[0]) << 32 | uint64_t(p[1]) << 16 | p[2];
  std::sort(keys.begin(), keys.end());
  return long(std::unique(keys.begin(), keys.end()) - keys.begin());
}

// --- Overload ----------------------------------------------------------------

bool SV_test_overload16(FrameSize size, ConstSamples16 image, long levels, int channels) {
  if ((channels != 1 && channels != 3) || !Holds(image, size, channels) || levels < 1) return false;
  if (levels > 65536) return false;  // no 16-bit sample reaches such a level
  const uint16_t top = uint16_t(levels - 1);
  const uint16_t* p = image.data();
  const size_t n = size.Samples(channels);
  constexpr size_t kChunk = 4096;
  for (size_t done = 0; done < n; done += kChunk) {
    const size_t m = std::min(kChunk, n - done);
    uint16_t mx = 0;
    for (size_t i = 0; i < m; ++i) mx = p[done + i] > mx ? p[done + i] : mx;
    if (mx >= top) return true;
  }
  return false;
}

}  // namespace sv
