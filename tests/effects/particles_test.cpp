#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <thread>
#include <vector>

#include "blit/mmx_switch.h"
#include "effects/particles.h"
#include "effects/thread_rand.h"
#include "effects/trig.h"
#include "images.h"

namespace {

using mktest::HeapImage;

// The generator stepped by hand, for counting draws.
uint32_t lcg_after(uint32_t state, int draws) {
    for (int i = 0; i < draws; ++i) state = state * 214013u + 2531011u;
    return state;
}

struct PowderDeleter {
    void operator()(PowderData* p) const { ptc_DeleteParticleMatters(p); }
};
using Powder = std::unique_ptr<PowderData, PowderDeleter>;

// A point powder with the settings tests vary most; the rest fixed.
struct PointSettings {
    DWORD flags = PTC_ALLATONCE, limit = 0;
    LONG x = 100, y = 50, count = 1, r0 = 8, r1 = 2, life = 256;
    DWORD decay = 100;
    LONG speed = 200;
    double angle = 0;
    LONG spread = 0;
    double weight = 1;
    LONG scatter = 0;
    DWORD rate = 100, decay_range = 10;
    LONG speed_range = 4;
    DWORD wobble_x = 0, wobble_y = 0;
};

Powder point_powder(const PointSettings& s) {
    return Powder(ptc_CreatePowder(s.flags, s.limit, s.x, s.y, s.count, s.r0, s.r1, s.life, s.decay, s.speed,
                                   s.angle, s.spread, s.weight, s.scatter, s.rate, s.decay_range, s.speed_range,
                                   s.wobble_x, s.wobble_y));
}

Powder blt_powder(DWORD flags, DWORD limit, RECT rc, LONG max_alive, LONG r0, DWORD rate = 100) {
    return Powder(ptc_CreateBltPowder(flags, limit, rc.left, rc.top, rc.right, rc.bottom, max_alive, r0, 1, 256,
                                      50, 100, 0, 180, 1, 0, rate, 0, 0, 0, 0));
}

class Particles : public testing::Test {
protected:
    void SetUp() override {
        mediakit::thread_srand(1);
        ptc_SetCondition(0, 0, 0, 0, 0);
    }
};

TEST(ParticleRandom, EveryThreadStartsAtOneAndSeedsOnlyItself) {
    const int first[] = {41, 18467, 6334, 26500, 19169, 15724, 11478, 29358, 26962, 24464};
    std::vector<int> drawn;
    std::thread t([&] {
        for (int i = 0; i < 10; ++i) drawn.push_back(mediakit::thread_rand());
    });
    t.join();
    EXPECT_EQ(drawn, std::vector<int>(std::begin(first), std::end(first)));

    uint32_t before = static_cast<uint32_t>(std::time(nullptr));
    ptc_SetCondition(0, 0, 0, 0, 1);
    uint32_t seeded = mediakit::thread_rand_state(), after = static_cast<uint32_t>(std::time(nullptr));
    EXPECT_TRUE(seeded >= before && seeded <= after) << seeded;
    ptc_SetCondition(1, 2, 3, 4, 0);
    EXPECT_EQ(mediakit::thread_rand_state(), seeded);
    int other = -1;
    std::thread([&] { other = mediakit::thread_rand(); }).join();
    EXPECT_EQ(other, 41);
}

// The directions' sine and cosine are computed by the library itself, the same bits in
// every build; against the system's they are off by an ulp or so at most.
TEST(ParticleTrig, SineAndCosineAgreeWithTheSystem) {
    double worst = 0;
    for (int k = -200000; k <= 200000; ++k) {
        const double x = k * 0.00731 + (k % 7) * 1e-9;
        double s, c;
        mediakit::sin_cos(x, &s, &c);
        worst = std::max({worst, std::fabs(s - std::sin(x)), std::fabs(c - std::cos(x))});
    }
    EXPECT_LE(worst, 3.4e-16);
    double s, c;
    mediakit::sin_cos(0.0, &s, &c);
    EXPECT_TRUE(s == 0 && c == 1);
    mediakit::sin_cos(1e12, &s, &c);
    EXPECT_NEAR(s * s + c * c, 1.0, 1e-15);
    mediakit::sin_cos(HUGE_VAL, &s, &c);
    EXPECT_TRUE(std::isnan(s) && std::isnan(c));
}

// How many draws each call makes: one per candidate slot, two more per spawn, two more
// with a scatter; two per live slot in a move.
TEST_F(Particles, DrawsExactlyWhereTheStepsSay) {
    struct Case {
        DWORD flags, limit, rate;
        LONG scatter;
        int creates, draws;
        LONG alive;
        const char* why;
    };
    const Case cases[] = {
        {PTC_ALLATONCE, 0, 100, 0, 1, 30, 10, "all ten spawn"},
        {PTC_ALLATONCE, 0, 100, 3, 1, 50, 10, "scatter draws without a scatter direction"},
        {PTC_ALLATONCE, 0, 0, 0, 1, 10, 0, "rate 0: a chance each, no spawn"},
        {PTC_GRADUAL, 0, 100, 0, 1, 12, 1, "one allowed: one spawn, nine chances"},
        {PTC_GRADUAL, 0, 100, 0, 3, 12 + 11 + 10, 3, "one more allowed per call"},
        {0, 0, 100, 0, 2, 20, 0, "nothing allowed"},
        {PTC_ALLATONCE, 1, 100, 0, 2, 30, 10, "spawned out, alive: no candidates"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        PointSettings s;
        s.flags = c.flags;
        s.limit = c.limit;
        s.rate = c.rate;
        s.scatter = c.scatter;
        s.count = 10;
        Powder p = point_powder(s);
        ASSERT_TRUE(p);
        mediakit::thread_srand(12345);
        for (int i = 0; i < c.creates; ++i) ptc_Create(16, p.get());
        EXPECT_EQ(mediakit::thread_rand_state(), lcg_after(12345, c.draws));
        EXPECT_EQ(p->nAlive, c.alive);
        mediakit::thread_srand(777);
        EXPECT_EQ(ptc_Move(1, p.get()), c.alive > 0);
        EXPECT_EQ(mediakit::thread_rand_state(), lcg_after(777, 2 * c.alive));
    }
    // Elapsed 0, or as many alive as may be: no draw, nAllowed unchanged.
    PointSettings s;
    s.flags = PTC_GRADUAL;
    Powder p = point_powder(s);
    mediakit::thread_srand(5);
    ptc_Create(0, p.get());
    EXPECT_EQ(p->nAllowed, 0);
    ptc_Create(1, p.get());
    EXPECT_EQ(p->nAlive, 1);
    uint32_t state = mediakit::thread_rand_state();
    ptc_Create(1, p.get());
    EXPECT_EQ(mediakit::thread_rand_state(), state);
    EXPECT_EQ(p->nAllowed, 1);
}

// A fresh thread's first spawn and move worked out by hand: draws 41 (chance), 18467
// (divisor step 18467 % 5 = 2, so 1.2), 6334 (fade 6334 % 11 + 100 = 109).
TEST_F(Particles, FirstSpawnAndMoveFromAFreshGenerator) {
    Powder p = point_powder(PointSettings{});
    ptc_Create(16, p.get());
    const ParticleMatter& m = p->lpMatters[0];
    EXPECT_EQ(m.nFade, 109);
    EXPECT_EQ(m.dLife, 256.0);
    EXPECT_EQ(m.nRadius, 8);
    EXPECT_EQ(m.dX, 100.0);
    EXPECT_EQ(m.dY, 50.0);
    EXPECT_EQ(m.xHome, 100);
    EXPECT_EQ(m.yHome, 50);
    // Angle 0 points up: θ = -90 × 3.14159 / 180, a hair short of -π/2.
    EXPECT_NEAR(m.dVY, -200 / 1.2, 1e-9);
    EXPECT_GT(m.dVX, 0);
    EXPECT_NEAR(m.dVX, 200 / 1.2 * std::cos(-90 * 0.01745327777777778), 1e-12);

    EXPECT_EQ(ptc_Move(100, p.get()), 1);
    EXPECT_NEAR(m.dLife, 256 - 10.9, 1e-12);
    EXPECT_EQ(m.nRadius, 7);  // 245.1 / (256 / 6) + 2 = 7.74
    EXPECT_NEAR(m.dY, 50 - 200 / 1.2 * 0.1, 1e-9);
}

TEST_F(Particles, DirectionsFanOutBySlot) {
    PointSettings s;
    s.count = 4;
    s.spread = 180;
    s.speed_range = 0;
    Powder p = point_powder(s);
    ptc_Create(1, p.get());
    // θ = -270°, -180°, -90°, 0°: down, left, up, right (y grows downwards).
    const int want[4][2] = {{0, 1}, {-1, 0}, {0, -1}, {1, 0}};
    for (int i = 0; i < 4; ++i) {
        const ParticleMatter& m = p->lpMatters[i];
        EXPECT_NEAR(m.dVX, 200 * want[i][0], 0.01) << i;
        EXPECT_NEAR(m.dVY, 200 * want[i][1], 0.01) << i;
    }
}

TEST_F(Particles, ScatterMovesNewbornsAlongTheChosenAxis) {
    struct Case {
        DWORD bits;
        double dx, dy;  // offset per unit of j
    };
    const Case cases[] = {{PTC_SCATTER_X, 1, 0}, {PTC_SCATTER_Y, 0, 1}, {PTC_SCATTER_DIR, 1, 0}, {0, 0, 0},
                          {PTC_SCATTER_X | PTC_SCATTER_Y, 0, 0}};
    for (const Case& c : cases) {
        PointSettings s;
        s.flags = PTC_ALLATONCE | c.bits;
        s.scatter = 5;
        s.angle = 90;  // flying right, so the direction of flight is +x
        Powder p = point_powder(s);
        mediakit::thread_srand(99);
        ptc_Create(1, p.get());
        // Draws: chance, divisor, fade, then the side and the size of the offset.
        uint32_t st = lcg_after(99, 3);
        st = lcg_after(st, 1);
        const int side = (st >> 16) & 0x7FFF;
        st = lcg_after(st, 1);
        const int size = ((st >> 16) & 0x7FFF) % 5;
        const int j = (side & 1) ? size + 1 : -1 - size;
        EXPECT_NEAR(p->lpMatters[0].dX, 100 + j * c.dx, 1e-5) << c.bits;
        EXPECT_NEAR(p->lpMatters[0].dY, 50 + j * c.dy, 1e-5) << c.bits;
    }
}

TEST_F(Particles, BltPowderHomes) {
    struct Case {
        DWORD layout;
        RECT rc;
        LONG r0, count;
        int slot, x, y;
    };
    const Case cases[] = {
        {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 0, 14, 24},
        {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 9, 22, 32},
        {PTC_GRIDDOWN, {10, 20, 74, 68}, 4, 48, 47, 70, 64},
        {PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 0, 14, 64},
        {PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 47, 70, 24},
        {PTC_CENTER, {10, 20, 110, 60}, 10, 10, 3, 60, 70},  // half the width on both axes
        {PTC_CENTER | PTC_GRIDUP, {10, 20, 74, 68}, 4, 48, 5, 0, 0},  // two layouts: none
        {PTC_GRIDDOWN, {0, 0, 10, 10}, 4, 2, 1, 12, 4},  // 100 / 64 cells, rounded
    };
    for (const Case& c : cases) {
        Powder p = blt_powder(c.layout, 1, c.rc, 1, c.r0);
        ASSERT_TRUE(p);
        EXPECT_EQ(p->nCount, c.count);
        EXPECT_EQ(p->dwFlags & PTC_BLTPOWDER, DWORD(PTC_BLTPOWDER));
        EXPECT_EQ(p->lpMatters[c.slot].xHome, c.x) << c.layout << " slot " << c.slot;
        EXPECT_EQ(p->lpMatters[c.slot].yHome, c.y) << c.layout << " slot " << c.slot;
    }
    // Limits the host must keep, broken: no fault.
    EXPECT_FALSE(blt_powder(PTC_GRIDDOWN, 1, {0, 0, 64, 48}, 1, 0));   // cell radius 0
    EXPECT_FALSE(blt_powder(PTC_GRIDDOWN, 1, {0, 48, 64, 0}, 1, 4));  // bottom above top: a negative count
    Powder zero_width = blt_powder(PTC_GRIDDOWN, 1, {5, 0, 5, 48}, 1, 4);
    ASSERT_TRUE(zero_width);
    EXPECT_EQ(zero_width->nCount, 0);
    ptc_AutoPos(zero_width.get(), RECT{5, 0, 5, 48});
    Powder sideways = blt_powder(PTC_GRIDUP, 1, {0, 0, 64, 48}, 1, 4);
    ptc_AutoPos(sideways.get(), RECT{7, 0, 7, 48});  // width 0: homes stay
    EXPECT_EQ(sideways->lpMatters[3].xHome, 28);
}

TEST_F(Particles, LivesRadiiAndTheEnd) {
    PointSettings s;
    s.count = 3;
    s.limit = 1;
    s.decay = 1000;
    s.decay_range = 0;
    s.wobble_x = 3;
    Powder p = point_powder(s);
    ptc_Create(1, p.get());
    ASSERT_EQ(p->nAlive, 3);
    // Elapsed 0: positions and life stay, velocities still wobble.
    ParticleMatter before = p->lpMatters[0];
    mediakit::thread_srand(4242);
    ptc_Move(0, p.get());
    const int jx = int(((lcg_after(4242, 1) >> 16) & 0x7FFF) % 7) - 3;
    EXPECT_EQ(p->lpMatters[0].dX, before.dX);
    EXPECT_EQ(p->lpMatters[0].dLife, before.dLife);
    EXPECT_EQ(p->lpMatters[0].dVX, before.dVX + jx);
    // 1000 life per second from 256: gone after 257 ms, counted off once.
    EXPECT_EQ(ptc_Move(200, p.get()), 1);
    EXPECT_EQ(p->nAlive, 3);
    EXPECT_EQ(ptc_Move(57, p.get()), 1);
    EXPECT_EQ(p->nAlive, 0);
    EXPECT_EQ(ptc_Move(10, p.get()), 0);
    ptc_Create(1, p.get());  // spawned out: the effect is over
    EXPECT_EQ(ptc_Move(10, p.get()), 0);

    PointSettings same;
    same.r0 = same.r1 = 5;
    Powder q = point_powder(same);
    ptc_Create(1, q.get());
    ptc_Move(30, q.get());
    EXPECT_EQ(q->lpMatters[0].nRadius, 5);
}

TEST_F(Particles, DriftAndAccelerationFollowTheWeight) {
    PointSettings s;
    s.speed = 0;
    s.weight = 2;
    Powder p = point_powder(s);
    ptc_Create(1, p.get());
    ptc_SetCondition(10, -20, 30, 40, 0);
    ptc_Move(500, p.get());
    const ParticleMatter& m = p->lpMatters[0];
    // v = (accel × weight) × dt: (80, 60) × 0.5; x += (flow + v) × dt.
    EXPECT_DOUBLE_EQ(m.dVX, 40);
    EXPECT_DOUBLE_EQ(m.dVY, 30);
    EXPECT_DOUBLE_EQ(m.dX, 100 + (10 + 40) * 0.5);
    EXPECT_DOUBLE_EQ(m.dY, 50 + (-20 + 30) * 0.5);
}

TEST_F(Particles, ReAllocKeepsTheCountOfLostParticles) {
    PointSettings s;
    s.count = 5;
    Powder p = point_powder(s);
    ptc_Create(1, p.get());
    ASSERT_EQ(p->nAlive, 5);
    PowderData* same = ptc_ReAllocMatters(p.get(), 8);
    ASSERT_EQ(same, p.get());
    EXPECT_EQ(p->nCount, 8);
    EXPECT_EQ(p->nAlive, 5);
    EXPECT_EQ(p->lpMatters[7].dLife, 0.0);
    ptc_Create(1, p.get());  // nMaxAlive is still 5: none may join
    EXPECT_EQ(ptc_Move(1, p.get()), 0);

    EXPECT_EQ(ptc_ReAllocMatters(p.release(), -1), nullptr);  // fails and releases the powder
    EXPECT_EQ(ptc_ReAllocMatters(nullptr, 4), nullptr);
    if (sizeof(size_t) == 4) {  // 2^31 slots cannot be had in a 32-bit process
        EXPECT_EQ(ptc_CreatePowder(0, 0, 0, 0, 0x7FFFFFFF, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), nullptr);
    }
    EXPECT_EQ(ptc_CreatePowder(0, 0, 0, 0, -1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), nullptr);
    Powder empty(ptc_CreatePowder(PTC_ALLATONCE, 0, 0, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0));
    ASSERT_TRUE(empty);
    ptc_Create(1, empty.get());
    EXPECT_EQ(ptc_Move(1, empty.get()), 0);
}

TEST_F(Particles, NullPowdersAndRecordsAreHarmless) {
    HeapImage img(16, 16);
    std::vector<uint8_t> before = img.snapshot();
    ptc_UserPos(nullptr, 1, 2);
    ptc_AutoPos(nullptr, RECT{0, 0, 4, 4});
    ptc_Create(1, nullptr);
    EXPECT_EQ(ptc_Move(1, nullptr), 0);
    ptc_RenderColorParticle(img.record(), nullptr, 0, nullptr, 1);
    ptc_RenderImageParticle(nullptr, img.record(), 0, 0, img.record(), 0, 0, nullptr, 0, 0, 1);
    ptc_BlockBlt(nullptr, img.record(), img.record());
    ptc_ColorEraseParticle(1, nullptr, img.record(), 0, nullptr, img.record());
    ptc_ImageEraseParticle(1, nullptr, img.record(), img.record(), nullptr, img.record());
    ptc_DeleteParticleMatters(nullptr);
    Powder p = point_powder(PointSettings{});
    ptc_ColorEraseParticle(1, p.get(), nullptr, 0, nullptr, nullptr);
    ptc_ImageEraseParticle(1, p.get(), nullptr, nullptr, nullptr, img.record());
    EXPECT_EQ(img.snapshot(), before);
}

// Drawing: with the MMX paths on, FastBlt copies heap records natively too.
class ParticleFrames : public Particles {
protected:
    void SetUp() override {
        Particles::SetUp();
        mediakit::g_mmxAvailable = 1;
        SetUsageMMX(1);
    }
};

bool same_pixel(HeapImage& a, int ax, int ay, HeapImage& b, int bx, int by) {
    return std::memcmp(a.at(ax, ay), b.at(bx, by), 3) == 0;
}

// The first frame of a 48-cell powder released one cell at a time: slot 0 spawns and is
// stamped opaque at its home, the other 47 cells are copied back from the picture.
TEST_F(ParticleFrames, FirstColourFrameOfAGradualBreakUp) {
    HeapImage picture(80, 60), frame(80, 60);
    std::memset(frame.bits(), 0, frame.bytes());
    Powder p = blt_powder(PTC_GRIDDOWN | PTC_GRADUAL, 1, {8, 6, 72, 54}, 48, 4);
    ASSERT_EQ(p->nCount, 48);
    ptc_ColorEraseParticle(16, p.get(), frame.record(), 0x000000FF, nullptr, picture.record());
    EXPECT_EQ(p->nAlive, 1);
    EXPECT_EQ(p->lpMatters[0].nSpawned, 1u);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 80; ++x) {
            const bool in_area = x >= 8 && x < 72 && y >= 6 && y < 54;
            const bool in_cell0 = x >= 8 && x < 16 && y >= 6 && y < 14;
            if (!in_area) {
                ASSERT_EQ(frame.at(x, y)[0] | frame.at(x, y)[1] | frame.at(x, y)[2], 0) << x << "," << y;
            } else if (!in_cell0) {
                ASSERT_TRUE(same_pixel(frame, x, y, picture, x, y)) << x << "," << y;
            }
        }
    }
    // Cell 0 holds the red disc of an 8 × 8 box on black.
    const char* disc[8] = {"...##...", ".######.", ".######.", "########",
                           "########", ".######.", ".######.", "...##..."};
    for (int v = 0; v < 8; ++v) {
        for (int u = 0; u < 8; ++u) {
            const uint8_t* px = frame.at(8 + u, 6 + v);
            const uint8_t want_red = disc[v][u] == '#' ? 255 : 0;
            EXPECT_TRUE(px[0] == 0 && px[1] == 0 && px[2] == want_red) << u << "," << v;
        }
    }
}

