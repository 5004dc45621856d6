#include "blit/clip.h"

#include <cstdint>

namespace mediakit {
namespace {

bool fits(int64_t v) { return v >= INT32_MIN && v <= INT32_MAX; }

// One axis of one entry. The origin and extent members are picked by the caller so the
// same steps serve x with the widths and y with the heights.
bool clip_axis(int* size, ClipBltEntry* entries, int n, int i, LONG ClipBltEntry::*origin,
               LONG ClipBltEntry::*extent) {
    ClipBltEntry& e = entries[i];
    if (e.*origin > e.*extent) return false;
    if (e.*origin < 0) {
        // Shrink by the overhang and move every other image's origin by it.
        int64_t overhang = e.*origin;
        int64_t shrunk = *size + overhang;
        if (!fits(shrunk)) return false;
        for (int j = 0; j < n; ++j) {
            if (j == i) continue;
            int64_t moved = entries[j].*origin - overhang;
            if (!fits(moved)) return false;
            entries[j].*origin = static_cast<LONG>(moved);
        }
        *size = static_cast<int>(shrunk);
        e.*origin = 0;
    }
    int64_t far_edge = static_cast<int64_t>(e.*origin) + *size;
    if (far_edge > e.*extent) *size = e.*extent - e.*origin;
    return true;
}

}  // namespace

int ClipBltRects(int* w, int* h, ClipBltEntry* entries, int n) {
    for (int i = 0; i < n; ++i) {
        if (!clip_axis(w, entries, n, i, &ClipBltEntry::xOrigin, &ClipBltEntry::cxBitmap) ||
            !clip_axis(h, entries, n, i, &ClipBltEntry::yOrigin, &ClipBltEntry::cyBitmap))
            return 0;
    }
    return 1;
}

}  // namespace mediakit
