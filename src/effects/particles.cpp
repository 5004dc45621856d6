// Powders: spawning, the home layouts, moving, dying, and drawing through the stamps.
//
// Random draws come from the calling thread's generator, made exactly where the steps
// below make them and nowhere else: ptc_Create draws one chance per candidate slot, two
// more per spawn and two for the scatter; ptc_Move draws two wobbles per live slot.
// Integer steps wrap as 32-bit arithmetic does, and remainders by 0 give 0, so no field
// value can fault; limits the host must keep (a cell radius of at least 1, a grid area
// of non-zero width) then only give odd layouts.
#include "effects/particles.h"

#include <cstdlib>
#include <ctime>

#include "effects/effects_math.h"
#include "effects/ellipse.h"
#include "effects/thread_rand.h"
#include "effects/trig.h"

namespace mediakit {

PtcCondition g_ptcCondition = {0, 0, 0, 0};

namespace {

constexpr uint32_t kLayoutBits = PTC_CENTER | PTC_GRIDDOWN | PTC_GRIDUP;
constexpr uint32_t kScatterBits = PTC_SCATTER_DIR | PTC_SCATTER_X | PTC_SCATTER_Y;
constexpr double kRadiansPerDegree = 0.01745327777777778;  // 3.14159 / 180

// n zero-filled slots; null for a negative n or when memory runs out.
ParticleMatter* alloc_matters(int32_t n) {
    if (n < 0) return nullptr;
    return static_cast<ParticleMatter*>(std::calloc(n ? static_cast<size_t>(n) : 1, sizeof(ParticleMatter)));
}

// A powder block; the fields its creator does not set are left zero.
PowderData* alloc_powder() { return static_cast<PowderData*>(std::calloc(1, sizeof(PowderData))); }

void store_common(PowderData* p, DWORD spawnLimit, LONG radiusStart, LONG radiusEnd, LONG life,
                  DWORD decay, LONG speed, double angle, LONG spread, double weight,
                  LONG scatter, DWORD rate, DWORD decayRange, LONG speedRange, DWORD wobbleX,
                  DWORD wobbleY) {
    p->nSpawnLimit = spawnLimit;
    p->nRadiusStart = radiusStart;
    p->nRadiusEnd = radiusEnd;
    p->nLife = life;
    p->nDecay = decay;
    p->nSpeed = speed;
    p->dAngle = angle;
    p->nSpread = spread;
    p->dWeight = weight;
    p->nScatter = scatter;
    p->nRate = rate;
    p->nDecayRange = decayRange;
    p->nSpeedRange = speedRange;
    p->nWobbleX = wobbleX;
    p->nWobbleY = wobbleY;
    p->nAlive = 0;
    p->nAllowed = 0;
}

// Gives a dead candidate slot its life, direction, speed and place.
void spawn(PowderData* p, int32_t i, ParticleMatter& m) {
    // The direction fans out by slot index over [angle - spread, angle + spread); 0 degrees
    // is straight up and angles turn clockwise in y-down coordinates.
    const double theta = (static_cast<double>(mul_wrap(2, p->nSpread)) / p->nCount * i -
                          p->nSpread + p->dAngle - 90.0) *
                         kRadiansPerDegree;
    const double divisor = rem_i32(thread_rand(), add_wrap(p->nSpeedRange, 1)) * 0.1 + 1.0;
    m.nFade = static_cast<LONG>(
        rem_u32(static_cast<uint32_t>(thread_rand()), p->nDecayRange + 1u) + p->nDecay);
    m.dLife = p->nLife;
    if (p->dwFlags & PTC_USERPOS) {
        m.xHome = p->xEmit;
        m.yHome = p->yEmit;
    } else {
        PlaceParticleHome(p, i, p->rcArea);
    }
    double s, c;
    sin_cos(theta, &s, &c);
    m.dX = m.xHome;
    m.dY = m.yHome;
    m.dVX = (p->nSpeed / divisor) * c;
    m.dVY = (p->nSpeed / divisor) * s;
    if (p->nScatter != 0) {
        const int32_t side = thread_rand();
        const int32_t r = rem_i32(thread_rand(), p->nScatter);
        const int32_t j = (side & 1) ? add_wrap(r, 1) : sub_wrap(-1, r);
        switch (p->dwFlags & kScatterBits) {
            case PTC_SCATTER_DIR:
                m.dX += j * c;
                m.dY += j * s;
                break;
            case PTC_SCATTER_X: m.dX += j; break;
            case PTC_SCATTER_Y: m.dY += j; break;
            default: break;  // no offset, the draws are spent all the same
        }
    }
    m.nRadius = p->nRadiusStart;
}

}  // namespace

void PlaceParticleHome(PowderData* p, int32_t i, const RECT& rc) {
    ParticleMatter& m = p->lpMatters[i];
    const int32_t width = sub_wrap(rc.right, rc.left), r0 = p->nRadiusStart;
    switch (p->dwFlags & kLayoutBits) {
        case PTC_CENTER:
            // Half the width on both axes, also for an area that is not square.
            m.xHome = add_wrap(rc.left, width / 2);
            m.yHome = add_wrap(rc.top, width / 2);
            break;
        case PTC_GRIDDOWN:
        case PTC_GRIDUP: {
            // Slot i sits at linear position 2·r0·i along rows of the area's width, one cell
            // (2·r0 high) per row.
            const int32_t pos = mul_wrap(mul_wrap(2, r0), i);
            if (width == 0 || (width == -1 && pos == INT32_MIN)) return;  // would fault
            const int32_t row = pos / width, col = pos % width;
            const int32_t down = mul_wrap(add_wrap(mul_wrap(2, row), 1), r0);
            m.xHome = add_wrap(add_wrap(rc.left, r0), col);
            m.yHome = (p->dwFlags & kLayoutBits) == PTC_GRIDDOWN ? add_wrap(rc.top, down)
                                                                  : sub_wrap(rc.bottom, down);
            break;
        }
        default: break;
    }
}

}  // namespace mediakit

