#include "app/worksheet_window.h"

#include <algorithm>
#include <utility>

#include <QCursor>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMdiArea>
#include <QMouseEvent>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/toolbar_icons.h"

namespace sv::app {

namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }

// The sheet's alignment codes: 0..8 are left, centre and right, each top,
// centre and bottom; 9 is general (text left, numbers right).
Qt::Alignment AlignmentOf(long code, bool numeric) {
  Qt::Alignment h = Qt::AlignLeft, v = Qt::AlignVCenter;
  if (code >= 0 && code <= 8) {
    const long across = code / 3, down = code % 3;
    h = across == 0 ? Qt::AlignLeft : across == 1 ? Qt::AlignHCenter : Qt::AlignRight;
    v = down == 0 ? Qt::AlignTop : down == 1 ? Qt::AlignVCenter : Qt::AlignBottom;
  } else if (numeric) {
    h = Qt::AlignRight;
  }
  return h | v;
}

}  // namespace

// --- The table model -----------------------------------------------------------------

SheetTableModel::SheetTableModel(Form_Worksheet* sheet, QObject* parent)
    : QAbstractTableModel(parent), sheet_(sheet) {
  if (sheet_) {
    rows_ = int(std::max(0L, sheet_->Rows() - 1));
    cols_ = int(std::max(0L, sheet_->Cols() - 1));
  }
}

bool SheetTableModel::SyncShape() {
  const int rows = sheet_ ? int(std::max(0L, sheet_->Rows() - 1)) : 0;
  const int cols = sheet_ ? int(std::max(0L, sheet_->Cols() - 1)) : 0;
  const std::pair<int, int> before(rows_, cols_);
  // Cells are read on demand: Qt only needs to hear how many there are.
  if (cols > cols_) {
    beginInsertColumns(QModelIndex(), cols_, cols - 1);
    cols_ = cols;
    endInsertColumns();
  } else if (cols < cols_) {
    beginRemoveColumns(QModelIndex(), cols, cols_ - 1);
    cols_ = cols;
    endRemoveColumns();
  }
  if (rows > rows_) {
    beginInsertRows(QModelIndex(), rows_, rows - 1);
    rows_ = rows;
    endInsertRows();
  } else if (rows < rows_) {
    beginRemoveRows(QModelIndex(), rows, rows_ - 1);
    rows_ = rows;
    endRemoveRows();
  }
  return rows != before.first || cols != before.second;
}

int SheetTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : rows_;
}

int SheetTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : cols_;
}

QString SheetTableModel::CellText(long row, long col) const {
  // The sheet may have changed shape since Qt last heard of it (bulk
  // writers redraw once at the end): what is not there now reads empty.
  if (!sheet_ || row < 0 || col < 0 || row >= sheet_->Rows() || col >= sheet_->Cols()) return {};
  return Q(sheet_->CellAt(row, col).Text());
}

QVariant SheetTableModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || !sheet_) return {};
  const long row = index.row() + 1, col = index.column() + 1;
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return CellText(row, col);
    case Qt::TextAlignmentRole: {
      if (row >= sheet_->Rows() || col >= sheet_->Cols()) return {};
      return QVariant::fromValue(
          AlignmentOf(sheet_->ColAlignment(col), sheet_->IsNumeric(row, col)));
    }
    default:
      return {};
  }
}

QVariant SheetTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (!sheet_ || section < 0) return {};
  const bool across = orientation == Qt::Horizontal;
  const long row = across ? 0 : section + 1;
  const long col = across ? section + 1 : 0;
  switch (role) {
    case Qt::DisplayRole:
      return CellText(row, col);
    case Qt::TextAlignmentRole:
      if (col >= sheet_->Cols()) return {};
      return QVariant::fromValue(across ? AlignmentOf(sheet_->FixedAlignment(col), false)
                                        : Qt::Alignment(Qt::AlignRight | Qt::AlignVCenter));
    default:
      return {};
  }
}

