// DLL benchmark cases of the key, blend and fill blits, as a host calls them.
#include <cstring>

#include "dll_bench.h"

namespace mkdllbench {
namespace {

struct Images {
    Images(Sizes s)
        : dst(s.w, s.h, 24, 5), src(s.w, s.h, 24, 6), other(s.w, s.h, 24, 7), mask(s.w, s.h, 8, 8) {}
    Image dst, src, other, mask;
};

// Source pixels made black: in runs of 37 pixels in a third of each row, as around sprites,
// or every other pixel, so that no group of pixels is all colour or all black.
enum class Black { kNone, kRuns, kEveryOther };

void blacken(Image& image, Sizes s, Black black) {
    int stride = BytesPerLine(&image.bd.lpbmi->bmiHeader);
    for (int y = 0; y < s.h && black != Black::kNone; ++y)
        for (int x = 0; x < s.w; ++x)
            if (black == Black::kRuns ? (x / 37 + y / 23) % 3 == 0 : x % 2 == 0)
                std::memset(image.bd.lpBits + size_t(y) * stride + 3 * x, 0, 3);
}

// One case: the images for a size, then the call with the MMX switch set as given.
template <class Call>
void make_case(Sizes s, std::function<void()>* run, BOOL mmx, Call call, Black black = Black::kNone) {
    auto images = std::make_shared<Images>(s);
    blacken(images->src, s, black);
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
MKDLL_BENCH("ColorKeyBlt, sprites", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) { ColorKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0); },
              Black::kRuns);
});
MKDLL_BENCH("ColorKeyBlt, every other pixel black", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) { ColorKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0); },
              Black::kEveryOther);
});
MKDLL_BENCH("MaskKeyBlt, random 8-bit mask", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) {
        MaskKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.mask.bd, 0, 0, 128);
    });
});
MKDLL_BENCH("MaskTimeKeyBlt, random 8-bit mask", [](Sizes s, std::function<void()>* run) {
    make_case(s, run, 1, [](Images& i, Sizes s) {
        MaskTimeKeyBlt(&i.dst.bd, 0, 0, s.w, s.h, &i.src.bd, 0, 0, &i.mask.bd, 0, 0, 128);
    });
});

}  // namespace
}  // namespace mkdllbench
