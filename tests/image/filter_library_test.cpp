#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

#include "core/error_table.h"
#include "core/globals.h"
#include "image/filter_library.h"
#include "image/form_camera.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

std::string Bytes(const std::vector<uint8_t>& v) { return std::string(v.begin(), v.end()); }

std::string Le32(int32_t v) {
  const uint32_t u = uint32_t(v);
  return {char(u), char(u >> 8), char(u >> 16), char(u >> 24)};
}

// One record as another tool might write it: NUL padding, Reserved in use.
std::string ForeignRecord() {
  std::string r("Edge\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24);
  r += Le32(0x12345678) + Le32(-3) + Le32(-70000);
  for (int i = 0; i < 49; ++i) r += Le32(i == 24 ? 8 : (i % 7 == 0 ? -1 : 0));
  return r;
}

std::string Header(uint16_t count, const char* version = "0150") {
  return std::string("JASC_FILT\r\n") + version + "\r\n" + char(count & 0xFF) + char(count >> 8);
}

TEST(FilterFile, SampleBlurWrittenToTheByte) {
  const std::string file = Bytes(EncodeFilterLibrary({SampleBlur()}));
  ASSERT_EQ(file.size(), 19u + 232u);
  EXPECT_EQ(file.substr(0, 19), Header(1));
  EXPECT_EQ(file.substr(19, 24), "Sample Blur             ");
  EXPECT_EQ(file.substr(43, 12), Le32(0) + Le32(9) + Le32(0));
  std::string grid;
  for (int r = 0; r < 7; ++r)
    for (int c = 0; c < 7; ++c) grid += Le32(r >= 2 && r <= 4 && c >= 2 && c <= 4 ? 1 : 0);
  EXPECT_EQ(file.substr(55), grid);
}

TEST(FilterFile, ForeignRecordsReadAndWrittenBackUnchanged) {
  const std::string file = Header(2) + ForeignRecord() + Bytes(EncodeFilterLibrary({SampleBlur()})).substr(19);
  std::vector<FilterRecord> filters;
  ASSERT_EQ(DecodeFilterLibrary(reinterpret_cast<const uint8_t*>(file.data()), file.size(), filters), 0);
  ASSERT_EQ(filters.size(), 2u);
  EXPECT_EQ(FilterName(filters[0]), "Edge");
  EXPECT_EQ(filters[0].Reserved, 0x12345678);
  EXPECT_EQ(filters[0].Factor, -3);
  EXPECT_EQ(filters[0].Bias, -70000);
  EXPECT_EQ(filters[0].Coefficients[24], 8);
  EXPECT_EQ(FilterName(filters[1]), "Sample Blur");
  EXPECT_EQ(Bytes(EncodeFilterLibrary(filters)), file);
  // Bytes past the last record are not part of the library.
  const std::string longer = file + "trailing";
  ASSERT_EQ(DecodeFilterLibrary(reinterpret_cast<const uint8_t*>(longer.data()), longer.size(), filters), 0);
  EXPECT_EQ(Bytes(EncodeFilterLibrary(filters)), file);
}

TEST(FilterFile, AnotherVersionMagicOrAShortFileIsUnknown) {
  const std::vector<FilterRecord> held{SampleBlur(), EmptyFilter()};
  for (const std::string& file :
       {Header(1, "0151") + ForeignRecord(), "JASC_FILX\r\n0150\r\n\1\0" + ForeignRecord(),
        Header(2) + ForeignRecord(), Header(1) + ForeignRecord().substr(0, 231),
        std::string("JASC_FILT\r\n0150\r\n\1"), std::string()}) {
    std::vector<FilterRecord> filters = held;
    EXPECT_EQ(DecodeFilterLibrary(reinterpret_cast<const uint8_t*>(file.data()), file.size(), filters),
              kErrUnknownFormat);
    EXPECT_EQ(Bytes(EncodeFilterLibrary(filters)), Bytes(EncodeFilterLibrary(held)));
  }
  EXPECT_EQ(ErrorText(kErrUnknownFormat), "Unknown fileformat");
}

TEST(FilterFile, NamesKeep24CharactersAndCutLongerOnes) {
  FilterRecord f{};
  SetFilterName(f, "ABCDEFGHIJKLMNOPQRSTUVWX");
  EXPECT_EQ(FilterName(f), "ABCDEFGHIJKLMNOPQRSTUVWX");
  SetFilterName(f, "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  EXPECT_EQ(FilterName(f), "ABCDEFGHIJKLMNOPQRSTUVWX");
  SetFilterName(f, "Soft  ");
  EXPECT_EQ(std::string(f.Name, 24), "Soft" + std::string(20, ' '));
  EXPECT_EQ(FilterName(f), "Soft");
}

class FilterPlaces : public ::testing::Test {
 protected:
  void SetUp() override {
    host.programFolder = host.root + "/program";
    host.configFolder = host.root + "/config/sv4200";
    ::mkdir(host.programFolder.c_str(), 0755);
  }
  test::ScriptedHost host;
};

TEST_F(FilterPlaces, WithoutAFileTheLibraryIsSampleBlur) {
  std::vector<FilterRecord> filters;
  EXPECT_EQ(ReadFilterLibrary(filters), -1);
  ASSERT_EQ(filters.size(), 1u);
  EXPECT_EQ(Bytes(EncodeFilterLibrary(filters)), Bytes(EncodeFilterLibrary({SampleBlur()})));
  EXPECT_EQ(FilterLibraryPath(), host.programFolder + "/SV4200.FLT");
}

TEST_F(FilterPlaces, ProgramFolderFirstElseTheUsersFolder) {
  ASSERT_TRUE(WriteFilterLibrary(host.configFolder + "/SV4200.FLT", {EmptyFilter()}));
  std::vector<FilterRecord> filters;
  std::string from;
  // Only the user's file exists: it is read.
  EXPECT_EQ(ReadFilterLibrary(filters, &from), 0);
  EXPECT_EQ(from, host.configFolder + "/SV4200.FLT");
  EXPECT_EQ(FilterName(filters.at(0)), "Untitled");
  ASSERT_TRUE(WriteFilterLibrary(FilterLibraryPath(), {SampleBlur(), SampleBlur()}));
  EXPECT_EQ(ReadFilterLibrary(filters, &from), 0);
  EXPECT_EQ(from, host.programFolder + "/SV4200.FLT");
  EXPECT_EQ(filters.size(), 2u);
  // A program folder that is not there cannot be written: the user's folder.
  host.programFolder = host.root + "/missing";
  EXPECT_EQ(FilterLibraryPath(), host.configFolder + "/SV4200.FLT");
}

TEST_F(FilterPlaces, AFailedWriteLeavesTheFileOnDisk) {
  const std::string path = host.programFolder + "/SV4200.FLT";
  ASSERT_TRUE(WriteFilterLibrary(path, {SampleBlur()}));
  const std::string before = test::ReadFile(path);
  EXPECT_FALSE(WriteFilterLibrary(path, std::vector<FilterRecord>(kMaxFilters + 1, SampleBlur())));
  // A folder in the way of the temporary file.
  ::mkdir((path + ".new").c_str(), 0755);
  EXPECT_FALSE(WriteFilterLibrary(path, {EmptyFilter()}));
  EXPECT_EQ(test::ReadFile(path), before);
}

// --- Applying ------------------------------------------------------------------------------

class ApplyFilterTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }
  // A 9 x 9 grey image with one bright pixel at (4, 4).
  void Dot(bool colour = false) {
    image.SetHasColors(colour);
    image.CreateImage(9, 9, 8, nullptr);
    const int channels = colour ? 3 : 1;
    image.ImagePtr()[(4 * 9 + 4) * channels] = 200;
  }
  uint16_t At(int x, int y, int channel = 0) const {
    const int channels = image.HasColors() ? 3 : 1;
    return image.ImagePtr()[(y * 9 + x) * channels + channel];
  }
  test::ScriptedHost host;
  Form_Camera image;
};

