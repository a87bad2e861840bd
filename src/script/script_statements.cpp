// The statements of the run time: each looks its document up by name,
// checks its numbers and calls the operation the menus call.
#include "script/script_statements.h"

#include <filesystem>

#include "acquisition/grabber.h"
#include "acquisition/live.h"
#include "analysis/form_particle.h"
#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_binarize.h"
#include "image/form_camera.h"
#include "image/image_operations.h"
#include "script/form_script.h"
#include "script/script_runtime.h"
#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

bool SameText(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
    if (x != y) return false;
  }
  return true;
}

std::string Lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

}  // namespace

// --- Lookup ----------------------------------------------------------------------

bool ScriptNameMatches(const ChildDocument& doc, const std::string& name) {
  const std::string caption = doc.Caption();
  if (SameText(caption, name)) return true;
  if (doc.Kind() == DocKind::Image) {
    const auto& image = static_cast<const Form_Camera&>(doc);
    if (SameText(image.Title(), name)) return true;
    if (!image.Filename.empty()) {
      if (SameText(image.Filename, name)) return true;
      const size_t slash = image.Filename.find_last_of("/\\");
      if (slash != std::string::npos && SameText(image.Filename.substr(slash + 1), name))
        return true;
    }
  } else if (doc.Kind() == DocKind::Worksheet) {
    // A sheet with changes shows " *" behind its name.
    if (caption.size() > 2 && caption.compare(caption.size() - 2, 2, " *") == 0 &&
        SameText(caption.substr(0, caption.size() - 2), name))
      return true;
  }
  return false;
}

ChildDocument* FindScriptDocument(MDIForm_Main& main, const std::string& name, bool images) {
  const std::vector<long>& handles = images ? main.ImageList : main.SheetList;
  for (long h : handles) {
    if (images && h == G().BackgroundImageHandle && h != 0) continue;
    ChildDocument* doc = main.Child(h);
    if (doc && ScriptNameMatches(*doc, name)) return doc;
  }
  return nullptr;
}

bool ScriptImageFile(const std::string& path) {
  if (!path.empty() && path.back() == '.') return true;
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of("/\\");
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
  const std::string ext = Lower(path.substr(dot));
  for (const char* e : {".tif", ".tiff", ".bmp", ".jpg", ".img", ".fts", ".t16", ".b16", ".i16"})
    if (ext == e) return true;
  return false;
}

std::string ScriptResolvePath(const std::string& folder, const std::string& path) {
  if (folder.empty() || path.empty() || std::filesystem::path(path).is_absolute()) return path;
  return (std::filesystem::path(folder) / path).string();
}

bool ScriptRunTime::GetImageForm(const std::string& name, Form_Camera*& form) {
  form = nullptr;
  MDIForm_Main* main = MainWindow();
  std::string wanted = name;
  if (wanted.empty() && main) {
    if (ChildDocument* active = main->ActiveChild()) wanted = active->Caption();
  }
  if (main) form = dynamic_cast<Form_Camera*>(FindScriptDocument(*main, wanted, true));
  if (!form) RunTimeError("Image " + Quoted(wanted) + " not found");
  return form != nullptr;
}

bool ScriptRunTime::GetWorksheetForm(const std::string& name, Form_Worksheet*& form) {
  form = nullptr;
  MDIForm_Main* main = MainWindow();
  std::string wanted = name;
  if (wanted.empty() && main) {
    if (ChildDocument* active = main->ActiveChild()) wanted = active->Caption();
  }
  if (main) form = dynamic_cast<Form_Worksheet*>(FindScriptDocument(*main, wanted, false));
  if (!form) RunTimeError("Worksheet " + Quoted(wanted) + " not found");
  return form != nullptr;
}

// --- Statements --------------------------------------------------------------------

int ScriptRunTime::Script_CAPTURE() {
  // Installed (the grabber came up) and active (it is initialised).
  if (!G().GrabberOK || !GB().Initialised) {
    RunTimeError("No video capture card installed");
    return 0;
  }
  mnuGrab_Click();
  return 1;
}

int ScriptRunTime::Script_EDGE(const std::string& name) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  Edge(*image);
  return 1;
}

