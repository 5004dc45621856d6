// Natural cubic splines over float tables held in the host's SplineData record. Every
// step is computed in double precision and rounded to float where it is stored in a table.
#pragma once

#include <cstdint>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

/// Evaluates segment i at t: ((u³ d + u² c) + u b) + y with u = t - x[i], in doubles.
double eval_segment(const SplineData& s, int32_t i, float t);

}  // namespace mediakit
