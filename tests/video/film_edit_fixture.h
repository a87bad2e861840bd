// Films for the editing tests: every frame's pixels tell its index, and its
// cells carry numbers of its own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/globals.h"
#include "image/kernel/numbers.h"
#include "support/scripted_host.h"
#include "video/film_edit.h"
#include "video/video_file.h"

namespace sv::test {

class FilmEditFixture : public ::testing::Test {
 protected:
  void SetUp() override { ResetGlobals(); }
  std::string Path(const std::string& name) { return host.root + "/" + name; }

  // Pixel byte k of frame i (behind the cells).
  static uint8_t Pixel(long i, size_t k) { return uint8_t(i * 7 + k * 3 + 1); }

  // A ".vid" of `frames` frames; the cells hold cycle i and column c's
  // value 100 * i + c.
  std::string Film(const std::string& name, long frames, std::vector<std::string> labels = {},
                   long w = 16, long h = 4, long bits = 12) {
    std::string path = Path(name);
    std::unique_ptr<VideoFile> film = NewVideoFile(false);
    float rate = 10;
    EXPECT_TRUE(film->FileOpen(path, kFilmOpenCreateWrite, &w, &h, &bits, &rate, false));
    if (!labels.empty()) {
      EXPECT_TRUE(film->NumericData(labels));
    }
    std::vector<uint8_t> frame(film->FrameSize());
    std::vector<float> cells(labels.size() + 1);
    for (long i = 0; i < frames; ++i) {
      for (size_t k = 0; k < frame.size(); ++k) frame[k] = Pixel(i, k);
      // 12 bits: keep the high byte of each sample below 16.
      if (bits > 8)
        for (size_t k = 1; k < frame.size(); k += 2) frame[k] &= 0x0F;
      cells[0] = float(i);
      for (size_t c = 1; c < cells.size(); ++c) cells[c] = float(100 * i + long(c) - 1);
      SV_code(Samples8(frame.data(), frame.size()), cells);
      EXPECT_TRUE(film->WriteFrame(uint32_t(i), frame.data()));
    }
    EXPECT_TRUE(film->FileClose());
    return path;
  }

  // Every frame of a film, bytes as read.
  static std::vector<std::vector<uint8_t>> Frames(const std::string& path) {
    std::vector<std::vector<uint8_t>> all;
    std::unique_ptr<VideoFile> film = OpenFilmToRead(path);
    if (!film) return all;
    for (long i = 0; i < film->NumberOfPictures(); ++i) {
      std::vector<uint8_t> f(film->FrameSize());
      uint32_t got = 0;
      EXPECT_TRUE(film->ReadFrame(uint32_t(i), f.data(), got));
      all.push_back(std::move(f));
    }
    return all;
  }
  static std::vector<std::string> Labels(const std::string& path) {
    std::vector<std::string> labels;
    std::unique_ptr<VideoFile> film = OpenFilmToRead(path);
    if (film)
      for (long c = 0; c < film->Cols(); ++c) labels.push_back(film->ColLabel(c));
    return labels;
  }

  ScriptedHost host;
};

}  // namespace sv::test