int ScriptRunTime::Script_OPENIMAGE(const std::string& name) {
  MDIForm_Main* main = MainWindow();
  std::string folder = BaseFolder;
  if (BaseOnScriptFile && !form_.FileName.empty())
    folder = std::filesystem::path(form_.FileName).parent_path().string();
  const std::string path = ScriptResolvePath(folder, name);
  // Only image files: a script, a film or a sheet is not opened here.
  if (!main || !ScriptImageFile(path) || !main->OpenDocument(path)) {
    RunTimeError("Error loading " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_CLOSEIMAGE(const std::string& name) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (MDIForm_Main* main = MainWindow()) main->CloseChild(image->Handle());
  return 1;
}

int ScriptRunTime::Script_RESIZEIMAGE(const std::string& name, int32_t width, int32_t height) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (width == 0 && height == 0) {
    RunTimeError("Invalid parameter");
    return 0;
  }
  if (!ResizeImage(*image, width, height)) {
    RunTimeError("Can't resize image " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_BINARIZEIMAGE(const std::string& name, int32_t lower, int32_t upper) {
  // The upper threshold is read and not used: every sample at or above the
  // lower one becomes the top level, as the menu's Binarize does.
  (void)upper;
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (lower < 0 || lower >= image->ImageDynamik()) {
    RunTimeError("Invalid parameter");
    return 0;
  }
  if (!BinarizeDo(*image, lower, false, MainWindow())) {
    RunTimeError("Can't binarize image " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_NEGATIVEIMAGE(const std::string& name) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (!Negative(*image)) {
    RunTimeError("Can't negative image " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_PARTICLEDETECT(const std::string& name) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  const std::string caption = image->Caption();
  if (!ParticleForm().DetectParticles(*image)) {
    RunTimeError("Can't detect particles in " + Quoted(caption));
    return 0;
  }
  return 1;
}

int ScriptRunTime::ParticleMinArea(float minArea) {
  ParticleForm().ParticleMinArea(minArea);
  return 1;
}

int ScriptRunTime::ParticleWorksheet() {
  ParticleForm().Worksheet(MainWindow());
  return 1;
}

int ScriptRunTime::Script_PARTICLEEROSION(const std::string& name, int32_t neighbourhood) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (neighbourhood != 4 && neighbourhood != 8) {
    RunTimeError("Invalid parameter");
    return 0;
  }
  if (!Erosion(*image, neighbourhood)) {
    RunTimeError("Erosion failed in " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_PARTICLEDILATATION(const std::string& name, int32_t neighbourhood) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  if (neighbourhood != 4 && neighbourhood != 8) {
    RunTimeError("Invalid parameter");
    return 0;
  }
  if (!Dilatation(*image, neighbourhood)) {
    RunTimeError("Dilatation failed in " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_WORKSHEETSORT(const std::string& name, int32_t first, int32_t second) {
  Form_Worksheet* sheet = nullptr;
  if (!GetWorksheetForm(name, sheet)) return 0;
  // The first number is tested as a column, and reaches Sort as the direction.
  if (first < 0 || first >= sheet->Cols() || (second != 0 && second != 1)) {
    RunTimeError("Invalid parameter");
    return 0;
  }
  // A script cannot select: a sheet without a selection is sorted over all
  // its rows by its current column (the first data column when the index
  // column is current), and keeps no selection afterwards.
  const bool selected = sheet->SelStartCol() >= 1 && sheet->SelEndRow() >= 1;
  if (!selected) {
    const long key = sheet->Col() >= 1 ? sheet->Col() : 1;
    sheet->SetSelection(1, key, sheet->Rows() - 1, key);
  }
  const long done = Sort(*sheet, first, second);
  if (!selected) sheet->SetSelection(-1, -1, -1, -1);
  if (!done) {
    RunTimeError("Can't sort worksheet " + Quoted(name));
    return 0;
  }
  return 1;
}

int ScriptRunTime::Script_PARTICLEDRAW(const std::string& name) {
  Form_Camera* image = nullptr;
  if (!GetImageForm(name, image)) return 0;
  // The particles drawn are those detected in this very image.
  Form_Particle& particles = ParticleForm();
  if (particles.Image() != image) {
    RunTimeError("Can't draw particles in " + Quoted(name));
    return 0;
  }
  particles.ParticleDraw();
  return 1;
}

}  // namespace sv
