#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "base/cpu.h"
#include "effects/stamp_span.h"
#include "guarded.h"
#include "images.h"

namespace {

using namespace mktest;
constexpr COLORREF kInk = 0x00F0E0D0;

// The rows an opaque colour stamp writes into a 100 × 100 image, from row max(y, 0) to the
// last row written: "first-last", "-" for a row left alone, "gap" for a row whose written
// pixels are not one run.
std::string spans(int x, int y, uint32_t w, uint32_t h) {
    HeapImage img(100, 100);
    std::memset(img.bits(), 0x11, img.bytes());
    ColorEllipse(img.record(), x, y, w, h, kInk, nullptr, 0, 0, 256);
    std::string out, blank;
    for (int row = y < 0 ? 0 : y; row < 100; ++row) {
        int first = -1, last = -1, count = 0;
        for (int c = 0; c < 100; ++c)
            if (std::memcmp(img.at(c, row), "\x11\x11\x11", 3) != 0) first = first < 0 ? c : first, last = c, ++count;
        if (first < 0) blank += "- ";
        else out += blank + (count == last - first + 1 ? std::to_string(first) + "-" + std::to_string(last) : "gap") + " ", blank.clear();
    }
    return out.substr(0, out.size() - !out.empty());
}

// The walk's shapes, worked out; where boxes cross the image edges the random comparison
// below takes over.
TEST(EllipseShapes, WorkedShapesAndTheirQuirks) {
    const struct { int x, y; uint32_t w, h; const char* rows; } cases[] = {
        {0, 10, 10, 10, "3-6 2-7 1-8 0-9 0-9 0-9 0-9 1-8 2-7 3-6"}, {0, 10, 8, 8, "3-4 1-6 1-6 0-7 0-7 1-6 1-6 3-4"},
        {0, 10, 9, 9, "- 2-6 1-7 1-7 0-8 0-8 1-7 1-7 2-6"},  // an odd height never writes the top row
        {0, 10, 6, 6, "2-3 1-4 0-5 0-5 1-4 2-3"}, {0, 10, 4, 4, "1-2 0-3 0-3 1-2"}, {0, 10, 3, 3, "- 1-1 1-1"},
        {0, 10, 2, 2, ""}, {0, 10, 1, 1, ""}, {0, 10, 16, 6, "4-11 2-13 0-15 0-15 2-13 4-11"},
        {0, 10, 4, 12, "- 1-2 1-2 0-3 0-3 0-3 0-3 0-3 0-3 1-2 1-2"},
        {0, 10, 0, 5, ""}, {0, 10, 5, 0, ""},  // h = 0: k is infinite, the walk only narrows
        {0, 0, 10, 10, "- 2-7 1-8 0-9 0-9 0-9 0-9 1-8 2-7 3-6"},  // top row of the image: column 0 only
        {0, 97, 9, 9, "2-6 1-7 1-7"},  // the centre row truncates toward zero
    };
    for (const auto& c : cases) EXPECT_EQ(spans(c.x, c.y, c.w, c.h), c.rows) << c.w << "x" << c.h << " at " << c.x << "," << c.y;
}

// The stamps written out plainly: the whole walk, every visit, and each pixel's offsets in
// every image computed and tested one by one, in 64 bits. An image admits the offsets
// 0 .. (H - 1) × stride, none when its rows cannot hold the four bytes a mask test reads.
struct Stamp { bool image; int x, y; uint32_t w, h; BitmapData *src, *mask; int sx, sy, mx, my, alpha; COLORREF colour; };

void run(BitmapData* dst, const Stamp& s) {
    if (s.image) ImageEllipse(dst, s.x, s.y, s.w, s.h, s.src, s.sx, s.sy, s.mask, s.mx, s.my, s.alpha);
    else ColorEllipse(dst, s.x, s.y, s.w, s.h, s.colour, s.mask, s.mx, s.my, s.alpha);
}

struct Side {
    uint8_t* bits = nullptr;
    int64_t stride = 0, omax = -1, rc = 0;  // rc: the box's centre row, in memory rows
    Side(const BitmapData* bd, int top, double b) {
        if (!bd) return;
        const BITMAPINFOHEADER& h = bd->lpbmi->bmiHeader;
        bits = bd->lpBits, stride = BytesPerLine(&h), rc = int64_t(h.biHeight - (top + b));
        if (h.biHeight > 0 && stride >= 4) omax = (h.biHeight - 1) * stride;
    }
    bool admits(int64_t o) const { return o >= 0 && o <= omax; }
};

void reference_stamp(BitmapData* dst_bd, const Stamp& s) {
    const double a = s.w * 0.5, b = s.h * 0.5, cx = s.x + a, cy = s.y + b, q = 1 / (b / a), k = q * q;
    if (!(a > 0) || (s.image && (s.alpha == 0 || !s.src || !s.src->lpBits)) || (s.mask && !s.mask->lpBits)) return;
    const Side dst(dst_bd, s.y, b), src(s.image ? s.src : nullptr, s.sy, b), mask(s.mask, s.my, b);
    const double W = dst_bd->lpbmi->bmiHeader.biWidth, H = dst_bd->lpbmi->bmiHeader.biHeight;
    double d1 = (k + k) - (a + a) + 1, d2 = (k - a * 4) + 2, X = a, Y = 0, pY = 0;
    do {
        if (Y != pY && cx - X <= W && cx + X >= 0 && cy - Y <= H && cy + Y >= 0) {
            pY = Y;
            for (double i = cx - X < 0 ? -cx : -X; i < (cx + X > W ? W - cx : X); i += 1) {
                for (int64_t row : {-int64_t(Y), int64_t(Y) - 1}) {
                    const int64_t od = (dst.rc + row) * dst.stride + int64_t((i + cx) * 3),
                                  os = (src.rc + row) * src.stride + int64_t((i + s.sx + a) * 3),
                                  om = (mask.rc + row) * mask.stride + int64_t((i + s.mx + a) * 3);
                    if (!dst.admits(od) || (s.image && !src.admits(os)) || (s.mask && !mask.admits(om))) continue;
                    const uint8_t* m = s.mask ? mask.bits + om : nullptr;
                    if (m && (m[0] == 0 || (s.image && (m[2] == 0 || m[3] == 0)))) continue;
                    // d + ((t - d) × alpha >> 8), or d + ((t - d) × m0 × alpha >> 16) with m0 read
                    // once, before the destination is written; the products wrap at 32 bits.
                    const int32_t weight = m ? m[0] * s.alpha : s.alpha * 256;
                    for (int c = 0; c < 3; ++c) {
                        const int d = dst.bits[od + c], t = s.image ? src.bits[os + c] : int(s.colour >> (16 - 8 * c) & 0xFF);
                        dst.bits[od + c] = uint8_t(d + (int32_t(uint32_t(t - d) * uint32_t(weight)) >> 16));
                    }
                }
            }
        }
        if (d1 < 0) Y = Y + 1, d1 = ((Y * k) * 4 + (k + k)) + d1, d2 = (Y * k) * 4 + d2;
        else if (d2 >= 0) X = X - 1, d1 = d1 - X * 4, d2 = d2 - (X * 4 - 2);
        else X = X - 1, Y = Y + 1, d1 = (((Y * k) * 4 - X * 4) + (k + k)) + d1, d2 = (((Y * k) * 4 - X * 4) + d2) + 2;
    } while (X > 0);
}

// A record of any depth whose pixel array ends (or begins) flush against an inaccessible
// page, so that any access outside it faults. Width 1 gives stride 4, so a mask test at
// the last admitted offset reads the array's very last byte.
struct GuardedImage {
    BITMAPINFOHEADER info;
    GuardedBuffer pixels;
    BitmapData bd{};
    GuardedImage(int w, int h, int bits, Rng& rng)
        : info{40, w, h, 1, WORD(bits), 0, 0, 0, 0, 0, 0},
          pixels(size_t(BytesPerLine(&info)) * h, rng.range(0, 1) ? GuardedBuffer::Guard::kAfter : GuardedBuffer::Guard::kBefore) {
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info), bd.lpBits = pixels.data();
        for (size_t i = 0; i < pixels.size(); ++i) pixels.data()[i] = rng.range(0, 3) ? rng.biased_byte() : 0;
    }
};

