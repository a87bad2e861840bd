#include "image/kernel/dynamic.h"

#include <gtest/gtest.h>

namespace sv {
namespace {

long AddFour(long a, long b, long c, long d) { return a + 10 * b + 100 * c + 1000 * d; }

TEST(DynamicCalls, ReachAFunctionOfALoadedLibrary) {
  void* libc = SV_LoadLibrary("libc.so.6");
  ASSERT_NE(libc, nullptr);
  void* labs = SV_GetProcAddress(libc, "labs");
  ASSERT_NE(labs, nullptr);
  EXPECT_EQ(SV_Call(labs, -42), 42);
  EXPECT_EQ(SV_GetProcAddress(libc, "no_such_function_here"), nullptr);
  SV_FreeLibrary(libc);
  // Arguments arrive in order.
  EXPECT_EQ(SV_Call(reinterpret_cast<void*>(&AddFour), 1, 2, 3, 4), 4321);
}

TEST(DynamicCalls, MissingThingsGiveNothing) {
  EXPECT_EQ(SV_LoadLibrary("/no/such/library.so"), nullptr);
  EXPECT_EQ(SV_LoadLibrary(""), nullptr);
  EXPECT_EQ(SV_GetProcAddress(nullptr, "labs"), nullptr);
  EXPECT_EQ(SV_Call(nullptr, 1, 2), 0);
  SV_FreeLibrary(nullptr);
}

}  // namespace
}  // namespace sv
