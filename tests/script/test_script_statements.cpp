// Each statement's checks, messages and effect on documents made here, and
// how a script names its documents.
#include <gtest/gtest.h>

#include <filesystem>

#include "analysis/form_particle.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "image/image_files.h"
#include "script/form_script.h"
#include "script/script_runtime.h"
#include "script/script_statements.h"
#include "support/main_window_test.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

class ScriptStatementsTest : public test::MainWindowTest {
 protected:
  void SetUp() override {
    MainWindowTest::SetUp();
    RegisterWorksheetDocuments(main);
    host.lenient = true;
    form.Load();
  }
  void TearDown() override {
    ParticleForm().Bind(nullptr);
    MainWindowTest::TearDown();
  }

  // A 32 x 32 grey image, dark, with bright squares of 8 x 8 at (4, 4) and
  // (20, 20), in front.
  Form_Camera* Image() {
    auto* image = dynamic_cast<Form_Camera*>(main.CreateImage());
    std::vector<uint16_t> pixels(32 * 32, 0);
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 8; ++x) {
        pixels[(4 + y) * 32 + 4 + x] = 200;
        pixels[(20 + y) * 32 + 20 + x] = 200;
      }
    image->CreateImage(32, 32, 8, pixels.data());
    main.ShowChild(image->Handle());
    return image;
  }

  int Run(const std::string& text) {
    host.messages.clear();
    form.SetEditorText(text);
    form.ProgramCounter = -1;
    int result = -1;
    run.RunScript(result);
    return result;
  }
  // The run-time message shown, "" when none.
  std::string Message() const {
    if (host.messages.empty()) return "";
    const std::string prefix = "Run time error:\r\n\r\n";
    const std::string& t = host.messages.back().text;
    return t.rfind(prefix, 0) == 0 ? t.substr(prefix.size()) : "other: " + t;
  }

  Form_Script form;
  ScriptRunTime run{form};
};

TEST_F(ScriptStatementsTest, ImagesAreFoundByCaptionTitleOrFileName) {
  Form_Camera* a = Image();
  Form_Camera* b = Image();
  EXPECT_EQ(b->Caption(), "Image2");
  EXPECT_TRUE(ScriptNameMatches(*b, "image2"));
  EXPECT_TRUE(ScriptNameMatches(*b, "IMAGE2"));
  b->SetChanged(true);
  EXPECT_EQ(b->Caption(), "*Image2");
  EXPECT_TRUE(ScriptNameMatches(*b, "*Image2"));
  EXPECT_TRUE(ScriptNameMatches(*b, "Image2"));
  EXPECT_FALSE(ScriptNameMatches(*b, "Image"));
  a->Filename = "/data/run 7/Spots.TIF";
  EXPECT_TRUE(ScriptNameMatches(*a, "spots.tif"));
  EXPECT_TRUE(ScriptNameMatches(*a, "/data/run 7/Spots.TIF"));
  EXPECT_FALSE(ScriptNameMatches(*a, "run 7/Spots.TIF"));
  EXPECT_EQ(FindScriptDocument(main, "SPOTS.tif", true), a);
  EXPECT_EQ(FindScriptDocument(main, "Image2", false), nullptr);
  // The hidden background image is never found.
  G().BackgroundImageHandle = a->Handle();
  EXPECT_EQ(FindScriptDocument(main, "Image1", true), nullptr);
  G().BackgroundImageHandle = 0;
}

TEST_F(ScriptStatementsTest, SheetsAreFoundWithOrWithoutTheChangedMark) {
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.CreateWorksheet());
  ASSERT_TRUE(sheet);
  sheet->SetChanged();
  ASSERT_EQ(sheet->Caption(), "Data1.sht *");
  EXPECT_EQ(FindScriptDocument(main, "data1.SHT", false), sheet);
  EXPECT_EQ(FindScriptDocument(main, "Data1.sht *", false), sheet);
  EXPECT_EQ(FindScriptDocument(main, "Data1", false), nullptr);
}

