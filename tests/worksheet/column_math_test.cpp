// Functions of a column, derivative, integral and smoothing.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <utility>
#include <string>
#include <vector>

#include "core/globals.h"
#include "image/kernel/cpu_paths.h"
#include "support/scripted_host.h"
#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {
namespace {

class ColumnMathTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }
  void TearDown() override { ColumnHooks() = ColumnMathHooks(); }

  // Columns A (X) and B (Y) from the lists; NAN makes a gap.
  void Fill(const std::vector<float>& x, const std::vector<float>& y) {
    sheet.Cols(3);
    sheet.Rows(long(x.size()) + 1);
    for (size_t i = 0; i < x.size(); ++i) {
      const long r = long(i) + 1;
      sheet.TextMatrix(r, 1, std::isnan(x[i]) ? Cell() : Cell(x[i]));
      sheet.TextMatrix(r, 2, std::isnan(y[i]) ? Cell() : Cell(y[i]));
    }
    sheet.Col(2);
  }
  // Column c as floats, NAN for cells that are no number.
  std::vector<float> Column(long c) const {
    std::vector<float> v;
    for (long r = 1; r < sheet.Rows(); ++r) {
      double d;
      v.push_back(sheet.NumberAt(r, c, d) ? float(d) : NAN);
    }
    return v;
  }
  static void ExpectColumn(const std::vector<float>& got, const std::vector<float>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) {
      if (std::isnan(want[i]))
        EXPECT_TRUE(std::isnan(got[i])) << "row " << i + 1;
      else
        EXPECT_FLOAT_EQ(got[i], want[i]) << "row " << i + 1;
    }
  }

  test::ScriptedHost host;
  Form_Worksheet sheet;
};

TEST_F(ColumnMathTest, CaptionsStopAfterTheTwelfth) {
  EXPECT_EQ(FktText(0), "&LN(X)");
  EXPECT_EQ(FktText(2), "LO&G(X)");
  EXPECT_EQ(FktText(10), "2&55 - X");
  EXPECT_EQ(FktText(11), "Cal. Intensity(X)");
  EXPECT_EQ(FktText(12), "");
  EXPECT_EQ(FktText(-1), "");
  EXPECT_EQ(FktCount(), 12);
}

TEST_F(ColumnMathTest, LogIsTheNaturalLogarithmAndEachFunctionItsValue) {
  float y = 0;
  ASSERT_TRUE(FktValue(2, 100.0f, y));
  EXPECT_NEAR(y, 4.60517f, 1e-5);
  ASSERT_TRUE(FktValue(0, 100.0f, y));
  EXPECT_NEAR(y, 4.60517f, 1e-5);
  const struct {
    long index;
    float x, y;
  } cases[] = {{1, 1.0f, 2.7182817f}, {3, 2.0f, 100.0f}, {4, 16.0f, 4.0f},  {5, -3.0f, 9.0f},
               {6, -2.0f, -8.0f},     {7, 4.0f, 0.25f},  {8, -2.5f, 2.5f},  {9, -7.0f, -1.0f},
               {9, 0.0f, 0.0f},       {10, 5.0f, 250.0f}, {12, 3.5f, 3.5f}, {99, -1.0f, -1.0f}};
  for (const auto& c : cases) {
    ASSERT_TRUE(FktValue(c.index, c.x, y)) << c.index;
    EXPECT_FLOAT_EQ(y, c.y) << c.index;
  }
  // Without a result: the cell becomes a gap.
  EXPECT_FALSE(FktValue(0, 0.0f, y));
  EXPECT_FALSE(FktValue(2, -1.0f, y));
  EXPECT_FALSE(FktValue(4, -4.0f, y));
  EXPECT_FALSE(FktValue(7, 0.0f, y));
  EXPECT_FALSE(FktValue(1, 1000.0f, y));  // beyond a float
}

