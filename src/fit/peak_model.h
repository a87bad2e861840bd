// The peak model: a straight background plus up to 20 Lorentzian or
// Gaussian peaks, and the search for a start model in the data (auto input).
// All values are 32-bit floats.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sv {

inline constexpr int kMaxPeaks = 20;
// Table entries: 1 "Location", 2 "Y0", 3 "m", then four per peak k at 4k.
inline constexpr int kPeakTableSize = 83;

enum PeakShapeCode : int16_t { kShapeNone = 0, kShapeLorentz = 1, kShapeGauss = 2 };

struct FitPeak {
  float Xc = 0;
  float Width = 0;
  float Height = 0;
  int16_t Shape = kShapeNone;
};

// The model's own arrays, refreshed from the parameter table before each
// evaluation.
struct PeakModel {
  int Peaks = 0;
  std::array<FitPeak, kMaxPeaks + 1> Peak{};  // 1..20
  float Y0 = 0;
  float Slope = 0;
  float Location = 0;
};

// One peak at x. Width 0 gives 0 for any shape; Lorentzian width is the full
// width at half height, Gaussian width the full width at 1/e.
float theoLine(const FitPeak& peak, float x);
// Y0 + m * x + all peaks in use.
float CalcYFit(const PeakModel& model, float x);

// Table names: "Location", "Y0", "m", then "<k>Xc", "<k>H", "<k>W", "<k>Peak".
std::string PeakEntryName(int index);
// The peak area as the parameter list and the report give it.
float PeakArea(int shape, float height, float width);

// What auto input needs of the settings.
struct AutoInitSettings {
  int PeakMinCount = 0;  // percent of (max - min)
  int PeakContrast = 8;  // percent of (max - min)
  int PeakShape = kShapeLorentz;
  float PeakWidth = 10.0f;  // above 0: the start width; else from the data
};

struct FoundPeak {
  float Xc = 0, H = 0, W = 0;
};

struct AutoInitResult {
  float Y0 = 0;
  float Slope = 0;
  int Count = 0;                 // all peaks found, also beyond 20
  std::vector<FoundPeak> Peaks;  // the first 20 of them
};

// Median of three then mean of five over y(1..n), in place; fit(1..n) is the
// scratch the means go through. Both vectors are 1-based (size n + 1).
void SmoothForAutoInit(std::vector<float>& y, std::vector<float>& fit);
// The background and the peaks of the (already smoothed) y(1..n) against
// x(1..n). min and max are those of the raw column.
AutoInitResult ScanPeaks(const std::vector<float>& x, const std::vector<float>& y, double min,
                         double max, const AutoInitSettings& s);
// The message of a search that found more than 20 peaks.
std::string TooManyPeaksText(int count);

}  // namespace sv
