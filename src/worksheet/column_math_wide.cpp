// The derivative and a smoothing pass of whole columns on AVX-512 and AVX2
// vectors, with the general way's results to the bit.
#include <bit>
#include <cstddef>
#include <cstdint>

#include "image/kernel/cpu_paths.h"
#include "worksheet/column_math_cells.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace sv::column_cells {

#if defined(__x86_64__)

namespace {

inline float At(const uint32_t* v, size_t i) { return std::bit_cast<float>(v[i]); }

inline bool Finite(float v) {
  return (std::bit_cast<uint32_t>(v) & 0x7F800000u) != 0x7F800000u;
}

// The points from k on one by one, the same operations as the vectors'; `left`
// is the slope left of point k. The ends have one slope each.
bool Rest(const uint32_t* x, const uint32_t* y, uint32_t* out, size_t n, size_t k, float left) {
  for (; k + 1 < n; ++k) {
    const float dx = At(x, k + 1) - At(x, k);
    if (dx == 0.0f) return false;
    const float after = (At(y, k + 1) - At(y, k)) / dx;
    const float v = (left + after) * 0.5f;
    if (!Finite(v)) return false;
    out[k] = std::bit_cast<uint32_t>(v);
    left = after;
  }
  if (!Finite(left)) return false;  // a gap at the end
  out[n - 1] = std::bit_cast<uint32_t>(left);
  out[0] = std::bit_cast<uint32_t>((At(y, 1) - At(y, 0)) / (At(x, 1) - At(x, 0)));
  return true;
}

__attribute__((target("avx512f,avx512dq,avx512vl,avx512bw"))) bool WideDerivative(
    const uint32_t* x, const uint32_t* y, uint32_t* out, size_t n) {
  const __m512 zero = _mm512_setzero_ps(), half = _mm512_set1_ps(0.5f);
  // Lane 0 from lane 15 of the first, lane i from lane i - 1 of the second.
  const __m512i shift =
      _mm512_setr_epi32(15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30);
  __m512 before = zero;  // lane 15: the slope left of the vector's first point
  uint32_t odd = 0;  // lanes whose result is no finite number
  size_t k = 0;
  // 16 points at a time while their right slopes all exist (x[k + 16] at most
  // x[n - 1]). Each slope is divided once; the lane shift hands it on to the
  // point on its right. A repeated X needs no test of its own: its slope is
  // infinite or NaN, and so are both results it goes into.
  for (; k + 16 < n; k += 16) {
    const __m512 dx = _mm512_sub_ps(_mm512_loadu_ps(x + k + 1), _mm512_loadu_ps(x + k));
    const __m512 dy = _mm512_sub_ps(_mm512_loadu_ps(y + k + 1), _mm512_loadu_ps(y + k));
    const __m512 after = _mm512_div_ps(dy, dx);
    const __m512 left = _mm512_permutex2var_ps(before, shift, after);
    const __m512 v = _mm512_mul_ps(_mm512_add_ps(left, after), half);
    odd |= _cvtmask16_u32(_mm512_fpclass_ps_mask(v, 0x99));  // NaN or infinite
    _mm512_storeu_ps(out + k, v);
    before = after;
  }
  if (odd != 0) return false;
  alignas(64) float last[16];
  _mm512_store_ps(last, before);
  return Rest(x, y, out, n, k, last[15]);
}

// The same on 8 lanes of AVX2.
__attribute__((target("avx2"))) bool Avx2Derivative(const uint32_t* x, const uint32_t* y,
                                                    uint32_t* out, size_t n) {
  const __m256 half = _mm256_set1_ps(0.5f);
  // Lane 0 from lane 7, lane i from lane i - 1.
  const __m256i rotate = _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6);
  __m256 rotatedBefore = _mm256_setzero_ps();  // lane 0: the slope left of the first point
  __m256 odd = _mm256_setzero_ps();
  size_t k = 0;
  for (; k + 8 < n; k += 8) {
    const __m256 dx = _mm256_sub_ps(_mm256_loadu_ps(reinterpret_cast<const float*>(x + k + 1)),
                                    _mm256_loadu_ps(reinterpret_cast<const float*>(x + k)));
    const __m256 dy = _mm256_sub_ps(_mm256_loadu_ps(reinterpret_cast<const float*>(y + k + 1)),
                                    _mm256_loadu_ps(reinterpret_cast<const float*>(y + k)));
    const __m256 after = _mm256_div_ps(dy, dx);
    const __m256 rotated = _mm256_permutevar8x32_ps(after, rotate);
    const __m256 left = _mm256_blend_ps(rotated, rotatedBefore, 0x01);
    const __m256 v = _mm256_mul_ps(_mm256_add_ps(left, after), half);
    // v - v is NaN exactly where v is infinite or NaN, else a zero; the bits
    // of NaNs and zeros or'ed together make a NaN if any was one.
    odd = _mm256_or_ps(odd, _mm256_sub_ps(v, v));
    _mm256_storeu_ps(reinterpret_cast<float*>(out + k), v);
    rotatedBefore = rotated;
  }
  if (_mm256_movemask_ps(_mm256_cmp_ps(odd, odd, _CMP_UNORD_Q)) != 0) return false;
  return Rest(x, y, out, n, k, _mm256_cvtss_f32(rotatedBefore));
}