Qt::ItemFlags SheetTableModel::flags(const QModelIndex& index) const {
  if (!index.isValid() || !sheet_) return Qt::NoItemFlags;
  Qt::ItemFlags f = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  const long col = index.column() + 1;
  if (!sheet_->Locked() && col < sheet_->Cols() && !sheet_->Record(col).Protected)
    f |= Qt::ItemIsEditable;
  return f;
}

bool SheetTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::EditRole || !index.isValid() || !(flags(index) & Qt::ItemIsEditable))
    return false;
  const long row = index.row() + 1, col = index.column() + 1;
  if (row >= sheet_->Rows() || col >= sheet_->Cols()) return false;
  // The editor writes the current cell, as typing into the sheet does.
  sheet_->Row(row);
  sheet_->Col(col);
  sheet_->text(value.toString().toStdString());
  emit dataChanged(index, index);
  return true;
}

void SheetTableModel::CellChanged(long row, long col) {
  if (row == 0 && col >= 1) {
    emit headerDataChanged(Qt::Horizontal, int(col - 1), int(col - 1));
  } else if (col == 0 && row >= 1) {
    emit headerDataChanged(Qt::Vertical, int(row - 1), int(row - 1));
  } else if (row >= 1 && col >= 1 && row - 1 < rows_ && col - 1 < cols_) {
    const QModelIndex i = index(int(row - 1), int(col - 1));
    emit dataChanged(i, i);
  }
}

void SheetTableModel::RowChanged(long row) {
  if (cols_ == 0) return;
  if (row == 0) {
    emit headerDataChanged(Qt::Horizontal, 0, cols_ - 1);
  } else if (row >= 1 && row - 1 < rows_) {
    emit dataChanged(index(int(row - 1), 0), index(int(row - 1), cols_ - 1));
    emit headerDataChanged(Qt::Vertical, int(row - 1), int(row - 1));
  }
}

void SheetTableModel::ColumnChanged(long col) {
  if (rows_ == 0) return;
  if (col == 0) {
    emit headerDataChanged(Qt::Vertical, 0, rows_ - 1);
  } else if (col >= 1 && col - 1 < cols_) {
    emit dataChanged(index(0, int(col - 1)), index(rows_ - 1, int(col - 1)));
    emit headerDataChanged(Qt::Horizontal, int(col - 1), int(col - 1));
  }
}

// --- The window ---------------------------------------------------------------------

WorksheetWindow::WorksheetWindow(Form_Worksheet& sheet, QWidget* parent)
    : QWidget(parent), sheet_(&sheet) {
  setObjectName("Form_Worksheet");
  setWindowIcon(DocumentIcon(DocumentKind::Worksheet));
  grid_ = new SheetGrid(this);
  grid_->setObjectName("Grid");
  model_ = new SheetTableModel(&sheet, this);
  grid_->setModel(model_);
  grid_->setSelectionMode(QAbstractItemView::ContiguousSelection);
  grid_->setSelectionBehavior(QAbstractItemView::SelectItems);
  grid_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                         QAbstractItemView::AnyKeyPressed);
  grid_->setWordWrap(false);
  grid_->setCornerButtonEnabled(false);
  grid_->setHorizontalScrollMode(QAbstractItemView::ScrollPerItem);
  grid_->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
  for (QHeaderView* h : {grid_->horizontalHeader(), grid_->verticalHeader()}) {
    // One width for all data columns and one height for all rows: the
    // headers never measure the sections one by one.
    h->setSectionResizeMode(QHeaderView::Fixed);
    h->setHighlightSections(true);
    h->setMinimumSectionSize(1);
    h->viewport()->installEventFilter(this);
  }
  grid_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignBottom);

  auto* box = new QVBoxLayout(this);
  box->setContentsMargins(0, 0, 0, 0);
  box->addWidget(grid_);
  setFocusProxy(grid_);

  QItemSelectionModel* selection = grid_->selectionModel();
  connect(selection, &QItemSelectionModel::selectionChanged, this, [this] {
    if (showing_ || headerPicking_) return;
    pick_ = Pick::Cells;
    PushSelection();
  });
  connect(selection, &QItemSelectionModel::currentChanged, this,
          [this](const QModelIndex& current) { CurrentMoved(current); });

  sheet.SetView(this);
  Refresh();
  setWindowTitle(Q(sheet.Caption()));
}

