#include "video/film_import.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <filesystem>

#include "core/globals.h"
#include "core/host.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "image/kernel/numbers.h"
#include "image/tiff_foreign.h"
#include "video/film_edit.h"
#include "video/video_file.h"

namespace sv {

namespace {

namespace fs = std::filesystem;

std::string StemOf(const std::string& path) { return fs::path(path).stem().string(); }
std::string NameOf(const std::string& path) { return fs::path(path).filename().string(); }

bool ImageExtension(const std::string& path) {
  std::string ext = fs::path(path).extension().string();
  for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  for (const char* e : {".tif", ".tiff", ".t16", ".bmp", ".b16", ".jpg", ".jpeg", ".img", ".i16"})
    if (ext == e) return true;
  return false;
}

// An image file or one page of a TIFF into the image, without a message.
bool LoadFrame(Form_Camera& image, const ImportFrame& f, std::string& error) {
  if (f.page >= 0) {
    ForeignTiffRead read;
    if (LoadForeignTIFPage(image, f.path, f.page, read)) return true;
    error = read.error;
    return false;
  }
  const int type = GetImageFileType(f.path);
  const bool tiff = type == 1 || (type == 3 && IsTiffFile(f.path));
  G().LoadOK = false;
  if (tiff && !(type == 1 && TiffBuiltInTakes(f.path))) {
    ForeignTiffRead read;
    if (!LoadForeignTIF(image, f.path, read)) error = read.error;
  } else {
    switch (type) {
      case 1: LoadTIF(image, f.path); break;
      case 2: LoadBMP(image, f.path); break;
      case 3: LoadJPG(image, f.path); break;
      case 4: LoadIMG(image, f.path); break;
      case 7: LoadB16(image, f.path); break;
      default: break;
    }
  }
  if (!G().LoadOK && error.empty()) error = "the image cannot be read";
  return G().LoadOK && image.ImagePtr();
}

std::string Attributes(long w, long h, long bits, bool colour) {
  return std::to_string(w) + " x " + std::to_string(h) + " Pixel, " + std::to_string(bits) +
         " bit" + (colour ? " colour" : "");
}

std::string EnergyText(double e) {
  char t[32];
  std::snprintf(t, sizeof t, "%g", e);
  return t;
}

}  // namespace

bool CycleNumberOf(const std::string& path, long& cycle) {
  const std::string stem = StemOf(path);
  const size_t us = stem.find_last_of('_');
  if (us == std::string::npos || us + 1 >= stem.size() ||
      !std::isdigit(static_cast<unsigned char>(stem[us + 1])))
    return false;
  const char* b = stem.data() + us + 1;
  const auto r = std::from_chars(b, stem.data() + stem.size(), cycle);
  return r.ec == std::errc();
}

long SortImportNames(std::vector<std::string>& names) {
  struct Key {
    bool has;
    long cycle;
    std::string name;
  };
  std::vector<std::pair<Key, std::string>> keyed;
  long without = 0;
  for (const std::string& n : names) {
    long c = 0;
    const bool has = CycleNumberOf(n, c);
    if (!has) ++without;
    keyed.push_back({Key{has, c, NameOf(n)}, n});
  }
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
    if (a.first.has != b.first.has) return a.first.has;
    if (a.first.has && a.first.cycle != b.first.cycle) return a.first.cycle < b.first.cycle;
    return a.first.name < b.first.name;
  });
  for (size_t i = 0; i < names.size(); ++i) names[i] = keyed[i].second;
  return without;
}

bool EnergyFromName(const std::string& path, double& energy) {
  const std::string s = StemOf(path);
  // The last run of digits, with a fraction and a sign before it.
  size_t end = s.size();
  while (end > 0 && !std::isdigit(static_cast<unsigned char>(s[end - 1]))) --end;
  if (end == 0) return false;
  size_t begin = end;
  while (begin > 0 && std::isdigit(static_cast<unsigned char>(s[begin - 1]))) --begin;
  if (begin >= 2 && s[begin - 1] == '.' && std::isdigit(static_cast<unsigned char>(s[begin - 2]))) {
    --begin;
    while (begin > 0 && std::isdigit(static_cast<unsigned char>(s[begin - 1]))) --begin;
  }
  // A minus counts when nothing alphanumeric stands right before it.
  if (begin >= 1 && s[begin - 1] == '-' &&
      (begin == 1 || !std::isalnum(static_cast<unsigned char>(s[begin - 2]))))
    --begin;
  const std::string number = s.substr(begin, end - begin);
  const auto r = std::from_chars(number.data(), number.data() + number.size(), energy);
  return r.ec == std::errc();
}

std::vector<std::string> ImagesInFolder(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (it->is_regular_file(ec) && ImageExtension(it->path().string()))
      names.push_back(it->path().string());
  }
  SortImportNames(names);
  return names;
}

bool ExpandImportSources(const std::vector<std::string>& inputs, std::vector<ImportFrame>& frames,
                         std::string& error) {
  frames.clear();
  const auto add = [&](const std::string& file) {
    const long pages = IsTiffFile(file) ? TiffPageCount(file) : 1;
    if (pages > 1) {
      for (long p = 0; p < pages; ++p) frames.push_back({file, p});
    } else {
      frames.push_back({file, -1});
    }
  };
  for (const std::string& in : inputs) {
    std::error_code ec;
    if (fs::is_directory(in, ec)) {
      const std::vector<std::string> names = ImagesInFolder(in);
      if (names.empty()) {
        error = "No images in " + in;
        return false;
      }
      for (const std::string& n : names) add(n);
    } else if (fs::is_regular_file(in, ec)) {
      add(in);
    } else {
      error = "File \"" + in + "\" not found";
      return false;
    }
  }
  if (frames.empty()) error = "No images to import";
  return !frames.empty();
}

