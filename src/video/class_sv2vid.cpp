#include "video/video_file.h"

namespace sv {

std::unique_ptr<VideoFile> NewVIDFile() { return nullptr; }

}  // namespace sv
