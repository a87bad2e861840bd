// The kernel library's device entries: `AD_load`, `DA_load`, `IO_load` load
// the named card library, and every other entry of a kind forwards to the
// entry of the same name in the card library loaded for that kind. Class_AD,
// Class_DA and Class_IO (the objects for every name that has no back-end of
// its own) call these one to one.
//
// On this platform a card library is the shared object "lib" + the load name
// in lower case + ".so" ("Ax5621AD" -> "libax5621ad.so"), found by the
// dynamic loader's search. It exports the entries as C functions with the
// names of the interface, results through pointers, texts into a buffer:
//
//   long AD_channel_name(long channel, char* text, long size);
//   long AD_channels(long* count);
//   long AD_dll_date(char* text, long size);
//   long AD_get(long channel, long* raw);
//   long AD_get_voltage(long channel, float* volts);
//   long AD_has_diff_input(long* has);          // non-zero: true
//   long AD_init(long base, long* answers);     // non-zero: true
//   long AD_input_mode(long mode);
//   long AD_interface_name(char* text, long size);
//   long AD_Range(long index, float* low, float* high);
//   long AD_Ranges(long* count);
//   long AD_set_range(long index);
//   long AD_set_averaging(long count);
//   long AD_winrt_device(long* driver);
//
// and the same for DA_ (DA_set(channel, raw), DA_set_voltage(channel, float))
// and IO_ (IO_pin_get(pin, long* level), IO_pin_set(pin, long level),
// IO_PinOutStatus(pin, long* level), IO_pins_in, IO_pins_out). No card library
// comes with this system, so `..._load` reports false for every name unless
// one is installed. An entry the library lacks, or any entry while nothing is
// loaded, returns kNotLoaded.
#pragma once

#include <memory>
#include <string>

#include "hardware/devices.h"

namespace sv::kernel {

inline constexpr long kNotLoaded = -1;

// The file name the kernel loads for a load name.
std::string CardLibraryFile(const std::string& loadName);

long AD_load(const std::string& name, bool& loaded);
long AD_unload();
long AD_channel_name(long channel, std::string& name);
long AD_channels(long& count);
long AD_dll_date(std::string& date);
long AD_get(long channel, long& raw);
long AD_get_voltage(long channel, float& volts);
long AD_has_diff_input(bool& has);
long AD_init(long base, bool& answers);
long AD_input_mode(long mode);
long AD_interface_name(std::string& name);
long AD_Range(long index, float& low, float& high);
long AD_Ranges(long& count);
long AD_set_range(long index);
long AD_set_averaging(long count);
long AD_winrt_device(long& driver);

long DA_load(const std::string& name, bool& loaded);
long DA_unload();
long DA_channel_name(long channel, std::string& name);
long DA_channels(long& count);
long DA_dll_date(std::string& date);
long DA_set(long channel, long raw);
long DA_set_voltage(long channel, float volts);
long DA_init(long base, bool& answers);
long DA_interface_name(std::string& name);
long DA_Range(long index, float& low, float& high);
long DA_Ranges(long& count);
long DA_set_range(long index);
long DA_winrt_device(long& driver);

long IO_load(const std::string& name, bool& loaded);
long IO_unload();
long IO_dll_date(std::string& date);
long IO_init(long base, bool& answers);
long IO_interface_name(std::string& name);
long IO_pins_in(long& count);
long IO_pins_out(long& count);
long IO_winrt_device(long& driver);
// IO_pin(pin) and IO_pin(pin, level), named apart.
long IO_pin_get(long pin, bool& level);
long IO_pin_set(long pin, bool level);
long IO_PinOutStatus(long pin, bool& level);

}  // namespace sv::kernel

namespace sv {

// The objects that forward to the kernel's entries; each releases its card
// library when destroyed.
std::unique_ptr<ADBackend> MakeKernelAD();
std::unique_ptr<DABackend> MakeKernelDA();
std::unique_ptr<IOBackend> MakeKernelIO();

}  // namespace sv
