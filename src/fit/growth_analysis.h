// Growth rate from an oscillating intensity: the period found from the minima
// and maxima, or from the Fourier transform of the record.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace sv {

// Six single-precision accumulators, as the statistics module keeps them.
class RunningStatistics {
 public:
  void Clear() { *this = RunningStatistics(); }
  void Add(float x, float y);
  // False (outputs untouched) for no values.
  bool Mean(float& x, float& y) const;
  // False (outputs untouched) for fewer than 2 values.
  bool Deviation(float& x, float& y) const;
  float N = 0, SumX = 0, SumX2 = 0, SumY = 0, SumY2 = 0, SumXY = 0;
};

// The samples between t1 and t2 (swapped when t1 is above t2), taken as
// evenly spaced: dt = (t2 - t1) / (n - 1).
struct GrowthData {
  std::vector<float> t, y;
  double t1 = 0, t2 = 0, dt = 0;
};
constexpr const char* kGrowthTitle = "Growthrate Calculation";
// "" when the data are usable, else the message: "Data are not monotonuous"
// or "Not enough data selected" (fewer than 4 values).
std::string SelectGrowthData(std::span<const float> x, std::span<const float> y, double t1,
                             double t2, GrowthData& out);

struct Extreme {
  double Index = 0;  // fractional after the parabola refinement
  double Value = 0;
  bool Maximum = false;
};
// The alternating extremes of `y` with threshold d (d > 0): a search that meets
// the end of the data records no extreme. With `fit` each extreme is refined by
// a parabola through the points within d of it.
std::vector<Extreme> FindExtremes(std::span<const float> y, float d, bool fit);

struct GrowthResult {
  bool Ok = false;
  std::string Message;     // shown when not empty (the results may still be set)
  std::string GrowthRate;  // Text_GrowthRate
  std::string Tau;         // Text_Tau
  double Rate = 0;         // the mean rate (Hz), 0 when none
};
// Rates from each extreme to the one two before: 1 / ((index(i) - index(i-2)) dt).
GrowthResult RatesFromExtremes(const std::vector<Extreme>& extremes, double dt);

struct FftSpectrum {
  bool Ok = false;
  int N = 0, M = 0;
  std::string Status;  // "FFT: n data points expanded to m data points."
  float Dc = 0;
  std::vector<float> Frequency, Amplitude;  // M / 2 + 1 rows, row 0 the DC
  GrowthResult Result;
};
// The record, less its mean, padded with zeros to a power of two M keeps its
// sample step, so row i lies at i / (M dt). A row's amplitude is that of a
// cosine at its frequency, scaled by n / M through the padding; row 0 (the
// DC) is the record's mean.
FftSpectrum FftGrowth(std::span<const float> y, double dt);

// "0.000" style fixed-point text.
std::string FixedText(double v, int decimals);

}  // namespace sv
