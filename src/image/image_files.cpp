#include "image/image_files.h"

#include <algorithm>
#include <string>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_files_io.h"
#include "image/save_depth.h"
#include "image/tiff_foreign.h"

namespace sv {

using namespace image_io;

namespace {

struct FilterRow {
  const char* text;
  const char* ext;
};
constexpr FilterRow kFilters[kImageFilterCount] = {
    {"TIFF - 8 Bit", ".tif"},           {"Windows Bitmap - 8 Bit", ".bmp"},
    {"JPEG - 8 Bit", ".jpg"},           {"ITEX - 8 Bit", ".img"},
    {"Raw File Format - 8 Bit", ".raw"}, {"TIFF - 16 Bit", ".t16"},
    {"Windows Bitmap - 16 Bit", ".b16"}, {"ITEX - 16 Bit", ".i16"},
    {"Raw File Format - 16 Bit", ".r16"}, {"FTS - 16 Bit", ".fts"},
    {"ASCII: Z(X,Y)-Matrix", ".dat"},   {"ASCII: X(), Y(), Z()", ".dat"},
};

// What one read through the reader of a file's kind tells besides the picture.
struct LoadOutcome {
  int type = 0;                    // the kind; a TIFF of either byte order is 1
  std::string reader = "built-in";  // or "libtiff"
  std::string note;                // pages, changes; after a failure, libtiff's reason
};

// Reads a file of kind `type` through its reader. A TIFF that the built-in
// reader takes goes to it; any other TIFF (big-endian, BigTIFF, compressed,
// tiled, other layouts) goes to libtiff. A TIFF that neither takes fails as
// it did before: a little-endian one with the built-in reader's own refusal
// (its message for compressed files), a big-endian one with "Error loading"
// + path, as the JPEG reader told it. libtiff's reason becomes the note.
bool LoadByKind(Form_Camera& image, const std::string& path, int type, LoadOutcome& o) {
  o = LoadOutcome{};
  o.type = type;
  G().LoadOK = false;
  const bool tiff = type == 1 || (type == 3 && IsTiffFile(path));
  if (tiff && !(type == 1 && TiffBuiltInTakes(path))) {
    o.type = 1;
    o.reader = "libtiff";
    ForeignTiffRead read;
    if (LoadForeignTIF(image, path, read)) {
      if (!read.note.empty()) o.note = FileName(path) + ": " + read.note;
    } else if (!read.error.empty()) {  // not stopped by the user
      if (type == 1)
        LoadTIF(image, path);
      else
        Message("Error loading" + path, "Open Image");
      G().LoadOK = false;
      o.note = FileName(path) + ": " + read.error;
      return false;
    }
  } else {
    switch (type) {
      case 1: LoadTIF(image, path); break;
      case 2: LoadBMP(image, path); break;
      case 4: LoadIMG(image, path); break;
      case 7: LoadB16(image, path); break;
      case 3: LoadJPG(image, path); break;
      default: break;
    }
  }
  // Of a file of several pages the first is read; the user is told.
  if (G().LoadOK && o.type == 1) {
    const std::string pages = TiffPagesNote(path, TiffPageCount(path));
    if (!pages.empty())
      o.note = o.note.empty() ? pages : pages + "; " + o.note.substr(FileName(path).size() + 2);
  }
  return G().LoadOK;
}

}  // namespace

int GetImageFileType(const std::string& path) {
  InFile in;
  if (!in.Open(path)) return 0;
  uint8_t b[4] = {0, 0, 0, 0};
  const uint64_t n = std::min<uint64_t>(4, in.Size());
  if (!in.ReadAt(0, b, n)) return 0;
  if (n >= 4 && b[0] == 'I' && b[1] == 'I' && Word(b + 2) == 42) return 1;
  if (n >= 2 && b[0] == 'B' && b[1] == 'M') return 2;
  if (n >= 4 && std::memcmp(b, "PCO-", 4) == 0) return 7;
  if (n >= 2 && b[0] == 'I' && b[1] == 'M') return 4;
  return 3;
}

// --- Filters and commands -------------------------------------------------------

std::string ImageFilterText(int filter) {
  return filter >= 1 && filter <= kImageFilterCount ? kFilters[filter - 1].text : "(unknown)";
}

std::string ImageFilterExtension(int filter) {
  return filter >= 1 && filter <= kImageFilterCount ? kFilters[filter - 1].ext : "";
}

int ImageFilterForPath(const std::string& path) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return 0;
  const std::string ext = Lower(path.substr(dot));
  for (int i = 1; i <= kImageFilterCount; ++i)
    if (ext == kFilters[i - 1].ext) return i;
  return 0;
}

std::string ImageOpenDialogFilter() {
  std::string f = "Picture Files (.tif;.bmp;.jpg;.img;.t16;.b16)|*.tif;*.bmp;*.jpg;*.img;*.t16;*.b16";
  for (const char* ext : {".tif", ".bmp", ".jpg", ".img", ".t16", ".b16"})
    f += std::string("|") + ext + "|*" + ext;
  return f;
}

std::string ImageSaveDialogFilter() {
  std::string f;
  for (int i = 1; i <= kImageFilterCount; ++i) {
    if (i > 1) f += "|";
    f += std::string(kFilters[i - 1].text) + " (*" + kFilters[i - 1].ext + ")|*" +
         kFilters[i - 1].ext;
  }
  return f;
}

