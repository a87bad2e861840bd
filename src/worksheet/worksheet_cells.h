// The sheet's cell store: 16-byte tagged cells, row by row, with the texts in
// a side table. Private to the sheet's own sources.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "worksheet/form_worksheet.h"

namespace sv {

struct Form_Worksheet::PackedCell {
  union {
    double d;
    float f;
    uint32_t text;  // slot in the text table
  } v{0.0};
  CellKind kind = CellKind::Null;
};

struct Form_Worksheet::Impl {
  static_assert(sizeof(PackedCell) <= 16, "a cell takes 16 bytes");

  // Rows and columns as stored; the sheet's rows_ and cols_ follow these.
  long rows = 0, cols = 0;
  std::vector<PackedCell> cells;
  std::vector<std::string> texts;
  std::vector<uint32_t> freeTexts;

  void Clear();
  // Keeps contents where rows and columns stay. False (and nothing changed)
  // when the memory is not there.
  bool Resize(long newRows, long newCols);
  size_t StorageBytes() const;

  PackedCell& At(long r, long c) { return cells[static_cast<size_t>(r) * cols + c]; }
  const PackedCell& At(long r, long c) const { return cells[static_cast<size_t>(r) * cols + c]; }
  bool Inside(long r, long c) const { return r >= 0 && r < rows && c >= 0 && c < cols; }

  Cell Get(long r, long c) const;
  void Set(long r, long c, const Cell& value);
  void SetF32(long r, long c, float value);
  void SetF64(long r, long c, double value);
  void SetNull(long r, long c) { Release(At(r, c)); }
  CellKind Kind(long r, long c) const { return At(r, c).kind; }
  bool NumberAt(long r, long c, double& value) const;
  // A copy: a text gets a slot of its own.
  void Copy(long dr, long dc, long sr, long sc);
  // Exchanges two cells (nothing is copied).
  void Swap(long r1, long c1, long r2, long c2) { std::swap(At(r1, c1), At(r2, c2)); }
  // Moves the cells of one row so that column `from` lands at `to`, those
  // between shifting one towards from.
  void MoveInRow(long r, long from, long to);
  // Removes rows first .. last; the rows below move up.
  void EraseRows(long first, long last);
  // Cells 1 .. count of row r from / to the sheet file's little-endian 32-bit
  // floats, 4 bytes a cell: the gap pattern is Null both ways, and a cell
  // that is no number is written as the gap.
  void StoreFileRow(long r, const uint8_t* bytes, long count);
  void LoadFileRow(long r, uint8_t* bytes, long count) const;

 private:
  void Release(PackedCell& p);
  uint32_t AddText(const std::string& s);
};

}  // namespace sv
