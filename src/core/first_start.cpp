#include "core/first_start.h"

#include "core/globals.h"
#include "core/host.h"
#include "core/ini_profile.h"
#include "core/platform/platform.h"

namespace sv {

bool IsFirstStart(const std::string& iniFile, const std::string& storeApp) {
  if (!iniFile.empty() && platform::FileExists(ResolveProfilePath(iniFile))) return false;
  return !host().Store().Holds(storeApp);
}

SimulatedChoice ChooseSimulatedDevices(StartKind kind, bool firstStart, bool reset) {
  SimulatedChoice c;
  if (reset) return c;  // the way out when a driver hangs: no hardware at all
  Globals& g = G();
  auto fill = [](std::string& name, const char* simulated) {
    if (!name.empty()) return false;
    name = simulated;
    return true;
  };
  const bool devices = kind == StartKind::Workbench && firstStart;
  if (kind == StartKind::Batch || devices) c.grabber = fill(g.GrabberName, kSimulatedGrabber);
  if (devices) {
    c.io = fill(g.IOName, kSimulatedIO);
    c.da = fill(g.DAName, kSimulatedDA);
    c.ad = fill(g.ADName, kSimulatedAD);
  }
  return c;
}

}  // namespace sv
