#include "analysis/image_convert.h"

#include <gtest/gtest.h>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "support/main_window_test.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

class ImageConvertTest : public test::MainWindowTest {
 protected:
  void SetUp() override {
    MainWindowTest::SetUp();
    RegisterWorksheetDocuments(main);
    RegisterImageConvert();
    main.Load();
  }
};

// One row an image line, one column a pixel column, named by number; the
// menu entry makes the sheet too.
TEST_F(ImageConvertTest, LinesBecomeRowsOfAMatrixSheet) {
  Form_Camera* image = NewImage(main);
  const uint16_t px[] = {1, 2, 3, 40, 50, 65535};
  image->CreateImage(3, 2, 16, px);
  main.ShowChild(image->Handle());
  Form_Worksheet* sheet = ConvertImageToWorksheet(*image, main);
  ASSERT_NE(sheet, nullptr);
  EXPECT_TRUE(sheet->IsMatrix());
  EXPECT_EQ(sheet->Cols(), 4);
  EXPECT_EQ(sheet->Rows(), 3);
  EXPECT_EQ(sheet->Record(3).Name, "3");
  EXPECT_EQ(sheet->CellAt(1, 2).Number(), 2.0);
  EXPECT_EQ(sheet->CellAt(2, 3).Number(), 65535.0);
  EXPECT_EQ(main.ActiveChild(), sheet);
  EXPECT_EQ(image->UndoName(), "");

  main.ShowChild(image->Handle());
  main.PrepareMenu("mnuImage");
  EXPECT_TRUE(main.FindMenu("mnuConvert")->enabled);
  main.Click("mnuConvert");
  EXPECT_NE(dynamic_cast<Form_Worksheet*>(main.ActiveChild()), sheet);
  EXPECT_NE(dynamic_cast<Form_Worksheet*>(main.ActiveChild()), nullptr);
}

TEST_F(ImageConvertTest, ColourBecomesGreyAndAHugeImageIsRefused) {
  Form_Camera* image = NewImage(main);
  image->SetHasColors(true);
  const uint16_t px[] = {100, 100, 100, 1000, 0, 0};
  image->CreateImage(2, 1, 16, px);
  Form_Worksheet* sheet = ConvertImageToWorksheet(*image, main);
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->CellAt(1, 1).Number(), 100.0);
  EXPECT_EQ(sheet->CellAt(1, 2).Number(), 299.0);

  Form_Camera* tall = NewImage(main);
  tall->CreateImage(1, 70000, 8, nullptr);
  const size_t documents = main.Documents().size();
  host.Answer(MsgResult::OK);
  EXPECT_EQ(ConvertImageToWorksheet(*tall, main), nullptr);
  EXPECT_EQ(main.Documents().size(), documents);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].title, "Convert to Worksheet");
}

}  // namespace
}  // namespace sv
