// Form_WindowScanResult: the report of the last scan as plain text.
#include <fstream>

#include "analysis/form_window_setup.h"
#include "core/globals.h"
#include "core/host.h"

namespace sv {

namespace {

constexpr const char* kSaveAsTitle = "Save Scan Result";
constexpr const char* kTextFilter = "Text Files (*.txt)|*.txt|All Files (*.*)|*.*";

}  // namespace

Form_WindowScanResult& WindowScanResultForm() {
  static Form_WindowScanResult form;
  return form;
}

void Form_WindowScanResult::Show(const std::string& text, Form_Camera* image) {
  Text_Result = text;
  ImageForm = image;
  visible_ = true;
  view_->Changed(*this);
}

void Form_WindowScanResult::Hide() {
  if (!visible_) return;
  visible_ = false;
  view_->Changed(*this);
}

// The menu works on the whole text; a view with a selection of its own
// handles the selection itself.
void Form_WindowScanResult::EditCopy() { host().SetClipboardText(Text_Result); }

void Form_WindowScanResult::EditCut() {
  host().SetClipboardText(Text_Result);
  Text_Result.clear();
  view_->Changed(*this);
}

void Form_WindowScanResult::EditPaste() {
  Text_Result += host().ClipboardText();
  view_->Changed(*this);
}

void Form_WindowScanResult::EditDelete() {
  Text_Result.clear();
  view_->Changed(*this);
}

bool Form_WindowScanResult::FileSaveAs() {
  FileDialog dlg;
  dlg.title = kSaveAsTitle;
  dlg.filter = kTextFilter;
  dlg.folder = G().ExportPath;
  const FileDialogResult chosen = host().SaveFileDialog(dlg);
  if (chosen.path.empty()) return false;
  std::ofstream file(chosen.path, std::ios::binary | std::ios::trunc);
  if (file) file << Text_Result;
  if (!file) {
    host().MsgBox("Error writing " + chosen.path, MsgButtons::OK, MsgIcon::Exclamation,
                  kSaveAsTitle);
    return false;
  }
  return true;
}

}  // namespace sv
