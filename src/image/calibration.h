// The two process-wide calibrations that turn image numbers into physical
// ones: the length calibration (units per pixel, the height of a pixel
// relative to its width) and the intensity table (grey value to calibrated
// value). Reading and writing them, and loading ".lut" files, lives with the
// analysis tools; here are the records and the arithmetic.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sv {

class Form_Camera;

// Section "CALIBRATION".
struct LengthCalibration {
  float PixelRatio = 1.0f;          // "Pixel Ratio"; a stored value <= 0 reads 1
  int32_t Enabled = 0;              // "enabled"; 1: lengths in the user's unit
  float CalFactor = 1.0f;           // "Cal Factor"; units per pixel
  std::string CalUnit = "Pixel";    // "Cal Unit"
};

// Section "ZCALIBRATION".
struct IntensityTable {
  int32_t Enabled = 0;              // "enabled"; 1: CalIntensity applies the table
  std::string FileName;             // "filename"; "" for a table made in memory
  std::string Name;                 // the table's label, or "linear"
  int32_t Count = 0;                // entries
  std::vector<float> Values;        // Count entries: calibrated value of grey value i
};

// The process-wide instances.
LengthCalibration& LengthCal();
IntensityTable& ZCal();

// sqrt(dx² + (PixelRatio·dy)²), times CalFactor when the calibration is on.
float CalLength(const LengthCalibration& cal, float dx, float dy);
float CalLength(float dx, float dy);
// The unit lengths are reported in: CalUnit when on, else "Pixel".
std::string CalUnit(const LengthCalibration& cal);
std::string CalUnit();

// The direction of (dx, dy) in degrees, 0 to 360.
float CalAngle(float dx, float dy);

// raw through the table for an image of `levels` grey levels (2^bits); raw
// unchanged when the table is off or empty.
float CalIntensity(const IntensityTable& table, long levels, float raw);
float CalIntensity(long levels, float raw);
// The same for the image's own depth.
float CalIntensity(const Form_Camera& image, float raw);
// True when the process-wide table applies.
bool CalIntensityOn();

// The lookup without regard to an image's depth, clamped to the table's ends;
// 0 for an empty table.
float TableValue(const IntensityTable& table, float x);
float TableValue(float x);

// A table of 2^bits entries with Values[i] = i, named "linear", no file.
// False (table untouched) for bits outside 8..16.
bool MakeLinearTable(IntensityTable& table, long bits);

}  // namespace sv
