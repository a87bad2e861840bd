#include "plot/plot_ticks.h"

#include <gtest/gtest.h>

#include <cmath>

namespace sv {
namespace {

struct Row {
  float limit;
  bool strict;
  double step;
  const char* format;
};

// The whole table, top row first; the row below the last is 0.000005.
constexpr Row kTable[] = {
    {1200000.0f, true, -1, "0"},       {650000.0f, false, 100000, "0"},
    {330000.0f, false, 50000, "0"},    {120000.0f, true, 20000, "0"},
    {65000.0f, false, 10000, "0"},     {33000.0f, false, 5000, "0"},
    {12000.0f, true, 2000, "0"},       {6500.0f, false, 1000, "0"},
    {3300.0f, false, 500, "0"},        {1200.0f, true, 200, "0"},
    {650.0f, false, 100, "0"},         {330.0f, false, 50, "0"},
    {120.0f, true, 20, "0"},           {65.0f, false, 10, "0"},
    {33.0f, false, 5, "0"},            {12.0f, true, 2, "0"},
    {6.5f, false, 1, "0"},             {3.3f, false, 0.5, "0.0"},
    {1.2f, true, 0.2, "0.0"},          {0.65f, false, 0.1, "0.0"},
    {0.33f, false, 0.05, "0.00"},      {0.12f, true, 0.02, "0.00"},
    {0.065f, false, 0.01, "0.00"},     {0.033f, false, 0.005, "0.000"},
    {0.012f, true, 0.002, "0.000"},    {0.0065f, false, 0.001, "0.000"},
    {0.0033f, false, 0.0005, "0.0000"}, {0.0012f, true, 0.0002, "0.0000"},
    {0.00065f, false, 0.0001, "0.0000"}, {0.00033f, false, 0.00005, "0.00000"},
    {0.00012f, true, 0.00002, "0.00000"},
};

TEST(PlotTicks, EveryRowAtItsBoundary) {
  for (size_t i = 0; i < std::size(kTable); ++i) {
    const Row& row = kTable[i];
    const Row* below = i + 1 < std::size(kTable) ? &kTable[i + 1] : nullptr;
    const double belowStep = below ? below->step : 0.000005;
    const char* belowFormat = below ? below->format : "0.00000";
    SCOPED_TRACE(row.limit);
    // "above" rows take the limit itself to the next row; "at least" rows keep it.
    const float inside = row.strict ? std::nextafter(row.limit, 1e30f) : row.limit;
    const float outside = row.strict ? row.limit : std::nextafter(row.limit, 0.0f);
    const TickStep a = ChooseTickStep(inside);
    EXPECT_DOUBLE_EQ(a.step, row.step < 0 ? double(inside) / 2 : row.step);
    EXPECT_STREQ(a.format, row.format);
    const TickStep b = ChooseTickStep(outside);
    EXPECT_DOUBLE_EQ(b.step, belowStep);
    EXPECT_STREQ(b.format, belowFormat);
  }
}

TEST(PlotTicks, RangeIncAndFormatFromTheStep) {
  PlotAxisRecord a;
  a.From = 0.3f;
  a.To = 7.2f;  // r 6.9: step 1
  EXPECT_EQ(ComputeTicks(a, 7), "0");
  EXPECT_FLOAT_EQ(a.From, 0);
  EXPECT_FLOAT_EQ(a.To, 8);
  EXPECT_FLOAT_EQ(a.Inc, 2);
  EXPECT_EQ(a.Ticks, 1);

  // The deliberate last step.
  PlotAxisRecord s;
  s.To = 0.0001f;
  EXPECT_EQ(ComputeTicks(s, 7), "0.00000");
  EXPECT_FLOAT_EQ(s.Inc, 0.00001f);

  // Bit 2 alone sets Ticks and gives no format; the range stays.
  PlotAxisRecord t;
  t.From = 1.5f;
  t.To = 9.5f;
  t.Inc = 3;
  EXPECT_EQ(ComputeTicks(t, 4), "");
  EXPECT_EQ(t.Ticks, 1);
  EXPECT_FLOAT_EQ(t.From, 1.5f);
  EXPECT_FLOAT_EQ(t.Inc, 3);
  // Bit 1 alone: Inc and the format, the ends as they were.
  EXPECT_EQ(ComputeTicks(t, 2), "0");
  EXPECT_FLOAT_EQ(t.Inc, 2);
  EXPECT_FLOAT_EQ(t.To, 9.5f);
}

TEST(PlotTicks, ReversedAxisKeepsItsDirection) {
  PlotAxisRecord a;
  a.From = 9.6f;
  a.To = 0.4f;
  EXPECT_EQ(ComputeTicks(a, 7), "0");
  EXPECT_FLOAT_EQ(a.From, 10);
  EXPECT_FLOAT_EQ(a.To, 0);
  EXPECT_FLOAT_EQ(a.Inc, -2);
}

TEST(PlotTicks, EqualEndsStartAtZero) {
  PlotAxisRecord a;
  a.From = a.To = 5;
  ComputeTicks(a, 7);
  EXPECT_FLOAT_EQ(a.From, 0);
  EXPECT_FLOAT_EQ(a.To, 5);
  PlotAxisRecord z;
  ComputeTicks(z, 7);
  EXPECT_FLOAT_EQ(z.From, 0);
  EXPECT_FLOAT_EQ(z.To, 1);
  EXPECT_FLOAT_EQ(z.Inc, 0.2f);
}

}  // namespace
}  // namespace sv