// One smoothing pass of the inner points from k on, one by one; `left` is
// the old value left of point k. `dst` may be `src`. Returns the point whose
// result is no finite number, with `left` the old value before it, or n - 1
// when all are done.
size_t SmoothRest(const uint32_t* src, uint32_t* dst, size_t n, size_t k, float& left) {
  for (; k + 1 < n; ++k) {
    const float c = At(src, k);
    const float v = (2.0f * c + left + At(src, k + 1)) * 0.25f;
    if (!Finite(v)) return k;
    dst[k] = std::bit_cast<uint32_t>(v);
    left = c;
  }
  return k;
}

__attribute__((target("avx512f,avx512dq,avx512vl,avx512bw"))) size_t WideSmooth(
    const uint32_t* src, uint32_t* dst, size_t n, float& left) {
  const __m512 two = _mm512_set1_ps(2.0f), quarter = _mm512_set1_ps(0.25f);
  const __m512i shift =
      _mm512_setr_epi32(15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30);
  // Lane 15: the old value left of the vector's first point. Every value is
  // read before the store that may overwrite it.
  __m512 before = _mm512_set1_ps(At(src, 0));
  size_t k = 1;
  for (; k + 17 <= n; k += 16) {
    const __m512 c = _mm512_loadu_ps(src + k);
    const __m512 right = _mm512_loadu_ps(src + k + 1);
    const __m512 l = _mm512_permutex2var_ps(before, shift, c);
    const __m512 v = _mm512_mul_ps(
        _mm512_add_ps(_mm512_add_ps(_mm512_mul_ps(two, c), l), right), quarter);
    if (_cvtmask16_u32(_mm512_fpclass_ps_mask(v, 0x99)) != 0) break;  // NaN or infinite
    _mm512_storeu_ps(dst + k, v);
    before = c;
  }
  alignas(64) float last[16];
  _mm512_store_ps(last, before);
  left = last[15];
  return SmoothRest(src, dst, n, k, left);
}

__attribute__((target("avx2"))) size_t Avx2Smooth(const uint32_t* src, uint32_t* dst, size_t n,
                                                  float& left) {
  const __m256 two = _mm256_set1_ps(2.0f), quarter = _mm256_set1_ps(0.25f);
  const __m256i rotate = _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6);
  __m256 rotatedBefore = _mm256_set1_ps(At(src, 0));  // lane 0: the old value left
  size_t k = 1;
  for (; k + 9 <= n; k += 8) {
    const __m256 c = _mm256_loadu_ps(reinterpret_cast<const float*>(src + k));
    const __m256 right = _mm256_loadu_ps(reinterpret_cast<const float*>(src + k + 1));
    const __m256 rotated = _mm256_permutevar8x32_ps(c, rotate);
    const __m256 l = _mm256_blend_ps(rotated, rotatedBefore, 0x01);
    const __m256 v = _mm256_mul_ps(
        _mm256_add_ps(_mm256_add_ps(_mm256_mul_ps(two, c), l), right), quarter);
    const __m256 d = _mm256_sub_ps(v, v);  // NaN where v is infinite or NaN
    if (_mm256_movemask_ps(_mm256_cmp_ps(d, d, _CMP_UNORD_Q)) != 0) break;
    _mm256_storeu_ps(reinterpret_cast<float*>(dst + k), v);
    rotatedBefore = rotated;
  }
  left = _mm256_cvtss_f32(rotatedBefore);
  return SmoothRest(src, dst, n, k, left);
}

}  // namespace

bool FastDerivative(const uint32_t* x, const uint32_t* y, uint32_t* out, size_t n) {
  if (n <= 16) return false;
  if (cpu::HaveAvx512()) return WideDerivative(x, y, out, n);
  if (cpu::HaveAvx2()) return Avx2Derivative(x, y, out, n);
  return false;
}

size_t FastSmooth(const uint32_t* src, uint32_t* dst, size_t n, float& left) {
  if (n < 3) return 0;
  size_t k = 0;
  if (cpu::HaveAvx512()) k = WideSmooth(src, dst, n, left);
  else if (cpu::HaveAvx2()) k = Avx2Smooth(src, dst, n, left);
  if (k <= 1) return 0;
  dst[0] = src[0];  // the first number stays
  if (k + 1 < n) return k;
  dst[n - 1] = src[n - 1];  // and the last
  return n;
}

#else

bool FastDerivative(const uint32_t*, const uint32_t*, uint32_t*, size_t) { return false; }
size_t FastSmooth(const uint32_t*, uint32_t*, size_t, float&) { return 0; }

#endif

}  // namespace sv::column_cells
