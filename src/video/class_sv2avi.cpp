#include "video/video_file.h"

namespace sv {

std::unique_ptr<VideoFile> NewAVIFile() { return nullptr; }

}  // namespace sv
