// Runs a test on the vector loops and again on the baseline loops, which a
// processor with AVX2 would otherwise never take: both must give the same.
#pragma once

#include <gtest/gtest.h>

#include "image/kernel/cpu_paths.h"

namespace sv::test {

class BothPaths : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override { cpu::baselineOnly = GetParam(); }
  void TearDown() override { cpu::baselineOnly = false; }
};

inline std::string PathName(const ::testing::TestParamInfo<bool>& info) {
  return info.param ? "Baseline" : "Best";
}

}  // namespace sv::test

#define SV_BOTH_PATHS(Suite) \
  INSTANTIATE_TEST_SUITE_P(Paths, Suite, ::testing::Values(false, true), sv::test::PathName)
