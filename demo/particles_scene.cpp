// A picture breaking up into particles: a blt powder over the picture releases its cells
// at random, each flying off as a disc of its own piece of the picture and falling under
// gravity, while the cells not yet released are copied back every frame. Beside it a
// fountain of coloured sparks whose emitter follows an animation curve sampled from a
// cubic spline. Frames are saved as BMP files.
#include <cmath>
#include <cstring>

#include "host.h"

namespace demo {
namespace {

constexpr int kWidth = 320, kHeight = 240, kCell = 8;  // 16 × 16 cells, 20 to a row
constexpr DWORD kFrameMs = 33;
constexpr int kMaxFrames = 500;

bool draw_picture(const Host& host, BitmapData* bd) {
    if (!MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, bd)) return false;
    const int stride = MK_GET(host, BytesPerLine)(&bd->lpbmi->bmiHeader);
    for (int y = 0; y < kHeight; ++y) {
        BYTE* row = bd->lpBits + (kHeight - 1 - y) * stride;
        for (int x = 0; x < kWidth; ++x) {
            row[3 * x] = BYTE(160 + 95 * y / kHeight);
            row[3 * x + 1] = BYTE(60 + 120 * x / kWidth);
            row[3 * x + 2] = BYTE(40 + 60 * ((x / 40 + y / 40) & 1));
        }
    }
    HBRUSH brush = CreateSolidBrush(RGB(255, 200, 40));
    HGDIOBJ old = SelectObject(bd->hdc, brush);
    Ellipse(bd->hdc, 100, 50, 220, 170);
    SelectObject(bd->hdc, old);
    DeleteObject(brush);
    SetBkMode(bd->hdc, TRANSPARENT);
    TextOutA(bd->hdc, 126, 102, "mediakit", 8);
    GdiFlush();
    return true;
}

void clear(BitmapData* bd, BYTE value) {
    std::memset(bd->lpBits, value, size_t(bd->lpbmi->bmiHeader.biHeight) * ((kWidth * 3 + 3) & ~3));
}

// The emitter's horizontal position over the scene's first 4 seconds, eased in and
// overshooting a little before it settles: knots (time in seconds, fraction of the width).
bool build_curve(const Host& host, SplineData* curve) {
    const float t[] = {0.0f, 1.0f, 2.0f, 2.6f, 3.2f, 4.0f};
    const float v[] = {0.15f, 0.25f, 0.70f, 0.90f, 0.82f, 0.85f};
    if (!MK_GET(host, InitSpline)(curve, 5)) return false;
    for (int i = 0; i < 6; ++i) {
        curve->lpX[i] = t[i];
        curve->lpY[i] = v[i];
    }
    MK_GET(host, BuildSpline)(curve);
    auto calc = MK_GET(host, CalcSpline);
    std::printf("   emitter curve (spline through 6 knots), x as a fraction of the width:\n");
    bool through_knots = true;
    for (int i = 0; i <= 16; ++i) {
        const float s = 0.25f * i, value = calc(curve, s);
        std::printf("   t=%4.2fs %5.3f |%*s*\n", s, value, int(value * 50), "");
    }
    for (int i = 0; i < 6; ++i) through_knots = through_knots && std::fabs(calc(curve, t[i]) - v[i]) < 1e-5f;
    std::printf("   the curve passes through its knots: %s\n", through_knots ? "yes" : "NO");
    return through_knots;
}

// Pixels of the frame that differ from the picture outside the cells released so far.
int stray_pixels(const BitmapData& frame, const BitmapData& picture, const PowderData& powder) {
    const int stride = (kWidth * 3 + 3) & ~3;
    int stray = 0;
    for (int i = 0; i < powder.nCount; ++i) {
        const ParticleMatter& m = powder.lpMatters[i];
        if (m.nSpawned) continue;
        for (int y = m.yHome - kCell; y < m.yHome + kCell; ++y)
            for (int x = m.xHome - kCell; x < m.xHome + kCell; ++x) {
                const size_t at = size_t(kHeight - 1 - y) * stride + 3 * x;
                stray += std::memcmp(frame.lpBits + at, picture.lpBits + at, 3) != 0;
            }
    }
    return stray;
}

}  // namespace