// Random stamps around the edges of random images against the plain stamps: boxes and
// corners from well outside to well inside, images of other depths and zero sizes read as
// 24-bit, images shared between the roles, now and then a source or mask without pixels
// (or no source), which draws nothing; at the scalar level and the processor's best.
TEST(EllipseStamps, MatchThePlainStampsAndTouchNothingOutside) {
    for (uint64_t seed = 1; seed <= 6000; ++seed) {
        mediakit::set_simd_level_for_test(seed % 2 ? mediakit::best_simd_level() : mediakit::SimdLevel::kScalar);
        Rng rng(seed);
        const int depths[] = {24, 24, 24, 24, 8, 32};
        GuardedImage dst(rng.range(1, 36), rng.range(1, 30), rng.range(0, 15) ? 24 : 8, rng),
            src(rng.range(0, 30), rng.range(0, 30), depths[rng.range(0, 5)], rng),
            mask(rng.range(0, 30), rng.range(0, 30), depths[rng.range(0, 5)], rng);
        BitmapData none{};  // an unusable record
        const int ps = rng.range(0, 40), pm = rng.range(0, 6);
        Stamp s{rng.range(0, 1) == 1, rng.range(-50, dst.info.biWidth + 5), rng.range(-50, dst.info.biHeight + 5),
                uint32_t(rng.range(0, 45)), 0, ps < 34 ? &src.bd : ps < 39 ? &dst.bd : ps < 40 ? &none : nullptr,
                pm < 2 ? nullptr : pm < 5 ? &mask.bd : pm < 6 ? &dst.bd : &none, rng.range(-50, 35), rng.range(-50, 35),
                rng.range(-50, 35), rng.range(-50, 35), rng.range(0, 2) ? 256 : rng.range(-300, 600), COLORREF(rng.next())};
        s.h = rng.range(0, 2) ? rng.range(0, 45) : s.w;  // circles end their walk early
        HeapImage expected(dst.info.biWidth, dst.info.biHeight);
        std::memcpy(expected.bits(), dst.pixels.data(), dst.pixels.size());
        Stamp r = s;  // the same roles, with the copy standing in for the destination
        for (BitmapData** role : {&r.src, &r.mask}) *role = *role == &dst.bd ? expected.record() : *role;
        if (dst.info.biBitCount == 24) reference_stamp(expected.record(), r);
        run(&dst.bd, s);
        ASSERT_EQ(first_difference(expected.snapshot(), dst.pixels.data(), dst.pixels.size()), "") << seed;
    }
    mediakit::set_simd_level_for_test(mediakit::best_simd_level());
}

