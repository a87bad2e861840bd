#include "worksheet/worksheet_cells.h"

#include "image/kernel/cpu_paths.h"
#include "image/kernel/numbers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace sv {

static_assert(std::endian::native == std::endian::little, "the sheet file is little-endian");

namespace {

constexpr uint32_t kGap = kGapBits;
// File rows are moved in tiles of this many rows, so that a tile of a wide
// sheet stays in the first-level cache while it is spread over the columns.
constexpr long kTileRows = 64;

// Every not-a-number, the gap among them (the same test as SV_IsNAVNBits).
inline bool IsNaNBits(uint32_t bits) { return (bits & 0x7FFFFFFFu) > 0x7F800000u; }

inline uint32_t BitsOf(float f) { return std::bit_cast<uint32_t>(f); }

// Eight file rows of eight cells (`rows`, `stride` bytes apart) go into eight
// columns (`cols[k]`, eight words each), every NaN as the gap; and back.
void RowsToColumnsPlain(const uint8_t* rows, size_t stride, uint32_t* const cols[8]) {
  for (int i = 0; i < 8; ++i)
    for (int k = 0; k < 8; ++k) {
      uint32_t bits;
      std::memcpy(&bits, rows + i * stride + size_t(k) * 4, 4);
      cols[k][i] = (bits & 0x7FFFFFFFu) > 0x7F800000u ? kGapBits : bits;
    }
}

void ColumnsToRowsPlain(const uint32_t* const cols[8], uint8_t* rows, size_t stride) {
  for (int i = 0; i < 8; ++i)
    for (int k = 0; k < 8; ++k) std::memcpy(rows + i * stride + size_t(k) * 4, &cols[k][i], 4);
}

#ifdef SV_X86
SV_AVX2 SV_INLINE void Transpose8(__m256i r[8]) {
  const __m256i t0 = _mm256_unpacklo_epi32(r[0], r[1]), t1 = _mm256_unpackhi_epi32(r[0], r[1]);
  const __m256i t2 = _mm256_unpacklo_epi32(r[2], r[3]), t3 = _mm256_unpackhi_epi32(r[2], r[3]);
  const __m256i t4 = _mm256_unpacklo_epi32(r[4], r[5]), t5 = _mm256_unpackhi_epi32(r[4], r[5]);
  const __m256i t6 = _mm256_unpacklo_epi32(r[6], r[7]), t7 = _mm256_unpackhi_epi32(r[6], r[7]);
  const __m256i u0 = _mm256_unpacklo_epi64(t0, t2), u1 = _mm256_unpackhi_epi64(t0, t2);
  const __m256i u2 = _mm256_unpacklo_epi64(t1, t3), u3 = _mm256_unpackhi_epi64(t1, t3);
  const __m256i u4 = _mm256_unpacklo_epi64(t4, t6), u5 = _mm256_unpackhi_epi64(t4, t6);
  const __m256i u6 = _mm256_unpacklo_epi64(t5, t7), u7 = _mm256_unpackhi_epi64(t5, t7);
  r[0] = _mm256_permute2x128_si256(u0, u4, 0x20);
  r[1] = _mm256_permute2x128_si256(u1, u5, 0x20);
  r[2] = _mm256_permute2x128_si256(u2, u6, 0x20);
  r[3] = _mm256_permute2x128_si256(u3, u7, 0x20);
  r[4] = _mm256_permute2x128_si256(u0, u4, 0x31);
  r[5] = _mm256_permute2x128_si256(u1, u5, 0x31);
  r[6] = _mm256_permute2x128_si256(u2, u6, 0x31);
  r[7] = _mm256_permute2x128_si256(u3, u7, 0x31);
}

// Every NaN among eight cells as the gap (unordered with itself is NaN,
// whatever the payload).
SV_AVX2 SV_INLINE __m256i GapForNaN(__m256i v) {
  const __m256 f = _mm256_castsi256_ps(v);
  const __m256 gap = _mm256_castsi256_ps(_mm256_set1_epi32(int32_t(kGapBits)));
  return _mm256_castps_si256(_mm256_blendv_ps(f, gap, _mm256_cmp_ps(f, f, _CMP_UNORD_Q)));
}

SV_AVX2 void RowsToColumnsAvx2(const uint8_t* rows, size_t stride, uint32_t* const cols[8]) {
  __m256i r[8];
  for (int i = 0; i < 8; ++i)
    r[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rows + i * stride));
  Transpose8(r);
  for (int k = 0; k < 8; ++k)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(cols[k]), GapForNaN(r[k]));
}