TEST_F(ScriptStatementsTest, EmptyNameActsOnTheDocumentInFront) {
  Form_Camera* a = Image();
  Form_Camera* b = Image();
  main.ShowChild(a->Handle());
  EXPECT_EQ(Run("NegativeImage(\"\")"), 1);
  EXPECT_EQ(a->ImagePtr()[0], 255);
  EXPECT_EQ(b->ImagePtr()[0], 0);
  EXPECT_EQ(Run("Edge(\"\")"), 1);
  EXPECT_EQ(a->UndoName(), "Edge");
  // A sheet in front is looked up among the images, by its caption.
  main.CreateWorksheet();
  main.ShowChild(main.SheetList.back());
  EXPECT_EQ(Run("Edge(\"\")"), 0);
  EXPECT_EQ(Message(), "Image \"Data1.sht *\" not found");
  EXPECT_EQ(Run("WorksheetSort(\"nosuch\", 0, 0)"), 0);
  EXPECT_EQ(Message(), "Worksheet \"nosuch\" not found");
}

TEST_F(ScriptStatementsTest, OpenImageOpensImageFilesOnly) {
  Form_Camera* source = Image();
  const std::string folder = host.root + "/in";
  std::filesystem::create_directories(folder);
  ASSERT_TRUE(ImageSaveDo(*source, folder + "/spots.tif", 1));
  source->Filename.clear();  // else the first image made answers to the name
  run.BaseFolder = folder;
  const long before = main.ImageCount;
  EXPECT_EQ(Run("OpenImage(\"spots.tif\")\r\nNegativeImage(\"SPOTS.TIF\")"), 1);
  EXPECT_EQ(main.ImageCount, before + 1);
  auto* opened = dynamic_cast<Form_Camera*>(main.ActiveChild());
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->Filename, folder + "/spots.tif");
  EXPECT_EQ(opened->ImagePtr()[0], 255);

  EXPECT_EQ(Run("OpenImage(\"missing.tif\")"), 0);
  EXPECT_EQ(Message(), "Error loading \"missing.tif\"");
  // A script, a film, a sheet or an unknown kind is not opened here, even
  // when the file is there.
  for (const char* name : {"job.scr", "film.vid", "data.sht", "notes.txt", "noext"}) {
    test::WriteFile(folder + "/" + name, "Stop\r\n");
    EXPECT_EQ(Run(std::string("OpenImage(\"") + name + "\")"), 0) << name;
    EXPECT_EQ(Message(), std::string("Error loading \"") + name + "\"");
  }
  EXPECT_EQ(main.ImageCount, before + 1);
  EXPECT_EQ(form.Text_Script, "OpenImage(\"noext\")");
}

TEST_F(ScriptStatementsTest, InTheWorkbenchNamesResolveAgainstTheScriptsFolder) {
  Form_Camera* source = Image();
  const std::string folder = host.root + "/jobs";
  std::filesystem::create_directories(folder);
  ASSERT_TRUE(ImageSaveDo(*source, folder + "/spots.tif", 1));
  source->Filename.clear();
  run.BaseOnScriptFile = true;
  form.FileName = folder + "/job.scr";
  EXPECT_EQ(Run("OpenImage(\"spots.tif\")"), 1);
  EXPECT_EQ(main.ImageCount, 2);
  // A script without a file: the program's current folder, which has none.
  form.FileName.clear();
  EXPECT_EQ(Run("OpenImage(\"spots.tif\")"), 0);
  EXPECT_EQ(Message(), "Error loading \"spots.tif\"");
}

