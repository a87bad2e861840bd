#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/scripted_host.h"
#include "video/compress_options.h"

namespace sv {
namespace {

using test::ReadFile;
using test::ScriptedHost;
using test::WriteFile;

class CompressTest : public ::testing::Test {
 protected:
  void SetUp() override { ClearCompressOptions(); }
  void TearDown() override {
    ClearCompressOptions();
    CompressOptionsDialog() = nullptr;
  }
  std::string ProgramFile() { return host.programFolder + "/Compress.opt"; }
  std::string ConfigFile() { return host.configFolder + "/Compress.opt"; }
  ScriptedHost host;
};

// The 44-byte record: type, codec, interval, quality, then zeros.
TEST_F(CompressTest, RecordLayoutAndRoundTrip) {
  CompressOptions o = DefaultCompressOptions(FilmCodec::View);
  o.keyFrameEvery = 7;
  o.quality = 1234;
  const auto bytes = EncodeCompressOptions(o);
  ASSERT_EQ(bytes.size(), 44u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), 8), "vidsFMP4");
  EXPECT_EQ(bytes[8], 7);
  EXPECT_EQ(bytes[12] | bytes[13] << 8, 1234);
  for (size_t i = 16; i < 44; ++i) EXPECT_EQ(bytes[i], 0) << i;
  EXPECT_EQ(DecodeCompressOptions(bytes.data(), bytes.size()), o);

  // Wrong length, another stream type, an unknown codec, out-of-range numbers.
  EXPECT_FALSE(DecodeCompressOptions(bytes.data(), 43));
  EXPECT_FALSE(DecodeCompressOptions(nullptr, 44));
  for (size_t at : {0u, 4u, 9u, 13u}) {
    auto bad = bytes;
    bad[at] ^= 0x40;
    EXPECT_FALSE(DecodeCompressOptions(bad.data(), bad.size())) << at;
  }
}

// Saved in the program folder and read back; a damaged file reads as none.
TEST_F(CompressTest, FileInTheProgramFolder) {
  EXPECT_FALSE(ReadCompressOptions());
  const CompressOptions view = DefaultCompressOptions(FilmCodec::View);
  ASSERT_TRUE(SaveCompressOptions(view));
  EXPECT_EQ(ReadFile(ProgramFile()).size(), 44u);
  EXPECT_EQ(ReadCompressOptions(), view);
  WriteFile(ProgramFile(), "vidsFMP4");
  EXPECT_FALSE(ReadCompressOptions());
}

// A program folder that cannot take the file sends it to the config folder.
TEST_F(CompressTest, UnwritableProgramFolderFallsBackToConfig) {
  const std::string installed = host.programFolder;
  WriteFile(host.root + "/plain-file", "x");
  host.programFolder = host.root + "/plain-file/bin";  // can never be created
  EXPECT_EQ(CompressOptionsPath(), ConfigFile());
  ASSERT_TRUE(SaveCompressOptions(DefaultCompressOptions(FilmCodec::View)));
  EXPECT_EQ(ReadFile(ConfigFile()).size(), 44u);
  EXPECT_EQ(ReadCompressOptions()->handler, kCodecView);
  EXPECT_TRUE(ReadFile(installed + "/Compress.opt").empty());
}

// The command line picks a codec by name, else the file's, else lossless.
TEST_F(CompressTest, SelectCodecForTheCommandLine) {
  EXPECT_TRUE(SelectCompressCodec(""));
  EXPECT_EQ(CompressOptionsAtHand()->handler, kCodecLossless);
  ASSERT_TRUE(SaveCompressOptions(DefaultCompressOptions(FilmCodec::View)));
  EXPECT_TRUE(SelectCompressCodec(""));
  EXPECT_EQ(CompressOptionsAtHand()->handler, kCodecView);
  EXPECT_TRUE(SelectCompressCodec("lossless"));
  EXPECT_EQ(CompressOptionsAtHand(), DefaultCompressOptions(FilmCodec::Lossless));
  EXPECT_FALSE(SelectCompressCodec("h264"));
  EXPECT_EQ(CompressOptionsAtHand()->handler, kCodecLossless);
}

// The chooser: fields from the options, checks on OK, cancelled without a front end.
TEST_F(CompressTest, ChooserFieldsAndChecks) {
  CompressOptions start = DefaultCompressOptions(FilmCodec::View);
  start.quality = 4949;
  Form_CompressOptions form(start);
  EXPECT_EQ(form.List_Codec, 1);
  EXPECT_EQ(form.Text_KeyFrames, "15");
  EXPECT_EQ(form.Text_Quality, "49");
  form.SelectCodec(0);
  EXPECT_EQ(form.Text_KeyFrames, "1");
  EXPECT_EQ(form.Text_Quality, "100");

  for (const char* bad : {"", "x", "-1", "1001", "2.5"}) {
    host.Answer(MsgResult::OK);
    form.Text_KeyFrames = bad;
    EXPECT_FALSE(form.Command_OK()) << bad;
  }
  form.Text_KeyFrames = " 30 ";
  host.Answer(MsgResult::OK);
  form.Text_Quality = "101";
  EXPECT_FALSE(form.Command_OK());
  EXPECT_FALSE(form.Accepted);
  EXPECT_EQ(host.messages.back().title, "Video Compression");
  form.Text_Quality = "80";
  ASSERT_TRUE(form.Command_OK());
  EXPECT_EQ(form.Result.handler, kCodecLossless);
  EXPECT_EQ(form.Result.keyFrameEvery, 30u);
  EXPECT_EQ(form.Result.quality, 8000u);

  CompressOptions chosen;
  EXPECT_FALSE(ChooseCompressOptions(chosen));  // no front end
  CompressOptionsDialog() = [](Form_CompressOptions& f) {
    f.SelectCodec(1);
    return f.Command_OK();
  };
  ASSERT_TRUE(ChooseCompressOptions(chosen));
  EXPECT_EQ(chosen, DefaultCompressOptions(FilmCodec::View));
  CompressOptionsDialog() = [](Form_CompressOptions& f) {
    f.Command_Cancel();
    return false;
  };
  EXPECT_FALSE(ChooseCompressOptions(chosen));
}

}  // namespace
}  // namespace sv
