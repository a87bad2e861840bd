// The plot tools on the menus and the plot toolbar: each entry reaches the
// document in front with its own tool, and the active tool's button is down.
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/globals.h"
#include "core/mdi_main.h"
#include "support/scripted_host.h"

namespace sv {
namespace {

// A plot as the main window sees it: it offers the tool operations and
// reports its tool's button.
struct FakePlot : ChildDocument {
  std::set<std::string> offers{"SetTool1", "SetTool2",          "SetTool3",   "SetTool4",
                               "SetTool5", "MathPeakIntegrate", "PrintSetup", "FileExport"};
  std::vector<std::string> invoked;
  std::string key = "Cursor";
  bool visible = false;
  DocKind Kind() const override { return DocKind::Plot; }
  bool Invoke(const std::string& op) override {
    if (!offers.count(op)) return false;
    invoked.push_back(op);
    static const char* keys[] = {"", "Cursor", "Zoom", "ScreenReader", "DataReader", "Marker"};
    if (op.rfind("SetTool", 0) == 0) key = keys[op[7] - '0'];
    if (op == "MathPeakIntegrate") key = "PeakIntegrate";
    return true;
  }
  bool Offers(const std::string& op) const override { return offers.count(op) > 0; }
  std::string Caption() const override { return "Plot1"; }
  bool Visible() const override { return visible; }
  void SetVisible(bool v) override { visible = v; }
  std::string PressedToolKey() const override { return key; }
};

struct FakeSheet : ChildDocument {
  std::vector<std::string> invoked;
  DocKind Kind() const override { return DocKind::Worksheet; }
  bool Invoke(const std::string& op) override {
    if (op != "MathPeakIntegrate") return false;
    invoked.push_back(op);
    return true;
  }
  bool Offers(const std::string& op) const override { return op == "MathPeakIntegrate"; }
  std::string Caption() const override { return "Data1.sht"; }
};

class ToolRoutingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetGlobals();
    main.SetWorksheetFactory([this](MDIForm_Main&) {
      auto d = std::make_unique<FakeSheet>();
      sheet = d.get();
      return d;
    });
    main.Load();
    auto p = std::make_unique<FakePlot>();
    plot = p.get();
    main.AddDocument(std::move(p));
  }
  std::vector<std::string> Pressed() {
    std::vector<std::string> keys;
    for (const ToolbarButton& b : main.FindToolbar("Toolbar_Plot")->buttons)
      if (b.checked) keys.push_back(b.key);
    return keys;
  }
  test::ScriptedHost host;
  MDIForm_Main main;
  FakePlot* plot = nullptr;
  FakeSheet* sheet = nullptr;
};

TEST_F(ToolRoutingTest, EachToolEntryNamesItsTool) {
  main.ShowChild(plot->Handle());
  for (const char* entry : {"mnuToolZoom", "mnuToolScreenReader", "mnuToolDataReader",
                            "mnuToolMarker", "mnuToolCursor", "mnuToolsCancel",
                            "mnuPeakIntegrate", "mnuPrint", "mnuExport"})
    main.Click(entry);
  EXPECT_EQ(plot->invoked,
            (std::vector<std::string>{"SetTool2", "SetTool3", "SetTool4", "SetTool5", "SetTool1",
                                      "SetTool1", "MathPeakIntegrate", "PrintSetup",
                                      "FileExport"}));
  // The toolbar keys go the same way.
  plot->invoked.clear();
  for (const char* key : {"Zoom", "PeakIntegrate", "Cursor", "Print"}) main.ToolbarClick(key);
  EXPECT_EQ(plot->invoked, (std::vector<std::string>{"SetTool2", "MathPeakIntegrate",
                                                     "SetTool1", "PrintSetup"}));
}

TEST_F(ToolRoutingTest, PlotToolbarHasPrintBeforeGrowthRate) {
  std::vector<std::string> keys;
  for (const ToolbarButton& b : main.FindToolbar("Toolbar_Plot")->buttons) keys.push_back(b.key);
  EXPECT_EQ(keys, (std::vector<std::string>{"Cursor", "Zoom", "ScreenReader", "DataReader",
                                            "Marker", "PeakIntegrate", "Print", "Growthrate"}));
}

TEST_F(ToolRoutingTest, ButtonsFollowThePlotInFrontAndItsTool) {
  ChildDocument* data = main.CreateWorksheet();
  main.ShowChild(data->Handle());
  for (const ToolbarButton& b : main.FindToolbar("Toolbar_Plot")->buttons)
    EXPECT_EQ(std::tuple(b.key, b.checked), std::tuple(b.key, false));
  EXPECT_FALSE(main.FindButton("Zoom")->enabled) << "no plot in front";
  // On a sheet the peak entry is the sheet's own command.
  main.Click("mnuPeakIntegrate");
  EXPECT_EQ(sheet->invoked, (std::vector<std::string>{"MathPeakIntegrate"}));

  main.ShowChild(plot->Handle());
  for (const ToolbarButton& b : main.FindToolbar("Toolbar_Plot")->buttons)
    EXPECT_EQ(std::tuple(b.key, b.enabled), std::tuple(b.key, b.key != "Growthrate"));
  EXPECT_EQ(Pressed(), (std::vector<std::string>{"Cursor"}));

  main.ToolbarClick("DataReader");
  EXPECT_EQ(Pressed(), (std::vector<std::string>{"DataReader"}));
  main.PrepareMenu("mnuTools");
  EXPECT_TRUE(main.FindMenu("mnuToolDataReader")->checked);
  EXPECT_FALSE(main.FindMenu("mnuToolCursor")->checked);

  // A tool changed by the plot itself shows once the main window is told.
  plot->key = "Marker";
  main.UpdateToolbarState();
  EXPECT_EQ(Pressed(), (std::vector<std::string>{"Marker"}));

  main.SetActiveChild(data->Handle());
  EXPECT_TRUE(Pressed().empty());
  EXPECT_FALSE(main.FindButton("Marker")->enabled);
}

}  // namespace
}  // namespace sv