// Boxes far larger than the image: circles of 2^17 against the plain stamp, and boxes of
// up to 2^32 pixels, too large to walk, that must end as soon as no later row can draw.
TEST(EllipseStamps, HugeBoxesEndEarlyAndDrawTheSame) {
    constexpr int r = 1 << 16, n = 2 * r;
    // want 'r': as the plain stamp, and something; '0': nothing; 'a': all it can.
    const struct { int x, y; uint32_t w, h; char want; } cases[] = {
        {-n + 20, 5 - r, n, n, 'r'}, {30, 7 - r, n, n, 'r'}, {17 - r, -n + 12, n, n, 'r'}, {11 - r, 25, n, n, 'r'},
        {-n + 3, -n + 4, n, n, '0'}, {-r, -r, n, n, 'a'}, {0, 0, n, n, '0'}, {INT_MIN, INT_MIN, UINT_MAX, UINT_MAX, 'a'},
        {0, 0, UINT_MAX, UINT_MAX, '0'}, {INT_MIN, 1000, UINT_MAX, UINT_MAX, '0'}, {0, 0, UINT_MAX, 7, '0'},
        {INT_MIN, 5, UINT_MAX, 0, '0'},
    };
    for (const auto& c : cases) {
        HeapImage dst(40, 30), expected(40, 30);
        std::memcpy(expected.bits(), dst.bits(), dst.bytes());
        const Stamp s{false, c.x, c.y, c.w, c.h, nullptr, nullptr, 0, 0, 0, 0, 256, kInk};
        if (c.want == 'r') reference_stamp(expected.record(), s);
        for (int y = 0; c.want == 'a' && y < 30; ++y)  // on the top row only column 0 is admitted
            for (int x = 0; x < (y ? 40 : 1); ++x) std::memcpy(expected.at(x, y), "\xF0\xE0\xD0", 3);
        run(dst.record(), s);
        EXPECT_EQ(first_difference(expected.snapshot(), dst.bits(), dst.bytes()), "") << c.x << "," << c.y;
        EXPECT_EQ(dst.snapshot() != HeapImage(40, 30).snapshot(), c.want != '0') << c.x << "," << c.y;
    }
    BitmapData bogus{{}, reinterpret_cast<BITMAPINFO*>(16), reinterpret_cast<BYTE*>(16), 0, 0};  // would fault if read:
    // alpha 0 returns before any record is read
    ImageEllipse(&bogus, 0, 0, 10, 10, &bogus, 0, 0, &bogus, 0, 0, 0);
}

