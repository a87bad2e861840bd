#include "image/kernel/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace sv {
namespace {

constexpr double kPi = std::numbers::pi;

TEST(FFTExpand, PadsWithZerosToAPowerOfTwo) {
  std::vector<float> v = {1, 2, 3, 4, 5};
  ASSERT_TRUE(FFT_expand(v));
  EXPECT_EQ(v, (std::vector<float>{1, 2, 3, 4, 5, 0, 0, 0}));
  ASSERT_TRUE(FFT_expand(v));
  EXPECT_EQ(v.size(), 8u);  // already a power of two
  std::vector<float> one = {7};
  ASSERT_TRUE(FFT_expand(one));
  EXPECT_EQ(one, (std::vector<float>{7, 0}));
  std::vector<float> odd(513, 1.0f);
  ASSERT_TRUE(FFT_expand(odd));
  EXPECT_EQ(odd.size(), 1024u);
  std::vector<float> none;
  EXPECT_FALSE(FFT_expand(none));
  EXPECT_TRUE(none.empty());
}

TEST(FFTTransform, ASineShowsItsAmplitudeAndPhaseInItsBin) {
  // 3 sin(2 pi 5 n / 64) + 1.5 + 0.25 cos(2 pi 12 n / 64 + 0.5)
  const size_t n = 64;
  std::vector<float> x(n);
  for (size_t i = 0; i < n; ++i)
    x[i] = float(3.0 * std::sin(2 * kPi * 5 * double(i) / n) + 1.5 +
                 0.25 * std::cos(2 * kPi * 12 * double(i) / n + 0.5));
  std::vector<float> re(n / 2 + 1), im(n / 2 + 1), amp(n / 2 + 1), phi(n / 2 + 1);
  ASSERT_TRUE(FFT(x, re, im, kFFTForward));
  ASSERT_TRUE(FFT_polar(re, im, amp, phi));
  EXPECT_NEAR(re[0], 1.5, 1e-5);
  EXPECT_NEAR(amp[5], 3.0, 1e-5);
  EXPECT_NEAR(phi[5], -kPi / 2, 1e-5);  // a sine is a cosine a quarter turn late
  EXPECT_NEAR(re[5], 0.0, 1e-5);
  EXPECT_NEAR(im[5], -3.0, 1e-5);
  EXPECT_NEAR(amp[12], 0.25, 1e-5);
  EXPECT_NEAR(phi[12], 0.5, 1e-4);
  for (size_t k = 1; k <= n / 2; ++k)
    if (k != 5 && k != 12) {
      EXPECT_NEAR(amp[k], 0.0, 1e-5) << "bin " << k;
    }
  // The alternating bin stands alone.
  std::vector<float> alt = {1, -1, 1, -1, 1, -1, 1, -1};
  ASSERT_TRUE(FFT(alt, std::span(re).first(5), std::span(im).first(5), kFFTForward));
  EXPECT_NEAR(re[4], 1.0, 1e-6);
  for (size_t k = 0; k < 4; ++k) EXPECT_NEAR(std::hypot(re[k], im[k]), 0.0, 1e-6);
}

TEST(FFTTransform, ForwardThenInverseGivesTheSamplesBack) {
  std::mt19937 gen(3);
  std::uniform_real_distribution<float> d(-100.0f, 100.0f);
  for (size_t n : {2u, 8u, 1024u}) {
    std::vector<float> x(n);
    for (auto& v : x) v = d(gen);
    std::vector<float> re(n / 2 + 1), im(n / 2 + 1), back(n);
    ASSERT_TRUE(FFT(x, re, im, kFFTForward));
    ASSERT_TRUE(FFT(back, re, im, kFFTInverse));
    for (size_t i = 0; i < n; ++i) EXPECT_NEAR(back[i], x[i], 1e-3) << n << ":" << i;
    // The same input gives the same bits.
    std::vector<float> re2(n / 2 + 1), im2(n / 2 + 1);
    ASSERT_TRUE(FFT(x, re2, im2, kFFTForward));
    EXPECT_EQ(re2, re);
    EXPECT_EQ(im2, im);
  }
}

TEST(FFTTransform, BadSizesAndDirectionsAreRefusedUntouched) {
  std::vector<float> six(6, 1.0f), one(1, 1.0f), eight(8, 1.0f);
  std::vector<float> re(5, 9.0f), im(5, 9.0f), shortRe(4, 9.0f);
  EXPECT_FALSE(FFT(six, re, im, kFFTForward));
  EXPECT_FALSE(FFT(one, re, im, kFFTForward));
  EXPECT_FALSE(FFT(std::span<float>(), re, im, kFFTForward));
  EXPECT_FALSE(FFT(eight, shortRe, im, kFFTForward));
  EXPECT_FALSE(FFT(eight, re, im, 0));
  EXPECT_FALSE(FFT(eight, re, shortRe, kFFTInverse));
  EXPECT_EQ(re, std::vector<float>(5, 9.0f));
  EXPECT_EQ(eight, std::vector<float>(8, 1.0f));
  std::vector<float> a(3), p(2);
  EXPECT_FALSE(FFT_polar(re, im, a, p));
}

}  // namespace
}  // namespace sv
