// The player's editing operations. Each writes a new film and never
// touches the one it reads.
#include "video/form_soft_vtr.h"

namespace sv {

bool Form_SoftVTR::DeleteFrames(const std::vector<int32_t>&) { return false; }
void Form_SoftVTR::mnuDeleteFrame() {}
void Form_SoftVTR::mnuDeleteSel() {}
void Form_SoftVTR::mnuDelete2ndFrame() {}
void Form_SoftVTR::mnuDeleteFramesFromFile() {}
bool Form_SoftVTR::SortVID(const std::string&, const std::string&) { return false; }
bool Form_SoftVTR::AppendVID(const std::string&, const std::string&, const std::string&) {
  return false;
}
bool Form_SoftVTR::MergeVideo(const std::string&, int, const std::string&, const std::string&) {
  return false;
}
void Form_SoftVTR::mnuMergeVideo() {}
bool Form_SoftVTR::Import(const std::vector<std::string>&) { return false; }
void Form_SoftVTR::mnuImport() {}
void Form_SoftVTR::mnuExport() {}
bool Form_SoftVTR::CreateWorksheet(const std::string&) { return false; }
bool Form_SoftVTR::Resize(long, long) { return false; }
bool Form_SoftVTR::VideoSaveAs() { return false; }

}  // namespace sv
