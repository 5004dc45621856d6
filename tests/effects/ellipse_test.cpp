#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "blit/cpu.h"
#include "effects/ellipse.h"
#include "guarded.h"
#include "images.h"

namespace {

using mktest::HeapImage;

constexpr COLORREF kInk = 0x00F0E0D0;
constexpr uint8_t kPaper = 0x11;

void fill(HeapImage& img, uint8_t value) { std::memset(img.bits(), value, img.bytes()); }

// Every image row that changed, as "row:first-last"; a row whose changed pixels are not
// one run shows as "row:gap".
std::string changed_rows(HeapImage& img, const std::vector<uint8_t>& before) {
    std::string out;
    for (int y = 0; y < img.height(); ++y) {
        int first = -1, last = -1, count = 0;
        for (int x = 0; x < img.width(); ++x) {
            size_t at = static_cast<size_t>(img.at(x, y) - img.bits());
            if (std::memcmp(img.at(x, y), before.data() + at, 3) == 0) continue;
            if (first < 0) first = x;
            last = x;
            ++count;
        }
        if (first < 0) continue;
        out += (out.empty() ? "" : " ") + std::to_string(y) + ":";
        out += count == last - first + 1 ? std::to_string(first) + "-" + std::to_string(last) : "gap";
    }
    return out;
}

std::string stamp_rows(int width, int height, int x, int y, uint32_t w, uint32_t h) {
    HeapImage img(width, height);
    fill(img, kPaper);
    std::vector<uint8_t> before = img.snapshot();
    ColorEllipse(img.record(), x, y, w, h, kInk, nullptr, 0, 0, 256);
    return changed_rows(img, before);
}

// Spans of a box at row 10 written as a list from the box's top row: "-" for a row that
// is not drawn.
std::string rows_from(int top, const char* spans) {
    std::string out, item;
    int row = top;
    for (const char* p = spans;; ++p) {
        if (*p == ' ' || *p == 0) {
            if (item != "-") out += (out.empty() ? "" : " ") + std::to_string(row) + ":" + item;
            item.clear();
            ++row;
            if (*p == 0) break;
        } else {
            item += *p;
        }
    }
    return out;
}

TEST(EllipseShapes, WalkedShapesAtRowTen) {
    struct Shape {
        uint32_t w, h;
        const char* spans;
    };
    const Shape shapes[] = {
        {10, 10, "3-6 2-7 1-8 0-9 0-9 0-9 0-9 1-8 2-7 3-6"},
        {8, 8, "3-4 1-6 1-6 0-7 0-7 1-6 1-6 3-4"},
        {9, 9, "- 2-6 1-7 1-7 0-8 0-8 1-7 1-7 2-6"},
        {6, 6, "2-3 1-4 0-5 0-5 1-4 2-3"},
        {4, 4, "1-2 0-3 0-3 1-2"},
        {3, 3, "- 1-1 1-1"},
        {2, 2, "- -"},
        {1, 1, "-"},
        {16, 6, "4-11 2-13 0-15 0-15 2-13 4-11"},
        {4, 12, "- 1-2 1-2 0-3 0-3 0-3 0-3 0-3 0-3 1-2 1-2 -"},
        {0, 5, "- - - - -"},
        {5, 0, "-"},
    };
    for (const Shape& s : shapes) {
        EXPECT_EQ(stamp_rows(100, 100, 0, 10, s.w, s.h), rows_from(10, s.spans)) << s.w << "×" << s.h;
    }
}

TEST(EllipseShapes, BoxesAcrossTheEdges) {
    struct Placed {
        int x, y;
        uint32_t w, h;
        const char* rows;
        const char* why;
    };
    const Placed cases[] = {
        {-3, 10, 10, 10, "10:0-3 11:0-4 12:0-5 13:0-6 14:0-6 15:0-6 16:0-6 17:0-5 18:0-4 19:0-3",
         "first three columns cut off"},
        {-10, 10, 10, 10, "", "wholly left of column 0"},
        {96, 10, 8, 8, "10:99-99 11:97-99 12:97-99 13:96-99 14:96-99 15:97-99 16:97-99 17:99-99",
         "columns kept up to W - 1"},
        {100, 10, 8, 8, "", "starting at column W"},
        {0, 0, 10, 10, "1:2-7 2:1-8 3:0-9 4:0-9 5:0-9 6:0-9 7:1-8 8:2-7 9:3-6",
         "the top image row is reachable at column 0 only"},
        {0, -3, 10, 10, "0:0-0 1:0-9 2:0-9 3:0-9 4:1-8 5:2-7 6:3-6", "column 0 of the top row is written"},
        {0, -10, 10, 10, "", "wholly above"},
        {0, 95, 10, 10, "95:3-6 96:2-7 97:1-8 98:0-9 99:0-9", "cut off at the bottom"},
        // trunc rounds the centre row toward zero: below the image that is one row up.
        {0, 97, 9, 9, "97:2-6 98:1-7 99:1-7", "odd height, centre below the image"},
        {0, 100, 10, 10, "", "wholly below"},
        {0, 99, 10, 10, "99:3-6", "only the box's top row inside"},
        {-5, -9, 10, 10, "0:0-0", "only the box's bottom row inside, on the top row"},
    };
    for (const Placed& c : cases)
        EXPECT_EQ(stamp_rows(100, 100, c.x, c.y, c.w, c.h), c.rows) << c.why;
}

// Boxes of up to 2^32 pixels in a 40 × 30 image end once no later row can reach it.
TEST(EllipseShapes, HugeBoxesEndQuickly) {
    std::string covered = "0:0-0";
    for (int y = 1; y < 30; ++y) covered += " " + std::to_string(y) + ":0-39";
    const struct {
        int x, y;
        uint32_t w, h;
        std::string rows;
        const char* why;
    } cases[] = {
        {INT_MIN, INT_MIN, UINT_MAX, UINT_MAX, covered, "centre just above the top-left corner"},
        {0, 0, UINT_MAX, UINT_MAX, "", "the image in the corner of the box, outside the disc"},
        {INT_MIN, 1000, UINT_MAX, UINT_MAX, "", "centre far below"},
        {0, 0, UINT_MAX, 7, "", "flat, the image near its left tip"},
        {INT_MIN, 5, UINT_MAX, 0, "", "zero height"},
    };
    for (const auto& c : cases) EXPECT_EQ(stamp_rows(40, 30, c.x, c.y, c.w, c.h), c.rows) << c.why;
}

// One pixel stamped at column 1 of rows 2 and 3 of 4 × 4 images (a 3 × 3 box at (0, 1)),
// with the destination, source and mask bytes set there and the mask's next pixel behind.
struct PixelCase {
    bool image, masked;
    uint8_t d[3], s[3];  // s: source bytes, or the colour's blue, green, red
    uint8_t m[4];        // mask bytes +0 .. +3 (+3 is the next pixel's blue byte)
    int alpha;
    uint8_t want[3];
    const char* why;
};

TEST(EllipsePixels, BlendRules) {
    const PixelCase cases[] = {
        {false, false, {0, 0, 0}, {1, 2, 3}, {}, 256, {1, 2, 3}, "colour bytes land blue, green, red"},
        {false, false, {255, 0, 255}, {0, 255, 0}, {}, 128, {127, 127, 127}, "both ways round down"},
        {false, false, {9, 8, 7}, {200, 200, 200}, {}, 0, {9, 8, 7}, "alpha 0 keeps the pixel"},
        {false, false, {0, 0, 0}, {255, 1, 128}, {}, 512, {254, 2, 0}, "alpha above 256 wraps"},
        {false, false, {10, 10, 10}, {20, 0, 10}, {}, -256, {0, 20, 10}, "negative alpha pushes away"},
        {false, true, {0, 0, 0}, {255, 255, 255}, {128, 0, 0, 0}, 256, {127, 127, 127},
         "mask weight; only its blue byte is tested"},
        {false, true, {5, 6, 7}, {255, 255, 255}, {0, 255, 255, 255}, 256, {5, 6, 7}, "mask 0 skips"},
        {false, true, {0, 0, 255}, {255, 255, 0}, {255, 1, 1, 1}, 256, {254, 254, 0},
         "full weight: up stops one short, down floors to the target"},
        {true, false, {1, 2, 3}, {200, 100, 50}, {}, 256, {200, 100, 50}, "alpha 256 copies"},
        {true, false, {200, 200, 200}, {0, 100, 255}, {}, 100, {121, 160, 221}, "partial blend"},
        {true, true, {0, 0, 0}, {255, 255, 255}, {255, 0, 255, 255}, 256, {254, 254, 254},
         "byte +1 is not tested"},
        {true, true, {9, 9, 9}, {255, 255, 255}, {255, 255, 255, 0}, 256, {9, 9, 9},
         "the next pixel's blue byte 0 skips"},
        {true, true, {9, 9, 9}, {255, 255, 255}, {255, 255, 0, 255}, 256, {9, 9, 9}, "red byte 0 skips"},
        {true, true, {0, 0, 0}, {255, 255, 255}, {64, 1, 1, 1}, 128, {31, 31, 31}, "weight × alpha >> 16"},
        {false, true, {9, 9, 9}, {255, 255, 255}, {255, 0, 0, 0}, 256, {254, 254, 254},
         "the colour stamp ignores bytes +2 and +3"},
    };
    for (const PixelCase& c : cases) {
        SCOPED_TRACE(c.why);
        HeapImage dst(4, 4), src(4, 4), mask(4, 4);
        fill(mask, 0xFF);
        for (int y = 2; y <= 3; ++y) {
            std::memcpy(dst.at(1, y), c.d, 3);
            std::memcpy(src.at(1, y), c.s, 3);
            std::memcpy(mask.at(1, y), c.m, 3);
            mask.at(2, y)[0] = c.m[3];
        }
        std::vector<uint8_t> before = dst.snapshot();
        const BitmapData* m = c.masked ? mask.record() : nullptr;
        if (c.image) {
            ImageEllipse(dst.record(), 0, 1, 3, 3, src.record(), 0, 1, m, 0, 1, c.alpha);
        } else {
            COLORREF colour = c.s[2] | c.s[1] << 8 | c.s[0] << 16;
            ColorEllipse(dst.record(), 0, 1, 3, 3, colour, m, 0, 1, c.alpha);
        }
        for (int y = 2; y <= 3; ++y)
            EXPECT_EQ(std::vector<uint8_t>(dst.at(1, y), dst.at(1, y) + 3), std::vector<uint8_t>(c.want, c.want + 3))
                << "row " << y;
        std::memcpy(before.data() + (dst.at(1, 2) - dst.bits()), dst.at(1, 2), 3);
        std::memcpy(before.data() + (dst.at(1, 3) - dst.bits()), dst.at(1, 3), 3);
        EXPECT_EQ(mktest::first_difference(before, dst.bits(), dst.bytes()), "") << "other pixels";
    }
}

// The stamps written out plainly: the whole walk with every visit, and each pixel's
// offsets in every image computed and tested one by one, in 64 bits.
struct RefImage {
    uint8_t* bits = nullptr;
    int64_t stride = 0, height = 0, omax = -1;
    explicit RefImage(const BitmapData* bd) {
        if (!bd || !bd->lpbmi || !bd->lpBits) return;
        bits = bd->lpBits;
        stride = BytesPerLine(&bd->lpbmi->bmiHeader);
        height = bd->lpbmi->bmiHeader.biHeight;
        // Rows too short to hold a mask test's four bytes admit nothing.
        if (height > 0 && stride >= 4) omax = (height - 1) * stride;
    }
    bool admits(int64_t o) const { return o >= 0 && o <= omax; }
};

struct Stamp {
    bool image;
    int x, y;
    uint32_t w, h;
    COLORREF colour;
    BitmapData* src;
    int sx, sy;
    BitmapData* mask;
    int mx, my, alpha;
};

uint8_t ref_mix(int d, int target, int32_t weight, int shift) {
    int32_t product = static_cast<int32_t>(static_cast<uint32_t>(target - d) * static_cast<uint32_t>(weight));
    return static_cast<uint8_t>(d + (product >> shift));
}

void reference_stamp(BitmapData* dst_bd, const Stamp& s) {
    if (s.image && (s.alpha == 0 || !s.src)) return;
    RefImage dst(dst_bd), src(s.src), mask(s.mask);
    const double a = s.w * 0.5, b = s.h * 0.5, cx = s.x + a, cy = s.y + b, q = 1 / (b / a), k = q * q;
    if (!(a > 0)) return;
    const double W = dst_bd->lpbmi->bmiHeader.biWidth, H = static_cast<double>(dst.height);
    const int64_t rc = static_cast<int64_t>(H - cy);
    const int64_t rsc = static_cast<int64_t>(src.height - (s.sy + b));
    const int64_t rmc = static_cast<int64_t>(mask.height - (s.my + b));
    const double scx = s.sx + a, mcx = s.mx + a;
    const int colour[3] = {int(s.colour >> 16 & 0xFF), int(s.colour >> 8 & 0xFF), int(s.colour & 0xFF)};
    double d1 = (k + k) - (a + a) + 1, d2 = (k - a * 4) + 2, X = a, Y = 0, pY = 0;
    do {
        if (Y != pY && cx - X <= W && cx + X >= 0 && cy - Y <= H && cy + Y >= 0) {
            pY = Y;
            const double start = cx - X < 0 ? -cx : -X, end = cx + X > W ? W - cx : X;
            const int64_t y = static_cast<int64_t>(Y);
            for (double i = start; i < end; i += 1) {
                for (int second = 0; second < 2; ++second) {
                    const int64_t od = (second ? rc + y - 1 : rc - y) * dst.stride + int64_t((i + cx) * 3);
                    const int64_t os = (second ? rsc + y - 1 : rsc - y) * src.stride + int64_t((i + scx) * 3);
                    const int64_t om = (second ? rmc + y - 1 : rmc - y) * mask.stride + int64_t((i + mcx) * 3);
                    if (!dst.admits(od) || (s.image && !src.admits(os)) || (s.mask && !mask.admits(om))) continue;
                    uint8_t* d = dst.bits + od;
                    const uint8_t* m = s.mask ? mask.bits + om : nullptr;
                    if (m && (m[0] == 0 || (s.image && (m[2] == 0 || m[3] == 0)))) continue;
                    // The weight is read once per pixel; source bytes are read in turn, each
                    // just before its destination byte is written.
                    const int m0 = m ? m[0] : 0;
                    for (int c = 0; c < 3; ++c) {
                        int target = s.image ? src.bits[os + c] : colour[c];
                        d[c] = m ? ref_mix(d[c], target, m0 * s.alpha, 16) : ref_mix(d[c], target, s.alpha, 8);
                    }
                }
            }
        }
        mediakit::EllipseStep(&d1, &d2, &X, &Y, &k);
    } while (X > 0);
}

void run_stamp(BitmapData* dst, const Stamp& s) {
    if (s.image)
        ImageEllipse(dst, s.x, s.y, s.w, s.h, s.src, s.sx, s.sy, s.mask, s.mx, s.my, s.alpha);
    else
        ColorEllipse(dst, s.x, s.y, s.w, s.h, s.colour, s.mask, s.mx, s.my, s.alpha);
}

std::string describe(const Stamp& s) {
    char text[200];
    std::snprintf(text, sizeof text, "%s %u×%u at (%d,%d) src (%d,%d) mask %s (%d,%d) alpha %d",
                  s.image ? "image" : "colour", s.w, s.h, s.x, s.y, s.sx, s.sy, s.mask ? "yes" : "no", s.mx,
                  s.my, s.alpha);
    return text;
}

int random_alpha(mktest::Rng& rng) {
    const int picks[] = {0, 1, 128, 255, 256, 256, 256, 257, 511, -7};
    return rng.range(0, 3) ? picks[rng.range(0, 9)] : rng.range(-300, 600);
}

// A random stamp around the edges of random images, against the plain stamps: sizes up
// to 45, boxes and source and mask corners from well outside to well inside, images of
// other depths and zero sizes read as 24-bit, and images shared between the roles.
// Runs at the scalar level and at the processor's best.
TEST(EllipseStamps, MatchThePlainStampsOnRandomCases) {
    for (uint64_t seed = 1; seed <= 6000; ++seed) {
        const bool scalar = seed % 2 == 0;
        mediakit::set_simd_level_for_test(scalar ? mediakit::SimdLevel::kScalar : mediakit::best_simd_level());
        mktest::Rng rng(seed);
        const int bit_choices[] = {24, 24, 24, 24, 8, 32};
        HeapImage dst(rng.range(1, 36), rng.range(1, 30), rng.range(0, 15) ? 24 : 8);
        HeapImage src(rng.range(0, 30), rng.range(0, 30), bit_choices[rng.range(0, 5)]);
        HeapImage mask(rng.range(0, 30), rng.range(0, 30), bit_choices[rng.range(0, 5)]);
        for (size_t i = 0; i < mask.bytes(); ++i) mask.bits()[i] = rng.range(0, 2) ? rng.biased_byte() : 0;
        Stamp s;
        s.image = rng.range(0, 1);
        s.w = rng.range(0, 45);
        s.h = rng.range(0, 2) ? rng.range(0, 45) : s.w;  // circles stop their walk earlier
        s.x = rng.range(-50, dst.width() + 5);
        s.y = rng.range(-50, dst.height() + 5);
        s.colour = static_cast<COLORREF>(rng.next());
        s.src = rng.range(0, 7) ? src.record() : dst.record();
        s.sx = rng.range(-50, 35);
        s.sy = rng.range(-50, 35);
        const int mask_pick = rng.range(0, 5);
        s.mask = mask_pick < 2 ? nullptr : mask_pick < 5 ? mask.record() : dst.record();
        s.mx = rng.range(-50, 35);
        s.my = rng.range(-50, 35);
        s.alpha = random_alpha(rng);

        HeapImage expected(dst.width(), dst.height(), dst.record()->lpbmi->bmiHeader.biBitCount);
        std::memcpy(expected.bits(), dst.bits(), dst.bytes());
        if (dst.record()->lpbmi->bmiHeader.biBitCount == 24) {
            Stamp r = s;  // the same roles, with the destination's copy standing in for it
            if (s.src == dst.record()) r.src = expected.record();
            if (s.mask == dst.record()) r.mask = expected.record();
            reference_stamp(expected.record(), r);
        }
        run_stamp(dst.record(), s);
        ASSERT_EQ(mktest::first_difference(expected.snapshot(), dst.bits(), dst.bytes()), "")
            << "seed " << seed << ": " << describe(s) << " dst " << dst.width() << "×" << dst.height()
            << (scalar ? " (scalar)" : "");
    }
    mediakit::set_simd_level_for_test(mediakit::best_simd_level());
}

// Circles far larger than the image, with each side of the circle crossing it, against
// the plain stamps: their walks end early only where no later row can be drawn.
TEST(EllipseStamps, LargeCirclesMatchThePlainStamps) {
    const int r = 1 << 16, n = 2 * r;
    struct Placed {
        int x, y;
        bool draws;
        const char* why;
    };
    const Placed cases[] = {
        {-n + 20, 5 - r, true, "right side crossing the image"},
        {30, 7 - r, true, "left side crossing"},
        {17 - r, -n + 12, true, "bottom crossing"},
        {11 - r, 25, true, "top crossing"},
        {-n + 3, -n + 4, false, "bottom-right of the circle, outside"},
        {-r, -r, true, "the image inside the circle"},
        {0, 0, false, "the image in the box's corner, outside the circle"},
    };
    for (const Placed& c : cases) {
        HeapImage dst(40, 30), expected(40, 30);
        const std::vector<uint8_t> before = dst.snapshot();
        std::memcpy(expected.bits(), dst.bits(), dst.bytes());
        Stamp s{false, c.x, c.y, uint32_t(n), uint32_t(n), kInk, nullptr, 0, 0, nullptr, 0, 0, 256};
        reference_stamp(expected.record(), s);
        run_stamp(dst.record(), s);
        EXPECT_EQ(mktest::first_difference(expected.snapshot(), dst.bits(), dst.bytes()), "") << c.why;
        EXPECT_EQ(dst.snapshot() != before, c.draws) << c.why;
    }
}

// Pixel arrays that end (or begin) flush against an inaccessible page.
struct GuardedImage {
    GuardedImage(int w, int h, mktest::GuardedBuffer::Guard guard)
        : info(header(w, h)), pixels(static_cast<size_t>(BytesPerLine(&info)) * h, guard) {
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.data();
        for (size_t i = 0; i < pixels.size(); ++i) pixels.data()[i] = static_cast<uint8_t>(i * 7 + 1);
    }
    static BITMAPINFOHEADER header(int w, int h) {
        BITMAPINFOHEADER i{};
        i.biSize = 40;
        i.biWidth = w;
        i.biHeight = h;
        i.biPlanes = 1;
        i.biBitCount = 24;
        return i;
    }
    BITMAPINFOHEADER info;
    mktest::GuardedBuffer pixels;
    BitmapData bd{};
};

// Boxes partly or wholly outside images that end at a guard page: nothing outside the
// pixel arrays is read or written (a stray access faults), and the result still matches
// the plain stamps. Width 1 gives stride 4, so a mask test at the last admitted offset
// reads the array's very last byte.
TEST(EllipseStamps, TouchNothingOutsideThePixelArrays) {
    using Guard = mktest::GuardedBuffer::Guard;
    for (uint64_t seed = 1; seed <= 600; ++seed) {
        mktest::Rng rng(seed);
        const Guard g = rng.range(0, 1) ? Guard::kAfter : Guard::kBefore;
        GuardedImage dst(rng.range(1, 12), rng.range(1, 12), g);
        GuardedImage src(rng.range(0, 12), rng.range(0, 12), g);
        GuardedImage mask(rng.range(0, 3) ? rng.range(1, 12) : 1, rng.range(0, 12), g);
        Stamp s{rng.range(0, 1) == 1, rng.range(-20, 15), rng.range(-20, 15), uint32_t(rng.range(0, 30)),
                uint32_t(rng.range(0, 30)), 0x00808080, &src.bd, rng.range(-20, 15), rng.range(-20, 15),
                rng.range(0, 1) ? &mask.bd : nullptr, rng.range(-20, 15), rng.range(-20, 15), random_alpha(rng)};
        HeapImage expected(dst.info.biWidth, dst.info.biHeight);
        std::memcpy(expected.bits(), dst.pixels.data(), dst.pixels.size());
        reference_stamp(expected.record(), s);
        run_stamp(&dst.bd, s);
        ASSERT_EQ(mktest::first_difference(expected.snapshot(), dst.pixels.data(), dst.pixels.size()), "")
            << "seed " << seed << ": " << describe(s);
    }
}

TEST(EllipseStamps, RefuseWhatTheyCannotUse) {
    HeapImage dst(20, 20), src(20, 20), dst8(20, 20, 8);
    std::vector<uint8_t> before = dst.snapshot(), before8 = dst8.snapshot();
    BitmapData no_pixels = *src.record();
    no_pixels.lpBits = nullptr;
    BitmapData empty{};
    ImageEllipse(dst.record(), 0, 0, 10, 10, nullptr, 0, 0, nullptr, 0, 0, 256);
    ImageEllipse(dst.record(), 0, 0, 10, 10, &no_pixels, 0, 0, nullptr, 0, 0, 256);
    ImageEllipse(dst.record(), 0, 0, 10, 10, src.record(), 0, 0, &empty, 0, 0, 256);
    ColorEllipse(dst.record(), 0, 0, 10, 10, kInk, &no_pixels, 0, 0, 256);
    ColorEllipse(nullptr, 0, 0, 10, 10, kInk, nullptr, 0, 0, 256);
    ImageEllipse(nullptr, 0, 0, 10, 10, src.record(), 0, 0, nullptr, 0, 0, 256);
    ColorEllipse(&empty, 0, 0, 10, 10, kInk, nullptr, 0, 0, 256);
    ColorEllipse(dst8.record(), 0, 0, 10, 10, kInk, nullptr, 0, 0, 256);
    EXPECT_EQ(dst.snapshot(), before);
    EXPECT_EQ(dst8.snapshot(), before8);
    // Alpha 0 returns before any record is read: these records would fault if read.
    BitmapData bogus{};
    bogus.lpbmi = reinterpret_cast<BITMAPINFO*>(16);
    bogus.lpBits = reinterpret_cast<BYTE*>(16);
    ImageEllipse(&bogus, 0, 0, 10, 10, &bogus, 0, 0, &bogus, 0, 0, 0);
}

}  // namespace
