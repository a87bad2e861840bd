#include "image/kernel/sv_kernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

namespace sv {

namespace {

// The version callers check for: each place against its own minimum.
constexpr KernelVersion kVersion{2, 2, 10};
constexpr const char* kDate = "2024-11-22";
constexpr long kTableSize = 65536;

inline uint64_t Load64(const void* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

inline void Store64(void* p, uint64_t v) { std::memcpy(p, &v, sizeof v); }

// One line of mono samples through the table. Eight samples at a time: two
// 64-bit loads, eight table reads, one 64-bit store.
inline void LookupLine(const uint16_t* src, uint8_t* dst, long width, const uint8_t* table) {
  long x = 0;
  for (; x + 8 <= width; x += 8) {
    const uint64_t a = Load64(src + x);
    const uint64_t b = Load64(src + x + 4);
    const uint64_t out = uint64_t(table[a & 0xFFFF]) |
                         uint64_t(table[(a >> 16) & 0xFFFF]) << 8 |
                         uint64_t(table[(a >> 32) & 0xFFFF]) << 16 |
                         uint64_t(table[a >> 48]) << 24 |
                         uint64_t(table[b & 0xFFFF]) << 32 |
                         uint64_t(table[(b >> 16) & 0xFFFF]) << 40 |
                         uint64_t(table[(b >> 32) & 0xFFFF]) << 48 |
                         uint64_t(table[b >> 48]) << 56;
    Store64(dst + x, out);
  }
  for (; x < width; ++x) dst[x] = table[src[x]];
}

// --- The arithmetic form of a display table -------------------------------
//
// Every table SV_set_lut builds is a clamped, rounded straight line. Such a
// table is the same as
//   q = s * Mh + ((s * Ml) >> 16) + C      (32-bit, wrapping)
//   p = clamp((int32) q >> sh, lo, hi)     byte = p ^ flip
// for suitable integers, and that form runs in vector registers without a
// table read per sample. The form is fitted to the table's steps and then
// checked against all 65536 entries, so it is used only where it gives the
// very same bytes; any other table goes through the plain lookup.
struct LinearForm {
  uint32_t Mh = 0, Ml = 0, C = 0;
  int32_t lo = 0, hi = 0;
  int sh = 0;
  uint8_t flip = 0;
};

inline uint8_t LinearValue(uint32_t s, const LinearForm& f) {
  const uint32_t q = s * f.Mh + ((s * f.Ml) >> 16) + f.C;
  int32_t p = static_cast<int32_t>(q) >> f.sh;
  p = p < f.lo ? f.lo : p;
  p = p > f.hi ? f.hi : p;
  return static_cast<uint8_t>(static_cast<uint32_t>(p) ^ f.flip);
}

bool FitLinearForm(const uint8_t* table, LinearForm& f) {
  f = LinearForm();
  const bool falling = table[0] > table[kTableSize - 1];
  f.flip = falling ? 0xFF : 0;
  auto u = [&](long s) -> int { return falling ? 255 - table[s] : table[s]; };
  const int t0 = u(0), t1 = u(kTableSize - 1);
  const int d = t1 - t0;
  f.lo = t0;
  f.hi = t1;
  if (d == 0) return true;  // constant

  // Steps: T[k] is the first sample at t0 + k or more (binary search, exact
  // for a monotone table; the final check rejects every other).
  long T[256];
  for (int k = 1; k <= d; ++k) {
    long a = 0, b = kTableSize - 1;
    while (a < b) {
      const long mid = (a + b) / 2;
      if (u(mid) >= t0 + k) b = mid;
      else a = mid + 1;
    }
    T[k] = a;
  }
  // The slopes m of F(s) = m s + c with F(T[i]) >= t0 + i and
  // F(T[j] - 1) < t0 + j for all steps: every pair bounds m from one side.
  double mlo = 0.0, mhi = std::numeric_limits<double>::infinity();
  for (int i = 1; i <= d; ++i) {
    for (int j = 1; j <= d; ++j) {
      const long dx = T[i] - T[j] + 1;
      const double dy = double(i - j);
      if (dx > 0) {
        mlo = std::max(mlo, dy / double(dx));
      } else if (dx < 0) {
        mhi = std::min(mhi, dy / double(dx));
      } else if (i >= j) {
        return false;
      }
    }
  }
  if (!(mlo < mhi)) return false;
  const double m = std::isinf(mhi) ? mlo + 1.0 : 0.5 * (mlo + mhi);
  // The largest fixed-point shift that keeps every q inside 32 signed bits.
  int sh = 0;
  while (sh < 30 && std::ldexp(m * 65535.0 + double(t1) + 2.0, sh + 1) < 2147483648.0) ++sh;
  const double mc = std::ldexp(m, sh + 16);
  if (!(mc < std::ldexp(1.0, 47))) return false;
  const uint64_t mfix = static_cast<uint64_t>(std::llround(mc));
  f.Mh = static_cast<uint32_t>(mfix >> 16);
  f.Ml = static_cast<uint32_t>(mfix & 0xFFFF);
  f.sh = sh;
  auto P = [&](long s) -> int64_t {
    return int64_t(uint64_t(s) * f.Mh + ((uint64_t(s) * f.Ml) >> 16));
  };
  // The offsets C that put every step exactly in place.
  int64_t clo = -(int64_t(1) << 31);
  int64_t chi = (int64_t(1) << 31) - 1 - P(kTableSize - 1);
  for (int k = 1; k <= d; ++k) {
    const int64_t level = int64_t(t0 + k) << sh;
    clo = std::max(clo, level - P(T[k]));
    chi = std::min(chi, level - 1 - P(T[k] - 1));
  }
  if (clo > chi) return false;
  f.C = static_cast<uint32_t>(static_cast<int64_t>(clo + (chi - clo) / 2));
  for (long s = 0; s < kTableSize; ++s)
    if (LinearValue(uint32_t(s), f) != table[s]) return false;
  return true;
}

#if defined(__x86_64__) || defined(__i386__)
#define SV_HAVE_X86_PATHS 1

__attribute__((target("avx2"))) void LinearLineAVX2(const uint16_t* src, uint8_t* dst,
                                                     long width, const LinearForm& f) {
  const __m256i mh = _mm256_set1_epi32(int(f.Mh));
  const __m256i ml = _mm256_set1_epi32(int(f.Ml));
  const __m256i c = _mm256_set1_epi32(int(f.C));
  const __m256i lo = _mm256_set1_epi32(f.lo);
  const __m256i hi = _mm256_set1_epi32(f.hi);
  const __m128i sh = _mm_cvtsi32_si128(f.sh);
  const __m128i flip = _mm_set1_epi8(char(f.flip));
  long x = 0;
  for (; x + 16 <= width; x += 16) {
    const __m256i va = _mm256_cvtepu16_epi32(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x)));
    const __m256i vb = _mm256_cvtepu16_epi32(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + x + 8)));
    __m256i pa = _mm256_add_epi32(_mm256_mullo_epi32(va, mh),
                                  _mm256_srli_epi32(_mm256_mullo_epi32(va, ml), 16));
    __m256i pb = _mm256_add_epi32(_mm256_mullo_epi32(vb, mh),
                                  _mm256_srli_epi32(_mm256_mullo_epi32(vb, ml), 16));
    pa = _mm256_sra_epi32(_mm256_add_epi32(pa, c), sh);
    pb = _mm256_sra_epi32(_mm256_add_epi32(pb, c), sh);
    pa = _mm256_min_epi32(_mm256_max_epi32(pa, lo), hi);
    pb = _mm256_min_epi32(_mm256_max_epi32(pb, lo), hi);
    // Words in lane order a0-3 b0-3 a4-7 b4-7; the permute puts a before b.
    const __m256i w = _mm256_permute4x64_epi64(_mm256_packs_epi32(pa, pb), 0xD8);
    __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(w), _mm256_extracti128_si256(w, 1));
    bytes = _mm_xor_si128(bytes, flip);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), bytes);
  }
  for (; x < width; ++x) dst[x] = LinearValue(src[x], f);
}

