#include <cstring>

#include "dll_bench.h"

namespace mkdllbench {
namespace {

// Each call starts from the same pixels (strengthening again and again would drive them to
// 0 and 255, which the step leaves alone); the copy is timed with it and is small beside it.
void hsb_case(Sizes s, std::function<void()>* run, double hue, double saturation) {
    auto original = std::make_shared<Image>(s.w, s.h, 24, 7);
    auto img = std::make_shared<Image>(s.w, s.h, 24, 8);
    const size_t bytes = size_t(BytesPerLine(&img->bd.lpbmi->bmiHeader)) * s.h;
    *run = [=] {
        std::memcpy(img->bd.lpBits, original->bd.lpBits, bytes);
        ReviseHSB(&img->bd, 0, 0, s.w, s.h, hue, saturation, 0, 0);
    };
}

MKDLL_BENCH("ReviseHSB, hue step", [](Sizes s, std::function<void()>* run) { hsb_case(s, run, 0.37, 0); });
MKDLL_BENCH("ReviseHSB, strengthening", [](Sizes s, std::function<void()>* run) { hsb_case(s, run, 0, 0.4); });
MKDLL_BENCH("ReviseHSB, weakening", [](Sizes s, std::function<void()>* run) { hsb_case(s, run, 0, -0.4); });

}  // namespace
}  // namespace mkdllbench
