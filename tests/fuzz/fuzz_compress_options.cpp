// Any bytes as "Compress.opt", then as the chooser's text fields: reading
// gives valid options or none, they survive writing and the chooser, and
// the chooser's OK gives valid options or refuses.
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz_host.h"
#include "video/compress_options.h"

using svfuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Folders in /tmp, a clock that stands still.
  static svfuzz::FuzzHost fuzzHost("sv_fuzz_compress", 0);
  sv::SetHost(&fuzzHost);
  const size_t record = size < sv::kCompressOptionsBytes ? size : sv::kCompressOptionsBytes;
  {
    std::FILE* f = std::fopen((fuzzHost.folder + "/Compress.opt").c_str(), "wb");
    if (!f) return 0;
    if (record) std::fwrite(data, 1, record, f);
    std::fclose(f);
  }
  const auto read = sv::ReadCompressOptions();
  Check(read.has_value() == sv::DecodeCompressOptions(data, record).has_value(),
        "file and bytes disagree");
  if (read) {
    Check(sv::CompressOptionsValid(*read), "invalid options read");
    const auto bytes = sv::EncodeCompressOptions(*read);
    Check(sv::DecodeCompressOptions(bytes.data(), bytes.size()) == read, "round trip");
    sv::Form_CompressOptions form(*read);
    Check(form.Command_OK(), "the chooser refused what was read");
    Check(form.Result.handler == read->handler && form.Result.keyFrameEvery == read->keyFrameEvery,
          "the chooser changed the options");
  }
  // The rest as the two text fields, split at the first NUL.
  const std::string rest(reinterpret_cast<const char*>(data) + record, size - record);
  const size_t cut = rest.find('\0');
  sv::Form_CompressOptions form;
  form.List_Codec = size ? int(data[0] % 4) - 1 : 0;
  form.Text_KeyFrames = rest.substr(0, cut);
  form.Text_Quality = cut == std::string::npos ? "" : rest.substr(cut + 1);
  if (form.Command_OK())
    Check(sv::CompressOptionsValid(form.Result), "the chooser gave invalid options");
  sv::SetHost(nullptr);
  return 0;
}