// Sixteen rows into eight columns, a whole cache line each (`cols[k]` on a
// line), written past the caches: a sheet being read is not read back soon,
// and the file's pages it comes from stay cached.
SV_AVX2 void RowsToColumnLinesAvx2(const uint8_t* rows, size_t stride, uint32_t* const cols[8]) {
  __m256i a[8], b[8];
  for (int i = 0; i < 8; ++i) {
    a[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rows + i * stride));
    b[i] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(rows + (i + 8) * stride));
  }
  Transpose8(a);
  Transpose8(b);
  for (int k = 0; k < 8; ++k) {
    __m256i* line = reinterpret_cast<__m256i*>(cols[k]);
    _mm256_stream_si256(line, GapForNaN(a[k]));
    _mm256_stream_si256(line + 1, GapForNaN(b[k]));
  }
}

SV_AVX2 void ColumnsToRowsAvx2(const uint32_t* const cols[8], uint8_t* rows, size_t stride) {
  __m256i r[8];
  for (int k = 0; k < 8; ++k) r[k] = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(cols[k]));
  Transpose8(r);
  for (int i = 0; i < 8; ++i)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(rows + i * stride), r[i]);
}
#endif

void RowsToColumns(const uint8_t* rows, size_t stride, uint32_t* const cols[8]) {
#ifdef SV_X86
  if (cpu::HaveAvx2()) return RowsToColumnsAvx2(rows, stride, cols);
#endif
  RowsToColumnsPlain(rows, stride, cols);
}

// Sixteen rows into eight columns whose cells `cols[k]` start a cache line;
// false (nothing written) when there is no path for it.
bool RowsToColumnLines(const uint8_t* rows, size_t stride, uint32_t* const cols[8]) {
#ifdef SV_X86
  if (cpu::HaveAvx2()) {
    RowsToColumnLinesAvx2(rows, stride, cols);
    return true;
  }
#endif
  (void)rows, (void)stride, (void)cols;
  return false;
}

// Lines written past the caches are in memory before anything after.
void LinesDone() {
#ifdef SV_X86
  _mm_sfence();
#endif
}

void ColumnsToRows(const uint32_t* const cols[8], uint8_t* rows, size_t stride) {
#ifdef SV_X86
  if (cpu::HaveAvx2()) return ColumnsToRowsAvx2(cols, rows, stride);
#endif
  ColumnsToRowsPlain(cols, rows, stride);
}
inline float FloatOf(uint32_t bits) { return std::bit_cast<float>(bits); }

// Grows by half again, but never past what a full column needs.
template <class V>
void Reserve(V& v, long n) {
  const size_t need = static_cast<size_t>(n);
  if (need <= v.capacity()) return;
  size_t cap = std::max(need, v.capacity() + v.capacity() / 2);
  cap = std::min(cap, std::max(need, static_cast<size_t>(kMaxSheetRows)));
  v.reserve(cap);
}

}  // namespace

void Form_Worksheet::Impl::Clear() {
  // A sheet is reset to be filled again: the compact columns keep their memory.
  // So does the index column, general as it was: the sheet numbers its rows
  // in doubles, which would turn it general again at once.
  for (Column& col : columns) {
    col.head = PackedCell();
    col.bits.clear();
    if (col.general) {
      col.cells.clear();  // the texts go below, all at once
      col.general = &col == columns.data();
    }
  }
  std::vector<std::string>().swap(texts);
  std::vector<uint32_t>().swap(freeTexts);
  rows = cols = 0;
}

