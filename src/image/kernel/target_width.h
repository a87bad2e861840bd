// Private to the kernel sources. GCC widens the vectors of a loop to 512
// bits only when asked; clang takes no such request in a target attribute.
#pragma once

#if defined(__clang__)
#define SV_PREFER_512 ""
#else
#define SV_PREFER_512 ",prefer-vector-width=512"
#endif
