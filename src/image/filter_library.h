// The convolution filter library: the "JASC_FILT" file of FilterRecords, where
// it lives, and applying one filter to an image.
//
// The file, little-endian: "JASC_FILT" CR LF, "0150" CR LF, an unsigned
// 16-bit count, then the 232-byte records in list order (24 bytes of name,
// Reserved, Factor, Bias, 49 coefficients). Records are kept byte for byte as
// read, so a library read and written again is the same file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "image/kernel/filter.h"

namespace sv {

class Form_Camera;

constexpr const char* kFilterLibraryFile = "SV4200.FLT";
constexpr size_t kFilterHeaderBytes = 19;
constexpr size_t kFilterRecordBytes = 232;
constexpr size_t kMaxFilters = 65535;  // the count is a 16-bit word
constexpr size_t kFilterNameLength = 24;

// The name as shown: up to the first NUL, trailing blanks cut off.
std::string FilterName(const FilterRecord& filter);
// Sets the name: cut at 24 characters, blank-padded.
void SetFilterName(FilterRecord& filter, const std::string& name);

// The one filter of a library that has no file yet: "Sample Blur", factor 9,
// bias 0, the nine central coefficients 1.
FilterRecord SampleBlur();
// A new, empty filter: "Untitled", factor 1, bias 0, all coefficients 0.
FilterRecord EmptyFilter();

// Whole file contents. Decode returns 0 and fills `filters`, or
// kErrUnknownFormat (another magic or version, or a file cut short) and
// leaves `filters` alone. Bytes after the last record are ignored.
std::vector<uint8_t> EncodeFilterLibrary(const std::vector<FilterRecord>& filters);
int DecodeFilterLibrary(const uint8_t* bytes, size_t size, std::vector<FilterRecord>& filters);

// Where the library is written: the program folder when it can be written,
// else the user's configuration folder.
std::string FilterLibraryPath();

// Reads a library file: 0 read, -1 no such file (`filters` untouched),
// kErrUnknownFormat for a broken one (`filters` untouched).
int ReadFilterLibraryFile(const std::string& path, std::vector<FilterRecord>& filters);
// The library at its place: the writable folder's file, else the other
// folder's; without any file the library is SampleBlur alone (returns -1).
int ReadFilterLibrary(std::vector<FilterRecord>& filters, std::string* readFrom = nullptr);

// Rewrites the file whole. The new contents go to a file beside it that then
// takes its place, so a failed write leaves the old library on disk. More
// than 65535 filters are refused. False when the file could not be written.
bool WriteFilterLibrary(const std::string& path, const std::vector<FilterRecord>& filters);

// Filters the image's pixels with the record: 7 x 7, 5 x 5 or 3 x 3 by the
// ring rule (FilterKernelSize), grey or colour, through a work buffer of the
// image's size that is freed afterwards; then the display is rebuilt and the
// image marked changed. Registers no undo. Returns 0, kErrNoMemory when the
// work buffer cannot be had, kErrInvalidParameter for a factor of 0 or an
// image without pixels; the image is unchanged on any error.
int ApplyFilter(Form_Camera& image, const FilterRecord& filter);

// What the filter command does: registers the undo entry "Filter", then
// ApplyFilter. Returns ApplyFilter's code.
int FilterImage(Form_Camera& image, const FilterRecord& filter);

}  // namespace sv
