// Every vector kernel against its reference, byte for byte, at each level the processor has:
// widths 1..40 and some large ones, strides with spare bytes, blocks flush against a guard
// page after their last byte or before their first, parameters leaning to their edges.
#include <cmath>
#include <limits>

#include "blit/area_scale.h"
#include "blit/const_blend.h"
#include "blit/copy.h"
#include "blit/hsb.h"
#include "blit/key_blit.h"
#include "blit/mask_blend.h"
#include "blit_cases.h"

namespace {

using namespace mediakit;
using mktest::Rng;

// One rectangle as a kernel sees it: the destination's stride and the sources' rows.
struct Rows {
    ptrdiff_t ds;
    const uint8_t *a, *b, *m;
    ptrdiff_t as, bs, ms;
    int w, h, step;
};

// A kernel call: level, destination, rows, one integer parameter v and 32 random bits x.
#define KERNEL(...) [](int l, uint8_t* d, const Rows& r, int32_t v, uint32_t x) { __VA_ARGS__; }
struct KernelCase {
    const char* name;
    void (*run)(int, uint8_t*, const Rows&, int32_t, uint32_t);
    int step;  // bytes per mask pixel; 0: either 1 or 3
    std::vector<int> edges;
    int lo, hi, rows = 3, rounds = 8;  // most rows of the narrow cases, cases per width
};

MaskRows mask_rows(uint8_t* d, const Rows& r) { return {d, r.a, r.b, r.m, r.ds, r.as, r.bs, r.ms, r.step, r.w, r.h}; }
KeyBlitRect key_rect(uint8_t* d, const Rows& r, int32_t v, uint32_t x, bool masked) {
    const uint8_t lo = uint8_t(x), hi = uint8_t(x >> 8);
    return {d, r.a, masked ? r.m : nullptr, r.ds, r.as, r.ms, r.w, r.h, r.step, std::min(lo, hi), std::max(lo, hi), v, nullptr};
}
// Arguments with few bits put many results on a rounding boundary; the odd ones reach NaN,
// infinities and conversions out of range.
double hsb_value(uint32_t x, double scale) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    static const double kOdd[] = {1.0 / 3, 0.5, 1.0, -1.0, 0.0, 5.0 / 6, 1e-17, 3.0, 1e10, 1e300, 2147483648.5, NAN, kInf, -kInf};
    if (x % 4 == 0) return kOdd[(x >> 2) % std::size(kOdd)];
    return x % 4 == 1 ? int(x >> 2) % 193 / 64.0 * scale : (int32_t(x) / 2147483648.0) * scale;
}

const std::vector<int> kAlphas = {0, 1, 127, 128, 255, 256, 257, -1, 65536 + 128, INT32_MIN, INT32_MAX};
const std::vector<int> kStrengths = {256, 256, 1, 128, 255, 257, -1, INT32_MIN};
const std::vector<int> kTimes = {INT32_MIN, -40000, -256, -1, 0, 1, 128, 255, 256, 300, 510, 511, 512, 32768, 70000};

