// The first start of the workbench for a user, and the simulated devices that
// stand in where no hardware is chosen. The workbench's start and svbatch
// both ask ChooseSimulatedDevices, so that their rules cannot drift apart.
#pragma once

#include <string>

namespace sv {

// The simulated devices, by the names the settings keep.
inline constexpr const char* kSimulatedGrabber = "DummyGrb";
inline constexpr const char* kSimulatedIO = "DummyIO";
inline constexpr const char* kSimulatedDA = "DummyDA";
inline constexpr const char* kSimulatedAD = "DummyAD";

// What the status line says when a first start runs on the simulated devices.
inline constexpr const char* kFirstStartHint =
    "Simulated LEED screen. Real hardware: Setup menu.";

// True when this user has never run the workbench: neither the ini file (a
// bare name is looked for in the config folder) nor the per-user store of
// `storeApp` exists yet.
bool IsFirstStart(const std::string& iniFile, const std::string& storeApp);

enum class StartKind {
  Workbench,  // the window: simulated devices only on a first start
  Batch,      // svbatch: a run without a grabber uses the simulated camera
};

// Which names ChooseSimulatedDevices filled.
struct SimulatedChoice {
  bool grabber = false, io = false, da = false, ad = false;
  bool Any() const { return grabber || io || da || ad; }
};

// Fills the empty hardware names of G() with the simulated devices, by one
// rule: "/RESET" (`reset`) keeps every name empty; svbatch takes the
// simulated camera whenever no grabber is named; the workbench takes the
// simulated grabber, I/O, D/A and A/D on a first start only. A name already
// chosen is never replaced.
SimulatedChoice ChooseSimulatedDevices(StartKind kind, bool firstStart, bool reset);

}  // namespace sv
