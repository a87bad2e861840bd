#include "core/globals.h"

namespace sv {

namespace {
Globals g_globals;
}

Globals& G() { return g_globals; }
void ResetGlobals() { g_globals = Globals(); }

}  // namespace sv
