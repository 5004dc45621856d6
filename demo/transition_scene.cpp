// A scene transition: an old and a new picture drawn by GDI and a radial transition mask,
// saved as BMP files and loaded back; every frame from t = 0 to 511 drawn with
// MaskTimeAlphaBlt into DIB-section back buffers, once on the MMX path and once per pixel.
// With a grey mask the two paths agree wherever a pixel is still turning (t − m ≤ 255) and
// differ by at most one step where it has turned; the last frame is the new picture.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "host.h"

namespace demo {
namespace {

constexpr int kWidth = 320, kHeight = 240;

// A picture: a vertical gradient between two colours, a disc and a caption.
bool draw_picture(const Host& host, BitmapData* bd, COLORREF top, COLORREF bottom, COLORREF disc,
                  const char* caption) {
    if (!MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, bd)) return false;
    for (int y = 0; y < kHeight; ++y) {
        int mix = 255 * y / (kHeight - 1);
        COLORREF c = RGB((GetRValue(top) * (255 - mix) + GetRValue(bottom) * mix) / 255,
                         (GetGValue(top) * (255 - mix) + GetGValue(bottom) * mix) / 255,
                         (GetBValue(top) * (255 - mix) + GetBValue(bottom) * mix) / 255);
        HPEN pen = CreatePen(PS_SOLID, 1, c);
        HGDIOBJ old = SelectObject(bd->hdc, pen);
        MoveToEx(bd->hdc, 0, y, nullptr);
        LineTo(bd->hdc, kWidth, y);
        SelectObject(bd->hdc, old);
        DeleteObject(pen);
    }
    HBRUSH brush = CreateSolidBrush(disc);
    HGDIOBJ old = SelectObject(bd->hdc, brush);
    Ellipse(bd->hdc, 100, 60, 220, 180);
    SelectObject(bd->hdc, old);
    DeleteObject(brush);
    SetBkMode(bd->hdc, TRANSPARENT);
    TextOutA(bd->hdc, 20, 20, caption, int(std::strlen(caption)));
    GdiFlush();
    return true;
}

// A grey 24-bit mask, dark in the middle and light at the corners: the new picture opens
// from the centre outwards.
bool draw_mask(const Host& host, BitmapData* bd) {
    if (!MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, bd)) return false;
    const int stride = MK_GET(host, BytesPerLine)(&bd->lpbmi->bmiHeader);
    const double corner = std::hypot(kWidth / 2.0, kHeight / 2.0);
    for (int y = 0; y < kHeight; ++y) {
        BYTE* row = bd->lpBits + (kHeight - 1 - y) * stride;
        for (int x = 0; x < kWidth; ++x) {
            BYTE m = BYTE(255.0 * std::hypot(x + 0.5 - kWidth / 2.0, y + 0.5 - kHeight / 2.0) / corner);
            row[3 * x] = row[3 * x + 1] = row[3 * x + 2] = m;
        }
    }
    return true;
}

// Draws, saves and loads back one generated image; false if any step fails.
bool make_file(const Host& host, const char* name, BitmapData* loaded, bool (*draw)(const Host&, BitmapData*)) {
    BitmapData drawn{};
    std::string file = host.path(name);
    bool ok = draw(host, &drawn) && MK_GET(host, SaveBitmapData)(file.c_str(), &drawn);
    MK_GET(host, DeleteBitmapData)(&drawn);
    return ok && MK_GET(host, LoadBitmapData)(file.c_str(), loaded);
}

struct Comparison {
    bool turning_agree = true;  // pixels with t − m ≤ 255 identical on both paths
    bool turned_close = true;   // the others at most one step apart
    long turned_differ = 0;     // bytes where the paths differ
};

