// The window of one worksheet: a grid that reads the sheet's cells as they
// come into sight (nothing of the sheet is copied), with the header row and
// the index column as the grid's headers. Selection, the current cell and
// in-place editing go through the sheet's own fields and setters.
#pragma once

#include <QAbstractTableModel>
#include <QMdiSubWindow>
#include <QTableView>
#include <QWidget>

#include "worksheet/form_worksheet.h"

class QHeaderView;

namespace sv::app {

// The sheet as Qt's table model: data rows 1 .. Rows - 1 and data columns
// 1 .. Cols - 1 of the sheet are rows and columns 0 .. of the model. The
// shape is the one last synced, so that Qt hears of every change in order.
class SheetTableModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  explicit SheetTableModel(Form_Worksheet* sheet, QObject* parent = nullptr);

  void Detach() { sheet_ = nullptr; }
  // Brings the shape Qt knows to the sheet's; true when it changed.
  bool SyncShape();

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  // Redraw requests in the sheet's indices.
  void CellChanged(long row, long col);
  void RowChanged(long row);
  void ColumnChanged(long col);

 private:
  // The sheet's cell as text, or "" outside the sheet as it stands now.
  QString CellText(long row, long col) const;

  Form_Worksheet* sheet_;
  int rows_ = 0, cols_ = 0;
};

// The grid itself; its headers select whole columns and rows.
class SheetGrid : public QTableView {
  Q_OBJECT
 public:
  explicit SheetGrid(QWidget* parent = nullptr) : QTableView(parent) {}
  using QTableView::edit;
  // Scroll bars and headers fitted to the model at once, not on the next
  // pass of the event loop: the sheet asks what is visible right after.
  using QTableView::updateGeometries;
};

class WorksheetWindow : public QWidget, public WorksheetView {
  Q_OBJECT
 public:
  explicit WorksheetWindow(Form_Worksheet& sheet, QWidget* parent = nullptr);
  ~WorksheetWindow() override;

  // The sheet, or nullptr once it has gone.
  Form_Worksheet* Sheet() const { return sheet_; }
  // The sheet goes: no further calls reach it.
  void Detach();
  void SetSubWindow(QMdiSubWindow* sub) { sub_ = sub; }
  QMdiSubWindow* SubWindow() const { return sub_; }
  SheetGrid* Grid() const { return grid_; }
  SheetTableModel* TableModel() const { return model_; }
  QSize sizeHint() const override;

  // The sheet's metrics and selection shown anew.
  void Refresh();

  // WorksheetView: redraws.
  void DrawCel(const Form_Worksheet&, long row, long col) override;
  void DrawRow(const Form_Worksheet&, long row) override;
  void DrawColumn(const Form_Worksheet&, long col) override;
  void DrawGrid(const Form_Worksheet&) override;
  void DrawWorksheet(const Form_Worksheet&) override;
  void CaptionChanged(const Form_Worksheet&) override;
  void InvertSelection(const Form_Worksheet&, bool on) override;
  void BringToFront(const Form_Worksheet&) override;
  void EditCell(const Form_Worksheet&) override;
  void ShowCurrentCell(const Form_Worksheet&) override;

  // WorksheetView: queries, from the grid as it is on the screen.
  long TopRow(const Form_Worksheet& s) const override;
  long BottomRow(const Form_Worksheet& s) const override;
  long LeftCol(const Form_Worksheet& s) const override;
  long RightCol(const Form_Worksheet& s) const override;
  long VisibleRows(const Form_Worksheet& s) const override;
  bool IsRowVisible(const Form_Worksheet& s, long row) const override;
  bool IsColumnVisible(const Form_Worksheet& s, long col) const override;
  long RowPos(const Form_Worksheet& s, long row) const override;
  long ColPos(const Form_Worksheet& s, long col) const override;
  long MouseRow(const Form_Worksheet& s) const override;
  long MouseCol(const Form_Worksheet& s) const override;
  long DigitWidth(const Form_Worksheet&) const override;
  long CharHeight(const Form_Worksheet&) const override;

 protected:
  bool eventFilter(QObject* watched, QEvent* e) override;

 private:
  enum class Pick { Cells, Columns, Rows };
  void ApplyMetrics();
  // The grid's selection to the sheet, and the sheet's to the grid.
  void PushSelection();
  void ShowSelection();
  void HeaderPick(Pick pick, int section, bool extend);
  void CurrentMoved(const QModelIndex& current);

  Form_Worksheet* sheet_;
  QMdiSubWindow* sub_ = nullptr;
  SheetGrid* grid_;
  SheetTableModel* model_;
  Pick pick_ = Pick::Cells;
  int anchor_ = -1;       // the header section a pick over the headers started at
  int pickEnd_ = -1;      // and the one it reaches
  bool headerDrag_ = false;
  bool headerPicking_ = false;  // the headers are setting the grid's selection
  bool pushing_ = false;  // the grid's selection is going to the sheet
  bool showing_ = false;  // the sheet's selection is coming to the grid
};

}  // namespace sv::app
