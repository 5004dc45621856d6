// Cases of the DLL benchmark. A case file registers, per export and path, a function that
// prepares its images for one size and hands back the call to time:
//
//   MKDLL_BENCH("FastBlt, MMX path", [](Sizes s, std::function<void()>* run) { ... });
#pragma once

#include <windows.h>

#include <functional>
#include <memory>

#include "mediakit.h"

namespace mkdllbench {

struct Sizes {
    int w, h;
};

/// A DIB-section record of varied pixels, released at the end.
struct Image {
    Image(int w, int h, WORD bits, uint32_t seed);
    ~Image();
    BitmapData bd{};
};

struct Case {
    const char* name;
    std::function<void(Sizes, std::function<void()>*)> make;
};

struct Registrar {
    Registrar(const char* name, std::function<void(Sizes, std::function<void()>*)> make);
};

#define MKDLL_BENCH_CAT2(a, b) a##b
#define MKDLL_BENCH_CAT(a, b) MKDLL_BENCH_CAT2(a, b)
#define MKDLL_BENCH(name, ...) \
    static ::mkdllbench::Registrar MKDLL_BENCH_CAT(mkdll_case_, __LINE__)(name, __VA_ARGS__)

}  // namespace mkdllbench
