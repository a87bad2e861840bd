// Editing films: every edit writes a new film and never touches its
// sources. Frames go one at a time through one buffer of a frame's size.
// The player's editing commands and svbatch share these functions; the
// questions and messages are shown through the host, the status line
// tells the progress, and a long copy pumps events and ends on the break
// flag.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "video/video_file.h"

namespace sv {

inline constexpr int32_t kDeleteFrame = -1;  // a mask entry: this frame goes
inline constexpr const char* kSelectionFile = "Selection.txt";
inline constexpr const char* kFrameListFile = "FrameList.txt";
// Free space a merge leaves on the target's disk at least: 10 MiB.
inline constexpr uint64_t kMergeReserveBytes = 0xA00000;

// --- Stopping ----------------------------------------------------------------

// A long edit ends at its next frame when the break flag (G().BreakFlag)
// is set, or the flag of the command that runs it.
bool EditStopRequested();
// While it lives, `flag` (cleared here) stops edits too: the player's stop
// flag while one of its editing commands runs.
class EditStopScope {
 public:
  explicit EditStopScope(bool& flag);
  ~EditStopScope();
  EditStopScope(const EditStopScope&) = delete;
  EditStopScope& operator=(const EditStopScope&) = delete;

 private:
  const bool* previous_;
};

// --- The lists ---------------------------------------------------------------

// Marks frames in `mask` (one entry a frame) from the text of a selection
// list. A line holds "first", "first,last" or "first,last,step" (step 1 by
// default, negative steps count down; "10,4,-2" marks 10, 8, 6, 4); what
// follows ";" is a comment, empty lines and lines that are no numbers are
// skipped, frames outside the film are ignored. Gives the frames marked.
long ParseSelectionList(std::string_view text, std::vector<int32_t>& mask);

// The frame order of a frame list: one old frame index a line (";" starts a
// comment, empty lines are skipped). False, with `error` naming the line,
// for a line that is no index or an index outside 0 .. frames - 1.
bool ParseFrameList(std::string_view text, long frames, std::vector<long>& order,
                    std::string& error);

// The text of a small file, at most `limit` bytes; false when it cannot be read.
bool ReadSmallTextFile(const std::string& path, std::string& text, size_t limit = 16 << 20);

// --- Names -------------------------------------------------------------------

// The folder and base name of `path` + `ext`, or + "(" + n + ")" + `ext`
// with the first n from 1 whose file does not exist yet.
std::string FreeSiblingName(const std::string& path, const std::string& ext);
// Folder of a path with its trailing "/" ("" for a bare name).
std::string FolderOf(const std::string& path);
// "#,##0": 10485760 as "10,485,760".
std::string GroupedNumber(uint64_t n);

// --- Pixels ------------------------------------------------------------------

// The layout of a film's frame: 16-bit grey samples low byte first above 8
// bits; 8-bit grey or R, G, B bytes in lines of frame size / height bytes.
struct FramePixels {
  long width = 0, height = 0, bits = 8;
  bool colour = false;
  size_t frameBytes = 0;
  size_t Samples() const { return size_t(width) * size_t(height) * (colour ? 3 : 1); }
};
FramePixels PixelsOf(const VideoFile& film);
// Frame bytes to the samples of an image (16 bits a sample, colour as three).
void FrameToSamples(const FramePixels& f, const uint8_t* frame, uint16_t* samples);
// Samples to frame bytes; samples above the film's depth are cut to its top.
void SamplesToFrame(const FramePixels& f, const uint16_t* samples, uint8_t* frame);

// --- Opening -----------------------------------------------------------------

// Opens a film of either kind to read, with its labels (the kind by its
// magic; a missing file has been told by IsVideoFile). Null on failure.
std::unique_ptr<VideoFile> OpenFilmToRead(const std::string& path);
// A new film at `path` (AVI when `avi`) in the format of `like`, with its
// rate and the first `cols` of its labels (none in AVI). Null on failure.
std::unique_ptr<VideoFile> CreateFilmLike(std::string& path, bool avi, const VideoFile& like,
                                          long cols);
// The extension says AVI.
bool IsAviName(const std::string& path);

// --- Copying -----------------------------------------------------------------

// Copies frames from a source film to the end of a target film through one
// frame buffer. A ".vid" target gets the frame's bytes as they are (its
// numbers come along); an AVI target gets them with the number cells of a
// ".vid" source blanked.
class FrameCopier {
 public:
  enum class Result { Done, ReadFailed, WriteFailed, Stopped };
  FrameCopier(VideoFile& target) : target_(target) {}

