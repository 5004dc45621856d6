// The masked alpha blit and the timed transition through the DLL, on each path of the MMX
// switch: strength 200, and t = 300 (mid-transition; the mmx copy shortcut starts at 511).
#include "dll_bench.h"

namespace mkdllbench {
namespace {

void mask_alpha_case(Sizes s, std::function<void()>* run, BOOL mmx, WORD mask_bits) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 3);
    auto src = std::make_shared<Image>(s.w, s.h, 24, 4);
    auto mask = std::make_shared<Image>(s.w, s.h, mask_bits, 5);
    *run = [=] {
        SetUsageMMX(mmx);
        MaskAlphaBlt2(&dst->bd, 0, 0, s.w, s.h, &src->bd, 0, 0, &mask->bd, 0, 0, 200);
    };
}

void mask_time_case(Sizes s, std::function<void()>* run, BOOL mmx, WORD mask_bits) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 3);
    auto first = std::make_shared<Image>(s.w, s.h, 24, 4);
    auto second = std::make_shared<Image>(s.w, s.h, 24, 6);
    auto mask = std::make_shared<Image>(s.w, s.h, mask_bits, 5);
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
