// The list of materials with their monolayer thickness, kept in "Material.dtb".
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace sv {

struct MaterialEntry {
  std::string Name;
  float Thickness = 0;  // one monolayer, in Angstrom
};

// The list always begins with "(User)", whose thickness is typed freely.
struct MaterialDatabase {
  std::vector<MaterialEntry> Entries{{"(User)", 0.0f}};
  int Index = 0;  // the chosen entry
};

constexpr const char* kMaterialFileName = "Material.dtb";
constexpr const char* kMaterialDatabaseId = "MaterialDatabase";
constexpr const char* kNotMaterialDatabase = "Not a valid Material Database File.";

// The materials of a database file's text; nothing when its ID is not
// "MaterialDatabase". Entries with an empty name are skipped; a chosen index
// out of range falls back to "(User)".
std::optional<MaterialDatabase> ParseDatabase(const std::string& text);
// The file's text, without the "(User)" entry, lines ending in CR LF.
std::string DatabaseText(const MaterialDatabase& db);

// Reads the file at `path`; a wrong ID shows "Not a valid Material Database
// File." titled "Read Database" and gives nothing, as does a missing file
// (without a message).
std::optional<MaterialDatabase> ReadDatabase(const std::string& path);
// False when the file cannot be written.
bool SaveDatabase(const std::string& path, const MaterialDatabase& db);

// The per-user file (config folder), read first, else the list shipped beside
// the program, else just "(User)".
std::string UserDatabasePath();
MaterialDatabase LoadMaterials();
// Saved to the config folder only.
bool SaveMaterials(const MaterialDatabase& db);

}  // namespace sv
