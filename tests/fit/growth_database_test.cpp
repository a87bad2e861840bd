#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fit/material_database.h"
#include "support/scripted_host.h"

namespace sv::test {
namespace {

namespace fs = std::filesystem;

struct GrowthDatabase : ::testing::Test {
  void SetUp() override {
    dir = fs::temp_directory_path() / ("sv_growth_db_" + std::to_string(::getpid()));
    fs::create_directories(dir / "config");
    fs::create_directories(dir / "program");
    host.configFolder = (dir / "config").string();
    host.programFolder = (dir / "program").string();
  }
  void TearDown() override { fs::remove_all(dir); }
  static void Write(const fs::path& p, const std::string& text) {
    std::ofstream(p, std::ios::binary) << text;
  }
  ScriptedHost host;
  fs::path dir;
};

TEST_F(GrowthDatabase, RoundTripWithoutUserEntry) {
  MaterialDatabase db;
  db.Entries.push_back({"Si(111)", 3.135f});
  db.Entries.push_back({"GaAs(001)", 2.8265f});
  db.Entries.push_back({"\"quoted\"", 1.5f});  // the reader takes one pair of quotes off
  db.Index = 2;
  const std::string text = DatabaseText(db);
  EXPECT_EQ(text.substr(0, 81),
            "[General]\r\nID=MaterialDatabase\r\nMaterialCount=3\r\nMaterialIndex=2\r\n\r\n"
            "[Material(1)]");
  EXPECT_EQ(text.find("(User)"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 7), "{EOF]\r\n");
  const auto back = ParseDatabase(text);
  ASSERT_TRUE(back);
  ASSERT_EQ(back->Entries.size(), 4u);
  EXPECT_EQ(back->Entries[3].Name, "\"quoted\"");
  EXPECT_EQ(back->Entries[0].Name, "(User)");
  EXPECT_EQ(back->Entries[2].Name, "GaAs(001)");
  EXPECT_EQ(back->Entries[2].Thickness, 2.8265f);
  EXPECT_EQ(back->Index, 2);
}

TEST_F(GrowthDatabase, EmptyNamesSkippedBadIndexAndCountHeldToFile) {
  const auto db = ParseDatabase(
      "[General]\nID=MaterialDatabase\nMaterialCount=999999999\nMaterialIndex=7\n"
      "[Material(1)]\nName=\nThickness=1\n[Material(2)]\nName=Ag\nThickness=x\n");
  ASSERT_TRUE(db);
  ASSERT_EQ(db->Entries.size(), 2u);
  EXPECT_EQ(db->Entries[1].Name, "Ag");
  EXPECT_EQ(db->Index, 0);
}

TEST_F(GrowthDatabase, ShippedListReads) {
  const auto db = ReadDatabase((fs::path(__FILE__).parent_path() / "../../src/fit/Material.dtb").string());
  ASSERT_TRUE(db);
  EXPECT_GT(db->Entries.size(), 5u);
  EXPECT_EQ(db->Entries[1].Name, "Si(111)");
}

TEST_F(GrowthDatabase, WrongIdRefusedWithMessageAndFallbacks) {
  Write(dir / "config" / "Material.dtb", "[General]\r\nID=Something\r\n");
  MaterialDatabase shipped;
  shipped.Entries.push_back({"Cu(001)", 1.807f});
  ASSERT_TRUE(SaveDatabase((dir / "program" / "Material.dtb").string(), shipped));
  host.Answer(MsgResult::OK);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(ReadDatabase(UserDatabasePath()));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Not a valid Material Database File.");
  EXPECT_EQ(host.messages[0].title, "Read Database");
  host.messages.clear();
  // The refused user file falls back to the list beside the program; saving
  // goes to the config folder only.
  MaterialDatabase db = LoadMaterials();
  ASSERT_EQ(db.Entries.size(), 2u);
  EXPECT_EQ(host.messages.size(), 1u);
  db.Entries.push_back({"Au(111)", 2.355f});
  ASSERT_TRUE(SaveMaterials(db));
  EXPECT_EQ(LoadMaterials().Entries.size(), 3u);
  EXPECT_EQ(ReadDatabase((dir / "program" / "Material.dtb").string())->Entries.size(), 2u);
  // No file anywhere: just "(User)", without a message.
  fs::remove_all(dir / "config");
  fs::remove_all(dir / "program");
  host.messages.clear();
  EXPECT_EQ(LoadMaterials().Entries.size(), 1u);
  EXPECT_TRUE(host.messages.empty());
}

}  // namespace
}  // namespace sv::test