  // Frame `index` of `source` as the target's next frame; `status` is
  // written when the status line is due. Pumps events; the break flag
  // stops the copy.
  Result Copy(VideoFile& source, long index, const std::function<std::string()>& status);
  // Frames written so far.
  long Written() const { return next_; }

 private:
  VideoFile& target_;
  std::vector<uint8_t> buffer_;
  long next_ = 0;
  uint32_t nextStatus_ = 0;
  bool statusStarted_ = false;
};

// --- The edits ---------------------------------------------------------------

// What an edit ended with: the frames written, and the message when it failed.
struct FilmEditResult {
  bool ok = false;
  bool stopped = false;  // ended by the break flag
  long frames = 0;
  std::string error;
  std::string logPath;  // where the numbers went when the target could not hold them
};

// Copies the frames of `source` whose mask entry is not kDeleteFrame, in
// order, to a new film `target` (".vid" or ".avi" by its extension), status
// "Saving Frame[old] -> Frame[new] ...". The failure text is "Error writing
// " + target. A failed target file is removed.
FilmEditResult DeleteFilmFrames(const std::string& source, const std::vector<int32_t>& mask,
                                const std::string& target);
// Frames of `source` in the order of `order` (old indices) to `target`,
// status "Processing...(Frame[old] -> Frame[new])".
FilmEditResult SortFilm(const std::string& source, const std::vector<long>& order,
                        const std::string& target);
// All frames of `first` and then of `second` to `target`; both ".vid"
// films of the same size and depth, else "Image Size doesn't match".
// Status "Processing...(Frame[n])".
FilmEditResult AppendFilms(const std::string& first, const std::string& second,
                           const std::string& target);
// Frames `from` .. `to` (inclusive, clamped to the film; to < 0 up to the
// last) of `source` to `target`, either kind. Writing AVI drops the
// numbers from the frames; they go to a text file beside it (its base name
// + ".txt", or "(n).txt" when that exists): a line a frame, "[" + frame +
// "]" and, tab before each, label + " = " + value.
FilmEditResult CopyFilm(const std::string& source, const std::string& target, long from, long to);

// --- Merging -----------------------------------------------------------------

// How the columns of two films compare: the leading run of equal labels.
struct ColumnMatch {
  long identical = 0;
  bool alike = false;  // same count, all labels equal
};
ColumnMatch SameVideoColumns(const VideoFile& first, const VideoFile& second);
// "Image format of first Video ..." for two films of different formats.
std::string MergeFormatText(const VideoFile& first, const VideoFile& second);
// The whole "Not enough free disk space available." text.
std::string MergeDiskText(uint64_t size1, const std::string& name1, uint64_t size2,
                          const std::string& name2, uint64_t freeBytes);
// The column question for a ".vid" target (with its table of labels), or
// for an AVI target. Empty when nothing is to be asked.
std::string MergeColumnsText(const VideoFile& first, const VideoFile& second, bool aviTarget);

// Joins two films of either kind into `target` (type 1 ".vid", 2 ".avi":
// the extension follows the type) after the format test, the disk check and
// the column question, all under "Merge Video". False when refused,
// answered No, stopped or failed ("Error merging videos").
bool MergeVideo(const std::string& file1, int type, const std::string& file2,
                std::string target);
// The target a merge proposes: both base names joined with "_", in the
// first film's folder, with the type's extension.
std::string MergeTargetName(const std::string& file1, const std::string& file2, int type);

// --- Resizing ----------------------------------------------------------------

// A copy of `source` at width x height, each frame stretched by the
// kernel's SV_stretch with its numbers kept; status "Writing video file...".
FilmEditResult ResizeFilm(const std::string& source, const std::string& target, long width,
                          long height);

}  // namespace sv
