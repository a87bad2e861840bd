#include <gtest/gtest.h>

#include "video/video_file.h"

namespace sv {
namespace {

// The header keeps its byte layout: 24 bytes of numbers, then the labels.
TEST(VideoHeader, Layout) {
  EXPECT_EQ(offsetof(VideoHeader, Text), 24u);
  EXPECT_EQ(sizeof(VideoHeader), 1048u);
}

}  // namespace
}  // namespace sv
