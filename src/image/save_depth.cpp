#include "image/save_depth.h"

#include "core/host.h"
#include "image/form_camera.h"

namespace sv {

bool SaveLosesBits(long bits, int filter) { return bits > 8 && filter >= 1 && filter <= 5; }

bool SaveLosesBits(const Form_Camera& image, int filter) {
  return image.ImagePtr() && SaveLosesBits(image.ImageBitsPerPixel(), filter);
}

void NoteSaveDepth(const Form_Camera& image, const std::string& path, int filter) {
  if (!SaveLosesBits(image, filter)) return;
  const size_t slash = path.find_last_of('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  ShowStatus(name + ": saved through the display table as 8 bits; use .t16 (TIFF - 16 Bit) to "
                    "keep 16 bits");
}

}  // namespace sv
