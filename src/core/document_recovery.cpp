#include "core/document_recovery.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iostream>
#include <map>

#include "core/globals.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "core/platform/platform.h"

namespace sv {

namespace fs = std::filesystem;

namespace {

std::map<DocKind, RecoveryWriter>& Writers() {
  static std::map<DocKind, RecoveryWriter> writers;
  return writers;
}

// A name that stays inside its folder.
std::string SafeName(std::string name) {
  for (char& c : name)
    if (c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 32) c = '_';
  if (name.empty() || name == "." || name == "..") name = "Document";
  return name;
}

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// The data folder a recovered file goes back to, by its extension.
std::string HomeOf(const std::string& path) {
  const std::string ext = Lower(fs::path(path).extension().string());
  const Globals& g = G();
  std::string folder = ext == ".sht" ? g.SheetsPath : g.ImagesPath;
  if (folder.empty()) folder = host().HomeFolder();
  return platform::NativePath(folder);
}

bool MoveFile(const std::string& from, const std::string& to) {
  std::error_code ec;
  fs::rename(from, to, ec);
  if (!ec) return true;
  // Another file system: a copy, then the first one goes.
  ec.clear();
  fs::copy_file(from, to, fs::copy_options::none, ec);
  if (ec) return false;
  fs::remove(from, ec);
  return true;
}

}  // namespace

std::string RecoveryFolder() {
  return platform::JoinPath(host().ConfigFolder(), G().SlaveMode ? "recovery_Slave" : "recovery");
}

void SetRecoveryWriter(DocKind kind, RecoveryWriter writer) { Writers()[kind] = std::move(writer); }
void ClearRecoveryWriters() { Writers().clear(); }

std::string FreePath(const std::string& folder, const std::string& name) {
  const fs::path base(SafeName(name));
  const std::string stem = base.stem().string(), ext = base.extension().string();
  std::string path = platform::JoinPath(folder, base.string());
  for (int n = 2; platform::FileExists(path); ++n)
    path = platform::JoinPath(folder, stem + "_" + std::to_string(n) + ext);
  return path;
}

std::vector<std::string> SaveForRecovery(MDIForm_Main& main) {
  std::vector<std::string> written;
  const std::string folder = RecoveryFolder();
  bool made = false;
  for (ChildDocument* doc : main.Documents()) {
    if (!doc || !doc->Changed()) continue;
    auto it = Writers().find(doc->Kind());
    if (it == Writers().end() || !it->second.fileName || !it->second.write) continue;
    if (!made && !(made = platform::CreateFolderChain(folder))) {
      std::cerr << G().AppTitle << ": cannot create " << folder << "; unsaved documents are lost\n";
      return written;
    }
    const std::string path = FreePath(folder, it->second.fileName(*doc));
    if (it->second.write(*doc, path))
      written.push_back(path);
    else
      std::cerr << G().AppTitle << ": cannot keep " << doc->Caption() << " in " << path << "\n";
  }
  return written;
}

std::vector<std::string> RecoveredFiles() {
  std::vector<std::string> found;
  std::error_code ec;
  const std::string folder = RecoveryFolder();
  if (!fs::is_directory(folder, ec)) return found;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
    if (it->is_regular_file(ec)) found.push_back(it->path().string());
  std::sort(found.begin(), found.end());
  return found;
}

void OfferDocumentRecovery(MDIForm_Main& main) {
  const std::vector<std::string> files = RecoveredFiles();
  if (files.empty()) return;
  std::string text = "The last session was ended by the system with unsaved changes.\r\n" +
                     std::string("These documents were kept:");
  for (const auto& f : files) text += "\r\n  " + fs::path(f).filename().string();
  text += "\r\n\r\nOpen them? (No keeps them for the next start.)";
  if (host().MsgBox(text, MsgButtons::YesNo, MsgIcon::Question, kRecoverDocumentsTitle) !=
      MsgResult::Yes)
    return;
  for (const auto& f : files) {
    const std::string folder = HomeOf(f);
    platform::CreateFolderChain(folder);
    const fs::path name(fs::path(f).filename());
    const std::string target =
        FreePath(folder, name.stem().string() + "_recovered" + name.extension().string());
    if (!MoveFile(f, target)) {
      host().MsgBox("Cannot move " + f + " to " + target + "; it stays for the next start.",
                    MsgButtons::OK, MsgIcon::Exclamation, kRecoverDocumentsTitle);
      continue;
    }
    // The opener tells its own failure; the file goes back to wait.
    if (!main.OpenDocument(target, 1)) MoveFile(target, f);
  }
}

}  // namespace sv
