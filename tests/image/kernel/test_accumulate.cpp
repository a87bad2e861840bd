#include "image/kernel/accumulate.h"

#include <gtest/gtest.h>

#include "kernel_paths.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "image/kernel/numbers.h"

namespace sv {
namespace {

class KernelAccumulatePaths : public test::EveryPath {};
SV_EVERY_PATH(KernelAccumulatePaths);

TEST(KernelAccumulate, SixteenBitSumsSaturate) {
  std::vector<uint16_t> sum = {0, 65000, 65535, 7};
  ASSERT_TRUE(SV_add_16_to_16(3, std::vector<uint16_t>{5, 1000, 1, 1}, sum));
  EXPECT_EQ(sum, (std::vector<uint16_t>{5, 65535, 65535, 7}));
  ASSERT_TRUE(SV_add_8_to_16(4, std::vector<uint8_t>{255, 0, 9, 255}, sum));
  EXPECT_EQ(sum, (std::vector<uint16_t>{260, 65535, 65535, 262}));
}

TEST_P(KernelAccumulatePaths, LongRunsSaturateElementByElement) {
  const size_t n = 1003;
  std::mt19937 rng(5);
  std::vector<uint16_t> sum(n), frame(n), expected(n);
  std::vector<uint8_t> bytes(n);
  for (size_t i = 0; i < n; ++i) {
    sum[i] = uint16_t(rng());
    frame[i] = uint16_t(rng());
    bytes[i] = uint8_t(rng());
    expected[i] = uint16_t(std::min<uint32_t>(uint32_t(sum[i]) + frame[i] + bytes[i], 65535));
  }
  ASSERT_TRUE(SV_add_16_to_16(n, frame, sum));
  ASSERT_TRUE(SV_add_8_to_16(n, bytes, sum));
  EXPECT_EQ(sum, expected);
}

TEST_P(KernelAccumulatePaths, AveragingSumsThenShifts) {
  // Eight frames into a 32-bit sum, then log2(8) = 3 shifts back to words:
  // the mean, rounded down, also of full-scale frames.
  const size_t n = 37;  // not a multiple of any vector width
  std::mt19937 rng(3);
  std::vector<uint32_t> sum(n, 0), expected(n, 0);
  std::vector<uint16_t> frame(n);
  for (int f = 0; f < 8; ++f) {
    for (size_t i = 0; i < n; ++i) {
      frame[i] = i == 0 ? 65535 : uint16_t(rng());
      expected[i] += frame[i];
    }
    ASSERT_TRUE(SV_add_16_to_32(n, frame, sum));
  }
  EXPECT_EQ(sum, expected);
  std::vector<uint16_t> mean(n);
  ASSERT_TRUE(SV_shr(n, ConstSamples32(sum), mean, 3));
  for (size_t i = 0; i < n; ++i) EXPECT_EQ(mean[i], expected[i] >> 3);
  EXPECT_EQ(mean[0], 65535);
}

TEST(KernelAccumulate, ShortBuffersAreRefusedUntouched) {
  std::vector<uint16_t> s16(4, 9);
  std::vector<uint32_t> s32(4, 9);
  const std::vector<uint16_t> src(4, 1);
  const std::vector<uint8_t> src8(3, 1);
  EXPECT_FALSE(SV_add_16_to_16(5, src, s16));
  EXPECT_FALSE(SV_add_16_to_32(5, src, s32));
  EXPECT_FALSE(SV_add_8_to_16(4, src8, s16));
  EXPECT_FALSE(SV_avg_hist(5, src, s16, 2));
  EXPECT_EQ(s16, std::vector<uint16_t>(4, 9));
  EXPECT_EQ(s32, std::vector<uint32_t>(4, 9));
}

// ((frames - 1) * mean + frame) / frames, to nearest, ties to even, in
// integers.
uint16_t Mixed(uint32_t mean, uint32_t frame, uint32_t frames) {
  const uint64_t num = uint64_t(frames - 1) * mean + frame;
  uint64_t q = num / frames;
  const uint64_t twice = 2 * (num % frames);
  if (twice > frames || (twice == frames && (q & 1))) ++q;
  return uint16_t(q);
}

TEST(KernelAvgHist, WeightAndRounding) {
  std::vector<uint16_t> mean = {1, 3, 100, 65535, 0};
  const std::vector<uint16_t> frame = {2, 2, 0, 65535, 65535};
  ASSERT_TRUE(SV_avg_hist(5, frame, mean, 2));
  // 1.5 -> 2, 2.5 -> 2 (ties to even), 50, full scale stays, 32767.5 -> 32768.
  EXPECT_EQ(mean, (std::vector<uint16_t>{2, 2, 50, 65535, 32768}));
  ASSERT_TRUE(SV_avg_hist(5, frame, mean, 1));  // weight 1: the frame itself
  EXPECT_EQ(mean, frame);

  // Largest weight: no overflow on the way.
  std::vector<uint16_t> full(1, 65535);
  ASSERT_TRUE(SV_avg_hist(1, std::vector<uint16_t>{65535}, full, 65535));
  EXPECT_EQ(full[0], 65535);
  EXPECT_FALSE(SV_avg_hist(1, frame, full, 0));
  EXPECT_FALSE(SV_avg_hist(1, frame, full, 65536));
}

TEST(KernelAvgHist, RunningMeanOfTheFirstFrames) {
  // frames = the count so far: frame 1 replaces, frame n weighs 1/n; for
  // frames that are all equal the mean is that value.
  std::vector<uint16_t> mean(3, 12345);
  const std::vector<uint16_t> frames[4] = {{10, 0, 40000}, {20, 0, 40000}, {30, 3, 40000},
                                           {40, 5, 40000}};
  for (uint32_t n = 1; n <= 4; ++n) ASSERT_TRUE(SV_avg_hist(3, frames[n - 1], mean, int(n)));
  EXPECT_EQ(mean[0], 25);  // 10, 15, 20, 25
  EXPECT_EQ(mean[1], 2);   // 0, 0, 1, 2 (1 + (5 - 1) / 4 = 2)
  EXPECT_EQ(mean[2], 40000);
}

TEST_P(KernelAccumulatePaths, MatchesTheExactQuotientEverywhere) {
  std::mt19937 rng(11);
  const size_t n = 1001;
  for (int frames : {2, 3, 4, 7, 8, 100, 4097, 65535}) {
    std::vector<uint16_t> mean(n), frame(n), expected(n);
    for (size_t i = 0; i < n; ++i) {
      mean[i] = uint16_t(rng());
      frame[i] = uint16_t(rng());
      expected[i] = Mixed(mean[i], frame[i], uint32_t(frames));
    }
    ASSERT_TRUE(SV_avg_hist(n, frame, mean, frames));
    ASSERT_EQ(mean, expected) << "frames " << frames;
  }
}

// Exact ties (the new frame half a step of 1 / frames from a whole level)
// for even weights, above and below the mean, with odd and even means.
TEST_P(KernelAccumulatePaths, TiesGoToTheEvenMean) {
  for (int frames : {2, 4, 6, 10, 64, 100, 1000, 4096, 65534}) {
    std::vector<uint16_t> mean, frame;
    for (int j = -3; j <= 3; ++j)
      for (int m : {30000, 30001, 1, 64000}) {
        const long f = m + long(j) * frames + frames / 2;
        const long g = m - long(j) * frames - frames / 2;
        for (long v : {f, g})
          if (v >= 0 && v <= 65535) {
            mean.push_back(uint16_t(m));
            frame.push_back(uint16_t(v));
          }
      }
    while (mean.size() < 200) {  // past the vector width, with a tail
      mean.push_back(mean[mean.size() % 7]);
      frame.push_back(frame[frame.size() % 7]);
    }
    std::vector<uint16_t> expected(mean.size());
    for (size_t i = 0; i < mean.size(); ++i) expected[i] = Mixed(mean[i], frame[i], uint32_t(frames));
    ASSERT_TRUE(SV_avg_hist(mean.size(), frame, mean, frames));
    ASSERT_EQ(mean, expected) << "frames " << frames;
  }
}

// The full swing of a sample, both ways, at every weight up to 300 (odd, even
// and powers of two take different loops) and a few far beyond.
TEST_P(KernelAccumulatePaths, FullSwingAtEveryWeight) {
  std::vector<int> weights;
  for (int w = 1; w <= 300; ++w) weights.push_back(w);
  for (int w : {1023, 1024, 1025, 32768, 65534, 65535}) weights.push_back(w);
  const uint16_t ends[] = {0, 1, 2, 32767, 32768, 65534, 65535};
  std::vector<uint16_t> mean0, frame;
  for (uint16_t m : ends)
    for (uint16_t f : ends) {
      mean0.push_back(m);
      frame.push_back(f);
    }
  while (mean0.size() < 100) {  // whole vectors and a tail
    mean0.push_back(mean0[mean0.size() % 49]);
    frame.push_back(frame[frame.size() % 47]);
  }
  for (int w : weights) {
    std::vector<uint16_t> mean = mean0, expected(mean0.size());
    for (size_t i = 0; i < mean.size(); ++i) expected[i] = Mixed(mean[i], frame[i], uint32_t(w));
    ASSERT_TRUE(SV_avg_hist(mean.size(), frame, mean, w));
    ASSERT_EQ(mean, expected) << "frames " << w;
  }
}

}  // namespace
}  // namespace sv
