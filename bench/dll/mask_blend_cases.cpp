// The masked alpha blit and the timed transition through the DLL, on each path of the MMX
// switch: strength 200, and t = 300 (mid-transition; the mmx copy shortcut starts at 511).
#include <vector>

#include "dll_bench.h"

namespace mkdllbench {
namespace {

// A mask record on the heap: an 8-bit DIB section needs a device context with a palette,
// and a mask needs none.
struct HeapMask {
    HeapMask(Sizes s, WORD bits) : pixels(size_t(((s.w * bits + 31) >> 3) & ~3) * s.h) {
        info.bmiHeader.biSize = 40;
        info.bmiHeader.biWidth = s.w;
        info.bmiHeader.biHeight = s.h;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = bits;
        uint32_t x = 12345;
        for (BYTE& b : pixels) b = BYTE((x = x * 1103515245u + 12345u) >> 24);
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.data();
    }
    struct {
        BITMAPINFOHEADER bmiHeader;
        RGBQUAD colours[256];
    } info{};
    std::vector<BYTE> pixels;
    BitmapData bd{};
};

void mask_alpha_case(Sizes s, std::function<void()>* run, BOOL mmx, WORD mask_bits) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 3);
    auto src = std::make_shared<Image>(s.w, s.h, 24, 4);
    auto mask = std::make_shared<HeapMask>(s, mask_bits);
    *run = [=] {
        SetUsageMMX(mmx);
        MaskAlphaBlt2(&dst->bd, 0, 0, s.w, s.h, &src->bd, 0, 0, &mask->bd, 0, 0, 200);
    };
}

void mask_time_case(Sizes s, std::function<void()>* run, BOOL mmx, WORD mask_bits) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 3);
    auto first = std::make_shared<Image>(s.w, s.h, 24, 4);
    auto second = std::make_shared<Image>(s.w, s.h, 24, 6);
    auto mask = std::make_shared<HeapMask>(s, mask_bits);
    *run = [=] {
        SetUsageMMX(mmx);
        MaskTimeAlphaBlt(&dst->bd, 0, 0, s.w, s.h, &first->bd, 0, 0, &second->bd, 0, 0, &mask->bd, 0, 0, 300);
    };
}

MKDLL_BENCH("MaskAlphaBlt2, MMX path", [](Sizes s, std::function<void()>* run) { mask_alpha_case(s, run, 1, 24); });
MKDLL_BENCH("MaskAlphaBlt2, per-pixel, 24-bit mask", [](Sizes s, std::function<void()>* run) { mask_alpha_case(s, run, 0, 24); });
MKDLL_BENCH("MaskAlphaBlt2, per-pixel, 8-bit mask", [](Sizes s, std::function<void()>* run) { mask_alpha_case(s, run, 0, 8); });
MKDLL_BENCH("MaskTimeAlphaBlt, MMX path", [](Sizes s, std::function<void()>* run) { mask_time_case(s, run, 1, 24); });
MKDLL_BENCH("MaskTimeAlphaBlt, per-pixel, 24-bit mask", [](Sizes s, std::function<void()>* run) { mask_time_case(s, run, 0, 24); });
MKDLL_BENCH("MaskTimeAlphaBlt, per-pixel, 8-bit mask", [](Sizes s, std::function<void()>* run) { mask_time_case(s, run, 0, 8); });

}  // namespace
}  // namespace mkdllbench
