// The intensity calibration: a 12-bit frame through a stretched 256-entry
// table, pixel by pixel through CalIntensity, beside the same interpolation
// written out in a plain loop; and a 65536-entry ".lut" read beside a plain
// read of the same file.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "analysis/calibration_settings.h"
#include "analysis/form_zcalibration.h"
#include "harness.h"
#include "worksheet/form_worksheet.h"

namespace {

const sv::IntensityTable& Table() {
  static const sv::IntensityTable t = [] {
    sv::IntensityTable s;
    s.Enabled = 1;
    s.Count = 256;
    for (int i = 0; i < 256; ++i) s.Values.push_back(std::sqrt(float(i)) * 10.0f);
    return s;
  }();
  return t;
}

std::vector<float>& Out() {
  static std::vector<float> out(svbench::Frames::kPixels);
  return out;
}

const std::string& LutPath() {
  static const std::string path = [] {
    sv::IntensityTable t;
    sv::MakeLinearTable(t, 16);
    sv::Form_Worksheet sheet;
    sv::FillTableSheet(sheet, t);
    const std::string p = "/tmp/sv_bench_calibration.lut";
    sheet.SaveWorksheet(p, true);
    return p;
  }();
  return path;
}

}  // namespace

SVBENCH_ROWS(CalibrationRows) {
  constexpr size_t kBytes = svbench::Frames::kGreyBytes;
  const std::string plain = "plain stretched lookup (1024x1024 12-bit)";
  svbench::Kernel(plain, kBytes, [] {
    const std::vector<uint16_t>& g = svbench::Data().grey;
    const std::vector<float>& v = Table().Values;
    const double f = 4095.0 / 255.0;
    std::vector<float>& out = Out();
    for (size_t p = 0; p < g.size(); ++p) {
      const double x = double(g[p] & 0x0FFF) / f;
      const long i = long(x);
      const double a = v[size_t(i)];
      out[p] = i < 255 ? float((a + (double(v[size_t(i + 1)]) - a) * (x - double(i))) * f)
                       : float(a * f);
    }
    svbench::Use(out.data());
  });
  const std::string cal = "CalIntensity (1024x1024 12-bit, 256 entries)";
  svbench::Kernel(cal, kBytes, [] {
    const std::vector<uint16_t>& g = svbench::Data().grey;
    const sv::IntensityTable& t = Table();
    std::vector<float>& out = Out();
    for (size_t p = 0; p < g.size(); ++p) out[p] = sv::CalIntensity(t, 4096, float(g[p] & 0x0FFF));
    svbench::Use(out.data());
  });
  svbench::TargetAgainst(cal, plain, 4.5);

  const std::string read = "plain read (65536-entry .lut)";
  svbench::Kernel(read, 65536 * 8, [] {
    std::ifstream in(LutPath(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    svbench::Use(bytes.data());
  });
  const std::string load = "LoadCalibrationTable (65536 entries)";
  svbench::Kernel(load, 65536 * 8, [] {
    sv::IntensityTable t;
    sv::LoadCalibrationTable(LutPath(), t);
    svbench::Use(t.Values.data());
  });
  svbench::TargetAgainst(load, read, 2.0);
}