// GCC 12 takes the deliberately undefined pass-through operand of the
// AVX-512 intrinsics for an uninitialised read.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
__attribute__((target("avx512f"))) void LinearLineAVX512(const uint16_t* src, uint8_t* dst,
                                                          long width, const LinearForm& f) {
  const __m512i mh = _mm512_set1_epi32(int(f.Mh));
  const __m512i ml = _mm512_set1_epi32(int(f.Ml));
  const __m512i c = _mm512_set1_epi32(int(f.C));
  const __m512i lo = _mm512_set1_epi32(f.lo);
  const __m512i hi = _mm512_set1_epi32(f.hi);
  const __m128i sh = _mm_cvtsi32_si128(f.sh);
  const __m128i flip = _mm_set1_epi8(char(f.flip));
  long x = 0;
  for (; x + 16 <= width; x += 16) {
    const __m512i v = _mm512_cvtepu16_epi32(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + x)));
    __m512i q = _mm512_add_epi32(_mm512_mullo_epi32(v, mh),
                                 _mm512_srli_epi32(_mm512_mullo_epi32(v, ml), 16));
    q = _mm512_sra_epi32(_mm512_add_epi32(q, c), sh);
    q = _mm512_min_epi32(_mm512_max_epi32(q, lo), hi);
    const __m128i bytes = _mm_xor_si128(_mm512_cvtepi32_epi8(q), flip);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + x), bytes);
  }
  for (; x < width; ++x) dst[x] = LinearValue(src[x], f);
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

