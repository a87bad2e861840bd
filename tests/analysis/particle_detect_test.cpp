#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "analysis/form_particle.h"
#include "core/globals.h"
#include "core/mdi_main.h"
#include "image/form_camera.h"
#include "support/recording_surface.h"
#include "support/main_window_test.h"
#include "support/scripted_host.h"
#include "worksheet/form_worksheet.h"
#include "worksheet/worksheet_documents.h"

namespace sv {
namespace {

using Points = std::vector<std::pair<long, long>>;

Points PointsOf(const Class_Particle& p) {
  Points out;
  for (long i = 0; i < p.PointCount(); ++i) {
    long x, y;
    p.Point(i, x, y);
    out.emplace_back(x, y);
  }
  return out;
}

class ParticleDetectTest : public test::MainWindowTest {
 protected:
  void SetUp() override {
    MainWindowTest::SetUp();
    RegisterWorksheetDocuments(main);
    main.Load();
  }

  // An 8-bit image from rows of '#' (lit, 200) and '.' (dark, 100: below
  // half the range).
  Form_Camera& Picture(const std::vector<std::string>& rows, const std::string& title = "Dots") {
    Form_Camera* img = NewImage(main);
    const long w = long(rows[0].size()), h = long(rows.size());
    std::vector<uint16_t> px;
    for (const std::string& r : rows)
      for (char c : r) px.push_back(c == '#' ? 200 : 100);
    img->CreateImage(w, h, 8, px.data());
    img->SetTitle(title);
    main.ShowChild(img->Handle());
    return *img;
  }

  long Detect(const std::vector<std::string>& rows) {
    EXPECT_TRUE(form.DetectParticles(Picture(rows)));
    return form.Count();
  }

