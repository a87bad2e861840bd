#include "fit/material_database.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

#include "core/host.h"
#include "core/ini_profile.h"
#include "fit/fit_settings.h"

namespace sv {

namespace {

std::string Section(size_t i) { return "Material(" + std::to_string(i) + ")"; }

std::string ThicknessText(float t) {
  std::ostringstream s;
  s.precision(7);
  s << t;
  return s.str();
}

// A name in quotes keeps them only inside a second pair: the reader takes one off.
std::string NameText(const std::string& name) {
  const bool quoted =
      name.size() >= 2 && (name.front() == '"' || name.front() == '\'') && name.back() == name.front();
  return quoted ? '"' + name + '"' : name;
}

}  // namespace

std::optional<MaterialDatabase> ParseDatabase(const std::string& text) {
  const Profile p = Profile::Parse(text);
  if (p.GetString("General", "ID", "") != kMaterialDatabaseId) return std::nullopt;
  MaterialDatabase db;
  const int count = p.GetInt("General", "MaterialCount", 0);
  // The count comes from the file: never walk further than its sections.
  const int limit = std::min(count, int(p.Sections().size()));
  for (int i = 1; i <= limit; ++i) {
    const std::string name = p.GetString(Section(i), "Name", "");
    if (name.empty()) continue;
    float t = FitTextToFloat(p.GetString(Section(i), "Thickness", "0"));
    if (!std::isfinite(t)) t = 0;
    db.Entries.push_back({name, t});
  }
  const int index = p.GetInt("General", "MaterialIndex", 0);
  db.Index = index >= 0 && index < int(db.Entries.size()) ? index : 0;
  return db;
}

std::string DatabaseText(const MaterialDatabase& db) {
  std::string out = "[General]\r\nID=" + std::string(kMaterialDatabaseId) + "\r\n";
  const size_t n = db.Entries.empty() ? 0 : db.Entries.size() - 1;
  out += "MaterialCount=" + std::to_string(n) + "\r\n";
  out += "MaterialIndex=" + std::to_string(db.Index) + "\r\n\r\n";
  for (size_t i = 1; i <= n; ++i) {
    out += "[" + Section(i) + "]\r\n";
    out += "Name=" + NameText(db.Entries[i].Name) + "\r\n";
    out += "Thickness=" + ThicknessText(db.Entries[i].Thickness) + "\r\n\r\n";
  }
  // The closing line is written as it has always been, brace and all.
  out += "{EOF]\r\n";
  return out;
}

std::optional<MaterialDatabase> ReadDatabase(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream s;
  s << in.rdbuf();
  std::optional<MaterialDatabase> db = ParseDatabase(s.str());
  if (!db) host().MsgBox(kNotMaterialDatabase, MsgButtons::OK, MsgIcon::Exclamation, "Read Database");
  return db;
}

bool SaveDatabase(const std::string& path, const MaterialDatabase& db) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (!out) return false;
  out << DatabaseText(db);
  return bool(out.flush());
}

std::string UserDatabasePath() { return host().ConfigFolder() + "/" + kMaterialFileName; }

MaterialDatabase LoadMaterials() {
  if (std::ifstream(UserDatabasePath())) {
    if (auto db = ReadDatabase(UserDatabasePath())) return *db;
  }
  if (auto db = ReadDatabase(host().ProgramFolder() + "/" + kMaterialFileName)) return *db;
  return MaterialDatabase{};
}

bool SaveMaterials(const MaterialDatabase& db) { return SaveDatabase(UserDatabasePath(), db); }

}  // namespace sv
