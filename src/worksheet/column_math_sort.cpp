// Sorting rows of a sheet by one column. The result is that of a selection
// sort (for each place the first smallest remaining key is swapped in), which
// is not stable among equal keys; it is reached without the n^2 scans: a
// plain sort when the keys are distinct, else the swaps replayed on a heap.
#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>
#include <string>

#include "core/host.h"
#include "image/kernel/numbers.h"
#include "worksheet/column_math.h"
#include "worksheet/column_math_cells.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

// A float's bits as an unsigned key in the order of the numbers; -0 and 0
// are one key.
inline uint32_t OrderedKey(uint32_t bits) {
  if (bits == 0x80000000u) bits = 0;
  return (bits & 0x80000000u) ? ~bits : (bits | 0x80000000u);
}

// Sorts (key << 32 | index) by key, keeping the order of equal keys: three
// passes over 11-bit digits, a pass skipped when all share its digit.
void RadixSort(std::vector<uint64_t>& items) {
  const size_t n = items.size();
  std::vector<uint64_t> other(n);
  constexpr int kShifts[] = {32, 43, 54};
  for (int shift : kShifts) {
    size_t count[2049] = {};
    for (uint64_t v : items) ++count[((v >> shift) & 0x7FF) + 1];
    if (count[((items[0] >> shift) & 0x7FF) + 1] == n) continue;
    for (int d = 0; d < 2048; ++d) count[d + 1] += count[d];
    for (uint64_t v : items) other[count[(v >> shift) & 0x7FF]++] = v;
    items.swap(other);
  }
}

// A key cell for the general case: a number sorts before any text; texts by
// their bytes.
struct VariantKey {
  bool text = false;
  double number = 0.0;
  std::string str;
};

bool Less(const VariantKey& a, const VariantKey& b) {
  if (a.text != b.text) return !a.text;
  return a.text ? a.str < b.str : a.number < b.number;
}

// Dense ranks of the keys: equal keys share a rank.
std::vector<uint32_t> Ranks(const std::vector<VariantKey>& keys) {
  std::vector<uint32_t> idx(keys.size());
  std::iota(idx.begin(), idx.end(), 0u);
  std::sort(idx.begin(), idx.end(),
            [&](uint32_t a, uint32_t b) { return Less(keys[a], keys[b]); });
  std::vector<uint32_t> rank(keys.size());
  uint32_t r = 0;
  for (size_t i = 0; i < idx.size(); ++i) {
    if (i > 0 && Less(keys[idx[i - 1]], keys[idx[i]])) ++r;
    rank[idx[i]] = r;
  }
  return rank;
}

// Moves the cells of column `col` at rows[k] to rows[k] from rows[order[k]].
void Permute(Form_Worksheet& sheet, long col, const std::vector<long>& rows,
             const std::vector<uint32_t>& order) {
  const size_t n = rows.size();
  if (uint32_t* bits = sheet.FloatBody(col)) {
    std::vector<uint32_t> old(n);
    for (size_t k = 0; k < n; ++k) old[k] = bits[rows[k] - 1];
    for (size_t k = 0; k < n; ++k) bits[rows[k] - 1] = old[order[k]];
    return;
  }
  std::vector<Cell> old(n);
  for (size_t k = 0; k < n; ++k) old[k] = sheet.CellAt(rows[k], col);
  for (size_t k = 0; k < n; ++k)
    if (order[k] != k) sheet.TextMatrix(rows[k], col, old[order[k]]);
}

}  // namespace

