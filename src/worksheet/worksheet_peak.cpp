// The peak analysis of the plot's peak tool: area, baseline and peak of the
// selected rows of one column against its X column.
#include <algorithm>

#include "worksheet/form_worksheet.h"

namespace sv {

double Form_Worksheet::PeakSummary::Height() const {
  if (rows < 1) return 0;
  // The baseline runs from the first to the last row taken; with both at
  // one X it is their mean.
  double base = 0.5 * (firstY + lastY);
  if (lastX != firstX) base = firstY + (lastY - firstY) * (peakX - firstX) / (lastX - firstX);
  return peakY - base;
}

Form_Worksheet::PeakSummary Form_Worksheet::PeakAnalysis() const { return PeakAnalysis(-1); }

Form_Worksheet::PeakSummary Form_Worksheet::PeakAnalysis(long xcol) const {
  PeakSummary s;
  const long ycol = SelStartCol_;
  if (ycol < 1 || ycol >= cols_ || SelStartRow_ < 1 || SelEndRow_ < 1) return s;
  if (xcol < 0 || xcol >= cols_) xcol = XColOf(ycol);
  long r0 = std::min(SelStartRow_, SelEndRow_);
  long r1 = std::max(SelStartRow_, SelEndRow_);
  r1 = std::min(r1, rows_ - 1);
  if (r0 > r1) return s;

  // X must lie between the end rows' values, both included; when an end
  // row has no number there is no such pair and X is not limited.
  double lo = 0, hi = 0;
  const bool limited = NumberAt(r0, xcol, lo) && NumberAt(r1, xcol, hi);
  if (lo > hi) std::swap(lo, hi);

  double px = 0, py = 0;
  for (long r = r0; r <= r1; ++r) {
    double x, y;
    if (!NumberAt(r, xcol, x) || !NumberAt(r, ycol, y)) continue;
    if (limited && (x < lo || x > hi)) continue;
    if (s.rows == 0) {
      s.firstRow = r;
      s.firstX = x;
      s.firstY = y;
      s.maxRow = r;
      s.peakX = x;
      s.peakY = y;
    } else {
      s.area += (py + y) / 2 * (x - px);
      if (y > s.peakY) {
        s.maxRow = r;
        s.peakX = x;
        s.peakY = y;
      }
    }
    s.lastRow = r;
    s.lastX = x;
    s.lastY = y;
    px = x;
    py = y;
    ++s.rows;
  }
  if (s.rows >= 2) s.baselineArea = (s.lastX - s.firstX) * (s.firstY + s.lastY) / 2;
  return s;
}

void Form_Worksheet::PeakAnalysis(double& area, double& baselineArea, long& maxRow,
                                  double& peakX, double& peakY, long& rows) const {
  const PeakSummary s = PeakAnalysis();
  area = s.area;
  baselineArea = s.baselineArea;
  maxRow = s.maxRow;
  peakX = s.peakX;
  peakY = s.peakY;
  rows = s.rows;
}

}  // namespace sv