void compare(const BYTE* mmx, const BYTE* per_pixel, const BYTE* mask, int stride, int t, Comparison* c) {
    for (int y = 0; y < kHeight; ++y) {
        for (int i = 0; i < 3 * kWidth; ++i) {
            size_t at = size_t(y) * stride + i;
            int diff = std::abs(int(mmx[at]) - int(per_pixel[at]));
            if (t - mask[at] <= 255)
                c->turning_agree = c->turning_agree && diff == 0;
            else
                c->turned_close = c->turned_close && diff <= 1;
            c->turned_differ += diff != 0;
        }
    }
}

}  // namespace

bool transition_scene(const Host& host) {
    auto delete_bitmap = MK_GET(host, DeleteBitmapData);
    auto save_bitmap = MK_GET(host, SaveBitmapData);
    auto transition = MK_GET(host, MaskTimeAlphaBlt);
    BitmapData old_picture{}, new_picture{}, mask{}, back[2]{};
    bool ok = make_file(host, "transition_old.bmp", &old_picture,
                        [](const Host& h, BitmapData* bd) {
                            return draw_picture(h, bd, RGB(40, 90, 200), RGB(180, 220, 255), RGB(250, 250, 250), "old scene");
                        }) &&
              make_file(host, "transition_new.bmp", &new_picture,
                        [](const Host& h, BitmapData* bd) {
                            return draw_picture(h, bd, RGB(250, 120, 30), RGB(60, 10, 60), RGB(255, 220, 0), "new scene");
                        }) &&
              make_file(host, "transition_mask.bmp", &mask, draw_mask);
    for (BitmapData& b : back) ok = ok && MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, &b);
    if (!ok) return false;
    std::printf("   loaded two %dx%d pictures and a %d-bit transition mask\n", kWidth, kHeight,
                int(mask.lpbmi->bmiHeader.biBitCount));

    const int stride = MK_GET(host, BytesPerLine)(&new_picture.lpbmi->bmiHeader);
    const size_t bytes = size_t(stride) * kHeight;
    Comparison cmp;
    bool ends_agree = true;
    int saved = 0;
    for (int t = 0; t <= 511; ++t) {
        for (int mmx = 0; mmx < 2; ++mmx) {
            MK_GET(host, SetUsageMMX)(mmx);
            transition(&back[mmx], 0, 0, kWidth, kHeight, &old_picture, 0, 0, &new_picture, 0, 0, &mask, 0, 0, t);
        }
        compare(back[1].lpBits, back[0].lpBits, mask.lpBits, stride, t, &cmp);
        if (t == 0 || t == 511) ends_agree = ends_agree && std::memcmp(back[0].lpBits, back[1].lpBits, bytes) == 0;
        if (t % 64 == 0 || t == 511) {
            char name[64];
            for (int mmx = 0; mmx < 2; ++mmx) {
                std::snprintf(name, sizeof name, "transition_%s_%03d.bmp", mmx ? "mmx" : "pixel", t);
                saved += save_bitmap(host.path(name).c_str(), &back[mmx]);
            }
        }
    }
    bool last_is_new = std::memcmp(back[0].lpBits, new_picture.lpBits, bytes) == 0 &&
                       std::memcmp(back[1].lpBits, new_picture.lpBits, bytes) == 0;
    MK_GET(host, SetUsageMMX)(1);
    std::printf("   drew t = 0..511 on both paths; wrote %d frames to %s\n", saved, host.out.c_str());
    std::printf("   paths agree at t = 0 and t = 511: %s\n", ends_agree ? "yes" : "NO");
    std::printf("   paths agree wherever a pixel is turning: %s\n", cmp.turning_agree ? "yes" : "NO");
    std::printf("   turned pixels at most one step apart: %s (%ld bytes over all frames)\n",
                cmp.turned_close ? "yes" : "NO", cmp.turned_differ);
    std::printf("   the last frame is the new picture: %s\n", last_is_new ? "yes" : "NO");
    for (BitmapData* bd : {&old_picture, &new_picture, &mask, &back[0], &back[1]}) delete_bitmap(bd);
    return ends_agree && cmp.turning_agree && cmp.turned_close && last_is_new && saved == 18;
}

}  // namespace demo
