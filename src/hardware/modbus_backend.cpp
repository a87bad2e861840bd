// Modbus TCP devices (stub until the back-end lands).
#include "hardware/devices.h"

namespace sv {
std::unique_ptr<ADBackend> MakeModbusAD() { return nullptr; }
std::unique_ptr<DABackend> MakeModbusDA() { return nullptr; }
std::unique_ptr<IOBackend> MakeModbusIO() { return nullptr; }
}  // namespace sv
