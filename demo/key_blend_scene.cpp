// Two pictures, a sprite on a black ground and a grey mask, composed the ways a game does:
// a hard-edged wipe from one picture to the other in the order of the mask's values, a
// cross-fade with the corners picked out through the mask, the sprite keyed over the
// result, a translucent panel and a brightened strip.
// Each frame is saved; the checks compare what must come out exactly.
#include <cstring>
#include <vector>

#include "host.h"

namespace demo {
namespace {

constexpr int kWidth = 320, kHeight = 240;

struct Records {
    BitmapData old_picture{}, new_picture{}, sprite{}, mask{}, back{};
};

BYTE* pixel(const Host& host, BitmapData* bd, int x, int y) {
    int stride = MK_GET(host, BytesPerLine)(&bd->lpbmi->bmiHeader);
    int bytes = bd->lpbmi->bmiHeader.biBitCount / 8;
    return bd->lpBits + (bd->lpbmi->bmiHeader.biHeight - 1 - y) * stride + x * bytes;
}

bool make(const Host& host, Records* r) {
    auto buffer = MK_GET(host, BufferDIBSection);
    RGBQUAD grey[256];
    for (int i = 0; i < 256; ++i) grey[i] = {BYTE(i), BYTE(i), BYTE(i), 0};
    // A palettised section takes its colours through a device context.
    HDC dc = CreateCompatibleDC(nullptr);
    bool made = buffer(nullptr, kWidth, kHeight, 24, nullptr, &r->old_picture) &&
                buffer(nullptr, kWidth, kHeight, 24, nullptr, &r->new_picture) &&
                buffer(nullptr, 96, 96, 24, nullptr, &r->sprite) &&
                buffer(dc, kWidth, kHeight, 8, grey, &r->mask) &&
                buffer(nullptr, kWidth, kHeight, 24, nullptr, &r->back);
    DeleteDC(dc);
    if (!made) return false;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            BYTE* o = pixel(host, &r->old_picture, x, y);
            BYTE* n = pixel(host, &r->new_picture, x, y);
            o[0] = BYTE(40 + x / 4), o[1] = BYTE(60 + y / 3), o[2] = BYTE(200 - x / 3);
            n[0] = BYTE(200 - y / 2), n[1] = BYTE(((x / 20 + y / 20) & 1) ? 220 : 90), n[2] = BYTE(x * 255 / kWidth);
            // The mask: distance from the centre, so the wipe opens as a growing circle.
            int dx = x - kWidth / 2, dy = y - kHeight / 2;
            int d = (dx * dx + dy * dy) / 80;
            *pixel(host, &r->mask, x, y) = BYTE(d > 255 ? 255 : d);
        }
    }
    for (int y = 0; y < 96; ++y) {
        for (int x = 0; x < 96; ++x) {
            BYTE* s = pixel(host, &r->sprite, x, y);
            int dx = x - 48, dy = y - 48;
            bool inside = dx * dx + dy * dy < 44 * 44 && !(dx * dx + (dy + 8) * (dy + 8) < 10 * 10);
            s[0] = inside ? BYTE(30 + y) : 0, s[1] = inside ? BYTE(180 - x) : 0, s[2] = inside ? 250 : 0;
        }
    }
    return true;
}

size_t bytes_of(const Host& host, BitmapData* bd) {
    return size_t(MK_GET(host, BytesPerLine)(&bd->lpbmi->bmiHeader)) * bd->lpbmi->bmiHeader.biHeight;
}

bool same(const Host& host, BitmapData* a, BitmapData* b) {
    return std::memcmp(a->lpBits, b->lpBits, bytes_of(host, a)) == 0;
}

}  // namespace

bool key_blend_scene(const Host& host) {
    Records r;
    if (!make(host, &r)) return false;
    auto copy = [&](BitmapData* to, BitmapData* from) { std::memcpy(to->lpBits, from->lpBits, bytes_of(host, to)); };
    auto save = [&](const char* name) {
        MK_GET(host, SaveBitmapData)(host.path(name).c_str(), &r.back);
        std::printf("   wrote %s\n", host.path(name).c_str());
    };
    bool ok = true;

    // The wipe: at time t every pixel whose mask value is below t shows the new picture.
    const int times[] = {0, 64, 128, 192, 256};
    for (int t : times) {
        copy(&r.back, &r.old_picture);
        MK_GET(host, MaskTimeKeyBlt)(&r.back, 0, 0, kWidth, kHeight, &r.new_picture, 0, 0, &r.mask, 0, 0, t);
        char name[32];
        std::snprintf(name, sizeof name, "wipe_%03d.bmp", t);
        save(name);
    }
    ok = ok && same(host, &r.back, &r.new_picture);
    std::printf("   the wipe at time 256 shows the new picture exactly: %s\n", ok ? "yes" : "NO");

    // The cross-fade on both paths of the switch, then the sprite keyed on top three times.
    std::vector<BYTE> fades[2];
    for (int mmx = 0; mmx < 2; ++mmx) {
        MK_GET(host, SetUsageMMX)(mmx);
        MK_GET(host, AlphaBlendBlt)(&r.back, 0, 0, kWidth, kHeight, &r.old_picture, 0, 0, &r.new_picture, 0, 0, 96);
        fades[mmx].assign(r.back.lpBits, r.back.lpBits + bytes_of(host, &r.back));
    }
    bool fades_agree = fades[0] == fades[1];
    std::printf("   the cross-fade is the same on both paths: %s\n", fades_agree ? "yes" : "NO");
    // The new picture again in the corners, where the mask is above 200, at half strength.
    MK_GET(host, MaskKeyBlt2)(&r.back, 0, 0, kWidth, kHeight, &r.new_picture, 0, 0, &r.mask, 0, 0, 200, 128);
    save("cross_fade.bmp");
    std::vector<BYTE> before(r.back.lpBits, r.back.lpBits + bytes_of(host, &r.back));
    MK_GET(host, ColorKeyBlt)(&r.back, 20, 120, 96, 96, &r.sprite, 0, 0);
    MK_GET(host, ColorKeyBlt2)(&r.back, 112, 72, 96, 96, &r.sprite, 0, 0, 128);
    // A black sprite pixel (its corner, drawn at (20, 120)) keeps the background; one inside
    // its shape (48, 80) is copied.
    size_t corner = size_t(pixel(host, &r.back, 20, 120) - r.back.lpBits);
    bool keyed = std::memcmp(r.back.lpBits + corner, before.data() + corner, 3) == 0 &&
                 std::memcmp(pixel(host, &r.back, 68, 200), pixel(host, &r.sprite, 48, 80), 3) == 0;
    std::printf("   the keyed sprite covers only its own shape: %s\n", keyed ? "yes" : "NO");
    save("sprites.bmp");

    // A panel pulled towards dark blue, and a strip brightened by 60.
    MK_GET(host, FillAlpha)(&r.back, 180, 150, 200, 120, 0x602010, 160);
    MK_GET(host, AddColorValue)(&r.back, 0, 10, 3 * kWidth, 24, 60);
    save("panel.bmp");
    MK_GET(host, SetUsageMMX)(1);

    for (BitmapData* bd : {&r.old_picture, &r.new_picture, &r.sprite, &r.mask, &r.back})
        MK_GET(host, DeleteBitmapData)(bd);
    return ok && fades_agree && keyed;
}

}  // namespace demo
