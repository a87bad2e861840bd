// The application link as an A/D and D/A device (stub until it lands).
#include "hardware/devices.h"

namespace sv {
std::unique_ptr<ADBackend> MakeLinkAD() { return nullptr; }
std::unique_ptr<DABackend> MakeLinkDA() { return nullptr; }
}  // namespace sv
