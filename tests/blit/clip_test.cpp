#include <gtest/gtest.h>

#include <climits>

#include "blit/clip.h"

namespace {

struct ClipCase {
    const char* what;
    int w, h;
    ClipBltEntry in[3];
    int n;
    int result, w_out, h_out;
    ClipBltEntry out[3];
};

TEST(ClipBltRects, Table) {
    const ClipCase cases[] = {
        {"destination overhang moves the source right", 10, 5,
         {{100, 50, -3, 0}, {100, 50, 10, 0}}, 2, 1, 7, 5, {{100, 50, 0, 0}, {100, 50, 13, 0}}},
        {"far edge shortens", 10, 5, {{100, 50, 95, 0}, {100, 50, 0, 0}}, 2, 1, 5, 5,
         {{100, 50, 95, 0}, {100, 50, 0, 0}}},
        {"origin at the far edge: go on with nothing", 10, 5, {{100, 50, 100, 0}, {100, 50, 0, 0}}, 2,
         1, 0, 5, {{100, 50, 100, 0}, {100, 50, 0, 0}}},
        {"origin beyond the far edge: stop", 10, 5, {{100, 50, 101, 0}, {100, 50, 0, 0}}, 2, 0, 10, 5,
         {{100, 50, 101, 0}, {100, 50, 0, 0}}},
        {"source overhang bigger than the height", 10, 50, {{100, 100, 0, 0}, {100, 50, 0, -60}}, 2, 1,
         10, -10, {{100, 100, 0, 60}, {100, 50, 0, 0}}},
        {"a later overhang moves earlier entries too", 10, 10,
         {{100, 100, 5, 5}, {100, 100, 5, 5}, {100, 100, -2, -4}}, 3, 1, 8, 6,
         {{100, 100, 7, 9}, {100, 100, 7, 9}, {100, 100, 0, 0}}},
        {"the source stops after the destination changed", 10, 10,
         {{100, 100, -4, 0}, {20, 20, 30, 0}}, 2, 0, 6, 10, {{100, 100, 0, 0}, {20, 20, 34, 0}}},
        {"vertical stop keeps the horizontal changes", 10, 10, {{100, 100, 95, 101}}, 1, 0, 5, 10,
         {{100, 100, 95, 101}}},
        {"negative size stays", -5, 3, {{100, 100, 10, 10}}, 1, 1, -5, 3, {{100, 100, 10, 10}}},
        {"both axes clip", 30, 30, {{20, 10, -5, 5}, {40, 40, 0, -2}}, 2, 1, 20, 3,
         {{20, 10, 0, 7}, {40, 40, 5, 0}}},
        {"overflowing shift refuses", 10, 10, {{100, 100, INT_MIN, 0}, {100, 100, 5, 0}}, 2, 0, 10,
         10, {{100, 100, INT_MIN, 0}, {100, 100, 5, 0}}},
    };
    for (const ClipCase& c : cases) {
        SCOPED_TRACE(c.what);
        int w = c.w, h = c.h;
        ClipBltEntry e[3];
        std::copy(c.in, c.in + 3, e);
        EXPECT_EQ(mediakit::ClipBltRects(&w, &h, e, c.n), c.result);
        EXPECT_EQ(w, c.w_out);
        EXPECT_EQ(h, c.h_out);
        for (int i = 0; i < c.n; ++i) {
            EXPECT_EQ(e[i].xOrigin, c.out[i].xOrigin) << "entry " << i;
            EXPECT_EQ(e[i].yOrigin, c.out[i].yOrigin) << "entry " << i;
        }
    }
}

}  // namespace
