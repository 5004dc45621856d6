#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "platform/win32_types.h"
#include "mediakit.h"
#include "rng.h"

namespace {

using Knots = std::vector<float>;

// A spline record filled with knots and built; the caller releases it.
SplineData build(const Knots& x, const Knots& y) {
    SplineData s{};
    EXPECT_EQ(InitSpline(&s, LONG(x.size()) - 1), 1);
    for (size_t i = 0; i < x.size(); ++i) s.lpX[i] = x[i], s.lpY[i] = y[i];
    BuildSpline(&s);
    return s;
}

// A natural cubic spline in double precision, in the symmetric form
//   S(t) = (M[i] (x[i+1] - t)³ + M[i+1] (t - x[i])³) / 6h
//        + (y[i] / h - M[i] h / 6) (x[i+1] - t) + (y[i+1] / h - M[i+1] h / 6) (t - x[i]),
// with M from the tridiagonal system solved by elimination: no coefficient tables. Left of
// x[1] the first segment's cubic goes on, from x[n-1] on the last one's.
double ref_spline(const Knots& xs, const Knots& ys, double t) {
    const size_t n = xs.size() - 1;
    std::vector<double> x(xs.begin(), xs.end()), y(ys.begin(), ys.end()), m(n + 1, 0.0), b(n + 1), r(n + 1);
    for (size_t i = 1; i < n; ++i) {
        const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i], f = i > 1 ? h0 / b[i - 1] : 0;  // f eliminates M[i-1]
        b[i] = 2 * (h0 + h1) - f * h0;
        r[i] = 6 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0) - f * r[i - 1];
    }
    for (size_t i = n - 1; i >= 1; --i) m[i] = (r[i] - (x[i + 1] - x[i]) * m[i + 1]) / b[i];
    size_t i = 0;
    while (i + 1 < n && t >= x[i + 1]) ++i;
    const double h = x[i + 1] - x[i], l = x[i + 1] - t, u = t - x[i];
    return (m[i] * l * l * l + m[i + 1] * u * u * u) / (6 * h) + (y[i] / h - m[i] * h / 6) * l + (y[i + 1] / h - m[i + 1] * h / 6) * u;
}

// The tables of a worked example, M = (0, -30/7, 36/7, -30/7, 0): C = M / 2, B the slope
// at the left knot, D = (M[i+1] - M[i]) / 6. A lone knot and null records give 0.
TEST(Spline, WorkedExample) {
    SplineData sp = build({0, 1, 2, 3, 4}, {0, 1, 0, 1, 0}), one = build({1}, {7});
    const double m[5] = {0, -30.0 / 7, 36.0 / 7, -30.0 / 7, 0}, slope[4] = {12.0 / 7, -3.0 / 7, 0, 3.0 / 7};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(sp.lpC[i], m[i] / 2, 1e-5) << i;
        EXPECT_NEAR(sp.lpB[i], slope[i], 1e-5) << i;
        EXPECT_NEAR(sp.lpD[i], (m[i + 1] - m[i]) / 6, 1e-5) << i;
    }
    EXPECT_EQ(CalcSpline(&one, 1.0f), 0);
    EXPECT_EQ(CalcSpline(nullptr, 1.0f), 0);
    EXPECT_EQ(InitSpline(nullptr, 3), 0);
    BuildSpline(nullptr), DeleteSpline(nullptr), DeleteSpline(&sp), DeleteSpline(&one);
}

// Random knots against the double-precision spline, at the knots, between them and beyond
// both ends: the float tables keep the curve to within a few float roundings.
TEST(Spline, MatchesTheDoubleSplineOnRandomKnots) {
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        mktest::Rng rng(seed);
        const int n = rng.range(1, 60);
        Knots x(n + 1), y(n + 1);
        for (int i = 0; i <= n; ++i)
            x[i] = float(i ? x[i - 1] + rng.range(1, 400) * 0.025 : rng.range(-500, 500) * 0.1), y[i] = float(rng.range(-10000, 10000) * 0.01);
        SplineData sp = build(x, y);
        for (int k = 0; k < 200; ++k) {
            const float t = k <= n ? x[k] : float(x[0] - 1 + (x[n] - x[0] + 2) * rng.range(0, 100000) * 1e-5);
            ASSERT_NEAR(CalcSpline(&sp, t), ref_spline(x, y, t), 2e-3) << "seed " << seed << " t " << t;
        }
        DeleteSpline(&sp);
    }
}

}  // namespace
