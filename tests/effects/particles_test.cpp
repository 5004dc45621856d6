#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include "blit/mmx_switch.h"
#include "effects/particles.h"
#include "effects/thread_rand.h"
#include "images.h"

namespace {

using mediakit::thread_rand_state;
using mediakit::thread_srand;
using mktest::HeapImage;

// The generator stepped by hand: the state after some draws, and the draw of a state.
uint32_t lcg_after(uint32_t state, int draws) {
    for (int i = 0; i < draws; ++i) state = state * 214013u + 2531011u;
    return state;
}
int draw_of(uint32_t state) { return (state >> 16) & 0x7FFF; }

using Powder = std::unique_ptr<PowderData, void (*)(PowderData*)>;

// A point powder at (100, 50) with the settings tests vary; life 256.
struct Point {
    DWORD flags = PTC_ALLATONCE, limit = 0, decay = 100, decay_range = 10, rate = 100, wobble_x = 0, wobble_y = 0;
    LONG count = 1, spread = 0, scatter = 0, speed_range = 4;
    double angle = 0, weight = 1;
    Powder make() const {
        return Powder(ptc_CreatePowder(flags, limit, 100, 50, count, 8, 2, 256, decay, 200, angle, spread, weight,
                                       scatter, rate, decay_range, speed_range, wobble_x, wobble_y),
                      ptc_DeleteParticleMatters);
    }
};

Powder blt_powder(DWORD flags, RECT rc, LONG r0) {
    return Powder(ptc_CreateBltPowder(flags, 1, rc.left, rc.top, rc.right, rc.bottom, 10000, r0, 1, 256, 50, 100, 0,
                                      180, 1, 0, 100, 0, 0, 0, 0),
                  ptc_DeleteParticleMatters);
}

// Each test starts from a fresh generator and a still environment; drawing needs FastBlt's
// MMX path, which natively no entry point switches on.
class Particles : public testing::Test {
    void SetUp() override { thread_srand(1), ptc_SetCondition(0, 0, 0, 0, 0), mediakit::g_mmxAvailable = 1, SetUsageMMX(1); }
};

TEST(ParticleRandom, EveryThreadStartsAtOneAndSeedsOnlyItself) {
    std::vector<int> drawn;
    std::thread([&] { for (int i = 0; i < 6; ++i) drawn.push_back(mediakit::thread_rand()); }).join();
    EXPECT_EQ(drawn, (std::vector<int>{41, 18467, 6334, 26500, 19169, 15724}));
    const uint32_t before = uint32_t(std::time(nullptr));
    ptc_SetCondition(0, 0, 0, 0, 1);  // seeds from the clock
    const uint32_t seeded = thread_rand_state(), after = uint32_t(std::time(nullptr));
    int other = -1;
    std::thread([&] { other = mediakit::thread_rand(); }).join();
    EXPECT_TRUE(seeded >= before && seeded <= after && other == 41) << seeded << " " << other;
}

// One draw per candidate slot, two more per spawn, two more with a scatter; two per live
// slot in a move; nothing at all with elapsed 0. The scatter's draws pick a side and a size.
TEST_F(Particles, DrawsExactlyWhereTheStepsSay) {
    const struct {
        DWORD flags, limit, rate;
        LONG scatter;
        int creates, elapsed, draws, alive, allowed;
    } cases[] = {
        {PTC_ALLATONCE, 0, 100, 0, 1, 16, 30, 10, 10},
        {PTC_ALLATONCE, 0, 100, 3, 1, 16, 50, 10, 10},  // scatter draws without a scatter direction
        {PTC_ALLATONCE, 0, 0, 0, 1, 16, 10, 0, 10},
        {PTC_GRADUAL, 0, 100, 0, 3, 16, 12 + 11 + 10, 3, 3},
        {PTC_GRADUAL, 0, 100, 0, 3, 0, 0, 0, 0},
        {0, 0, 100, 0, 2, 16, 20, 0, 0},                // nothing allowed
        {PTC_ALLATONCE, 1, 100, 0, 2, 16, 30, 10, 10},  // all alive: the second call returns at once
        {PTC_ALLATONCE | PTC_SCATTER_X, 0, 100, 5, 1, 1, 50, 10, 10},
        {PTC_ALLATONCE | PTC_SCATTER_Y, 0, 100, 5, 1, 1, 50, 10, 10},
        {PTC_ALLATONCE | PTC_SCATTER_DIR, 0, 100, 5, 1, 1, 50, 10, 10},  // flying right: along +x
    };
    for (const auto& c : cases) {
        Point s;
        s.flags = c.flags, s.limit = c.limit, s.rate = c.rate, s.scatter = c.scatter, s.count = 10, s.angle = 90;
        Powder p = s.make();
        thread_srand(12345);
        for (int i = 0; i < c.creates; ++i) ptc_Create(c.elapsed, p.get());
        EXPECT_EQ(thread_rand_state(), lcg_after(12345, c.draws)) << c.flags << " " << c.draws;
        EXPECT_TRUE(p->nAlive == c.alive && p->nAllowed == c.allowed) << p->nAlive << " " << p->nAllowed;
        for (int i = 0; c.scatter == 5 && i < 10; ++i) {  // the fourth and fifth of slot i's draws
            const uint32_t side = lcg_after(12345, 5 * i + 4), size = draw_of(lcg_after(side, 1)) % 5;
            const int j = (draw_of(side) & 1) ? size + 1 : -1 - size, x = c.flags & PTC_SCATTER_Y ? 0 : j;
            EXPECT_TRUE(std::fabs(p->lpMatters[i].dX - 100 - x) < 1e-5 && p->lpMatters[i].dY == 50 + j - x) << c.flags << " " << j;
        }
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
    s.weight = 2, s.wobble_x = 3, s.wobble_y = 1;
    Powder p = s.make();
    ptc_Create(16, p.get());
    const ParticleMatter& m = p->lpMatters[0];
    EXPECT_TRUE(m.nFade == 109 && m.dLife == 256 && m.nRadius == 8 && m.dX == 100 && m.dY == 50);
    // Angle 0 points up: θ = -90 × 3.14159 / 180, a hair short of -π/2.
    const double vx = 200 / 1.2 * std::cos(-90 * 0.01745327777777778), vy = -200 / 1.2, dt = 0.1;
    EXPECT_TRUE(std::fabs(m.dVX - vx) < 1e-12 && std::fabs(m.dVY - vy) < 1e-9) << m.dVX << " " << m.dVY;
    ptc_SetCondition(10, -20, 30, 40, 0);
    EXPECT_EQ(ptc_Move(100, p.get()), 1);
    EXPECT_TRUE(std::fabs(m.dLife - (256 - 10.9)) < 1e-12 && m.nRadius == 7);  // 245.1 / (256 / 6) + 2 = 7.74
    EXPECT_NEAR(m.dX, (10 + vx + 80 * dt + 2) * dt + 100, 1e-9);
    EXPECT_NEAR(m.dY, (-20 + vy + 60 * dt + 1) * dt + 50, 1e-9);
    // 1000 life per second from 256 is exactly 0 after 256 ms: that ends it, counted once.
    s.decay = 1000, s.decay_range = 0;
    Powder q = s.make();
    ptc_Create(1, q.get());
    EXPECT_TRUE(ptc_Move(256, q.get()) == 1 && q->lpMatters[0].dLife == 0 && q->nAlive == 0) << q->lpMatters[0].dLife;
    EXPECT_EQ(ptc_Move(1, q.get()), 0);
    // nCount 4, nSpread 180: θ = -270°, -180°, -90°, 0°, so down, left, up, right.
    Point fan;
    fan.count = 4, fan.spread = 180, fan.speed_range = 0;
    Powder f = fan.make();
    ptc_Create(1, f.get());
    const int want[4][2] = {{0, 1}, {-1, 0}, {0, -1}, {1, 0}};
    for (int i = 0; i < 4; ++i)
        EXPECT_LT(std::hypot(f->lpMatters[i].dVX - 200 * want[i][0], f->lpMatters[i].dVY - 200 * want[i][1]), 0.01) << i;
}

// Homes of area powders, and limits the host must keep, broken: no fault.
TEST_F(Particles, BltPowderHomes) {
    const struct {
        DWORD layout;
        RECT rc;
        LONG r0, count;
        int slot, x, y;
    } cases[] = {
        {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 9, 22, 32}, {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 47, 70, 64},
        {PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 0, 14, 64},   {PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 47, 70, 24},
        {PTC_CENTER, {10, 20, 110, 60}, 10, 10, 3, 60, 70},           // half the width on both axes
        {PTC_CENTER | PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 5, 0, 0},  // two layouts: none
        {PTC_GRIDDOWN, {0, 0, 10, 10}, 4, 2, 1, 12, 4},               // 100 / 64 cells, rounded
    };
    for (const auto& c : cases) {
        Powder p = blt_powder(c.layout, c.rc, c.r0);
        ASSERT_TRUE(p && p->nCount == c.count);
        EXPECT_TRUE(p->lpMatters[c.slot].xHome == c.x && p->lpMatters[c.slot].yHome == c.y) << c.layout << " " << c.slot;
    }
    EXPECT_FALSE(blt_powder(PTC_GRIDDOWN, {0, 0, 64, 48}, 0));  // cell radius 0
    EXPECT_FALSE(blt_powder(PTC_GRIDDOWN, {0, 48, 64, 0}, 4));  // a negative count
    Powder g = blt_powder(PTC_GRIDUP, {0, 0, 64, 48}, 4);
    ptc_AutoPos(g.get(), RECT{7, 0, 7, 48});  // a grid of width 0: homes stay
    EXPECT_EQ(g->lpMatters[3].xHome, 28);
}

// The first frame of a 48-cell powder released one cell at a time: slot 0 spawns and is
// stamped opaque at its home, the other 47 cells are copied back from the picture. Then an
// image particle shows the disc of the picture around its home, wherever it has flown.
TEST_F(Particles, FramesRestoreCellsAndCarryTheHomeTexture) {
    HeapImage picture(80, 60), frame(80, 60), expected(80, 60);
    std::memset(frame.bits(), 0, frame.bytes());
    std::memset(expected.bits(), 0, expected.bytes());
    Powder p = blt_powder(PTC_GRIDDOWN | PTC_GRADUAL, {8, 6, 72, 54}, 4);
    ptc_ColorEraseParticle(16, p.get(), frame.record(), 0x000000FF, nullptr, picture.record());
    EXPECT_TRUE(p->nCount == 48 && p->nAlive == 1 && p->lpMatters[0].nSpawned == 1);
    const char* disc[8] = {"...##...", ".######.", ".######.", "########", "########", ".######.", ".######.", "...##..."};
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 80; ++x) {
            const bool in_area = x >= 8 && x < 72 && y >= 6 && y < 54, in_cell0 = x < 16 && y < 14;
            const uint8_t red[3] = {0, 0, uint8_t(in_area && disc[(y - 6) & 7][(x - 8) & 7] == '#' ? 255 : 0)};
            ASSERT_EQ(std::memcmp(frame.at(x, y), in_area && !in_cell0 ? picture.at(x, y) : red, 3), 0) << x << "," << y;
        }
    }
    ParticleMatter& moved = p->lpMatters[0];  // home (12, 10)
    moved.dLife = 1, moved.dX = 40.7, moved.dY = 30.2;
    std::memset(frame.bits(), 0, frame.bytes());
    ptc_RenderImageParticle(p.get(), frame.record(), 0, 0, picture.record(), 0, 0, nullptr, 0, 0, 0);
    ImageEllipse(expected.record(), 36, 26, 8, 8, picture.record(), 8, 6, nullptr, 0, 0, 256);
    // The colour renderer takes the life as its strength: with useLife 0 it changes nothing.
    ptc_RenderColorParticle(frame.record(), p.get(), 0x00FFFFFF, nullptr, 0);
    EXPECT_TRUE(frame.snapshot() == expected.snapshot() && frame.snapshot() != std::vector<uint8_t>(frame.bytes(), 0));
    moved.dLife = 128.9;
    ptc_RenderColorParticle(frame.record(), p.get(), 0x00FFFFFF, nullptr, 1);
    EXPECT_EQ(frame.at(40, 30)[0], expected.at(40, 30)[0] + ((255 - expected.at(40, 30)[0]) * 128 >> 8));
}

