// Merging two films of either kind, and resizing a film.
#include <algorithm>
#include <filesystem>

#include "core/globals.h"
#include "core/host.h"
#include "image/kernel/geometry.h"
#include "image/kernel/numbers.h"
#include "video/film_edit.h"
#include "video/film_files.h"

namespace sv {

namespace {

constexpr const char* kMergeTitle = "Merge Video";
constexpr const char* kCRLF = "\r\n";

std::string BaseOf(const std::string& path) {
  std::string name = path.substr(path.find_last_of('/') + 1);
  const size_t dot = name.find_last_of('.');
  return dot == std::string::npos ? name : name.substr(0, dot);
}

uint64_t SizeOf(const std::string& path) {
  std::error_code ec;
  const auto n = std::filesystem::file_size(path, ec);
  return ec ? 0 : uint64_t(n);
}

std::string Format(const VideoFile& f) {
  return std::to_string(f.Width()) + " x " + std::to_string(f.Height()) + " Pixel x " +
         std::to_string(f.BitsPerPixel()) + " bpp";
}

bool Ask(const std::string& text) {
  return HasHost() && host().MsgBox(text, MsgButtons::YesNo, MsgIcon::Question, kMergeTitle) ==
                          MsgResult::Yes;
}

void Tell(const std::string& text, const std::string& title) {
  if (HasHost()) host().MsgBox(text, MsgButtons::OK, MsgIcon::Exclamation, title);
}

}  // namespace

ColumnMatch SameVideoColumns(const VideoFile& first, const VideoFile& second) {
  ColumnMatch m;
  const long n = std::min(first.Cols(), second.Cols());
  while (m.identical < n && first.ColLabel(m.identical) == second.ColLabel(m.identical))
    ++m.identical;
  m.alike = first.Cols() == second.Cols() && m.identical == first.Cols();
  return m;
}

std::string MergeFormatText(const VideoFile& first, const VideoFile& second) {
  return std::string("Image format of first Video") + " " + Format(first) + kCRLF +
         "is different from second Video:" + " " + Format(second) + "." + kCRLF + "Can't merge!";
}

std::string MergeDiskText(uint64_t size1, const std::string& name1, uint64_t size2,
                          const std::string& name2, uint64_t freeBytes) {
  const auto bytes = [](uint64_t n) { return GroupedNumber(n) + " Bytes"; };
  return std::string("Not enough free disk space available.") + kCRLF + "Merge video requires:" +
         kCRLF + "       " + "\t" + bytes(size1) + " (" + name1 + ")" + kCRLF + "     + " + "\t" +
         bytes(size2) + " (" + name2 + ")" + kCRLF + "     + " + "\t" +
         bytes(kMergeReserveBytes) + " (min. remaining space)" + kCRLF + "     = " + "\t" +
         bytes(size1 + size2 + kMergeReserveBytes) + " (total)" + kCRLF + "     " +
         bytes(freeBytes) + " available";
}

std::string MergeColumnsText(const VideoFile& first, const VideoFile& second, bool aviTarget) {
  const ColumnMatch m = SameVideoColumns(first, second);
  if (first.Cols() == 0 && second.Cols() == 0) return "";
  if (aviTarget)
    return std::string("At least one of the videos include worksheet data but") + kCRLF +
           "the AVI file format doesn't support worksheet data." + kCRLF + kCRLF +
           "No column can be saved in the merged video:" + kCRLF + kCRLF + "Continue?";
  if (m.alike) return "";
  std::string t = std::string("At least one of the videos include worksheet data but the number") +
                  kCRLF + "of data per frame and/or the type of data are different." + kCRLF +
                  kCRLF;
  if (m.identical == 0)
    t += "All columns are different. No column can be saved in the merged video:";
  else if (m.identical == 1)
    t += "1 column is identical and can be saved in the merged video:";
  else
    t += std::to_string(m.identical) + " columns are identical and can be saved in the merged video:";
  t += kCRLF;
  t += "\tVideo #1\t\tVideo #2";
  const long rows = std::max(first.Cols(), second.Cols());
  for (long c = 0; c < rows; ++c) {
    // Letters from "A"; past "Z" two letters, as sheet columns go.
    std::string letter;
    for (long n = c + 1; n > 0; n = (n - 1) / 26) letter.insert(letter.begin(), char('A' + (n - 1) % 26));
    t += kCRLF + letter + "\t" + first.ColLabel(c) + "\t\t" + second.ColLabel(c);
  }
  t += std::string(kCRLF) + kCRLF + "Continue?";
  return t;
}

std::string MergeTargetName(const std::string& file1, const std::string& file2, int type) {
  return FolderOf(file1) + BaseOf(file1) + "_" + BaseOf(file2) + (type == 2 ? ".avi" : ".vid");
}

bool MergeVideo(const std::string& file1, int type, const std::string& file2, std::string target) {
  const bool avi = type == 2;
  // The extension follows the type.
  if (target.size() >= 4 && (IsAviName(target) || target.compare(target.size() - 4, 4, ".vid") == 0))
    target.resize(target.size() - 4);
  target += avi ? ".avi" : ".vid";
  // 1.
  std::unique_ptr<VideoFile> a = OpenFilmToRead(file1);
  if (!a) return false;
  std::unique_ptr<VideoFile> b = OpenFilmToRead(file2);
  if (!b) return false;
  // 2.
  if (a->Width() != b->Width() || a->Height() != b->Height() ||
      a->BitsPerPixel() != b->BitsPerPixel()) {
    Tell(MergeFormatText(*a, *b), kMergeTitle);
    return false;
  }
  // 3. The free space of the target's folder.
  const uint64_t size1 = SizeOf(file1), size2 = SizeOf(file2);
  std::string folder = FolderOf(target);
  if (folder.empty()) folder = ".";
  const int64_t freeBytes = HasHost() ? host().FreeDiskSpace(folder) : -1;
  if (freeBytes >= 0 && uint64_t(freeBytes) < size1 + size2 + kMergeReserveBytes) {
    Tell(MergeDiskText(size1, file1, size2, file2, uint64_t(freeBytes)), kMergeTitle);
    return false;
  }
  // 4.
  const std::string question = MergeColumnsText(*a, *b, avi);
  if (!question.empty() && !Ask(question)) return false;
  const long cols = avi ? 0 : SameVideoColumns(*a, *b).identical;
  // 5.
  std::unique_ptr<VideoFile> out = CreateFilmLike(target, avi, *a, cols);
  if (!out) {
    Tell("Error merging videos", kMergeTitle);
    return false;
  }
  // 6.
  FrameCopier copier(*out);
  for (VideoFile* film : {a.get(), b.get()}) {
    const std::string& name = film->Filename();
    for (long i = 0; i < film->NumberOfPictures(); ++i) {
      const long n = copier.Written();
      const FrameCopier::Result c = copier.Copy(*film, i, [&] {
        return "Merging \"" + name + "\" to \"" + target + "\"...(" + std::to_string(n) + ")";
      });
      if (c == FrameCopier::Result::Done) continue;
      out->FileClose();
      std::filesystem::remove(target);
      if (c != FrameCopier::Result::Stopped) Tell("Error merging videos", kMergeTitle);
      return false;
    }
  }
  // 7.
  if (!out->FileClose()) {
    std::filesystem::remove(target);
    Tell("Error merging videos", kMergeTitle);
    return false;
  }
  if (HasHost()) host().ShowStatus("", -1);
  return true;
}

FilmEditResult ResizeFilm(const std::string& source, const std::string& target, long width,
                          long height) {
  FilmEditResult r;
  std::unique_ptr<VideoFile> in = OpenFilmToRead(source);
  if (!in) {
    r.error = source + " is not a valid Film File";
    return r;
  }
  if (width < 1 || height < 1) {
    r.error = "Invalid size " + std::to_string(width) + " x " + std::to_string(height);
    return r;
  }
  std::string path = target;
  const bool avi = IsAviName(path);
  std::unique_ptr<VideoFile> out = NewVideoFile(avi);
  long w = width, h = height, b = in->BitsPerPixel();
  float rate = in->Rate();
  if (!out || !out->FileOpen(path, kFilmOpenCreateWrite, &w, &h, &b, &rate, in->HasColors())) {
    r.error = "Error writing " + target;
    return r;
  }
  std::vector<std::string> labels;
  for (long c = 0; c < in->Cols(); ++c) labels.push_back(in->ColLabel(c));
  // A frame too small for the numbers keeps none of them.
  const bool keepNumbers =
      !avi && !in->IsAVI() && out->FrameSize() >= (labels.size() + 1) * kCodeCellBytes;
  if (!avi) out->NumericData(keepNumbers ? labels : std::vector<std::string>{});
  const FramePixels from = PixelsOf(*in), to = PixelsOf(*out);
  const int channels = in->HasColors() ? 3 : 1;
  std::vector<uint8_t> frameIn(in->FrameSize()), frameOut(out->FrameSize());
  std::vector<uint16_t> samplesIn(from.Samples()), samplesOut(to.Samples());
  std::vector<float> cells(size_t(in->Cols()) + 1);
  if (HasHost()) host().ShowStatus("Writing video file...", -1);
  for (long i = 0; i < in->NumberOfPictures(); ++i) {
    if (HasHost()) host().DoEvents();
    if (EditStopRequested()) {
      r.stopped = true;
      break;
    }
    uint32_t got = 0;
    if (!in->ReadFrame(uint32_t(i), frameIn.data(), got)) {
      r.error = "Error writing " + target;
      break;
    }
    // The numbers before the pixels are stretched, and back after.
    if (keepNumbers) SV_decode(cells, ConstSamples8(frameIn.data(), frameIn.size()));
    FrameToSamples(from, frameIn.data(), samplesIn.data());
    const FrameSize a{from.width, from.height}, z{to.width, to.height};
    if (channels == 3)
      SV_RGB_stretch(a, samplesIn, z, samplesOut);
    else
      SV_stretch(a, samplesIn, z, samplesOut);
    SamplesToFrame(to, samplesOut.data(), frameOut.data());
    if (keepNumbers) SV_code(Samples8(frameOut.data(), frameOut.size()), cells);
    if (!out->WriteFrame(uint32_t(i), frameOut.data())) {
      r.error = "Error writing " + target;
      break;
    }
    ++r.frames;
  }
  const bool closed = out->FileClose();
  if (!closed && r.error.empty() && !r.stopped) r.error = "Error writing " + target;
  if (!r.error.empty() || r.stopped) {
    std::filesystem::remove(path);
    return r;
  }
  if (HasHost()) host().ShowStatus("", -1);
  r.ok = true;
  return r;
}

}  // namespace sv
