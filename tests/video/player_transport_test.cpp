#include <gtest/gtest.h>

#include <tuple>

#include "analysis/form_window_setup.h"
#include "experiment/form_experiment.h"
#include "image/form_camera.h"
#include "player_fixture.h"

namespace sv::test {
namespace {

class PlayerTransportTest : public PlayerTest {
 protected:
  // Six frames at 100, 90 .. 50 eV.
  void OpenEnergyFilm() {
    ASSERT_TRUE(player.OpenVideo(Film("ie.vid", 6, 64, 2, 8, {"energy (eV)"}, [](long f) {
      return std::vector<float>{100.0f - 10.0f * float(f)};
    })));
  }
  // The frames a sweep visits from the first frame on.
  std::vector<long> Sweep(float eStart, float eStop) {
    std::vector<long> seen;
    player.First();
    while (!player.NextFrameInSweepEnergyRange(eStart, eStop)) seen.push_back(player.CurrentFrame);
    return seen;
  }
};

TEST_F(PlayerTransportTest, AnEnergyRangeCountsEitherWayRoundWithItsBoundsAndTheFirstFrame) {
  OpenEnergyFilm();
  EXPECT_EQ(Sweep(80, 60), (std::vector<long>{2, 3, 4}));
  EXPECT_EQ(Sweep(60, 80), (std::vector<long>{2, 3, 4}));
  EXPECT_EQ(Sweep(100, 50), (std::vector<long>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(Sweep(200, 101), (std::vector<long>{}));
  // After the end the film stays on its last frame.
  EXPECT_EQ(player.CurrentFrame, 5);
  // A seek that does not follow First steps before it tests.
  ASSERT_TRUE(player.GotoFrame(2));
  EXPECT_FALSE(player.NextFrameInSweepEnergyRange(100, 50));
  EXPECT_EQ(player.CurrentFrame, 3);
}

TEST_F(PlayerTransportTest, StepsStopAtTheEndsAndSkipStepsFurther) {
  OpenEnergyFilm();
  EXPECT_TRUE(player.VTR_Step());
  EXPECT_EQ(player.Label_Status, "Step");
  player.mnuSkip(2);
  EXPECT_TRUE(player.NextFrame());
  EXPECT_EQ(player.CurrentFrame, 3);
  EXPECT_TRUE(player.NextFrame());
  EXPECT_FALSE(player.NextFrame());  // 7 is beyond the end
  EXPECT_EQ(player.CurrentFrame, 5);
  // Steps keep their direction when playing runs backward.
  player.Check_Reverse = true;
  EXPECT_TRUE(player.PreviousFrame());
  EXPECT_EQ(player.CurrentFrame, 3);
  EXPECT_TRUE(player.NextFrame());
  EXPECT_EQ(player.CurrentFrame, 5);
  player.VTR_First();
  EXPECT_EQ(std::tuple(player.CurrentFrame, player.Label_Status), std::tuple(0L, std::string("First")));
  player.LastFrame();
  EXPECT_EQ(player.CurrentFrame, 5);
  EXPECT_FALSE(player.VTR_Step());
  player.mnuSkip(0);
  EXPECT_EQ(player.Skip, 1);
}

TEST_F(PlayerTransportTest, PlayRunsAtTheFrameRateToTheEndOrUntilStopped) {
  OpenEnergyFilm();  // 20 frames a second
  host.clock = 1000;
  player.Play();
  EXPECT_EQ(player.CurrentFrame, 5);
  EXPECT_EQ(player.Label_Status, "Still");
  EXPECT_FALSE(player.Playing());
  // Five frames 50 ms apart.
  EXPECT_GE(host.clock, 1000u + 5 * 50);
  EXPECT_LT(host.clock, 1000u + 7 * 50);

  // Backward with replay: round and round until the stop.
  player.Replay = true;
  player.Check_Reverse = true;
  host.After(50 * 8 + 10, [this] { player.Stopp(); });
  player.Play();
  EXPECT_EQ(player.Label_Status, "Pause");
  // 5 -> 0 in five steps, then 5, 4, 3.
  EXPECT_EQ(player.CurrentFrame, 3);
  host.After(30, [this] { player.Stopp(); });
  player.Previous();  // forward now, as Reverse is on
  EXPECT_EQ(player.CurrentFrame, 3);  // stopped before its first step
}

TEST_F(PlayerTransportTest, ARunHoldingTheFilmTurnsTransportOff) {
  OpenEnergyFilm();
  EXPECT_TRUE(player.TransportEnabled());
  GrabMode() = kGrabModeVTR;
  EXPECT_TRUE(FilmMode());
  Form_Experiment form;
  player.SetExperimentForm(&form);
  EXPECT_FALSE(player.TransportEnabled());
  EXPECT_FALSE(player.NextFrame());
  player.Play();
  EXPECT_EQ(player.CurrentFrame, 0);
  // The run itself still moves the film.
  EXPECT_TRUE(player.Step());
  EXPECT_EQ(player.CurrentFrame, 1);
  player.SetExperimentForm(nullptr);
  EXPECT_TRUE(player.TransportEnabled());
}

}  // namespace
}  // namespace sv::test

namespace sv::test {
namespace {

TEST_F(PlayerTransportTest, TheWindowToolsKnowTheFilmFrameAndItsEnergy) {
  InstallFilmHooks();
  Form_SoftVTR& p = SoftVTRForm();
  ASSERT_TRUE(p.OpenVideo(Film("e.vid", 3, 64, 2, 8, {"energy (eV)"}, [](long f) {
    return std::vector<float>{40.0f + float(f)};
  })));
  ASSERT_TRUE(p.GotoFrame(2));
  Form_Camera other;
  const AnalysisHooks& h = Hooks();
  EXPECT_TRUE(h.IsFilmFrame(*p.Image()));
  EXPECT_FALSE(h.IsFilmFrame(other));
  EXPECT_TRUE(h.FilmHasEnergy(*p.Image()));
  EXPECT_EQ(h.FilmEnergy(*p.Image()), 42.0f);
  ASSERT_TRUE(p.OpenVideo(Film("t.vid", 2, 8, 2, 8)));
  EXPECT_FALSE(h.FilmHasEnergy(*p.Image()));
  p.CloseVideo();
  EXPECT_FALSE(h.IsFilmFrame(other));
  Hooks() = AnalysisHooks();
}

}  // namespace
}  // namespace sv::test
