#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "blit/key_blit.h"
#include "guarded_image.h"
#include "images.h"

namespace {

using mediakit::SimdLevel;
using mktest::GuardedBuffer;
using mktest::GuardedImage;
using mktest::Rng;
using Guard = GuardedBuffer::Guard;

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
    switch (c.op) {
        case Op::kMaskKey:
            MaskKeyBlt2(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy, mask.record(),
                        c.mx, c.my, c.param, c.strength);
            break;
        case Op::kMaskTime:
            MaskTimeKeyBlt(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy,
                           mask.record(), c.mx, c.my, c.param);
            break;
        case Op::kColorKey:
            ColorKeyBlt2(dst.record(), c.x, c.y, c.w, c.h, src.record(), c.sx, c.sy, c.strength);
            break;
    }
}

bool inside(GuardedImage& image, int x, int y) {
    return x >= 0 && y >= 0 && x < image.width() && y < image.height();
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
            bool drawn = c.op == Op::kMaskKey   ? m > (c.param & 0xFF)
                         : c.op == Op::kMaskTime ? c.param > m
                                                 : (s[0] | s[1] | s[2]) != 0;
            if (!drawn) continue;
            uint8_t* d = dst.at(c.x + i, c.y + j);
            for (int k = 0; k < 3; ++k)
                d[k] = c.strength == 256 ? s[k] : uint8_t(d[k] + ((int64_t(s[k]) - d[k]) * c.strength >> 8));
        }
    }
}

int random_depth(Rng& rng, std::initializer_list<int> usual, int odd) {
    return rng.range(0, 9) == 0 ? odd : usual.begin()[rng.range(0, int(usual.size()) - 1)];
}

class KeyBlits : public mktest::AtSimdLevel {};

// Random images of every small width and some large ones, 8- and 24-bit sources and masks
// (and depths that draw nothing), rectangles reaching out of every image, and keys, times
// and strengths leaning to their edges, at each vector level, on pixel blocks that end or
// start at a guard page.
TEST_P(KeyBlits, DrawWhatTheRuleSelectsInsideEveryImage) {
    for (Op op : {Op::kMaskKey, Op::kMaskTime, Op::kColorKey}) {
        int changed = 0;
        for (uint64_t seed = 1; seed <= 1000; ++seed) {
            Rng rng(seed * 3 + int(op));
            Guard guard = seed % 2 ? Guard::kAfter : Guard::kBefore;
            auto size = [&](int* w, int* h) {
                *w = rng.range(0, 9) == 0 ? rng.range(41, 300) : rng.range(1, 40);
                *h = rng.range(1, 5);
            };
            int dw, dh, sw, sh, mw, mh;
            size(&dw, &dh);
            size(&sw, &sh);
            size(&mw, &mh);
            int palette = std::vector<int>{-1, 0, 1, 17, 255}[rng.range(0, 4)];
            GuardedImage dst(dw, dh, random_depth(rng, {24}, 8), rng, guard);
            GuardedImage src(sw, sh, random_depth(rng, {24, 8}, 32), rng, guard, palette);
            GuardedImage mask(mw, mh, random_depth(rng, {8, 24}, rng.range(0, 1) ? 32 : 1), rng, guard);
            if (src.bit_count() == 24) src.sprinkle_black(rng);
            Case c{};
            c.op = op;
            c.w = mktest::random_extent(rng, std::max(dw, std::max(sw, mw)) + 3);
            c.h = mktest::random_extent(rng, 7);
            c.x = mktest::random_origin(rng, dw, 16);
            c.y = mktest::random_origin(rng, dh, 16);
            c.sx = mktest::random_origin(rng, sw, 16);
            c.sy = mktest::random_origin(rng, sh, 16);
            c.mx = mktest::random_origin(rng, mw, 16);
            c.my = mktest::random_origin(rng, mh, 16);
            c.param = op == Op::kMaskKey ? mktest::edgy(rng, {0, 1, 127, 254, 255, 256, 511}, 0, 255)
                                         : mktest::edgy(rng, {0, 1, 2, 255, 256, 257, -1, INT_MIN, INT_MAX}, 0, 256);
            c.strength = op == Op::kMaskTime
                             ? 256
                             : mktest::edgy(rng, {256, 256, 0, 1, 128, 255, 257, -1, 65536 + 256, INT_MIN, INT_MAX}, 1, 256);

            std::vector<uint8_t> before = dst.snapshot();
            draw_expected(c, dst, src, mask);
            std::vector<uint8_t> expected = dst.snapshot();
            changed += expected != before;
            dst.restore(before);
            call(c, dst, src, mask);
            ASSERT_EQ(mktest::first_difference(expected, dst.snapshot().data(), expected.size()), "")
                << "seed " << seed << ", " << c.describe() << ", depths " << dst.bit_count() << "/"
                << src.bit_count() << "/" << mask.bit_count() << ", images " << dw << "x" << dh << " "
                << sw << "x" << sh << " " << mw << "x" << mh;
        }
        EXPECT_GT(changed, 1000 / 5) << "op " << int(op) << ": too few cases draw anything";
    }
}

