#include "cli/batch_calibrate.h"

#include <cstdio>

#include "analysis/calibration_settings.h"
#include "cli/batch_args.h"
#include "cli/batch_host.h"
#include "core/error_table.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"

namespace sv::cli {

namespace {

// Nine significant digits: every single reads back from them.
std::string Num(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%.9g", v);
  return buf;
}

}  // namespace

std::string CalibrateUsage() {
  return "  calibrate [--ini FILE] [--lut FILE.lut] [--bits N] [--value X]... [--vector DX DY]...\n"
         "              the length and intensity calibrations as read at start\n"
         "              (--lut: that table instead, switched on), then per X\n"
         "              CalIntensity(X) for an image of N bits (default 8) and\n"
         "              TableValue(X), per vector CalLength and CalAngle\n";
}

bool LoadLutArg(const std::string& path, std::ostream& err) {
  IntensityTable& z = ZCal();
  const long code = LoadCalibrationTable(path, z);
  if (code != 0) {
    err << kOpenLutTitle << ": " << path << ": Error: " << ErrorText(int(code)) << "\n";
    return false;
  }
  z.Enabled = 1;
  return true;
}

int CalibrateCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string ini, lut;
  bool haveIni = false;
  long bits = 8;
  std::vector<std::string> values;
  std::vector<std::pair<std::string, std::string>> vectors;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--ini" || a == "--lut" || a == "--bits" || a == "--value") {
      if (i + 1 >= args.size()) return BadArgs(err, a + " needs a value");
      const std::string& v = args[++i];
      double x = 0;
      if (a == "--ini") {
        ini = v;
        haveIni = true;
      } else if (a == "--lut") {
        lut = v;
      } else if (a == "--bits") {
        if (!ParseWhole(v, bits) || bits < 1 || bits > 16)
          return BadArgs(err, "--bits takes 1 to 16, not " + v);
      } else {
        if (!ParseNumber(v, x)) return BadArgs(err, "--value takes a number, not " + v);
        values.push_back(v);
      }
    } else if (a == "--vector") {
      if (i + 2 >= args.size()) return BadArgs(err, "--vector needs DX and DY");
      double x = 0, y = 0;
      if (!ParseNumber(args[i + 1], x) || !ParseNumber(args[i + 2], y))
        return BadArgs(err, "--vector takes two numbers, not " + args[i + 1] + " " + args[i + 2]);
      vectors.emplace_back(args[i + 1], args[i + 2]);
      i += 2;
    } else {
      return BadArgs(err, "unknown option " + a);
    }
  }

  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  Globals& g = G();
  g.UserIniName = batchHost.UserName();
  g.IniFile = haveIni ? ini : FormIniFile(batchHost.ProgramFolder(), g.UserIniName);
  ReadCalibration(Profile::Load(ResolveProfilePath(g.IniFile)));
  if (!lut.empty() && !LoadLutArg(lut, err)) return 1;

  const LengthCalibration& l = LengthCal();
  const IntensityTable& z = ZCal();
  out << "Length calibration: enabled " << l.Enabled << ", factor " << Num(l.CalFactor)
      << ", unit " << l.CalUnit << ", ratio " << Num(l.PixelRatio) << "\n";
  out << "Intensity calibration: enabled " << z.Enabled << ", file " << z.FileName << ", name "
      << z.Name << ", count " << z.Count << "\n";
  const long levels = 1L << bits;
  for (const std::string& v : values) {
    const float x = float(std::strtod(v.c_str(), nullptr));
    out << "CalIntensity(" << v << ") = " << Num(CalIntensity(levels, x)) << "\n";
    out << "TableValue(" << v << ") = " << Num(TableValue(x)) << "\n";
  }
  for (const auto& [dx, dy] : vectors) {
    const float x = float(std::strtod(dx.c_str(), nullptr));
    const float y = float(std::strtod(dy.c_str(), nullptr));
    out << "CalLength(" << dx << ", " << dy << ") = " << Num(CalLength(x, y)) << "\n";
    out << "CalAngle(" << dx << ", " << dy << ") = " << Num(CalAngle(x, y)) << "\n";
  }
  return 0;
}

}  // namespace sv::cli
