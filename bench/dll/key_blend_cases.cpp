// DLL benchmark cases of the key, blend and fill blits, as a host calls them.
#include "dll_bench.h"

namespace mkdllbench {
namespace {

struct Images {
    Images(Sizes s)
        : dst(s.w, s.h, 24, 5), src(s.w, s.h, 24, 6), other(s.w, s.h, 24, 7), mask(s.w, s.h, 8, 8) {}
    Image dst, src, other, mask;
};

// One case: the images for a size, then the call with the MMX switch set as given.
template <class Call>
void make_case(Sizes s, std::function<void()>* run, BOOL mmx, Call call) {
    auto images = std::make_shared<Images>(s);
    *run = [=] {
        SetUsageMMX(mmx);
        call(*images, s);
    };
}

MKDLL_BENCH("AlphaBlendBlt 100, MMX path", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) {
        AlphaBlendBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.other.bd, 0, 0, 100);
    });
});
MKDLL_BENCH("AlphaBlendBlt 100, plain path", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 0, [](Images& i, Sizes s) {
        AlphaBlendBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.other.bd, 0, 0, 100);
    });
});
MKDLL_BENCH("FillAlpha 100, MMX path", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) { FillAlpha(&i.dst.bd, 0, 0, s.w, s.h, 0x204080, 100); });
});
MKDLL_BENCH("FillAlpha 100, plain path", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 0, [](Images& i, Sizes s) { FillAlpha(&i.dst.bd, 0, 0, s.w, s.h, 0x204080, 100); });
});
MKDLL_BENCH("ColorKeyBlt", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) { ColorKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0); });
});
MKDLL_BENCH("MaskKeyBlt, 8-bit mask", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) {
        MaskKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.mask.bd, 0, 0, 128);
    });
});
MKDLL_BENCH("MaskTimeKeyBlt, 8-bit mask", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) {
        MaskTimeKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.mask.bd, 0, 0, 128);
    });
});

}  // namespace
}  // namespace mkdllbench
