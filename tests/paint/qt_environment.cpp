// The drawing tests need Qt's font system, which lives in a QGuiApplication:
// one for the whole run, on the offscreen platform whatever the environment
// says.
#include <gtest/gtest.h>

#include <QGuiApplication>

#include <memory>

namespace {

class QtEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    app_ = std::make_unique<QGuiApplication>(argc_, argv_);
  }
  void TearDown() override { app_.reset(); }

 private:
  int argc_ = 1;
  char name_[11] = "test_paint";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QGuiApplication> app_;
};

[[maybe_unused]] ::testing::Environment* const environment =
    ::testing::AddGlobalTestEnvironment(new QtEnvironment);

}  // namespace