TEST_F(ColumnMathTest, FunctionsWorkInPlaceOnNumbersOnly) {
  sheet.Cols(3);
  sheet.Rows(6);
  sheet.TextMatrix(1, 2, Cell(100.0f));
  sheet.TextMatrix(2, 2, Cell("1e2"));     // a text that is a number
  sheet.TextMatrix(3, 2, Cell("label"));   // left as it is
  sheet.TextMatrix(4, 2, Cell(0.0f));      // no logarithm: a gap
  // row 5 stays a gap
  ASSERT_EQ(Functions(sheet, 2, 2), 1);
  EXPECT_NEAR(sheet.CellAt(1, 2).Number(), 4.60517, 1e-5);
  EXPECT_NEAR(sheet.CellAt(2, 2).Number(), 4.60517, 1e-5);
  EXPECT_EQ(sheet.CellAt(2, 2).Kind(), CellKind::F32);
  EXPECT_EQ(sheet.CellAt(3, 2).Text(), "label");
  EXPECT_TRUE(sheet.CellAt(4, 2).IsNull());
  EXPECT_TRUE(sheet.CellAt(5, 2).IsNull());
  EXPECT_TRUE(sheet.ColChanged(2));

  // A float column takes the same road through its packed cells.
  sheet.TextMatrix(1, 1, Cell(100.0f));
  sheet.TextMatrix(2, 1, Cell(-1.0f));
  ASSERT_NE(sheet.FloatBody(1), nullptr);
  ASSERT_EQ(Functions(sheet, 1, 2), 1);
  EXPECT_NEAR(sheet.CellAt(1, 1).Number(), 4.60517, 1e-5);
  EXPECT_TRUE(sheet.CellAt(2, 1).IsNull());
}

TEST_F(ColumnMathTest, CalibratedIntensityComesThroughTheHook) {
  Fill({1, 2}, {10, 20});
  float y = 0;
  ASSERT_TRUE(FktValue(11, 7.0f, y));
  EXPECT_EQ(y, 7.0f);  // no table: unchanged
  ColumnHooks().calIntensity = [](float x) { return x * 2 + 1; };
  ASSERT_EQ(Functions(sheet, 2, 11), 1);
  ExpectColumn(Column(2), {21, 41});
}

TEST_F(ColumnMathTest, ProtectedColumnsRefuseInPlaceWrites) {
  Fill({1, 2, 3}, {4, 5, 6});
  sheet.Record(1).Protected = true;
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  EXPECT_EQ(Functions(sheet, 2, 5), 0);
  EXPECT_EQ(Smooth(sheet, 1, false), 0);
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0].text, "At least one column is write protected!");
  ExpectColumn(Column(2), {4, 5, 6});
  // A new column is no write in place.
  EXPECT_EQ(Smooth(sheet, 1, true), 1);
  EXPECT_EQ(Differentiate(sheet), 1);
}

TEST_F(ColumnMathTest, DerivativeIsTheMeanOfBothSlopesOneAtTheEnds) {
  Fill({0, 1, 2, 4}, {0, 1, 4, 16});
  ASSERT_EQ(Differentiate(sheet), 1);
  ASSERT_EQ(sheet.Cols(), 4);
  EXPECT_EQ(sheet.ColName(3), "B'");
  EXPECT_EQ(sheet.Record(3).Typ, kTypY);
  // Slopes 1, 3, 6: ends alone, inside the means.
  ExpectColumn(Column(3), {1, 2, 4.5f, 6});
  EXPECT_TRUE(sheet.Changed());
}

TEST_F(ColumnMathTest, DerivativeSkipsGapsAndLeavesThemNull) {
  Fill({0, 1, NAN, 2, 3}, {0, 2, 5, NAN, 12});
  ASSERT_EQ(Differentiate(sheet), 1);
  // Points at rows 1, 2 and 5: slopes 2 and 5.
  ExpectColumn(Column(3), {2, 3.5f, NAN, NAN, 5});
}

TEST_F(ColumnMathTest, EqualNeighbouringXDropsThatSlope) {
  Fill({0, 1, 1, 2}, {0, 1, 3, 5});
  ASSERT_EQ(Differentiate(sheet), 1);
  // Rows 2 and 3 share X: each keeps its other slope (1 and 2).
  ExpectColumn(Column(3), {1, 1, 2, 2});
  // All X equal: no slope anywhere, so nothing to carry forward.
  Fill({5, 5, 5}, {1, 2, 3});
  ASSERT_EQ(Differentiate(sheet), 1);
  ExpectColumn(Column(3), {NAN, NAN, NAN});
}

