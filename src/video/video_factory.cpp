#include "video/video_file.h"

namespace sv {

std::unique_ptr<VideoFile> NewVIDFile();
std::unique_ptr<VideoFile> NewAVIFile();

std::unique_ptr<VideoFile> NewVideoFile(bool avi) { return avi ? NewAVIFile() : NewVIDFile(); }

}  // namespace sv
