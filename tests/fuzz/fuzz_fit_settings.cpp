// Any bytes as "PEAKFIT.INI": the settings read must stay within the ranges
// the fit relies on, whatever the file holds.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/ini_profile.h"
#include "fit/fit_settings.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_fit_settings: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const sv::FitSettings s = sv::FitSettingsFrom(sv::Profile::Parse(text));
  Check(std::isfinite(s.Dmax) && s.Dmax > 0, "Dmax");
  Check(std::isfinite(s.SOSslope) && s.SOSslope > 0, "SOS-slope");
  Check(std::isfinite(s.DiffStep) && s.DiffStep > 0, "DiffStep");
  Check(std::isfinite(s.minSOS) && s.minSOS > 0, "min-SOS");
  Check(s.MaxDmpg >= 0 && s.MaxDmpg <= 100, "MaxDmpg");
  Check(s.MaxFun >= 1, "MaxFun");
  Check(s.FitWght == 1 || s.FitWght == 2, "Fit-Wght");
  Check(s.PeakMinCount >= 0 && s.PeakMinCount <= 99, "PeakMinCount");
  Check(s.PeakContrast >= 1, "PeakContrast");
  Check(s.PeakShape == 1 || s.PeakShape == 2, "PeakShape");
  Check(std::isfinite(s.PeakWidth), "PeakWidth");
  // A number's text reads back as the same number.
  Check(sv::FitTextToFloat(sv::FitNumberText(s.Dmax)) == s.Dmax, "number text");
  Check(std::isfinite(sv::FitTextToFloat(text)), "number read");
  return 0;
}
