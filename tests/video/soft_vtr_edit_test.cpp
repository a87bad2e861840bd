// The player's editing commands: the questions, the dialogs, the new film
// opened in the player, and the film it was opened from left as it was.
#include <gtest/gtest.h>

#include <filesystem>

#include "experiment/film_source.h"
#include "film_edit_fixture.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "video/form_soft_vtr.h"
#include "video/form_vtr_export.h"

namespace sv {
namespace {

namespace fs = std::filesystem;
using test::ReadFile;
using test::WriteFile;

class SoftVTREditTest : public test::FilmEditFixture {
 protected:
  void TearDown() override {
    player.CloseVideo();
    SetFilmSource(nullptr);
    VTRExportDialog() = nullptr;
  }
  Form_SoftVTR player;
};

TEST_F(SoftVTREditTest, DeleteTheSelectionAsksWritesTheNextFreeNameAndOpensIt) {
  const std::string src = Film("run.vid", 6, {"energy (eV)"});
  WriteFile(Path("run(1).vid"), "taken");
  const std::string before = ReadFile(src);
  const auto frames = Frames(src);
  ASSERT_TRUE(player.OpenVideo(src));
  player.TagDown(4);
  player.TagDrag(2);
  host.Answer(MsgResult::Yes);
  host.AnswerFile(Path("run(2).vid"), 1);
  player.mnuDeleteSel();
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Are you sure to delete 3 Frames?");
  EXPECT_EQ(host.messages[0].title, "Delete Frames");
  ASSERT_EQ(host.fileDialogs.size(), 1u);
  EXPECT_EQ(host.fileDialogs[0].fileName, "run(2).vid");  // proposed: the first free name
  EXPECT_EQ(player.Filename(), Path("run(2).vid"));
  EXPECT_EQ(player.Frames, 3);
  EXPECT_EQ(Frames(Path("run(2).vid")),
            (std::vector<std::vector<uint8_t>>{frames[0], frames[1], frames[5]}));
  EXPECT_EQ(ReadFile(src), before);

  // No: nothing is written, the film stays open.
  host.Answer(MsgResult::No);
  player.mnuDeleteFrame();
  EXPECT_EQ(player.Filename(), Path("run(2).vid"));
  EXPECT_FALSE(fs::exists(Path("run(3).vid")));
}

TEST_F(SoftVTREditTest, DeleteFromTheSelectionFileAndEverySecondFrame) {
  const std::string src = Film("run.vid", 12);
  WriteFile(Path("Selection.txt"), "; test\n10,4,-2\n");
  ASSERT_TRUE(player.OpenVideo(src));
  host.Answer(MsgResult::Yes);
  host.AnswerFile(Path("sel.vid"), 1);
  player.mnuDeleteFramesFromFile();
  EXPECT_EQ(host.messages.back().text, "Are you sure to delete 4 Frames?");
  EXPECT_EQ(player.Frames, 8);

  host.Answer(MsgResult::Yes);
  host.AnswerFile(Path("half.vid"), 1);
  player.mnuDelete2ndFrame();
  EXPECT_EQ(host.messages.back().text, "Are you sure to delete 4 Frames?");
  EXPECT_EQ(player.Frames, 4);
  // 0 1 2 3 5 7 9 11, every second gone: 0 2 5 9.
  const auto all = Frames(src);
  EXPECT_EQ(Frames(Path("half.vid")),
            (std::vector<std::vector<uint8_t>>{all[0], all[2], all[5], all[9]}));

  fs::remove(Path("Selection.txt"));
  host.Answer(MsgResult::OK);
  player.mnuDeleteFramesFromFile();
  EXPECT_EQ(host.messages.back().text, "File \"" + Path("Selection.txt") + "\" not found");
}

TEST_F(SoftVTREditTest, ADeleteThatCannotWriteSaysSoAndKeepsTheFilm) {
  const std::string src = Film("run.vid", 3);
  ASSERT_TRUE(player.OpenVideo(src));
  host.Answer(MsgResult::Yes);
  host.AnswerFile(Path("no/such/x.vid"), 1);
  host.Answer(MsgResult::OK);
  player.mnuDeleteFrame();
  EXPECT_EQ(host.messages.back().text, "Error writing " + Path("no/such/x.vid"));
  EXPECT_EQ(player.Filename(), src);
  // Choosing the film itself is refused the same way.
  host.Answer(MsgResult::Yes);
  host.AnswerFile(src, 1);
  host.Answer(MsgResult::OK);
  player.mnuDeleteFrame();
  EXPECT_EQ(host.messages.back().text, "Error writing " + src);
  EXPECT_EQ(Frames(src).size(), 3u);
}

TEST_F(SoftVTREditTest, SortByTheFrameListAndAppend) {
  const std::string src = Film("run.vid", 4);
  const auto all = Frames(src);
  WriteFile(Path("FrameList.txt"), "3\n1\n");
  EXPECT_TRUE(player.SortVID(src, Path("s.vid")));
  EXPECT_EQ(Frames(Path("s.vid")), (std::vector<std::vector<uint8_t>>{all[3], all[1]}));
  WriteFile(Path("FrameList.txt"), "3\n4\n");
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(player.SortVID(src, Path("t.vid")));
  EXPECT_EQ(host.messages.back().text,
            Path("FrameList.txt") + ": Line 2: frame 4 does not exist (0 ... 3)");
  EXPECT_TRUE(player.AppendVID(src, Path("s.vid"), Path("a.vid")));
  EXPECT_EQ(Frames(Path("a.vid")).size(), 6u);
}

TEST_F(SoftVTREditTest, ExportWorksheetAndSaveAs) {
  const std::string src = Film("run.vid", 3, {"energy (eV)"});
  ASSERT_TRUE(player.OpenVideo(src));
  VTRExportDialog() = [&](Form_VTR_Export& form) {
    form.Option_Selection = Form_VTR_Export::kRange;
    form.Text_From = "1";
    form.Text_To = "2";
    form.Check_Log = true;
    Form_VTR_Export::FilterIndex = 1;
    return form.Command_OK();
  };
  player.mnuExport();
  EXPECT_TRUE(fs::exists(Path("run_000001.tif")));
  EXPECT_TRUE(fs::exists(Path("run_000002.tif")));
  EXPECT_EQ(ReadFile(Path("run.txt")), "[1]\t100\r\n[2]\t200\r\n");

  EXPECT_TRUE(player.CreateWorksheet(src));
  EXPECT_EQ(player.Filename(), src);

  host.AnswerFile(Path("copy.vid"), 1);
  ASSERT_TRUE(player.VideoSaveAs());
  EXPECT_EQ(Frames(Path("copy.vid")), Frames(src));
}

TEST_F(SoftVTREditTest, ResizeWritesACopyAndRenamesItOnlyWhenAsked) {
  const std::string src = Film("run.vid", 2, {"energy (eV)"});
  const std::string before = ReadFile(src);
  ASSERT_TRUE(player.OpenVideo(src));
  host.AnswerFile(Path("big.vid"), 1);
  host.Answer(MsgResult::No);
  ASSERT_TRUE(player.Resize(32, 8));
  EXPECT_EQ(host.fileDialogs.back().title, "Save Film");
  EXPECT_EQ(host.messages.back().title, "Rename Film");
  EXPECT_EQ(player.Filename(), Path("big.vid"));
  EXPECT_EQ(player.Video()->Width(), 32);
  EXPECT_EQ(ReadFile(src), before);
  bool writing = false;
  for (const std::string& s : host.status) writing |= s == "Writing video file...";
  EXPECT_TRUE(writing);

  // Yes: the copy takes the old name.
  host.AnswerFile(Path("small.vid"), 1);
  host.Answer(MsgResult::Yes);
  ASSERT_TRUE(player.Resize(8, 2));
  EXPECT_EQ(player.Filename(), Path("big.vid"));
  EXPECT_EQ(player.Video()->Width(), 8);
  EXPECT_EQ(player.Cols(), 0);  // 8 x 2 x 12 bits hold no two cells
  EXPECT_FALSE(fs::exists(Path("small.vid")));
}

TEST_F(SoftVTREditTest, ImportAsksTheEnergiesAgainUntilValid) {
  Form_Camera image(nullptr);
  std::vector<uint16_t> s(32 * 8, 7);
  image.CreateImage(32, 8, 8, s.data());
  ASSERT_TRUE(SaveTIF(image, Path("im_1.tif"), 1));
  ASSERT_TRUE(SaveTIF(image, Path("im_2.tif"), 1));
  host.AnswerInput("3");
  host.Answer(MsgResult::OK);  // "Invalid energy value!"
  host.AnswerInput("20");
  host.AnswerInput("0");
  host.Answer(MsgResult::OK);
  host.AnswerInput("-1");
  host.AnswerFile(Path("imported.vid"), 1);
  ASSERT_TRUE(player.Import({Path("im_1.tif"), Path("im_2.tif")}));
  EXPECT_EQ(host.inputPrompts.size(), 4u);
  EXPECT_EQ(host.inputPrompts[0], "Enter Start Energy? (eV)\r\n(5 ... 1000 or 0 = not energy coded)");
  EXPECT_EQ(host.inputPrompts[2], "Enter Step Energy? (eV)\r\n(<0 or >0)");
  EXPECT_EQ(host.messages[0].text, "Invalid energy value!");
  EXPECT_EQ(player.Filename(), Path("imported.vid"));
  EXPECT_EQ(player.Frames, 2);
  ASSERT_TRUE(player.GotoFrame(1));
  EXPECT_EQ(player.Energy(), 19.0f);
}

}  // namespace
}  // namespace sv
