// The simulated Auger spectrometer behind a dummy A/D channel: a tabulated
// spectrum of energy / voltage pairs, read from a text file, answered at any
// energy.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sv {

inline constexpr size_t kAESMaxRows = 32000;

class Class_AES_Simulator {
 public:
  // Reads "energy,voltage" lines (blank lines skipped; blanks around the
  // numbers allowed); rows past 32000 are ignored. A line that is not two
  // numbers refuses the whole text: false, `message` names the line, and the
  // spectrum held before stays.
  bool ParseSpectrum(std::string_view text, std::string& message);
  // The file through ParseSpectrum; an unreadable file gives "Cannot open "
  // and its path.
  bool LoadSpectrum(const std::string& path, std::string& message);

  // 0 outside the first and last tabulated energies. Otherwise the first row
  // with an energy above the argument: its voltage, or with `derivative` the
  // straight line between the row before and it. At the last energy itself,
  // the last row's voltage.
  float GetAESVoltage(float energy, bool derivative) const;

  size_t Rows() const { return energy_.size(); }

 private:
  std::vector<float> energy_, voltage_;
};

// The spectrum file in the data root: <root>/AES_Spectrum.txt.
std::string AESSpectrumPath(const std::string& dataRoot);

}  // namespace sv
