#include "core/mdi_main.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "core/globals.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

// A document that offers a fixed set of operations and counts what it got.
struct FakeDoc : ChildDocument {
  FakeDoc(DocKind k, std::set<std::string> ops) : kind(k), offers(std::move(ops)) {}
  DocKind Kind() const override { return kind; }
  bool Invoke(const std::string& op) override {
    if (!offers.count(op)) return false;
    invoked.push_back(op);
    return true;
  }
  bool Offers(const std::string& op) const override { return offers.count(op) > 0; }
  std::string Caption() const override { return title; }
  void SetTitle(const std::string& t) override { title = t; }
  bool Locked() const override { return locked; }
  std::string UndoName() const override { return undo; }
  bool Visible() const override { return visible; }
  void SetVisible(bool v) override { visible = v; }
  bool QueryUnload() override { return allowClose; }

  DocKind kind;
  std::set<std::string> offers;
  std::vector<std::string> invoked;
  std::string title, undo;
  bool locked = false, visible = false, allowClose = true;
};

class MainFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    main.SetImageFactory([this](MDIForm_Main&) {
      auto d = std::make_unique<FakeDoc>(DocKind::Image,
                                         std::set<std::string>{"FileClose", "Undo", "EditClear"});
      images.push_back(d.get());
      return d;
    });
    main.SetWorksheetFactory([this](MDIForm_Main&) {
      auto d = std::make_unique<FakeDoc>(DocKind::Worksheet, std::set<std::string>{"AddRows"});
      sheets.push_back(d.get());
      return d;
    });
    main.Load();
  }
  test::ScriptedHost host;
  MDIForm_Main main;
  std::vector<FakeDoc*> images, sheets;
};

TEST_F(MainFormTest, DocumentsAreNamedCountedAndListed) {
  ChildDocument* a = main.CreateImage();
  ChildDocument* b = main.CreateImage();
  ChildDocument* s = main.CreateWorksheet();
  EXPECT_EQ(std::tuple(a->Caption(), b->Caption(), s->Caption()), std::tuple("Image1", "Image2", "Data1.sht"));
  EXPECT_FALSE(images[0]->visible) << "created, not shown";
  EXPECT_EQ(main.ImageList, (std::vector<long>{a->Handle(), b->Handle()}));

  EXPECT_TRUE(main.CloseChild(a->Handle()));
  EXPECT_EQ(std::tuple(main.ImageCount, main.ImageList), std::tuple(1L, std::vector<long>{b->Handle()}));
  EXPECT_EQ(main.CreateImage()->Caption(), "Image3") << "the counter only grows";

  images[1]->allowClose = false;
  EXPECT_FALSE(main.CloseChild(images[1]->Handle()));
  EXPECT_EQ(main.ImageCount, 2);
}

TEST_F(MainFormTest, CommandsGoToTheDocumentInFrontThatOffersThem) {
  ChildDocument* img = main.CreateImage();
  ChildDocument* sheet = main.CreateWorksheet();
  main.ShowChild(img->Handle());
  main.ShowChild(sheet->Handle());

  main.Click("mnuUndo");
  main.Click("mnuAddRows");
  EXPECT_EQ(sheets[0]->invoked, (std::vector<std::string>{"AddRows"}));

  main.SetActiveChild(img->Handle());
  main.Click("mnuClear");
  main.Click("mnuAddRows");  // not offered by an image: ignored
  EXPECT_EQ(images[0]->invoked, (std::vector<std::string>{"EditClear"}));

  images[0]->locked = true;
  main.Click("mnuClear");
  EXPECT_EQ(images[0]->invoked.size(), 1u) << "a locked document takes no commands";
}

TEST_F(MainFormTest, MenusFollowTheActiveDocument) {
  ChildDocument* img = main.CreateImage();
  main.ShowChild(img->Handle());
  main.PrepareMenu("mnuEdit");
  EXPECT_EQ(std::tuple(main.FindMenu("mnuUndo")->enabled, main.FindMenu("mnuUndo")->caption), std::tuple(false, "&Undo"));
  images[0]->undo = "Rotate";
  main.PrepareMenu("mnuEdit");
  EXPECT_EQ(std::tuple(main.FindMenu("mnuUndo")->enabled, main.FindMenu("mnuUndo")->caption),
            std::tuple(true, "&Undo Rotate"));
  EXPECT_TRUE(main.FindMenu("mnuClear")->enabled);
  EXPECT_FALSE(main.FindMenu("mnuCopy")->enabled) << "nobody offers it yet";

  main.PrepareMenu("mnuFile");
  EXPECT_FALSE(main.FindMenu("mnuOpenWorksheet")->enabled) << "not built";
  EXPECT_TRUE(main.FindMenu("mnuExit")->enabled);

  main.UpdateToolbarState();
  EXPECT_EQ(std::tuple(main.FindButton("Undo")->enabled, main.FindButton("Undo")->tip), std::tuple(true, "Undo: Rotate"));
}

