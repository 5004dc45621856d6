// Spline tables: allocation, the tridiagonal solve for the knots' second derivatives, and
// evaluation.
//
// Segment lookup. A t inside the knots belongs to the first segment i with
// x[i] ≤ t < x[i + 1]. When x[0 .. n-1] never decreases (and holds no NaN), the segment
// holding t is unique and can be found by bisection; and a t in [x[i], x[i+1]) with i ≤ n-2
// lies neither left of x[0] nor at or beyond x[n-1], so the segment found last can be tried
// before anything else. Whether the knots of a table are ordered is checked once per thread
// and remembered until the next call that may change them (InitSpline, BuildSpline,
// DeleteSpline, on any thread); knots that are not ordered are searched from the start.
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

// True when x[0 .. n-1] never decreases and holds no NaN (a lone x[0] may be NaN: it
// then matches no t).
bool knots_ordered(const float* x, int32_t n) {
    for (int32_t j = 0; j + 1 < n; ++j)
        if (!(x[j] <= x[j + 1])) return false;
    return true;
}

KnotOrder& order_of(const float* x, int32_t n) {
    KnotOrder& o = t_order;
    const uint32_t gen = g_generation.load(std::memory_order_relaxed);
    if (o.x != x || o.n != n || o.generation != gen) o = KnotOrder{x, n, gen, knots_ordered(x, n), 0};
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

// The first segment i in 0 .. n-2 with x[i] ≤ t < x[i + 1], or -1 if there is none, for
// knots that are not ordered; t < x[0] and t ≥ x[n - 1] are already handled.
int32_t scan_segment(const float* x, int32_t n, float t) {
    for (int32_t i = 0; i + 1 < n; ++i)
        if (x[i] <= t && t < x[i + 1]) return i;
    return -1;
}

// The same for ordered knots: one less than the first j in 1 .. n-1 with t < x[j] (one
// exists, as t < x[n-1]), by bisection whose steps are selects rather than branches.
int32_t bisect_segment(const float* x, int32_t n, float t) {
    if (n < 2) return -1;
    const float* base = x + 1;
    for (int32_t len = n - 1; len > 1;) {
        const int32_t half = len / 2;
        base = base[half] <= t ? base + half : base;
        len -= half;
    }
    const int32_t i = static_cast<int32_t>(base - x) - (*base <= t ? 0 : 1);
    return x[i] <= t && t < x[i + 1] ? i : -1;  // not so only for a NaN t
}

}  // namespace

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
    KnotOrder& o = order_of(x, n);
    int32_t i = o.last;  // x has n + 1 knots, so x[i + 1] exists
    if (!(o.ordered && x[i] <= t && t < x[i + 1])) {
        if (t < x[0]) i = 0;
        else if (t >= x[n - 1]) i = n - 1;
        else if ((i = o.ordered ? bisect_segment(x, n, t) : scan_segment(x, n, t)) < 0) return 0.0f;
        else o.last = i;
    }
    return static_cast<float>(eval_segment(*spline, i, t));
}