WorksheetWindow::~WorksheetWindow() { Detach(); }

void WorksheetWindow::Detach() {
  if (sheet_) sheet_->SetView(nullptr);
  sheet_ = nullptr;
  model_->Detach();
}

QSize WorksheetWindow::sizeHint() const {
  const QHeaderView* h = grid_->horizontalHeader();
  const QHeaderView* v = grid_->verticalHeader();
  const int columns = std::clamp(model_->columnCount(), 4, 6);
  const int width = v->width() + columns * h->defaultSectionSize() +
                    grid_->verticalScrollBar()->sizeHint().width() + 2 * grid_->frameWidth();
  const int height = h->height() + 20 * v->defaultSectionSize() +
                     grid_->horizontalScrollBar()->sizeHint().height() + 2 * grid_->frameWidth();
  return QSize(width, height);
}

void WorksheetWindow::Refresh() {
  if (!sheet_) return;
  const bool reshaped = model_->SyncShape();
  ApplyMetrics();
  if (reshaped) grid_->updateGeometries();
  ShowSelection();
  grid_->viewport()->update();
  grid_->horizontalHeader()->viewport()->update();
  grid_->verticalHeader()->viewport()->update();
}

void WorksheetWindow::ApplyMetrics() {
  if (!sheet_) return;
  QHeaderView* h = grid_->horizontalHeader();
  QHeaderView* v = grid_->verticalHeader();
  const QFontMetrics fm = grid_->fontMetrics();
  const int digit = fm.horizontalAdvance('8');
  long colWidth = sheet_->ColWidth();
  if (colWidth <= 0) colWidth = 13 * digit + 2;
  const int columnWidth = int(std::clamp(colWidth, 4L, 4000L));
  if (h->defaultSectionSize() != columnWidth) h->setDefaultSectionSize(columnWidth);
  const int rowHeight = int(std::clamp(sheet_->RowHeight(), 4L, 400L));
  if (v->defaultSectionSize() != rowHeight) v->setDefaultSectionSize(rowHeight);
  const int headerHeight = int(std::clamp(sheet_->HeaderRowHeight(), 4L, 800L));
  if (h->height() != headerHeight) h->setFixedHeight(headerHeight);
  // The index column holds five digits; the header's own margins come on top
  // so that "65520" is never cut.
  const int indexWidth = std::max(int(std::clamp(sheet_->FixedColWidth(), 4L, 4000L)),
                                  fm.horizontalAdvance("65520") + 2 * digit);
  if (v->width() != indexWidth) v->setFixedWidth(indexWidth);
}

// --- Selection ----------------------------------------------------------------------

void WorksheetWindow::PushSelection() {
  if (!sheet_ || showing_) return;
  pushing_ = true;
  if (pick_ == Pick::Cells) {
    const QItemSelection selection = grid_->selectionModel()->selection();
    int top = -1, left = -1, bottom = -1, right = -1;
    for (const QItemSelectionRange& r : selection) {
      top = top < 0 ? r.top() : std::min(top, r.top());
      left = left < 0 ? r.left() : std::min(left, r.left());
      bottom = std::max(bottom, r.bottom());
      right = std::max(right, r.right());
    }
    if (top < 0) {
      const QModelIndex current = grid_->currentIndex();
      if (current.isValid()) {
        top = bottom = current.row();
        left = right = current.column();
      }
    }
    if (top < 0) {
      sheet_->SetSelection(-1, -1, -1, -1);
    } else {
      sheet_->SelStartRow(top + 1);
      sheet_->SelEndRow(bottom + 1);
      sheet_->SelStartCol(left + 1);
      sheet_->SelEndCol(right + 1);
    }
  } else {
    const int first = std::min(anchor_, pickEnd_) + 1, last = std::max(anchor_, pickEnd_) + 1;
    if (pick_ == Pick::Columns) {
      // The header row was hit: SelStartRow 0 takes the columns whole.
      sheet_->SelStartCol(first);
      sheet_->SelEndCol(last);
      sheet_->SelStartRow(0);
    } else {
      sheet_->SelStartRow(first);
      sheet_->SelEndRow(last);
      sheet_->SelStartCol(0);
    }
  }
  pushing_ = false;
}