int CpuDisplayIsa() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) return 2;
  if (__builtin_cpu_supports("avx2")) return 1;
  return 0;
}
#else
int CpuDisplayIsa() { return 0; }
#endif

int g_displayIsa = -2;  // -2: not yet decided

int DisplayIsa() {
  if (g_displayIsa == -2) g_displayIsa = CpuDisplayIsa();
  return g_displayIsa;
}

// The last table SV_display saw and what it is. A frame costs one compare of
// the 64 KiB table; the fit runs only when the table changes.
struct DisplayTableCache {
  bool valid = false;
  bool linear = false;
  LinearForm form;
  uint8_t table[kTableSize];
};
thread_local DisplayTableCache t_cache;

const LinearForm* LinearFormOf(const uint8_t* table) {
  DisplayTableCache& c = t_cache;
  if (!c.valid || std::memcmp(c.table, table, kTableSize) != 0) {
    std::memcpy(c.table, table, kTableSize);
    c.linear = FitLinearForm(c.table, c.form);
    c.valid = true;
  }
  return c.linear ? &c.form : nullptr;
}

}  // namespace

KernelVersion SV_version() { return kVersion; }

std::string SV_dll_date() { return kDate; }

void SV_memcpy(void* dest, const void* source, size_t bytes) {
  if (bytes == 0 || dest == nullptr || source == nullptr || dest == source) return;
  std::memmove(dest, source, bytes);
}

void SV_memset(void* dest, int value, size_t bytes) {
  if (bytes == 0 || dest == nullptr) return;
  std::memset(dest, value, bytes);
}

void SV_set_lut(float min, float max, long levels, long tableSize, uint8_t* table, bool inverse) {
  if (!table || tableSize <= 0) return;
  if (levels < 1) levels = 1;
  // NaN limits would make every comparison false; treat them as the defaults.
  if (std::isnan(min)) min = 0.0f;
  if (std::isnan(max)) max = 1.0f;
  const double lo = double(min) * double(levels);
  const double hi = double(max) * double(levels);
  const double span = hi - lo;
  for (long s = 0; s < tableSize; ++s) {
    const double v = double(s);
    long out;
    if (v <= lo) {
      out = 0;
    } else if (v >= hi) {
      // Also the whole upper side when max <= min: the table is a step.
      out = 255;
    } else {
      out = std::lrint((v - lo) * 255.0 / span);  // nearest, ties to even
      if (out < 0) out = 0;
      if (out > 255) out = 255;
    }
    table[s] = uint8_t(inverse ? 255 - out : out);
  }
}

int SV_set_display_isa(int level) {
  const int best = CpuDisplayIsa();
  g_displayIsa = (level < 0 || level > best) ? best : level;
  return g_displayIsa;
}

bool SV_display_table_is_linear(const uint8_t* table) {
  return table && LinearFormOf(table) != nullptr;
}

void SV_display(long width, long height, const uint16_t* source16, uint8_t* dest8,
                const uint8_t* table) {
  if (width <= 0 || height <= 0 || !source16 || !dest8 || !table) return;
  const long byteWidth = DisplayByteWidth(width, false);
  const long pad = byteWidth - width;
  const int isa = DisplayIsa();
  const LinearForm* form = isa > 0 ? LinearFormOf(table) : nullptr;
  for (long y = 0; y < height; ++y) {
    // The bitmap is bottom-up: the first source line is the last bitmap line.
    const uint16_t* src = source16 + y * width;
    uint8_t* dst = dest8 + (height - 1 - y) * byteWidth;
#ifdef SV_HAVE_X86_PATHS
    if (form && isa >= 2) LinearLineAVX512(src, dst, width, *form);
    else if (form) LinearLineAVX2(src, dst, width, *form);
    else LookupLine(src, dst, width, table);
#else
    (void)form;
    LookupLine(src, dst, width, table);
#endif
    for (long p = 0; p < pad; ++p) dst[width + p] = 0;
  }
}

void SV_RGB_display(long width, long height, const uint16_t* source16, uint8_t* dest8,
                    const uint8_t* table) {
  if (width <= 0 || height <= 0 || !source16 || !dest8 || !table) return;
  const long byteWidth = DisplayByteWidth(width, true);
  const long used = 3 * width;
  for (long y = 0; y < height; ++y) {
    const uint16_t* src = source16 + y * used;
    uint8_t* dst = dest8 + (height - 1 - y) * byteWidth;
    for (long x = 0; x < used; x += 3) {
      // Source R, G, B words; the bitmap wants B, G, R bytes.
      dst[x] = table[src[x + 2]];
      dst[x + 1] = table[src[x + 1]];
      dst[x + 2] = table[src[x]];
    }
    for (long p = used; p < byteWidth; ++p) dst[p] = 0;
  }
}

}  // namespace sv
