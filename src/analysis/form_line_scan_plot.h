// The profile displays: Form_LineScanPlot shows the profile of the line tool's
// last scan, Form_LScanPlot the profiles of all selected lines at the end of
// an experiment's step. Presenters: they hold the points and the range; a
// window binds to them through their View and draws the polylines.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace sv {

inline constexpr const char* kOverloadText = "Overload";

// What both displays share: curves of profile values over a vertical range.
class ProfileDisplay {
 public:
  class View {
   public:
    virtual ~View() = default;
    virtual void Changed(const ProfileDisplay&) {}
  };
  struct Curve {
    std::vector<float> Values;
    int32_t Color = 0;  // 24-bit RGB, red in the low byte
  };
  virtual ~ProfileDisplay() = default;
  void SetView(View* view) { view_ = view ? view : &nullView_; }

  std::string Caption;
  std::vector<Curve> Curves;
  long Dynamic = 0;  // levels of one frame: the top of the manual range's scale
  // The vertical range: with Auto it follows the curves (lowest to highest
  // value), else the LUT limits of the image (SetRange).
  bool Auto = true;
  float RangeMin = 0, RangeMax = 0;
  float LutMin = 0, LutMax = 1;  // fractions of Dynamic

  // LUTmin, LUTmax as fractions of the level count: the range while Auto is off.
  void SetRange(float lutMin, float lutMax);
  void Check_Auto_Click(bool on);
  // The most points of any curve.
  long Points() const;
  float MaxValue() const;  // 0 without points
  // The curve as points in a width x height picture: x from 0 to width - 1
  // over the points, y from height - 1 (RangeMin) to 0 (RangeMax), held
  // inside the picture.
  std::vector<std::array<double, 2>> Polyline(size_t curve, double width, double height) const;

  void Show();
  void Hide();
  bool Visible() const { return visible_; }

 protected:
  void UpdateRange();
  virtual void UpdateLabels() {}
  void Changed() { view_->Changed(*this); }

 private:
  View nullView_;
  View* view_ = &nullView_;
  bool visible_ = false;
};

// The line tool's profile: one curve (three for colour: red, green, blue).
class Form_LineScanPlot : public ProfileDisplay {
 public:
  Form_LineScanPlot() { Caption = "Profile"; }
  // `values` holds the profile, three planes one after another for colour.
  void SetProfile(const std::vector<float>& values, bool colour, long levels, int32_t color);
  // "Max = " and the highest value when it is at the top of the range; empty
  // else. "Overload" when it reaches the dynamic limit (levels - 1).
  std::string Label_Max;
  std::string Label_Overload;

 protected:
  void UpdateLabels() override;
};
Form_LineScanPlot& LineScanPlotForm();

// The run's plot of all selected lines, each in its colour.
class Form_LScanPlot : public ProfileDisplay {
 public:
  Form_LScanPlot() { Caption = "Line Scan"; }
  void SetProfiles(const std::array<std::vector<float>, 8>& profiles,
                   const std::array<int32_t, 8>& colors, long levels);
};
Form_LScanPlot& LScanPlotForm();

}  // namespace sv