std::vector<uint32_t> SelectionOrder(const std::vector<uint32_t>& keys) {
  const uint32_t n = uint32_t(keys.size());
  // at[p]: the key at place p; where[k]: the place of key k. The heap holds
  // the keys not yet placed, smallest key first, then the lowest place: the
  // one the scan of a selection sort would stop at.
  std::vector<uint32_t> at(n), where(n), heap(n), slot(n), order(n);
  std::iota(at.begin(), at.end(), 0u);
  std::iota(where.begin(), where.end(), 0u);
  std::iota(heap.begin(), heap.end(), 0u);
  std::iota(slot.begin(), slot.end(), 0u);
  auto before = [&](uint32_t a, uint32_t b) {
    return keys[a] < keys[b] || (keys[a] == keys[b] && where[a] < where[b]);
  };
  size_t size = n;
  auto siftDown = [&](size_t i) {
    const uint32_t item = heap[i];
    for (;;) {
      size_t c = 2 * i + 1;
      if (c >= size) break;
      if (c + 1 < size && before(heap[c + 1], heap[c])) ++c;
      if (!before(heap[c], item)) break;
      heap[i] = heap[c];
      slot[heap[i]] = uint32_t(i);
      i = c;
    }
    heap[i] = item;
    slot[item] = uint32_t(i);
  };
  for (size_t i = size / 2; i-- > 0;) siftDown(i);
  for (uint32_t place = 0; place < n; ++place) {
    const uint32_t top = heap[0];
    const uint32_t from = where[top];
    heap[0] = heap[--size];
    slot[heap[0]] = 0;
    if (size > 0) siftDown(0);
    if (from != place) {
      // The key at this place goes to where the chosen one stood: later.
      const uint32_t moved = at[place];
      at[from] = moved;
      where[moved] = from;
      siftDown(slot[moved]);
    }
    at[place] = top;
    where[top] = place;
    order[place] = top;
  }
  return order;
}

long Sort(Form_Worksheet& sheet, long direction, long scope) {
  const long first = std::max(sheet.SelStartRow(), 1L);
  const long last = std::min(sheet.SelEndRow(), sheet.Rows() - 1);
  const long key = sheet.SelStartCol();
  if (last < first || key < 1 || key >= sheet.Cols()) return 0;
  if (sheet.IsAnyProtected()) return 0;
  ShowStatus("Sorting...");
  host().SetBusy(true);
  sheet.SetChanged();

  // The places that take part: a gap (or a number that is none) is never
  // chosen and never replaced, so it keeps its row.
  std::vector<long> rows;
  std::vector<uint32_t> keys;
  const bool descending = direction == 1;
  if (const uint32_t* bits = sheet.FloatBody(key)) {
    rows.reserve(size_t(last - first + 1));
    keys.reserve(size_t(last - first + 1));
    for (long r = first; r <= last; ++r) {
      const uint32_t b = bits[r - 1];
      if ((b & 0x7FFFFFFFu) > 0x7F800000u) continue;  // the gap and every NaN
      rows.push_back(r);
      const uint32_t k = OrderedKey(b);
      keys.push_back(descending ? ~k : k);
    }
  } else {
    std::vector<VariantKey> vk;
    for (long r = first; r <= last; ++r) {
      const Cell c = sheet.CellAt(r, key);
      VariantKey k;
      if (c.IsText()) {
        k.text = true;
        k.str = c.RawText();
      } else if (c.IsNull() || std::isnan(c.Value())) {
        continue;
      } else {
        k.number = c.Value();
      }
      rows.push_back(r);
      vk.push_back(std::move(k));
    }
    keys = Ranks(vk);
    if (descending) {
      const uint32_t top = keys.empty() ? 0 : *std::max_element(keys.begin(), keys.end());
      for (uint32_t& k : keys) k = top - k;
    }
  }

  std::vector<uint32_t> order(keys.size());
  if (!keys.empty()) {
    std::vector<uint64_t> items(keys.size());
    for (size_t i = 0; i < keys.size(); ++i) items[i] = uint64_t(keys[i]) << 32 | i;
    RadixSort(items);
    bool ties = false;
    for (size_t i = 0; i < items.size(); ++i) {
      order[i] = uint32_t(items[i]);
      if (i > 0 && (items[i] >> 32) == (items[i - 1] >> 32)) ties = true;
    }
    // Equal keys end in the order the swaps leave them.
    if (ties) order = SelectionOrder(keys);
  }

  if (scope != 0) {
    Permute(sheet, key, rows, order);
    sheet.ColChanged(key, true);
    if (sheet.Redraw()) sheet.DrawColumn(key);
  } else {
    for (long c = 1; c < sheet.Cols(); ++c) {
      Permute(sheet, c, rows, order);
      sheet.ColChanged(c, true);
    }
    if (sheet.Redraw()) sheet.DrawWorksheet();
  }
  sheet.UpdatePlots();
  host().SetBusy(false);
  ShowStatus("");
  return 1;
}

}  // namespace sv
