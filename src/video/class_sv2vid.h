// The system's own film file, ".vid", byte for byte:
//
//   0     8     "VIDEO" CR LF NUL
//   8     4     frame count            (signed 32-bit, little-endian)
//   12    4     duration in ms
//   16    4     width
//   20    4     height
//   24    2     bits per pixel         (signed 16-bit)
//   26    2     colours, 0 = none
//   28    2     columns, 0 to 32
//   30    2     reserved, 0
//   32    1024  column labels (Windows-1252), each followed by a NUL
//   1056  ...   the frames, no gaps, no per-frame header
//
// Frame i begins at 8 + 1048 + i * FrameSize, in 64 bits. The numbers of a
// frame sit in its first bytes in 32-byte cells of the kernel's SV_code:
// cell 0 the cycle, cell c + 1 column c.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "video/video_file.h"

namespace sv {

inline constexpr char kFilmMagic[8] = {'V', 'I', 'D', 'E', 'O', '\r', '\n', '\0'};
inline constexpr size_t kFilmMagicBytes = sizeof kFilmMagic;
inline constexpr size_t kFilmHeaderBytes = 1048;  // behind the magic
inline constexpr uint64_t kFilmFirstFrame = kFilmMagicBytes + kFilmHeaderBytes;
// The rate of a film whose duration says nothing.
inline constexpr float kFilmDefaultRate = 15.0f;

// The header as it lies in the file, and back. Decode takes 1048 bytes.
void EncodeVideoHeader(const VideoHeader& header, uint8_t* bytes);
VideoHeader DecodeVideoHeader(const uint8_t* bytes);
// What a reader accepts: frames > 0, bits >= 8, width > 0, height > 0.
bool VideoHeaderValid(const VideoHeader& header);
// Frame bytes when a film is made (padded lines of 8-bit films, two bytes a
// sample above 8 bits) and when one is read (width AND -4 below 9 bits,
// colour not counted). 64-bit so that a header's overflow can be seen.
uint64_t CreateFrameSize(long width, long height, long bits, bool colours);
uint64_t ReadFrameSize(long width, long height, long bits);
// Frames a second from the header: count * 1000 / duration, 15 without a duration.
float RateFromHeader(const VideoHeader& header);
// The labels of a header's text: up to Cols (at most 32) pieces split at
// NUL; a piece without a NUL behind it is the rest of the text and the last.
// Converted from Windows-1252; missing pieces are "".
std::vector<std::string> SplitFilmLabels(const VideoHeader& header);
// Duration in ms for `frames` at `rate`, rounded (ties to even).
int32_t DurationFor(long frames, float rate);

class Class_SV2VID : public VideoFile {
 public:
  Class_SV2VID() = default;
  ~Class_SV2VID() override;
  Class_SV2VID(const Class_SV2VID&) = delete;
  Class_SV2VID& operator=(const Class_SV2VID&) = delete;

  float ColData(long index) const override;
  void ColData(long index, float value) override;
  long Cols() const override { return long(colData_.size()); }
  void Cols(long count) override;
  std::string ColLabel(long index) const override;
  void ColLabel(long index, const std::string& label) override;

  const std::string& Filename() const override { return filename_; }
  bool ReadFrame(uint32_t index, void* buffer, uint32_t& bytesRead) override;
  bool SaveHeader() override;
  bool FlushFileBuffer() override;
  bool IsAVI() const override { return false; }
  long Samples() const override { return fd_ >= 0 ? header_.NumberOfPictures : 0; }
  bool FileClose() override;
  bool FileSize(uint32_t& low, uint32_t& high) const override;
  bool NumericData(const std::vector<std::string>& labels) override;
  long Width() const override { return header_.Width; }
  long Height() const override { return header_.Height; }
  long BitsPerPixel() const override { return header_.BitsPerPixel; }
  long NumberOfPictures() const override { return header_.NumberOfPictures; }
  bool HasColors() const override { return header_.HasColors != 0; }
  void HasColors(bool colours) override { header_.HasColors = colours ? 1 : 0; }
  bool WriteFrame(uint32_t index, const void* buffer) override;
  bool FileOpen(std::string& filename, int mode, long* width, long* height, long* bits,
                float* rate, bool hasColors) override;
  uint32_t FrameSize() const override { return frameSize_; }
  float Rate() const override { return rate_; }

  bool IsOpen() const { return fd_ >= 0; }
  // The header as it stands in memory.
  const VideoHeader& Header() const { return header_; }

 private:
  bool OpenForReading(const std::string& filename, int mode, long* width, long* height,
                      long* bits, float* rate);
  bool OpenForWriting(const std::string& filename, int mode, long width, long height, long bits,
                      float* rate, bool hasColors);
  void PackLabels();

  int fd_ = -1;
  bool readOnly_ = false;
  VideoHeader header_;
  uint32_t frameSize_ = 0;
  float rate_ = kFilmDefaultRate;
  std::string filename_;
  std::vector<std::string> colLabel_;  // UTF-8
  std::vector<float> colData_;
};

std::unique_ptr<VideoFile> NewVIDFile();

}  // namespace sv