TEST_F(ColumnMathTest, BothSlopesDroppedKeepThePreviousResult) {
  Fill({0, 1, 1, 1, 3}, {0, 2, 9, 9, 13});
  ASSERT_EQ(Differentiate(sheet), 1);
  // Row 3 has X equal on both sides: it repeats row 2's value.
  ExpectColumn(Column(3), {2, 2, 2, 2, 2});
}

TEST_F(ColumnMathTest, PackedAndGeneralColumnsDifferentiateAlike) {
  std::vector<float> x, y;
  for (int i = 0; i < 5000; ++i) {
    x.push_back(float(i / 2));  // pairs of equal X, runs across the column's tiles
    y.push_back(std::sin(float(i) * 0.3f) * 10.0f);
  }
  for (int i = 2046; i <= 2050; ++i) x[size_t(i)] = 7000.0f;  // both slopes dropped
  Fill(x, y);
  ASSERT_EQ(Differentiate(sheet), 1);
  const std::vector<float> fast = Column(3);
  Fill(x, y);
  sheet.TextMatrix(1, 1, Cell(0.0));  // a double: the column is no longer packed
  ASSERT_EQ(sheet.FloatBody(1), nullptr);
  ASSERT_EQ(Differentiate(sheet), 1);
  ExpectColumn(Column(3), fast);
}

// Long columns go 16 or 8 points at a time where they can; the results are
// the general way's to the bit, and a column that turns out to need the
// general way (a repeated X, a gap, an overflow, found late) still gets it.
TEST_F(ColumnMathTest, LongColumnsDifferentiateAsTheGeneralWayToTheBit) {
  auto bits = [](const std::vector<float>& v) {
    std::vector<uint32_t> b;
    for (float f : v) b.push_back(std::bit_cast<uint32_t>(f));
    return b;
  };
  // The derivative of a packed sheet and of one that is not, as bits.
  auto both = [&](const std::vector<float>& x, const std::vector<float>& y) {
    sheet.Cols(1);  // fresh columns, packed again
    Fill(x, y);
    EXPECT_NE(sheet.FloatBody(1), nullptr);
    EXPECT_EQ(Differentiate(sheet), 1);
    const std::vector<float> packed = Column(3);
    Fill(x, y);
    sheet.TextMatrix(1, 1, Cell(double(x[0])));  // a double: no longer packed
    EXPECT_EQ(Differentiate(sheet), 1);
    return std::make_pair(bits(packed), bits(Column(3)));
  };
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> step(0.01f, 3.0f), value(-1e3f, 1e3f);
  const int widest = cpu::pathLimit;
  for (int limit = widest; limit >= 0; --limit) {  // every processor's loop
    cpu::pathLimit = limit;
    for (size_t n : {9u, 17u, 18u, 31u, 32u, 33u, 47u, 1000u, 4099u}) {
      SCOPED_TRACE("path " + std::to_string(limit) + ", " + std::to_string(n) + " points");
      std::vector<float> x(n), y(n);
      float at = -50.0f;
      for (size_t i = 0; i < n; ++i) {
        x[i] = at += step(rng);
        y[i] = value(rng);
      }
      y[n / 2] = y[n / 2 + 1] = -0.0f;  // slopes of zero either side
      y[0] = y[n - 2] = 0.0f;           // and slopes of -0 at the ends
      y[1] = y[n - 1] = -0.0f;
      const auto [fast, general] = both(x, y);
      EXPECT_EQ(fast, general);
      // Late trouble: a repeated X, a slope that overflows, a gap at the end.
      std::vector<float> x2 = x;
      x2[n - 3] = x2[n - 4];
      const auto [a, b] = both(x2, y);
      EXPECT_EQ(a, b) << "X repeated";
      std::vector<float> y2 = y;
      y2[n - 2] = 3e38f;
      y2[n - 1] = -3e38f;
      const auto [c, d] = both(x, y2);
      EXPECT_EQ(c, d) << "overflow";
      y2 = y;
      y2[n - 1] = NAN;
      sheet.Cols(1);
      Fill(x, y2);
      EXPECT_EQ(Differentiate(sheet), 1);
      const std::vector<float> gap = Column(3);
      EXPECT_TRUE(std::isnan(gap[n - 1]));
      EXPECT_FLOAT_EQ(gap[n - 2], (y[n - 2] - y[n - 3]) / (x[n - 2] - x[n - 3]));
    }
  }
  cpu::pathLimit = widest;
}

