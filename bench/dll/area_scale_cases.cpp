#include "dll_bench.h"

namespace mkdllbench {
namespace {

// The size given is the source's; the destination is a third of it each way, or 2.4 times
// smaller, so the Mpixel/s printed are source pixels.
void scale_case(Sizes s, std::function<void()>* run, int num, int den) {
    auto src = std::make_shared<Image>(s.w, s.h, 24, 5);
    const int w = s.w * num / den, h = s.h * num / den;
    auto dst = std::make_shared<Image>(w, h, 24, 6);
    *run = [=] { BilinearBlt(&dst->bd, 0, 0, w, h, &src->bd, 0, 0, s.w, s.h); };
}

MKDLL_BENCH("BilinearBlt, to a third", [](Sizes s, std::function<void()>* run) { scale_case(s, run, 1, 3); });
MKDLL_BENCH("BilinearBlt, to 1/2.4", [](Sizes s, std::function<void()>* run) { scale_case(s, run, 5, 12); });

}  // namespace
}  // namespace mkdllbench
