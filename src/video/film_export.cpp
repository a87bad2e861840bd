#include "video/film_export.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "core/globals.h"
#include "core/host.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "video/film_edit.h"
#include "video/video_file.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/sheet_formats.h"

namespace sv {

namespace {

constexpr int kExportFilters[kExportFilterCount] = {1, 2, 3, 4, 5, 6, 7, 9, 10};

std::string Number(float v) {
  char text[32];
  const auto r = std::to_chars(text, text + sizeof text, v);
  return std::string(text, r.ptr);
}

// The image writers without the document's name, filter and last files.
bool WriteImage(Form_Camera& image, const std::string& path, int filter) {
  switch (filter) {
    case 1:
    case 6: return SaveTIF(image, path, filter);
    case 2: return SaveBMP(image, path);
    case 3: return SaveJPG(image, path);
    case 4:
    case 8: return SaveIMG(image, path, filter);
    case 5:
    case 9: return SaveRAW(image, path, filter);
    case 7: return SaveB16(image, path);
    case 10: return SaveFTS(image, path);
    case 11:
    case 12: return SaveASC(image, path, filter);
    default: return false;
  }
}

}  // namespace

int ExportImageFilter(int filterIndex) {
  return filterIndex >= 1 && filterIndex <= kExportFilterCount ? kExportFilters[filterIndex - 1] : 0;
}

std::string ExportFilterExtension(int filterIndex) {
  return ImageFilterExtension(ExportImageFilter(filterIndex));
}

std::string ExportFrameName(const std::string& folder, const std::string& base, long frame,
                            int imageFilter) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%06ld", frame);
  std::string f = folder;
  if (!f.empty() && f.back() != '/') f += '/';
  return f + base + "_" + digits + ImageFilterExtension(imageFilter);
}

std::string ExportLogLine(const VideoFile& film, long frame) {
  std::string line = "[" + std::to_string(frame) + "]";
  for (long c = 0; c < film.Cols(); ++c) line += "\t" + Number(film.ColData(c));
  return line;
}

ExportResult ExportFilmFrames(VideoFile& film, const ExportRequest& request) {
  ExportResult r;
  if (ImageFilterExtension(request.imageFilter).empty()) {
    r.error = "No image format " + std::to_string(request.imageFilter);
    return r;
  }
  std::error_code ec;
  if (!request.folder.empty() && !std::filesystem::is_directory(request.folder, ec) &&
      !std::filesystem::create_directories(request.folder, ec)) {
    r.error = "Cannot create the folder " + request.folder;
    return r;
  }
  std::ofstream log;
  if (!request.logPath.empty()) {
    log.open(request.logPath, std::ios::binary | std::ios::trunc);
    if (!log) {
      r.error = "Error writing " + request.logPath;
      return r;
    }
  }
  const FramePixels pixels = PixelsOf(film);
  Form_Camera image(nullptr);
  image.SetHasColors(pixels.colour);
  image.CreateImage(pixels.width, pixels.height, pixels.bits, nullptr);
  if (!image.ImagePtr()) {
    r.error = "Not enough memory";
    return r;
  }
  std::vector<uint8_t> frame(film.FrameSize());
  for (long index : request.frames) {
    if (HasHost()) host().DoEvents();
    if (EditStopRequested()) {
      r.stopped = true;
      return r;
    }
    uint32_t got = 0;
    if (index < 0 || index >= film.NumberOfPictures() ||
        !film.ReadFrame(uint32_t(index), frame.data(), got)) {
      r.error = "Frame " + std::to_string(index) + " cannot be read";
      return r;
    }
    FrameToSamples(pixels, frame.data(), image.ImagePtr());
    const std::string name = ExportFrameName(request.folder, request.base, index, request.imageFilter);
    if (HasHost()) host().ShowStatus("Export " + name + "...", -1);
    if (!WriteImage(image, name, request.imageFilter)) {
      r.error = "Error writing " + name;
      return r;
    }
    if (log.is_open()) log << ExportLogLine(film, index) << "\r\n";
    ++r.written;
  }
  if (log.is_open()) {
    log.close();
    if (!log) {
      r.error = "Error writing " + request.logPath;
      return r;
    }
  }
  if (HasHost()) host().ShowStatus("", -1);
  r.ok = true;
  return r;
}

bool FillFilmWorksheet(VideoFile& film, Form_Worksheet& sheet) {
  if (HasHost()) host().ShowStatus("Creating Worksheet", -1);
  const long cols = film.IsAVI() ? 0 : film.Cols();
  sheet.Redraw(false);
  sheet.Cols(cols + 2);
  sheet.Rows(1);
  sheet.ColName(1, "Frame #");
  sheet.Col(1);
  sheet.ColTyp(kTypX);
  for (long c = 0; c < cols; ++c) {
    sheet.ColName(c + 2, film.ColLabel(c));
    sheet.Col(c + 2);
    sheet.ColTyp(kTypY);
  }
  sheet.Col(1);
  sheet.Row(0);
  std::vector<uint8_t> frame(film.FrameSize());
  std::vector<float> row(size_t(cols) + 2, 0.0f);
  StatusRation ration;
  bool ok = true;
  for (long i = 0; i < film.NumberOfPictures(); ++i) {
    uint32_t got = 0;
    if (!film.ReadFrame(uint32_t(i), frame.data(), got)) {
      ok = false;
      break;
    }
    row[1] = float(i);
    for (long c = 0; c < cols; ++c) row[size_t(c) + 2] = film.ColData(c);
    sheet.Row(i);
    sheet.SetRowData(row);
    if (sheet.Row() != i + 1) {
      ok = false;
      break;
    }
    if (ration.Due() && HasHost()) {
      host().ShowStatus("Creating Worksheet", int(int64_t(i) * 100 / film.NumberOfPictures()));
      host().DoEvents();
    }
  }
  sheet.Redraw(true);
  if (HasHost()) host().ShowStatus("", -1);
  return ok;
}

}  // namespace sv
