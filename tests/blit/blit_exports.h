// Every blit export as one table: how many images it takes (destination first), where its
// parameters turn, which depths it draws on, and how to call it from one random case.
#pragma once

#include <climits>
#include <memory>
#include <sstream>
#include <string>

#include "blit/fast_blt.h"
#include "blit_support.h"
#include "mediakit.h"

namespace mktest {

struct Call {
    int n;
    std::unique_ptr<GuardedImage> own[4];
    GuardedImage* im[4];
    BitmapData* rec[4];  // what the call passes: im[k]'s record, or a broken one
    int x[4], y[4], w, h;
    int32_t v, u;  // the blit's parameters: strength, time, key, colour, hue...
    bool on;       // the switch
    BitmapData* r(int k) const { return rec[k]; }
    GuardedImage* add(int k, std::unique_ptr<GuardedImage> image) {
        own[k] = std::move(image);
        rec[k] = own[k]->record();
        return im[k] = own[k].get();
    }
    std::string describe() const {
        std::ostringstream s;
        s << w << "x" << h << ", v " << v << ", u " << u << ", switch " << on;
        for (int k = 0; k < n; ++k) s << "; " << im[k]->bits() << "-bit " << im[k]->width() << "x" << im[k]->height() << " at (" << x[k] << "," << y[k] << ")";
        return s.str();
    }
};

struct Blit {
    const char* name;
    const char* rule;  // the blit whose per-pixel rule this one follows
    int n;
    bool mask_last, only24, walks, dst_may_be_src;
    std::vector<int> v_edges;
    int v_lo, v_hi;
    std::vector<int> u_edges;
    int u_lo, u_hi;
    int dv, du;  // parameters that draw on images of 200s
    void (*call)(const Call&);
    bool (*accepts)(const int* bits);
};

inline bool bgr_or_indices(int bits) { return bits == 8 || bits == 24; }

inline const std::vector<Blit>& blits() {
    static const std::vector<int> kStrengths = {256, 256, 0, 1, 128, 255, 257, -1, 65536 + 256, INT_MIN, INT_MAX};
    static const std::vector<int> kAlphas = {0, 1, 127, 128, 129, 254, 255, 256, 257, -1, 65536 + 128, INT_MIN, INT_MAX};
    static const std::vector<Blit> table = {
        {"FastBlt", "FastBlt", 2, false, true, true, false, {0}, 0, 0, {0}, 0, 0, 0, 0,
         [](const Call& c) { mediakit::fast_blt_mmx(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1]); },
         [](const int* b) { return b[0] == 24 && b[1] == 24; }},
        {"AlphaBlendBlt", "AlphaBlendBlt", 3, false, false, true, false, kAlphas, 0, 256, {0}, 0, 0, 128, 0,
         [](const Call& c) { AlphaBlendBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.v); },
         [](const int* b) { return b[0] == 24 && b[1] == b[2] && bgr_or_indices(b[1]); }},
        {"FillAlpha", "FillAlpha", 1, false, false, true, false, kAlphas, 0, 256, {0, 0xFFFFFF}, 0, 0xFFFFFF, 128, 0xFFFFFF,
         [](const Call& c) { FillAlpha(c.r(0), c.x[0], c.y[0], c.w, c.h, COLORREF(c.u), c.v); },
         [](const int* b) { return b[0] == 24; }},
        {"MaskAlphaBlt2", "MaskAlphaBlt2", 3, true, false, true, false, {1, 128, 254, 255, 256}, 1, 256, {0}, 0, 0, 256, 0,
         [](const Call& c) { MaskAlphaBlt2(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.v); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]) && bgr_or_indices(b[2]); }},
        {"MaskAlphaBlt", "MaskAlphaBlt2", 3, true, false, true, false, {256}, 256, 256, {0}, 0, 0, 256, 0,
         [](const Call& c) { MaskAlphaBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2]); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]) && bgr_or_indices(b[2]); }},
        {"MaskTimeAlphaBlt", "MaskTimeAlphaBlt", 4, true, false, true, true,
         {INT_MIN, -40000, -50, -1, 0, 1, 128, 255, 256, 300, 510, 511, 512, 70000}, -20, 530, {0}, 0, 0, 300, 0,
         [](const Call& c) {
             MaskTimeAlphaBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.r(3), c.x[3], c.y[3], c.v);
         },
         [](const int* b) { return b[0] == 24 && b[1] == b[2] && bgr_or_indices(b[1]) && bgr_or_indices(b[3]); }},
        {"MaskKeyBlt2", "MaskKeyBlt2", 3, true, false, true, false, {0, 1, 127, 254, 255, 256, 511}, 0, 255, kStrengths, 1, 256, 0, 256,
         [](const Call& c) { MaskKeyBlt2(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.v, c.u); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]) && bgr_or_indices(b[2]); }},
        {"MaskKeyBlt", "MaskKeyBlt2", 3, true, false, true, false, {0, 1, 127, 254, 255, 256, 511}, 0, 255, {256}, 256, 256, 0, 256,
         [](const Call& c) { MaskKeyBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.v); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]) && bgr_or_indices(b[2]); }},
        {"MaskTimeKeyBlt", "MaskTimeKeyBlt", 3, true, false, true, false, {0, 1, 2, 255, 256, 257, -1, INT_MIN, INT_MAX}, 0, 256, {0}, 0, 0, 256, 0,
         [](const Call& c) { MaskTimeKeyBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.r(2), c.x[2], c.y[2], c.v); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]) && bgr_or_indices(b[2]); }},
        {"ColorKeyBlt2", "ColorKeyBlt2", 2, false, false, true, false, {0}, 0, 0, kStrengths, 1, 256, 0, 256,
         [](const Call& c) { ColorKeyBlt2(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], c.u); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]); }},
        {"ColorKeyBlt", "ColorKeyBlt2", 2, false, false, true, false, {0}, 0, 0, {256}, 256, 256, 0, 256,
         [](const Call& c) { ColorKeyBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1]); },
         [](const int* b) { return b[0] == 24 && bgr_or_indices(b[1]); }},
        {"ReviseHSB", "ReviseHSB", 1, false, false, true, false, {0, 64, -64}, -200, 200, {1, 64, -64}, -70, 70, 16, 32,
         [](const Call& c) { ReviseHSB(c.r(0), c.x[0], c.y[0], c.w, c.h, c.v / 64.0, c.u / 64.0, 0, c.u & 1); },
         [](const int* b) { return b[0] == 24; }},
        {"BilinearBlt", "", 2, false, true, false, false, {0}, 0, 0, {0}, 0, 0, 0, 0,
         [](const Call& c) { BilinearBlt(c.r(0), c.x[0], c.y[0], c.w, c.h, c.r(1), c.x[1], c.y[1], std::max(1, c.w - 1), c.h); },
         [](const int* b) { return b[0] == 24 && b[1] == 24; }},
        {"AddColorValue", "", 1, false, false, false, false, {0}, 0, 0, {0}, 0, 0, 10, 0,
         [](const Call& c) { AddColorValue(c.r(0), c.x[0], c.y[0], c.w, c.h, c.v); }, [](const int*) { return true; }},
    };
    return table;
}

