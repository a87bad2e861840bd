#include "experiment/film_source.h"

namespace sv {

namespace {
FilmSource* g_film = nullptr;
}  // namespace

int& GrabMode() {
  static int mode = 0;
  return mode;
}

FilmSource* TheFilmSource() { return g_film; }
void SetFilmSource(FilmSource* film) { g_film = film; }

bool FilmMode() { return GrabMode() == kGrabModeVTR && g_film != nullptr; }

}  // namespace sv
