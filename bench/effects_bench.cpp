// Ellipse stamps of radius 4, 16 and 64 (boxes of 8, 32 and 128 pixels, measured beside
// memcpy of the box's rows), and a frame of 2,000 particles on a 640 × 480 buffer.
#include <cstring>
#include <memory>

#include "bench_support.h"
#include "platform/win32_types.h"
#include "mediakit.h"

namespace {

// A heap record over a Pixels block.
struct Record {
    Record(int w, int h, uint32_t seed) : pixels(w, h, seed) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = 24;
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.bytes.data();
    }
    mkbench::Pixels pixels;
    BITMAPINFOHEADER info{};
    BitmapData bd{};
};

// Stamps at 64 places spread over a 640 × 480 destination, all inside it.
template <class Stamp>
void stamp_bench(benchmark::State& state, Stamp stamp) {
    const int size = int(state.range(0));
    Record dst(640, 480, 1), src(640, 480, 2), mask(640, 480, 3);
    for (uint8_t& b : mask.pixels.bytes) b |= 1;  // every mask pixel lets the stamp through
    int i = 0;
    for (auto _ : state) {
        const int x = (i * 97) % (640 - size), y = (i * 61) % (480 - size);
        stamp(&dst.bd, x, y, size, &src.bd, &mask.bd);
        ++i;
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, size, size);
}

void BM_ColorEllipse(benchmark::State& s) {
    stamp_bench(s, [](BitmapData* d, int x, int y, int n, BitmapData*, BitmapData*) {
        ColorEllipse(d, x, y, n, n, 0x00336699, nullptr, 0, 0, 200);
    });
}
void BM_ColorEllipse_mask(benchmark::State& s) {
    stamp_bench(s, [](BitmapData* d, int x, int y, int n, BitmapData*, BitmapData* m) {
        ColorEllipse(d, x, y, n, n, 0x00336699, m, x, y, 200);
    });
}
void BM_ImageEllipse(benchmark::State& s) {
    stamp_bench(s, [](BitmapData* d, int x, int y, int n, BitmapData* src, BitmapData*) {
        ImageEllipse(d, x, y, n, n, src, y, x / 2, nullptr, 0, 0, 256);
    });
}
void BM_ImageEllipse_alpha(benchmark::State& s) {
    stamp_bench(s, [](BitmapData* d, int x, int y, int n, BitmapData* src, BitmapData*) {
        ImageEllipse(d, x, y, n, n, src, y, x / 2, nullptr, 0, 0, 200);
    });
}
void BM_ImageEllipse_mask(benchmark::State& s) {
    stamp_bench(s, [](BitmapData* d, int x, int y, int n, BitmapData* src, BitmapData* m) {
        ImageEllipse(d, x, y, n, n, src, y, x / 2, m, x, y, 200);
    });
}

void stamp_sizes(benchmark::internal::Benchmark* b) { b->Args({8, 8})->Args({32, 32})->Args({128, 128}); }

using mkbench::BM_memcpy_rows;
BENCHMARK(BM_memcpy_rows)->Apply(stamp_sizes);
BENCHMARK(BM_ColorEllipse)->Apply(stamp_sizes);
BENCHMARK(BM_ColorEllipse_mask)->Apply(stamp_sizes);
BENCHMARK(BM_ImageEllipse)->Apply(stamp_sizes);
BENCHMARK(BM_ImageEllipse_alpha)->Apply(stamp_sizes);
BENCHMARK(BM_ImageEllipse_mask)->Apply(stamp_sizes);

struct PowderDeleter {
    void operator()(PowderData* p) const { ptc_DeleteParticleMatters(p); }
};

// A fountain of 2,000 slots in the middle of the frame, run until nearly all are alive;
// each iteration is one frame: move, spawn into the slots that died, draw.
template <class Render>
void particle_frame(benchmark::State& state, Render render) {
    const int w = int(state.range(0)), h = int(state.range(1));
    Record frame(w, h, 4), picture(w, h, 5);
    ptc_SetCondition(0, 0, 60, 0, 0);
    std::unique_ptr<PowderData, PowderDeleter> powder(ptc_CreatePowder(
        PTC_ALLATONCE, 0, w / 2, h / 2, 2000, 8, 1, 256, 60, 120, 0, 180, 1, 0, 100, 30, 10, 4, 4));
    for (int i = 0; i < 300; ++i) {
        ptc_Move(16, powder.get());
        ptc_Create(16, powder.get());
    }
    int64_t alive = 0;
    for (auto _ : state) {
        ptc_Move(16, powder.get());
        ptc_Create(16, powder.get());
        render(&frame.bd, powder.get(), &picture.bd);
        alive += powder->nAlive;
        benchmark::ClobberMemory();
    }
    state.counters["alive"] = double(alive) / double(state.iterations());
    mkbench::count_pixels(state, w, h);
}

void BM_particle_frame_colour(benchmark::State& s) {
    particle_frame(s, [](BitmapData* f, PowderData* p, BitmapData*) { ptc_RenderColorParticle(f, p, 0x0080C0FF, nullptr, 1); });
}
void BM_particle_frame_image(benchmark::State& s) {
    particle_frame(s, [](BitmapData* f, PowderData* p, BitmapData* pic) {
        ptc_RenderImageParticle(p, f, 0, 0, pic, 0, 0, nullptr, 0, 0, 1);
    });
}

BENCHMARK(BM_particle_frame_colour)->Args({640, 480});
BENCHMARK(BM_particle_frame_image)->Args({640, 480});

}  // namespace
