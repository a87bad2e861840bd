#include "scripted_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace sv::test {

namespace {
std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}
std::string MakeRoot() {
  const char* tmp = std::getenv("TMPDIR");
  std::string base = (tmp && *tmp) ? tmp : "/tmp";
  std::string templ = base + "/sv4200-test-XXXXXX";
  std::vector<char> buf(templ.begin(), templ.end());
  buf.push_back('\0');
  char* made = mkdtemp(buf.data());
  if (!made) {
    ADD_FAILURE() << "cannot make a test folder in " << base;
    return base;
  }
  return made;
}
}  // namespace

std::string MemoryStore::GetSetting(const std::string& app, const std::string& section,
                                    const std::string& key, const std::string& def) {
  auto it = values.find(Lower(app + "|" + section + "|" + key));
  return it == values.end() ? def : it->second;
}

void MemoryStore::SaveSetting(const std::string& app, const std::string& section,
                              const std::string& key, const std::string& value) {
  values[Lower(app + "|" + section + "|" + key)] = value;
}

ScriptedHost::ScriptedHost() {
  root = MakeRoot();
  tempPath = root + "/tmp/";
  programFolder = root + "/bin";
  configFolder = root + "/config";
  homeFolder = root + "/home";
  for (auto* f : {&tempPath, &programFolder, &configFolder, &homeFolder})
    std::filesystem::create_directories(*f);
  SetHost(this);
}

ScriptedHost::~ScriptedHost() {
  SetHost(nullptr);
  std::error_code ec;
  if (root.find("sv4200-test-") != std::string::npos) std::filesystem::remove_all(root, ec);
}

MsgResult ScriptedHost::MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                               const std::string& title) {
  MsgResult r = MsgResult::OK;
  if (!answers.empty()) {
    r = answers.front();
    answers.pop_front();
  } else if (!lenient) {
    ADD_FAILURE() << "unexpected message box \"" << text << "\" titled \"" << title << "\"";
    r = (buttons == MsgButtons::YesNo || buttons == MsgButtons::YesNoCancel) ? MsgResult::No
                                                                             : MsgResult::Cancel;
    if (buttons == MsgButtons::OK) r = MsgResult::OK;
  } else {
    switch (buttons) {
      case MsgButtons::OK:
      case MsgButtons::OKCancel: r = MsgResult::OK; break;
      case MsgButtons::AbortRetryIgnore: r = MsgResult::Abort; break;
      case MsgButtons::YesNoCancel:
      case MsgButtons::YesNo: r = MsgResult::Yes; break;
      case MsgButtons::RetryCancel: r = MsgResult::Retry; break;
    }
  }
  messages.push_back({text, title, icon, buttons, r});
  return r;
}

std::optional<std::string> ScriptedHost::InputBox(const std::string& prompt, const std::string&,
                                                  const std::string& def) {
  inputPrompts.push_back(prompt);
  if (inputs.empty()) {
    if (!lenient) ADD_FAILURE() << "unexpected input box \"" << prompt << "\"";
    return def;
  }
  auto r = inputs.front();
  inputs.pop_front();
  return r;
}

FileDialogResult ScriptedHost::OpenFileDialog(const FileDialog& dlg) {
  fileDialogs.push_back(dlg);
  if (files.empty()) {
    if (!lenient) ADD_FAILURE() << "unexpected file dialog \"" << dlg.title << "\"";
    return {"", dlg.filterIndex};
  }
  std::string p = files.front();
  files.pop_front();
  int filter = dlg.filterIndex;
  if (!fileFilters.empty()) {
    if (fileFilters.front() > 0) filter = fileFilters.front();
    fileFilters.pop_front();
  }
  return {p, filter};
}

FileDialogResult ScriptedHost::SaveFileDialog(const FileDialog& dlg) { return OpenFileDialog(dlg); }

void ScriptedHost::WaitForEvents(int maxMs) {
  clock += static_cast<uint32_t>(maxMs > 0 ? maxMs : 0);
  ++waits;
  if (onWait) onWait();
  for (;;) {
    // The earliest due action first; equal times in the order given.
    auto due = script.end();
    for (auto it = script.begin(); it != script.end(); ++it) {
      if (static_cast<int32_t>(clock - it->time) < 0) continue;
      if (due == script.end() || static_cast<int32_t>(it->time - due->time) < 0) due = it;
    }
    if (due == script.end()) return;
    auto action = std::move(due->action);
    script.erase(due);
    if (action) action();
  }
}

void ScriptedHost::At(uint32_t time, std::function<void()> action) {
  script.push_back({time, std::move(action)});
}

void ScriptedHost::ShowStatus(const std::string& text, int) { status.push_back(text); }

std::vector<std::string> ScriptedHost::MessageTexts() const {
  std::vector<std::string> out;
  for (auto& m : messages) out.push_back(m.text);
  return out;
}

std::string ReadFile(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  std::stringstream ss;
  ss << f.rdbuf();
  return ss.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream f(path, std::ios::binary | std::ios::trunc);
  f << text;
}

}  // namespace sv::test
