#include "worksheet/load_table.h"

#include <cmath>

#include "core/binary_file.h"
#include "core/error_table.h"
#include "worksheet/sheet_formats.h"

namespace sv {

long LoadTable(const std::string& filename, SheetTable& table) {
  table = SheetTable();
  std::string name = filename;
  const size_t slash = name.find_last_of('/');
  if (name.find('.', slash == std::string::npos ? 0 : slash + 1) == std::string::npos) name += ".sht";

  BinaryIn in;
  if (!in.Open(name)) return 53;  // "File not found"
  SheetHeader header;
  if (!ReadSheetHeader(in, header) || !header.magicOk) return kErrNoSheetMagic;
  if (header.dataCols != 2 || header.dataRows < 0) return kErrBadLookupTable;
  // The claimed rows must be in the file before the table is sized.
  const uint64_t need = 2 * kSheetColumnRecordSize + uint64_t(header.dataRows) * 8;
  if (need > in.Size() - in.Tell()) return kErrBadLookupTable;

  std::string label;
  int16_t typ = 0;
  ReadColumnRecord(in, label, typ);
  ReadColumnRecord(in, label, typ);
  const long count = header.dataRows;
  std::vector<float> values(size_t(count), 0.0f);
  // The rows in one read: pairs of little-endian singles.
  std::vector<float> rows(size_t(count) * 2);
  if (count > 0 && !in.Block(rows.data(), rows.size() * sizeof(float))) return kErrBadLookupTable;
  for (long r = 0; r < count; ++r) {
    const float index = rows[size_t(r) * 2];
    const float value = rows[size_t(r) * 2 + 1];
    // The first float, rounded, says where the second goes.
    if (!std::isfinite(index)) return kErrBadLookupTable;
    const long at = RoundEven(index);
    if (at < 0 || at >= count) return kErrBadLookupTable;
    values[size_t(at)] = value;
  }
  if (!in.ok()) return kErrBadLookupTable;
  table.Name = label;
  table.Count = count;
  table.Values = std::move(values);
  return 0;
}

}  // namespace sv