// Null powders and records: no fault, no drawing. Reallocating keeps the count of the
// particles lost, and a failed reallocation releases the powder.
TEST_F(Particles, BadArgumentsAreHarmless) {
    HeapImage img(16, 16);
    const std::vector<uint8_t> before = img.snapshot();
    ptc_UserPos(nullptr, 1, 2), ptc_AutoPos(nullptr, RECT{0, 0, 4, 4}), ptc_Create(1, nullptr);
    ptc_RenderColorParticle(img.record(), nullptr, 0, nullptr, 1), ptc_BlockBlt(nullptr, img.record(), img.record());
    ptc_RenderImageParticle(nullptr, img.record(), 0, 0, img.record(), 0, 0, nullptr, 0, 0, 1);
    ptc_ColorEraseParticle(1, nullptr, img.record(), 0, nullptr, img.record()), ptc_DeleteParticleMatters(nullptr);
    EXPECT_TRUE(ptc_Move(1, nullptr) == 0 && ptc_ReAllocMatters(nullptr, 4) == nullptr);
    Point s;
    s.count = 5;
    Powder p = s.make();
    ptc_ColorEraseParticle(16, p.get(), nullptr, 0, nullptr, nullptr);
    ptc_ImageEraseParticle(16, p.get(), img.record(), nullptr, nullptr, nullptr);  // moves and spawns, draws nothing
    EXPECT_TRUE(p->nAlive == 5 && p->lpMatters[0].dLife < 256 && img.snapshot() == before);
    ASSERT_EQ(ptc_ReAllocMatters(p.get(), 8), p.get());
    ptc_Create(1, p.get());  // nMaxAlive is still 5: none may join
    EXPECT_TRUE(p->nCount == 8 && p->nAlive == 5 && ptc_Move(1, p.get()) == 0);
    EXPECT_EQ(ptc_ReAllocMatters(p.release(), -1), nullptr);
}

}  // namespace
