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

bool ParseFloat(std::string_view s, float& v) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  if (s.empty()) return false;
  std::string t(s);
  std::replace(t.begin(), t.end(), ',', '.');
  const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
  return r.ec == std::errc() && r.ptr == t.data() + t.size() && std::isfinite(v);
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

bool ParseImportColumns(std::string_view text, ImportColumns& columns, std::string& error) {
  columns = ImportColumns{};
  error.clear();
  long number = 0;
  size_t count = 0;
  while (!text.empty()) {
    const size_t nl = text.find('\n');
    std::string_view line = text.substr(0, nl);
    text = nl == std::string_view::npos ? std::string_view() : text.substr(nl + 1);
    ++number;
    std::vector<std::string_view> fields;
    // Tabs or ";" part the fields; else ","; else blanks. A comma inside a
    // field is a decimal comma.
    const char* seps = line.find_first_of("\t;") != std::string_view::npos ? "\t;"
                       : line.find(',') != std::string_view::npos       ? ","
                                                                        : " ";
    size_t i = 0;
    while (i <= line.size()) {
      size_t j = line.find_first_of(seps, i);
      if (j == std::string_view::npos) j = line.size();
      std::string_view f = line.substr(i, j - i);
      while (!f.empty() && (f.front() == ' ' || f.front() == '\r')) f.remove_prefix(1);
      while (!f.empty() && (f.back() == ' ' || f.back() == '\r')) f.remove_suffix(1);
      if (!f.empty()) fields.push_back(f);
      i = j + 1;
    }
    if (fields.empty()) continue;
    if (fields.size() > size_t(kFilmMaxCols)) {
      error = "Line " + std::to_string(number) + ": more than 32 columns";
      return false;
    }
    std::vector<float> values;
    bool numbers = true;
    for (std::string_view f : fields) {
      float v = 0;
      if (!ParseFloat(f, v)) {
        numbers = false;
        break;
      }
      values.push_back(v);
    }
    if (!numbers) {
      if (count == 0 && columns.labels.empty()) {
        // Labels are parted by tabs, ";" or "," only: blanks belong to them.
        const char* labelSeps = std::string_view(seps) == " " ? "" : seps;
        size_t k = 0;
        while (k <= line.size()) {
          size_t j = *labelSeps ? line.find_first_of(labelSeps, k) : std::string_view::npos;
          if (j == std::string_view::npos) j = line.size();
          std::string_view f = line.substr(k, j - k);
          while (!f.empty() && (f.front() == ' ' || f.front() == '\r')) f.remove_prefix(1);
          while (!f.empty() && (f.back() == ' ' || f.back() == '\r')) f.remove_suffix(1);
          columns.labels.emplace_back(f);
          k = j + 1;
        }
        if (columns.labels.size() > size_t(kFilmMaxCols)) {
          error = "Line " + std::to_string(number) + ": more than 32 columns";
          return false;
        }
        continue;
      }
      error = "Line " + std::to_string(number) + ": not a line of numbers";
      return false;
    }
    if (count == 0 && columns.labels.empty()) {
      for (size_t c = 0; c < values.size(); ++c) columns.labels.push_back("Column " + std::to_string(c + 1));
    }
    if (values.size() != columns.labels.size()) {
      error = "Line " + std::to_string(number) + ": " + std::to_string(values.size()) +
              " numbers for " + std::to_string(columns.labels.size()) + " columns";
      return false;
    }
    columns.rows.push_back(std::move(values));
    ++count;
  }
  return true;
}

bool ParseStartEnergy(const std::string& text, float& energy) {
  float v = 0;
  if (!ParseFloat(text, v)) return false;
  if (v != 0 && (v < kImportMinEnergy || v > kImportMaxEnergy)) return false;
  energy = v;
  return true;
}

bool ParseStepEnergy(const std::string& text, float& step) {
  float v = 0;
  if (!ParseFloat(text, v) || v == 0) return false;
  step = v;
  return true;
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
    if (G().BreakFlag) {
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
