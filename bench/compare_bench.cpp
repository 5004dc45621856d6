// mediakit beside general-purpose compositors doing the nearest equivalent work on the same
// 24-bit BGR images, in the same run:
//   mask-weighted blend      MaskAlphaBlt2          pixman OVER r8g8b8 through an a8 mask
//   constant-alpha blend     AlphaBlendBlt          pixman SRC then OVER with a solid mask;
//                                                   SDL2 copy then blit with an alpha mod
//   black colour-key copy    ColorKeyBlt            SDL2 blit with a colour key
//   3:1 area reduction       BilinearBlt            stb_image_resize box filter; pixman box
//                                                   separable convolution
// Every benchmark takes the destination size as its arguments, so bench/run.sh prints its
// time as a multiple of memcpy of the destination rows.
#include <SDL2/SDL.h>
#include <pixman.h>

#include <cstring>
#include <memory>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>

#include "bench_support.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace {

using mkbench::Pixels;

// A heap record over a Pixels block, as the library sees an image loaded from a file.
struct Record {
    Record(int w, int h, uint32_t seed, WORD bits = 24) : pixels(w, h, seed) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = bits;
        if (bits == 8) pixels.stride = (w + 3) & ~3;
        bd.bmfHeader.bfType = mediakit::kBmpMagic;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.bytes.data();
    }
    Pixels pixels;
    BITMAPINFOHEADER info{};
    BitmapData bd{};
};

void set_path(bool mmx) {
    mediakit::g_mmxAvailable = 1;
    SetUsageMMX(mmx);
}

pixman_image_t* pixman_rgb(Pixels& p) {
    return pixman_image_create_bits(PIXMAN_r8g8b8, p.width, p.height,
                                    reinterpret_cast<uint32_t*>(p.bytes.data()), p.stride);
}

SDL_Surface* sdl_bgr(Pixels& p) {
    return SDL_CreateRGBSurfaceWithFormatFrom(p.bytes.data(), p.width, p.height, 24, p.stride,
                                              SDL_PIXELFORMAT_BGR24);
}

// Black on about a third of the pixels, in runs, as a sprite sheet has it.
void blacken_runs(Pixels& p) {
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x)
            if ((x / 16 + y / 8) % 3 == 0) std::memset(&p.bytes[size_t(y) * p.stride + 3 * x], 0, 3);
}

void finish(benchmark::State& state, const void* dst) {
    benchmark::DoNotOptimize(dst);
    benchmark::ClobberMemory();
    (void)state;
}

// ---- mask-weighted blend --------------------------------------------------------------

void mask_blend_ours(benchmark::State& state, bool mmx, WORD mask_bits) {
    int w = int(state.range(0)), h = int(state.range(1));
    Record dst(w, h, 1), src(w, h, 2), mask(w, h, 3, mask_bits);
    set_path(mmx);
    for (auto _ : state) {
        MaskAlphaBlt2(&dst.bd, 0, 0, w, h, &src.bd, 0, 0, &mask.bd, 0, 0, 256);
        finish(state, dst.bd.lpBits);
    }
    mkbench::count_pixels(state, w, h);
}
void BM_MaskAlphaBlt2_mmx_m24(benchmark::State& s) { mask_blend_ours(s, true, 24); }
void BM_MaskAlphaBlt2_pixel_m8(benchmark::State& s) { mask_blend_ours(s, false, 8); }

void BM_pixman_over_r8g8b8_a8(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), src(w, h, 2), mask(w, h, 3);
    mask.stride = (w + 3) & ~3;
    pixman_image_t *d = pixman_rgb(dst), *s = pixman_rgb(src);
    pixman_image_t* m = pixman_image_create_bits(PIXMAN_a8, w, h, reinterpret_cast<uint32_t*>(mask.bytes.data()),
                                                 mask.stride);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_OVER, s, m, d, 0, 0, 0, 0, 0, 0, w, h);
        finish(state, dst.bytes.data());
    }
    pixman_image_unref(d);
    pixman_image_unref(s);
    pixman_image_unref(m);
    mkbench::count_pixels(state, w, h);
}

// ---- constant-alpha blend of two images -------------------------------------------------

void alpha_blend_ours(benchmark::State& state, bool mmx) {
    int w = int(state.range(0)), h = int(state.range(1));
    Record dst(w, h, 1), a(w, h, 2), b(w, h, 3);
    set_path(mmx);
    for (auto _ : state) {
        AlphaBlendBlt(&dst.bd, 0, 0, w, h, &a.bd, 0, 0, &b.bd, 0, 0, 100);
        finish(state, dst.bd.lpBits);
    }
    mkbench::count_pixels(state, w, h);
}
void BM_AlphaBlendBlt_mmx(benchmark::State& s) { alpha_blend_ours(s, true); }
void BM_AlphaBlendBlt_pixel(benchmark::State& s) { alpha_blend_ours(s, false); }