// Smoothing long columns in place and into copies gives the general way's
// results to the bit on every processor's loop; a gap or a number too large
// for the quick pass sends the column the general way.
TEST_F(ColumnMathTest, LongColumnsSmoothAsTheGeneralWayToTheBit) {
  auto bits = [](const std::vector<float>& v) {
    std::vector<uint32_t> b;
    for (float f : v) b.push_back(std::bit_cast<uint32_t>(f));
    return b;
  };
  auto both = [&](const std::vector<float>& y, bool copy) {
    sheet.Cols(1);
    Fill(y, y);
    EXPECT_NE(sheet.FloatBody(2), nullptr);
    EXPECT_EQ(Smooth(sheet, 1, copy), 1);
    const std::vector<float> packed = Column(copy ? 3 : 2);
    sheet.Cols(1);
    Fill(y, y);
    sheet.TextMatrix(1, 2, Cell(double(y[0])));  // a double: no longer packed
    EXPECT_EQ(sheet.FloatBody(2), nullptr);
    EXPECT_EQ(Smooth(sheet, 1, copy), 1);
    return std::make_pair(bits(packed), bits(Column(copy ? 3 : 2)));
  };
  std::mt19937 rng(11);
  std::uniform_real_distribution<float> value(-1e6f, 1e6f);
  const int widest = cpu::pathLimit;
  for (int limit = widest; limit >= 0; --limit) {
    cpu::pathLimit = limit;
    for (size_t n : {3u, 9u, 17u, 18u, 33u, 1000u, 4099u}) {
      SCOPED_TRACE("path " + std::to_string(limit) + ", " + std::to_string(n) + " rows");
      std::vector<float> y(n);
      for (float& v : y) v = value(rng);
      for (bool copy : {false, true}) {
        const auto [fast, general] = both(y, copy);
        EXPECT_EQ(fast, general) << (copy ? "copy" : "in place");
      }
      std::vector<float> wild = y;
      wild[n - 2] = 3e38f;  // 2y + left + right overflows: a gap
      const auto [a, b] = both(wild, false);
      EXPECT_EQ(a, b) << "overflow";
      EXPECT_TRUE(std::isnan(Column(2)[n - 2]));
      // Gaps in the middle and trouble at the start: the sweep hands over
      // where it meets them, or leaves the whole pass to the general way.
      for (size_t at : {size_t(1), n / 2}) {
        for (int kind = 0; kind < 2; ++kind) {
          wild = y;
          if (kind == 0) {  // an overflow, gaps after it
            wild[at] = 3e38f;
            if (at + 3 < n) wild[at + 2] = wild[n - 1] = NAN;
          } else {  // a gap right of the point: its right number lies beyond
            wild[at + 1] = NAN;
          }
          for (bool copy : {false, true}) {
            const auto [c, d] = both(wild, copy);
            EXPECT_EQ(c, d) << "trouble " << kind << " at " << at << (copy ? ", copy" : "");
          }
        }
      }
    }
  }
  cpu::pathLimit = widest;
}

TEST_F(ColumnMathTest, IntegralRunsOverTrapezoids) {
  Fill({0, 1, NAN, 3}, {2, 4, 1, 0});
  ASSERT_EQ(Integrate(sheet), 1);
  EXPECT_EQ(sheet.ColName(3), "B.int");
  ExpectColumn(Column(3), {0, 3, NAN, 7});
}

TEST_F(ColumnMathTest, DerivativeWantsADataColumn) {
  Fill({1, 2}, {3, 4});
  sheet.Col(0);
  EXPECT_EQ(Differentiate(sheet), 0);
  EXPECT_EQ(Integrate(sheet), 0);
  EXPECT_EQ(sheet.Cols(), 3);
}