using namespace mediakit;

extern "C" void MEDIAKIT_CALL ptc_SetCondition(double flowX, double flowY, double accelY,
                                               double accelX, LONG seed) {
    g_ptcCondition = PtcCondition{flowX, flowY, accelY, accelX};
    if (seed != 0) thread_srand(static_cast<uint32_t>(std::time(nullptr)));
}

extern "C" PowderData* MEDIAKIT_CALL ptc_CreatePowder(
    DWORD flags, DWORD spawnLimit, LONG x, LONG y, LONG count, LONG radiusStart, LONG radiusEnd,
    LONG life, DWORD decay, LONG speed, double angle, LONG spread, double weight, LONG scatter,
    DWORD rate, DWORD decayRange, LONG speedRange, DWORD wobbleX, DWORD wobbleY) {
    PowderData* p = alloc_powder();
    if (!p) return nullptr;
    store_common(p, spawnLimit, radiusStart, radiusEnd, life, decay, speed, angle, spread, weight,
                 scatter, rate, decayRange, speedRange, wobbleX, wobbleY);
    p->dwFlags = flags | PTC_USERPOS;
    p->nMaxAlive = count;
    p->nCount = count;
    p->lpMatters = alloc_matters(count);
    if (!p->lpMatters) {
        std::free(p);
        return nullptr;
    }
    ptc_UserPos(p, x, y);
    return p;
}

extern "C" PowderData* MEDIAKIT_CALL ptc_CreateBltPowder(
    DWORD flags, DWORD spawnLimit, LONG left, LONG top, LONG right, LONG bottom, LONG maxAlive,
    LONG radiusStart, LONG radiusEnd, LONG life, DWORD decay, LONG speed, double angle,
    LONG spread, double weight, LONG scatter, DWORD rate, DWORD decayRange, LONG speedRange,
    DWORD wobbleX, DWORD wobbleY) {
    PowderData* p = alloc_powder();
    if (!p) return nullptr;
    store_common(p, spawnLimit, radiusStart, radiusEnd, life, decay, speed, angle, spread, weight,
                 scatter, rate, decayRange, speedRange, wobbleX, wobbleY);
    p->dwFlags = flags | PTC_BLTPOWDER;
    p->rcArea = RECT{left, top, right, bottom};
    p->nMaxAlive = maxAlive;
    // The number of 2r × 2r cells in the area, to the nearest whole number. A cell radius
    // of 0 divides by 0.0: the count comes out undefined (0x80000000) and is refused below.
    const int32_t cell = mul_wrap(mul_wrap(radiusStart, radiusStart), 4);
    p->nCount = trunc_i32(static_cast<double>(sub_wrap(bottom, top)) * sub_wrap(right, left) /
                              cell + 0.5);
    p->lpMatters = alloc_matters(p->nCount);
    if (!p->lpMatters) {
        std::free(p);
        return nullptr;
    }
    ptc_AutoPos(p, p->rcArea);
    return p;
}

