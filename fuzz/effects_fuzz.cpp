// The ellipse stamps and the particle system on arbitrary settings: small images of any
// depth and size (zero included), boxes and corners anywhere in the 32-bit range, any
// strength and colour, and powders whose fields take any value. The sanitizers check that
// nothing outside the pixel arrays is read or written and that no arithmetic is undefined.
#include <cmath>
#include <vector>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t u32() { uint32_t v = 0; for (int i = 0; i < 4; ++i) v = v << 8 | (n ? (--n, *p++) : 0); return v; }
    int32_t i32() { return static_cast<int32_t>(u32()); }
    // Mostly small values near the images, sometimes anything.
    int32_t coord() { return (u32() & 7) ? static_cast<int32_t>(u32() % 160) - 80 : i32(); }
    // Mostly small whole numbers; now and then NaN, or any magnitude up to the infinities.
    double f64() { const uint32_t k = u32(); return (k & 3) ? i32() % 1000 : (k & 4) ? NAN : std::ldexp(i32(), int(k >> 3) % 2200 - 1100); }
};

// A record over a heap pixel array of exactly BytesPerLine × height bytes (one if none).
struct Image {
    BITMAPINFOHEADER info;
    std::vector<BYTE> pixels;
    BitmapData bd{{}, reinterpret_cast<BITMAPINFO*>(&info), pixels.data(), 0, 0};
    Image(int w, int h, int bits)
        : info{40, w, h, 1, static_cast<WORD>(bits), 0, 0, 0, 0, 0, 0}, pixels(size_t(BytesPerLine(&info)) * h + !(w * h)) {
        for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<BYTE>(i * 13);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    const int depths[] = {24, 24, 24, 8, 32, 1};
    Image dst(r.u32() % 40 + 1, r.u32() % 40 + 1, (r.u32() % 8) ? 24 : 8), src(r.u32() % 41, r.u32() % 41, depths[r.u32() % 6]),
        mask(r.u32() % 41, r.u32() % 41, depths[r.u32() % 6]);
    SetUsageMMX(1);
    // Boxes up to 300 pixels; now and then circles of up to 2^22. (Larger ones are drawn
    // exactly as well, but one whose far side crosses the image walks its whole outline
    // first, billions of steps: the unit tests place such boxes.)
    for (int i = 0; i < 6; ++i) {
        const uint32_t shape = r.u32(), w = (shape & 0xF0) ? r.u32() % 300 : r.u32() % (1u << 22), h = (shape & 0xF0) ? r.u32() % 300 : w;
        const BitmapData* m = (shape & 2) ? &mask.bd : nullptr;
        if (shape & 4) ImageEllipse(&dst.bd, r.coord(), r.coord(), w, h, (shape & 8) ? &dst.bd : &src.bd, r.coord(), r.coord(), m, r.coord(), r.coord(), r.i32() % 600);
        else ColorEllipse(&dst.bd, r.coord(), r.coord(), w, h, r.u32(), m, r.coord(), r.coord(), r.i32() % 600);
    }
    // Radii mostly small, now and then up to 2^20, and fades that never give life back, so
    // that every radius stays between the two. (A negative radius makes a box of nearly
    // 2^32 pixels whose walk can take seconds: the unit tests place such boxes.)
    ptc_SetCondition(r.f64(), r.f64(), r.f64(), r.f64(), 0);
    auto radius = [&] { return static_cast<LONG>((r.u32() & 15) ? r.u32() % 24 : r.u32() % (1u << 20)); };
    auto fade = [&] { return r.u32() % (1u << 30); };
    const DWORD flags = r.u32() & 0xFFF, limit = r.u32() % 4;
    PowderData* p = (r.u32() & 1) ? ptc_CreatePowder(flags, limit, r.coord(), r.coord(), r.u32() % 24, radius(), radius(), r.i32(),
                                                     fade(), r.i32(), r.f64(), r.i32(), r.f64(), r.i32(), r.u32(), fade(), r.i32(), r.u32(), r.u32())
                                  : ptc_CreateBltPowder(flags, limit, r.i32() % 64, r.i32() % 64, r.i32() % 64, r.i32() % 64, r.i32(), LONG(r.u32() % 9),
                                                        radius(), r.i32(), fade(), r.i32(), r.f64(), r.i32(), r.f64(), r.i32(), r.u32(), fade(), r.i32(), r.u32(), r.u32());
    for (int frame = 0; p && frame < 3; ++frame) {
        const DWORD elapsed = r.u32() % 200, step = r.u32() % 4;
        if (step == 0) ptc_ColorEraseParticle(elapsed, p, &dst.bd, r.u32(), &mask.bd, &src.bd);
        if (step == 1) ptc_ImageEraseParticle(elapsed, p, &dst.bd, &src.bd, nullptr, &src.bd);
        if (step == 2) ptc_Move(elapsed, p), ptc_Create(elapsed, p), ptc_RenderImageParticle(p, &dst.bd, r.coord(), r.coord(), &src.bd, r.coord(), r.coord(), &mask.bd, r.coord(), r.coord(), r.u32() & 1);
        if (step == 3 && (p = ptc_ReAllocMatters(p, r.u32() % 24))) ptc_AutoPos(p, RECT{r.i32() % 64, r.i32() % 64, r.i32() % 64, r.i32() % 64});
    }
    ptc_DeleteParticleMatters(p);
    return 0;
}
