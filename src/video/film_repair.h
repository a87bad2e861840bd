// The file-size test of ".vid" films and the repair of their header. A
// recorder cut off before it closed its film leaves a header that counts
// fewer frames than the file holds, and perhaps half a frame at the end.
// The player asks about such a film when it opens it; svbatch film-repair
// mends it.
#pragma once

#include <cstdint>
#include <string>

#include "video/video_file.h"

namespace sv {

struct FilmSizeCheck {
  VideoHeader header;
  long headerFrames = 0;        // the header's count
  uint64_t frameBytes = 0;      // width * height, * 3 in colour, * 2 above 8 bits
  uint64_t fileSize = 0;
  uint64_t expectedSize = 0;    // 1056 + headerFrames * frameBytes; 0 for a negative count
  int64_t completeFrames = 0;   // whole frames behind the header
  int64_t roundedFrames = 0;    // (size - 1056) / frameBytes rounded to nearest, ties to even
  uint64_t tailBytes = 0;       // bytes of an incomplete last frame
  bool Matches() const { return fileSize == expectedSize; }
};

// The player's frame bytes: width * height, times 3 in colour, times 2
// above 8 bits. 0 for a header without a size.
uint64_t FilmFrameBytes(const VideoHeader& header);

// Reads the header of `path` and measures the file against it. The result
// is that of ReadVideoHeader: 2 when the header was read and `check` filled.
int CheckFilmSize(const std::string& path, FilmSizeCheck& check);

// Writes a new frame count into the header in place; the duration follows
// so that the film keeps its rate. Nothing else of the file changes.
bool WriteFilmFrameCount(const std::string& path, long frames);

struct FilmRepairResult {
  long oldFrames = 0;
  long newFrames = 0;
  uint64_t cutBytes = 0;  // the incomplete tail frame cut off
  bool changed = false;   // false: nothing to repair, the file untouched
};

// Makes header and size agree: the count becomes the number of complete
// frames and an incomplete tail frame is cut off. A file that is no film
// (or whose header gives no frame size) stays untouched; `error` says why.
bool RepairFilm(const std::string& path, FilmRepairResult& result, std::string& error);

}  // namespace sv
