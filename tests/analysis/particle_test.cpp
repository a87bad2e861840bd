#include "analysis/particle.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "support/recording_surface.h"

namespace sv {
namespace {

Class_Particle Of(const std::vector<std::pair<long, long>>& points) {
  Class_Particle p;
  for (auto [x, y] : points) p.AddPoint(x, y);
  return p;
}

// The border of the square (1, 1) .. (3, 3) in tracing order, clockwise on
// the screen, without its start pixel (1, 1).
const std::vector<std::pair<long, long>> kRing = {{2, 1}, {3, 1}, {3, 2}, {3, 3},
                                                  {2, 3}, {1, 3}, {1, 2}};

TEST(ParticleTest, EmptyParticleMeasuresZero) {
  Class_Particle p;
  EXPECT_EQ(p.PointCount(), 0);
  EXPECT_EQ(p.Area(), 0.0);
  EXPECT_EQ(p.ECD(), 0.0);
  EXPECT_EQ(p.FormFactor(), 0.0);
  EXPECT_EQ(p.Perimeter(), 0.0);
  EXPECT_EQ(p.Diameter(), 0.0);
  double x = 5, y = 5;
  EXPECT_FALSE(p.CenterOfGravity(x, y));
  long l = 9, t = 9, r = 9, b = 9;
  p.size(l, t, r, b);
  EXPECT_EQ(std::vector<long>({l, t, r, b}), std::vector<long>({0, 0, 0, 0}));
  EXPECT_FALSE(p.IsInside(0, 0));
  EXPECT_DOUBLE_EQ(p.Pi, 3.14159265358979323846);
}

TEST(ParticleTest, OpenRingMeasures) {
  const Class_Particle p = Of(kRing);
  // Closed, the square's area would be 4; open, with (0, 0) behind the last
  // point, the two terms with the start pixel are missing: 4 + (1 + 1) / 2.
  EXPECT_DOUBLE_EQ(p.Area(), 5.0);
  EXPECT_DOUBLE_EQ(p.Perimeter(), 6.0);
  double x = 0, y = 0;
  ASSERT_TRUE(p.CenterOfGravity(x, y));
  EXPECT_DOUBLE_EQ(x, 15.0 / 7.0);
  EXPECT_DOUBLE_EQ(y, 15.0 / 7.0);
  EXPECT_DOUBLE_EQ(p.ECD(), 2.0 * std::sqrt(5.0 / p.Pi));
  EXPECT_DOUBLE_EQ(p.FormFactor(), p.Pi * 4.0 * 5.0 / 36.0);
  long l, t, r, b;
  p.size(l, t, r, b);
  EXPECT_EQ(std::vector<long>({l, t, r, b}), std::vector<long>({1, 1, 3, 3}));
}

TEST(ParticleTest, AreaDependsOnPlaceAndDirection) {
  std::vector<std::pair<long, long>> moved, reversed(kRing.rbegin(), kRing.rend());
  for (auto [x, y] : kRing) moved.emplace_back(x + 10, y);
  EXPECT_DOUBLE_EQ(Of(moved).Area(), 4.0 + (11.0 + 1.0) / 2.0);
  EXPECT_LT(Of(reversed).Area(), 0.0);
  EXPECT_EQ(Of(reversed).ECD(), 0.0);
}

TEST(ParticleTest, PointsAndDeletion) {
  Class_Particle p;
  EXPECT_EQ(p.AddPoint(4, -2), 1);
  EXPECT_EQ(p.AddPoint(40000, 7), 2);
  long x = 0, y = 0;
  ASSERT_TRUE(p.Point(1, x, y));
  EXPECT_EQ(std::pair(x, y), std::pair(40000L, 7L));
  EXPECT_FALSE(p.Point(2, x, y));
  EXPECT_FALSE(p.Point(-1, x, y));
  p.DeletePoints();
  EXPECT_EQ(p.PointCount(), 0);
  for (int i = 0; i < 250; ++i) p.AddPoint(i, i);
  EXPECT_EQ(p.PointCount(), 250);
}

TEST(ParticleTest, IsInsideCountsOnlyTheTracingSense) {
  const Class_Particle p = Of(kRing);
  EXPECT_TRUE(p.IsInside(2, 2));
  EXPECT_TRUE(p.IsInside(1.5, 2.5));
  EXPECT_FALSE(p.IsInside(5, 2));
  EXPECT_FALSE(p.IsInside(-3, -3));
  const Class_Particle back = Of({kRing.rbegin(), kRing.rend()});
  EXPECT_FALSE(back.IsInside(2, 2));
  // The test is against 1.0, not a full turn: an eighth of a turn is not
  // inside, a quarter is.
  EXPECT_FALSE(Of({{2, 1}, {3, 1}}).IsInside(2, 2));
  EXPECT_TRUE(Of({{2, 1}, {3, 2}}).IsInside(2, 2));
  EXPECT_FALSE(Of({{3, 2}, {2, 1}}).IsInside(2, 2));
}

TEST(ParticleTest, DrawsOneLineThroughThePoints) {
  test::RecordingSurface surface;
  Of(kRing).Draw(surface, 2.0, 10.0, 20.0, 0x0000FF);
  auto lines = surface.Of(test::DrawCall::Polyline);
  ASSERT_EQ(lines.size(), 1u);
  ASSERT_EQ(lines[0]->points.size(), kRing.size());
  EXPECT_EQ(lines[0]->points[0].x, 14.0);
  EXPECT_EQ(lines[0]->points[0].y, 22.0);
  EXPECT_EQ(lines[0]->pen.color, 0x0000FF);
  surface.Clear();
  Class_Particle().Draw(surface, 1, 0, 0, 0);
  EXPECT_TRUE(surface.calls.empty());
}

}  // namespace
}  // namespace sv
