#include "worksheet/form_simple_math.h"

#include "worksheet/column_math.h"
#include "worksheet/form_worksheet.h"

namespace sv {

void Form_SimpleMath::Load(const Form_Worksheet& sheet) {
  List_Columns.clear();
  for (long c = 1; c < sheet.Cols(); ++c) List_Columns.push_back(sheet.ColName(c));
  List_ColumnsIndex = -1;
  if (sheet.Col() >= 1 && sheet.Col() < sheet.Cols()) {
    List_ColumnsIndex = int(sheet.Col() - 1);
    Text_Y1 = sheet.ColName(sheet.Col());
    Text_Y = Text_Y1;
  }
}

void Form_SimpleMath::Take(std::string& field) const {
  if (List_ColumnsIndex >= 0 && size_t(List_ColumnsIndex) < List_Columns.size())
    field = List_Columns[size_t(List_ColumnsIndex)];
}

void Form_SimpleMath::Command_SetY() { Take(Text_Y); }
void Form_SimpleMath::Command_SetY1() { Take(Text_Y1); }
void Form_SimpleMath::Command_SetY2() { Take(Text_Y2); }

const std::vector<std::string>& Form_SimpleMath::Operators() { return SimpleMathOperators(); }

}  // namespace sv
