// A film: equally sized frames in one file, each frame carrying a handful of
// measured numbers beside its pixels. Two containers sit behind one
// interface: the system's own ".vid" (Class_SV2VID) and AVI through FFmpeg
// (Class_SV2AVI). The recorder and the player hold a VideoFile and tell the
// two apart only by IsAVI.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sv {

// FileOpen's modes: the values of the Windows OpenFile call.
inline constexpr int kFilmOpenRead = 0;          // read the header
inline constexpr int kFilmOpenWrite = 1;         // write, appending to a film of the same format
inline constexpr int kFilmOpenCreate = 0x1000;   // added to a write: a new film
inline constexpr int kFilmOpenCreateWrite = 0x1001;
inline constexpr int kFilmOpenDelete = 0x200;
inline constexpr int kFilmOpenExist = 0x4000;    // test, then read with labels

inline constexpr int kFilmMaxCols = 32;
inline constexpr size_t kFilmLabelBytes = 1024;

// The ".vid" header behind the 8-byte magic: 24 bytes of numbers and the
// label text, 1048 bytes in all, little-endian.
struct VideoHeader {
  int32_t NumberOfPictures = 0;
  int32_t Duration = 0;  // ms
  int32_t Width = 0;
  int32_t Height = 0;
  int16_t BitsPerPixel = 0;
  int16_t HasColors = 0;
  int16_t Cols = 0;
  int16_t Reserved = 0;
  std::array<char, kFilmLabelBytes> Text{};  // labels, each followed by a NUL
};

class VideoFile {
 public:
  virtual ~VideoFile() = default;

  // The numbers of the frame last read or to be written, 0-based. Outside
  // 0 .. Cols-1: 0.0 / "" on get, ignored on set.
  virtual float ColData(long index) const = 0;
  virtual void ColData(long index, float value) = 0;
  virtual long Cols() const = 0;
  // Below 1 clears both arrays; above 32 stores 32. Resizing keeps contents.
  virtual void Cols(long count) = 0;
  virtual std::string ColLabel(long index) const = 0;
  virtual void ColLabel(long index, const std::string& label) = 0;

  // The name in use, "" when closed.
  virtual const std::string& Filename() const = 0;
  // One frame into `buffer` (FrameSize bytes); decodes the numbers. False,
  // with bytesRead 0, when closed or the read fails.
  virtual bool ReadFrame(uint32_t index, void* buffer, uint32_t& bytesRead) = 0;
  virtual bool SaveHeader() = 0;
  virtual bool FlushFileBuffer() = 0;
  virtual bool IsAVI() const = 0;
  // Frame count when open, else 0.
  virtual long Samples() const = 0;
  // Saves the header and closes; a closed object reports success.
  virtual bool FileClose() = 0;
  // The file's present size in two 32-bit halves; false when closed.
  virtual bool FileSize(uint32_t& low, uint32_t& high) const = 0;
  // Cols from the labels, the labels into the header text, then SaveHeader.
  virtual bool NumericData(const std::vector<std::string>& labels) = 0;
  virtual long Width() const = 0;
  virtual long Height() const = 0;
  virtual long BitsPerPixel() const = 0;
  virtual long NumberOfPictures() const = 0;
  virtual bool HasColors() const = 0;
  virtual void HasColors(bool colours) = 0;
  // One frame of FrameSize bytes from `buffer` at `index`; a failure shows
  // its stop message and gives false.
  virtual bool WriteFrame(uint32_t index, const void* buffer) = 0;
  // Opens in one of the modes above. width, height, bits and rate are in or
  // out as the mode says; a null pointer is an argument not passed.
  virtual bool FileOpen(std::string& filename, int mode, long* width, long* height, long* bits,
                        float* rate, bool hasColors) = 0;
  // Bytes of one frame in the file (and in the buffers given to Read/WriteFrame).
  virtual uint32_t FrameSize() const = 0;
  // Frames a second.
  virtual float Rate() const = 0;
};

// A closed film object of either kind.
std::unique_ptr<VideoFile> NewVideoFile(bool avi);

}  // namespace sv
