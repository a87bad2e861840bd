// Any bytes as a simulated Auger spectrum: refused with a message and the
// spectrum held kept, or read within 32000 rows and answered at any energy
// with a finite voltage.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hardware/aes_simulator.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_load_spectrum: %s\n", what);
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sv::Class_AES_Simulator sim;
  std::string message;
  Check(sim.ParseSpectrum("1,2\n3,4\n", message), "the held spectrum is refused");
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (!sim.ParseSpectrum(text, message)) {
    Check(!message.empty(), "a refusal without a message");
    Check(sim.Rows() == 2 && sim.GetAESVoltage(3, false) == 4, "a refused text changed the spectrum");
    return 0;
  }
  Check(message.empty(), "a message on success");
  Check(sim.Rows() <= sv::kAESMaxRows, "more than 32000 rows");
  for (float e : {-1e30f, -1.0f, 0.0f, 0.5f, 1.0f, 100.0f, 1e30f}) {
    Check(std::isfinite(sim.GetAESVoltage(e, false)), "a voltage is not finite");
    (void)sim.GetAESVoltage(e, true);  // may overflow to inf between extreme rows; must not crash
  }
  return 0;
}
