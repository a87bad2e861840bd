#include "analysis/scan_windows.h"

namespace sv {

WindowGlobals& WG() {
  static WindowGlobals globals;
  return globals;
}

}  // namespace sv
