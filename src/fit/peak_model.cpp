#include "fit/peak_model.h"

#include <algorithm>
#include <cmath>

namespace sv {

float theoLine(const FitPeak& peak, float x) {
  const float w = peak.Width;
  if (w == 0.0f) return 0.0f;
  const float d = x - peak.Xc;
  switch (peak.Shape) {
    case kShapeLorentz:
      return peak.Height * w * w / ((2.0f * d) * (2.0f * d) + w * w);
    case kShapeGauss: {
      const float r = 2.0f * d / w;
      float u = -(r * r);
      if (u > 88.0f) u = 88.0f;
      return peak.Height * std::exp(u);
    }
    default:
      return 0.0f;
  }
}

float CalcYFit(const PeakModel& model, float x) {
  float y = model.Y0 + model.Slope * x;
  const int n = std::clamp(model.Peaks, 0, kMaxPeaks);
  for (int k = 1; k <= n; ++k) y += theoLine(model.Peak[size_t(k)], x);
  return y;
}

std::string PeakEntryName(int index) {
  switch (index) {
    case 1: return "Location";
    case 2: return "Y0";
    case 3: return "m";
    default: break;
  }
  if (index < 4 || index > kPeakTableSize) return "";
  static const char* const kinds[] = {"Xc", "H", "W", "Peak"};
  return std::to_string(index / 4) + kinds[index % 4];
}

float PeakArea(int shape, float height, float width) {
  // The Gaussian factor is sqrt(pi)/sqrt(2): it does not match the 1/e width
  // of the model, and the listed areas keep it.
  if (shape == kShapeLorentz) return height * width * 1.570796f;
  if (shape == kShapeGauss) return height * width * 1.253314f;
  return 0.0f;
}

void SmoothForAutoInit(std::vector<float>& y, std::vector<float>& fit) {
  const long n = static_cast<long>(y.size()) - 1;
  if (n < 1) return;
  if (static_cast<long>(fit.size()) < n + 1) fit.resize(size_t(n + 1), 0.0f);
  // Median of three, in place: point i-1 is already filtered.
  for (long i = 2; i <= n - 1; ++i) {
    const float a = y[size_t(i - 1)], b = y[size_t(i)], c = y[size_t(i + 1)];
    y[size_t(i)] = std::max(std::min(a, b), std::min(std::max(a, b), c));
  }
  // Mean of five, through fit.
  for (long i = 0; i <= n - 5; ++i) {
    float sum = 0.0f;
    for (long j = i + 1; j <= i + 5; ++j) sum += y[size_t(j)];
    fit[size_t(i + 3)] = sum / 5.0f;
  }
  for (long i = 3; i <= n - 2; ++i) y[size_t(i)] = fit[size_t(i)];
}

AutoInitResult ScanPeaks(const std::vector<float>& x, const std::vector<float>& y, double min,
                         double max, const AutoInitSettings& s) {
  AutoInitResult r;
  const long n = std::min<long>(static_cast<long>(y.size()), static_cast<long>(x.size())) - 1;
  if (n < 1) return r;
  const float range = static_cast<float>(max - min);
  const float t = static_cast<float>(s.PeakMinCount) * 0.01f * range;
  const float c = static_cast<float>(s.PeakContrast) * 0.01f * range;

  float y0 = y[1];
  for (long i = 2; i <= n; ++i) y0 = std::min(y0, y[size_t(i)]);
  r.Y0 = y0;
  r.Slope = 0.0f;

  bool seekMax = true;
  float lastMax = -1.0f, lastMin = 0.0f;
  long maxFirst = 1, maxLast = 1;
  for (long i = 1; i <= n - 1; ++i) {
    const float d = y[size_t(i)] - r.Y0 - r.Slope * x[size_t(i)];
    if (d < t) continue;
    if (seekMax) {
      if (d > lastMax) {
        lastMax = d;
        maxFirst = maxLast = i;
      } else if (d == lastMax) {
        maxLast = i;  // a plateau
      } else if (d + c < lastMax) {
        ++r.Count;
        if (r.Count <= kMaxPeaks) {
          FoundPeak p;
          p.Xc = (x[size_t(maxFirst)] + x[size_t(maxLast)]) / 2.0f;
          p.H = lastMax;
          // Half-height limits compare with Y itself, not with the height
          // above the background.
          long left = maxFirst, right = maxLast;
          while (left != 1 && lastMax * 0.5f < y[size_t(left)]) --left;
          while (right != n && lastMax * 0.5f < y[size_t(right)]) ++right;
          const float w0 = x[size_t(right)] - x[size_t(left)];
          if (s.PeakWidth > 0.0f)
            p.W = s.PeakWidth;
          else if (s.PeakShape == kShapeLorentz)
            p.W = w0;
          else if (s.PeakShape == kShapeGauss)
            p.W = w0 * 0.5f / 0.5889f;
          else
            p.W = -s.PeakWidth;
          r.Peaks.push_back(p);
        }
        lastMin = lastMax;
        lastMax = -1.0f;
        seekMax = false;
      }
    } else {
      if (d < lastMin) {
        lastMin = d;
      } else if (lastMin + static_cast<float>(s.PeakContrast) < d) {
        // The raw setting, not the contrast in data units.
        seekMax = true;
      }
    }
  }
  return r;
}

std::string TooManyPeaksText(int count) {
  return "Error: Too many Peaks (" + std::to_string(count) + ") found.\nmax. number of peaks are " +
         std::to_string(kMaxPeaks) + ".";
}

}  // namespace sv
