// Times the DLL's exports as a host calls them, under Wine (or Windows), beside memcpy of
// the destination rows in the same run. Google Benchmark is not available for the cross
// build, so this is a small harness: each case runs for a fixed time, five times, and the
// median is reported.
//
//   dll_bench.exe [filter]    only cases whose name contains filter
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "dll_bench.h"

namespace mkdllbench {

Image::Image(int w, int h, WORD bits, uint32_t seed) {
    // Palettised sections take their colours from a device context's palette.
    static HDC screen = CreateCompatibleDC(nullptr);
    if (!BufferDIBSection(screen, w, h, bits, nullptr, &bd)) {
        std::fprintf(stderr, "cannot make a %dx%d %d-bit section\n", w, h, bits);
        std::exit(1);
    }
    size_t n = size_t(BytesPerLine(&bd.lpbmi->bmiHeader)) * h;
    uint32_t x = seed * 2654435761u + 1;
    for (size_t i = 0; i < n; ++i) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        bd.lpBits[i] = BYTE(x);
    }
}

Image::~Image() { DeleteBitmapData(&bd); }

std::vector<Case>& cases() {
    static std::vector<Case> all;
    return all;
}

Registrar::Registrar(const char* name, std::function<void(Sizes, std::function<void()>*)> make) {
    cases().push_back({name, std::move(make)});
}

}  // namespace mkdllbench

namespace {

using namespace mkdllbench;

double now_seconds() {
    LARGE_INTEGER t, f;
    QueryPerformanceCounter(&t);
    QueryPerformanceFrequency(&f);
    return double(t.QuadPart) / double(f.QuadPart);
}

// Median over five runs of the time per call, each run about 0.1 s.
double seconds_per_call(const std::function<void()>& run) {
    run();
    int calls = 1;
    double t0 = now_seconds();
    run();
    double once = std::max(now_seconds() - t0, 1e-7);
    calls = std::max(1, int(0.1 / once));
    std::vector<double> times;
    for (int rep = 0; rep < 5; ++rep) {
        double start = now_seconds();
        for (int i = 0; i < calls; ++i) run();
        times.push_back((now_seconds() - start) / calls);
    }
    std::sort(times.begin(), times.end());
    return times[2];
}

}  // namespace

int main(int argc, char** argv) {
    const char* filter = argc > 1 ? argv[1] : "";
    const Sizes sizes[] = {{640, 480}, {1920, 1080}};
    for (const Sizes& size : sizes) {
        Image a(size.w, size.h, 24, 1), b(size.w, size.h, 24, 2);
        int stride = BytesPerLine(&a.bd.lpbmi->bmiHeader);
        double memcpy_time = seconds_per_call([&] {
            for (int y = 0; y < size.h; ++y)
                std::memcpy(b.bd.lpBits + size_t(y) * stride, a.bd.lpBits + size_t(y) * stride, size_t(size.w) * 3);
        });
        std::printf("%-44s %4dx%-4d %9.1f us  %8.0f Mpixel/s  1.00x memcpy time\n", "memcpy of the rows", size.w,
                    size.h, memcpy_time * 1e6, size.w * size.h / memcpy_time / 1e6);
        for (const Case& c : cases()) {
            if (!std::strstr(c.name, filter)) continue;
            std::function<void()> run;
            c.make(size, &run);
            double t = seconds_per_call(run);
            std::printf("%-44s %4dx%-4d %9.1f us  %8.0f Mpixel/s  %5.2fx memcpy time\n", c.name, size.w, size.h,
                        t * 1e6, size.w * size.h / t / 1e6, t / memcpy_time);
        }
    }
    return 0;
}
