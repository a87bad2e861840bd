// The svbatch tests' common ground: a fresh folder for HOME and the config
// folder, the environment put back afterwards, and a way to run a command.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cli/batch.h"
#include "core/globals.h"
#include "core/settings.h"

namespace sv::cli {

class BatchFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    namespace fs = std::filesystem;
    std::string base = fs::temp_directory_path().string() + "/sv4200-test-cliXXXXXX";
    std::vector<char> buf(base.begin(), base.end());
    buf.push_back('\0');
    ASSERT_NE(mkdtemp(buf.data()), nullptr);
    root = buf.data();
    for (const char* name : {"HOME", "XDG_CONFIG_HOME"}) {
      const char* v = std::getenv(name);
      saved_.emplace_back(name, v ? std::optional<std::string>(v) : std::nullopt);
    }
    setenv("HOME", (root + "/home").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/config").c_str(), 1);
    fs::create_directories(root + "/home");
  }
  void TearDown() override {
    for (auto& [name, value] : saved_) {
      if (value) setenv(name.c_str(), value->c_str(), 1);
      else unsetenv(name.c_str());
    }
    ClearSettingsSections();
    ResetGlobals();
    std::error_code ec;
    std::filesystem::remove_all(root, ec);
  }
  int Run(std::vector<std::string> args) {
    out.str("");
    err.str("");
    return RunBatch(args, out, err);
  }
  std::string root;
  std::ostringstream out, err;

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

}  // namespace sv::cli
