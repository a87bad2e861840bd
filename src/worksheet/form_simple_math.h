// The dialog of two-column arithmetic: Y = Y1 operator Y2, the column names
// typed or taken from the list of the sheet's columns.
#pragma once

#include <string>
#include <vector>

namespace sv {

class Form_Worksheet;

class Form_SimpleMath {
 public:
  // Target and operands: column names (an operand may also be a number).
  std::string Text_Y, Text_Y1, Text_Y2;
  // Index into SimpleMathOperators().
  int Combo_Operator = 0;
  // The sheet's data columns by name, and the one chosen (-1 none).
  std::vector<std::string> List_Columns;
  int List_ColumnsIndex = -1;

  // The list from the sheet; Y1 and Y the current column to begin with.
  void Load(const Form_Worksheet& sheet);
  // The chosen list entry into a field; nothing without a choice.
  void Command_SetY();
  void Command_SetY1();
  void Command_SetY2();
  static const std::vector<std::string>& Operators();

 private:
  void Take(std::string& field) const;
};

}  // namespace sv
