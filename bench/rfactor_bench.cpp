// The R-factor shift search: 20 beams of 1,000 energies over 41 shifts,
// beside 41 x 20 Pendry evaluations on arrays already on one energy grid.
// The interpolation of each shift is held to half the cost of the factor.
#include <cmath>
#include <string>
#include <vector>

#include "fit/rfactor.h"
#include "harness.h"

namespace {

constexpr int kBeams = 20, kEnergies = 1000, kShifts = 41;

float Curve(int beam, float e) {
  const float c1 = 80.0f + 7.0f * float(beam), c2 = 300.0f + 11.0f * float(beam);
  return 1.0f + std::exp(-(e - c1) * (e - c1) / 60.0f) + 0.5f * std::exp(-(e - c2) * (e - c2) / 200.0f) +
         0.2f * std::sin(0.05f * e + float(beam));
}

struct Data {
  std::vector<sv::RFactorBeam> beams;
  std::vector<std::vector<float>> e, a, b;  // aligned arrays for the baseline
  Data() {
    const sv::RFactorSettings s;
    beams.resize(kBeams);
    for (int k = 0; k < kBeams; ++k) {
      sv::RFactorCurve c1, c2;
      std::vector<float> ee, aa, bb;
      for (int i = 0; i < kEnergies; ++i) {
        const float en = 50.0f + 0.5f * float(i);
        c1.e.push_back(en);
        c1.i.push_back(Curve(k, en));
        c2.e.push_back(en);
        c2.i.push_back(Curve(k, en + 1.3f));
        ee.push_back(en);
        aa.push_back(c1.i.back());
        bb.push_back(c2.i.back());
      }
      beams[size_t(k)].matched = true;
      beams[size_t(k)].curves = sv::PrepareRFactor(c1, c2, s);
      e.push_back(ee);
      a.push_back(aa);
      b.push_back(bb);
    }
  }
};

Data& Get() {
  static Data d;
  return d;
}

SVBENCH_ROWS(RFactorRows) {
  const std::string plain = "rfactor Pendry 41 x 20 beams x 1000 energies (aligned)";
  const std::string search = "rfactor shift search 20 beams x 1000 energies, 41 shifts";
  constexpr size_t bytes = size_t(kBeams) * kEnergies * 3 * sizeof(float);
  svbench::Kernel(plain, bytes, [] {
    Data& d = Get();
    const sv::RFactorSettings s;
    double sum = 0.0;
    for (int t = 0; t < kShifts; ++t)
      for (int k = 0; k < kBeams; ++k) sum += sv::RFactorAligned(d.e[size_t(k)], d.a[size_t(k)], d.b[size_t(k)], s).value;
    svbench::Use(&sum);
  });
  svbench::Kernel(search, bytes, [] {
    Data& d = Get();
    const sv::RFactorBeamsResult r = sv::RFactorBestShift(d.beams, {-5.0, 5.0, 0.25}, sv::RFactorSettings{});
    svbench::Use(&r);
  });
  svbench::TargetAgainst(search, plain, 1.5);
  svbench::Note([] {
    const sv::RFactorBeamsResult r = sv::RFactorBestShift(Get().beams, {-5.0, 5.0, 0.25}, sv::RFactorSettings{});
    return "rfactor: best common shift " + std::to_string(r.shift) + " eV, overall R " + std::to_string(r.overall);
  });
}

}  // namespace
