// Spline tables: allocation, the tridiagonal solve for the knots' second derivatives, and
// evaluation.
//
// Segment lookup. A t inside the knots belongs to the first segment i with
// x[i] ≤ t < x[i + 1]. That is one less than the first j ≥ 1 with t < x[j], so when
// x[1 .. n-1] never decreases it can be found by bisection, and any segment that contains t
// is the first. Whether the knots of a table are ordered is checked once per thread and
// remembered until the next call that may change them (InitSpline, BuildSpline,
// DeleteSpline, on any thread); tables that are not ordered are searched from the start.
#include "spline/spline.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace mediakit {
namespace {

constexpr float kEqualKnotStep = 1e-5f;    // stands in for the width of a segment of equal knots
constexpr double kThird = 0.3333333432674408;  // 1/3 and 1/6 as floats
constexpr double kSixth = 0.1666666716337204;

// Bumped by every call that may reallocate or rewrite tables, so that no thread keeps
// using what it learned about knots that have changed.
std::atomic<uint32_t> g_generation{0};

struct KnotOrder {
    const float* x = nullptr;
    int32_t n = 0;
    uint32_t generation = 0;
    bool ordered = false;
    int32_t last = 0;  // the segment found last, tried first next time
};
thread_local KnotOrder t_order;

// True when x[1 .. n-1] never decreases and holds no NaN.
bool inner_knots_ordered(const float* x, int32_t n) {
    for (int32_t j = 1; j + 1 < n; ++j)
        if (!(x[j] <= x[j + 1])) return false;
    return n < 2 || x[1] == x[1];
}

KnotOrder& order_of(const float* x, int32_t n) {
    KnotOrder& o = t_order;
    const uint32_t gen = g_generation.load(std::memory_order_acquire);
    if (o.x != x || o.n != n || o.generation != gen) {
        o = KnotOrder{x, n, gen, inner_knots_ordered(x, n), 0};
    }
    return o;
}

float* alloc_floats(int64_t count) {
    if (count < 0 || static_cast<uint64_t>(count) > SIZE_MAX / sizeof(float)) return nullptr;
    return static_cast<float*>(std::malloc(count ? static_cast<size_t>(count) * sizeof(float) : 1));
}

// Temporaries of BuildSpline, freed on every return.
struct Scratch {
    float* h = nullptr;
    float* slope = nullptr;
    float* diag = nullptr;
    float* rhs = nullptr;
    float* m = nullptr;
    ~Scratch() {
        std::free(h);
        std::free(slope);
        std::free(diag);
        std::free(rhs);
        std::free(m);
    }
    bool alloc(int32_t n) {
        return (h = alloc_floats(n)) && (slope = alloc_floats(n)) && (diag = alloc_floats(n)) &&
               (rhs = alloc_floats(n)) && (m = alloc_floats(int64_t{n} + 1));
    }
};

}  // namespace

int32_t find_segment(const float* x, int32_t n, float t) {
    KnotOrder& o = order_of(x, n);
    if (!o.ordered) {
        for (int32_t i = 0; i + 1 < n; ++i)
            if (x[i] <= t && t < x[i + 1]) return i;
        return -1;
    }
    // Ordered: the segment holding t is unique, so the last one found may be tried first.
    const int32_t last = o.last;
    if (last + 1 < n && x[last] <= t && t < x[last + 1]) return last;
    // The first j in 1 .. n-1 with t < x[j]; t < x[n-1] holds, so there is one.
    int32_t lo = 1, hi = n - 1;
    while (lo < hi) {
        const int32_t mid = lo + (hi - lo) / 2;
        if (t < x[mid]) hi = mid;
        else lo = mid + 1;
    }
    const int32_t i = lo - 1;
    if (!(x[i] <= t && t < x[lo])) return -1;  // a NaN knot at 0, or a NaN t
    o.last = i;
    return i;
}

double eval_segment(const SplineData& s, int32_t i, float t) {
    const double u = static_cast<double>(t) - s.lpX[i];
    return ((u * u * u) * s.lpD[i] + (u * u) * s.lpC[i]) + u * s.lpB[i] + s.lpY[i];
}

}  // namespace mediakit

using namespace mediakit;