TEST_F(ScriptStatementsTest, ResolvePath) {
  EXPECT_EQ(ScriptResolvePath("", "a.tif"), "a.tif");
  EXPECT_EQ(ScriptResolvePath("/x/y", "a.tif"), "/x/y/a.tif");
  EXPECT_EQ(ScriptResolvePath("/x/y", "/abs/a.tif"), "/abs/a.tif");
  EXPECT_TRUE(ScriptImageFile("a.TIFF"));
  EXPECT_TRUE(ScriptImageFile("a.i16"));
  EXPECT_FALSE(ScriptImageFile("dir.tif/a"));
  EXPECT_FALSE(ScriptImageFile("a.dat"));
}

TEST_F(ScriptStatementsTest, ResizeChecksAndResizes) {
  Form_Camera* image = Image();
  EXPECT_EQ(Run("ResizeImage(\"Image1\",0,0)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("ResizeImage(\"image1\",0,5)"), 0);
  EXPECT_EQ(Message(), "Can't resize image \"image1\"");
  EXPECT_EQ(Run("ResizeImage(\"Image1\",-4,5)"), 0);
  EXPECT_EQ(Message(), "Can't resize image \"Image1\"");
  // Numbers round to the nearest, ties to even; beyond 32 bits they do not
  // compile.
  EXPECT_EQ(Run("ResizeImage(\"Image1\",16.5,7.5)"), 1);
  EXPECT_EQ(image->ImageWidth(), 16);
  EXPECT_EQ(image->ImageHeight(), 8);
  EXPECT_EQ(Run("ResizeImage(\"Image1\",4294967296,8)"), 0);
  EXPECT_EQ(Message(), "other: Compile error:\r\n\r\nArgument type mismatch");
  EXPECT_EQ(image->ImageWidth(), 16);
}

TEST_F(ScriptStatementsTest, BinarizeChecksTheLowerThresholdAndIgnoresTheUpper) {
  Form_Camera* image = Image();
  EXPECT_EQ(Run("BinarizeImage(\"Image1\",-1,100)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("BinarizeImage(\"Image1\",256,100)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("BinarizeImage(\"Image1\",100,150)"), 1);
  const std::vector<uint16_t> first(image->ImagePtr(), image->ImagePtr() + 32 * 32);
  image->Undo();
  EXPECT_EQ(Run("BinarizeImage(\"Image1\",100,-7)"), 1);
  const std::vector<uint16_t> second(image->ImagePtr(), image->ImagePtr() + 32 * 32);
  EXPECT_EQ(first, second);
  EXPECT_EQ(first[4 * 32 + 4], 255);
  EXPECT_EQ(first[0], 0);
  EXPECT_EQ(main.ImageCount, 1);  // in place
}

TEST_F(ScriptStatementsTest, MorphologyNeedsFourOrEight) {
  Form_Camera* image = Image();
  EXPECT_EQ(Run("ParticleErosion(\"Image1\",6)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("ParticleDilatation(\"Image1\",0)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("ParticleErosion(\"Image1\",4)"), 1);
  EXPECT_EQ(image->UndoName(), "Erosion");
  // The square lost its rim.
  EXPECT_EQ(image->ImagePtr()[4 * 32 + 4], 0);
  EXPECT_EQ(image->ImagePtr()[5 * 32 + 5], 200);
  EXPECT_EQ(Run("ParticleDilatation(\"Image1\",8)"), 1);
  EXPECT_EQ(image->ImagePtr()[4 * 32 + 4], 200);
}

TEST_F(ScriptStatementsTest, ParticlesDetectFilterAndSheetThenSort) {
  Image();
  EXPECT_EQ(Run("ParticleDetect(\"Image1\")\r\nParticleMinArea(10)\r\nParticleWorksheet"), 1);
  const long count = ParticleForm().Count();
  ASSERT_GE(count, 2);
  for (const Class_Particle& p : ParticleForm().Particles) EXPECT_GE(p.Area(), 10.0);
  ASSERT_EQ(main.SheetCount, 1);
  auto* sheet = dynamic_cast<Form_Worksheet*>(main.Child(main.SheetList.back()));
  ASSERT_TRUE(sheet);
  ASSERT_EQ(sheet->Rows(), count + 1);
  // A script cannot write the changed mark: the blank would end the name.
  const std::string name = sheet->Filename();
  EXPECT_EQ(sheet->Caption(), name + " *");

  EXPECT_EQ(Run("WorksheetSort(\"" + name + "\",1,2)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("WorksheetSort(\"" + name + "\"," + std::to_string(sheet->Cols()) + ",0)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");
  EXPECT_EQ(Run("WorksheetSort(\"" + name + "\",-1,0)"), 0);
  EXPECT_EQ(Message(), "Invalid parameter");

  // No selection: every row by the first data column, descending (the first
  // number is the direction), whole rows; no selection is left behind.
  sheet->SetSelection(-1, -1, -1, -1);
  sheet->Col(0);
  std::vector<std::string> xc(size_t(count) + 1);
  for (long r = 1; r <= count; ++r) xc[size_t(r)] = sheet->CellAt(r, 3).Text();
  EXPECT_EQ(Run("WorksheetSort(\"" + name + "\",1,0)"), 1);
  for (long r = 1; r <= count; ++r) {
    EXPECT_EQ(sheet->CellAt(r, 1).Text(), std::to_string(count + 1 - r));
    EXPECT_EQ(sheet->CellAt(r, 3).Text(), xc[size_t(count + 1 - r)]);
  }
  EXPECT_EQ(sheet->SelStartCol(), -1);
  EXPECT_EQ(Run("WorksheetSort(\"\",0,0)"), 1);  // the sheet is in front
  EXPECT_EQ(sheet->CellAt(1, 1).Text(), "1");
}

TEST_F(ScriptStatementsTest, DetectOnAnImageWithoutPixelsFails) {
  auto* empty = dynamic_cast<Form_Camera*>(main.CreateImage());
  main.ShowChild(empty->Handle());
  EXPECT_EQ(Run("ParticleDetect(\"image1\")"), 0);
  EXPECT_EQ(Message(), "Can't detect particles in \"Image1\"");
  EXPECT_EQ(Run("NegativeImage(\"Image1\")"), 0);
  EXPECT_EQ(Message(), "Can't negative image \"Image1\"");
  EXPECT_EQ(Run("ResizeImage(\"Image1\",5,5)"), 0);
  EXPECT_EQ(Message(), "Can't resize image \"Image1\"");
}

TEST_F(ScriptStatementsTest, ParticleDrawNeedsTheParticlesOfThatImage) {
  Form_Camera* a = Image();
  Image();
  EXPECT_EQ(run.Script_PARTICLEDRAW("Image1"), 0);
  EXPECT_EQ(Message(), "Can't draw particles in \"Image1\"");
  ASSERT_TRUE(ParticleForm().DetectParticles(*a));
  EXPECT_EQ(run.Script_PARTICLEDRAW("Image2"), 0);
  EXPECT_EQ(run.Script_PARTICLEDRAW("Image1"), 1);
  EXPECT_GT(a->Overlay.ItemCount(), 0);
}

TEST_F(ScriptStatementsTest, CloseStatements) {
  Image();
  Image();
  main.CreateWorksheet();
  EXPECT_EQ(Run("CloseImage(\"Image1\")"), 1);
  EXPECT_EQ(main.ImageCount, 1);
  EXPECT_EQ(Run("CloseImage(\"Image1\")"), 0);
  EXPECT_EQ(Message(), "Image \"Image1\" not found");
  // The new sheet's save question: No, so nothing is written.
  host.Answer(MsgResult::No);
  EXPECT_EQ(Run("CloseImages\r\nCloseWorksheets"), 1);
  EXPECT_EQ(main.ImageCount, 0);
  EXPECT_EQ(main.SheetCount, 0);
}

TEST_F(ScriptStatementsTest, CaptureWithoutGrabber) {
  EXPECT_EQ(Run("Capture"), 0);
  EXPECT_EQ(Message(), "No video capture card installed");
}

}  // namespace
}  // namespace sv
