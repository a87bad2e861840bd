#include "worksheet/form_sort.h"

#include "worksheet/form_simple_math.h"

namespace sv {

const std::vector<std::string>& Form_Sort::SortItems() {
  static const std::vector<std::string> items = {"Ascending", "Descending"};
  return items;
}

const std::vector<std::string>& Form_Sort::SelectionItems() {
  static const std::vector<std::string> items = {"Whole rows", "Selected column only"};
  return items;
}

ColumnDialogs& ColumnMathDialogs() {
  static ColumnDialogs dialogs;
  return dialogs;
}

bool ShowDialog(Form_Sort& form) {
  return ColumnMathDialogs().sort ? ColumnMathDialogs().sort(form) : false;
}

bool ShowDialog(Form_SimpleMath& form) {
  return ColumnMathDialogs().simpleMath ? ColumnMathDialogs().simpleMath(form) : false;
}

}  // namespace sv
