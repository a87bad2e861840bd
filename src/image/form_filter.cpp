#include "image/form_filter.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/error_table.h"
#include "core/host.h"
#include "core/mdi_main.h"
#include "image/filter_library.h"
#include "image/form_camera.h"

namespace sv {

namespace {

// A number with up to two decimals, without trailing zeros.
std::string Decimals2(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.2f", v);
  std::string s = buf;
  while (!s.empty() && s.back() == '0') s.pop_back();
  if (!s.empty() && s.back() == '.') s.pop_back();
  if (s == "-0") s = "0";
  return s;
}

}  // namespace

// --- The editor -----------------------------------------------------------------------------

int32_t Form_EditFilter::ParseInteger(const std::string& text) {
  std::string t = text;
  for (char& c : t)
    if (c == ',') c = '.';
  const char* begin = t.c_str();
  char* end = nullptr;
  const double v = std::strtod(begin, &end);
  if (end == begin || !std::isfinite(v)) return 0;
  for (const char* p = end; *p; ++p)
    if (*p != ' ' && *p != '\t') return 0;
  const double r = std::nearbyint(v);  // the default rounding: ties to even
  if (r >= double(std::numeric_limits<int32_t>::max())) return std::numeric_limits<int32_t>::max();
  if (r <= double(std::numeric_limits<int32_t>::min())) return std::numeric_limits<int32_t>::min();
  return int32_t(r);
}

void Form_EditFilter::Load(const FilterRecord& filter, long dynamik) {
  Text_name = FilterName(filter);
  for (int i = 0; i < 49; ++i) Text_c[size_t(i)] = std::to_string(filter.Coefficients[i]);
  Text_factor = std::to_string(filter.Factor);
  Text_Bias = std::to_string(filter.Bias);
  Label_Dynamik = std::to_string(dynamik > 0 ? dynamik : 256);
  reserved_ = filter.Reserved;
  Result = filter;
  Text_Bias_Change();
}

void Form_EditFilter::Text_Bias_Change() {
  const double dynamik = std::atof(Label_Dynamik.c_str());
  const double bias = ParseInteger(Text_Bias);
  Label_biasRel = (dynamik > 0 ? Decimals2(bias / dynamik * 100.0) : "0") + " %";
}

bool Form_EditFilter::Command_OK() {
  FilterRecord f{};
  int32_t any = 0;
  for (int i = 0; i < 49; ++i) {
    f.Coefficients[i] = ParseInteger(Text_c[size_t(i)]);
    any |= f.Coefficients[i];
  }
  if (any == 0) {
    host().MsgBox("Filter must have one or more non-zero values", MsgButtons::OK,
                  MsgIcon::Critical, kTitle);
    return false;
  }
  f.Factor = ParseInteger(Text_factor);
  if (f.Factor == 0) {
    host().MsgBox("Division factor cannot be 0", MsgButtons::OK, MsgIcon::Critical, kTitle);
    return false;
  }
  f.Bias = ParseInteger(Text_Bias);
  f.Reserved = reserved_;
  std::string name = Text_name;
  while (!name.empty() && name.back() == ' ') name.pop_back();
  SetFilterName(f, name.empty() ? "Untitled" : name);
  Result = f;
  return true;
}

// --- The library dialog --------------------------------------------------------------------

bool Form_Filter::Open(Form_Camera* image) {
  ImageForm = image;
  Closed = false;
  std::vector<FilterRecord> read = Filters;
  std::string from;
  const int code = ReadFilterLibrary(read, &from);
  if (code > 0) {
    host().MsgBox(ErrorText(code), MsgButtons::OK, MsgIcon::Critical, kTitle);
    return false;
  }
  Filters = std::move(read);
  Path = FilterLibraryPath();
  Fill();
  ListIndex = Filters.empty() ? -1 : 0;
  return true;
}

void Form_Filter::Fill() {
  List_Filter.clear();
  for (const FilterRecord& f : Filters) List_Filter.push_back(FilterName(f));
  if (ListIndex >= Count()) ListIndex = int(Count()) - 1;
}

bool Form_Filter::Command_Apply() {
  if (!ImageForm || !ImageForm->ImagePtr() || ListIndex < 0 || ListIndex >= Count())
    return false;
  const int code = FilterImage(*ImageForm, Filters[size_t(ListIndex)]);
  if (code != 0) {
    host().MsgBox(code == kErrInvalidParameter ? "Division factor cannot be 0" : ErrorText(code),
                  MsgButtons::OK, MsgIcon::Critical, kTitle);
    return false;
  }
  Closed = true;
  return true;
}

bool Form_Filter::Edit(FilterRecord& filter) {
  Form_EditFilter edit;
  edit.Load(filter, ImageForm ? ImageForm->ImageDynamik() : 256);
  auto& show = EditFilterDialog();
  if (!show || !show(edit)) return false;
  filter = edit.Result;
  return true;
}

bool Form_Filter::Command_New() {
  if (Filters.size() >= kMaxFilters) return false;
  FilterRecord f = EmptyFilter();
  if (!Edit(f)) return false;
  Filters.push_back(f);
  Fill();
  ListIndex = int(Count()) - 1;
  SaveFilter();
  return true;
}

bool Form_Filter::Command_Edit() {
  if (ListIndex < 0 || ListIndex >= Count()) return false;
  FilterRecord f = Filters[size_t(ListIndex)];
  if (!Edit(f)) return false;
  Filters[size_t(ListIndex)] = f;
  Fill();
  SaveFilter();
  return true;
}

bool Form_Filter::Command_Delete() {
  if (ListIndex < 0 || ListIndex >= Count()) return false;
  const std::string name = FilterName(Filters[size_t(ListIndex)]);
  if (host().MsgBox("Are you sure you want to delete this filter?", MsgButtons::YesNo,
                    MsgIcon::Question, std::string(kTitle) + ": " + name) != MsgResult::Yes)
    return false;
  Filters.erase(Filters.begin() + ListIndex);
  Fill();
  SaveFilter();
  return true;
}

bool Form_Filter::SaveFilter() {
  if (Path.empty()) Path = FilterLibraryPath();
  if (WriteFilterLibrary(Path, Filters)) return true;
  host().MsgBox(ErrorText(75), MsgButtons::OK, MsgIcon::Critical, kTitle);
  return false;
}

std::function<bool(Form_Filter&)>& FilterDialog() {
  static std::function<bool(Form_Filter&)> show;
  return show;
}

std::function<bool(Form_EditFilter&)>& EditFilterDialog() {
  static std::function<bool(Form_EditFilter&)> show;
  return show;
}

void RegisterFilterCommand(MDIForm_Main& main) {
  MDIForm_Main* m = &main;
  main.SetCommand("mnuFilter", [m](int) {
    Form_Filter form;
    if (!form.Open(dynamic_cast<Form_Camera*>(m->ActiveChild()))) return;
    if (auto& show = FilterDialog()) show(form);
  });
  main.SetEnabledRule("mnuFilter", [m] {
    auto* image = dynamic_cast<Form_Camera*>(m->ActiveChild());
    return image && image->ImagePtr() && !image->Locked();
  });
}

}  // namespace sv
