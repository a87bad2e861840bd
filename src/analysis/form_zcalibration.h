// The intensity calibration dialog. It edits a copy of the table in force,
// which OK puts in its place.
#pragma once

#include <string>

#include "image/calibration.h"

namespace sv {

class Form_Worksheet;

inline constexpr const char* kNewLutTitle = "New LUT";
inline constexpr const char* kNewLutPrompt = "Dynamic range of new LUT?\r(8, 9, 10, ... or 16 Bit) ";

// A sheet of the table: column 1 the grey value, column 2 its calibrated
// value, labelled with the table's name, Count rows. It saves as ".lut".
void FillTableSheet(Form_Worksheet& sheet, const IntensityTable& table);

class Form_ZCalibration {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const Form_ZCalibration&) {}
  };
  Form_ZCalibration() = default;
  Form_ZCalibration(const Form_ZCalibration&) = delete;
  Form_ZCalibration& operator=(const Form_ZCalibration&) = delete;
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  // The copy and the fields from ZCal().
  void Load();

  IntensityTable Table;  // the copy being edited
  bool Check_Enabled = false;
  // What the dialog shows of the copy.
  std::string Label_File() const;
  std::string Label_Name() const;
  std::string Label_Count() const;

  // Asks for the depth; 8 to 16 gives the linear table, anything else nothing.
  void Command_New();
  // Asks for a ".lut" file and reads it into the copy; a failed read says so
  // and keeps the copy. True when a table was read.
  bool Command_Open();
  bool OpenFile(const std::string& path);
  // The copy as a new worksheet in front; nothing is saved. Null without a
  // main window or for an empty table.
  Form_Worksheet* Command_SHT();
  // The copy, with Check_Enabled, becomes the table in force.
  void Command_OK();

 private:
  void Changed() { view_->Changed(*this); }
  View nullView_;
  View* view_ = &nullView_;
};

Form_ZCalibration& ZCalibrationForm();

}  // namespace sv