// The run kernels of every level against the reference runs: every length 1..40 and some
// long ones, strengths inside and beyond 0..256, masks leaning to 0, and buffers that end
// at a guard page (the mask one byte after the last pixel, which the image test reads).
TEST(StampSpanKernels, MatchTheReferenceAndStayInside) {
    const mediakit::StampSpanKernels& ref = mediakit::kStampSpanRef, &fast = mediakit::stamp_span_kernels(int(mediakit::best_simd_level()));
    for (int n = 1; n <= 300; n += n < 40 ? 1 : 23) {
        for (int alpha : {0, 1, 127, 128, 200, 255, 256, 257, -1, -256, 70000}) {
            Rng rng(n * 1000 + alpha);
            const size_t bytes = 3 * size_t(n);
            GuardedBuffer d(bytes), s(bytes), m(bytes + 1);
            uint8_t bgr[48];
            for (size_t i = 0; i < bytes; ++i) d.data()[i] = rng.biased_byte(), s.data()[i] = rng.biased_byte();
            for (size_t i = 0; i <= bytes; ++i) m.data()[i] = rng.range(0, 3) ? rng.biased_byte() : 0;
            for (int i = 0; i < 48; ++i) bgr[i] = i < 3 ? rng.biased_byte() : bgr[i - 3];
            for (int kind = 0; kind < 4; ++kind) {
                std::vector<uint8_t> want(d.data(), d.data() + bytes);
                for (uint8_t* p : {want.data(), d.data()}) {
                    const auto& k = p == d.data() ? fast : ref;
                    kind == 0 ? k.colour(p, bgr, alpha, n) : kind == 1 ? k.colour_mask(p, bgr, m.data(), alpha, n)
                              : kind == 2 ? k.image(p, s.data(), alpha, n) : k.image_mask(p, s.data(), m.data(), alpha, n);
                }
                ASSERT_EQ(std::memcmp(want.data(), d.data(), bytes), 0) << kind << " n " << n << " alpha " << alpha;
            }
        }
    }
}

}  // namespace