void WorksheetWindow::ShowSelection() {
  if (!sheet_ || pushing_) return;
  model_->SyncShape();
  const int rows = model_->rowCount(), cols = model_->columnCount();
  const long sr = sheet_->SelStartRow(), er = sheet_->SelEndRow();
  const long sc = sheet_->SelStartCol(), ec = sheet_->SelEndCol();
  QItemSelection selection;
  if (sr >= 0 && er >= 0 && sc >= 0 && ec >= 0 && rows > 0 && cols > 0) {
    auto clampRow = [&](long r) { return int(std::clamp(r - 1, 0L, long(rows - 1))); };
    auto clampCol = [&](long c) { return int(std::clamp(c - 1, 0L, long(cols - 1))); };
    int r0 = clampRow(std::min(sr, er)), r1 = clampRow(std::max(sr, er));
    int c0 = clampCol(std::min(sc, ec)), c1 = clampCol(std::max(sc, ec));
    if (sr == 0) r0 = 0, r1 = rows - 1;
    if (sc == 0) c0 = 0, c1 = cols - 1;
    selection.select(model_->index(r0, c0), model_->index(r1, c1));
  }
  showing_ = true;
  if (selection != grid_->selectionModel()->selection())
    grid_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  showing_ = false;
}

void WorksheetWindow::HeaderPick(Pick pick, int section, bool extend) {
  if (!sheet_ || section < 0) return;
  model_->SyncShape();
  if (!extend || anchor_ < 0 || pick != pick_) anchor_ = section;
  pick_ = pick;
  pickEnd_ = section;
  const int rows = model_->rowCount(), cols = model_->columnCount();
  const int first = std::min(anchor_, section), last = std::max(anchor_, section);
  QItemSelection selection;
  if (pick == Pick::Columns && rows > 0)
    selection.select(model_->index(0, first), model_->index(rows - 1, last));
  if (pick == Pick::Rows && cols > 0)
    selection.select(model_->index(first, 0), model_->index(last, cols - 1));
  headerPicking_ = true;
  grid_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
  // The current cell moves into the picked column or row, where it was in
  // the other direction.
  const QModelIndex current = grid_->currentIndex();
  const QModelIndex target =
      pick == Pick::Columns
          ? model_->index(current.isValid() ? current.row() : 0, section)
          : model_->index(section, current.isValid() ? current.column() : 0);
  if (target.isValid())
    grid_->selectionModel()->setCurrentIndex(target, QItemSelectionModel::NoUpdate);
  headerPicking_ = false;
  PushSelection();
}

void WorksheetWindow::CurrentMoved(const QModelIndex& current) {
  if (!sheet_ || showing_ || !current.isValid()) return;
  sheet_->Col(current.column() + 1);
  sheet_->Row(current.row() + 1);
}

