// The engine against a peer program: fityk fits the same data with its own
// Levenberg-Marquardt, and both must find the same peaks.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "fit/engine_model.h"
#include "fit/fit_engine.h"

namespace sv {
namespace {

namespace fs = std::filesystem;

std::string FindCfityk() {
  const char* path = std::getenv("PATH");
  std::stringstream dirs(path ? path : "/usr/bin");
  std::string dir;
  while (std::getline(dirs, dir, ':')) {
    const fs::path p = fs::path(dir) / "cfityk";
    if (!dir.empty() && ::access(p.c_str(), X_OK) == 0) return p.string();
  }
  return "";
}

// Runs a fityk script beside its data file "data.dat" and returns the
// numbers of its last output line.
std::vector<double> RunFityk(const std::string& cfityk, const std::string& script,
                             const std::string& data) {
  const fs::path dir = fs::temp_directory_path() / ("sv-fityk-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  std::ofstream(dir / "run.fit") << script;
  std::ofstream(dir / "data.dat") << data;
  const std::string cmd = "cd '" + dir.string() + "' && timeout 120 '" + cfityk + "' -I -n -q run.fit 2>&1";
  std::string out, last;
  if (FILE* p = ::popen(cmd.c_str(), "r")) {
    char buf[4096];
    while (std::fgets(buf, sizeof buf, p)) {
      out += buf;
      std::string line(buf);
      while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
      if (!line.empty()) last = line;
    }
    ::pclose(p);
  }
  fs::remove_all(dir);
  std::vector<double> values;
  std::stringstream ss(last);
  double v;
  while (ss >> v) values.push_back(v);
  if (values.empty()) ADD_FAILURE() << "fityk gave no numbers:\n" << out;
  return values;
}

struct PeerCase {
  bool lorentz;
  const char* fitykName;
  double widthFromHwhm;  // our W = widthFromHwhm * fityk's hwhm
};

TEST(FitPeer, TwoOverlappingPeaksAgreeWithFityk) {
  const std::string cfityk = FindCfityk();
  if (cfityk.empty()) GTEST_SKIP() << "cfityk is not installed: the peer check against fityk is skipped";

  const PeerCase cases[] = {{false, "Gaussian", 2.0 / std::sqrt(std::log(2.0))}, {true, "Lorentzian", 2.0}};
  for (const PeerCase& c : cases) {
    SCOPED_TRACE(c.fitykName);
    std::vector<float> noise(240);
    std::mt19937 gen(20261124);
    std::normal_distribution<float> nd(0.0f, 5.0f);
    for (auto& v : noise) v = nd(gen);
    FitG().Settings = FitSettings{};
    FitG().Settings.SOSslope = 1e-7f;
    FitG().Run = FitRun{};
    svtest::UsePeakModel(2, c.lorentz);
    svtest::MakePoints(240, 0.0f, 0.5f, 20.0f, 0.3f, {{50.0f, 1000.0f, 8.0f}, {60.0f, 700.0f, 10.0f}},
                       c.lorentz, noise);
    const std::vector<float> start = {15.0f, 0.2f, 51.0f, 900.0f, 7.0f, 59.0f, 600.0f, 11.0f};
    svtest::SetInputs(start);
    svtest::RunFit();
    ASSERT_GT(FitG().Run.Status, 0) << fiterrorStr(FitG().Run.Status);

    std::ostringstream data;
    data.precision(9);
    for (const auto& p : FitG().Points) data << p.X << ' ' << p.Y << '\n';
    std::ostringstream script;
    script.precision(9);
    script << "set numeric_format = '%.10g'\nset default_sigma = one\n@0 < 'data.dat'\n"
           << "%l = Linear(a0=~" << start[0] << ", a1=~" << start[1] << ")\n";
    for (int k = 0; k < 2; ++k)
      script << "%p" << k << " = " << c.fitykName << "(height=~" << start[size_t(3 + 3 * k)]
             << ", center=~" << start[size_t(2 + 3 * k)] << ", hwhm=~"
             << start[size_t(4 + 3 * k)] / c.widthFromHwhm << ")\n";
    script << "F = %l + %p0 + %p1\nfit\n"
           << "print %p0.center, %p0.height, %p0.hwhm, %p1.center, %p1.height, %p1.hwhm\n";
    const std::vector<double> peer = RunFityk(cfityk, script.str(), data.str());
    ASSERT_EQ(peer.size(), 6u);

    for (int k = 0; k < 2; ++k) {
      const double theirs[3] = {peer[size_t(3 * k)], peer[size_t(3 * k + 1)],
                                peer[size_t(3 * k + 2)] * c.widthFromHwhm};
      for (int j = 0; j < 3; ++j) {
        const FitParameter& e = FitG().Par[size_t(3 + 3 * k + j)];
        const double tol = std::max(double(e.Error), 1e-3 * std::fabs(theirs[j]));
        EXPECT_NEAR(e.Value, theirs[j], tol) << e.Name << " (error " << e.Error << ")";
      }
    }
  }
}

}  // namespace
}  // namespace sv