size_t Form_Worksheet::Impl::StorageBytes() const {
  size_t bytes = columns.capacity() * sizeof(Column) + texts.capacity() * sizeof(std::string) +
                 freeTexts.capacity() * sizeof(uint32_t);
  for (const Column& col : columns)
    bytes += col.bits.capacity() * sizeof(uint32_t) + col.cells.capacity() * sizeof(PackedCell);
  for (const std::string& s : texts)
    if (s.capacity() > 15) bytes += s.capacity() + 1;
  return bytes;
}

void Form_Worksheet::Impl::Release(PackedCell& p) {
  if (p.kind == CellKind::Text && p.v.text < texts.size()) {
    std::string().swap(texts[p.v.text]);
    try {
      freeTexts.push_back(p.v.text);
    } catch (const std::bad_alloc&) {
      // The slot is not used again; its text is gone all the same.
    }
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

bool Form_Worksheet::Impl::Promote(Column& col) {
  if (col.general) return true;
  try {
    // The cells' memory of an earlier life of the column is used again.
    col.cells.clear();
    col.cells.reserve(std::max(col.cells.capacity(), col.bits.capacity()));
    col.cells.resize(col.bits.size());
    for (size_t i = 0; i < col.bits.size(); ++i) {
      if (col.bits[i] == kGap) continue;
      col.cells[i].v.f = FloatOf(col.bits[i]);
      col.cells[i].kind = CellKind::F32;
    }
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  decltype(col.bits)().swap(col.bits);
  col.general = true;
  return true;
}

Form_Worksheet::PackedCell* Form_Worksheet::Impl::Packed(long r, long c) {
  Column& col = columns[static_cast<size_t>(c)];
  if (r == 0) return &col.head;
  return col.general ? &col.cells[static_cast<size_t>(r - 1)] : nullptr;
}

const Form_Worksheet::PackedCell* Form_Worksheet::Impl::Packed(long r, long c) const {
  const Column& col = columns[static_cast<size_t>(c)];
  if (r == 0) return &col.head;
  return col.general ? &col.cells[static_cast<size_t>(r - 1)] : nullptr;
}

bool Form_Worksheet::Impl::Resize(long newRows, long newCols) {
  if (newRows < 0 || newCols < 0) return false;
  const long body = std::max(0L, newRows - 1), oldBody = std::max(0L, rows - 1);
  // All memory first, so that a failure leaves the cells as they were.
  try {
    if (columns.size() < static_cast<size_t>(newCols)) columns.resize(static_cast<size_t>(newCols));
    for (long c = 0; c < newCols; ++c) {
      Column& col = columns[static_cast<size_t>(c)];
      if (col.general)
        Reserve(col.cells, body);
      else
        Reserve(col.bits, body);
    }
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
  // Removed columns become spares.
  for (long c = newCols; c < cols; ++c) {
    Column& col = columns[static_cast<size_t>(c)];
    Release(col.head);
    col.bits.clear();
    if (col.general) {
      for (PackedCell& p : col.cells) Release(p);
      std::vector<PackedCell>().swap(col.cells);
      col.general = false;
    }
  }
  for (long c = 0; c < newCols; ++c) {
    Column& col = columns[static_cast<size_t>(c)];
    if (newRows == 0) Release(col.head);
    if (col.general) {
      for (long b = body; b < oldBody; ++b) Release(col.cells[static_cast<size_t>(b)]);
      col.cells.resize(static_cast<size_t>(body));
    } else {
      // A new column comes from the spares with no cells in it.
      if (fillLater && c > 0)  // the index column is written cell by cell
        col.bits.resize(static_cast<size_t>(body));
      else
        col.bits.resize(static_cast<size_t>(body), kGap);
    }
  }
  rows = newRows;
  cols = newCols;
  return true;
}

Cell Form_Worksheet::Impl::Get(long r, long c) const {
  if (!Inside(r, c)) return Cell();
  if (const PackedCell* p = Packed(r, c)) {
    switch (p->kind) {
      case CellKind::F32:
        return Cell(p->v.f);
      case CellKind::F64:
        return Cell(p->v.d);
      case CellKind::Text:
        return Cell(texts[p->v.text]);
      default:
        return Cell();
    }
  }
  const uint32_t bits = columns[static_cast<size_t>(c)].bits[static_cast<size_t>(r - 1)];
  return bits == kGap ? Cell() : Cell(FloatOf(bits));
}

void Form_Worksheet::Impl::Set(long r, long c, const Cell& value) {
  switch (value.Kind()) {
    case CellKind::F32:
      SetF32(r, c, static_cast<float>(value.Value()));
      break;
    case CellKind::F64:
      SetF64(r, c, value.Value());
      break;
    case CellKind::Text:
      SetText(r, c, value.RawText());
      break;
    default:
      SetNull(r, c);
      break;
  }
}

void Form_Worksheet::Impl::SetText(long r, long c, const std::string& s) {
  if (!Inside(r, c)) return;
  if (r > 0 && !Promote(columns[static_cast<size_t>(c)])) return;
  PackedCell& p = *Packed(r, c);
  Release(p);
  const uint32_t slot = AddText(s);
  p.v.text = slot;
  p.kind = CellKind::Text;
}

void Form_Worksheet::Impl::SetF32(long r, long c, float value) {
  if (!Inside(r, c)) return;
  Column& col = columns[static_cast<size_t>(c)];
  const uint32_t bits = BitsOf(value);
  if (r > 0 && !col.general) {
    // A float with the gap's own bits is a number, not a gap.
    if (bits != kGap) {
      col.bits[static_cast<size_t>(r - 1)] = bits;
      return;
    }
    if (!Promote(col)) return;
  }
  PackedCell& p = *Packed(r, c);
  Release(p);
  p.kind = CellKind::F32;
  p.v.f = value;
}

void Form_Worksheet::Impl::SetF64(long r, long c, double value) {
  if (!Inside(r, c)) return;
  Column& col = columns[static_cast<size_t>(c)];
  if (r > 0 && !col.general && !Promote(col)) return;
  PackedCell& p = *Packed(r, c);
  if (p.kind == CellKind::Text) Release(p);
  p.kind = CellKind::F64;
  p.v.d = value;
}

void Form_Worksheet::Impl::SetNull(long r, long c) {
  if (!Inside(r, c)) return;
  if (PackedCell* p = Packed(r, c))
    Release(*p);
  else
    columns[static_cast<size_t>(c)].bits[static_cast<size_t>(r - 1)] = kGap;
}

CellKind Form_Worksheet::Impl::Kind(long r, long c) const {
  if (!Inside(r, c)) return CellKind::Null;
  if (const PackedCell* p = Packed(r, c)) return p->kind;
  return columns[static_cast<size_t>(c)].bits[static_cast<size_t>(r - 1)] == kGap ? CellKind::Null
                                                                                  : CellKind::F32;
}

bool Form_Worksheet::Impl::NumberAt(long r, long c, double& value) const {
  if (!Inside(r, c)) return false;
  const PackedCell* p = Packed(r, c);
  if (!p) {
    const uint32_t bits = columns[static_cast<size_t>(c)].bits[static_cast<size_t>(r - 1)];
    if (bits == kGap) return false;
    value = FloatOf(bits);
    return true;
  }
  switch (p->kind) {
    case CellKind::F32:
      value = p->v.f;
      return true;
    case CellKind::F64:
      value = p->v.d;
      return true;
    case CellKind::Text:
      return ParseNumber(texts[p->v.text], value);
    default:
      return false;
  }
}

void Form_Worksheet::Impl::Copy(long dr, long dc, long sr, long sc) {
  if (!Inside(dr, dc) || !Inside(sr, sc) || (dr == sr && dc == sc)) return;
  const PackedCell* src = Packed(sr, sc);
  if (!src) {
    const uint32_t bits = columns[static_cast<size_t>(sc)].bits[static_cast<size_t>(sr - 1)];
    if (bits == kGap)
      SetNull(dr, dc);
    else
      SetF32(dr, dc, FloatOf(bits));
    return;
  }
  const PackedCell p = *src;
  switch (p.kind) {
    case CellKind::F32:
      SetF32(dr, dc, p.v.f);
      break;
    case CellKind::F64:
      SetF64(dr, dc, p.v.d);
      break;
    case CellKind::Text:
      // The table may move while it grows: the text is copied out first.
      SetText(dr, dc, std::string(texts[p.v.text]));
      break;
    default:
      SetNull(dr, dc);
      break;
  }
}

void Form_Worksheet::Impl::Swap(long r1, long c1, long r2, long c2) {
  if (!Inside(r1, c1) || !Inside(r2, c2) || (r1 == r2 && c1 == c2)) return;
  PackedCell* p1 = Packed(r1, c1);
  PackedCell* p2 = Packed(r2, c2);
  if (p1 && p2) {
    std::swap(*p1, *p2);
    return;
  }
  if (!p1 && !p2) {
    std::swap(columns[static_cast<size_t>(c1)].bits[static_cast<size_t>(r1 - 1)],
              columns[static_cast<size_t>(c2)].bits[static_cast<size_t>(r2 - 1)]);
    return;
  }
  // One of each: the compact side takes the other cell as bits when it can.
  const long rk = p1 ? r2 : r1, ck = p1 ? c2 : c1;
  PackedCell& p = p1 ? *p1 : *p2;
  Column& k = columns[static_cast<size_t>(ck)];
  if (p.kind == CellKind::Null || (p.kind == CellKind::F32 && BitsOf(p.v.f) != kGap)) {
    uint32_t& kb = k.bits[static_cast<size_t>(rk - 1)];
    const uint32_t held = kb;
    kb = p.kind == CellKind::Null ? kGap : BitsOf(p.v.f);
    p = PackedCell();
    if (held != kGap) {
      p.v.f = FloatOf(held);
      p.kind = CellKind::F32;
    }
    return;
  }
  // The packed cell is never in k's body, so it stays where it is.
  if (!Promote(k)) return;
  std::swap(p, k.cells[static_cast<size_t>(rk - 1)]);
}

void Form_Worksheet::Impl::MoveInRow(long r, long from, long to) {
  if (!Inside(r, from) || !Inside(r, to) || from == to) return;
  // The cell at `from` travels to `to` one neighbour at a time.
  if (from < to)
    for (long c = from; c < to; ++c) Swap(r, c, r, c + 1);
  else
    for (long c = from; c > to; --c) Swap(r, c, r, c - 1);
}

void Form_Worksheet::Impl::RotateColumns(long first, long middle, long last) {
  if (first < 0 || first > middle || middle > last || last > cols) return;
  std::rotate(columns.begin() + first, columns.begin() + middle, columns.begin() + last);
}

uint32_t* Form_Worksheet::Impl::Bits(long c) {
  if (c < 0 || c >= cols) return nullptr;
  Column& col = columns[static_cast<size_t>(c)];
  return col.general ? nullptr : col.bits.data();
}

void Form_Worksheet::Impl::EraseRows(long first, long last) {
  if (first < 0 || last < first || last >= rows) return;
  // Body indices lo .. hi go; with row 0 among the erased, the first row
  // left (body index last) becomes the new row 0.
  const long lo = std::max(0L, first - 1), hi = last - 1;
  const bool newHead = first == 0 && last + 1 < rows;
  for (long c = 0; c < cols; ++c) {
    Column& col = columns[static_cast<size_t>(c)];
    if (first == 0) Release(col.head);
    const long end = newHead ? last + 1 : hi + 1;  // one past the body cells that leave
    if (col.general) {
      for (long b = lo; b <= hi; ++b) Release(col.cells[static_cast<size_t>(b)]);
      if (newHead) col.head = std::exchange(col.cells[static_cast<size_t>(last)], PackedCell());
      col.cells.erase(col.cells.begin() + lo, col.cells.begin() + end);
    } else {
      if (newHead) {
        const uint32_t bits = col.bits[static_cast<size_t>(last)];
        if (bits != kGap) {
          col.head.v.f = FloatOf(bits);
          col.head.kind = CellKind::F32;
        }
      }
      col.bits.erase(col.bits.begin() + lo, col.bits.begin() + end);
    }
  }
  rows -= last - first + 1;
}

void Form_Worksheet::Impl::StoreFileRows(long r, long n, const uint8_t* bytes, long count) {
  if (r < 0 || r >= rows || n <= 0 || count <= 0) return;
  n = std::min(n, rows - r);
  const size_t stride = static_cast<size_t>(count) * 4;
  count = std::min(count, cols - 1);
  auto store = [this](PackedCell& p, uint32_t bits) {
    if (p.kind == CellKind::Text) Release(p);
    p = PackedCell();
    if (!IsNaNBits(bits)) {
      p.v.f = FloatOf(bits);
      p.kind = CellKind::F32;
    }
  };
  if (r == 0) {
    for (long c = 0; c < count; ++c) {
      uint32_t bits;
      std::memcpy(&bits, bytes + static_cast<size_t>(c) * 4, 4);
      store(columns[static_cast<size_t>(c) + 1].head, bits);
    }
    ++r, --n, bytes += stride;
  }
  bool lines = false;
  for (long t = 0; t < n; t += kTileRows) {
    const long m = std::min(kTileRows, n - t);
    const uint8_t* tile = bytes + static_cast<size_t>(t) * stride;
    const size_t at = static_cast<size_t>(r + t - 1);
    for (long c = 0; c < count; ++c) {
      if (c + 8 <= count && CompactRun(c + 1)) {
        // Eight float columns at once: sixteen rows at a time while the
        // columns' cells lie in whole cache lines, else eight.
        uint32_t* to[8];
        bool whole = at % 16 == 0;
        for (int k = 0; k < 8; ++k) {
          to[k] = columns[size_t(c + 1 + k)].bits.data() + at;
          whole = whole && reinterpret_cast<uintptr_t>(to[k]) % 64 == 0;
        }
        long i = 0;
        for (; whole && i + 16 <= m; i += 16) {
          if (!RowsToColumnLines(tile + static_cast<size_t>(i) * stride + size_t(c) * 4, stride, to))
            break;
          lines = true;
          for (int k = 0; k < 8; ++k) to[k] += 16;
        }
        const long m8 = m & ~7L;
        for (; i < m8; i += 8) {
          for (int k = 0; k < 8; ++k) to[k] = columns[size_t(c + 1 + k)].bits.data() + at + i;
          RowsToColumns(tile + static_cast<size_t>(i) * stride + size_t(c) * 4, stride, to);
        }
        for (; i < m; ++i)
          for (int k = 0; k < 8; ++k) {
            uint32_t bits;
            std::memcpy(&bits, tile + static_cast<size_t>(i) * stride + size_t(c + k) * 4, 4);
            columns[size_t(c + 1 + k)].bits[at + size_t(i)] = IsNaNBits(bits) ? kGap : bits;
          }
        c += 7;
        continue;
      }
      Column& col = columns[static_cast<size_t>(c) + 1];
      const uint8_t* src = tile + static_cast<size_t>(c) * 4;
      if (!col.general) {
        // The file is little-endian, as we are: a plain store.
        uint32_t* dst = col.bits.data() + at;
        for (long i = 0; i < m; ++i) {
          uint32_t bits;
          std::memcpy(&bits, src + static_cast<size_t>(i) * stride, 4);
          dst[i] = IsNaNBits(bits) ? kGap : bits;
        }
      } else {
        PackedCell* dst = col.cells.data() + at;
        for (long i = 0; i < m; ++i) {
          uint32_t bits;
          std::memcpy(&bits, src + static_cast<size_t>(i) * stride, 4);
          store(dst[i], bits);
        }
      }
    }
  }
  if (lines) LinesDone();
}

void Form_Worksheet::Impl::LoadFileRows(long r, long n, uint8_t* bytes, long count) const {
  if (n <= 0 || count <= 0) return;
  const size_t stride = static_cast<size_t>(count) * 4;
  auto fileBits = [this](const PackedCell& p) {
    double d;
    switch (p.kind) {
      case CellKind::F32:
        return BitsOf(p.v.f);
      case CellKind::F64:
        return BitsOf(float(p.v.d));
      case CellKind::Text:
        return ParseNumber(texts[p.v.text], d) ? BitsOf(float(d)) : kGap;
      default:
        return kGap;
    }
  };
  for (long t = 0; t < n; t += kTileRows) {
    const long m = std::min(kTileRows, n - t);
    uint8_t* tile = bytes + static_cast<size_t>(t) * stride;
    const long first = r + t;
    const bool body = first >= 1 && first + m <= rows;
    for (long c = 0; c < count; ++c) {
      uint8_t* dst = tile + static_cast<size_t>(c) * 4;
      const bool held = c + 1 < cols;
      if (body && c + 8 <= count && c + 8 < cols && CompactRun(c + 1)) {
        // Eight float columns at once, eight rows at a time. The columns'
        // next tile is asked for meanwhile: a hundred columns read a tile at
        // a time are more than the processor follows by itself.
        const long next = std::min(kTileRows, rows - (first + m));
        for (int k = 0; k < 8; ++k)
          for (long i = 0; i < next; i += 16)
            __builtin_prefetch(columns[size_t(c + 1 + k)].bits.data() + (first - 1 + m) + i);
        const uint32_t* from[8];
        const long m8 = m & ~7L;
        for (long i = 0; i < m8; i += 8) {
          for (int k = 0; k < 8; ++k) from[k] = columns[size_t(c + 1 + k)].bits.data() + (first - 1) + i;
          ColumnsToRows(from, dst + static_cast<size_t>(i) * stride, stride);
        }
        for (long i = m8; i < m; ++i)
          for (int k = 0; k < 8; ++k)
            std::memcpy(dst + static_cast<size_t>(i) * stride + size_t(k) * 4,
                        &columns[size_t(c + 1 + k)].bits[size_t(first - 1 + i)], 4);
        c += 7;
        continue;
      }
      if (held && body) {
        const Column& col = columns[static_cast<size_t>(c) + 1];
        if (!col.general) {
          const uint32_t* src = col.bits.data() + (first - 1);
          for (long i = 0; i < m; ++i)
            std::memcpy(dst + static_cast<size_t>(i) * stride, src + i, 4);
        } else {
          const PackedCell* src = col.cells.data() + (first - 1);
          for (long i = 0; i < m; ++i) {
            const uint32_t bits =
                src[i].kind == CellKind::F32 ? BitsOf(src[i].v.f) : fileBits(src[i]);
            std::memcpy(dst + static_cast<size_t>(i) * stride, &bits, 4);
          }
        }
        continue;
      }
      for (long i = 0; i < m; ++i) {
        const long row = first + i;
        uint32_t bits = kGap;
        if (held && row >= 0 && row < rows) {
          const PackedCell* p = Packed(row, c + 1);
          bits = p ? fileBits(*p)
                   : columns[static_cast<size_t>(c) + 1].bits[static_cast<size_t>(row - 1)];
        }
        std::memcpy(dst + static_cast<size_t>(i) * stride, &bits, 4);
      }
    }
  }
}

}  // namespace sv
