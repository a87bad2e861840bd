// Particle detection on a 1024 x 1024 binary picture of about 1,300 filled
// rectangles, beside OpenCV's labelling of the same picture; and a check of
// the traced contours against OpenCV's components (connectivity 4, as the
// trace steps up, right, down and left).
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "analysis/form_particle.h"
#include "harness.h"
#include "image/form_camera.h"

#ifdef SV_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

using svbench::Frames;

constexpr long kW = Frames::kWidth, kH = Frames::kHeight;
constexpr int kCell = 32;

// Filled rectangles of 2 x 2 to 14 x 14, one to a 32 x 32 cell and in every
// third cell a second one touching the first only at a corner. A cell's last
// line and column stay dark, so cells never touch each other.
struct Picture {
  std::vector<uint16_t> grey;  // 0 and 255, 8 bits
  std::vector<uint8_t> mask;   // 0 and 255
  int rectangles = 0;
};

const Picture& Rectangles() {
  static const Picture p = [] {
    Picture pic;
    pic.grey.assign(size_t(kW * kH), 0);
    std::mt19937 rng(4200);
    auto fill = [&](long x0, long y0, long w, long h) {
      for (long y = y0; y < y0 + h; ++y)
        for (long x = x0; x < x0 + w; ++x) pic.grey[size_t(y * kW + x)] = 255;
      ++pic.rectangles;
    };
    std::uniform_int_distribution<int> size(2, 14);
    int n = 0;
    for (long cy = 0; cy < kH; cy += kCell)
      for (long cx = 0; cx < kW; cx += kCell, ++n) {
        const long w = size(rng), h = size(rng);
        const bool pair = n % 3 == 0;
        const long w2 = pair ? size(rng) : 0, h2 = pair ? size(rng) : 0;
        // Room up to the cell's second last pixel.
        const long spanX = kCell - 1 - (w + w2), spanY = kCell - 1 - (h + h2);
        const long x = cx + std::uniform_int_distribution<long>(0, spanX)(rng);
        const long y = cy + std::uniform_int_distribution<long>(0, spanY)(rng);
        fill(x, y, w, h);
        if (pair) fill(x + w, y + h, w2, h2);
      }
    pic.mask.resize(pic.grey.size());
    for (size_t i = 0; i < pic.grey.size(); ++i) pic.mask[i] = uint8_t(pic.grey[i]);
    return pic;
  }();
  return p;
}

sv::Form_Camera& Image() {
  static sv::Form_Camera* image = [] {
    auto* img = new sv::Form_Camera(nullptr);
    img->CreateImage(kW, kH, 8, Rectangles().grey.data());
    return img;
  }();
  return *image;
}

sv::Form_Particle& Form() {
  static sv::Form_Particle form;
  return form;
}

#ifdef SV_HAVE_OPENCV
// The traced particles against OpenCV's components; "" when they agree.
std::string PeerCheck(long& components, long& particles) {
  const Picture& pic = Rectangles();
  sv::Form_Particle form;
  if (!form.DetectParticles(Image())) return "detection refused the picture";
  cv::Mat mask(int(kH), int(kW), CV_8U, const_cast<uint8_t*>(pic.mask.data()));
  cv::Mat labels, stats, centroids;
  const int n = cv::connectedComponentsWithStats(mask, labels, stats, centroids, 4, CV_32S);
  components = n - 1;
  particles = form.Count();
  if (components != pic.rectangles) return "OpenCV found " + std::to_string(components) +
                                            " components of " + std::to_string(pic.rectangles);
  std::vector<long> first(size_t(n), -1);
  for (long i = 0; i < form.Count(); ++i) {
    const sv::Class_Particle& p = form.Particles[size_t(i)];
    int label = -1;
    for (long k = 0; k < p.PointCount(); ++k) {
      long x, y;
      p.Point(k, x, y);
      const int l = labels.at<int>(int(y), int(x));
      if (l == 0 || (label >= 0 && l != label))
        return "particle " + std::to_string(i + 1) + " leaves its component";
      label = l;
    }
    if (label > 0 && first[size_t(label)] < 0) first[size_t(label)] = i;
  }
  for (int c = 1; c < n; ++c) {
    if (first[size_t(c)] < 0) return "component " + std::to_string(c) + " has no particle";
    const sv::Class_Particle& outer = form.Particles[size_t(first[size_t(c)])];
    const long left = stats.at<int>(c, cv::CC_STAT_LEFT), top = stats.at<int>(c, cv::CC_STAT_TOP);
    const long w = stats.at<int>(c, cv::CC_STAT_WIDTH), h = stats.at<int>(c, cv::CC_STAT_HEIGHT);
    long l, t, r, b;
    outer.size(l, t, r, b);
    if (l != left || t != top || r != left + w - 1 || b != top + h - 1)
      return "component " + std::to_string(c) + ": the outer ring is not its box";
    const double area = double((w - 1) * (h - 1)) + double(left + top) / 2.0;
    if (outer.Area() != area) return "component " + std::to_string(c) + ": area " +
                                     std::to_string(outer.Area()) + ", not " + std::to_string(area);
    const double ring = double(2 * w + 2 * h - 4);
    const double xc = (ring * centroids.at<double>(c, 0) - double(left)) / (ring - 1.0);
    const double yc = (ring * centroids.at<double>(c, 1) - double(top)) / (ring - 1.0);
    double x, y;
    outer.CenterOfGravity(x, y);
    if (std::fabs(x - xc) > 1e-6 || std::fabs(y - yc) > 1e-6)
      return "component " + std::to_string(c) + ": centre off";
  }
  return "";
}
#endif

}  // namespace

SVBENCH_ROWS(ParticleRows) {
  const std::string name = "DetectParticles (1024x1024)";
  // The image's bytes are what the memcpy baseline copies.
  svbench::Kernel(name, Frames::kGreyBytes, [] {
    Form().DetectParticles(Image());
    svbench::Use(Form().Particles.data());
  });
#ifdef SV_HAVE_OPENCV
  svbench::OpenCV(name, [] {
    static cv::Mat mask(int(kH), int(kW), CV_8U, const_cast<uint8_t*>(Rectangles().mask.data()));
    static cv::Mat labels, stats, centroids;
    cv::connectedComponentsWithStats(mask, labels, stats, centroids, 4, CV_32S);
    svbench::Use(labels.data);
  });
  svbench::Target(name, 0, 1.5);
  svbench::Note([] {
    long components = 0, particles = 0;
    const std::string why = PeerCheck(components, particles);
    char line[200];
    std::snprintf(line, sizeof line,
                  "particle peer check (connectedComponentsWithStats, connectivity 4): %ld "
                  "components, %ld particles (nested rings): ",
                  components, particles);
    return std::string(line) + (why.empty() ? "agree  met" : why + "  MISSED");
  });
#endif
}
