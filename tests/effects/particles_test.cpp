#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

#include "blit/mmx_switch.h"
#include "effects/particles.h"
#include "effects/thread_rand.h"
#include "images.h"

namespace {

using namespace mediakit;

// The generator stepped by hand: the state after some draws.
uint32_t lcg_after(uint32_t state, int draws) {
    for (int i = 0; i < draws; ++i) state = state * 214013u + 2531011u;
    return state;
}

using Powder = std::unique_ptr<PowderData, void (*)(PowderData*)>;

// A point powder at (100, 50) with the settings tests vary: radius 8 to 2, life 256, speed
// 200 at angle 0 with a speed range of 4, weight 2, wobbles 3 and 1.
struct Point {
    DWORD flags = PTC_ALLATONCE, limit = 0, decay = 100, decay_range = 10, rate = 100;
    LONG count = 1, scatter = 0;
    Powder make() const {
        return Powder(ptc_CreatePowder(flags, limit, 100, 50, count, 8, 2, 256, decay, 200, 0, 0, 2, scatter, rate,
                                       decay_range, 4, 3, 1),
                      ptc_DeleteParticleMatters);
    }
};

// An area powder: one spawn per cell, radius r0 to 1, life 256.
Powder blt_powder(DWORD flags, RECT rc, LONG r0) {
    return Powder(ptc_CreateBltPowder(flags, 1, rc.left, rc.top, rc.right, rc.bottom, 10000, r0, 1, 256, 50, 100, 0,
                                      180, 1, 0, 100, 0, 0, 0, 0),
                  ptc_DeleteParticleMatters);
}

// Each test starts from a fresh generator and a still environment; drawing needs FastBlt's
// MMX path, which natively no entry point switches on.
class Particles : public testing::Test {
    void SetUp() override { thread_srand(1), ptc_SetCondition(0, 0, 0, 0, 0), g_mmxAvailable = 1, SetUsageMMX(1); }
};

TEST(ParticleRandom, EveryThreadStartsAtOneAndSeedsOnlyItself) {
    std::vector<int> drawn;
    std::thread([&] { for (int i = 0; i < 6; ++i) drawn.push_back(thread_rand()); }).join();
    EXPECT_EQ(drawn, (std::vector<int>{41, 18467, 6334, 26500, 19169, 15724}));
    const uint32_t before = uint32_t(std::time(nullptr));
    ptc_SetCondition(0, 0, 0, 0, 1);  // seeds from the clock
    const uint32_t seeded = thread_rand_state(), after = uint32_t(std::time(nullptr));
    std::thread([&] { drawn.push_back(thread_rand()); }).join();
    EXPECT_GE(seeded, before);
    EXPECT_LE(seeded, after);
    EXPECT_EQ(drawn.back(), 41);
}

// One draw per candidate slot, two more per spawn, two more with a scatter; two per live
// slot in a move; nothing at all with elapsed 0.
TEST_F(Particles, DrawsExactlyWhereTheStepsSay) {
    const struct { DWORD flags, limit, rate; LONG scatter; int creates, elapsed, draws, alive, allowed; } cases[] = {
        {PTC_ALLATONCE, 0, 100, 0, 1, 16, 30, 10, 10}, {PTC_ALLATONCE, 0, 0, 0, 1, 16, 10, 0, 10},
        {PTC_ALLATONCE, 0, 100, 3, 1, 16, 50, 10, 10},  // scatter draws without a scatter direction
        {PTC_GRADUAL, 0, 100, 0, 3, 16, 12 + 11 + 10, 3, 3}, {PTC_GRADUAL, 0, 100, 0, 3, 0, 0, 0, 0},
        {0, 0, 100, 0, 2, 16, 20, 0, 0},                // nothing allowed
        {PTC_ALLATONCE, 1, 100, 0, 2, 16, 30, 10, 10},  // all alive: the second call returns at once
    };
    for (const auto& c : cases) {
        Point s;
        s.flags = c.flags, s.limit = c.limit, s.rate = c.rate, s.scatter = c.scatter, s.count = 10;
        Powder p = s.make();
        thread_srand(12345);
        for (int i = 0; i < c.creates; ++i) ptc_Create(c.elapsed, p.get());
        EXPECT_EQ(thread_rand_state(), lcg_after(12345, c.draws)) << c.flags << " " << c.draws;
        EXPECT_EQ(std::make_tuple(p->nAlive, p->nAllowed), std::make_tuple(c.alive, c.allowed)) << c.flags;
        EXPECT_EQ(ptc_Move(1, p.get()), c.alive > 0);
        EXPECT_EQ(thread_rand_state(), lcg_after(12345, c.draws + 2 * c.alive));
    }
}

// A fresh thread's first spawn and move worked out by hand: draws 41 (chance), 18467
// (divisor step 18467 % 5 = 2, so 1.2), 6334 (fade 6334 % 11 + 100 = 109); the move draws
// 26500 and 19169, wobbles of 26500 % 7 - 3 = 2 and 19169 % 3 - 1 = 1, and adds the flow
// (10, -20) and the accelerations (x 40, y 30) times the weight 2.
TEST_F(Particles, FirstSpawnAndMoveFromAFreshGenerator) {
    Point s;
    Powder p = s.make();
    ptc_Create(16, p.get());
    const ParticleMatter& m = p->lpMatters[0];
    EXPECT_EQ(std::make_tuple(m.nFade, m.dLife, m.nRadius, m.dX, m.dY), std::make_tuple(109, 256.0, 8, 100.0, 50.0));
    // Angle 0 points up: θ = -90 × 3.14159 / 180, a hair short of -π/2.
    const double vx = 200 / 1.2 * std::cos(-90 * 0.01745327777777778), vy = -200 / 1.2, dt = 0.1;
    EXPECT_NEAR(m.dVX, vx, 1e-12);
    EXPECT_NEAR(m.dVY, vy, 1e-9);
    ptc_SetCondition(10, -20, 30, 40, 0);
    EXPECT_EQ(ptc_Move(100, p.get()), 1);
    EXPECT_NEAR(m.dLife, 256 - 10.9, 1e-12);
    EXPECT_EQ(m.nRadius, 7);  // 245.1 / (256 / 6) + 2 = 7.74
    EXPECT_NEAR(m.dX, (10 + vx + 80 * dt + 2) * dt + 100, 1e-9);
    EXPECT_NEAR(m.dY, (-20 + vy + 60 * dt + 1) * dt + 50, 1e-9);
    // 1000 life per second from 256 is exactly 0 after 256 ms: that ends it, counted once.
    s.decay = 1000, s.decay_range = 0;
    Powder q = s.make();
    ptc_Create(1, q.get());
    EXPECT_EQ(ptc_Move(256, q.get()), 1);
    EXPECT_EQ(q->lpMatters[0].dLife, 0);
    EXPECT_EQ(q->nAlive, 0);
}

// Homes of area powders: grids of 2r × 2r cells from the top or the bottom row, the
// middle (half the width on both axes), none for two layouts; cell counts rounded.
TEST_F(Particles, BltPowderHomes) {
    const struct { DWORD layout; RECT rc; LONG r0, count; int slot, x, y; } cases[] = {
        {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 9, 22, 32}, {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 47, 70, 64}, {PTC_GRIDDOWN, {0, 0, 10, 10}, 4, 2, 1, 12, 4},
        {PTC_CENTER, {10, 20, 110, 60}, 10, 10, 3, 60, 70}, {PTC_CENTER | PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 5, 0, 0},
    };
    for (const auto& c : cases) {
        Powder p = blt_powder(c.layout, c.rc, c.r0);
        ASSERT_TRUE(p);
        ASSERT_EQ(p->nCount, c.count);
        const ParticleMatter& m = p->lpMatters[c.slot];
        EXPECT_EQ(std::make_pair(m.xHome, m.yHome), (std::pair<LONG, LONG>(c.x, c.y))) << c.layout << " " << c.slot;
    }
}

// The first frame of a 48-cell powder released one cell at a time, laid out from the
// bottom row up: slot 0 spawns and is stamped opaque at its home in the bottom left cell,
// the other 47 cells are copied back from the picture.
TEST_F(Particles, FirstColourFrameOfAGradualBreakUp) {
    mktest::HeapImage picture(80, 60), frame(80, 60);
    std::memset(frame.bits(), 0, frame.bytes());
    Powder p = blt_powder(PTC_GRIDUP | PTC_GRADUAL, {8, 6, 72, 54}, 4);
    ptc_ColorEraseParticle(16, p.get(), frame.record(), 0x000000FF, nullptr, picture.record());
    EXPECT_EQ(std::make_tuple(p->nCount, p->nAlive, p->lpMatters[0].nSpawned), std::make_tuple(48, 1, 1u));
    const char* disc[8] = {"...##...", ".######.", ".######.", "########", "########", ".######.", ".######.", "...##..."};
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 80; ++x) {
            const bool in_area = x >= 8 && x < 72 && y >= 6 && y < 54, in_cell0 = x < 16 && y >= 46;
            const uint8_t red[3] = {0, 0, uint8_t(in_area && disc[(y - 6) & 7][(x - 8) & 7] == '#' ? 255 : 0)};
            ASSERT_EQ(std::memcmp(frame.at(x, y), in_area && !in_cell0 ? picture.at(x, y) : red, 3), 0) << x << "," << y;
        }
    }
}

}  // namespace
