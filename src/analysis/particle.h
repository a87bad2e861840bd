// One particle: a traced contour, its points in tracing order, and the
// measures taken of them. The contour is kept as traced, open: the start
// pixel is not among the points and the last point is not joined to the
// first, so area and perimeter are those of the open trace.
#pragma once

#include <cstdint>
#include <vector>

namespace sv {

class DrawSurface;

class Class_Particle {
 public:
  Class_Particle();

  // Appends a point; returns the new point count.
  long AddPoint(long x, long y);
  long PointCount() const { return long(x_.size()); }
  // The point at a 0-based index; false outside the list.
  bool Point(long index, long& x, long& y) const;
  void DeletePoints();

  // Half the sum of x(i) y(i+1) - x(i+1) y(i) over every point, where the
  // partner of the last point is (0, 0): the polygon is not closed, so the
  // value depends on where the particle lies, and its sign on the tracing
  // direction (clockwise on the screen is positive). 0 without points.
  double Area() const;
  // Mean of the points; false without points.
  bool CenterOfGravity(double& x, double& y) const;
  // Sum of the distances between consecutive points; not closed.
  double Perimeter() const;
  // 2 sqrt(Area / Pi); 0 unless the area is above 0.
  double ECD() const;
  // Pi 4 Area / Perimeter^2; 0 for a perimeter of 0.
  double FormFactor() const;
  // Always 0.
  double Diameter() const { return 0.0; }
  // Bounding box of the points, all 0 without points.
  void size(long& left, long& top, long& right, long& bottom) const;

  // The angle walk around (x, y): the angle of each point seen from (x, y),
  // counted with y upwards as on a screen; each step of it (brought into
  // -pi .. pi) is subtracted from a sum that starts at 0. True when the sum
  // ends above 1.0: a point enclosed by a contour traced clockwise on the
  // screen, the way particles are traced, gives about 2 pi.
  bool IsInside(double x, double y) const;

  // The contour as one line through the points: point (x, y) goes to
  // (x * scale + dx, y * scale + dy) on the device.
  void Draw(DrawSurface& device, double scale, double dx, double dy, int32_t colour,
            double width = 0) const;

  double Pi;  // 4 atan(1)

 private:
  std::vector<int32_t> x_, y_;
};

}  // namespace sv
