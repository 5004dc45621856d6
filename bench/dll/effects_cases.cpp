// Ellipse stamps and particle frames through the DLL, under Wine. The stamps tile the
// whole image with radius-16 discs, so their time compares with memcpy of the image.
#include "dll_bench.h"

namespace mkdllbench {
namespace {

void tiled_stamps(Sizes s, std::function<void()>* run, bool image, bool masked) {
    auto dst = std::make_shared<Image>(s.w, s.h, 24, 5);
    auto src = std::make_shared<Image>(s.w, s.h, 24, 6);
    auto mask = std::make_shared<Image>(s.w, s.h, 24, 7);
    *run = [=] {
        const BitmapData* m = masked ? &mask->bd : nullptr;
        for (int y = 0; y + 32 <= s.h; y += 32)
            for (int x = 0; x + 32 <= s.w; x += 32) {
                if (image) ImageEllipse(&dst->bd, x, y, 32, 32, &src->bd, x, y, m, x, y, 200);
                else ColorEllipse(&dst->bd, x, y, 32, 32, 0x00336699, m, x, y, 200);
            }
    };
}

MKDLL_BENCH("ColorEllipse, radius 16, tiled", [](Sizes s, std::function<void()>* run) { tiled_stamps(s, run, false, false); });
MKDLL_BENCH("ColorEllipse, radius 16, masked", [](Sizes s, std::function<void()>* run) { tiled_stamps(s, run, false, true); });
MKDLL_BENCH("ImageEllipse, radius 16, tiled", [](Sizes s, std::function<void()>* run) { tiled_stamps(s, run, true, false); });
MKDLL_BENCH("ImageEllipse, radius 16, masked", [](Sizes s, std::function<void()>* run) { tiled_stamps(s, run, true, true); });

// A fountain of 2,000 slots kept nearly all alive; one call is one frame.
void particle_frame(Sizes s, std::function<void()>* run, bool image) {
    auto frame = std::make_shared<Image>(s.w, s.h, 24, 8);
    auto picture = std::make_shared<Image>(s.w, s.h, 24, 9);
    ptc_SetCondition(0, 0, 60, 0, 0);
    std::shared_ptr<PowderData> powder(ptc_CreatePowder(PTC_ALLATONCE, 0, s.w / 2, s.h / 2, 2000, 8, 1, 256, 60, 120,
                                                        0, 180, 1, 0, 100, 30, 10, 4, 4),
                                       ptc_DeleteParticleMatters);
    for (int i = 0; i < 300; ++i) {
        ptc_Move(16, powder.get());
        ptc_Create(16, powder.get());
    }
    *run = [=] {
        if (image) ptc_ImageEraseParticle(16, powder.get(), &frame->bd, &picture->bd, nullptr, nullptr);
        else ptc_ColorEraseParticle(16, powder.get(), &frame->bd, 0x0080C0FF, nullptr, nullptr);
    };
}

MKDLL_BENCH("2,000 particles, colour frame", [](Sizes s, std::function<void()>* run) { particle_frame(s, run, false); });
MKDLL_BENCH("2,000 particles, image frame", [](Sizes s, std::function<void()>* run) { particle_frame(s, run, true); });

}  // namespace
}  // namespace mkdllbench
