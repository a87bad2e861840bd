// The sort dialog: direction and scope of Sort.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace sv {

struct Form_Sort {
  // Direction: 0 ascending, 1 descending.
  int Combo_Sort = 0;
  // Scope: 0 whole rows move with their key, 1 the key column alone.
  int Combo_Selection = 0;
  static const std::vector<std::string>& SortItems();
  static const std::vector<std::string>& SelectionItems();
};

class Form_SimpleMath;

// How the column dialogs are shown: each returns true for OK. Without a
// registered function a dialog counts as cancelled.
struct ColumnDialogs {
  std::function<bool(Form_Sort&)> sort;
  std::function<bool(Form_SimpleMath&)> simpleMath;
};
ColumnDialogs& ColumnMathDialogs();
bool ShowDialog(Form_Sort& form);
bool ShowDialog(Form_SimpleMath& form);

}  // namespace sv
