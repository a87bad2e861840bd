// Every numbered error of the workbench ends here as an English text.
#pragma once

#include <string>

namespace sv {

// The program's own codes.
enum ErrorCode : int {
  kErrUnknownTag = 10001,
  kErrCompression = 10002,
  kErrUserAbort = 10003,
  kErrNoMemory = 10004,
  kErrEndOfClip = 10006,
  kErrExperimentCanceled = 10007,
  kErrNotAvailable = 10008,
  kErrEmptyVideo = 10012,
  kErrUnknownFormat = 10013,
  kErrImageFull = 10014,
  kErrMaxRows = 10015,
  kErrRdyTimeOut = 10016,
  kErrNoSheetMagic = 11001,  // deliberately without a text of its own
  kErrColumnNotDefined = 11002,
  kErrBadColumnData = 11005,
  kErrInvalidParameter = 11006,
  kErrBadLookupTable = 11007,  // deliberately without a text of its own
};

// The table's text. A code outside it gives the number, " (Code #", the
// platform's text for that number and ")": "56 (Code #Invalid request code)",
// "11001 (Code #Application-defined or object-defined error)".
std::string ErrorText(int code);

}  // namespace sv
