// The plots that column arithmetic makes (the transform's "Real FFT") are
// filled by the plot library: titles and the curve.
#pragma once

namespace sv {

// Sets the column arithmetic's plot hook; InstallColumnMathPlots(false)
// takes it back.
void InstallColumnMathPlots(bool on = true);

}  // namespace sv
