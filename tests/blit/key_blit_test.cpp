#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "blit/key_blit.h"
#include "key_blend_support.h"

namespace {

using mediakit::SimdLevel;
using mktest::GuardedImage;
using mktest::Rng;
using Guard = mktest::GuardedBuffer::Guard;

enum class Op { kMaskKey, kMaskTime, kColorKey };

struct Case {
    Op op;
    int x, y, w, h, sx, sy, mx, my;
    int param;  // key or time
    int strength;
    std::string describe() const {
        std::ostringstream s;
        s << "op " << int(op) << ": " << w << "x" << h << " at (" << x << "," << y << ") from (" << sx
          << "," << sy << ") mask (" << mx << "," << my << ") key/time " << param << " strength "
          << strength;
        return s.str();
    }
};

void call(const Case& c, GuardedImage& dst, GuardedImage& src, GuardedImage& mask) {
    if (c.op == Op::kMaskKey)
        MaskKeyBlt2(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy, mask.record(), c.mx, c.my,
                    c.param, c.strength);
    else if (c.op == Op::kMaskTime)
        MaskTimeKeyBlt(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy, mask.record(), c.mx, c.my,
                       c.param);
    else
        ColorKeyBlt2(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy, c.strength);
}

// The blits pixel by pixel in image coordinates: each pixel of the rectangle that lies in
// every image taking part, selected by its rule, copied or moved towards the source colour.
void draw_expected(const Case& c, GuardedImage& dst, GuardedImage& src, GuardedImage& mask) {
    bool masked = c.op != Op::kColorKey;
    if (dst.bit_count() != 24 || (src.bit_count() != 24 && src.bit_count() != 8)) return;
    if (masked && mask.bit_count() != 8 && mask.bit_count() != 24) return;
    for (int j = 0; j < c.h; ++j) {
        for (int i = 0; i < c.w; ++i) {
            if (!inside(dst, c.x + i, c.y + j) || !inside(src, c.sx + i, c.sy + j)) continue;
            if (masked && !inside(mask, c.mx + i, c.my + j)) continue;
            uint8_t s[3];
            src.colour(c.sx + i, c.sy + j, s);
            int m = masked ? *mask.at(c.mx + i, c.my + j) : 0;  // a 24-bit mask's blue byte
            bool drawn = c.op == Op::kMaskKey    ? m > (c.param & 0xFF)
                         : c.op == Op::kMaskTime ? c.param > m
                                                 : (s[0] | s[1] | s[2]) != 0;
            uint8_t* d = dst.at(c.x + i, c.y + j);
            for (int k = 0; drawn && k < 3; ++k) d[k] = c.strength == 256 ? s[k] : mktest::mixed(d[k], s[k], c.strength);
        }
    }
}

int random_depth(Rng& rng, std::initializer_list<int> usual, int odd) {
    return rng.range(0, 9) == 0 ? odd : usual.begin()[rng.range(0, int(usual.size()) - 1)];
}

class KeyBlits : public mktest::AtSimdLevel {};

// Random images of every small width and some large ones, 8- and 24-bit sources (palettes
// of every length) and masks, depths that draw nothing, rectangles reaching out of every
// image, and keys, times and strengths leaning to their edges, on pixel blocks that end or
// start at a guard page.
TEST_P(KeyBlits, DrawWhatTheRuleSelectsInsideEveryImage) {
    constexpr int kCases = 1000;
    for (Op op : {Op::kMaskKey, Op::kMaskTime, Op::kColorKey}) {
        mktest::ModelCheck check;
        for (uint64_t seed = 1; seed <= kCases; ++seed) {
            Rng rng(seed * 3 + int(op));
            Guard guard = seed % 2 ? Guard::kAfter : Guard::kBefore;
            int dw = mktest::random_width(rng), dh = rng.range(1, 5), sw = mktest::random_width(rng),
                sh = rng.range(1, 5), mw = mktest::random_width(rng), mh = rng.range(1, 5);
            int palette = std::vector<int>{-1, 0, 1, 17, 255}[rng.range(0, 4)];
            GuardedImage dst(dw, dh, random_depth(rng, {24}, 8), rng, guard);
            GuardedImage src(sw, sh, random_depth(rng, {24, 8}, 32), rng, guard, palette);
            GuardedImage mask(mw, mh, random_depth(rng, {8, 24}, rng.range(0, 1) ? 32 : 1), rng, guard);
            if (seed % 3 == 0) {
                if (src.bit_count() % 8 == 0) src.fill_runs(rng);
                if (mask.bit_count() % 8 == 0) mask.fill_runs(rng);
            } else if (src.bit_count() == 24) {
                src.sprinkle_black(rng);
            }
            Case c{};
            c.op = op;
            c.w = mktest::random_extent(rng, std::max(dw, std::max(sw, mw)) + 3);
            c.h = mktest::random_extent(rng, 7);
            c.x = mktest::random_origin(rng, dw, 16), c.y = mktest::random_origin(rng, dh, 16);
            c.sx = mktest::random_origin(rng, sw, 16), c.sy = mktest::random_origin(rng, sh, 16);
            c.mx = mktest::random_origin(rng, mw, 16), c.my = mktest::random_origin(rng, mh, 16);
            c.param = op == Op::kMaskKey ? mktest::edgy(rng, {0, 1, 127, 254, 255, 256, 511}, 0, 255)
                                         : mktest::edgy(rng, {0, 1, 2, 255, 256, 257, -1, INT_MIN, INT_MAX}, 0, 256);
            c.strength = op == Op::kMaskTime ? 256
                                             : mktest::edgy(rng, {256, 256, 0, 1, 128, 255, 257, -1, 65536 + 256,
                                                                  INT_MIN, INT_MAX}, 1, 256);
            ASSERT_TRUE(check(dst, [&] { draw_expected(c, dst, src, mask); }, [&] { call(c, dst, src, mask); }))
                << "seed " << seed << ", " << c.describe() << ", depths " << dst.bit_count() << "/"
                << src.bit_count() << "/" << mask.bit_count() << ", images " << dw << "x" << dh << " " << sw
                << "x" << sh << " " << mw << "x" << mh;
        }
        EXPECT_TRUE(check.drew_enough(kCases)) << "op " << int(op);
    }
}

// Known pixels, worked out by hand: each row one 1×1 blit (a 24-bit mask holds the mask
// value in blue and 255 in red).
TEST_P(KeyBlits, KnownPixels) {
    struct Row {
        Op op;
        int param, strength, mask_bits, m;
        uint8_t s, d, expected;
    };
    const Row rows[] = {
        {Op::kMaskKey, 0, 256, 8, 1, 7, 9, 7},       {Op::kMaskKey, 0, 256, 8, 0, 7, 9, 9},
        {Op::kMaskKey, 255, 256, 8, 255, 7, 9, 9},   {Op::kMaskKey, 256, 256, 8, 1, 7, 9, 7},
        {Op::kMaskKey, 256, 256, 24, 0, 7, 9, 9},    {Op::kMaskKey, 9, 128, 24, 10, 200, 100, 150},
        {Op::kMaskKey, 9, 128, 8, 10, 0, 255, 127},  {Op::kMaskKey, 9, 0, 8, 10, 0, 255, 255},
        {Op::kMaskTime, 0, 256, 8, 0, 7, 9, 9},      {Op::kMaskTime, 1, 256, 8, 0, 7, 9, 7},
        {Op::kMaskTime, 1, 256, 24, 1, 7, 9, 9},     {Op::kMaskTime, 256, 256, 8, 255, 7, 9, 7},
        {Op::kMaskTime, 255, 256, 8, 255, 7, 9, 9},  {Op::kColorKey, 0, 128, 8, 0, 200, 100, 150},
        {Op::kColorKey, 0, 128, 8, 0, 100, 200, 150}, {Op::kColorKey, 0, 256, 8, 0, 0, 200, 200},
    };
    Rng rng(1);
    for (const Row& row : rows) {
        GuardedImage dst(1, 1, 24, rng), src(1, 1, 24, rng), mask(1, 1, row.mask_bits, rng);
        std::memset(dst.at(0, 0), row.d, 3);
        std::memset(src.at(0, 0), row.s, 3);
        mask.at(0, 0)[0] = uint8_t(row.m);
        if (row.mask_bits == 24) mask.at(0, 0)[2] = 255;
        call({row.op, 0, 0, 1, 1, 0, 0, 0, 0, row.param, row.strength}, dst, src, mask);
        EXPECT_EQ(dst.at(0, 0)[1], row.expected) << "row " << (&row - rows);
    }
}

MKTEST_ALL_LEVELS(KeyBlits);

// The vector kernels against the reference directly: every width 1..40 and some large ones,
// strides with spare bytes, both mask depths, copies and mixes, with each block flush
// against a guard page after its last byte or before its first.
class KeyBlitKernels : public mktest::AtSimdLevel {};

TEST_P(KeyBlitKernels, MatchTheReferenceAndStayInside) {
    uint64_t seed = 0;
    for (int w : mktest::kernel_widths()) {
        for (int variant = 0; variant < 12; ++variant) {
            Rng rng(++seed);
            bool color_key = variant >= 8;
            int mask_step = variant % 2 ? 3 : 1, h = rng.range(1, 3);
            Guard guard = variant % 4 < 2 ? Guard::kAfter : Guard::kBefore;
            mktest::GuardedRows dst(h, 3 * w, rng.range(0, 5), guard, rng), src(h, 3 * w, rng.range(0, 5), guard, rng),
                mask(h, mask_step * w, rng.range(0, 5), guard, rng);
            if (seed % 2) {
                mktest::fill_runs(src.buffer.data(), src.buffer.size() / 3, 3, rng);
                mktest::fill_runs(mask.buffer.data(), mask.buffer.size() / mask_step, mask_step, rng);
            } else {
                for (size_t i = 0; i + 3 <= src.buffer.size(); i += 3)
                    if (rng.range(0, 3) == 0) std::memset(src.buffer.data() + i, 0, 3);  // black pixels
            }
            int a = rng.biased_byte(), b = rng.biased_byte();
            int strength = variant % 4 >= 2 ? 256 : mktest::edgy(rng, {1, 128, 255, 257, -1, INT_MIN}, 1, 255);
            std::vector<uint8_t> expected = dst.bytes();
            mediakit::KeyBlitRect r{expected.data(), src.buffer.data(), color_key ? nullptr : mask.buffer.data(),
                                    dst.stride, src.stride, mask.stride, w, h, mask_step,
                                    uint8_t(std::min(a, b)), uint8_t(std::max(a, b)), strength, nullptr};
            (color_key ? mediakit::color_key_rect_ref : mediakit::mask_key_rect_ref)(r);
            r.dst = dst.buffer.data();
            (color_key ? mediakit::color_key_kernel : mediakit::mask_key_kernel)(level())(r);
            ASSERT_EQ(mktest::first_difference(expected, dst.buffer.data(), expected.size()), "")
                << "width " << w << ", variant " << variant << ", seed " << seed;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(VectorLevels, KeyBlitKernels, testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         mktest::level_name);

}  // namespace
