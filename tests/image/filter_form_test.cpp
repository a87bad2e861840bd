#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/filter_library.h"
#include "image/form_camera.h"
#include "image/form_filter.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

class FilterFormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    host.programFolder = host.root + "/program";
    ::mkdir(host.programFolder.c_str(), 0755);
    path = host.programFolder + "/SV4200.FLT";
    image.CreateImage(5, 5, 8, nullptr);
    image.ImagePtr()[12] = 90;
  }
  void TearDown() override { EditFilterDialog() = nullptr; }
  // The editor answers OK after `edit` changed its fields.
  void EditWith(std::function<void(Form_EditFilter&)> edit) {
    EditFilterDialog() = [edit](Form_EditFilter& form) {
      edit(form);
      return form.Command_OK();
    };
  }
  test::ScriptedHost host;
  Form_Camera image;
  std::string path;
};

TEST_F(FilterFormTest, OpensOnSampleBlurAndAppliesWithUndo) {
  Form_Filter form;
  ASSERT_TRUE(form.Open(&image));
  EXPECT_EQ(form.List_Filter, std::vector<std::string>{"Sample Blur"});
  EXPECT_EQ(form.ListIndex, 0);
  EXPECT_EQ(form.Path, path);
  EXPECT_EQ(test::ReadFile(path), "");  // nothing written until a change
  EXPECT_TRUE(form.Command_Apply());
  EXPECT_TRUE(form.Closed);
  EXPECT_EQ(image.UndoName(), "Filter");
  EXPECT_EQ(image.ImagePtr()[12], 10);
  image.Undo();
  EXPECT_EQ(image.ImagePtr()[12], 90);
  // Without an image the command does nothing.
  Form_Filter none;
  ASSERT_TRUE(none.Open(nullptr));
  EXPECT_FALSE(none.Command_Apply());
  EXPECT_FALSE(none.Closed);
}

TEST_F(FilterFormTest, NewEditAndDeleteRewriteTheFile) {
  Form_Filter form;
  ASSERT_TRUE(form.Open(&image));
  EditWith([](Form_EditFilter& f) {
    EXPECT_EQ(f.Text_name, "Untitled");
    EXPECT_EQ(f.Label_Dynamik, "256");
    f.Text_name = "Sharpen";
    f.Text_c[24] = "5";
    f.Text_c[17] = f.Text_c[23] = f.Text_c[25] = f.Text_c[31] = "-1";
  });
  ASSERT_TRUE(form.Command_New());
  EXPECT_EQ(form.List_Filter, (std::vector<std::string>{"Sample Blur", "Sharpen"}));
  EXPECT_EQ(form.ListIndex, 1);
  std::vector<FilterRecord> onDisk;
  ASSERT_EQ(ReadFilterLibraryFile(path, onDisk), 0);
  ASSERT_EQ(onDisk.size(), 2u);
  EXPECT_EQ(onDisk[1].Coefficients[24], 5);
  EXPECT_EQ(onDisk[1].Coefficients[17], -1);

  EditWith([](Form_EditFilter& f) { f.Text_Bias = "16"; });
  ASSERT_TRUE(form.Command_Edit());
  ASSERT_EQ(ReadFilterLibraryFile(path, onDisk), 0);
  EXPECT_EQ(onDisk[1].Bias, 16);

  // A cancelled editor changes nothing.
  EditFilterDialog() = [](Form_EditFilter&) { return false; };
  EXPECT_FALSE(form.Command_Edit());
  EXPECT_FALSE(form.Command_New());
  EXPECT_EQ(form.Count(), 2);

  form.ListIndex = 0;
  host.Answer(MsgResult::No);
  EXPECT_FALSE(form.Command_Delete());
  host.Answer(MsgResult::Yes);
  EXPECT_TRUE(form.Command_Delete());
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0].text, "Are you sure you want to delete this filter?");
  EXPECT_EQ(host.messages[0].title, "Filter: Sample Blur");
  EXPECT_EQ(host.messages[0].buttons, MsgButtons::YesNo);
  EXPECT_EQ(form.List_Filter, std::vector<std::string>{"Sharpen"});
  ASSERT_EQ(ReadFilterLibraryFile(path, onDisk), 0);
  ASSERT_EQ(onDisk.size(), 1u);
  EXPECT_EQ(FilterName(onDisk[0]), "Sharpen");

  // The next opening reads the saved library.
  Form_Filter again;
  ASSERT_TRUE(again.Open(&image));
  EXPECT_EQ(again.List_Filter, std::vector<std::string>{"Sharpen"});
}

