// Clipping of one blit rectangle against every image taking part.
#pragma once

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

/// Clips *w and *h against the entries, destination first, adjusting the origins in place.
/// Returns 0 when an origin lies beyond an image's far edge (draw nothing); otherwise 1,
/// with *w or *h possibly 0 or negative. Sums that would overflow 32 bits also return 0.
int ClipBltRects(int* w, int* h, ClipBltEntry* entries, int n);

}  // namespace mediakit
