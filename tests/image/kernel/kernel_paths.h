// Runs a test on each set of loops the kernel has (AVX-512, AVX2, the
// baseline), which a processor would otherwise only take its best of: all
// must give the same. Levels the processor lacks fall back to the next.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "image/kernel/cpu_paths.h"

namespace sv::test {

class EveryPath : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { cpu::pathLimit = GetParam(); }
  void TearDown() override { cpu::pathLimit = 2; }
};

inline std::string PathName(const ::testing::TestParamInfo<int>& info) {
  return info.param == 2 ? "Avx512" : info.param == 1 ? "Avx2" : "Baseline";
}

}  // namespace sv::test

#define SV_EVERY_PATH(Suite) \
  INSTANTIATE_TEST_SUITE_P(Paths, Suite, ::testing::Values(2, 1, 0), sv::test::PathName)
