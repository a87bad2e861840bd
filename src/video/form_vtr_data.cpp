#include "video/form_vtr_data.h"

#include <cctype>
#include <memory>

#include "video/film_repair.h"
#include "video/form_soft_vtr.h"
#include "video/video_file.h"

namespace sv {

namespace {

std::string Grouped(uint64_t v) {
  std::string digits = std::to_string(v), out;
  const size_t n = digits.size();
  for (size_t i = 0; i < n; ++i) {
    if (i > 0 && (n - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

// Column letters run "A" .. "Z", then "AA", "AB", ...
std::string Letter(size_t i) {
  std::string s;
  ++i;
  while (i > 0) {
    s.insert(s.begin(), char('A' + (i - 1) % 26));
    i = (i - 1) / 26;
  }
  return s;
}

bool HasAviExtension(const std::string& name) {
  if (name.size() < 4) return false;
  std::string e = name.substr(name.size() - 4);
  for (char& c : e) c = char(std::tolower(static_cast<unsigned char>(c)));
  return e == ".avi";
}

}  // namespace

Form_VTR_Data& VTRDataForm() {
  static Form_VTR_Data form;
  return form;
}

void Form_VTR_Data::Clear() {
  Label_Filename.clear();
  Label_FileLength.clear();
  Label_Frames.clear();
  Label_Compression.clear();
  Label_BitsPerPixel.clear();
  Label_Width.clear();
  Label_Height.clear();
  Label_Cols.clear();
  List_Column.clear();
}

bool Form_VTR_Data::Load(const Form_SoftVTR& player) {
  Clear();
  const VideoFile* film = player.Video();
  if (!film) return false;
  filename_ = player.Filename();
  Label_Filename = filename_;
  uint32_t low = 0, high = 0;
  if (film->FileSize(low, high)) Label_FileLength = Grouped((uint64_t(high) << 32) | low) + " Bytes";
  Label_Frames = std::to_string(player.Frames);
  Label_Compression = film->IsAVI() ? "AVI" : "none";
  Label_BitsPerPixel = std::to_string(player.FilmHeader.BitsPerPixel) +
                       (player.FilmHeader.HasColors ? " (RGB)" : "");
  Label_Width = std::to_string(player.FilmHeader.Width);
  Label_Height = std::to_string(player.FilmHeader.Height);
  Label_Cols = std::to_string(player.Cols());
  for (long i = 1; i <= player.Cols(); ++i)
    List_Column.push_back(Letter(size_t(i - 1)) + ": " + player.ColLabel(i));
  return true;
}

bool Form_VTR_Data::LoadFile(const std::string& filename) {
  Clear();
  filename_ = filename;
  Label_Filename = filename;
  std::unique_ptr<VideoFile> film = NewVideoFile(HasAviExtension(filename));
  std::string name = filename;
  long w = 0, h = 0, bits = 0;
  float rate = 0;
  if (!film->FileOpen(name, kFilmOpenExist, &w, &h, &bits, &rate, false)) return false;
  uint32_t low = 0, high = 0;
  if (film->FileSize(low, high)) Label_FileLength = Grouped((uint64_t(high) << 32) | low) + " Bytes";
  Label_Frames = std::to_string(film->Samples());
  Label_Compression = film->IsAVI() ? "AVI" : "none";
  Label_BitsPerPixel = std::to_string(film->BitsPerPixel()) + (film->HasColors() ? " (RGB)" : "");
  Label_Width = std::to_string(film->Width());
  Label_Height = std::to_string(film->Height());
  Label_Cols = std::to_string(film->Cols());
  for (long i = 0; i < film->Cols(); ++i)
    List_Column.push_back(Letter(size_t(i)) + ": " + film->ColLabel(i));
  film->FileClose();
  return true;
}

bool Form_VTR_Data::Command_CreateWorksheet() {
  Form_SoftVTR& player = SoftVTRForm();
  if (!player.IsOpen()) return false;
  return player.CreateWorksheet(player.Filename());
}

}  // namespace sv