bool WorksheetWindow::eventFilter(QObject* watched, QEvent* e) {
  QHeaderView* across = grid_->horizontalHeader();
  QHeaderView* down = grid_->verticalHeader();
  const bool isAcross = watched == across->viewport();
  if (!isAcross && watched != down->viewport()) return QWidget::eventFilter(watched, e);
  QHeaderView* header = isAcross ? across : down;
  const Pick pick = isAcross ? Pick::Columns : Pick::Rows;
  switch (e->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
      auto* m = static_cast<QMouseEvent*>(e);
      if (m->button() != Qt::LeftButton) return true;
      const QPoint pos = m->position().toPoint();
      const int section = header->logicalIndexAt(isAcross ? pos.x() : pos.y());
      if (section < 0) return true;
      grid_->setFocus();
      headerDrag_ = true;
      HeaderPick(pick, section, (m->modifiers() & Qt::ShiftModifier) != 0);
      return true;
    }
    case QEvent::MouseMove: {
      auto* m = static_cast<QMouseEvent*>(e);
      if (!headerDrag_ || !(m->buttons() & Qt::LeftButton)) return true;
      const QPoint pos = m->position().toPoint();
      const int at = isAcross ? pos.x() : pos.y();
      int section = header->logicalIndexAt(at);
      if (section < 0) section = at < 0 ? 0 : header->count() - 1;
      if (section != pickEnd_) HeaderPick(pick, section, true);
      return true;
    }
    case QEvent::MouseButtonRelease:
      headerDrag_ = false;
      return true;
    default:
      return QWidget::eventFilter(watched, e);
  }
}

// --- WorksheetView: redraws -------------------------------------------------------------

void WorksheetWindow::DrawCel(const Form_Worksheet&, long row, long col) {
  if (!sheet_) return;
  model_->SyncShape();
  if (row < 1 || col < 1) {
    model_->CellChanged(row, col);
    return;
  }
  // Whole-sheet readers ask for every cell: only those in sight cost a paint.
  // Rows and columns are all of one size and scroll by whole items, so the
  // scroll bars tell the first in sight.
  const long down = row - 1 - grid_->verticalScrollBar()->value();
  const long across = col - 1 - grid_->horizontalScrollBar()->value();
  const QSize view = grid_->viewport()->size();
  if (down < 0 || down > view.height() / std::max(1, grid_->verticalHeader()->defaultSectionSize()))
    return;
  if (across < 0 ||
      across > view.width() / std::max(1, grid_->horizontalHeader()->defaultSectionSize()))
    return;
  const QModelIndex index = model_->index(int(row - 1), int(col - 1));
  if (index.isValid()) grid_->viewport()->update(grid_->visualRect(index));
}

void WorksheetWindow::DrawRow(const Form_Worksheet&, long row) {
  if (!sheet_) return;
  model_->SyncShape();
  model_->RowChanged(row);
}

void WorksheetWindow::DrawColumn(const Form_Worksheet&, long col) {
  if (!sheet_) return;
  model_->SyncShape();
  model_->ColumnChanged(col);
}

void WorksheetWindow::DrawGrid(const Form_Worksheet&) {
  Refresh();
}

void WorksheetWindow::DrawWorksheet(const Form_Worksheet&) {
  Refresh();
}

void WorksheetWindow::CaptionChanged(const Form_Worksheet& sheet) {
  const QString caption = Q(sheet.Caption());
  setWindowTitle(caption);
  if (sub_) sub_->setWindowTitle(caption);
}

void WorksheetWindow::InvertSelection(const Form_Worksheet& sheet, bool on) {
  // Bulk writers move the selection row by row with the redraw off; the
  // grid shows where it ends when the redraw comes back.
  if (on && sheet.Redraw()) ShowSelection();
}

void WorksheetWindow::BringToFront(const Form_Worksheet&) {
  if (!sub_) return;
  sub_->show();
  if (QMdiArea* area = sub_->mdiArea()) area->setActiveSubWindow(sub_);
  sub_->raise();
}

void WorksheetWindow::EditCell(const Form_Worksheet&) {
  if (!sheet_) return;
  model_->SyncShape();
  const QModelIndex index = model_->index(int(sheet_->Row() - 1), int(sheet_->Col() - 1));
  if (!index.isValid()) return;
  grid_->setCurrentIndex(index);
  grid_->edit(index);
}

void WorksheetWindow::ShowCurrentCell(const Form_Worksheet&) {
  if (!sheet_) return;
  model_->SyncShape();
  const QModelIndex index = model_->index(int(sheet_->Row() - 1), int(sheet_->Col() - 1));
  if (!index.isValid()) return;
  grid_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
  grid_->scrollTo(index);
}

