#include "plot/form_plot.h"

namespace sv {

void Form_Plot::DrawInverseRect() {}

}  // namespace sv
