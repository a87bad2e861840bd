// Small film functions that need no open film object, or only look at one.
#pragma once

#include <cstdint>
#include <string>

#include "video/video_file.h"

namespace sv {

// Reads the header of a ".vid" file without a film object. 0: the file
// cannot be opened or its size read; 1: opened, but no magic or the header
// cannot be read; 2: header read. The size is the file's, in two halves.
int ReadVideoHeader(const std::string& filename, VideoHeader& header, uint32_t& sizeLow,
                    uint32_t& sizeHigh);
// 0: missing, after the stop message `File "name" not found` under the
// file's own name; 1: the file begins with the ".vid" magic; 2: it does
// not (another format such as AVI).
int IsVideoFile(const std::string& filename);
// The open film has this width, height, depth and colour.
bool SameVideoFormat(const VideoFile& video, long width, long height, long bits, bool colors);

// The save dialog of films ("SV4200 video files", "AVI files"). `filename`
// proposes the name and folder and gets the chosen one, its extension that
// of the chosen filter; `filterIndex` (1 ".vid", 2 ".avi") is preselected
// by the proposed name's extension and returns the choice. With
// `overwriteCheck` a name that the extension turned into an existing file
// is asked about. False when cancelled.
bool SaveFilmDialog(const std::string& title, std::string& filename, int& filterIndex,
                    bool overwriteCheck);

inline constexpr const char* kFilmSaveFilter =
    "SV4200 video files (*.vid)|*.vid|AVI files (*.avi)|*.avi|";

}  // namespace sv
