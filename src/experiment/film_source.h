// Where a run's frames come from. GrabMode 2 is VTR mode: a film in the
// player stands in for the camera, with the film's energy and time for the
// live ones; any other value is the live source. The film player implements
// FilmSource and puts itself in with SetFilmSource while a film is open.
#pragma once

#include <cstdint>
#include <string>

namespace sv {

class Form_Camera;

inline constexpr int kGrabModeVTR = 2;

// The shared source of frames; 0 at start.
int& GrabMode();

// What a run asks of the film player.
class FilmSource {
 public:
  virtual ~FilmSource() = default;
  // The player's picture: the present frame's pixels, size and depth; the
  // run's overlay is drawn on it.
  virtual Form_Camera* Image() = 0;
  // Significant bits of the film's samples.
  virtual long Bits() const = 0;
  // VTR_First: back to the first frame.
  virtual void First() = 0;
  // VTR_Step: the next frame; false at the end of the film (nothing moved).
  virtual bool Step() = 0;
  // Steps until a frame's energy lies between EStart and EStop (either way
  // round, bounds included); true at the end of the film.
  virtual bool NextFrameInSweepEnergyRange(float eStart, float eStop) = 0;
  // The present frame's energy (eV, -1 without an energy column) and time
  // (ms).
  virtual float Energy() const = 0;
  virtual int32_t TimeMs() const = 0;
  // VTR_UserData: the stored value of the column with that label; false
  // when the film has no such column.
  virtual bool UserData(const std::string& label, float& value) const = 0;
  // VTR_Stop: the player stops where it is.
  virtual void Stop() = 0;
};

FilmSource* TheFilmSource();
void SetFilmSource(FilmSource* film);  // nullptr: no film

// VTR mode with a film to read: GrabMode 2 and a film source set.
bool FilmMode();

}  // namespace sv
