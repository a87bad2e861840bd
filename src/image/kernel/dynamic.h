// Calls into libraries loaded at run time: the device back-ends are opened by
// name and their functions reached by address.
#pragma once

#include <string>

namespace sv {

// Opens a shared library; nullptr when it cannot be loaded.
void* SV_LoadLibrary(const std::string& path);
void SV_FreeLibrary(void* library);
// The address of an exported function; nullptr when the library or the name
// is missing.
void* SV_GetProcAddress(void* library, const std::string& name);
// Calls the function at `address` as long f(long, long, long, long) with up
// to four arguments; 0 without calling when the address is null.
long SV_Call(void* address, long a1 = 0, long a2 = 0, long a3 = 0, long a4 = 0);

}  // namespace sv
