// Films for the player's tests, written by the film class itself.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "experiment/film_source.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/class_sv2vid.h"
#include "video/form_soft_vtr.h"

namespace sv::test {

// Pixel `i` of frame `f` in a film of `bits`.
inline uint16_t PlayerPixel(long f, size_t i, long bits) {
  const uint32_t top = (1u << bits) - 1;
  return uint16_t((uint32_t(f) * 37u + uint32_t(i) * 11u) % (top + 1));
}

class PlayerTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }
  void TearDown() override {
    player.CloseVideo();
    SetFilmSource(nullptr);
    GrabMode() = 0;
  }
  std::string Path(const std::string& name) const { return host.root + "/" + name; }

  // A film of `frames` frames; the numbers of frame f are values(f) under
  // `labels`. Pixels are PlayerPixel.
  std::string Film(const std::string& name, long frames, long w, long h, long bits,
                   const std::vector<std::string>& labels = {},
                   std::function<std::vector<float>(long)> values = nullptr,
                   bool colour = false) {
    const std::string path = Path(name);
    Class_SV2VID film;
    std::string p = path;
    float rate = 20;
    EXPECT_TRUE(film.FileOpen(p, kFilmOpenCreateWrite, &w, &h, &bits, &rate, colour));
    if (!labels.empty()) {
      EXPECT_TRUE(film.NumericData(labels));
    }
    const size_t samples = size_t(w) * size_t(h) * (colour ? 3 : 1);
    const size_t bytes = samples * (bits > 8 ? 2 : 1);
    std::vector<uint8_t> frame(std::max<size_t>(bytes, film.FrameSize()));
    for (long f = 0; f < frames; ++f) {
      for (size_t i = 0; i < samples; ++i) {
        const uint16_t v = PlayerPixel(f, i, bits);
        if (bits > 8) {
          frame[2 * i] = uint8_t(v & 0xFF);
          frame[2 * i + 1] = uint8_t(v >> 8);
        } else {
          frame[i] = uint8_t(v);
        }
      }
      // An empty list leaves the frame without numbers.
      if (values && !values(f).empty()) {
        std::vector<float> cells{float(f)};
        for (float v : values(f)) cells.push_back(v);
        EXPECT_TRUE(SV_code(Samples8(frame.data(), frame.size()), cells));
      }
      // Colour frames are three bytes a pixel; the class writes its own size.
      EXPECT_TRUE(film.WriteFrame(uint32_t(f), frame.data()));
    }
    EXPECT_TRUE(film.FileClose());
    return path;
  }

  ScriptedHost host;
  Form_SoftVTR player;
};

}  // namespace sv::test
