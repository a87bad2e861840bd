#include "image/kernel/dynamic.h"

#include <dlfcn.h>

namespace sv {

void* SV_LoadLibrary(const std::string& path) {
  if (path.empty()) return nullptr;
  return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void SV_FreeLibrary(void* library) {
  if (library) dlclose(library);
}

void* SV_GetProcAddress(void* library, const std::string& name) {
  if (!library || name.empty()) return nullptr;
  return dlsym(library, name.c_str());
}

long SV_Call(void* address, long a1, long a2, long a3, long a4) {
  if (!address) return 0;
  // Functions of fewer arguments ignore the extra registers, as the
  // platform's calling convention allows.
  auto f = reinterpret_cast<long (*)(long, long, long, long)>(address);
  return f(a1, a2, a3, a4);
}

}  // namespace sv