// Each image particle shows the disc of the picture around its home, wherever it is.
TEST_F(ParticleFrames, ImageParticlesCarryTheirHomeTexture) {
    HeapImage picture(64, 48), frame(64, 48);
    std::memset(frame.bits(), 0, frame.bytes());
    Powder p = blt_powder(PTC_GRIDDOWN | PTC_ALLATONCE, 1, {0, 0, 64, 48}, 48, 4);
    ptc_Create(1, p.get());
    ASSERT_EQ(p->nAlive, 48);
    ParticleMatter& moved = p->lpMatters[9];  // home (12, 12)
    moved.dX = 40.7;
    moved.dY = 30.2;
    for (int i = 0; i < 48; ++i)
        if (i != 9) p->lpMatters[i].dLife = 0;
    std::vector<uint8_t> blank = frame.snapshot();
    ptc_RenderImageParticle(p.get(), frame.record(), 0, 0, picture.record(), 0, 0, nullptr, 0, 0, 0);
    int written = 0;
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x) {
            const bool in_box = x >= 36 && x < 44 && y >= 26 && y < 34;
            const size_t at = static_cast<size_t>(frame.at(x, y) - frame.bits());
            if (std::memcmp(frame.at(x, y), blank.data() + at, 3) == 0) continue;
            ++written;
            ASSERT_TRUE(in_box) << x << "," << y;
            ASSERT_TRUE(same_pixel(frame, x, y, picture, x - 40 + 12, y - 30 + 12)) << x << "," << y;
        }
    }
    EXPECT_GE(written, 40);  // the 8 × 8 disc has 44 pixels; a few may equal black already

    // The colour renderer with useLife 0 strength 0 changes nothing.
    std::vector<uint8_t> now = frame.snapshot();
    ptc_RenderColorParticle(frame.record(), p.get(), 0x00FFFFFF, nullptr, 0);
    EXPECT_EQ(frame.snapshot(), now);
    // With useLife the life is the strength: 128.9 gives 128.
    moved.dLife = 128.9;
    std::memset(frame.bits(), 0, frame.bytes());
    ptc_RenderColorParticle(frame.record(), p.get(), 0x00FFFFFF, nullptr, 1);
    EXPECT_EQ(frame.at(40, 30)[0], 127);  // 0 + (255 × 128 >> 8)
}