TEST_F(ColumnMathTest, SmoothingPassesKeepTheEndsAndSkipGaps) {
  Fill({1, 2, 3, 4, 5, 6}, {0, 4, NAN, 8, 0, 4});
  sheet.Record(2).MaxValue = 10;
  ASSERT_EQ(Smooth(sheet, 1, false), 1);
  // Numbers 0 4 8 0 4: inner (2y + left + right) / 4.
  ExpectColumn(Column(2), {0, 4, NAN, 5, 3, 4});
  EXPECT_EQ(sheet.Record(2).MinValue, 0.0f);
  EXPECT_EQ(sheet.Record(2).MaxValue, -1.0f);
  EXPECT_TRUE(sheet.Changed());

  Fill({1, 2, 3, 4, 5}, {0, 0, 16, 0, 0});
  ASSERT_EQ(Smooth(sheet, 2, false), 1);
  // Each pass reads the one before: 0 4 8 4 0, then 0 4 6 4 0.
  ExpectColumn(Column(2), {0, 4, 6, 4, 0});
}

TEST_F(ColumnMathTest, SmoothingTwoValuesChangesNothing) {
  Fill({1, 2}, {3, 9});
  ASSERT_EQ(Smooth(sheet, 50, false), 1);
  ExpectColumn(Column(2), {3, 9});
  std::vector<float> v = {3, 9};
  SmoothValues(v, 5);
  EXPECT_EQ(v, (std::vector<float>{3, 9}));
}

TEST_F(ColumnMathTest, DegreeHundredIsTakenAHundredAndOneIgnored) {
  Fill({1, 2, 3, 4}, {0, 8, 0, 8});
  EXPECT_EQ(Smooth(sheet, 101, false), 0);
  EXPECT_EQ(Smooth(sheet, 0, false), 0);
  ExpectColumn(Column(2), {0, 8, 0, 8});
  ASSERT_EQ(Smooth(sheet, 100, false), 1);
  std::vector<float> want = {0, 8, 0, 8};
  SmoothValues(want, 100);
  ExpectColumn(Column(2), want);
}

TEST_F(ColumnMathTest, NewColumnsGoBesideEachSelectedColumn) {
  Fill({1, 2, 3, 4}, {0, 4, 0, NAN});
  sheet.Cols(4);
  sheet.TextMatrix(1, 3, Cell(8.0f));
  sheet.TextMatrix(2, 3, Cell("note"));
  sheet.TextMatrix(3, 3, Cell(0.0f));
  sheet.TextMatrix(4, 3, Cell(8.0f));
  sheet.SetSelection(0, 2, sheet.Rows() - 1, 3);
  ASSERT_EQ(Smooth(sheet, 1, true), 1);
  ASSERT_EQ(sheet.Cols(), 6);
  EXPECT_EQ(sheet.ColName(3), "B.sm");
  EXPECT_EQ(sheet.ColName(5), "C1.sm");
  ExpectColumn(Column(2), {0, 4, 0, NAN});  // sources stay
  ExpectColumn(Column(3), {0, 2, 0, NAN});
  EXPECT_EQ(sheet.CellAt(2, 5).Text(), "note");  // a text is copied
  ExpectColumn(Column(5), {8, NAN, 4, 8});
}

TEST_F(ColumnMathTest, PackedAndGeneralColumnsSmoothAlike) {
  std::vector<float> x, y;
  for (int i = 0; i < 5000; ++i) {
    x.push_back(float(i));
    y.push_back(float((i * 37) % 11));
  }
  // Gaps at the start, around the first tile's end and at the end.
  for (int i : {0, 1, 2047, 2048, 2050, 4095, 4999}) y[size_t(i)] = NAN;
  y[3000] = y[3001] = 3e38f;  // too large to smooth without overflow: gaps
  y[3500] = -1e37f;
  for (long degree : {1L, 3L}) {
    Fill(x, y);
    ASSERT_EQ(Smooth(sheet, degree, false), 1);
    const std::vector<float> fast = Column(2);
    Fill(x, y);
    sheet.TextMatrix(6, 2, Cell(double(y[5])));  // general cells, same values
    ASSERT_EQ(sheet.FloatBody(2), nullptr);
    ASSERT_EQ(Smooth(sheet, degree, false), 1);
    ExpectColumn(Column(2), fast);
  }
}

}  // namespace
}  // namespace sv
