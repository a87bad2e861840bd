// R-factors between I(E) curves: the Pendry factor on logarithmic
// derivatives and the raw R-squared factor, one pair of columns, a curve
// against a shifted copy of another, and many beams with one common shift.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace sv {

class Form_Worksheet;

constexpr int kRFactorBadColumn = 11002;  // a column number out of range
constexpr int kRFactorNothing = 11005;    // nothing to compare (denominator 0)
constexpr int kRFactorNotNumber = 13;     // a cell in the range is not a number

struct RFactorSettings {
  bool pendry = true;       // else the R-squared factor
  float voi = 4.0f;         // eV, imaginary part of the inner potential
  float threshold = 0.01f;  // a fraction of the larger curve's maximum
  int passes = 0;           // 1-2-1 smoothing passes
};

struct RFactorValue {
  int error = 0;       // 0, kRFactorNothing, ...
  double value = 0.0;  // numerator / denominator
  int counted = 0;     // points above the threshold in both curves
  double span = 0.0;   // energy from the first to the last counted point
};

// new y(i) = (y(i-1) + 2 y(i) + y(i+1)) / 4 for all but the ends, which stay;
// each pass reads what the pass before left.
void SmoothCurve(std::vector<float>& y, int passes);

// The factor on curves sampled at the same energies. The threshold is taken
// from the largest value of both curves; points not above it in both curves
// are skipped and the differences run over the gap. `e` may be empty for the
// R-squared factor.
RFactorValue RFactorAligned(std::span<const float> e, std::span<const float> i1,
                            std::span<const float> i2, const RFactorSettings& s);

// One pair of worksheet columns over rows first .. last (first < 1 or
// first == last: rows 1 .. Rows - 1). energyCol -1 selects R-squared.
RFactorValue Rfactor(const Form_Worksheet& sheet, long energyCol, long col1, long col2,
                     int passes, long firstRow, long lastRow, const RFactorSettings& s);

// A curve as rows of energy and intensity.
struct RFactorCurve {
  std::vector<float> e, i;
};

// Smooths both curves, drops points not above the threshold (from the larger
// of both curves) and sorts each by energy: what every shift then reuses.
struct RFactorPrepared {
  RFactorCurve c1, c2;
};
RFactorPrepared PrepareRFactor(const RFactorCurve& c1, const RFactorCurve& c2,
                               const RFactorSettings& s);

// Curve 2 compared at E - shift, interpolated linearly onto curve 1's
// energies where they overlap (no extrapolation). Fewer than 3 compared
// points give kRFactorNothing.
RFactorValue RFactorShifted(const RFactorPrepared& p, double shift, const RFactorSettings& s);

struct RFactorShiftRange {
  double from = 0.0, to = 0.0, step = 0.0;  // step 0: the single shift `from`
  std::vector<double> Shifts() const;
};

// One beam of an experiment sheet against its match in a theory sheet.
struct RFactorBeam {
  std::string label1, label2;
  bool matched = false;
  RFactorPrepared curves;
  RFactorValue result;  // at the common shift
};

struct RFactorBeamsResult {
  int error = 0;  // kRFactorNothing when no shift compared any beam
  double shift = 0.0;
  double overall = 0.0;  // sum R_b dE_b / sum dE_b
};

// Tries every shift of the range; the common shift is the one with the
// lowest overall R, ties going to the smaller |shift|. Fills each beam's
// result at that shift.
RFactorBeamsResult RFactorBestShift(std::vector<RFactorBeam>& beams,
                                    const RFactorShiftRange& range, const RFactorSettings& s);

// Columns of `theory` matched to `label` (case-insensitive) or, failing
// that, to `name`; -1 when none.
long MatchRFactorColumn(const Form_Worksheet& theory, const std::string& label,
                        const std::string& name);

// The label of a column, or its name when the label is empty.
std::string RFactorColumnTitle(const Form_Worksheet& sheet, long col);

// A column against an energy column as a curve; false on a cell that is not a number.
bool ReadRFactorCurve(const Form_Worksheet& sheet, long energyCol, long col, RFactorCurve& out);

}  // namespace sv
