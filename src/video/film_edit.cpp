#include "video/film_edit.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "core/globals.h"
#include "core/host.h"
#include "core/platform/platform.h"
#include "image/kernel/numbers.h"
#include "video/film_files.h"

namespace sv {

namespace {

const bool* extraStop = nullptr;

void Status(const std::string& text) {
  if (HasHost()) host().ShowStatus(text, -1);
}

}  // namespace

// --- Stopping ---------------------------------------------------------------

bool EditStopRequested() { return G().BreakFlag || (extraStop && *extraStop); }

EditStopScope::EditStopScope(bool& flag) : previous_(extraStop) {
  flag = false;
  extraStop = &flag;
}
EditStopScope::~EditStopScope() { extraStop = previous_; }

// --- Names -------------------------------------------------------------------

std::string FolderOf(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

std::string FreeSiblingName(const std::string& path, const std::string& ext) {
  std::string base = path;
  const size_t slash = base.find_last_of('/');
  const size_t dot = base.find_last_of('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) base.resize(dot);
  if (!platform::FileExists(base + ext)) return base + ext;
  for (long n = 1;; ++n) {
    const std::string name = base + "(" + std::to_string(n) + ")" + ext;
    if (!platform::FileExists(name)) return name;
  }
}

std::string GroupedNumber(uint64_t n) {
  std::string digits = std::to_string(n), out;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

// --- Pixels ------------------------------------------------------------------

FramePixels PixelsOf(const VideoFile& film) {
  FramePixels f;
  f.width = film.Width();
  f.height = film.Height();
  f.bits = film.BitsPerPixel();
  f.colour = film.HasColors();
  f.frameBytes = film.FrameSize();
  return f;
}

void FrameToSamples(const FramePixels& f, const uint8_t* frame, uint16_t* samples) {
  const size_t pixels = size_t(f.width) * size_t(f.height);
  if (f.bits > 8 && !f.colour) {
    const size_t have = std::min(pixels, f.frameBytes / 2);
    for (size_t i = 0; i < have; ++i) samples[i] = uint16_t(frame[2 * i] | frame[2 * i + 1] << 8);
    std::fill(samples + have, samples + pixels, uint16_t(0));
    return;
  }
  const size_t per = f.colour ? 3 : 1;
  const size_t lineBytes = f.height > 0 ? f.frameBytes / size_t(f.height) : 0;
  const size_t columns = std::min(size_t(f.width), lineBytes / per);
  std::fill(samples, samples + pixels * per, uint16_t(0));
  for (long y = 0; y < f.height; ++y) {
    const uint8_t* line = frame + size_t(y) * lineBytes;
    uint16_t* out = samples + size_t(y) * size_t(f.width) * per;
    for (size_t x = 0; x < columns * per; ++x) out[x] = line[x];
  }
}

void SamplesToFrame(const FramePixels& f, const uint16_t* samples, uint8_t* frame) {
  const size_t pixels = size_t(f.width) * size_t(f.height);
  if (f.bits > 8 && !f.colour) {
    const uint32_t top = f.bits >= 16 ? 0xFFFFu : (1u << f.bits) - 1;
    const size_t have = std::min(pixels, f.frameBytes / 2);
    for (size_t i = 0; i < have; ++i) {
      const uint32_t v = std::min<uint32_t>(samples[i], top);
      frame[2 * i] = uint8_t(v);
      frame[2 * i + 1] = uint8_t(v >> 8);
    }
    return;
  }
  const size_t per = f.colour ? 3 : 1;
  const size_t lineBytes = f.height > 0 ? f.frameBytes / size_t(f.height) : 0;
  const size_t columns = std::min(size_t(f.width), lineBytes / per);
  std::memset(frame, 0, f.frameBytes);
  for (long y = 0; y < f.height; ++y) {
    uint8_t* line = frame + size_t(y) * lineBytes;
    const uint16_t* in = samples + size_t(y) * size_t(f.width) * per;
    for (size_t x = 0; x < columns * per; ++x) line[x] = uint8_t(std::min<uint16_t>(in[x], 255));
  }
}

// --- Opening -----------------------------------------------------------------

bool IsAviName(const std::string& path) {
  return path.size() >= 4 && (path.compare(path.size() - 4, 4, ".avi") == 0 ||
                              path.compare(path.size() - 4, 4, ".AVI") == 0);
}

std::unique_ptr<VideoFile> OpenFilmToRead(const std::string& path) {
  const int kind = IsVideoFile(path);
  if (kind == 0) return nullptr;
  std::unique_ptr<VideoFile> film = NewVideoFile(kind == 2);
  std::string name = path;
  if (!film || !film->FileOpen(name, kFilmOpenExist, nullptr, nullptr, nullptr, nullptr, false))
    return nullptr;
  return film;
}

std::unique_ptr<VideoFile> CreateFilmLike(std::string& path, bool avi, const VideoFile& like,
                                          long cols) {
  std::unique_ptr<VideoFile> film = NewVideoFile(avi);
  long w = like.Width(), h = like.Height(), b = like.BitsPerPixel();
  float rate = like.Rate();
  if (!film || !film->FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, like.HasColors()))
    return nullptr;
  if (!avi && cols > 0) {
    std::vector<std::string> labels;
    for (long c = 0; c < std::min(cols, like.Cols()); ++c) labels.push_back(like.ColLabel(c));
    if (!film->NumericData(labels)) return nullptr;
  } else if (!avi) {
    film->SaveHeader();
  }
  return film;
}

// --- Copying -----------------------------------------------------------------

FrameCopier::Result FrameCopier::Copy(VideoFile& source, long index,
                                      const std::function<std::string()>& status) {
  const size_t bytes = std::max<size_t>(source.FrameSize(), target_.FrameSize());
  if (buffer_.size() != bytes) buffer_.assign(bytes, 0);
  if (HasHost()) {
    // The status line: first after 200 ms, then every 500 ms.
    const uint32_t now = host().TimeGetTime();
    if (!statusStarted_) {
      statusStarted_ = true;
      nextStatus_ = now + 200;
    } else if (int32_t(now - nextStatus_) >= 0) {
      nextStatus_ = now + 500;
      if (status) host().ShowStatus(status(), -1);
    }
    host().DoEvents();
  }
  if (EditStopRequested()) return Result::Stopped;
  uint32_t got = 0;
  if (index < 0 || !source.ReadFrame(uint32_t(index), buffer_.data(), got)) return Result::ReadFailed;
  // An AVI frame has no cells: a ".vid" frame's numbers would show as pixels.
  if (target_.IsAVI() && !source.IsAVI()) {
    const size_t cells = std::min(buffer_.size(), size_t(source.Cols() + 1) * kCodeCellBytes);
    std::memset(buffer_.data(), 0, cells);
  }
  if (!target_.WriteFrame(uint32_t(next_), buffer_.data())) return Result::WriteFailed;
  ++next_;
  return Result::Done;
}

// --- The edits ---------------------------------------------------------------

namespace {

// One source and one new target, copied by a list of source frames.
// With `logPath`, each frame's numbers go to a text file: "[" + frame + "]"
// and, tab before each, label + " = " + value.
FilmEditResult CopyByList(VideoFile& source, std::string target, const std::vector<long>& order,
                          long cols, const std::function<std::string(long, long)>& status,
                          const std::string& logPath = "") {
  FilmEditResult r;
  const bool avi = IsAviName(target);
  std::ofstream log;
  if (!logPath.empty()) {
    log.open(logPath, std::ios::binary | std::ios::trunc);
    if (!log) {
      r.error = "Error writing " + logPath;
      return r;
    }
  }
  std::unique_ptr<VideoFile> out = CreateFilmLike(target, avi, source, avi ? 0 : cols);
  if (!out) {
    r.error = "Error writing " + target;
    return r;
  }
  FrameCopier copier(*out);
  for (long old : order) {
    const long neu = copier.Written();
    const FrameCopier::Result c = copier.Copy(source, old, [&] { return status(old, neu); });
    if (c == FrameCopier::Result::Done) {
      if (log.is_open()) {
        log << "[" << neu << "]";
        for (long k = 0; k < source.Cols(); ++k) {
          char number[32];
          const auto n = std::to_chars(number, number + sizeof number, source.ColData(k));
          log << "\t" << source.ColLabel(k) << " = " << std::string_view(number, size_t(n.ptr - number));
        }
        log << "\r\n";
      }
      continue;
    }
    out->FileClose();
    std::filesystem::remove(target);
    if (log.is_open()) {
      log.close();
      std::filesystem::remove(logPath);
    }
    r.stopped = c == FrameCopier::Result::Stopped;
    if (!r.stopped) r.error = "Error writing " + target;
    return r;
  }
  if (log.is_open()) {
    log.close();
    if (!log) r.error = "Error writing " + logPath;
  }
  if (!out->FileClose() || !r.error.empty()) {
    std::filesystem::remove(target);
    if (!logPath.empty()) std::filesystem::remove(logPath);
    if (r.error.empty()) r.error = "Error writing " + target;
    return r;
  }
  r.ok = true;
  r.frames = copier.Written();
  r.logPath = logPath;
  Status("");
  return r;
}

FilmEditResult Refused(const std::string& why) {
  FilmEditResult r;
  r.error = why;
  return r;
}

}  // namespace

FilmEditResult DeleteFilmFrames(const std::string& source, const std::vector<int32_t>& mask,
                                const std::string& target) {
  std::unique_ptr<VideoFile> in = OpenFilmToRead(source);
  if (!in) return Refused(source + " is not a valid Film File");
  std::vector<long> keep;
  for (long i = 0; i < in->NumberOfPictures(); ++i)
    if (size_t(i) >= mask.size() || mask[size_t(i)] != kDeleteFrame) keep.push_back(i);
  return CopyByList(*in, target, keep, in->Cols(), [](long old, long neu) {
    return "Saving Frame[" + std::to_string(old) + "] -> Frame[" + std::to_string(neu) + "] ...";
  });
}

FilmEditResult SortFilm(const std::string& source, const std::vector<long>& order,
                        const std::string& target) {
  std::unique_ptr<VideoFile> in = OpenFilmToRead(source);
  if (!in) return Refused(source + " is not a valid Film File");
  return CopyByList(*in, target, order, in->Cols(), [](long old, long neu) {
    return "Processing...(Frame[" + std::to_string(old) + "] -> Frame[" + std::to_string(neu) + "])";
  });
}

FilmEditResult CopyFilm(const std::string& source, const std::string& target, long from, long to) {
  std::unique_ptr<VideoFile> in = OpenFilmToRead(source);
  if (!in) return Refused(source + " is not a valid Film File");
  const long last = in->NumberOfPictures() - 1;
  from = std::max(0L, from);
  to = to < 0 ? last : std::min(to, last);
  std::vector<long> order;
  for (long i = from; i <= to; ++i) order.push_back(i);
  // An AVI has no place for the numbers: they go to a text file beside it.
  const std::string log = IsAviName(target) && !in->IsAVI() && in->Cols() > 0
                              ? FreeSiblingName(target, ".txt")
                              : std::string();
  return CopyByList(
      *in, target, order, in->Cols(),
      [](long old, long) { return "Processing...(Frame[" + std::to_string(old) + "])"; }, log);
}

FilmEditResult AppendFilms(const std::string& first, const std::string& second,
                           const std::string& target) {
  std::unique_ptr<VideoFile> a = OpenFilmToRead(first);
  if (!a || a->IsAVI()) return Refused(first + " is not a valid Film File");
  std::unique_ptr<VideoFile> b = OpenFilmToRead(second);
  if (!b || b->IsAVI()) return Refused(second + " is not a valid Film File");
  if (a->Width() != b->Width() || a->Height() != b->Height() ||
      a->BitsPerPixel() != b->BitsPerPixel())
    return Refused("Image Size doesn't match");
  Status(target + " will be created");
  std::string path = target;
  std::unique_ptr<VideoFile> out = CreateFilmLike(path, IsAviName(path), *a, a->Cols());
  if (!out) return Refused("Error writing " + target);
  FrameCopier copier(*out);
  FilmEditResult r;
  for (VideoFile* film : {a.get(), b.get()}) {
    for (long i = 0; i < film->NumberOfPictures(); ++i) {
      const long n = copier.Written();
      const FrameCopier::Result c =
          copier.Copy(*film, i, [n] { return "Processing...(Frame[" + std::to_string(n) + "])"; });
      if (c == FrameCopier::Result::Done) continue;
      out->FileClose();
      std::filesystem::remove(path);
      r.stopped = c == FrameCopier::Result::Stopped;
      if (!r.stopped) r.error = "Error writing " + target;
      return r;
    }
  }
  if (!out->FileClose()) {
    std::filesystem::remove(path);
    return Refused("Error writing " + target);
  }
  Status("");
  r.ok = true;
  r.frames = copier.Written();
  return r;
}

}  // namespace sv
