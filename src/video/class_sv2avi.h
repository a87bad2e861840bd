// AVI films through FFmpeg, behind the same operations as the ".vid" film.
//
// Reading takes any AVI: 16-bit grey opens as a 16-bit grey film (two
// bytes a pixel, low first), 8-bit grey as an 8-bit grey film, anything
// else as 8-bit colour, three bytes a pixel R, G, B. Lines run from the
// top, unpadded: FrameSize is width x height x bytes a pixel. Frames are
// found by their time stamps: a seek lands on the key frame before and
// decodes forward. A frame that the file skipped (an empty chunk) reads as
// the one before it.
//
// Writing encodes with the options at hand ("Compress.opt", the chooser):
// FFV1 keeps every bit (grey 8 and 16 bits, colour), MPEG-4 Part 2 is
// small and plays anywhere (colour only; grey films read back as colour).
// An AVI cannot be appended to: modes 1 and 0x1001 both start a new film.
// Frames come in order; a frame index past the end leaves a gap of skipped
// frames, one before the end is refused.
//
// AVI films carry no numbers: Cols reads 0, ColLabel "", and NumericData,
// SaveHeader and FlushFileBuffer succeed doing nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "video/compress_options.h"
#include "video/video_file.h"

namespace sv {

inline constexpr const char* kAVIOpenTitle = "AVI.FileOpen";
inline constexpr const char* kAVIWriteTitle = "AVI.WriteFrame";
inline constexpr const char* kAVICompressorText =
    "Cannot create AVI file with the selected Compressor";
// The longest gap WriteFrame leaves in one step, in frames.
inline constexpr uint32_t kMaxAVIGap = 100000;
// The largest frame an AVI film takes or gives, in bytes.
inline constexpr uint64_t kMaxAVIFrameBytes = uint64_t(1) << 30;

// True when the FFmpeg libraries found at run time are older than the
// headers this program was built with.
bool AVILibraryTooOld(unsigned runFormat, unsigned runCodec);

class Class_SV2AVI : public VideoFile {
 public:
  Class_SV2AVI();
  ~Class_SV2AVI() override;
  Class_SV2AVI(const Class_SV2AVI&) = delete;
  Class_SV2AVI& operator=(const Class_SV2AVI&) = delete;

  float ColData(long) const override { return 0.0f; }
  void ColData(long, float) override {}
  long Cols() const override { return 0; }
  void Cols(long) override {}
  std::string ColLabel(long) const override { return {}; }
  void ColLabel(long, const std::string&) override {}

  const std::string& Filename() const override { return filename_; }
  bool ReadFrame(uint32_t index, void* buffer, uint32_t& bytesRead) override;
  bool SaveHeader() override { return true; }
  bool FlushFileBuffer() override { return true; }
  bool IsAVI() const override { return true; }
  long Samples() const override;
  bool FileClose() override;
  bool FileSize(uint32_t& low, uint32_t& high) const override;
  bool NumericData(const std::vector<std::string>&) override { return true; }
  long Width() const override { return width_; }
  long Height() const override { return height_; }
  long BitsPerPixel() const override { return bits_; }
  long NumberOfPictures() const override { return frames_; }
  bool HasColors() const override { return colour_; }
  // The pixel layout of an open film stays as it was opened.
  void HasColors(bool colours) override {
    if (!d_) colour_ = colours;
  }
  bool WriteFrame(uint32_t index, const void* buffer) override;
  bool FileOpen(std::string& filename, int mode, long* width, long* height, long* bits,
                float* rate, bool hasColors) override;
  uint32_t FrameSize() const override;
  float Rate() const override { return rate_; }

  // The object's compression options: into it from "Compress.opt" (false
  // when there is none), and from it to there.
  bool ReadCompressOptions();
  bool SaveCompressOptions();
  // The options the object writes with; none until chosen or read.
  const std::optional<CompressOptions>& Options() const { return options_; }
  void Options(const CompressOptions& options) { options_ = options; }

  // Opens an AVI held in memory for reading (the bytes must outlive the
  // film), as mode 0 does a file.
  bool OpenFromMemory(const uint8_t* data, size_t size);

  bool IsOpen() const;
  bool IsWriting() const;

  struct Impl;

 private:
  bool OpenRead(const std::string& filename, const uint8_t* data, size_t size);
  bool OpenWrite(const std::string& filename);
  bool ChooseOptions();

  std::unique_ptr<Impl> d_;
  std::string filename_;
  long width_ = 0, height_ = 0, bits_ = 8, frames_ = 0;
  bool colour_ = false;
  float rate_ = 15.0f;
  std::optional<CompressOptions> options_;
};

std::unique_ptr<VideoFile> NewAVIFile();

}  // namespace sv
