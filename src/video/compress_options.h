// How AVI films are compressed: the codec, the key-frame interval and the
// quality, kept in "Compress.opt" and chosen in the codec chooser
// (Form_CompressOptions).
//
// "Compress.opt", 44 bytes, little-endian 32-bit words:
//   0   stream type, the FourCC "vids"
//   4   codec FourCC: "FFV1" lossless, "FMP4" MPEG-4 Part 2 for viewing
//   8   key-frame interval in frames (0: the codec's own)
//   12  quality, 0 .. 10000
//   16  28 bytes of 0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sv {

constexpr uint32_t FourCC(char a, char b, char c, char d) {
  return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 |
         uint32_t(uint8_t(d)) << 24;
}
inline constexpr uint32_t kStreamTypeVideo = FourCC('v', 'i', 'd', 's');
inline constexpr uint32_t kCodecLossless = FourCC('F', 'F', 'V', '1');
inline constexpr uint32_t kCodecView = FourCC('F', 'M', 'P', '4');
inline constexpr size_t kCompressOptionsBytes = 44;
inline constexpr uint32_t kMaxQuality = 10000;
inline constexpr uint32_t kMaxKeyFrameEvery = 1000;
inline constexpr const char* kCompressOptionsFile = "Compress.opt";

struct CompressOptions {
  uint32_t type = kStreamTypeVideo;
  uint32_t handler = kCodecLossless;
  uint32_t keyFrameEvery = 1;
  uint32_t quality = kMaxQuality;
  bool operator==(const CompressOptions&) const = default;
};

// The two codecs offered, in the chooser's order.
enum class FilmCodec { Lossless = 0, View = 1 };
CompressOptions DefaultCompressOptions(FilmCodec codec);
// A video stream with a codec this system writes, an interval and a quality in range.
bool CompressOptionsValid(const CompressOptions& options);

std::array<uint8_t, kCompressOptionsBytes> EncodeCompressOptions(const CompressOptions& options);
// Nothing unless exactly 44 bytes holding valid options.
std::optional<CompressOptions> DecodeCompressOptions(const uint8_t* bytes, size_t size);

// Where "Compress.opt" is written: the program folder, or the per-user
// config folder when the program folder cannot be written to.
std::string CompressOptionsPath();
// Writes the record there (in the config folder when the program folder
// refuses it after all); false when it cannot be written.
bool SaveCompressOptions(const CompressOptions& options);
// The record from the place it is written to, else from the other folder.
std::optional<CompressOptions> ReadCompressOptions();

// The options at hand for AVI films created from now on in this process,
// before "Compress.opt" and the chooser.
void SetCompressOptions(const CompressOptions& options);
void ClearCompressOptions();
std::optional<CompressOptions> CompressOptionsAtHand();
// For the command line: "lossless" or "view" put those codec's defaults at
// hand; "" the options of "Compress.opt", else lossless. False for any
// other name (nothing changes).
bool SelectCompressCodec(const std::string& codec);

// The codec chooser: the codec, the key-frame interval and the quality in
// percent as its controls show them.
class Form_CompressOptions {
 public:
  explicit Form_CompressOptions(const CompressOptions& start = {});

  static const std::vector<std::string>& Codecs();  // captions, in FilmCodec order
  static constexpr const char* kTitle = "Video Compression";

  int List_Codec = 0;           // index into Codecs()
  std::string Text_KeyFrames;   // 1 .. 1000 frames, 0 for the codec's own
  std::string Text_Quality;     // 0 .. 100 percent

  // Picks a codec and puts its default interval and quality in the fields.
  void SelectCodec(int index);
  // Checks the fields: false after a message naming the field at fault, the
  // dialog stays; else the choice is in Result and the dialog closes.
  bool Command_OK();
  void Command_Cancel() { Accepted = false; }

  bool Accepted = false;
  CompressOptions Result;
};

// How the chooser is shown: true for OK. Empty (no front end): cancelled.
std::function<bool(Form_CompressOptions&)>& CompressOptionsDialog();
// Runs the chooser over `options`; true with the choice in `options`.
bool ChooseCompressOptions(CompressOptions& options);

}  // namespace sv
