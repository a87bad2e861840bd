#include "fit/form_rfactor.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cmath>
#include <map>

#include "core/host.h"
#include "worksheet/form_worksheet.h"

namespace sv {

namespace {

std::string Lower(std::string s) {
  for (char& ch : s) ch = char(std::tolower(static_cast<unsigned char>(ch)));
  return s;
}

// A whole text as a number; false when it is empty or has anything else.
bool ParseText(const std::string& text, double& out) {
  if (text.empty()) return false;
  const char* begin = text.c_str();
  char* end = nullptr;
  out = std::strtod(begin, &end);
  while (end && *end == ' ') ++end;
  return end != begin && end && *end == '\0' && std::isfinite(out);
}

std::string General(double v) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "%g", v);
  return buf;
}

std::string Fixed(double v, int digits) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", digits, v);
  return buf;
}

std::string ValueText(const RFactorSettings& s, double v) {
  return (s.pendry ? "R.Pendry = " : "R2 = ") + Fixed(v, 3);
}

}  // namespace

long RFactorEnergyColumn(const Form_Worksheet& sheet) {
  for (long c = 1; c < sheet.Cols(); ++c)
    if (Lower(sheet.Record(c).Label).find("energy") != std::string::npos) return c;
  for (long c = 1; c < sheet.Cols(); ++c)
    if (sheet.Record(c).Typ == kTypX) return c;
  return -1;
}

void Form_RFactor::Form_Load(const Form_Worksheet& sheet, float voi, float threshold,
                             std::vector<const Form_Worksheet*> others) {
  sheet_ = &sheet;
  others_ = std::move(others);
  Combo_EColumn.clear();
  List_Columns.clear();
  EColumn = -1;
  for (long c = 1; c < sheet.Cols(); ++c) {
    const std::string item = std::to_string(c) + ": " + sheet.ColName(c);
    Combo_EColumn.push_back(item);
    List_Columns.push_back(item);
    if (EColumn < 0 && Lower(sheet.Record(c).Label).find("energy") != std::string::npos)
      EColumn = int(c);
  }
  Selected.assign(List_Columns.size(), false);
  Text_Voi = General(voi > 0 ? voi : 4.0f);
  Text_Threshold = General(double(threshold > 0 ? threshold : 0.01f) * 100.0);
  Combo_Sheet.clear();
  for (const Form_Worksheet* o : others_) Combo_Sheet.push_back(o->Filename());
  Sheet = others_.empty() ? -1 : 0;
  Count();
}

void Form_RFactor::SelMode(int index) {
  if (!sheet_ || index < 0 || index >= int(Combo_SelMode.size())) return;
  const std::string& prefix = Combo_SelMode[size_t(index)];
  for (size_t c = 0; c < Selected.size(); ++c)
    Selected[c] = sheet_->Record(long(c) + 1).Label.rfind(prefix, 0) == 0;
  Count();
}

void Form_RFactor::SelectColumn(int column, bool on) {
  if (column < 1 || column > int(Selected.size())) return;
  Selected[size_t(column - 1)] = on;
  Count();
}

void Form_RFactor::Count() {
  long n = 0;
  for (bool b : Selected) n += b;
  Label_IColumns = std::to_string(n) + " Column(s) selected";
}

int Form_RFactor::Degree() const {
  if (!Check_Smooth) return 0;
  double v = 0;
  return ParseText(Text_Smooth.empty() ? "0" : Text_Smooth, v) ? int(v) : 0;
}

bool Form_RFactor::Command_Calculate() {
  auto refuse = [&](const char* control) {
    FocusedControl = control;
    if (HasHost()) host().MsgBox("Invalid Parameter", MsgButtons::OK, MsgIcon::Exclamation, "R-Factor");
    return false;
  };
  double smooth = 0, voi = 0, thr = 0;
  if (!ParseText(Text_Smooth.empty() ? "0" : Text_Smooth, smooth) || smooth < 0 ||
      smooth >= 100 || smooth != double(long(smooth)))
    return refuse("Text_Smooth");
  if (Option_Factor == 0 && (!ParseText(Text_Voi, voi) || voi <= 0)) return refuse("Text_Voi");
  if (!ParseText(Text_Threshold, thr) || thr < 0) return refuse("Text_Threshold");
  if (Check_CompareSheet) {
    double f = 0, t = 0, st = 0;
    if (!ParseText(Text_ShiftFrom, f)) return refuse("Text_ShiftFrom");
    if (!ParseText(Text_ShiftTo, t) || t < f) return refuse("Text_ShiftTo");
    if (!ParseText(Text_ShiftStep, st) || st < 0 || (st == 0 && t != f) ||
        (st > 0 && (t - f) / st > 100000))
      return refuse("Text_ShiftStep");
  }
  Tag = "OK";
  return true;
}

RFactorSettings Form_RFactor::Settings() const {
  RFactorSettings s;
  s.pendry = Option_Factor == 0;
  double v = 0;
  if (ParseText(Text_Voi, v) && v > 0) s.voi = float(v);
  if (ParseText(Text_Threshold, v)) s.threshold = float(v * 0.01);
  s.passes = Degree();
  return s;
}

RFactorShiftRange Form_RFactor::ShiftRange() const {
  RFactorShiftRange r;
  ParseText(Text_ShiftFrom, r.from);
  ParseText(Text_ShiftTo, r.to);
  ParseText(Text_ShiftStep, r.step);
  return r;
}

