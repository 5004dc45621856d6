// The plain copy: on its MMX path between 24-bit records, clipped against both images;
// otherwise GDI's BitBlt between the records' device contexts with the caller's values.
#pragma once

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

void fast_blt_mmx(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy);

/// GDI's BitBlt between the records' device contexts. The native build has no GDI: there
/// no record has a device context, and the copy does nothing, as GDI's fails.
void fast_blt_gdi(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy);

}  // namespace mediakit
