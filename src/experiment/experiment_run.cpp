#include "experiment/experiment_run.h"

namespace sv {

std::function<void(const RunRow&)>& RunRowHook() {
  static std::function<void(const RunRow&)> hook;
  return hook;
}

std::function<void(const RunEnd&)>& RunEndHook() {
  static std::function<void(const RunEnd&)> hook;
  return hook;
}

}  // namespace sv