extern "C" BOOL MEDIAKIT_CALL InitSpline(SplineData* spline, LONG n) {
    if (!spline) return 0;
    // Tables are released also when nSegments is 0 but tables exist (an InitSpline of 0
    // segments), so that nothing leaks.
    if (spline->nSegments != 0 || spline->lpX || spline->lpY || spline->lpB || spline->lpC ||
        spline->lpD)
        DeleteSpline(spline);
    g_generation.fetch_add(1, std::memory_order_release);
    spline->nSegments = n;
    const int64_t knots = int64_t{n} + 1;
    if (n < 0 || !(spline->lpX = alloc_floats(knots)) || !(spline->lpY = alloc_floats(knots)) ||
        !(spline->lpB = alloc_floats(n)) || !(spline->lpC = alloc_floats(n)) ||
        !(spline->lpD = alloc_floats(n))) {
        DeleteSpline(spline);
        return 0;
    }
    return 1;
}

extern "C" void MEDIAKIT_CALL DeleteSpline(SplineData* spline) {
    if (!spline) return;
    g_generation.fetch_add(1, std::memory_order_release);
    std::free(spline->lpX);
    std::free(spline->lpY);
    std::free(spline->lpB);
    std::free(spline->lpC);
    std::free(spline->lpD);
    std::memset(spline, 0, sizeof *spline);
}

extern "C" void MEDIAKIT_CALL BuildSpline(SplineData* spline) {
    if (!spline || spline->nSegments <= 0) return;
    g_generation.fetch_add(1, std::memory_order_release);
    const int32_t n = spline->nSegments;
    const float* x = spline->lpX;
    const float* y = spline->lpY;
    Scratch t;
    if (!t.alloc(n)) return;
    for (int32_t i = 0; i < n; ++i) {
        t.h[i] = static_cast<float>(static_cast<double>(x[i + 1]) - x[i]);
        if (t.h[i] == 0) t.h[i] = kEqualKnotStep;
        t.slope[i] = static_cast<float>((static_cast<double>(y[i + 1]) - y[i]) / t.h[i]);
    }
    // Second derivatives M: 0 at both ends; for the inner knots the tridiagonal system
    // h[i-1] M[i-1] + 2 (h[i-1] + h[i]) M[i] + h[i] M[i+1] = 6 (slope[i] - slope[i-1]),
    // by one forward sweep and one back substitution.
    t.m[0] = 0;
    t.m[n] = 0;
    if (n >= 2) {
        t.diag[1] = static_cast<float>((static_cast<double>(t.h[1]) + t.h[0]) * 2);
        t.rhs[1] = static_cast<float>((static_cast<double>(t.slope[1]) - t.slope[0]) * 6);
        for (int32_t i = 2; i < n; ++i) {
            const double hp = t.h[i - 1];
            t.diag[i] = static_cast<float>((hp + t.h[i]) * 2 - hp * hp / t.diag[i - 1]);
            t.rhs[i] = static_cast<float>((static_cast<double>(t.slope[i]) - t.slope[i - 1]) * 6 -
                                          hp * t.rhs[i - 1] / t.diag[i - 1]);
        }
        for (int32_t i = n - 1; i >= 1; --i)
            t.m[i] = static_cast<float>((t.rhs[i] - static_cast<double>(t.h[i]) * t.m[i + 1]) / t.diag[i]);
    }
    for (int32_t i = 0; i < n; ++i) {
        const double h = t.h[i], m0 = t.m[i], m1 = t.m[i + 1];
        spline->lpC[i] = static_cast<float>(m0 * 0.5);
        spline->lpB[i] = static_cast<float>((static_cast<double>(y[i + 1]) - y[i]) * (1 / h) -
                                            (m0 * kThird + m1 * kSixth) * h);
        spline->lpD[i] = static_cast<float>((1 / (h * 6)) * (m1 - m0));
    }
}

extern "C" float MEDIAKIT_CALL CalcSpline(SplineData* spline, float t) {
    if (!spline || spline->nSegments <= 0) return 0.0f;
    const int32_t n = spline->nSegments;
    const float* x = spline->lpX;
    int32_t i;
    if (t < x[0]) i = 0;
    else if (t >= x[n - 1]) i = n - 1;
    else if ((i = find_segment(x, n, t)) < 0) return 0.0f;
    return static_cast<float>(eval_segment(*spline, i, t));
}
