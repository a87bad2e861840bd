// svbatch grabbers and grab: the drivers and cameras this machine offers, and
// frames from a chosen one.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace sv::cli {

// svbatch grabbers: the driver table with what can come up here, the GenICam
// cameras found (the only place besides grab that looks for them) and the
// capture devices.
int GrabbersCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// svbatch grab [--driver STEM] [--camera ID] [--out FILE] [--frames N]
// [--format F] [--filter N] [--average N] [--subtract-background]
// [--energy EV]: frames from the chosen driver (the configured one, or the
// simulated camera), the last or their average written to FILE. Exit 1 when
// the driver does not come up, the camera is not there, no frame comes in
// time or the file cannot be written; 2 for a bad command line.
int GrabCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

// The lines these commands add to the usage text.
std::string GrabUsage();

}  // namespace sv::cli
