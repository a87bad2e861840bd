// Frames of a film as image files, the frames' numbers as a log or as a
// worksheet.
#pragma once

#include <string>
#include <vector>

namespace sv {

class Form_Worksheet;
class VideoFile;

// The export dialog's formats, by FilterIndex 1 to 9: ".tif", ".bmp",
// ".jpg", ".img", ".raw", ".t16", ".b16", ".r16", ".fts"; the image save
// filter of each (0 outside).
inline constexpr int kExportFilterCount = 9;
int ExportImageFilter(int filterIndex);
std::string ExportFilterExtension(int filterIndex);

// base + "_" + frame in "000000" + the filter's extension, in `folder`.
std::string ExportFrameName(const std::string& folder, const std::string& base, long frame,
                            int imageFilter);

struct ExportRequest {
  std::vector<long> frames;  // the frames to write, in order
  std::string folder;        // with or without a trailing "/"; made when missing
  std::string base;          // the names' stem
  int imageFilter = 6;       // image save filter, 1 .. 12
  std::string logPath;       // "": no log
};
struct ExportResult {
  bool ok = false;
  bool stopped = false;
  long written = 0;
  std::string error;
};

// Writes each frame through the image writer, status "Export " + name +
// "...". The log holds a line a frame: "[" + frame + "]" and, tab before
// each, the column values.
ExportResult ExportFilmFrames(VideoFile& film, const ExportRequest& request);

// The log line of the frame last read from `film`.
std::string ExportLogLine(const VideoFile& film, long frame);

// The film's numbers as a sheet: column 1 "Frame #" (role X), then the
// film's labels; a row a frame (Row = frame + 1). An AVI film gives only
// "Frame #". Status "Creating Worksheet".
bool FillFilmWorksheet(VideoFile& film, Form_Worksheet& sheet);

}  // namespace sv
