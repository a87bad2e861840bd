#include "cli/batch_auger.h"

#include <fstream>
#include <map>
#include <sstream>

#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/settings.h"
#include "experiment/auger_ramp.h"
#include "experiment/auger_scan.h"
#include "hardware/aes_simulator.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"
#include "worksheet/form_worksheet.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

}  // namespace

std::string AugerUsage() {
  return "  auger FILE.rmp --out SHEET.sht [--spectrum FILE] [--derivative]\n"
         "        [--profile fast|normal|exact] [--configured [--ini FILE]]\n"
         "      Runs the Auger ramp on the Dummy D/A and AD_Simulator, or with\n"
         "      --configured on the D/A and A/D of the settings; Ctrl-C aborts.\n";
}

int AugerCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string ramp, outFile, spectrum, ini;
  bool derivative = false, configured = false;
  int profile = -1;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool takesValue = a == "--out" || a == "--spectrum" || a == "--profile" || a == "--ini";
    if (takesValue && i + 1 >= args.size()) return Bad(err, a + " needs a value");
    if (a == "--out") outFile = args[++i];
    else if (a == "--spectrum") spectrum = args[++i];
    else if (a == "--derivative") derivative = true;
    else if (a == "--configured") configured = true;
    else if (a == "--ini") ini = args[++i];
    else if (a == "--profile") {
      const std::string& p = args[++i];
      profile = p == "fast" ? 0 : p == "normal" ? 1 : p == "exact" ? 2 : -2;
      if (profile == -2) return Bad(err, "--profile is fast, normal or exact");
    } else if (!a.empty() && a[0] == '-') return Bad(err, "unknown option " + a);
    else if (ramp.empty()) ramp = a;
    else return Bad(err, "one ramp file only");
  }
  if (ramp.empty()) return Bad(err, "auger needs a ramp file");
  if (outFile.empty()) return Bad(err, "auger needs --out");
  if (!ini.empty() && !configured) return Bad(err, "--ini goes with --configured");

  BatchHost host(err);
  HostScope scope(&host);
  ResetGlobals();
  ResetHardware();
  struct Release {
    ~Release() {
      ResetHardware();
      AESSpectrumFile().clear();
    }
  } release;
  G().UserIniName = host.UserName();
  if (configured) {
    // The interfaces and energy limits of the user's settings.
    G().IniFile = ini.empty() ? FormIniFile(host.ProgramFolder(), G().UserIniName) : ini;
    InstallHardwareEnvironment();
    ReadSettings(nullptr);
  }

  std::ifstream in(ramp, std::ios::binary);
  if (!in) {
    err << "svbatch: cannot open " << ramp << "\n";
    return 1;
  }
  std::ostringstream text;
  text << in.rdbuf();
  AugerRamp r;
  std::vector<std::string> status;
  if (!ReadAugerRampText(text.str(), {MinEnergy(DALine::AUGER), MaxEnergy(DALine::AUGER)}, r, status)) {
    err << "svbatch: " << ramp << ": " << kAugerInvalidFile << "\n";
    return 1;
  }
  for (const std::string& s : status) err << s << "\n";
  if (r.Sweeps.empty()) {
    err << "svbatch: " << ramp << " has no sweeps\n";
    return 1;
  }
  if (profile >= 0) r.Profile = profile;

  AESSpectrumFile() = spectrum;
  HW().AugerDerivative = derivative ? 1 : 0;
  std::string da = "DummyDA", ad = "AD_Simulator";
  if (configured) {
    da = G().DAName;
    ad = G().ADName;
    if (da.empty() || ad.empty()) {
      err << "svbatch: no " << (da.empty() ? "D/A-Converter" : "A/D-Converter") << " is configured\n";
      return 1;
    }
  }
  if (!DAStart(da)) {
    err << "svbatch: the D/A \"" << da << "\" did not start\n";
    return 1;
  }
  if (!ADStart(ad)) {
    err << "svbatch: the A/D \"" << ad << "\" did not start\n";
    return 1;
  }
  if (auto* sim = dynamic_cast<Class_AD_Simulator*>(HW().AD.get()); sim && !sim->LoadMessage().empty()) {
    err << "svbatch: " << sim->LoadMessage() << "\n";
    if (!spectrum.empty()) return 1;
  }

  Form_Worksheet sheet;
  sheet.Redraw(false);
  sheet.Cols(3);
  sheet.Rows(1);
  sheet.Col(1);
  sheet.ColTyp(kTypX);
  sheet.ColLabel("energy (eV)");
  sheet.Col(2);
  sheet.ColTyp(kTypY);
  sheet.ColLabel("AES (V/eV)");
  std::map<long, std::pair<double, double>> rows;

  AugerScanIO io = HardwareAugerIO();
  io.setRow = [&](long row, double x, double y) {
    rows[row] = {x, y};
    sheet.Row(row);
    sheet.SetRowData(std::vector<double>{0, x, y});
  };
  AugerScan scan(r, derivative, io);
  host.SetStopAction([&scan] { scan.Abort(); });
  std::string message;
  if (!scan.Init(message)) {
    err << "svbatch: " << message << "\n";
    return 1;
  }
  const AugerScan::End end = scan.Do(true);
  host.SetStopAction(nullptr);
  if (end == AugerScan::End::Aborted) err << "aborted\n";
  if (end == AugerScan::End::Failed) {
    err << "svbatch: the energy could not be set\n";
    return 1;
  }
  if (sheet.SaveWorksheet(outFile, true) != 0) {
    err << "svbatch: cannot write " << outFile << "\n";
    return 1;
  }
  out << rows.size() << " Records saved to " << outFile << "\n";
  out << FormatFixed(scan.RunTimeMs() * 0.001, 3) << " s\n";
  return 0;
}

}  // namespace sv::cli
