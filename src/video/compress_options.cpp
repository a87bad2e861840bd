#include "video/compress_options.h"

#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>

#include "core/host.h"

namespace sv {
namespace {

std::optional<CompressOptions>& AtHand() {
  static std::optional<CompressOptions> options;
  return options;
}

void Put32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i));
}
uint32_t Get32(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

std::optional<CompressOptions> ReadFrom(const std::string& path) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return std::nullopt;
  uint8_t bytes[kCompressOptionsBytes + 1];
  const size_t got = std::fread(bytes, 1, sizeof bytes, f);
  std::fclose(f);
  return DecodeCompressOptions(bytes, got);
}

// A whole number in [low, high] from a field, blanks around allowed.
std::optional<uint32_t> Field(const std::string& text, uint32_t low, uint32_t high) {
  const size_t b = text.find_first_not_of(" \t");
  if (b == std::string::npos) return std::nullopt;
  const size_t e = text.find_last_not_of(" \t") + 1;
  uint32_t v = 0;
  const auto r = std::from_chars(text.data() + b, text.data() + e, v);
  if (r.ec != std::errc() || r.ptr != text.data() + e || v < low || v > high) return std::nullopt;
  return v;
}

}  // namespace

CompressOptions DefaultCompressOptions(FilmCodec codec) {
  CompressOptions o;
  if (codec == FilmCodec::View) {
    o.handler = kCodecView;
    o.keyFrameEvery = 15;
    o.quality = 7500;
  }
  return o;
}

bool CompressOptionsValid(const CompressOptions& o) {
  return o.type == kStreamTypeVideo && (o.handler == kCodecLossless || o.handler == kCodecView) &&
         o.keyFrameEvery <= kMaxKeyFrameEvery && o.quality <= kMaxQuality;
}

std::array<uint8_t, kCompressOptionsBytes> EncodeCompressOptions(const CompressOptions& o) {
  std::array<uint8_t, kCompressOptionsBytes> bytes{};
  Put32(&bytes[0], o.type);
  Put32(&bytes[4], o.handler);
  Put32(&bytes[8], o.keyFrameEvery);
  Put32(&bytes[12], o.quality);
  return bytes;
}

std::optional<CompressOptions> DecodeCompressOptions(const uint8_t* bytes, size_t size) {
  if (!bytes || size != kCompressOptionsBytes) return std::nullopt;
  CompressOptions o;
  o.type = Get32(bytes);
  o.handler = Get32(bytes + 4);
  o.keyFrameEvery = Get32(bytes + 8);
  o.quality = Get32(bytes + 12);
  if (!CompressOptionsValid(o)) return std::nullopt;
  return o;
}

std::string CompressOptionsPath() {
  const std::string program = host().ProgramFolder();
  if (!program.empty() && ::access(program.c_str(), W_OK) == 0)
    return program + "/" + kCompressOptionsFile;
  return host().ConfigFolder() + "/" + kCompressOptionsFile;
}

namespace {

bool WriteTo(const std::string& path, const CompressOptions& options) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return false;
  const auto bytes = EncodeCompressOptions(options);
  const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return (std::fclose(f) == 0) && written;
}

}  // namespace

bool SaveCompressOptions(const CompressOptions& options) {
  const std::string path = CompressOptionsPath();
  if (WriteTo(path, options)) return true;
  // A program folder that refuses the file even so: the user's folder.
  const std::string config = host().ConfigFolder() + "/" + kCompressOptionsFile;
  return path != config && WriteTo(config, options);
}

std::optional<CompressOptions> ReadCompressOptions() {
  const std::string path = CompressOptionsPath();
  if (auto o = ReadFrom(path)) return o;
  for (const std::string& other : {host().ConfigFolder() + "/" + kCompressOptionsFile,
                                   host().ProgramFolder() + "/" + kCompressOptionsFile})
    if (other != path)
      if (auto o = ReadFrom(other)) return o;
  return std::nullopt;
}

void SetCompressOptions(const CompressOptions& options) { AtHand() = options; }
void ClearCompressOptions() { AtHand().reset(); }
std::optional<CompressOptions> CompressOptionsAtHand() { return AtHand(); }

bool SelectCompressCodec(const std::string& codec) {
  if (codec == "lossless") {
    SetCompressOptions(DefaultCompressOptions(FilmCodec::Lossless));
  } else if (codec == "view") {
    SetCompressOptions(DefaultCompressOptions(FilmCodec::View));
  } else if (codec.empty()) {
    SetCompressOptions(ReadCompressOptions().value_or(DefaultCompressOptions(FilmCodec::Lossless)));
  } else {
    return false;
  }
  return true;
}

// --- The chooser ----------------------------------------------------------------------------

Form_CompressOptions::Form_CompressOptions(const CompressOptions& start) {
  const CompressOptions o = CompressOptionsValid(start) ? start : CompressOptions{};
  List_Codec = o.handler == kCodecView ? 1 : 0;
  Text_KeyFrames = std::to_string(o.keyFrameEvery);
  Text_Quality = std::to_string((o.quality + 50) / 100);
  Result = o;
}

const std::vector<std::string>& Form_CompressOptions::Codecs() {
  static const std::vector<std::string> codecs = {"Lossless (FFV1)", "For viewing (MPEG-4)"};
  return codecs;
}

void Form_CompressOptions::SelectCodec(int index) {
  if (index < 0 || index >= int(Codecs().size())) return;
  List_Codec = index;
  const CompressOptions o = DefaultCompressOptions(FilmCodec(index));
  Text_KeyFrames = std::to_string(o.keyFrameEvery);
  Text_Quality = std::to_string(o.quality / 100);
}

bool Form_CompressOptions::Command_OK() {
  if (List_Codec < 0 || List_Codec >= int(Codecs().size())) {
    host().MsgBox("Please choose a compressor.", MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return false;
  }
  const auto keys = Field(Text_KeyFrames, 0, kMaxKeyFrameEvery);
  if (!keys) {
    host().MsgBox("Key frame every: enter 0 to 1000 frames.", MsgButtons::OK,
                  MsgIcon::Exclamation, kTitle);
    return false;
  }
  const auto quality = Field(Text_Quality, 0, 100);
  if (!quality) {
    host().MsgBox("Quality: enter 0 to 100.", MsgButtons::OK, MsgIcon::Exclamation, kTitle);
    return false;
  }
  Result = DefaultCompressOptions(FilmCodec(List_Codec));
  Result.keyFrameEvery = *keys;
  Result.quality = *quality * 100;
  Accepted = true;
  return true;
}

std::function<bool(Form_CompressOptions&)>& CompressOptionsDialog() {
  static std::function<bool(Form_CompressOptions&)> dialog;
  return dialog;
}

bool ChooseCompressOptions(CompressOptions& options) {
  auto& dialog = CompressOptionsDialog();
  if (!dialog) return false;
  Form_CompressOptions form(options);
  if (!dialog(form) || !form.Accepted) return false;
  options = form.Result;
  return true;
}

}  // namespace sv