const KernelCase kKernels[] = {
    {"copy", KERNEL(copy_rect24_kernel(l)(d, r.a, r.w, r.h, r.ds, r.as)), 3, {0}, 0, 0},
    {"blend", KERNEL(blend_kernel(l)({d, r.a, r.b, r.ds, r.as, r.bs, r.w, r.h, v, nullptr, nullptr})), 3, kAlphas, 0, 256},
    {"fill", KERNEL(fill_kernel(l)({d, r.ds, r.w, r.h, {uint8_t(x), uint8_t(x >> 8), uint8_t(x >> 16)}, v}, x >> 31)), 3, kAlphas, 0, 256},
    {"offset", KERNEL(offset_kernel(l)({d, r.ds, 3 * r.w, r.h, uint8_t(x % 4 == 0 ? 0 : x % 4 == 1 ? 255 : x >> 8)})), 3, {0}, 0, 0},
    {"mask key", KERNEL(mask_key_kernel(l)(key_rect(d, r, v, x, true))), 0, kStrengths, 1, 255},
    {"colour key", KERNEL(color_key_kernel(l)(key_rect(d, r, v, x, false))), 3, kStrengths, 1, 255},
    {"mask alpha per pixel", KERNEL(mask_alpha_pixel_kernel(l)(mask_rows(d, r), v)), 0, {1, 2, 127, 128, 254, 255, 256}, 1, 256},
    {"mask alpha mmx", KERNEL(mask_alpha_mmx_kernel(l)(mask_rows(d, r), v)), 3,
     {1, 128, 254, 255, 256, -1, 257, 65535, 65792, -65281, INT32_MIN, INT32_MAX}, 1, 256},
    {"mask time per pixel", KERNEL(mask_time_pixel_kernel(l)(mask_rows(d, r), v)), 0, kTimes, -300, 800},
    {"mask time mmx", KERNEL(mask_time_mmx_kernel(l)(mask_rows(d, r), v)), 3, kTimes, -300, 510},
    {"hue and saturation",
     KERNEL(revise_hsb(d, r.ds, r.w, r.h, {hsb_value(x, 3), hsb_value(x * 2654435761u, 1), (x & 64) != 0}, hsb_kernels(l))), 3, {0}, 0, 0},
    // The drawn part (dw x dh at i, j) of a larger rectangle, scaled from sw x sh source
    // pixels: shrinking and growing, many strips, footprints hundreds of cells wide or tall.
    {"area scale", KERNEL(
         const int dw = 1 + (x & 1 ? x % 3 : x) % r.w, dh = 1 + (x & 2 ? x % 5 : x >> 4) % r.h, i = (x >> 24) % 3, j = (x >> 28) % 2;
         const int sw = x & 1 ? std::max(1, r.w - int(x >> 8) % 4) : 1 + (x >> 8) % r.w, sh = x & 2 ? r.h : 1 + (x >> 16) % r.h;
         area_scale_kernel(l)({dw + i + int(x >> 26) % 2, dh + j, sw, sh, i, i + dw, j, j + dh, d, r.ds, r.a, r.as})),
     3, {0}, 0, 0, 200, 32},
};

class Kernels : public mktest::AtSimdLevel {};

TEST_P(Kernels, MatchTheirReferencesAndStayInside) {
    std::vector<int> widths = {47, 48, 49, 63, 64, 65, 95, 96, 97, 640, 1921};
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    uint64_t seed = 0;
    for (const KernelCase& k : kKernels) {
        for (int w : widths) {
            for (int round = 0; round < k.rounds; ++round) {
                Rng rng(++seed);
                const auto guard = round % 2 ? mktest::Guard::kAfter : mktest::Guard::kBefore;
                const int h = rng.range(1, w <= 100 ? k.rows : 3), step = k.step ? k.step : rng.range(0, 1) ? 3 : 1;
                const int32_t v = mktest::edgy(rng, k.edges, k.lo, k.hi);
                const uint32_t x = uint32_t(rng.next());
                std::unique_ptr<mktest::GuardedBuffer> p[4];
                ptrdiff_t stride[4];
                for (int i = 0; i < 4; ++i) {
                    const int row = i == 3 ? step * w : 3 * w;
                    stride[i] = row + rng.range(0, 7);
                    p[i] = std::make_unique<mktest::GuardedBuffer>(stride[i] * (h - 1) + row, guard);
                    uint8_t* b = p[i]->data();
                    const int kind = rng.range(0, 3);  // runs, biased bytes, bytes near the parameter
                    if (kind == 0) mktest::fill_runs(b, p[i]->size(), 1, rng);
                    for (size_t j = 0; kind && j < p[i]->size(); ++j)
                        b[j] = kind == 3 ? uint8_t(std::clamp<int64_t>(int64_t(v) + rng.range(-3, 3), 0, 255)) : rng.biased_byte();
                    if (kind == 0 && i < 3)  // whole black and white pixels
                        for (size_t j = 0; j + 3 <= p[i]->size(); j += 3) b[j + 1] = b[j + 2] = b[j];
                }
                const Rows rows{stride[0], p[1]->data(), p[2]->data(), p[3]->data(), stride[1], stride[2], stride[3], w, h, step};
                std::vector<uint8_t> expected(p[0]->data(), p[0]->data() + p[0]->size());
                k.run(0, expected.data(), rows, v, x);
                k.run(level(), p[0]->data(), rows, v, x);
                ASSERT_EQ(mktest::first_difference(expected, p[0]->data(), expected.size()), "")
                    << k.name << ", width " << w << ", height " << h << ", step " << step << ", v " << v << ", x " << x;
            }
        }
    }
}

MKTEST_LEVELS(Kernels, mediakit::SimdLevel::kSse2, mediakit::SimdLevel::kAvx2);

}  // namespace