// Known pixels: each row one 1×1 blit, destination and source colours given (a 24-bit mask
// holds the mask value in blue and 255 in red).
TEST_P(KeyBlits, KnownPixels) {
    struct Row {
        Op op;
        int param, strength, mask_bits, m;
        uint8_t s, d, expected;
    };
    const Row rows[] = {
        {Op::kMaskKey, 0, 256, 8, 1, 7, 9, 7},          {Op::kMaskKey, 0, 256, 8, 0, 7, 9, 9},
        {Op::kMaskKey, 255, 256, 8, 255, 7, 9, 9},      {Op::kMaskKey, 256, 256, 8, 1, 7, 9, 7},
        {Op::kMaskKey, 256, 256, 24, 0, 7, 9, 9},       {Op::kMaskKey, 9, 128, 24, 10, 200, 100, 150},
        {Op::kMaskKey, 9, 128, 8, 10, 0, 255, 127},     {Op::kMaskKey, 9, 0, 8, 10, 0, 255, 255},
        {Op::kMaskTime, 0, 256, 8, 0, 7, 9, 9},         {Op::kMaskTime, 1, 256, 8, 0, 7, 9, 7},
        {Op::kMaskTime, 1, 256, 24, 1, 7, 9, 9},        {Op::kMaskTime, 256, 256, 8, 255, 7, 9, 7},
        {Op::kMaskTime, 255, 256, 8, 255, 7, 9, 9},     {Op::kColorKey, 0, 128, 8, 0, 200, 100, 150},
        {Op::kColorKey, 0, 128, 8, 0, 100, 200, 150},   {Op::kColorKey, 0, 256, 8, 0, 0, 200, 200},
    };
    Rng rng(1);
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        const Row& row = rows[i];
        GuardedImage dst(1, 1, 24, rng), src(1, 1, 24, rng), mask(1, 1, row.mask_bits, rng);
        std::memset(dst.at(0, 0), row.d, 3);
        std::memset(src.at(0, 0), row.s, 3);
        mask.at(0, 0)[0] = uint8_t(row.m);
        if (row.mask_bits == 24) mask.at(0, 0)[2] = 255;
        call({row.op, 0, 0, 1, 1, 0, 0, 0, 0, row.param, row.strength}, dst, src, mask);
        EXPECT_EQ(dst.at(0, 0)[1], row.expected) << "row " << i;
    }
}

// A source pixel of (0, 0, 1) is not the key; palette entries are keyed on their colour.
TEST_P(KeyBlits, BlackIsTheOnlyKey) {
    Rng rng(2);
    GuardedImage dst(3, 1, 24, rng), src(3, 1, 24, rng), indexed(3, 1, 8, rng, Guard::kAfter, 2);
    std::vector<uint8_t> before = dst.snapshot();
    const uint8_t pixels[9] = {0, 0, 0, 0, 0, 1, 1, 0, 0};
    std::memcpy(src.at(0, 0), pixels, 9);
    ColorKeyBlt(dst.record(), 0, 0, 3, 1, src.record(), 0, 0);
    EXPECT_EQ(0, std::memcmp(dst.at(0, 0), before.data(), 3));
    EXPECT_EQ(0, std::memcmp(dst.at(1, 0), pixels + 3, 6));

    // Entry 0 black, entry 1 pure blue, index 2 beyond the two-entry table: black.
    indexed.record()->lpbmi->bmiColors[0] = {0, 0, 0, 77};
    indexed.record()->lpbmi->bmiColors[1] = {200, 0, 0, 0};
    indexed.record()->lpbmi->bmiColors[2] = {9, 9, 9, 0};
    const uint8_t indices[3] = {0, 1, 2};
    std::memcpy(indexed.at(0, 0), indices, 3);
    dst.restore(before);
    ColorKeyBlt(dst.record(), 0, 0, 3, 1, indexed.record(), 0, 0);
    const uint8_t blue[3] = {200, 0, 0};
    EXPECT_EQ(0, std::memcmp(dst.at(0, 0), before.data(), 3));
    EXPECT_EQ(0, std::memcmp(dst.at(1, 0), blue, 3));
    EXPECT_EQ(0, std::memcmp(dst.at(2, 0), before.data() + 6, 3));
}

