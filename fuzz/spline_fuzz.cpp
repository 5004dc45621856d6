// Spline tables from arbitrary knots (any float, NaN and infinities included, in any
// order) sampled at arbitrary parameters, with tables made, rebuilt and released in any
// order: nothing is read past the tables and no arithmetic is undefined.
#include <cstring>

#include "platform/win32_types.h"
#include "mediakit.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    size_t at = 0;
    auto next = [&] {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | (at < size ? data[at++] : 0);
        return v;
    };
    auto value = [&] {  // mostly sixteenths, now and then any float
        const uint32_t bits = next();
        float f;
        return (bits & 0x300) ? static_cast<float>(static_cast<int32_t>(bits) % 4096) / 16 : (std::memcpy(&f, &bits, 4), f);
    };
    SplineData spline{};
    for (int round = 0; round < 3 && at < size; ++round) {
        const int32_t n = static_cast<int32_t>(next() % 80) - 2;
        if (!InitSpline(&spline, n)) continue;
        for (int32_t i = 0; i <= n; ++i) spline.lpX[i] = value(), spline.lpY[i] = value();
        BuildSpline(&spline);
        for (int k = 0; k < 24; ++k) CalcSpline(&spline, value());
        if (next() & 1) DeleteSpline(&spline);
    }
    DeleteSpline(&spline);
    return 0;
}
