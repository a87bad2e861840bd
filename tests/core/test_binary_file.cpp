#include "core/binary_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "support/scripted_host.h"

namespace sv {
namespace {

std::string Slurp(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

TEST(BinaryFile, FieldsArePackedLittleEndianAndReadBack) {
  test::ScriptedHost host;
  const std::string path = host.root + "/r.bin";
  BinaryOut out;
  ASSERT_TRUE(out.Create(path));
  out.I16(-2);
  out.I32(0x01020304);
  out.F32(1.5f);
  out.Str("Arial");
  out.Fixed("label", 8, ' ');
  out.Fixed("much too long", 4, ' ');
  ASSERT_TRUE(out.Close());
  const std::string bytes = Slurp(path);
  EXPECT_EQ(bytes, std::string("\xFE\xFF\x04\x03\x02\x01\x00\x00\xC0\x3F\x05\x00"
                               "Ariallabel   much",
                               2 + 4 + 4 + 2 + 5 + 8 + 4));

  BinaryIn in;
  ASSERT_TRUE(in.Open(path));
  EXPECT_EQ(in.I16(), -2);
  EXPECT_EQ(in.I32(), 0x01020304);
  EXPECT_EQ(in.F32(), 1.5f);
  EXPECT_EQ(in.Str(), "Arial");
  EXPECT_EQ(in.Fixed(8), "label   ");
  EXPECT_EQ(in.Tell(), in.Size() - 4);
  EXPECT_TRUE(in.ok());
  // Past the end: zero, and the failure sticks.
  EXPECT_EQ(in.Fixed(4), "much");
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(in.I32(), 0);
  EXPECT_FALSE(in.ok());
  EXPECT_EQ(in.F32(), 0.0f);
}

TEST(BinaryFile, AHostileLengthFailsWithoutAllocating) {
  test::ScriptedHost host;
  const std::string path = host.root + "/s.bin";
  BinaryOut out;
  ASSERT_TRUE(out.Create(path));
  out.I16(int16_t(0xFFFF));  // 65535 characters announced, three there
  out.Bytes("abc", 3);
  ASSERT_TRUE(out.Close());
  BinaryIn in;
  ASSERT_TRUE(in.Open(path));
  EXPECT_EQ(in.Str(), "");
  EXPECT_FALSE(in.ok());
  EXPECT_EQ(in.I16(), 0);
  EXPECT_FALSE(BinaryIn().ok());
  EXPECT_FALSE(in.Open(host.root + "/none.bin"));
}

}  // namespace
}  // namespace sv
