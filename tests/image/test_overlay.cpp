#include "image/overlay.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sv {
namespace {

// Writes every call down as a line of text.
struct RecordingPainter : OverlayPainter {
  std::vector<std::string> calls;
  static std::string N(long v) { return std::to_string(v); }
  static std::string Box(const char* what, long x1, long y1, long x2, long y2) {
    return what + (" " + N(x1)) + "," + N(y1) + " " + N(x2) + "," + N(y2);
  }
  void Line(long x1, long y1, long x2, long y2, long colour, long width, long style) override {
    calls.push_back(Box("line", x1, y1, x2, y2) + " c" + N(colour) + " w" + N(width) + " s" + N(style));
  }
  void Rect(long x1, long y1, long x2, long y2, long colour, long width, long style) override {
    calls.push_back(Box("rect", x1, y1, x2, y2) + " c" + N(colour) + " w" + N(width) + " s" + N(style));
  }
  void InvertRect(long x1, long y1, long x2, long y2) override {
    calls.push_back(Box("grip", x1, y1, x2, y2));
  }
  void Text(long x, long y, const std::string& text, long colour) override {
    calls.push_back("text " + N(x) + "," + N(y) + " " + text + " c" + N(colour));
  }
};

TEST(Overlay, ItemsAreDrawnInOrder) {
  Class_Overlay o;
  o.AddLine(1, 2, 3, 4, 255, 2, 1);
  o.AddText(5, 6, "Window 1", 0xFF00);
  o.AddRect(10, 10, 20, 30, 7);
  EXPECT_EQ(o.ItemCount(), 3);
  RecordingPainter p;
  o.Draw(p);
  EXPECT_EQ(p.calls, (std::vector<std::string>{"line 1,2 3,4 c255 w2 s1", "text 5,6 Window 1 c65280",
                                               "rect 10,10 20,30 c7 w1 s0"}));
  EXPECT_EQ(std::vector<long>({o.Items()[0].type, o.Items()[1].type, o.Items()[2].type}),
            std::vector<long>({1, 5, 2}));
  o.Clear();
  EXPECT_EQ(o.ItemCount(), 0);
}

TEST(Overlay, GripsAreSevenPixelSquaresAtTheCornersAndEnds) {
  Class_Overlay o;
  o.AddGriffRect(10, 20, 50, 60, 9, 1);
  RecordingPainter p;
  o.Draw(p);
  EXPECT_EQ(p.calls, (std::vector<std::string>{
                         "line 10,20 50,20 c9 w1 s0", "line 50,20 50,60 c9 w1 s0",
                         "line 50,60 10,60 c9 w1 s0", "line 10,60 10,20 c9 w1 s0",
                         "grip 7,17 14,24", "grip 47,17 54,24", "grip 47,57 54,64",
                         "grip 7,57 14,64"}));
  for (int i = 4; i < 8; ++i) EXPECT_EQ(o.Items()[size_t(i)].type, 3);
  // A grip line has grips at both ends.
  Class_Overlay line;
  line.AddGriffLine(0, 0, 100, 3);
  RecordingPainter q;
  line.Draw(q);
  EXPECT_EQ(q.calls, (std::vector<std::string>{"grip -3,-3 4,4", "grip 97,0 104,7"}));
}

TEST(Overlay, LineWidthsFollowTheZoomAndStayVisible) {
  Class_Overlay o;
  o.AddLine(0, 0, 1, 1, 0, 2);
  o.AddRect(0, 0, 1, 1, 0, 3);
  RecordingPainter p;
  o.factor = 0.5f;  // the picture shrinks: lines get wider in image pixels
  o.Draw(p);
  o.factor = 4.0f;  // the picture grows: one image pixel at least
  o.Draw(p);
  o.factor = 1.0f;
  o.Draw(p);
  EXPECT_EQ(p.calls, (std::vector<std::string>{
                         "line 0,0 1,1 c0 w4 s0", "rect 0,0 1,1 c0 w6 s0", "line 0,0 1,1 c0 w1 s0",
                         "rect 0,0 1,1 c0 w1 s0", "line 0,0 1,1 c0 w2 s0", "rect 0,0 1,1 c0 w3 s0"}));
  EXPECT_EQ(o.DrawnWidth(0), 1);
}

}  // namespace
}  // namespace sv
