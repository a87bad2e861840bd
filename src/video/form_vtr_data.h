// A film's properties: name, size, frames, compression, depth, format and
// its columns, with the command that turns its numbers into a worksheet.
// A presenter: the Qt dialog binds to its fields.
#pragma once

#include <string>
#include <vector>

namespace sv {

class Form_SoftVTR;

class Form_VTR_Data {
 public:
  // Fills the labels from the player's open film; false (labels empty)
  // when none is open.
  bool Load(const Form_SoftVTR& player);
  // Fills them from a film file; false with Label_Filename set and the
  // others empty when it cannot be read.
  bool LoadFile(const std::string& filename);

  std::string Caption = "Film Data";
  std::string Label_Filename, Label_FileLength, Label_Frames, Label_Compression,
      Label_BitsPerPixel, Label_Width, Label_Height, Label_Cols;
  // "A: label" for each column, letters from "A".
  std::vector<std::string> List_Column;
  std::string Command_CreateWorksheetCaption = "Create";
  // CreateWorksheet of the player on its open film.
  bool Command_CreateWorksheet();

 private:
  void Clear();
  std::string filename_;
};

Form_VTR_Data& VTRDataForm();

}  // namespace sv