ImportResult ImportFilm(const std::vector<ImportFrame>& frames, const std::string& target,
                        const ImportOptions& options) {
  ImportResult r;
  if (frames.empty()) {
    r.error = "No images to import";
    return r;
  }
  const bool energyCoded = options.energyFromNames || options.startEnergy != 0;
  // Energies from the names are all known before the film is begun.
  std::vector<double> energies(frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    if (options.energyFromNames) {
      if (frames[i].page >= 0) {
        r.error = NameOf(frames[i].path) + " holds several pages: its name gives no energy for each";
        return r;
      }
      if (!EnergyFromName(frames[i].path, energies[i])) {
        r.error = "No energy in the file name " + NameOf(frames[i].path);
        return r;
      }
    } else {
      energies[i] = double(options.startEnergy) + double(i) * double(options.stepEnergy);
    }
  }
  std::vector<std::string> labels = options.columns.labels;
  if (labels.empty()) {
    if (energyCoded) labels.push_back("energy (eV)");
    labels.push_back("Cycle");
    labels.push_back("time (s)");
  }
  Form_Camera image(nullptr);
  std::string why;
  if (!LoadFrame(image, frames[0], why)) {
    r.error = "Error loading " + frames[0].path + (why.empty() ? "" : ": " + why);
    return r;
  }
  r.width = image.ImageWidth();
  r.height = image.ImageHeight();
  r.colour = image.HasColors();
  const long imageBits = image.ImageBitsPerPixel();
  r.bits = r.colour ? 8 : std::max(8L, imageBits);
  std::unique_ptr<VideoFile> film = NewVideoFile(false);
  std::string path = target;
  long w = r.width, h = r.height, b = r.bits;
  float rate = 0;
  // The header goes to disk before the first frame.
  if (!film->FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, r.colour) ||
      !film->NumericData(labels)) {
    r.error = "Error writing " + target;
    return r;
  }
  const FramePixels pixels = PixelsOf(*film);
  if (size_t(film->FrameSize()) < (labels.size() + 1) * kCodeCellBytes) {
    film->FileClose();
    std::filesystem::remove(path);
    r.error = "Frames of " + std::to_string(r.width) + " x " + std::to_string(r.height) +
              " are too small for " + std::to_string(labels.size() + 1) + " numbers";
    return r;
  }
  std::vector<uint8_t> frame(film->FrameSize());
  std::vector<uint16_t> samples;
  std::vector<float> cells(labels.size() + 1);
  const float gap = SV_GapValue();
  const int shift = r.colour && imageBits > 8 ? int(imageBits - 8) : 0;
  for (size_t i = 0; i < frames.size(); ++i) {
    if (HasHost()) host().DoEvents();
    if (EditStopRequested()) {
      r.error = "Stopped";
      break;
    }
    const std::string name = NameOf(frames[i].path);
    if (HasHost())
      host().ShowStatus("Import " + name + "..." +
                            (energyCoded ? "(" + EnergyText(energies[i]) + " eV)"
                                         : "[" + std::to_string(i) + "]"),
                        -1);
    if (i > 0 && !LoadFrame(image, frames[i], why)) {
      r.error = "Error loading " + frames[i].path + (why.empty() ? "" : ": " + why);
      break;
    }
    if (image.ImageWidth() != r.width || image.ImageHeight() != r.height ||
        image.ImageBitsPerPixel() != imageBits || image.HasColors() != r.colour) {
      r.error = std::string("Current image attributes does not match with attributes of first image:") +
                "\r\n\r\n1st image:\t" + Attributes(r.width, r.height, imageBits, r.colour) +
                "\r\ncurrent image:\t" +
                Attributes(image.ImageWidth(), image.ImageHeight(), image.ImageBitsPerPixel(),
                           image.HasColors()) +
                "\r\n(" + frames[i].path + ")";
      break;
    }
    const size_t n = pixels.Samples();
    samples.assign(image.ImagePtr(), image.ImagePtr() + n);
    if (shift)
      for (uint16_t& s : samples) s = uint16_t(s >> shift);
    SamplesToFrame(pixels, samples.data(), frame.data());
    // The numbers: cell 0 the cycle, then the columns.
    cells[0] = float(i);
    if (!options.columns.labels.empty()) {
      for (size_t c = 0; c < labels.size(); ++c)
        cells[c + 1] = i < options.columns.rows.size() ? options.columns.rows[i][c] : gap;
    } else {
      size_t c = 1;
      if (energyCoded) cells[c++] = float(energies[i]);
      cells[c++] = float(i);
      cells[c++] = float(i) * 0.5f;
    }
    SV_code(Samples8(frame.data(), frame.size()), cells);
    if (!film->WriteFrame(uint32_t(i), frame.data())) {
      r.error = "Error writing " + target;
      break;
    }
    ++r.frames;
  }
  if (!film->FileClose() && r.error.empty()) r.error = "Error writing " + target;
  if (HasHost()) host().ShowStatus("", -1);
  r.ok = r.error.empty();
  return r;
}

}  // namespace sv
