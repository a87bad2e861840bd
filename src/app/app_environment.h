// What the workbench gives start-up beyond the core: the kernel's version
// and a first call into it.
#pragma once

#include <string>

namespace sv::app {

// A tiny self-check of the kernel: a table and a 4 x 1 display bitmap must
// come out as expected. Returns "" when it passes, else what went wrong.
std::string KernelSelfCheck();

// Sets Environment().kernelVersion and kernelLoad.
void InstallKernelEnvironment();

}  // namespace sv::app