// --- WorksheetView: queries ---------------------------------------------------------------

long WorksheetWindow::TopRow(const Form_Worksheet&) const {
  const int r = grid_->rowAt(0);
  return r < 0 ? 1 : r + 1;
}

long WorksheetWindow::BottomRow(const Form_Worksheet& s) const {
  const int r = grid_->rowAt(grid_->viewport()->height() - 1);
  // All rows fit: the last one is the lowest in sight.
  return r < 0 ? std::max(0L, s.Rows() - 1) : r + 1;
}

long WorksheetWindow::LeftCol(const Form_Worksheet&) const {
  const int c = grid_->columnAt(0);
  return c < 0 ? 1 : c + 1;
}

long WorksheetWindow::RightCol(const Form_Worksheet& s) const {
  const int c = grid_->columnAt(grid_->viewport()->width() - 1);
  return c < 0 ? std::max(0L, s.Cols() - 1) : c + 1;
}

long WorksheetWindow::VisibleRows(const Form_Worksheet&) const {
  return grid_->viewport()->height() / std::max(1, grid_->verticalHeader()->defaultSectionSize());
}

bool WorksheetWindow::IsRowVisible(const Form_Worksheet& s, long row) const {
  if (row < 0 || row >= s.Rows()) return false;
  return row == 0 || (row >= TopRow(s) && row <= BottomRow(s));
}

bool WorksheetWindow::IsColumnVisible(const Form_Worksheet& s, long col) const {
  if (col < 0 || col >= s.Cols()) return false;
  return col == 0 || (col >= LeftCol(s) && col <= RightCol(s));
}

long WorksheetWindow::RowPos(const Form_Worksheet&, long row) const {
  if (row <= 0) return 0;
  return grid_->horizontalHeader()->height() + grid_->rowViewportPosition(int(row - 1));
}

long WorksheetWindow::ColPos(const Form_Worksheet&, long col) const {
  if (col <= 0) return 0;
  return grid_->verticalHeader()->width() + grid_->columnViewportPosition(int(col - 1));
}

long WorksheetWindow::MouseRow(const Form_Worksheet&) const {
  const QPoint global = QCursor::pos();
  const QPoint in = grid_->viewport()->mapFromGlobal(global);
  if (grid_->viewport()->rect().contains(in)) {
    const int r = grid_->rowAt(in.y());
    return r < 0 ? -1 : r + 1;
  }
  const QHeaderView* h = grid_->horizontalHeader();
  if (h->rect().contains(h->mapFromGlobal(global))) return 0;
  const QHeaderView* v = grid_->verticalHeader();
  const QPoint at = v->viewport()->mapFromGlobal(global);
  if (v->viewport()->rect().contains(at)) {
    const int r = v->logicalIndexAt(at.y());
    return r < 0 ? -1 : r + 1;
  }
  return -1;
}

long WorksheetWindow::MouseCol(const Form_Worksheet&) const {
  const QPoint global = QCursor::pos();
  const QPoint in = grid_->viewport()->mapFromGlobal(global);
  if (grid_->viewport()->rect().contains(in)) {
    const int c = grid_->columnAt(in.x());
    return c < 0 ? -1 : c + 1;
  }
  const QHeaderView* v = grid_->verticalHeader();
  if (v->rect().contains(v->mapFromGlobal(global))) return 0;
  const QHeaderView* h = grid_->horizontalHeader();
  const QPoint at = h->viewport()->mapFromGlobal(global);
  if (h->viewport()->rect().contains(at)) {
    const int c = h->logicalIndexAt(at.x());
    return c < 0 ? -1 : c + 1;
  }
  return -1;
}

long WorksheetWindow::DigitWidth(const Form_Worksheet&) const {
  return grid_->fontMetrics().horizontalAdvance('8');
}

long WorksheetWindow::CharHeight(const Form_Worksheet&) const {
  return grid_->fontMetrics().height();
}

}  // namespace sv::app
