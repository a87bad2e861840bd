// Any bytes as "Compress.opt", then as the chooser's text fields: reading
// gives valid options or none, they survive writing and the chooser, and
// the chooser's OK gives valid options or refuses.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/host.h"
#include "video/compress_options.h"

namespace {

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "fuzz_compress_options: %s\n", what);
    std::abort();
  }
}

// Folders in /tmp, messages answered OK.
class FuzzHost : public sv::Host {
 public:
  FuzzHost() : folder("/tmp/sv_fuzz_compress_" + std::to_string(getpid())) {
    std::filesystem::create_directories(folder + "/config");
  }
  sv::MsgResult MsgBox(const std::string&, sv::MsgButtons, sv::MsgIcon,
                       const std::string&) override {
    return sv::MsgResult::OK;
  }
  std::optional<std::string> InputBox(const std::string&, const std::string&,
                                      const std::string&) override {
    return std::nullopt;
  }
  sv::FileDialogResult OpenFileDialog(const sv::FileDialog&) override { return {}; }
  sv::FileDialogResult SaveFileDialog(const sv::FileDialog&) override { return {}; }
  void ShowStatus(const std::string&, int) override {}
  void DoEvents() override {}
  void Beep() override {}
  void SetBusy(bool) override {}
  std::string ClipboardText() override { return {}; }
  void SetClipboardText(const std::string&) override {}
  uint32_t TimeGetTime() override { return 0; }
  std::string UserName() override { return "fuzz"; }
  std::string TempPath() override { return folder + "/"; }
  std::string ProgramFolder() override { return folder; }
  std::string ExeName() override { return "sv4200"; }
  std::string ConfigFolder() override { return folder + "/config"; }
  std::string HomeFolder() override { return folder; }
  sv::UserStore& Store() override { std::abort(); }
  int64_t FreeDiskSpace(const std::string&) override { return -1; }
  sv::ScreenSize Screen() override { return {}; }
  std::string folder;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static FuzzHost fuzzHost;
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