/// A random case of a blit: images of 24 bits (or 8, or a mask of either), of random sizes,
/// palettes and content; origins mostly inside; the destination at times its own source.
inline Call random_call(const Blit& b, Rng& rng, Guard guard) {
    Call c{};
    c.n = b.n;
    const int src_bits = b.only24 || rng.range(0, 2) ? 24 : 8;
    int widest = 0;
    c.v = edgy(rng, b.v_edges, b.v_lo, b.v_hi), c.u = edgy(rng, b.u_edges, b.u_lo, b.u_hi), c.on = rng.range(0, 1);
    for (int k = 0; k < b.n; ++k) {
        const bool mask = b.mask_last && k == b.n - 1;
        const int bits = k == 0 ? 24 : mask ? (rng.range(0, 1) ? 24 : 8) : src_bits;
        const int w = rng.range(0, 9) ? rng.range(1, 40) : rng.range(41, 300), h = rng.range(1, 5);
        c.add(k, std::make_unique<GuardedImage>(w, h, bits, rng, guard, std::vector<int>{-1, 0, 1, 17, 255}[rng.range(0, 4)]));
        const int kind = rng.range(0, 2);
        if (kind == 0) c.im[k]->fill_runs(rng);
        if (kind == 1 && mask) {  // mask values near the time, where the transitions turn
            std::vector<uint8_t> near(c.im[k]->bytes());
            for (uint8_t& m : near) m = uint8_t(std::clamp(std::clamp(c.v, -3, 258) + rng.range(-3, 3), 0, 255));
            c.im[k]->restore(near);
        }
        c.x[k] = random_origin(rng, w, 12), c.y[k] = random_origin(rng, h, 12);
        widest = std::max(widest, w);
    }
    c.w = random_extent(rng, widest + 3), c.h = random_extent(rng, 7);
    if (b.dst_may_be_src && src_bits == 24 && rng.range(0, 5) == 0) c.im[1] = c.im[0], c.rec[1] = c.rec[0], c.x[1] = c.x[0], c.y[1] = c.y[0];
    return c;
}

}  // namespace mktest