TEST_F(FilterFormTest, ABrokenLibraryIsRefusedAndLeftAsItWas) {
  Form_Filter form;
  ASSERT_TRUE(form.Open(&image));
  const std::string broken = "JASC_FILT\r\n0160\r\n\0\0";
  test::WriteFile(path, broken);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.Open(&image));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Unknown fileformat");
  EXPECT_EQ(host.messages[0].title, "Filter");
  EXPECT_EQ(host.messages[0].icon, MsgIcon::Critical);
  EXPECT_EQ(form.List_Filter, std::vector<std::string>{"Sample Blur"});
  EXPECT_EQ(form.Count(), 1);
  EXPECT_EQ(test::ReadFile(path), broken);
}

TEST(EditFilter, RefusesAnEmptyKernelAndAZeroFactor) {
  test::ScriptedHost host;
  Form_EditFilter edit;
  edit.Load(EmptyFilter());
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(edit.Command_OK());
  edit.Text_c[0] = "1";
  edit.Text_factor = "0";
  EXPECT_FALSE(edit.Command_OK());
  edit.Text_factor = " 2,6 ";  // decimal comma, rounded
  edit.Text_name = "";
  EXPECT_TRUE(edit.Command_OK());
  ASSERT_EQ(host.messages.size(), 2u);
  EXPECT_EQ(host.messages[0].text, "Filter must have one or more non-zero values");
  EXPECT_EQ(host.messages[1].text, "Division factor cannot be 0");
  for (const auto& m : host.messages) {
    EXPECT_EQ(m.title, "Filter");
    EXPECT_EQ(m.icon, MsgIcon::Critical);
  }
  EXPECT_EQ(FilterName(edit.Result), "Untitled");
  EXPECT_EQ(edit.Result.Factor, 3);
  EXPECT_EQ(edit.Result.Coefficients[0], 1);
}

TEST(EditFilter, NamesCutAt24BiasInPercentReservedKept) {
  test::ScriptedHost host;
  FilterRecord f = SampleBlur();
  f.Reserved = 77;
  f.Bias = 64;
  Form_EditFilter edit;
  edit.Load(f, 4096);
  EXPECT_EQ(edit.Label_Dynamik, "4096");
  EXPECT_EQ(edit.Label_biasRel, "1.56 %");
  edit.Text_Bias = "-2048";
  edit.Text_Bias_Change();
  EXPECT_EQ(edit.Label_biasRel, "-50 %");
  edit.Text_name = "A name that is much longer than allowed";
  ASSERT_TRUE(edit.Command_OK());
  EXPECT_EQ(FilterName(edit.Result), "A name that is much long");
  EXPECT_EQ(edit.Result.Reserved, 77);
  EXPECT_EQ(edit.Result.Bias, -2048);
  EXPECT_EQ(Form_EditFilter::ParseInteger("x12"), 0);
  EXPECT_EQ(Form_EditFilter::ParseInteger("2.5"), 2);
  EXPECT_EQ(Form_EditFilter::ParseInteger("-3.5"), -4);
  EXPECT_EQ(Form_EditFilter::ParseInteger("1e12"), 2147483647);
}

TEST(FilterCommand, RunsOnTheActiveImageThroughTheDialog) {
  test::ScriptedHost host;
  host.programFolder = host.root;
  ResetGlobals();
  MDIForm_Main main;
  SetMainForm(&main);
  RegisterImageDocuments(main);
  RegisterFilterCommand(main);
  main.Load();
  Form_Camera* image = NewImage(main);
  image->CreateImage(3, 3, 8, nullptr);
  main.ShowChild(image->Handle());
  int shown = 0;
  FilterDialog() = [&](Form_Filter& form) {
    ++shown;
    EXPECT_EQ(form.ImageForm, image);
    return form.Command_Apply();
  };
  main.Click("mnuFilter");
  EXPECT_EQ(shown, 1);
  EXPECT_EQ(image->UndoName(), "Filter");
  FilterDialog() = nullptr;
  SetMainForm(nullptr);
}

}  // namespace
}  // namespace sv