MKTEST_ALL_LEVELS(KeyBlits);

// The vector kernels against the reference directly: every width 1..40 and some large ones,
// strides with spare bytes, both mask depths, copies and mixes, with every row's block flush
// against a guard page after its last byte or before its first.
class KeyBlitKernels : public mktest::AtSimdLevel {};

struct GuardedRows {
    GuardedRows(int rows, int row_bytes, int pad, Guard guard, Rng& rng)
        : stride(row_bytes + pad), buffer(size_t(stride) * (rows - 1) + row_bytes, guard) {
        for (size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = rng.biased_byte();
    }
    std::vector<uint8_t> bytes() { return {buffer.data(), buffer.data() + buffer.size()}; }
    ptrdiff_t stride;
    GuardedBuffer buffer;
};

TEST_P(KeyBlitKernels, MatchTheReferenceAndStayInside) {
    std::vector<int> widths;
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    for (int w : {47, 48, 49, 63, 64, 65, 95, 96, 97, 640, 1921}) widths.push_back(w);
    uint64_t seed = 0;
    for (int w : widths) {
        for (int variant = 0; variant < 12; ++variant) {
            Rng rng(++seed);
            bool color_key = variant >= 8;
            int mask_step = variant % 2 ? 3 : 1;
            Guard guard = variant % 4 < 2 ? Guard::kAfter : Guard::kBefore;
            int h = rng.range(1, 3);
            GuardedRows dst(h, 3 * w, rng.range(0, 5), guard, rng);
            GuardedRows src(h, 3 * w, rng.range(0, 5), guard, rng);
            GuardedRows mask(h, mask_step * w, rng.range(0, 5), guard, rng);
            for (size_t i = 0; i + 3 <= src.buffer.size(); i += 3)
                if (rng.range(0, 3) == 0) std::memset(src.buffer.data() + i, 0, 3);  // black pixels
            mediakit::KeyBlitRect r{};
            r.src = src.buffer.data();
            r.mask = color_key ? nullptr : mask.buffer.data();
            r.dst_stride = dst.stride;
            r.src_stride = src.stride;
            r.mask_stride = mask.stride;
            r.w = w;
            r.h = h;
            r.mask_step = mask_step;
            int a = rng.biased_byte(), b = rng.biased_byte();
            r.lo = uint8_t(std::min(a, b));
            r.hi = uint8_t(std::max(a, b));
            r.strength = variant % 4 >= 2 ? 256 : mktest::edgy(rng, {1, 128, 255, 257, -1, INT_MIN}, 1, 255);

            std::vector<uint8_t> expected = dst.bytes();
            r.dst = expected.data();
            (color_key ? mediakit::color_key_rect_ref : mediakit::mask_key_rect_ref)(r);
            r.dst = dst.buffer.data();
            (color_key ? mediakit::color_key_kernel : mediakit::mask_key_kernel)(level())(r);
            ASSERT_EQ(mktest::first_difference(expected, dst.buffer.data(), expected.size()), "")
                << "width " << w << ", variant " << variant << ", seed " << seed;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(VectorLevels, KeyBlitKernels,
                         testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2), mktest::level_name);

// Distinct records drawn on several threads at once come out as drawn one after another.
TEST(KeyBlitThreads, DistinctRecordsDrawIndependently) {
    constexpr int kThreads = 4;
    std::vector<std::unique_ptr<GuardedImage>> dst, src, mask;
    std::vector<std::vector<uint8_t>> expected;
    for (int t = 0; t < kThreads; ++t) {
        Rng rng(100 + t);
        dst.push_back(std::make_unique<GuardedImage>(200, 60, 24, rng));
        src.push_back(std::make_unique<GuardedImage>(200, 60, t % 2 ? 8 : 24, rng));
        mask.push_back(std::make_unique<GuardedImage>(200, 60, 8, rng));
        std::vector<uint8_t> before = dst[t]->snapshot();
        for (int i = 0; i < 20; ++i)
            MaskKeyBlt2(dst[t]->record(), i, i, 180, 40, src[t]->record(), 0, 0, mask[t]->record(), 5, 5, 100, 77 + t);
        expected.push_back(dst[t]->snapshot());
        dst[t]->restore(before);
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 20; ++i)
                MaskKeyBlt2(dst[t]->record(), i, i, 180, 40, src[t]->record(), 0, 0, mask[t]->record(), 5, 5, 100, 77 + t);
        });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(dst[t]->snapshot(), expected[t]) << "thread " << t;
}

}  // namespace