extern "C" PowderData* MEDIAKIT_CALL ptc_ReAllocMatters(PowderData* powder, LONG count) {
    if (!powder) return nullptr;
    std::free(powder->lpMatters);
    powder->nCount = count;
    powder->lpMatters = alloc_matters(count);
    if (!powder->lpMatters) {
        ptc_DeleteParticleMatters(powder);
        return nullptr;
    }
    return powder;
}

extern "C" void MEDIAKIT_CALL ptc_DeleteParticleMatters(PowderData* powder) {
    if (!powder) return;
    std::free(powder->lpMatters);
    std::free(powder);
}

extern "C" void MEDIAKIT_CALL ptc_UserPos(PowderData* powder, LONG x, LONG y) {
    if (!powder) return;
    powder->xEmit = x;
    powder->yEmit = y;
}

extern "C" void MEDIAKIT_CALL ptc_AutoPos(PowderData* powder, RECT rc) {
    if (!powder) return;
    for (int32_t i = 0; i < powder->nCount; ++i) PlaceParticleHome(powder, i, rc);
}

extern "C" void MEDIAKIT_CALL ptc_Create(DWORD elapsed, PowderData* powder) {
    PowderData* p = powder;
    if (!p || p->nAlive >= p->nMaxAlive || elapsed == 0) return;
    if (p->dwFlags & PTC_ALLATONCE) p->nAllowed = p->nMaxAlive;
    if ((p->dwFlags & PTC_GRADUAL) && p->nMaxAlive > p->nAllowed) p->nAllowed += 1;
    for (int32_t i = 0; i < p->nCount; ++i) {
        ParticleMatter& m = p->lpMatters[i];
        if (!(m.dLife <= 0) || (p->nSpawnLimit != 0 && m.nSpawned >= p->nSpawnLimit)) continue;
        if (static_cast<uint32_t>(thread_rand() % 100) >= p->nRate) continue;
        if (p->nAlive >= p->nAllowed) continue;
        p->nAlive += 1;
        if (p->nSpawnLimit != 0) m.nSpawned += 1;
        spawn(p, i, m);
    }
}

extern "C" BOOL MEDIAKIT_CALL ptc_Move(DWORD elapsed, PowderData* powder) {
    PowderData* p = powder;
    if (!p) return 0;
    const PtcCondition& env = g_ptcCondition;
    // Life per pixel of radius: the radius falls linearly with the life from nRadiusStart
    // to nRadiusEnd (equal radii give an infinite ratio and the radius stays nRadiusEnd).
    const double lpr = static_cast<double>(p->nLife) / sub_wrap(p->nRadiusStart, p->nRadiusEnd);
    const double dt = elapsed * 0.001;
    BOOL any = 0;
    for (int32_t i = 0; i < p->nCount; ++i) {
        ParticleMatter& m = p->lpMatters[i];
        if (!(m.dLife > 0)) continue;
        any = 1;
        // The wobble changes the velocity once per call, not scaled by the elapsed time.
        const uint32_t wx = p->nWobbleX, wy = p->nWobbleY;
        const int32_t jx = static_cast<int32_t>(static_cast<uint32_t>(thread_rand()) % (2 * wx + 1) - wx);
        const int32_t jy = static_cast<int32_t>(static_cast<uint32_t>(thread_rand()) % (2 * wy + 1) - wy);
        m.dLife = m.dLife - m.nFade * dt;
        if (m.dLife <= 0) p->nAlive = sub_wrap(p->nAlive, 1);
        m.dVX = ((env.dAccelX * p->dWeight) * dt + jx) + m.dVX;
        m.dVY = ((env.dAccelY * p->dWeight) * dt + jy) + m.dVY;
        m.dX = (env.dFlowX + m.dVX) * dt + m.dX;
        m.dY = (env.dFlowY + m.dVY) * dt + m.dY;
        m.nRadius = trunc_i32(m.dLife / lpr + p->nRadiusEnd);
    }
    return any;
}