TEST_F(ParticleFrames, BlockBltRestoresExactlyTheUnreleasedCells) {
    HeapImage picture(32, 16), frame(32, 16);
    std::memset(frame.bits(), 0, frame.bytes());
    Powder p = blt_powder(PTC_GRIDDOWN | PTC_ALLATONCE, 1, {0, 0, 32, 16}, 8, 4, 50);
    ptc_Create(1, p.get());
    ptc_BlockBlt(p.get(), frame.record(), picture.record());
    int restored = 0;
    for (int i = 0; i < p->nCount; ++i) {
        const ParticleMatter& m = p->lpMatters[i];
        const int x0 = m.xHome - 4, y0 = m.yHome - 4;
        const bool want = m.nSpawned == 0;
        restored += want;
        for (int v = 0; v < 8; ++v)
            for (int u = 0; u < 8; ++u) {
                const uint8_t* px = frame.at(x0 + u, y0 + v);
                const bool copied = same_pixel(frame, x0 + u, y0 + v, picture, x0 + u, y0 + v);
                const bool black = px[0] == 0 && px[1] == 0 && px[2] == 0;
                ASSERT_TRUE(want ? copied : black) << "slot " << i << " pixel " << u << "," << v;
            }
    }
    EXPECT_GT(restored, 0);
    EXPECT_LT(restored, p->nCount);
}

TEST_F(ParticleFrames, ImageEraseWithoutAnImageStillMovesAndSpawns) {
    HeapImage frame(32, 32);
    std::vector<uint8_t> before = frame.snapshot();
    PointSettings s;
    s.count = 4;
    Powder p = point_powder(s);
    ptc_ImageEraseParticle(16, p.get(), frame.record(), nullptr, nullptr, nullptr);
    EXPECT_EQ(p->nAlive, 4);
    ptc_ImageEraseParticle(16, p.get(), frame.record(), nullptr, nullptr, nullptr);
    EXPECT_LT(p->lpMatters[0].dLife, 256);
    EXPECT_EQ(frame.snapshot(), before);
}

}  // namespace
