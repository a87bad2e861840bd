#include "analysis/particle.h"

#include <algorithm>
#include <cmath>

#include "image/kernel/draw_surface.h"
#include "image/kernel/numbers.h"

namespace sv {

Class_Particle::Class_Particle() : Pi(4.0 * std::atan(1.0)) {}

long Class_Particle::AddPoint(long x, long y) {
  x_.push_back(int32_t(x));
  y_.push_back(int32_t(y));
  return PointCount();
}

bool Class_Particle::Point(long index, long& x, long& y) const {
  if (index < 0 || index >= PointCount()) return false;
  x = x_[size_t(index)];
  y = y_[size_t(index)];
  return true;
}

void Class_Particle::DeletePoints() {
  x_.clear();
  y_.clear();
}

double Class_Particle::Area() const {
  const size_t n = x_.size();
  if (n == 0) return 0.0;
  // The last point's partner is (0, 0): its term is 0.
  int64_t sum = 0;
  for (size_t i = 0; i + 1 < n; ++i)
    sum += int64_t(x_[i]) * y_[i + 1] - int64_t(x_[i + 1]) * y_[i];
  return double(sum) / 2.0;
}

bool Class_Particle::CenterOfGravity(double& x, double& y) const {
  const size_t n = x_.size();
  if (n == 0) return false;
  int64_t sx = 0, sy = 0;
  for (size_t i = 0; i < n; ++i) {
    sx += x_[i];
    sy += y_[i];
  }
  x = double(sx) / double(n);
  y = double(sy) / double(n);
  return true;
}

double Class_Particle::Perimeter() const {
  double length = 0.0;
  for (size_t i = 1; i < x_.size(); ++i) {
    const double dx = double(x_[i]) - x_[i - 1], dy = double(y_[i]) - y_[i - 1];
    length += std::sqrt(dx * dx + dy * dy);
  }
  return length;
}

double Class_Particle::ECD() const {
  const double area = Area();
  return area > 0.0 ? 2.0 * std::sqrt(area / Pi) : 0.0;
}

double Class_Particle::FormFactor() const {
  const double p = Perimeter();
  return p == 0.0 ? 0.0 : Pi * 4.0 * Area() / (p * p);
}

void Class_Particle::size(long& left, long& top, long& right, long& bottom) const {
  if (x_.empty()) {
    left = top = right = bottom = 0;
    return;
  }
  const auto [xmin, xmax] = std::minmax_element(x_.begin(), x_.end());
  const auto [ymin, ymax] = std::minmax_element(y_.begin(), y_.end());
  left = *xmin;
  right = *xmax;
  top = *ymin;
  bottom = *ymax;
}

bool Class_Particle::IsInside(double x, double y) const {
  const size_t n = x_.size();
  if (n == 0) return false;
  auto angle = [&](size_t i) {
    return double(SV_atan2(float(y - y_[i]), float(x_[i] - x)));
  };
  double old = angle(0), sum = 0.0;
  for (size_t i = 1; i < n; ++i) {
    const double a = angle(i);
    double d = a - old;
    if (d < -Pi) d += 2.0 * Pi;
    if (d > Pi) d -= 2.0 * Pi;
    sum -= d;
    old = a;
  }
  // A full turn is not asked for: above 1.0 is inside.
  return sum > 1.0;
}

void Class_Particle::Draw(DrawSurface& device, double scale, double dx, double dy,
                          int32_t colour, double width) const {
  const size_t n = x_.size();
  if (n == 0) return;
  std::vector<DrawPoint> points(n);
  for (size_t i = 0; i < n; ++i) points[i] = {x_[i] * scale + dx, y_[i] * scale + dy};
  DrawPen pen;
  pen.color = colour;
  pen.width = width;
  if (n == 1) {
    device.Pixel(points[0].x, points[0].y, colour);
    return;
  }
  device.Polyline(points.data(), n, pen);
}

}  // namespace sv
