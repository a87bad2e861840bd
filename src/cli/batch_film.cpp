#include "cli/batch_film.h"

#include <charconv>
#include <cstdio>
#include <memory>

#include "cli/batch_host.h"
#include "core/globals.h"
#include "image/kernel/numbers.h"
#include "video/class_sv2vid.h"
#include "video/film_files.h"
#include "video/film_repair.h"

namespace sv::cli {

namespace {

int Bad(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n";
  return 2;
}

std::string Number(float v) {
  char text[32];
  const auto r = std::to_chars(text, text + sizeof text, v);
  return std::string(text, r.ptr);
}

std::string Fixed2(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%.2f", v);
  return text;
}

// One cell of a frame: its number, or "-" when the bytes are no number.
std::string Cell(const std::vector<uint8_t>& frame, size_t cell, uint32_t bytesRead) {
  const size_t at = cell * kCodeCellBytes;
  float v = 0;
  if (at + kCodeCellBytes > bytesRead ||
      !SV_decode(std::span<float>(&v, 1), ConstSamples8(frame.data() + at, kCodeCellBytes)))
    return "-";
  return Number(v);
}

struct Described {
  std::string type;
  long frames = 0, width = 0, height = 0, bits = 0;
  bool colour = false;
  float rate = 0;
  uint64_t frameSize = 0;
  std::vector<std::string> labels;
};

void Print(std::ostream& out, const std::string& path, const Described& d) {
  out << "file: " << path << "\n"
      << "type: " << d.type << "\n"
      << "frames: " << d.frames << "\n"
      << "width: " << d.width << "\n"
      << "height: " << d.height << "\n"
      << "bits: " << d.bits << "\n"
      << "colour: " << (d.colour ? "yes" : "no") << "\n"
      << "rate: " << Fixed2(d.rate) << "\n"
      << "frame size: " << d.frameSize << "\n"
      << "columns: " << d.labels.size() << "\n";
  for (size_t c = 0; c < d.labels.size(); ++c)
    out << "column " << c << ": " << d.labels[c] << "\n";
}

Described FromFilm(const VideoFile& film) {
  Described d;
  d.type = film.IsAVI() ? "avi" : "vid";
  d.frames = film.NumberOfPictures();
  d.width = film.Width();
  d.height = film.Height();
  d.bits = film.BitsPerPixel();
  d.colour = film.HasColors();
  d.rate = film.Rate();
  d.frameSize = film.FrameSize();
  for (long c = 0; c < film.Cols(); ++c) d.labels.push_back(film.ColLabel(c));
  return d;
}

void PrintFrames(std::ostream& out, VideoFile& film, const std::vector<std::string>& labels) {
  out << "frame\tcycle";
  for (const std::string& l : labels) out << "\t" << l;
  out << "\n";
  std::vector<uint8_t> frame(film.FrameSize());
  const size_t cells = film.IsAVI() ? 0 : labels.size();
  for (long i = 0; i < film.NumberOfPictures(); ++i) {
    uint32_t got = 0;
    const bool ok = film.ReadFrame(uint32_t(i), frame.data(), got);
    if (!ok) got = 0;
    out << i << "\t" << (film.IsAVI() ? "-" : Cell(frame, 0, got));
    for (size_t c = 0; c < labels.size(); ++c)
      out << "\t" << (c < cells ? Cell(frame, c + 1, got) : "-");
    out << "\n";
  }
}

}  // namespace

std::string FilmUsage() {
  return "  film-info FILE [--frames]\n"
         "              a film's type (vid or avi), frames, size, depth, colour,\n"
         "              rate, frame size and columns, and its complete frames when\n"
         "              the file's size disagrees with the header; --frames lists\n"
         "              each frame's cycle and numbers (\"-\" where none is coded)\n"
         "  film-repair FILE\n"
         "              sets a \".vid\" film's frame count to its complete frames\n"
         "              and cuts off an incomplete last frame\n";
}

int FilmInfoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string path;
  bool frames = false;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--frames") frames = true;
    else if (args[i].rfind("--", 0) == 0) return Bad(err, "unknown option " + args[i]);
    else if (path.empty()) path = args[i];
    else return Bad(err, "film-info takes one file");
  }
  if (path.empty()) return Bad(err, "film-info takes one file");
  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();

  const int kind = IsVideoFile(path);
  if (kind == 0) return 1;  // the host has said it
  std::string name = path;
  if (kind == 2) {
    std::unique_ptr<VideoFile> film = NewVideoFile(true);
    if (!film || !film->FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false)) {
      err << "svbatch: " << path << " is not a film\n";
      return 1;
    }
    const Described d = FromFilm(*film);
    Print(out, path, d);
    if (frames) PrintFrames(out, *film, d.labels);
    return 0;
  }

  FilmSizeCheck check;
  if (CheckFilmSize(path, check) != 2) {
    err << "svbatch: " << path << " is not a valid Film File\n";
    return 1;
  }
  Class_SV2VID film;
  const bool open = film.FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false);
  Described d;
  if (open) {
    d = FromFilm(film);
  } else {
    // A header the player would refuse (no frames, say, after a crash) is
    // still shown as it stands.
    const VideoHeader& h = check.header;
    d.type = "vid";
    d.frames = h.NumberOfPictures;
    d.width = h.Width;
    d.height = h.Height;
    d.bits = h.BitsPerPixel;
    d.colour = h.HasColors != 0;
    d.rate = RateFromHeader(h);
    d.frameSize = ReadFrameSize(h.Width, h.Height, h.BitsPerPixel);
    d.labels = SplitFilmLabels(h);
  }
  Print(out, path, d);
  if (!check.Matches()) out << "complete frames: " << check.completeFrames << "\n";
  if (frames) {
    if (open) PrintFrames(out, film, d.labels);
    else {
      out << "frame\tcycle";
      for (const std::string& l : d.labels) out << "\t" << l;
      out << "\n";
    }
  }
  return 0;
}

int FilmRepairCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2 || args[1].rfind("--", 0) == 0) return Bad(err, "film-repair takes one file");
  BatchHost batchHost(err);
  HostScope scope(&batchHost);
  ResetGlobals();
  const std::string& path = args[1];
  FilmRepairResult r;
  std::string error;
  if (!RepairFilm(path, r, error)) {
    err << "svbatch: " << error << "\n";
    return 1;
  }
  if (!r.changed) {
    out << path << ": " << r.newFrames << " frames, nothing to repair\n";
    return 0;
  }
  out << path << ": " << r.oldFrames << " -> " << r.newFrames << " frames";
  if (r.cutBytes) out << ", " << r.cutBytes << " bytes of an incomplete frame cut off";
  out << "\n";
  return 0;
}

}  // namespace sv::cli
