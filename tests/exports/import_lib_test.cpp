// A host linked through the MSVC-style import library mediakit.lib.
#include <cstdio>

#include "mediakit.h"

int main() {
    BITMAPINFOHEADER h = {};
    h.biWidth = 5;
    h.biPlanes = 1;
    h.biBitCount = 24;
    if (BytesPerLine(&h) != 16 || NumOfPalletColors(&h) != 0) {
        std::puts("wrong results through mediakit.lib");
        return 1;
    }
    std::puts("mediakit.lib links and calls");
    return 0;
}
