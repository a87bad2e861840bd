// The simulated Auger spectrometer behind a dummy A/D channel: a tabulated
// spectrum of energy / voltage pairs, read from a text file, answered at any
// energy.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hardware/dummy_backends.h"

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

// The spectrum file the "AD_Simulator" interface reads when it starts; empty
// means AES_Spectrum.txt in the user's data root.
std::string& AESSpectrumFile();

// The A/D "AD_Simulator": the Dummy A/D, except that its Auger channel
// (HW().AugerADChannel) answers the simulated spectrum at the energy last set
// on the Auger line: the voltage written to ChannelAUGER turned back through
// OffsetAUGER / GainAUGER, step or interpolated by the "Derivative" setting.
// Without a readable spectrum file the Auger channel reads 0 V.
class Class_AD_Simulator : public Class_AD_Dummy {
 public:
  long AD_init(long base, bool& answers) override;
  long AD_get_voltage(long channel, float& volts) override;
  long AD_interface_name(std::string& name) override;

  Class_AES_Simulator& Simulator() { return sim_; }
  // The text of a failed spectrum load at the start ("" when it loaded).
  const std::string& LoadMessage() const { return loadMessage_; }

 private:
  Class_AES_Simulator sim_;
  std::string loadMessage_;
};

}  // namespace sv
