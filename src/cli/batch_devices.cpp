#include "cli/batch_devices.h"

#include <cmath>
#include <cstdlib>

#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/globals.h"
#include "core/ini_profile.h"
#include "core/settings.h"
#include "experiment/shutter.h"
#include "hardware/energy.h"
#include "hardware/hardware.h"

namespace sv::cli {

namespace {

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

bool ParseLong(const std::string& text, long& value) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0') return false;
  value = v;
  return true;
}

bool ParseNumber(std::string text, double& value) {
  for (char& c : text)
    if (c == ',') c = '.';
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(v)) return false;
  value = v;
  return true;
}

// The command's process state: a batch host, fresh globals and devices, the
// settings read as start-up reads them. The devices go again at the end.
class DeviceSession {
 public:
  DeviceSession(std::ostream& err, const std::string& ini) : host_(err), scope_(&host_) {
    ResetGlobals();
    ResetHardware();
    Globals& g = G();
    g.UserIniName = host_.UserName();
    g.IniFile = ini.empty() ? FormIniFile(host_.ProgramFolder(), g.UserIniName) : ini;
    InstallHardwareEnvironment();
    InstallShutter();
    ReadSettings(nullptr);
  }
  ~DeviceSession() {
    IOStop();
    DAStop();
    ADStop();
    ResetHardware();
  }
  // The sections of another interface than the stored one.
  Profile Ini() const { return Profile::Load(ResolveProfilePath(G().IniFile)); }

 private:
  BatchHost host_;
  HostScope scope_;
};

struct KindText {
  DeviceKind kind;
  const char* block;    // "A/D"
  const char* message;  // start-up's
  const char* device;
};
constexpr KindText kAD{DeviceKind::AD, "A/D", "Cannot initialize A/D-Interface", "A/D-Converter"};
constexpr KindText kDA{DeviceKind::DA, "D/A", "Cannot initialize D/A-Interface", "D/A-Converter"};
constexpr KindText kIO{DeviceKind::IO, "I/O", "Cannot initialize I/O-Interface", "Digital I/O"};

// Start-up's message for an interface that did not come up, and why.
int NotUp(std::ostream& err, const KindText& k, const std::string& name) {
  err << "svbatch: " << k.message << "\n" << k.device << ":" << name << "\n";
  const std::string why = LastStartError(k.kind);
  if (!why.empty()) err << "svbatch: " << why << "\n";
  return 1;
}

// The options every device command shares; false on a bad one (the answer
// is then in `code`).
struct Common {
  std::string ini, interfaceName;
  bool haveInterface = false;
};

bool TakeCommon(const std::vector<std::string>& args, size_t& i, Common& c, std::ostream& err,
                int& code, bool withInterface) {
  const std::string& a = args[i];
  if (a == "--ini" || (withInterface && a == "--interface")) {
    if (i + 1 >= args.size()) {
      code = BadCommandLine(err, a + " needs a value");
      return false;
    }
    if (a == "--ini") {
      c.ini = args[++i];
    } else {
      c.interfaceName = args[++i];
      c.haveInterface = true;
    }
    return true;
  }
  code = BadCommandLine(err, "unknown option " + a);
  return false;
}

}  // namespace

std::string DevicesUsage() {
  return "  devices [--ini FILE]\n"
         "              the A/D, D/A and I/O interfaces: index, load name and text a\n"
         "              row, tab-separated; the selected one is started and says\n"
         "              \"selected, ready\" or \"selected, not ready\"\n"
         "  ad-read [--ini FILE] [--interface NAME] [--channel N] [--samples N] [--calibrated]\n"
         "              reads the A/D: channel (from 1), name and volts a line, every\n"
         "              channel without --channel; --samples sets the averaging,\n"
         "              --calibrated applies the A/D calibration\n"
         "  da-set [--ini FILE] [--interface NAME] [--auger] (--energy EV | --volts V)\n"
         "              sets an energy through the D/A's LEED (with --auger: Auger)\n"
         "              calibration line, or a voltage as it is; prints the status\n"
         "              text and the channel's voltage. NAME is a load name (any\n"
         "              case) from `svbatch devices`; default the configured one\n";
}

int DevicesCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  Common c;
  for (size_t i = 1; i < args.size(); ++i) {
    int code = 0;
    if (!TakeCommon(args, i, c, err, code, false)) return code;
  }
  DeviceSession session(err, c.ini);
  Globals& g = G();
  struct Block {
    const KindText& k;
    std::string* name;
    bool (*start)(std::string&);
    bool (*ready)();
  };
  const Block blocks[] = {{kAD, &g.ADName, &ADStart, &ADReady},
                          {kDA, &g.DAName, &DAStart, &DAReady},
                          {kIO, &g.IOName, &IOStart, &IOReady}};
  for (const Block& b : blocks) {
    std::string name = *b.name;
    bool up = false;
    if (!name.empty()) up = b.start(name);
    const int selected = name.empty() ? -1 : DeviceIndex(b.k.kind, name);
    const std::string mark = up ? "\tselected, ready" : "\tselected, not ready";
    out << b.k.block << "\n";
    for (const DeviceEntry& e : DeviceTable(b.k.kind)) {
      out << e.Index << "\t" << e.LoadName << "\t" << e.ShownAs;
      if (selected > 0 && e.Index == selected) out << mark;
      out << "\n";
    }
    // A stored name the table does not know is kept; it is shown apart.
    if (selected == 0) out << "-\t" << name << "\t(not in the table)" << mark << "\n";
  }
  return 0;
}

int AdReadCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  Common c;
  long channel = 0, samples = 0;
  bool calibrated = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--channel" || a == "--samples") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      long v = 0;
      if (!ParseLong(args[++i], v) || v < 1 || (a == "--samples" && v > 65535))
        return BadCommandLine(err, a == "--channel" ? "--channel takes a channel number from 1"
                                                    : "--samples takes 1 to 65535");
      (a == "--channel" ? channel : samples) = v;
    } else if (a == "--calibrated") {
      calibrated = true;
    } else {
      int code = 0;
      if (!TakeCommon(args, i, c, err, code, true)) return code;
    }
  }
  DeviceSession session(err, c.ini);
  Globals& g = G();
  if (c.haveInterface) {
    g.ADName = c.interfaceName;
    ReadADSettings(session.Ini());
  }
  if (g.ADName.empty()) {
    err << "svbatch: no A/D interface is selected; give --interface NAME\n";
    return 1;
  }
  std::string name = g.ADName;
  if (!ADStart(name)) return NotUp(err, kAD, name);
  const long count = HW().ADChannelCount;
  if (channel > count) {
    err << "svbatch: the A/D " << name << " has " << count << " channels\n";
    return 1;
  }
  if (samples > 0) {
    const long code = AD_set_averaging(samples);
    if (code != 0) {
      err << "svbatch: the A/D does not take " << samples << " samples (Code # " << code << ")\n";
      return 1;
    }
  }
  const long first = channel ? channel : 1, last = channel ? channel : count;
  for (long n = first; n <= last; ++n) {
    float volts = 0;
    const long code = AD_get_voltage(n - 1, volts);
    if (code != 0) {
      err << "svbatch: reading A/D channel " << n << " failed (Code # " << code << ")";
      const std::string why = HW().AD ? HW().AD->LastError() : "";
      err << (why.empty() ? "" : ": " + why) << "\n";
      return 1;
    }
    if (calibrated) volts = volts * HW().ADGain + HW().ADOffset;
    out << n << "\t" << HW().ADChannels[size_t(n - 1)].ChannelName << "\t" << FormatFixed(volts, 6)
        << "\n";
  }
  return 0;
}

int DaSetCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  Common c;
  bool auger = false, haveEnergy = false, haveVolts = false;
  double value = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--energy" || a == "--volts") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      if (!ParseNumber(args[++i], value))
        return BadCommandLine(err, a == "--energy" ? "--energy takes a number of eV"
                                                   : "--volts takes a number of volts");
      (a == "--energy" ? haveEnergy : haveVolts) = true;
    } else if (a == "--auger") {
      auger = true;
    } else {
      int code = 0;
      if (!TakeCommon(args, i, c, err, code, true)) return code;
    }
  }
  if (haveEnergy == haveVolts) return BadCommandLine(err, "da-set needs --energy EV or --volts V");
  DeviceSession session(err, c.ini);
  Globals& g = G();
  if (c.haveInterface) {
    g.DAName = c.interfaceName;
    ReadDASettings(session.Ini());
  }
  if (g.DAName.empty()) {
    err << "svbatch: no D/A interface is selected; give --interface NAME\n";
    return 1;
  }
  std::string name = g.DAName;
  if (!DAStart(name)) return NotUp(err, kDA, name);
  UseDALine(auger ? DALine::AUGER : DALine::LEED);
  bool ok = false;
  const std::string status = SetEnergy(float(value), haveEnergy, &ok);
  if (!ok) {
    const std::string why = HW().DA ? HW().DA->LastError() : "";
    err << "svbatch: the D/A " << name << " did not take the voltage"
        << (why.empty() ? "" : ": " + why) << "\n";
    return 1;
  }
  out << status << "\n"
      << "channel " << HW().DAChannel << ": " << FormatFixed(HW().LastVoltage, 6) << " V\n";
  return 0;
}

}  // namespace sv::cli
