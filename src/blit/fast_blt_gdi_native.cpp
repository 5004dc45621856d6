#include "blit/fast_blt.h"

namespace mediakit {

void fast_blt_gdi(BitmapData*, int, int, int, int, const BitmapData*, int, int) {}

}  // namespace mediakit
