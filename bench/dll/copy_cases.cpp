#include "dll_bench.h"

namespace mkdllbench {
namespace {

void fast_blt_case(Sizes s, std::function<void()>* run, BOOL mmx) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 3);
    auto src = std::make_shared<Image>(s.w, s.h, 24, 4);
    *run = [=] {
        SetUsageMMX(mmx);
        FastBlt(&dst->bd, 0, 0, s.w, s.h, &src->bd, 0, 0);
        GdiFlush();
    };
}

MKDLL_BENCH("FastBlt, MMX path", [](Sizes s, std::function<void()>* run) { fast_blt_case(s, run, 1); });
MKDLL_BENCH("FastBlt, through GDI", [](Sizes s, std::function<void()>* run) { fast_blt_case(s, run, 0); });

}  // namespace
}  // namespace mkdllbench
