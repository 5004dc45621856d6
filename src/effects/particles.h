// The particle system: powders of slots spawned from a point or from the cells of an area,
// moved under a process-wide drift and acceleration, drawn with the ellipse stamps.
#pragma once

#include <cstdint>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

/// The environment shared by every powder; all 0 until ptc_SetCondition. Process-wide and
/// unguarded: the host drives the particles from one thread.
struct PtcCondition {
    double dFlowX, dFlowY;    ///< velocity added to every displacement, pixels per second
    double dAccelY, dAccelX;  ///< accelerations scaled by each powder's weight
};
extern PtcCondition g_ptcCondition;

/// Applies the powder's home layout to slot i for the area rc; other layouts (or a grid
/// over an area of width 0) leave the home as it is.
void PlaceParticleHome(PowderData* powder, int32_t i, const RECT& rc);

}  // namespace mediakit
