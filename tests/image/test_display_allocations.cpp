// The live picture runs SetLUT and Update8BitImage for every frame: that path
// must not allocate. This test binary counts every operator new.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "core/globals.h"
#include "image/form_camera.h"

namespace {
std::atomic<long> g_allocations{0};
}

void* operator new(std::size_t n) {
  ++g_allocations;
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t n) { return ::operator new(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace sv {
namespace {

TEST(DisplayPath, FramesAllocateNothing) {
  ResetGlobals();
  for (bool colour : {false, true}) {
    Form_Camera image;
    image.SetHasColors(colour);
    image.CreateImage(97, 31, 16, nullptr);  // odd width: padded lines
    image.ImagePtr()[40] = 30000;
    image.Update8BitImage();  // the first frame may set up what it needs
    const long before = g_allocations.load();
    for (int frame = 0; frame < 5; ++frame) {
      image.ImagePtr()[frame] = uint16_t(frame * 1000);  // a new frame arrives
      image.LUTmax = 1.0f - 0.1f * float(frame % 2);     // and the LUT moves
      image.SetLUT();
      image.Update8BitImage();
      image.DrawCameraImage();
    }
    EXPECT_EQ(g_allocations.load(), before) << (colour ? "colour" : "mono");
  }
}

}  // namespace
}  // namespace sv
