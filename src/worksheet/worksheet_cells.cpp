#include "worksheet/worksheet_cells.h"

#include "image/kernel/numbers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <stdexcept>

namespace sv {

static_assert(std::endian::native == std::endian::little, "the sheet file is little-endian");

void Form_Worksheet::Impl::Clear() {
  // The cell array keeps its memory: a sheet is reset to be filled again.
  for (PackedCell& p : cells) p = PackedCell();
  cells.clear();
  std::vector<std::string>().swap(texts);
  std::vector<uint32_t>().swap(freeTexts);
  rows = cols = 0;
}

size_t Form_Worksheet::Impl::StorageBytes() const {
  size_t bytes = cells.capacity() * sizeof(PackedCell) + texts.capacity() * sizeof(std::string) +
                 freeTexts.capacity() * sizeof(uint32_t);
  for (const std::string& s : texts)
    if (s.capacity() > 15) bytes += s.capacity() + 1;
  return bytes;
}

void Form_Worksheet::Impl::Release(PackedCell& p) {
  if (p.kind == CellKind::Text && p.v.text < texts.size()) {
    std::string().swap(texts[p.v.text]);
    freeTexts.push_back(p.v.text);
  }
  p = PackedCell();
}

uint32_t Form_Worksheet::Impl::AddText(const std::string& s) {
  if (!freeTexts.empty()) {
    uint32_t slot = freeTexts.back();
    freeTexts.pop_back();
    texts[slot] = s;
    return slot;
  }
  texts.push_back(s);
  return static_cast<uint32_t>(texts.size() - 1);
}

bool Form_Worksheet::Impl::Resize(long newRows, long newCols) {
  if (newRows < 0 || newCols < 0) return false;
  const size_t n = static_cast<size_t>(newRows) * static_cast<size_t>(newCols);
  try {
    if (newCols == cols) {
      // Rows only: the cells stay where they are.
      for (long r = newRows; r < rows; ++r)
        for (long c = 0; c < cols; ++c) Release(At(r, c));
      if (n > cells.capacity()) {
        // Grow by half again, but never past what a full sheet of this width needs.
        size_t cap = std::max(n, cells.capacity() + cells.capacity() / 2);
        cap = std::min(cap, std::max(n, static_cast<size_t>(kMaxSheetRows) * newCols));
        cells.reserve(cap);
      }
      cells.resize(n);
    } else {
      // The width changes: the kept cells go into a new array.
      std::vector<PackedCell> next(n);
      const long keepRows = std::min(rows, newRows), keepCols = std::min(cols, newCols);
      for (long r = 0; r < rows; ++r)
        for (long c = 0; c < cols; ++c) {
          PackedCell& p = At(r, c);
          if (r < keepRows && c < keepCols)
            next[static_cast<size_t>(r) * newCols + c] = p;
          else
            Release(p);
        }
      if (cells.capacity() >= n)
        cells.assign(next.begin(), next.end());  // keeps the memory for a sheet to come
      else
        cells.swap(next);
    }
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  rows = newRows;
  cols = newCols;
  return true;
}

Cell Form_Worksheet::Impl::Get(long r, long c) const {
  if (!Inside(r, c)) return Cell();
  const PackedCell& p = At(r, c);
  switch (p.kind) {
    case CellKind::F32:
      return Cell(p.v.f);
    case CellKind::F64:
      return Cell(p.v.d);
    case CellKind::Text:
      return Cell(texts[p.v.text]);
    default:
      return Cell();
  }
}

void Form_Worksheet::Impl::Set(long r, long c, const Cell& value) {
  if (!Inside(r, c)) return;
  PackedCell& p = At(r, c);
  Release(p);
  switch (value.Kind()) {
    case CellKind::F32:
      p.kind = CellKind::F32;
      p.v.f = static_cast<float>(value.Value());
      break;
    case CellKind::F64:
      p.kind = CellKind::F64;
      p.v.d = value.Value();
      break;
    case CellKind::Text:
      p.v.text = AddText(value.RawText());
      p.kind = CellKind::Text;
      break;
    default:
      break;
  }
}

void Form_Worksheet::Impl::SetF32(long r, long c, float value) {
  if (!Inside(r, c)) return;
  PackedCell& p = At(r, c);
  Release(p);
  p.kind = CellKind::F32;
  p.v.f = value;
}

void Form_Worksheet::Impl::SetF64(long r, long c, double value) {
  if (!Inside(r, c)) return;
  PackedCell& p = At(r, c);
  Release(p);
  p.kind = CellKind::F64;
  p.v.d = value;
}

bool Form_Worksheet::Impl::NumberAt(long r, long c, double& value) const {
  if (!Inside(r, c)) return false;
  const PackedCell& p = At(r, c);
  switch (p.kind) {
    case CellKind::F32:
      value = p.v.f;
      return true;
    case CellKind::F64:
      value = p.v.d;
      return true;
    case CellKind::Text:
      return ParseNumber(texts[p.v.text], value);
    default:
      return false;
  }
}

void Form_Worksheet::Impl::Copy(long dr, long dc, long sr, long sc) {
  if (!Inside(dr, dc) || !Inside(sr, sc) || (dr == sr && dc == sc)) return;
  const PackedCell src = At(sr, sc);
  PackedCell& dst = At(dr, dc);
  Release(dst);
  if (src.kind == CellKind::Text) {
    // The slot may move while the table grows: copy the text out first.
    std::string text = texts[src.v.text];
    uint32_t slot = AddText(text);
    At(dr, dc).kind = CellKind::Text;
    At(dr, dc).v.text = slot;
  } else {
    dst = src;
  }
}

void Form_Worksheet::Impl::MoveInRow(long r, long from, long to) {
  if (!Inside(r, from) || !Inside(r, to) || from == to) return;
  PackedCell* row = &At(r, 0);
  if (from < to)
    std::rotate(row + from, row + from + 1, row + to + 1);
  else
    std::rotate(row + to, row + from, row + from + 1);
}

void Form_Worksheet::Impl::EraseRows(long first, long last) {
  if (first < 0 || last < first || last >= rows) return;
  for (long r = first; r <= last; ++r)
    for (long c = 0; c < cols; ++c) Release(At(r, c));
  cells.erase(cells.begin() + static_cast<ptrdiff_t>(first) * cols,
              cells.begin() + static_cast<ptrdiff_t>(last + 1) * cols);
  rows -= last - first + 1;
}

void Form_Worksheet::Impl::StoreFileRow(long r, const uint8_t* bytes, long count) {
  if (r < 0 || r >= rows || count <= 0) return;
  count = std::min(count, cols - 1);
  PackedCell* row = &At(r, 1);
  for (long c = 0; c < count; ++c) {
    uint32_t bits;
    std::memcpy(&bits, bytes + size_t(c) * 4, 4);  // the file is little-endian, as we are
    PackedCell& p = row[c];
    if (p.kind == CellKind::Text) Release(p);
    if (SV_IsNAVNBits(bits)) {
      p = PackedCell();
    } else {
      p.v.d = 0.0;
      std::memcpy(&p.v.f, &bits, 4);
      p.kind = CellKind::F32;
    }
  }
}

void Form_Worksheet::Impl::LoadFileRow(long r, uint8_t* bytes, long count) const {
  constexpr uint32_t kGap = 0xFF80FFFFu;
  for (long c = 0; c < count; ++c) {
    uint32_t bits = kGap;
    if (r >= 0 && r < rows && c + 1 < cols) {
      const PackedCell& p = At(r, c + 1);
      float v;
      double d;
      switch (p.kind) {
        case CellKind::F32:
          std::memcpy(&bits, &p.v.f, 4);
          break;
        case CellKind::F64:
          v = float(p.v.d);
          std::memcpy(&bits, &v, 4);
          break;
        case CellKind::Text:
          if (ParseNumber(texts[p.v.text], d)) {
            v = float(d);
            std::memcpy(&bits, &v, 4);
          }
          break;
        default:
          break;
      }
    }
    std::memcpy(bytes + size_t(c) * 4, &bits, 4);
  }
}

}  // namespace sv