bool Form_RFactor::HasShift() const {
  const RFactorShiftRange r = ShiftRange();
  return r.from != 0.0 || r.to != 0.0;
}

std::vector<long> Form_RFactor::SelectedColumns() const {
  std::vector<long> out;
  for (size_t c = 0; c < Selected.size(); ++c)
    if (Selected[c]) out.push_back(long(c) + 1);
  return out;
}

std::string RFactorReportHead(const RFactorSettings& s) {
  std::string t;
  if (s.pendry)
    t += "R.Pendry Factor\nVoi = " + General(s.voi) + "eV\n";
  else
    t += "R\xC2\xB2 Factor\n";
  t += "Threshold = " + General(double(s.threshold) * 100.0) + "%\n";
  t += s.passes > 0 ? "Smooth = " + std::to_string(s.passes) + "x\n" : "Smooth = (none)\n";
  t += "\n";
  return t;
}

std::string RFactorPairsReport(const Form_Worksheet& sheet, long energyCol,
                               const std::vector<long>& cols, const RFactorSettings& s) {
  std::string t;
  const long e = s.pendry ? energyCol : -1;
  ShowStatus(s.pendry ? "Calculating R.Pendry-Factor..." : "Calculating R2-Factor...");
  for (size_t i = 0; i < cols.size(); ++i) {
    for (size_t j = i + 1; j < cols.size(); ++j) {
      const RFactorValue v = Rfactor(sheet, e, cols[i], cols[j], s.passes, 0, 0, s);
      if (v.error) {
        t += "\n";
        continue;
      }
      t += RFactorColumnTitle(sheet, cols[i]) + " & " + RFactorColumnTitle(sheet, cols[j]) + ":\t" +
           ValueText(s, v.value) + "\n";
    }
  }
  ShowStatus("");
  return t;
}

std::string RFactorBeamsReport(const Form_Worksheet& a, long energyA, const std::vector<long>& cols,
                               const Form_Worksheet& b, const RFactorShiftRange& range,
                               bool withShift, const RFactorSettings& s) {
  const long energyB = RFactorEnergyColumn(b);
  std::vector<RFactorBeam> beams;
  for (long c : cols) {
    if (c == energyA) continue;
    RFactorBeam beam;
    beam.label1 = RFactorColumnTitle(a, c);
    const long m = MatchRFactorColumn(b, a.Record(c).Label, a.Record(c).Name);
    RFactorCurve c1, c2;
    if (m >= 0 && m != energyB && energyA >= 0 && energyB >= 0 && ReadRFactorCurve(a, energyA, c, c1) &&
        ReadRFactorCurve(b, energyB, m, c2)) {
      beam.matched = true;
      beam.label2 = RFactorColumnTitle(b, m);
      beam.curves = PrepareRFactor(c1, c2, s);
    }
    beams.push_back(std::move(beam));
  }
  ShowStatus(s.pendry ? "Calculating R.Pendry-Factor..." : "Calculating R2-Factor...");
  const RFactorBeamsResult best = RFactorBestShift(beams, range, s);
  ShowStatus("");
  const std::string shiftText = withShift ? "\tshift = " + Fixed(best.shift, 2) + " eV" : "";
  std::string t;
  for (const RFactorBeam& beam : beams) {
    if (!beam.matched)
      t += beam.label1 + ": no match\n";
    else if (beam.result.error)
      t += "\n";
    else
      t += beam.label1 + " & " + beam.label2 + ":\t" + ValueText(s, beam.result.value) + shiftText + "\n";
  }
  if (best.error)
    t += "overall:\n";
  else
    t += "overall:\t" + ValueText(s, best.overall) + shiftText + "\n";
  return t;
}

std::string Form_RFactor::Report() const {
  if (!sheet_) return {};
  const RFactorSettings s = Settings();
  std::string t = RFactorReportHead(s);
  const long energy = EColumn;
  if (Check_CompareSheet && Sheet >= 0 && Sheet < int(others_.size()))
    return t + RFactorBeamsReport(*sheet_, energy, SelectedColumns(), *others_[size_t(Sheet)],
                                  ShiftRange(), HasShift(), s);
  return t + RFactorPairsReport(*sheet_, energy, SelectedColumns(), s);
}

RFactorWindows& RFactorHooks() {
  static RFactorWindows w;
  return w;
}

namespace {
// What each sheet last used; a sheet starts at 0, which the dialog turns
// into 4 eV and 1 %.
struct Remembered {
  float voi = 0, threshold = 0;
};
std::map<const Form_Worksheet*, Remembered>& Memory() {
  static std::map<const Form_Worksheet*, Remembered> m;
  return m;
}
}  // namespace

void MathRFactor(Form_Worksheet& sheet) {
  Remembered& r = Memory()[&sheet];
  Form_RFactor form;
  std::vector<const Form_Worksheet*> others;
  if (RFactorHooks().otherSheets) others = RFactorHooks().otherSheets();
  std::erase(others, &sheet);
  form.Form_Load(sheet, r.voi, r.threshold, others);
  if (!RFactorHooks().showDialog || !RFactorHooks().showDialog(form) || form.Tag != "OK") return;
  const RFactorSettings s = form.Settings();
  r.voi = s.voi;
  r.threshold = s.threshold;
  const std::string text = form.Report();
  if (RFactorHooks().showResult) RFactorHooks().showResult(text);
}

void RegisterRFactor() { Form_Worksheet::RegisterOperation("MathRFactor", MathRFactor); }

}  // namespace sv
