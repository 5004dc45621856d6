// The ellipse stamps and the particle system on arbitrary settings: small images of any
// depth and size (zero included), boxes and corners anywhere in the 32-bit range, any
// strength and colour, and powders whose fields take any value. The sanitizers check that
// nothing outside the pixel arrays is read or written and that no arithmetic is undefined.
#include <cstdlib>
#include <cstring>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t u32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | (n ? (--n, *p++) : 0);
        return v;
    }
    int32_t i32() { return static_cast<int32_t>(u32()); }
    // Mostly small values near the images, sometimes anything.
    int32_t coord() { return (u32() & 7) ? static_cast<int32_t>(u32() % 160) - 80 : i32(); }
    double f64() {
        uint64_t bits = static_cast<uint64_t>(u32()) << 32 | u32();
        double d;
        std::memcpy(&d, &bits, 8);
        return (bits & 3) ? static_cast<double>(i32() % 1000) : d;  // NaN and infinities too
    }
};

// A record over a heap pixel array of exactly BytesPerLine × height bytes.
struct Image {
    BITMAPINFOHEADER info{};
    BitmapData bd{};
    Image(int w, int h, int bits) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = static_cast<WORD>(bits);
        size_t size = static_cast<size_t>(BytesPerLine(&info)) * h;
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = static_cast<BYTE*>(std::malloc(size ? size : 1));
        for (size_t i = 0; i < size; ++i) bd.lpBits[i] = static_cast<BYTE>(i * 13);
    }
    ~Image() { std::free(bd.lpBits); }
};

const int kDepths[] = {24, 24, 24, 8, 32, 1};

void stamps(Reader& r, Image& dst, Image& src, Image& mask) {
    for (int i = 0; i < 6; ++i) {
        uint32_t shape = r.u32();
        // Boxes up to 300 pixels; now and then circles of up to 2^22. (Larger ones are
        // drawn exactly as well, but one whose far side crosses the image walks its whole
        // outline first, billions of steps: the unit tests place such boxes.)
        const bool huge = (shape & 0xF0) == 0;
        uint32_t w = huge ? r.u32() % (1u << 22) : r.u32() % 300, h = huge ? w : r.u32() % 300;
        const BitmapData* m = (shape & 2) ? &mask.bd : nullptr;
        if (shape & 4)
            ImageEllipse(&dst.bd, r.coord(), r.coord(), w, h, (shape & 8) ? &dst.bd : &src.bd, r.coord(),
                         r.coord(), m, r.coord(), r.coord(), r.i32() % 600);
        else
            ColorEllipse(&dst.bd, r.coord(), r.coord(), w, h, r.u32(), m, r.coord(), r.coord(), r.i32() % 600);
    }
}

void particles(Reader& r, Image& dst, Image& src, Image& mask) {
    ptc_SetCondition(r.f64(), r.f64(), r.f64(), r.f64(), 0);
    const uint32_t kind = r.u32();
    const DWORD flags = r.u32() & 0xFFF, limit = r.u32() % 4;
    // Radii mostly small, now and then up to 2^20, and fades that never give life back,
    // so that every radius stays between the two. (A negative radius makes a box of
    // nearly 2^32 pixels; flying anywhere, such a disc can cross the image with its far
    // side, and its walk then takes seconds: the unit tests place such boxes.)
    auto radius = [&] { return static_cast<LONG>((r.u32() & 15) ? r.u32() % 24 : r.u32() % (1u << 20)); };
    auto fade = [&] { return r.u32() % (1u << 30); };
    PowderData* p;
    if (kind & 1) {
        p = ptc_CreatePowder(flags, limit, r.coord(), r.coord(), r.u32() % 24, radius(), radius(), r.i32(),
                             fade(), r.i32(), r.f64(), r.i32(), r.f64(), r.i32(), r.u32(), fade(), r.i32(),
                             r.u32(), r.u32());
    } else {
        const LONG l = r.i32() % 64, t = r.i32() % 64, rr = r.i32() % 64, b = r.i32() % 64;
        p = ptc_CreateBltPowder(flags, limit, l, t, rr, b, r.i32(), LONG(r.u32() % 9), radius(), r.i32(), fade(),
                                r.i32(), r.f64(), r.i32(), r.f64(), r.i32(), r.u32(), fade(), r.i32(), r.u32(),
                                r.u32());
    }
    if (!p) return;
    for (int frame = 0; frame < 3; ++frame) {
        const DWORD elapsed = r.u32() % 200;
        switch (r.u32() % 4) {
            case 0: ptc_ColorEraseParticle(elapsed, p, &dst.bd, r.u32(), &mask.bd, &src.bd); break;
            case 1: ptc_ImageEraseParticle(elapsed, p, &dst.bd, &src.bd, nullptr, &src.bd); break;
            case 2:
                ptc_Move(elapsed, p);
                ptc_Create(elapsed, p);
                ptc_RenderImageParticle(p, &dst.bd, r.coord(), r.coord(), &src.bd, r.coord(), r.coord(), &mask.bd,
                                        r.coord(), r.coord(), r.u32() & 1);
                break;
            default:
                if (!(p = ptc_ReAllocMatters(p, r.u32() % 24))) return;
                ptc_AutoPos(p, RECT{r.i32() % 64, r.i32() % 64, r.i32() % 64, r.i32() % 64});
        }
    }
    ptc_DeleteParticleMatters(p);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    Image dst(r.u32() % 40 + 1, r.u32() % 40 + 1, (r.u32() % 8) ? 24 : 8);
    Image src(r.u32() % 41, r.u32() % 41, kDepths[r.u32() % 6]);
    Image mask(r.u32() % 41, r.u32() % 41, kDepths[r.u32() % 6]);
    SetUsageMMX(1);
    stamps(r, dst, src, mask);
    particles(r, dst, src, mask);
    return 0;
}
