#include "worksheet/form_worksheet.h"

#include "core/mdi_main.h"
#include "worksheet/sheet_plot.h"

namespace sv {

struct Form_Worksheet::Impl {};

long WorksheetView::TopRow(const Form_Worksheet&) const { return 1; }
long WorksheetView::BottomRow(const Form_Worksheet& s) const { return s.Rows() - 1; }
long WorksheetView::LeftCol(const Form_Worksheet&) const { return 1; }
long WorksheetView::RightCol(const Form_Worksheet& s) const { return s.Cols() - 1; }
long WorksheetView::VisibleRows(const Form_Worksheet& s) const { return s.Rows() - 1; }
bool WorksheetView::IsRowVisible(const Form_Worksheet& s, long row) const {
  return row >= 0 && row < s.Rows();
}
bool WorksheetView::IsColumnVisible(const Form_Worksheet& s, long col) const {
  return col >= 0 && col < s.Cols();
}
long WorksheetView::RowPos(const Form_Worksheet&, long) const { return 0; }
long WorksheetView::ColPos(const Form_Worksheet&, long) const { return 0; }

Form_Worksheet::Form_Worksheet(MDIForm_Main* main) : main_(main), impl_(std::make_unique<Impl>()) {}
Form_Worksheet::~Form_Worksheet() = default;
bool Form_Worksheet::Invoke(const std::string&) { return false; }
bool Form_Worksheet::Offers(const std::string&) const { return false; }
std::string Form_Worksheet::Caption() const { return Filename_; }
void Form_Worksheet::SetTitle(const std::string& title) { Filename_ = title; }
bool Form_Worksheet::QueryUnload() { return true; }

}  // namespace sv