bool ImageOpenDo(Form_Camera& image, const std::string& path) {
  image.ImageClose();
  const int type = GetImageFileType(path);
  ShowStatus("Loading " + FileName(path));
  LoadOutcome outcome;
  LoadByKind(image, path, type, outcome);
  image.ClearUndo();
  image.SetChanged(false);
  image.Filename = path;
  if (MDIForm_Main* m = MainForm()) m->UpdateLastFiles(path);
  // The status line keeps what the reader had to tell.
  ShowStatus(outcome.note);
  if (!G().LoadOK) {
    image.ImageClose();
    return false;
  }
  // The filter a plain Save writes it back with.
  const bool wide = image.ImageBitsPerPixel() > 8;
  switch (outcome.type) {
    case 1: image.FileFilter = wide ? 6 : 1; break;
    case 2: image.FileFilter = 2; break;
    case 3: image.FileFilter = 3; break;
    case 4: image.FileFilter = wide ? 8 : 4; break;
    case 7: image.FileFilter = 7; break;
    default: break;
  }
  return true;
}

bool ImageSaveDo(Form_Camera& image, const std::string& path, int filter) {
  if (!image.ImagePtr()) return false;
  ShowStatus("Saving " + FileName(path));
  bool ok = false;
  switch (filter) {
    case 1:
    case 6: ok = SaveTIF(image, path, filter); break;
    case 2: ok = SaveBMP(image, path); break;
    case 3: ok = SaveJPG(image, path); break;
    case 4:
    case 8: ok = SaveIMG(image, path, filter); break;
    case 5:
    case 9: ok = SaveRAW(image, path, filter); break;
    case 7: ok = SaveB16(image, path); break;
    case 10: ok = SaveFTS(image, path); break;
    case 11:
    case 12: ok = SaveASC(image, path, filter); break;
    default: return false;
  }
  ShowStatus("");
  if (!ok) {
    Message("Error writing " + path, "Save Image");
    return false;
  }
  image.Filename = path;
  image.FileFilter = filter;
  image.SetChanged(false);
  if (MDIForm_Main* m = MainForm()) m->UpdateLastFiles(path);
  return true;
}

bool FileSave(Form_Camera& image) {
  if (!image.HasFilename() || image.FileFilter < 1 || image.FileFilter > kImageFilterCount)
    return FileSaveAs(image);
  return ImageSaveDo(image, image.Filename, image.FileFilter);
}

bool FileSaveAs(Form_Camera& image) {
  if (!image.ImagePtr() || !HasHost()) return false;
  Globals& g = G();
  FileDialog dlg;
  dlg.title = "Save Image";
  dlg.filter = ImageSaveDialogFilter();
  dlg.filterIndex = std::clamp(g.ImagesFilterIndex, 1, kImageFilterCount);
  dlg.folder = g.ImagesDialogPath.empty() ? g.ImagesPath : g.ImagesDialogPath;
  dlg.fileName = image.HasFilename() ? FileName(image.Filename) : image.Title();
  const FileDialogResult r = host().SaveFileDialog(dlg);
  if (r.path.empty()) return false;
  const int filter = std::clamp(r.filterIndex, 1, kImageFilterCount);
  g.ImagesFilterIndex = filter;
  std::string path = r.path;
  if (ImageFilterForPath(path) == 0) path += ImageFilterExtension(filter);
  const size_t slash = path.find_last_of('/');
  if (slash != std::string::npos) g.ImagesDialogPath = path.substr(0, slash + 1);
  if (!ImageSaveDo(image, path, filter)) return false;
  NoteSaveDepth(image, path, filter);
  return true;
}

bool FileOpen(MDIForm_Main& main) {
  if (!HasHost()) return false;
  Globals& g = G();
  FileDialog dlg;
  dlg.title = "Open Image";
  dlg.filter = ImageOpenDialogFilter();
  dlg.filterIndex = 1;
  dlg.folder = g.ImagesDialogPath.empty() ? g.ImagesPath : g.ImagesDialogPath;
  const FileDialogResult r = host().OpenFileDialog(dlg);
  if (r.path.empty()) return false;
  const size_t slash = r.path.find_last_of('/');
  if (slash != std::string::npos) g.ImagesDialogPath = r.path.substr(0, slash + 1);
  auto* image = dynamic_cast<Form_Camera*>(main.CreateImage());
  if (!image) return false;
  if (!ImageOpenDo(*image, r.path)) {
    // The JPEG reader has told it already.
    if (GetImageFileType(r.path) != 3) Message("Error loading" + r.path, "Open Image");
    main.CloseChild(image->Handle());
    return false;
  }
  main.ShowChild(image->Handle());
  return true;
}

bool ReadImageFileInfo(const std::string& path, ImageFileInfo& info) {
  info = ImageFileInfo{};
  const int type = GetImageFileType(path);
  if (type == 0) return false;
  Form_Camera image(nullptr);
  LoadOutcome outcome;
  const bool ok = LoadByKind(image, path, type, outcome);
  info.type = outcome.type;
  info.reader = outcome.reader;
  info.note = outcome.note;
  if (!ok) return false;
  info.width = image.ImageWidth();
  info.height = image.ImageHeight();
  info.bits = image.ImageBitsPerPixel();
  info.colour = image.HasColors();
  info.comment = image.ImgDescription;
  info.xPelsPerMeter = image.ImageXPelsPerMeter();
  info.yPelsPerMeter = image.ImageYPelsPerMeter();
  return true;
}

void RegisterImageFiles(MDIForm_Main& main) {
  MDIForm_Main* m = &main;
  main.SetCommand("mnuOpenImage", [m](int) { FileOpen(*m); });
  main.ImageOpenDo = [](ChildDocument& doc, const std::string& path) {
    auto* image = dynamic_cast<Form_Camera*>(&doc);
    return image && ImageOpenDo(*image, path);
  };
}


}  // namespace sv