void BM_pixman_src_then_over_solid_mask(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), a(w, h, 2), b(w, h, 3);
    pixman_image_t *d = pixman_rgb(dst), *pa = pixman_rgb(a), *pb = pixman_rgb(b);
    pixman_color_t alpha = {0, 0, 0, 100 * 257};
    pixman_image_t* m = pixman_image_create_solid_fill(&alpha);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, pa, nullptr, d, 0, 0, 0, 0, 0, 0, w, h);
        pixman_image_composite32(PIXMAN_OP_OVER, pb, m, d, 0, 0, 0, 0, 0, 0, w, h);
        finish(state, dst.bytes.data());
    }
    for (pixman_image_t* i : {d, pa, pb, m}) pixman_image_unref(i);
    mkbench::count_pixels(state, w, h);
}

void BM_sdl2_copy_then_alpha_blit(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), a(w, h, 2), b(w, h, 3);
    SDL_Surface *d = sdl_bgr(dst), *sa = sdl_bgr(a), *sb = sdl_bgr(b);
    SDL_SetSurfaceBlendMode(sa, SDL_BLENDMODE_NONE);
    SDL_SetSurfaceBlendMode(sb, SDL_BLENDMODE_BLEND);
    SDL_SetSurfaceAlphaMod(sb, 100);
    for (auto _ : state) {
        SDL_BlitSurface(sa, nullptr, d, nullptr);
        SDL_BlitSurface(sb, nullptr, d, nullptr);
        finish(state, dst.bytes.data());
    }
    for (SDL_Surface* s : {d, sa, sb}) SDL_FreeSurface(s);
    mkbench::count_pixels(state, w, h);
}

// ---- black colour-key copy --------------------------------------------------------------

void BM_ColorKeyBlt(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Record dst(w, h, 1), src(w, h, 2);
    blacken_runs(src.pixels);
    for (auto _ : state) {
        ColorKeyBlt(&dst.bd, 0, 0, w, h, &src.bd, 0, 0);
        finish(state, dst.bd.lpBits);
    }
    mkbench::count_pixels(state, w, h);
}

void BM_sdl2_colorkey_blit(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), src(w, h, 2);
    blacken_runs(src);
    SDL_Surface *d = sdl_bgr(dst), *s = sdl_bgr(src);
    SDL_SetColorKey(s, SDL_TRUE, 0);
    for (auto _ : state) {
        SDL_BlitSurface(s, nullptr, d, nullptr);
        finish(state, dst.bytes.data());
    }
    SDL_FreeSurface(d);
    SDL_FreeSurface(s);
    mkbench::count_pixels(state, w, h);
}

// ---- 3:1 area reduction -----------------------------------------------------------------
// The arguments are the destination size; the source is three times as wide and high.
// Items counted are source pixels.

void BM_BilinearBlt_third(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Record dst(w, h, 1), src(3 * w, 3 * h, 2);
    for (auto _ : state) {
        BilinearBlt(&dst.bd, 0, 0, w, h, &src.bd, 0, 0, 3 * w, 3 * h);
        finish(state, dst.bd.lpBits);
    }
    mkbench::count_pixels(state, 3 * w, 3 * h);
}

void BM_stbir_box_third(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), src(3 * w, 3 * h, 2);
    for (auto _ : state) {
        stbir_resize_uint8_generic(src.bytes.data(), src.width, src.height, src.stride, dst.bytes.data(), w, h,
                                   dst.stride, 3, STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP, STBIR_FILTER_BOX,
                                   STBIR_COLORSPACE_LINEAR, nullptr);
        finish(state, dst.bytes.data());
    }
    mkbench::count_pixels(state, 3 * w, 3 * h);
}

void BM_pixman_box_third(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels dst(w, h, 1), src(3 * w, 3 * h, 2);
    pixman_image_t *d = pixman_rgb(dst), *s = pixman_rgb(src);
    pixman_transform_t scale;
    pixman_transform_init_scale(&scale, pixman_int_to_fixed(3), pixman_int_to_fixed(3));
    pixman_image_set_transform(s, &scale);
    int n = 0;
    pixman_fixed_t* params = pixman_filter_create_separable_convolution(
        &n, pixman_int_to_fixed(3), pixman_int_to_fixed(3), PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX,
        PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 1, 1);
    pixman_image_set_filter(s, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, params, n);
    free(params);
    for (auto _ : state) {
        pixman_image_composite32(PIXMAN_OP_SRC, s, nullptr, d, 0, 0, 0, 0, 0, 0, w, h);
        finish(state, dst.bytes.data());
    }
    pixman_image_unref(d);
    pixman_image_unref(s);
    mkbench::count_pixels(state, 3 * w, 3 * h);
}

void reduction_size(benchmark::internal::Benchmark* b) { b->Args({640, 360}); }

BENCHMARK(BM_MaskAlphaBlt2_mmx_m24)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_MaskAlphaBlt2_pixel_m8)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_pixman_over_r8g8b8_a8)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_AlphaBlendBlt_mmx)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_AlphaBlendBlt_pixel)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_pixman_src_then_over_solid_mask)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_sdl2_copy_then_alpha_blit)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_ColorKeyBlt)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_sdl2_colorkey_blit)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_BilinearBlt_third)->Apply(reduction_size);
BENCHMARK(BM_stbir_box_third)->Apply(reduction_size);
BENCHMARK(BM_pixman_box_third)->Apply(reduction_size);
BENCHMARK(mkbench::BM_memcpy_rows)->Name("BM_memcpy_rows")->Apply(reduction_size);

}  // namespace
