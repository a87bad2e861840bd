// The sheet's cell store, column by column. A column of 32-bit floats and
// gaps keeps 4 bytes a cell; the first cell it cannot hold that way (a double,
// a text, a float with the gap's own bits) turns the whole column into 16-byte
// tagged cells, with the texts in a side table. Private to the sheet's own
// sources.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
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
  // While set, rows that Resize adds to float columns are left unwritten:
  // only for a caller that stores every one of them next (a file being read).
  bool fillLater = false;

  void Clear();
  // Keeps contents where rows and columns stay. False (and nothing changed)
  // when the memory is not there.
  bool Resize(long newRows, long newCols);
  size_t StorageBytes() const;

  bool Inside(long r, long c) const { return r >= 0 && r < rows && c >= 0 && c < cols; }

  Cell Get(long r, long c) const;
  void Set(long r, long c, const Cell& value);
  void SetF32(long r, long c, float value);
  void SetF64(long r, long c, double value);
  void SetNull(long r, long c);
  CellKind Kind(long r, long c) const;
  bool NumberAt(long r, long c, double& value) const;
  // A copy: a text gets a slot of its own.
  void Copy(long dr, long dc, long sr, long sc);
  // Exchanges two cells.
  void Swap(long r1, long c1, long r2, long c2);
  // Moves the cells of one row so that column `from` lands at `to`, those
  // between shifting one towards from.
  void MoveInRow(long r, long from, long to);
  // Removes rows first .. last; the rows below move up.
  void EraseRows(long first, long last);
  // Turns columns first .. last - 1 whole, headers included, so that column
  // `middle` comes first (as std::rotate): MoveInRow on every row at once.
  void RotateColumns(long first, long middle, long last);
  // The compact body of column c (rows 1 .. rows - 1), null when the column
  // is general or outside.
  uint32_t* Bits(long c);
  // Cells 1 .. count of row r from / to the sheet file's little-endian 32-bit
  // floats, 4 bytes a cell: every not-a-number is Null coming in, and a cell
  // that is no number is written as the gap.
  void StoreFileRow(long r, const uint8_t* bytes, long count) { StoreFileRows(r, 1, bytes, count); }
  void LoadFileRow(long r, uint8_t* bytes, long count) const { LoadFileRows(r, 1, bytes, count); }
  // The same for n rows from row r on, lying one after the other in bytes
  // (count cells each); rows past the sheet are left alone / written as gaps.
  void StoreFileRows(long r, long n, const uint8_t* bytes, long count);
  void LoadFileRows(long r, long n, uint8_t* bytes, long count) const;

 private:
  // Row 0 holds the column's header text: it is kept apart, so that it does
  // not turn the column general. Rows 1 .. rows-1 are the body, at r - 1.
  // Leaves what resize(n) adds unwritten; resize(n, value) still fills.
  // Its memory starts on a cache line, so that a file's rows can be written
  // into a column a whole line at a time.
  template <class T>
  struct NoFill : std::allocator<T> {
    static constexpr std::align_val_t kLine{64};
    template <class U>
    struct rebind {
      using other = NoFill<U>;
    };
    NoFill() = default;
    template <class U>
    NoFill(const NoFill<U>&) noexcept {}
    T* allocate(size_t n) {
      if (n > size_t(-1) / 2 / sizeof(T)) throw std::bad_array_new_length();
      return static_cast<T*>(::operator new(n * sizeof(T), kLine));
    }
    void deallocate(T* p, size_t) noexcept { ::operator delete(p, kLine); }
    template <class U>
    void construct(U*) noexcept {}
    template <class U, class... A>
    void construct(U* p, A&&... a) {
      ::new (static_cast<void*>(p)) U(std::forward<A>(a)...);
    }
  };
  struct Column {
    PackedCell head;
    bool general = false;
    // Compact body: the float's bits, the gap for Null.
    std::vector<uint32_t, NoFill<uint32_t>> bits;
    std::vector<PackedCell> cells;  // general body
  };
  // Records past `cols` are spares: empty and compact, keeping their memory
  // for the sheet to come.
  std::vector<Column> columns;
  std::vector<std::string> texts;
  std::vector<uint32_t> freeTexts;

  // Turns a compact column general; false (and nothing changed) without memory.
  bool Promote(Column& col);
  // The 16-byte cell at (r, c) when it has one (row 0 or a general body),
  // else null; Inside is the caller's.
  // Columns c .. c + 7 all hold plain floats.
  bool CompactRun(long c) const {
    for (long k = c; k < c + 8; ++k)
      if (columns[static_cast<size_t>(k)].general) return false;
    return true;
  }
  PackedCell* Packed(long r, long c);
  const PackedCell* Packed(long r, long c) const;
  void Release(PackedCell& p);
  uint32_t AddText(const std::string& s);
  void SetText(long r, long c, const std::string& s);
};

}  // namespace sv
