// Colour rows summed into their three planes on AVX2 and AVX-512.
#include "image/kernel/analysis_colour.h"

#include "image/kernel/cpu_paths.h"

#if defined(__x86_64__)

namespace sv::analysis_colour {

namespace {

// Word picks for a byte shuffle: word w of the source to each place, -1 for
// zero.
inline __m128i WordPicks(int a, int b, int c, int d, int e, int f, int g, int h) {
  const int w[8] = {a, b, c, d, e, f, g, h};
  alignas(16) int8_t bytes[16];
  for (int k = 0; k < 8; ++k) {
    bytes[2 * k] = int8_t(w[k] < 0 ? -128 : 2 * w[k]);
    bytes[2 * k + 1] = int8_t(w[k] < 0 ? -128 : 2 * w[k] + 1);
  }
  return _mm_load_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Eight words widened into a plane: its first sum, or added to it.
template <bool kStart>
SV_AVX2 SV_INLINE void PutWords(uint32_t* d, __m128i words) {
  const __m256i v = _mm256_cvtepu16_epi32(words);
  __m256i* at = reinterpret_cast<__m256i*>(d);
  if constexpr (kStart) _mm256_storeu_si256(at, v);
  else _mm256_storeu_si256(at, _mm256_add_epi32(_mm256_loadu_si256(at), v));
}

}  // namespace

// Colour rows on AVX2: eight pixels (three 128-bit loads) part into their
// red, green and blue words by three shuffles each, widened to 32 bits and
// summed into the planes; the source is fetched 768 bytes ahead. Whole
// blocks of eight only: the caller sums the rest.
template <bool kStart>
SV_AVX2 void SumAvx2(const uint16_t* src, size_t sstep, uint32_t* d0, uint32_t* d1,
                                  uint32_t* d2, size_t dstep, long m, long count) {
  const __m128i r0 = WordPicks(0, 3, 6, -1, -1, -1, -1, -1);
  const __m128i r1 = WordPicks(-1, -1, -1, 1, 4, 7, -1, -1);
  const __m128i r2 = WordPicks(-1, -1, -1, -1, -1, -1, 2, 5);
  const __m128i g0 = WordPicks(1, 4, 7, -1, -1, -1, -1, -1);
  const __m128i g1 = WordPicks(-1, -1, -1, 2, 5, -1, -1, -1);
  const __m128i g2 = WordPicks(-1, -1, -1, -1, -1, 0, 3, 6);
  const __m128i b0 = WordPicks(2, 5, -1, -1, -1, -1, -1, -1);
  const __m128i b1 = WordPicks(-1, -1, 0, 3, 6, -1, -1, -1);
  const __m128i b2 = WordPicks(-1, -1, -1, -1, -1, 1, 4, 7);
  for (long r = 0; r < count; ++r, src += sstep, d0 += dstep, d1 += dstep, d2 += dstep) {
    for (long i = 0; i + 8 <= m; i += 8) {
      const __m128i* p = reinterpret_cast<const __m128i*>(src + 3 * i);
      _mm_prefetch(reinterpret_cast<const char*>(p) + 768, _MM_HINT_T0);
      const __m128i v0 = _mm_loadu_si128(p), v1 = _mm_loadu_si128(p + 1),
                    v2 = _mm_loadu_si128(p + 2);
      PutWords<kStart>(d0 + i, _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(v0, r0), _mm_shuffle_epi8(v1, r1)),
                               _mm_shuffle_epi8(v2, r2)));
      PutWords<kStart>(d1 + i, _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(v0, g0), _mm_shuffle_epi8(v1, g1)),
                               _mm_shuffle_epi8(v2, g2)));
      PutWords<kStart>(d2 + i, _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(v0, b0), _mm_shuffle_epi8(v1, b1)),
                               _mm_shuffle_epi8(v2, b2)));
    }
  }
}