TEST_F(MainFormTest, MenuEnabledNotesAndRestoresTheTopMenus) {
  main.FindMenu("mnuScan")->enabled = false;
  main.MenuEnabled(false);
  EXPECT_EQ(std::tuple(main.FindMenu("mnuFile")->enabled, main.FindToolbar("Toolbar_File")->enabled), std::tuple(false, false));
  EXPECT_TRUE(main.FindToolbar("Toolbar_Plot")->enabled) << "not closed by a run";
  main.MenuEnabled(false);  // twice must not lose the noted state
  main.MenuEnabled(true);
  // mnuScan comes back as it was before.
  EXPECT_EQ(std::tuple(main.FindMenu("mnuFile")->enabled, main.FindMenu("mnuScan")->enabled,
                       main.FindToolbar("Toolbar_File")->enabled, main.FindMenu("mnuCloseAllImages")->enabled),
            std::tuple(true, false, true, true));
}

TEST_F(MainFormTest, LastFilesMoveToTheFrontAndFallOut) {
  for (auto f : {"a.tif", "b.tif", "c.tif", "d.tif", "e.tif"}) main.UpdateLastFiles(f);
  EXPECT_EQ(main.LastFiles, (std::vector<std::string>{"e.tif", "d.tif", "c.tif", "b.tif"}));
  main.UpdateLastFiles("c.tif");
  EXPECT_EQ(main.LastFiles, (std::vector<std::string>{"c.tif", "e.tif", "d.tif", "b.tif"}));
  EXPECT_EQ(std::tuple(main.FindMenu("mnuLastFile", 0)->caption, main.GetLastFile(1), main.GetLastFile(7)),
            std::tuple("&1 c.tif", "e.tif", ""));
  main.RemoveLastFile(0);
  EXPECT_EQ(std::tuple(main.GetLastFile(0), main.FindMenu("mnuLastFile", 3)->visible, main.FindMenu("mnuFileDummy4")->visible),
            std::tuple("e.tif", false, true));
  main.UpdateLastFiles("");  // only re-captions
  EXPECT_EQ(main.GetLastFile(0), "e.tif");
}

TEST_F(MainFormTest, ZoomMenuCaptions) {
  for (auto [n, caption] : {std::pair{3, "&3:1"}, {10, "&10:1"}, {11, "11:1"}})
    EXPECT_EQ(MDIForm_Main::ZoomLargerCaption(n), caption);
  EXPECT_EQ(MDIForm_Main::ZoomSmallerCaption(16), "1:16");
  EXPECT_EQ(main.FindMenu("mnuViewSmaller")->children.size(), 14u);
}

TEST_F(MainFormTest, OpenDocumentByExtension) {
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(main.OpenDocument("/x/A.TIF"));
  EXPECT_EQ(host.messages.at(0).text, "Can't open /x/A.TIF at this time.");
  EXPECT_FALSE(main.OpenDocument("/x/notes.txt"));  // nothing happens
  EXPECT_EQ(host.messages.size(), 1u);

  // With an opener plugged in and the entry built, the image opens.
  main.SetCommand("mnuOpenImage", [](int) {});
  main.ImageOpenDo = [](ChildDocument&, const std::string& p) { return p != "bad."; };
  EXPECT_TRUE(main.OpenDocument("noextension."));
  EXPECT_TRUE(main.OpenDocument("/x/fiji.TIFF"));
  EXPECT_EQ(std::tuple(main.ImageCount, images.back()->visible), std::tuple(2L, true));
  EXPECT_FALSE(main.OpenDocument("bad."));
  // The opener tells its own failure; the failed image is gone again.
  EXPECT_EQ(std::tuple(host.messages.size(), main.ImageCount), std::tuple(1u, 2L));
}

TEST_F(MainFormTest, ExitAsksAndCancelKeepsEverything) {
  ChildDocument* img = main.CreateImage();
  main.ShowChild(img->Handle());
  int previewRestarts = 0;
  main.exitHooks.previewRunning = [] { return true; };
  main.exitHooks.restartPreview = [&] { ++previewRestarts; };

  host.Answer(MsgResult::Cancel);
  EXPECT_FALSE(main.QueryUnload());
  ASSERT_EQ(host.messages.size(), 1u);
  const auto& m = host.messages[0];
  EXPECT_EQ(std::tuple(m.text, m.title, m.buttons, m.icon),
            std::tuple("You are exiting Your SV4200 session.", "Exit", MsgButtons::OKCancel, MsgIcon::Exclamation));
  EXPECT_EQ(std::tuple(previewRestarts, main.ImageCount, main.Closed()), std::tuple(1, 1L, false));

  host.Answer(MsgResult::OK);
  EXPECT_TRUE(main.QueryUnload());
  EXPECT_EQ(std::tuple(main.ImageCount, main.Closed()), std::tuple(0L, true));
}

TEST_F(MainFormTest, ExitWithoutTheQuestionStillSaves) {
  G().ShowExitDialog = 0;
  G().IniFile = host.programFolder + "/SV4200_tester.ini";
  EXPECT_TRUE(main.QueryUnload());
  EXPECT_TRUE(host.messages.empty());
  EXPECT_NE(test::ReadFile(G().IniFile).find("ShowExitDialog"), std::string::npos);
}

}  // namespace
}  // namespace sv