bool particles_scene(const Host& host) {
    auto delete_bitmap = MK_GET(host, DeleteBitmapData);
    auto save_bitmap = MK_GET(host, SaveBitmapData);
    auto block_blt = MK_GET(host, ptc_BlockBlt);
    auto render_image = MK_GET(host, ptc_RenderImageParticle);
    auto move = MK_GET(host, ptc_Move);
    auto create = MK_GET(host, ptc_Create);
    auto render_colour = MK_GET(host, ptc_RenderColorParticle);
    auto calc = MK_GET(host, CalcSpline);

    BitmapData picture{}, frame{};
    SplineData curve{};
    if (!draw_picture(host, &picture) ||
        !MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, &frame) || !build_curve(host, &curve))
        return false;
    MK_GET(host, SetUsageMMX)(1);
    // Gravity, no drift; the generator is left unseeded, so every run gives the same frames.
    MK_GET(host, ptc_SetCondition)(0, 0, 420, 0, 0);
    // Every cell has a 4% chance per frame to be released; released cells fly outwards in
    // every direction, shrink to radius 1 and fade out.
    PowderData* breakup = MK_GET(host, ptc_CreateBltPowder)(
        PTC_GRIDDOWN | PTC_ALLATONCE | PTC_SCATTER_DIR, 1, 0, 0, kWidth, kHeight, 10000, kCell, 1, 256, 90, 140,
        0, 180, 1.0, 3, 4, 160, 8, 12, 12);
    PowderData* sparks = MK_GET(host, ptc_CreatePowder)(PTC_GRADUAL, 0, kWidth / 2, kHeight - 10, 120, 3, 0, 256,
                                                        300, 260, 0, 25, 0.6, 0, 60, 200, 6, 20, 10);
    if (!breakup || !sparks) return false;
    std::printf("   blt powder: %d cells of %dx%d over %dx%d; sparks: %d slots\n", int(breakup->nCount), 2 * kCell,
                2 * kCell, kWidth, kHeight, int(sparks->nCount));

    bool ok = true;
    int frames = 0, saved = 0;
    for (; frames < kMaxFrames; ++frames) {
        // ptc_ImageEraseParticle makes these four calls in one; spelled out, the frame can
        // be checked after the unreleased cells are restored and before particles cover them.
        clear(&frame, 24);
        move(kFrameMs, breakup);
        create(kFrameMs, breakup);
        block_blt(breakup, &frame, &picture);
        if (frames % 25 == 0) {
            const int stray = stray_pixels(frame, picture, *breakup);
            ok = ok && stray == 0;
            if (stray) std::printf("   frame %d: %d pixels of unreleased cells differ from the picture\n", frames, stray);
        }
        render_image(breakup, &frame, 0, 0, &picture, 0, 0, nullptr, 0, 0, 1);
        const float seconds = frames * kFrameMs / 1000.0f;
        MK_GET(host, ptc_UserPos)(sparks, LONG(calc(&curve, seconds < 4 ? seconds : 4.0f) * kWidth), kHeight - 10);
        move(kFrameMs, sparks);
        if (frames < 200) create(kFrameMs, sparks);  // the fountain stops feeding after 200 frames
        render_colour(&frame, sparks, RGB(255, 240, 160), nullptr, 1);
        if (frames % 30 == 0) {
            char name[40];
            std::snprintf(name, sizeof name, "particles_%03d.bmp", frames);
            save_bitmap(host.path(name).c_str(), &frame);
            ++saved;
        }
        bool released = true;
        for (int i = 0; i < breakup->nCount && released; ++i) released = breakup->lpMatters[i].nSpawned == 1;
        if (released && breakup->nAlive == 0 && sparks->nAlive == 0) break;
    }
    const bool ended = frames < kMaxFrames;
    std::printf("   %d frames (%d saved as particles_NNN.bmp); unreleased cells always intact: %s; "
                "the effect ended: %s\n",
                frames + 1, saved, ok ? "yes" : "NO", ended ? "yes" : "NO");
    MK_GET(host, ptc_DeleteParticleMatters)(breakup);
    MK_GET(host, ptc_DeleteParticleMatters)(sparks);
    MK_GET(host, DeleteSpline)(&curve);
    delete_bitmap(&frame);
    delete_bitmap(&picture);
    return ok && ended;
}

}  // namespace demo
