// The filter dialog and the filter editor as presenters. Form_Filter holds
// the library while it is open, lists its names and applies, adds, edits or
// deletes filters; every change is saved at once. Form_EditFilter edits one
// FilterRecord. The window layer registers how each dialog is shown; without
// that a dialog ends as cancelled.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "image/kernel/filter.h"

namespace sv {

class Form_Camera;
class MDIForm_Main;

class Form_EditFilter {
 public:
  static constexpr const char* kTitle = "Filter";

  // Loads the controls from a filter; `dynamik` is the number of grey levels
  // of the image the filter is for (256 without one).
  void Load(const FilterRecord& filter, long dynamik = 256);

  // Controls.
  std::string Text_name;
  std::array<std::string, 49> Text_c;  // the 7 x 7 grid, row by row
  std::string Text_factor;
  std::string Text_Bias;
  std::string Label_biasRel;  // bias / Label_Dynamik * 100, with " %"
  std::string Label_Dynamik;

  // Text_Bias changed: Label_biasRel follows.
  void Text_Bias_Change();
  // Checks and takes the fields. All coefficients 0: "Filter must have one
  // or more non-zero values"; a factor of 0: "Division factor cannot be 0";
  // both critical, titled "Filter", and the dialog stays (false). Otherwise
  // Result holds the filter (an empty name is "Untitled", a longer one is cut
  // at 24 characters; Reserved as loaded) and the dialog may close.
  bool Command_OK();
  FilterRecord Result{};

  // A field's number: blanks around it allowed, a decimal comma read as a
  // point, fractions rounded to nearest with ties to even, limited to 32
  // bits; anything that is no number counts as 0.
  static int32_t ParseInteger(const std::string& text);

 private:
  int32_t reserved_ = 0;
};

class Form_Filter {
 public:
  static constexpr const char* kTitle = "Filter";

  // Takes the active image (nullptr: none) and reads the library. A broken
  // library file is reported ("Unknown fileformat", title "Filter") and the
  // dialog does not open: false, with the library held so far kept.
  bool Open(Form_Camera* image);
  Form_Camera* ImageForm = nullptr;

  // The library and where it is saved.
  std::vector<FilterRecord> Filters;
  long Count() const { return long(Filters.size()); }
  std::string Path;

  // Controls: the names, and the one chosen (-1 none).
  std::vector<std::string> List_Filter;
  int ListIndex = -1;

  // Applies the chosen filter to the image with the undo entry "Filter" and
  // closes: true. Without an image or a choice nothing happens: false.
  bool Command_Apply();
  // A new filter through the editor, added at the end and chosen.
  bool Command_New();
  // The chosen filter through the editor.
  bool Command_Edit();
  // Asks "Are you sure you want to delete this filter?", titled "Filter: " +
  // name; Yes removes it.
  bool Command_Delete();
  void Command_Cancel() { Closed = true; }
  bool Closed = false;

  // Rewrites the library file whole; a file that cannot be written is
  // reported (title "Filter") and false.
  bool SaveFilter();

 private:
  void Fill();
  bool Edit(FilterRecord& filter);
};

// How the dialogs are shown: each returns true for OK (the filter dialog when
// it applied a filter).
std::function<bool(Form_Filter&)>& FilterDialog();
std::function<bool(Form_EditFilter&)>& EditFilterDialog();

// "mnuFilter": opens the filter dialog on the active image.
void RegisterFilterCommand(MDIForm_Main& main);

}  // namespace sv
