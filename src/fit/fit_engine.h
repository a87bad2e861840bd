// The fit engine: minimises the weighted sum of squares of a model with up to
// 83 table parameters against a list of points, by Gauss-Newton steps solved
// by Householder reflections, with a step-halving damping that survives from
// one iteration to the next. It is stepped (`hillefit`) from a timer, one
// iteration a tick. Parameters, residuals, the work matrix and every
// accumulator are 32-bit floats. It knows nothing of peaks: the model is a
// pair of callables set in `FitG().Model`.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace sv {

inline constexpr int kFitParMax = 83;

// Status codes of a fit (`FitRun::Status`).
inline constexpr int kFitCanceled = -11;       // reserved for the status window
inline constexpr int kFitDivByZero = -10;      // reserved
inline constexpr int kFitNoMemory = -9;        // reserved
inline constexpr int kFitTooManyData = -8;     // reserved
inline constexpr int kFitNoData = -7;
inline constexpr int kFitTooManyPar = -6;      // reserved
inline constexpr int kFitNoPar = -5;
inline constexpr int kFitSingular = -4;
inline constexpr int kFitOutOfRadius = -3;
inline constexpr int kFitTooManyCalls = -2;
inline constexpr int kFitNoDecrease = -1;
inline constexpr int kFitRunning = 0;
inline constexpr int kFitSlope = 1;
inline constexpr int kFitSmallSOS = 2;

struct FitParameter {
  int32_t Link = 0;   // > 0 free, 0 fixed at Input, < 0 takes the Value of entry -Link
  std::string Name;
  float Input = 0;    // start value
  float Value = 0;    // current value
  float Error = 0;    // standard error after the fit
  int32_t Slot = 0;   // in entry k: table index of the k-th free parameter
};

struct FitPoint {
  float Y = 0;      // measured
  float Sigma = 1;  // weight, set at start
  float X = 0;      // independent value
  float Fit = 0;    // model value
};
static_assert(sizeof(FitPoint) == 16);

// Section "Fit" of "PEAKFIT.INI" (see fit_settings.h).
struct FitSettings {
  float Dmax = 1.0e9f;
  float SOSslope = 0.01f;
  float DiffStep = 0.01f;
  float minSOS = 0.001f;
  int32_t MaxDmpg = 5;
  int32_t MaxFun = 100;
  int32_t FitWght = 1;       // 1 keep, 2 square root of Y
  int32_t PeakMinCount = 0;
  int32_t PeakContrast = 8;
  int32_t PeakShape = 1;     // 1 Lorentzian, 2 Gaussian, 0 none
  float PeakWidth = 10.0f;   // negative: the width is not used
  int32_t Beep = 1;
};

// The state of the one running fit.
struct FitRun {
  int32_t NData = 0;
  int32_t NPar = 0;
  int32_t Iterations = 0;
  int32_t Calls = 0;
  int32_t Stage = 0;    // 0 idle, 1 iterating, 2 calculate errors
  int32_t Damping = 0;  // halvings in force
  float SOS = 0;
  float StdDevWithout = 0;
  float StdDevWith = 0;
  int32_t Status = 0;
  bool StartFlag = false;
  bool DoneFlag = false;
  bool WantErrors = false;
  // Percent, NPar x NPar; filled by calcError, empty when it could not run
  // (no fit, a singular Jacobian or normal matrix).
  std::vector<int16_t> Correlation;
  int16_t Corr(int i, int j) const {  // 1-based
    return Correlation[size_t(i - 1) * size_t(NPar) + size_t(j - 1)];
  }
};

// The model. `newpar` calls Refresh after writing the table, so that the
// model can rebuild its own arrays; Theo(i) is the model value at point i
// (0-based index into FitG().Points) from the table as it stands. The model
// must give a finite value for any parameters and never fail.
struct FitModel {
  std::function<void()> Refresh;
  std::function<float(int i)> Theo;
};

struct FitState {
  std::array<FitParameter, kFitParMax + 1> Par{};  // entries 1..83; [0] unused
  std::vector<FitPoint> Points;                    // the NData points
  FitSettings Settings;
  FitRun Run;
  FitModel Model;
};
// The one fit of the process.
FitState& FitG();

// A column-major work matrix addressed as W(column, row), both from 1.
class FitMatrix {
 public:
  FitMatrix() = default;
  FitMatrix(int columns, int rows)
      : cols_(columns), rows_(rows), data_(size_t(columns) * size_t(rows), 0.0f) {}
  float& operator()(int col, int row) { return data_[size_t(col - 1) * size_t(rows_) + size_t(row - 1)]; }
  float operator()(int col, int row) const {
    return data_[size_t(col - 1) * size_t(rows_) + size_t(row - 1)];
  }
  float* Column(int col) { return data_.data() + size_t(col - 1) * size_t(rows_); }
  int Columns() const { return cols_; }
  int Rows() const { return rows_; }
  bool Empty() const { return data_.empty(); }

 private:
  int cols_ = 0, rows_ = 0;
  std::vector<float> data_;
};

// The status text of a code; codes out of -11..2 give "".
std::string fiterrorStr(int code);

// One step of the state machine, called from the status timer.
void hillefit();
// Phase 0 starts a fit, phase 1 does one iteration.
void gradhd(int phase);
// Writes p (free parameters, 1..NPar in p[0..NPar-1]) into the table,
// evaluates the model for all points, fills Fit and the residuals
// (Y - Fit) / (sqrt(NData) * Sigma).
void calfun(const std::vector<float>& p, std::vector<float>& residual);
// Free entries take p in order, fixed ones Input, tied ones the Value of the
// entry they name (which must stand earlier); then the model is refreshed.
void newpar(const std::vector<float>& p);
// Errors and correlations at the final parameters (Stage 2, Status > -4).
void calcError();
// Solves the least-squares system of W's columns 1..n (rows 1..m) against
// column n+1, leaving the step in column 1 rows 1..n. Returns true when singular.
bool house(int n, int m, FitMatrix& W);
// Inverts the n x n matrix A in place (Gauss-Jordan, row pivoting). Returns
// true when singular, leaving A unfinished.
bool matinv(int n, FitMatrix& A);
// Frees the work arrays of a fit.
void FitFreeArrays();

}  // namespace sv