  Form_Particle form;
};

TEST_F(ParticleDetectTest, EmptyAndLonePixelsGiveNothing) {
  EXPECT_EQ(Detect({"....", "....", "...."}), 0);
  EXPECT_TRUE(form.Image()->HasParticle);
  EXPECT_EQ(host.status.back(), "0 Particles");
  EXPECT_EQ(Detect({"#...", "..#.", ".#.#"}), 0);  // diagonal pixels stay apart
  EXPECT_TRUE(host.messages.empty());
  EXPECT_FALSE(host.busy);
}

TEST_F(ParticleDetectTest, LinesAreTracedForthAndBack) {
  ASSERT_EQ(Detect({".....", ".###.", "....."}), 1);
  const Class_Particle& h = form.Particles[0];
  EXPECT_EQ(PointsOf(h), (Points{{2, 1}, {3, 1}, {2, 1}}));
  EXPECT_DOUBLE_EQ(h.Perimeter(), 2.0);
  EXPECT_DOUBLE_EQ(h.FormFactor(), h.Pi * 4.0 * h.Area() / 4.0);
  double x, y;
  h.CenterOfGravity(x, y);
  EXPECT_DOUBLE_EQ(x, 7.0 / 3.0);
  EXPECT_DOUBLE_EQ(y, 1.0);

  ASSERT_EQ(Detect({".#", ".#", ".#"}), 1);  // along the image's edges
  const Class_Particle& v = form.Particles[0];
  EXPECT_EQ(PointsOf(v), (Points{{1, 1}, {1, 2}, {1, 1}}));
  EXPECT_DOUBLE_EQ(v.Area(), 0.0);
  EXPECT_DOUBLE_EQ(v.Perimeter(), 2.0);
}

TEST_F(ParticleDetectTest, FilledRectangleGivesNestedRings) {
  // 4 x 3 at (1, 1): the ring, then the two interior pixels as a line.
  ASSERT_EQ(Detect({"......", ".####.", ".####.", ".####.", "......"}), 2);
  const Class_Particle& ring = form.Particles[0];
  EXPECT_EQ(PointsOf(ring), (Points{{2, 1}, {3, 1}, {4, 1}, {4, 2}, {4, 3}, {3, 3}, {2, 3},
                                     {1, 3}, {1, 2}}));
  EXPECT_DOUBLE_EQ(ring.Area(), 3.0 * 2.0 + (1.0 + 1.0) / 2.0);
  EXPECT_DOUBLE_EQ(ring.Perimeter(), 8.0);
  EXPECT_DOUBLE_EQ(ring.FormFactor(), ring.Pi * 4.0 * 7.0 / 64.0);
  double x, y;
  ring.CenterOfGravity(x, y);
  EXPECT_DOUBLE_EQ(x, (10 * 2.5 - 1) / 9.0);
  EXPECT_DOUBLE_EQ(y, (10 * 2.0 - 1) / 9.0);
  EXPECT_EQ(PointsOf(form.Particles[1]), (Points{{3, 2}}));
  EXPECT_EQ(form.Particles[1].Area(), 0.0);

  // 5 x 5: two rings; the centre pixel is left alone inside the second.
  ASSERT_EQ(Detect({"#####", "#####", "#####", "#####", "#####"}), 2);
  EXPECT_EQ(form.Particles[0].PointCount(), 15);
  EXPECT_EQ(form.Particles[1].PointCount(), 7);
  EXPECT_DOUBLE_EQ(form.Particles[0].Area(), 16.0);  // at (0, 0): nothing added
  EXPECT_DOUBLE_EQ(form.Particles[1].Area(), 4.0 + 1.0);
}

TEST_F(ParticleDetectTest, CornerNeighboursAreTwoParticles) {
  ASSERT_EQ(Detect({"##....", "##....", "..##..", "..##..", "....#."}), 2);
  EXPECT_EQ(PointsOf(form.Particles[0]), (Points{{1, 0}, {1, 1}, {0, 1}}));
  EXPECT_DOUBLE_EQ(form.Particles[0].Area(), 1.0);
  EXPECT_DOUBLE_EQ(form.Particles[1].Area(), 1.0 + (2.0 + 2.0) / 2.0);
}

TEST_F(ParticleDetectTest, ColourImagesUseTheirGreyAndNoPixelsIsAnError) {
  Form_Camera* colour = NewImage(main);
  colour->SetHasColors(true);
  std::vector<uint16_t> px(3 * 3 * 3, 0);
  for (int i : {0, 1, 3, 4}) px[3 * i] = px[3 * i + 1] = px[3 * i + 2] = 250;
  colour->CreateImage(3, 3, 8, px.data());
  ASSERT_TRUE(form.DetectParticles(*colour));
  EXPECT_EQ(form.Count(), 1);

  Form_Camera none;
  none.SizeImage(0, 0);
  host.Answer(MsgResult::OK);
  EXPECT_FALSE(form.DetectParticles(none));
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Can't analyze Particles");
  EXPECT_EQ(form.Count(), 0);
}

TEST_F(ParticleDetectTest, MinAreaKeepsOrderAndReports) {
  ASSERT_EQ(Detect({"##.###.", "##.###.", "...###.", ".......", "##..###", "##....."}), 4);
  std::vector<double> areas;
  for (const auto& p : form.Particles) areas.push_back(p.Area());
  long removed = -1;
  const std::string line = form.ParticleMinArea(2.0, &removed);
  EXPECT_EQ(removed, 2);
  EXPECT_EQ(line, "ParticleMinArea(2): 2 Particles (2 Particles removed).\n");
  ASSERT_EQ(form.Count(), 2);
  EXPECT_EQ(areas, (std::vector<double>{1.0, 5.5, 3.0, 0.0}));
  EXPECT_DOUBLE_EQ(form.Particles[0].Area(), 5.5);  // the 3 x 3 ring
  EXPECT_DOUBLE_EQ(form.Particles[1].Area(), 3.0);  // the lower 2 x 2
  EXPECT_EQ(form.ParticleMinArea(100), "ParticleMinArea(100): 0 Particles (2 Particles removed).\n");
}

TEST_F(ParticleDetectTest, SheetHoldsOneRowAParticle) {
  ASSERT_EQ(Detect({"......", ".####.", ".####.", ".####.", "......"}), 2);
  Form_Worksheet* sheet = form.Worksheet();
  ASSERT_NE(sheet, nullptr);
  EXPECT_EQ(sheet->Cols(), 7);
  EXPECT_EQ(sheet->Rows(), 3);
  const std::vector<std::string> names = {"#", "Area [Pixel²]", "Xc [Pixel]", "Yc [Pixel]",
                                          "Perim. [Pixel]", "FormFactor"};
  for (long c = 1; c <= 6; ++c) {
    EXPECT_EQ(sheet->ColName(c), names[size_t(c - 1)]);
    EXPECT_EQ(sheet->Record(c).Label, names[size_t(c - 1)]);
  }
  EXPECT_EQ(sheet->CellAt(1, 1).Number(), 1.0);
  EXPECT_EQ(sheet->CellAt(1, 2).Text(), "7.0");
  EXPECT_EQ(sheet->CellAt(1, 3).Text(), "2.7");
  EXPECT_EQ(sheet->CellAt(1, 4).Text(), "2.1");
  EXPECT_EQ(sheet->CellAt(1, 5).Text(), "8.0");
  EXPECT_NEAR(sheet->CellAt(1, 6).Number(), 3.14159265 * 28.0 / 64.0, 1e-6);
  EXPECT_EQ(sheet->CellAt(2, 2).Text(), "0.0");
  EXPECT_EQ(main.ActiveChild(), sheet);

  // Saved and read back, the columns keep their labels; the cells are numbers.
  const std::string path = host.root + "/particles.sht";
  ASSERT_EQ(sheet->SaveWorksheet(path, true), 0);
  Form_Worksheet back;
  back.OpenWorksheet(path);
  EXPECT_EQ(back.Record(2).Label, "Area [Pixel²]");
  EXPECT_EQ(back.Record(5).Label, "Perim. [Pixel]");
  EXPECT_EQ(back.CellAt(1, 5).Number(), 8.0);
  EXPECT_FLOAT_EQ(float(back.CellAt(1, 3).Number()), 2.7f);
}

TEST_F(ParticleDetectTest, OverlayShowsEveryContourInStraightRuns) {
  Form_Camera& img = Picture({"......", ".####.", ".####.", ".####.", "......"});
  form.DetectParticles(img);
  img.Overlay.AddLine(0, 0, 1, 1, 0);
  form.ParticleDraw();
  // The ring's open trace in four runs, the inner particle as one point.
  EXPECT_EQ(img.Overlay.ItemCount(), 5);
}

TEST_F(ParticleDetectTest, ResultPictureFramesTheCurrentParticle) {
  ASSERT_EQ(Detect({"......", ".####.", ".####.", ".####.", "......"}), 2);
  long l, t, r, b;
  ASSERT_TRUE(form.CutOut(l, t, r, b));
  EXPECT_EQ(std::vector<long>({l, t, r, b}), std::vector<long>({1, 1, 4, 3}));
  test::RecordingSurface surface(120, 100);
  form.DrawResult(surface, 120, 100);
  // 6 x 5 pixels with the margin: 20 units a pixel; a grid line at each border.
  EXPECT_EQ(surface.Of(test::DrawCall::Line).size(), size_t(7 + 6));
  auto contour = surface.Of(test::DrawCall::Polyline);
  ASSERT_EQ(contour.size(), 1u);
  EXPECT_DOUBLE_EQ(contour[0]->points[0].x, (2 - 0) * 20.0 + 10.0);
  EXPECT_DOUBLE_EQ(contour[0]->points[0].y, (1 - 0) * 20.0 + 10.0);
}

TEST_F(ParticleDetectTest, DialogStepsAnalyzesAndCountsInside) {
  form.Bind(&Picture({"......", ".####.", ".####.", ".####.", "......"}, "Spheres"));
  EXPECT_EQ(form.Caption, "Spheres - 6 x 5 Pixel");
  form.Command_Detect();
  ASSERT_EQ(form.Count(), 2);
  ASSERT_TRUE(form.Command_Analyze());
  EXPECT_EQ(form.Label_Info, "Area = 7 Pixel² (9 Pixel)");
  EXPECT_EQ(form.Command_Inside(), 1);
  EXPECT_EQ(form.Label_Info, "1 Particles are inside of Particle #1");
  form.Command_Next();
  EXPECT_EQ(form.Text_Particle, "2");
  EXPECT_EQ(form.Label_Info, "Area = 0 Pixel² (1 Pixel)");
  EXPECT_EQ(form.Command_Inside(), 0);
  form.Command_Next();  // stays on the last
  EXPECT_EQ(form.Text_Particle, "2");
  form.Command_Back();
  form.Command_Back();
  EXPECT_EQ(form.Text_Particle, "1");
  EXPECT_EQ(form.CurrentParticle(), 1);

  for (const char* bad : {"0", "3", "x", ""}) {
    form.Text_Particle = bad;
    host.Answer(MsgResult::OK);
    EXPECT_FALSE(form.Command_Analyze()) << bad;
    EXPECT_EQ(host.messages.back().text, "Invalid Particle Number");
  }

  form.Text_MinSize = "0,5";
  EXPECT_EQ(form.Command_Remove(), 1);
  EXPECT_EQ(form.Label_Info, "1 partciles removed.");
  EXPECT_EQ(form.Count(), 1);
}

TEST_F(ParticleDetectTest, SaveWritesTheContourToTheDataRoot) {
  ASSERT_EQ(Detect({".##", ".##"}), 1);
  form.Text_Particle = "1";
  ASSERT_TRUE(form.Command_Analyze());
  ASSERT_TRUE(form.Command_Save());
  EXPECT_EQ(Form_Particle::SavePath().substr(0, host.homeFolder.size()), host.homeFolder);
  std::ifstream in(Form_Particle::SavePath());
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_EQ(text.str(), "2\t0\n2\t1\n1\t1\n");
}

TEST_F(ParticleDetectTest, NoiseTracesEndAndStepOnLitNeighbours) {
  std::vector<std::string> rows(48, std::string(64, '.'));
  uint32_t seed = 12345;
  for (auto& r : rows)
    for (char& c : r) {
      seed = seed * 1103515245u + 12345u;
      if ((seed >> 16) % 100 < 55) c = '#';
    }
  ASSERT_GT(Detect(rows), 10);
  EXPECT_EQ(form.BrokenTraces, 0);
  for (const Class_Particle& p : form.Particles) {
    const Points pts = PointsOf(p);
    ASSERT_FALSE(pts.empty());
    for (size_t i = 0; i < pts.size(); ++i) {
      EXPECT_EQ(rows[size_t(pts[i].second)][size_t(pts[i].first)], '#');
      if (i > 0) {
        EXPECT_EQ(std::abs(pts[i].first - pts[i - 1].first) +
                      std::abs(pts[i].second - pts[i - 1].second),
                  1);
      }
    }
  }
}

TEST_F(ParticleDetectTest, ClosedImageIsLetGo) {
  Form_Camera& img = Picture({"##", "##"});
  form.DetectParticles(img);
  ASSERT_EQ(form.Image(), &img);
  main.CloseChild(img.Handle());
  EXPECT_EQ(form.Image(), nullptr);
  form.ParticleDraw();  // nothing to draw on
  form.Command_Detect();
}

}  // namespace
}  // namespace sv
