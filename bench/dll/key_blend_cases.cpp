// DLL benchmark cases of the key, blend and fill blits, as a host calls them.
#include <cstring>
#include <vector>

#include "dll_bench.h"

namespace mkdllbench {
namespace {

// An 8-bit mask of varied bytes as a record in memory (a palettised DIB section needs a
// device context to take its colours from).
struct Mask {
    Mask(Sizes s) : info(40 + 256 * 4), pixels(size_t((s.w + 3) & ~3) * s.h) {
        BITMAPINFOHEADER h{};
        h.biSize = 40;
        h.biWidth = s.w;
        h.biHeight = s.h;
        h.biPlanes = 1;
        h.biBitCount = 8;
        std::memcpy(info.data(), &h, sizeof h);
        uint32_t x = 2654435761u;
        for (BYTE& b : pixels) {
            x ^= x << 13;
            x ^= x >> 17;
            x ^= x << 5;
            b = BYTE(x);
        }
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(info.data());
        bd.lpBits = pixels.data();
    }
    std::vector<BYTE> info, pixels;
    BitmapData bd{};
};

struct Images {
    Images(Sizes s) : dst(s.w, s.h, 24, 5), src(s.w, s.h, 24, 6), other(s.w, s.h, 24, 7), mask(s) {}
    Image dst, src, other;
    Mask mask;
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