// One coefficient at grid (r, c) moves the dot by (3 - c, 3 - r): only when
// the routine of the right size runs.
FilterRecord Single(int r, int c) {
  FilterRecord f{};
  SetFilterName(f, "Shift");
  f.Factor = 1;
  f.Coefficients[r * 7 + c] = 1;
  return f;
}

TEST_F(ApplyFilterTest, TheRingRuleChoosesTheKernelSize) {
  EXPECT_EQ(FilterKernelSize(SampleBlur()), 3);
  EXPECT_EQ(FilterKernelSize(Single(0, 0)), 7);
  EXPECT_EQ(FilterKernelSize(Single(1, 5)), 5);
  EXPECT_EQ(FilterKernelSize(Single(2, 4)), 3);
  struct Case { int r, c; };
  for (const Case k : {Case{0, 0}, Case{6, 3}, Case{1, 1}, Case{5, 2}, Case{2, 4}}) {
    for (const bool colour : {false, true}) {
      SCOPED_TRACE(std::to_string(k.r) + "," + std::to_string(k.c) + (colour ? " colour" : ""));
      Dot(colour);
      ASSERT_EQ(ApplyFilter(image, Single(k.r, k.c)), 0);
      EXPECT_EQ(At(4 + 3 - k.c, 4 + 3 - k.r), 200);
      EXPECT_EQ(At(4, 4), k.r == 3 && k.c == 3 ? 200 : 0);
      if (colour) {
        EXPECT_EQ(At(4 + 3 - k.c, 4 + 3 - k.r, 1), 0);
      }
    }
  }
}

TEST_F(ApplyFilterTest, FilterRegistersItsUndoAndAZeroFactorChangesNothing) {
  Dot();
  ASSERT_EQ(FilterImage(image, SampleBlur()), 0);
  EXPECT_EQ(image.UndoName(), "Filter");
  EXPECT_EQ(At(3, 3), 22);  // 200 / 9, rounded
  EXPECT_TRUE(image.Changed());
  image.Undo();
  EXPECT_EQ(At(4, 4), 200);
  EXPECT_EQ(At(3, 3), 0);
  FilterRecord zero = SampleBlur();
  zero.Factor = 0;
  EXPECT_EQ(ApplyFilter(image, zero), kErrInvalidParameter);
  EXPECT_EQ(At(4, 4), 200);
  Form_Camera empty;
  EXPECT_EQ(ApplyFilter(empty, SampleBlur()), kErrInvalidParameter);
}

}  // namespace
}  // namespace sv
