// TIFF files of other programs, read through libtiff: either byte order
// (ImageJ and Fiji write big-endian), BigTIFF, every compression libtiff
// decodes (LZW, Deflate, PackBits, JPEG, ...), strips or tiles, samples
// together or in planes, several pages (the first is read). The files the
// built-in reader takes never come here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace sv {

class Form_Camera;

// The first bytes are a TIFF mark: "II*\0", "MM\0*", or BigTIFF's "II+\0",
// "MM\0+".
bool HasTiffMark(const uint8_t* head, size_t size);
bool IsTiffFile(const std::string& path);

// How many pages (directories) a TIFF file holds; 0 when libtiff cannot
// open it.
long TiffPageCount(const std::string& path);
// The note for the status line after a file of several pages was read:
// "name has N pages; page 1 is open". Empty for one page.
std::string TiffPagesNote(const std::string& path, long pages);

// What a read through libtiff tells besides the picture.
struct ForeignTiffRead {
  std::string note;   // after a read: what was changed on the way (pages, colours)
  std::string error;  // after a failure: why; empty when the user stopped the load
};

// Reads the first page of a TIFF file into the image, like the other readers:
// LoadOK is set at the start and left false on failure or a stop, and the
// image keeps its picture until the file has proved readable. Grey of 1 to
// 16 bits, palette of up to 8 bits, RGB of 1 to 16 bits a sample; other
// colour models through libtiff's RGBA conversion at 8 bits. 32-bit, signed
// and floating-point samples are refused. libtiff's warnings and errors are
// kept out of the terminal; the first error becomes `read.error`.
bool LoadForeignTIF(Form_Camera& image, const std::string& path, ForeignTiffRead& read);
// The same from bytes in memory, under a limit of pixel bytes (the
// fuzzer's way in).
bool LoadForeignTIFBytes(Form_Camera& image, const uint8_t* data, size_t size,
                         ForeignTiffRead& read, uint64_t maxPixelBytes);

// Page `page` (from 0) of a file of several pages, read as LoadForeignTIF
// reads the first; a page the file does not have fails with that reason.
bool LoadForeignTIFPage(Form_Camera& image, const std::string& path, long page,
                        ForeignTiffRead& read);
bool LoadForeignTIFPageBytes(Form_Camera& image, const uint8_t* data, size_t size, long page,
                             ForeignTiffRead& read, uint64_t maxPixelBytes);

}  // namespace sv