// With useLife 0 the colour renderer's strength is 0, which changes no pixel: it then
// draws nothing at all instead of rewriting every covered pixel with its own value.
extern "C" void MEDIAKIT_CALL ptc_RenderColorParticle(BitmapData* dst, PowderData* powder,
                                                      COLORREF colour, const BitmapData* mask,
                                                      BOOL useLife) {
    ImageView d, mv;
    if (!powder || !useLife || !make_view(dst, &d) || d.bit_count != 24) return;
    if (mask && !make_view(mask, &mv)) return;
    for (int32_t i = 0; i < powder->nCount; ++i) {
        const ParticleMatter& m = powder->lpMatters[i];
        if (!(m.dLife > 0)) continue;
        const int32_t r = m.nRadius;
        const uint32_t size = 2u * static_cast<uint32_t>(r);
        color_ellipse(d, sub_wrap(trunc_i32(m.dX), r), sub_wrap(trunc_i32(m.dY), r), size, size,
                      colour, mask ? &mv : nullptr, sub_wrap(m.xHome, r), sub_wrap(m.yHome, r),
                      trunc_i32(m.dLife));
    }
}

// Texture and mask come from the slot's home, wherever the particle is.
extern "C" void MEDIAKIT_CALL ptc_RenderImageParticle(PowderData* powder, BitmapData* dst,
                                                      int ox, int oy, const BitmapData* image,
                                                      int sx, int sy, const BitmapData* mask,
                                                      int mx, int my, BOOL useLife) {
    ImageView d, s, mv;
    if (!powder || !make_view(dst, &d) || d.bit_count != 24 || !make_view(image, &s)) return;
    if (mask && !make_view(mask, &mv)) return;
    for (int32_t i = 0; i < powder->nCount; ++i) {
        const ParticleMatter& m = powder->lpMatters[i];
        if (!(m.dLife > 0)) continue;
        const int32_t r = m.nRadius, alpha = useLife ? trunc_i32(m.dLife) : 256;
        if (alpha == 0) continue;
        const uint32_t size = 2u * static_cast<uint32_t>(r);
        const int32_t hx = sub_wrap(m.xHome, r), hy = sub_wrap(m.yHome, r);
        image_ellipse(d, add_wrap(sub_wrap(trunc_i32(m.dX), r), ox),
                      add_wrap(sub_wrap(trunc_i32(m.dY), r), oy), size, size, s, add_wrap(hx, sx),
                      add_wrap(hy, sy), mask ? &mv : nullptr, add_wrap(hx, mx), add_wrap(hy, my),
                      alpha);
    }
}

extern "C" void MEDIAKIT_CALL ptc_BlockBlt(PowderData* powder, BitmapData* dst,
                                           const BitmapData* src) {
    if (!powder) return;
    const int32_t r0 = powder->nRadiusStart, size = mul_wrap(2, r0);
    for (int32_t i = 0; i < powder->nCount; ++i) {
        const ParticleMatter& m = powder->lpMatters[i];
        if (m.nSpawned >= powder->nSpawnLimit) continue;
        const int32_t x = sub_wrap(m.xHome, r0), y = sub_wrap(m.yHome, r0);
        FastBlt(dst, x, y, size, size, src, x, y);
    }
}

extern "C" void MEDIAKIT_CALL ptc_ColorEraseParticle(DWORD elapsed, PowderData* powder,
                                                     BitmapData* dst, COLORREF colour,
                                                     const BitmapData* mask,
                                                     const BitmapData* src) {
    ptc_Move(elapsed, powder);
    ptc_Create(elapsed, powder);
    if (src) ptc_BlockBlt(powder, dst, src);
    ptc_RenderColorParticle(dst, powder, colour, mask, 1);
}

extern "C" void MEDIAKIT_CALL ptc_ImageEraseParticle(DWORD elapsed, PowderData* powder,
                                                     BitmapData* dst, const BitmapData* image,
                                                     const BitmapData* mask,
                                                     const BitmapData* src) {
    ptc_Move(elapsed, powder);
    ptc_Create(elapsed, powder);
    if (src) ptc_BlockBlt(powder, dst, src);
    if (dst && image) ptc_RenderImageParticle(powder, dst, 0, 0, image, 0, 0, mask, 0, 0, 1);
}