namespace {

// The same word picks on both 128-bit halves.
SV_AVX512 SV_INLINE __m256i BothHalves(__m128i picks) { return _mm256_broadcastsi128_si256(picks); }

// One plane's sixteen words from three registers by their picks.
SV_AVX512 SV_INLINE __m256i PickPlane(__m256i a, __m256i b, __m256i c, __m256i pa, __m256i pb,
                                      __m256i pc) {
  return _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(a, pa), _mm256_shuffle_epi8(b, pb)),
                         _mm256_shuffle_epi8(c, pc));
}

// Sixteen words widened into a plane at once: its first sum, or added to it.
template <bool kStart>
SV_AVX512 SV_INLINE void PutWords16(uint32_t* d, __m256i words) {
  const __m512i v = _mm512_maskz_cvtepu16_epi32(0xFFFF, words);
  if constexpr (kStart) _mm512_storeu_si512(d, v);
  else _mm512_storeu_si512(d, _mm512_add_epi32(_mm512_loadu_si512(d), v));
}

}  // namespace

// Colour rows on AVX-512: sixteen pixels a turn, the same byte shuffles on
// both 128-bit halves (pixels 0-7 and 8-15 loaded side by side), each plane's
// sixteen words widened at once into a 512-bit sum. The hardware's own
// fetching does better here than fetching ahead by hand. Whole blocks of
// sixteen only: the caller sums the rest.
template <bool kStart>
SV_AVX512 void SumAvx512(const uint16_t* src, size_t sstep, uint32_t* d0,
                                      uint32_t* d1, uint32_t* d2, size_t dstep, long m,
                                      long count) {
  const __m256i r0 = BothHalves(WordPicks(0, 3, 6, -1, -1, -1, -1, -1));
  const __m256i r1 = BothHalves(WordPicks(-1, -1, -1, 1, 4, 7, -1, -1));
  const __m256i r2 = BothHalves(WordPicks(-1, -1, -1, -1, -1, -1, 2, 5));
  const __m256i g0 = BothHalves(WordPicks(1, 4, 7, -1, -1, -1, -1, -1));
  const __m256i g1 = BothHalves(WordPicks(-1, -1, -1, 2, 5, -1, -1, -1));
  const __m256i g2 = BothHalves(WordPicks(-1, -1, -1, -1, -1, 0, 3, 6));
  const __m256i b0 = BothHalves(WordPicks(2, 5, -1, -1, -1, -1, -1, -1));
  const __m256i b1 = BothHalves(WordPicks(-1, -1, 0, 3, 6, -1, -1, -1));
  const __m256i b2 = BothHalves(WordPicks(-1, -1, -1, -1, -1, 1, 4, 7));
  for (long r = 0; r < count; ++r, src += sstep, d0 += dstep, d1 += dstep, d2 += dstep) {
    for (long i = 0; i + 16 <= m; i += 16) {
      const __m128i* p = reinterpret_cast<const __m128i*>(src + 3 * i);
      const __m256i a = _mm256_loadu2_m128i(p + 3, p), b = _mm256_loadu2_m128i(p + 4, p + 1),
                    c = _mm256_loadu2_m128i(p + 5, p + 2);
      PutWords16<kStart>(d0 + i, PickPlane(a, b, c, r0, r1, r2));
      PutWords16<kStart>(d1 + i, PickPlane(a, b, c, g0, g1, g2));
      PutWords16<kStart>(d2 + i, PickPlane(a, b, c, b0, b1, b2));
    }
  }
}

template void SumAvx2<true>(const uint16_t*, size_t, uint32_t*, uint32_t*, uint32_t*, size_t,
                            long, long);
template void SumAvx2<false>(const uint16_t*, size_t, uint32_t*, uint32_t*, uint32_t*, size_t,
                             long, long);
template void SumAvx512<true>(const uint16_t*, size_t, uint32_t*, uint32_t*, uint32_t*, size_t,
                              long, long);
template void SumAvx512<false>(const uint16_t*, size_t, uint32_t*, uint32_t*, uint32_t*, size_t,
                               long, long);

}  // namespace sv::analysis_colour

#endif
