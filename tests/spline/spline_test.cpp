#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "images.h"
#include "spline/spline.h"

namespace {

// A spline record filled with knots, released at the end.
struct Spline {
    SplineData s{};
    Spline(const std::vector<float>& x, const std::vector<float>& y) { set(x, y); }
    ~Spline() { DeleteSpline(&s); }
    void set(const std::vector<float>& x, const std::vector<float>& y) {
        if (s.nSegments != LONG(x.size()) - 1) {
            EXPECT_EQ(InitSpline(&s, LONG(x.size()) - 1), 1);
        }
        for (size_t i = 0; i < x.size(); ++i) {
            s.lpX[i] = x[i];
            s.lpY[i] = y[i];
        }
        BuildSpline(&s);
    }
    float operator()(float t) { return CalcSpline(&s, t); }
};

// A natural cubic spline in double precision, in the symmetric form
//   S(t) = M[i] (x[i+1] - t)³ / 6h + M[i+1] (t - x[i])³ / 6h
//        + (y[i] / h - M[i] h / 6) (x[i+1] - t) + (y[i+1] / h - M[i+1] h / 6) (t - x[i]),
// with M from the tridiagonal system solved by elimination: no coefficient tables.
struct RefSpline {
    std::vector<double> x, y, m;
    RefSpline(const std::vector<float>& xs, const std::vector<float>& ys) : x(xs.begin(), xs.end()), y(ys.begin(), ys.end()) {
        const size_t n = x.size() - 1;
        m.assign(n + 1, 0.0);
        if (n < 2) return;
        std::vector<double> a(n), b(n), c(n), r(n);
        for (size_t i = 1; i < n; ++i) {
            const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
            a[i] = h0;
            b[i] = 2 * (h0 + h1);
            c[i] = h1;
            r[i] = 6 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
        }
        for (size_t i = 2; i < n; ++i) {
            const double f = a[i] / b[i - 1];
            b[i] -= f * c[i - 1];
            r[i] -= f * r[i - 1];
        }
        for (size_t i = n - 1; i >= 1; --i) m[i] = (r[i] - c[i] * m[i + 1]) / b[i];
    }
    double operator()(double t) const {
        const size_t n = x.size() - 1;
        size_t i = 0;
        if (t >= x[n - 1]) i = n - 1;
        else while (i + 1 < n && t >= x[i + 1]) ++i;
        const double h = x[i + 1] - x[i], l = x[i + 1] - t, u = t - x[i];
        return m[i] * l * l * l / (6 * h) + m[i + 1] * u * u * u / (6 * h) + (y[i] / h - m[i] * h / 6) * l +
               (y[i + 1] / h - m[i + 1] * h / 6) * u;
    }
};

TEST(Spline, WorkedExampleHasContinuousSlopes) {
    Spline sp({0, 1, 2, 3, 4}, {0, 1, 0, 1, 0});
    const double m[5] = {0, -30.0 / 7, 36.0 / 7, -30.0 / 7, 0};
    const double slope[5] = {12.0 / 7, -3.0 / 7, 0, 3.0 / 7, -12.0 / 7};
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(sp.s.lpC[i], m[i] / 2, 1e-5) << i;
        EXPECT_NEAR(sp.s.lpB[i], slope[i], 1e-5) << i;
        EXPECT_NEAR(sp.s.lpD[i], (m[i + 1] - m[i]) / 6, 1e-5) << i;
        // The slope at the segment's right end equals the next segment's at its left end.
        const double end = sp.s.lpB[i] + 2 * sp.s.lpC[i] + 3 * sp.s.lpD[i];
        EXPECT_NEAR(end, slope[i + 1], 1e-5) << i;
    }
    for (int i = 0; i <= 4; ++i) EXPECT_NEAR(sp(float(i)), i % 2, 1e-6) << "knot " << i;
    // Beyond the ends the end segments' cubics go on; they are not straight lines.
    RefSpline ref({0, 1, 2, 3, 4}, {0, 1, 0, 1, 0});
    for (float t : {-1.5f, -0.25f, 4.5f, 6.0f}) {
        EXPECT_NEAR(sp(t), ref(t), 1e-4) << t;
        const double line = t < 0 ? slope[0] * t : -slope[0] * (t - 4);
        EXPECT_GT(std::fabs(sp(t) - line), 0.01) << t;
    }
}

TEST(Spline, TwoKnotsMakeALine) {
    Spline sp({1, 3}, {2, 6});
    EXPECT_EQ(sp.s.lpC[0], 0.0f);
    EXPECT_EQ(sp.s.lpD[0], 0.0f);
    EXPECT_EQ(sp.s.lpB[0], 2.0f);
    for (float t : {-10.0f, 1.0f, 2.5f, 3.0f, 40.0f}) EXPECT_FLOAT_EQ(sp(t), 2 + 2 * (t - 1)) << t;
}

// Random knots against the double-precision spline: the float tables keep the curve to
// within a few float roundings of the values' scale.
TEST(Spline, MatchesTheDoubleSplineOnRandomKnots) {
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        mktest::Rng rng(seed);
        const int n = rng.range(1, 60);
        std::vector<float> x(n + 1), y(n + 1);
        double at = rng.range(-500, 500) * 0.1;
        for (int i = 0; i <= n; ++i) {
            x[i] = float(at);
            y[i] = float(rng.range(-10000, 10000) * 0.01);
            at = x[i] + rng.range(1, 400) * 0.025;
        }
        Spline sp(x, y);
        RefSpline ref(x, y);
        for (int k = 0; k < 200; ++k) {
            const float t = k < n + 1 ? x[k] : float(x[0] - 1 + (x[n] - x[0] + 2) * rng.range(0, 100000) * 1e-5);
            ASSERT_NEAR(sp(t), ref(t), 2e-3) << "seed " << seed << " t " << t;
        }
    }
}

TEST(Spline, EqualKnotsStayFinite) {
    Spline sp({0, 1, 1, 2, 3}, {0, 1, 2, 3, 1});
    for (float t = -1; t <= 4; t += 0.125f) EXPECT_TRUE(std::isfinite(sp(t))) << t;
    Spline flat({2, 2}, {1, 5});
    EXPECT_TRUE(std::isfinite(flat(3)));
}

// Segments are chosen by x[0] .. x[n-1] only: the first segment i with x[i] ≤ t < x[i+1],
// the first one left of x[0], the last one from x[n-1] on; none (0) only when a NaN knot
// or a NaN t leaves no segment.
TEST(Spline, ChoosesTheFirstSegmentHoldingT) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        std::vector<float> x;
        float t;
        int segment;  // -1: the result is 0
    };
    const Case cases[] = {
        {{0, 1, 2, 3}, 0.0f, 0},       {{0, 1, 2, 3}, 1.0f, 1},    {{0, 1, 2, 3}, 2.0f, 2},
        {{0, 1, 2, 3}, 2.999f, 2},     {{0, 1, 2, 3}, 7.0f, 2},    {{0, 1, 2, 3}, -4.0f, 0},
        {{0, 3, 1, 4, 5}, 2.0f, 0},    {{0, 3, 1, 4, 5}, 3.5f, 2}, {{0, 3, 1, 4, 5}, 0.5f, 0},
        {{0, 3, 1, 4, 5}, 4.0f, 3},    {{0, 3, 3, 4, 5}, 3.0f, 2}, {{0, nan, 2, 3}, 1.0f, -1},
        {{0, 1, 2, 3}, nan, -1},       {{nan, 1, 2, 3}, 0.5f, -1}, {{nan, 1, 2, 3}, 1.5f, 1},
        {{5, 1, 2, 3}, 1.5f, 0},       {{5, 1, 2, 3}, 5.5f, 2},    {{0, 5, 1, 6, 7, 8}, 3.0f, 0},
        {{0, 5, 1, 6, 7, 8}, 5.5f, 2},
    };
    for (const Case& c : cases) {
        std::vector<float> y(c.x.size());
        for (size_t i = 0; i < y.size(); ++i) y[i] = float(i * i % 5);
        Spline sp(c.x, y);
        const float want = c.segment < 0 ? 0.0f : float(mediakit::eval_segment(sp.s, c.segment, c.t));
        const float got = sp(c.t);
        EXPECT_TRUE(got == want || (std::isnan(got) && std::isnan(want)))
            << "t " << c.t << " segment " << c.segment << ": " << got << " vs " << want;
    }
}

// The lookup against a scan from the start, on ordered and disordered knots, with knots
// rewritten between calls (each followed by BuildSpline, as the host must).
TEST(Spline, LookupMatchesAScanFromTheStart) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        mktest::Rng rng(seed);
        const int n = rng.range(1, 40);
        std::vector<float> x(n + 1), y(n + 1);
        Spline sp({0, 1}, {0, 1});
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i <= n; ++i) {
                x[i] = float(i * 2 + (rng.range(0, 3) == 0 ? rng.range(-6, 6) : 0));
                y[i] = float(rng.range(-50, 50));
            }
            sp.set(x, y);
            for (int k = 0; k < 100; ++k) {
                const float t = rng.range(0, 1) ? x[rng.range(0, n)] : rng.range(-10, 2 * n + 10) * 0.5f;
                int want = -1;
                if (t < x[0]) want = 0;
                else if (t >= x[n - 1]) want = n - 1;
                else
                    for (int i = 0; i + 1 < n && want < 0; ++i)
                        if (x[i] <= t && t < x[i + 1]) want = i;
                const float expected = want < 0 ? 0.0f : float(mediakit::eval_segment(sp.s, want, t));
                const float got = sp(t);
                ASSERT_TRUE(got == expected || (std::isnan(got) && std::isnan(expected)))
                    << "seed " << seed << " round " << round << " t " << t << ": " << got << " vs " << expected;
            }
        }
    }
}

TEST(Spline, RecordsComeAndGoSafely) {
    SplineData s{};
    BuildSpline(&s);
    BuildSpline(nullptr);
    EXPECT_EQ(CalcSpline(&s, 1.0f), 0.0f);
    EXPECT_EQ(CalcSpline(nullptr, 1.0f), 0.0f);
    DeleteSpline(nullptr);
    EXPECT_EQ(InitSpline(nullptr, 3), 0);

    ASSERT_EQ(InitSpline(&s, 3), 1);
    EXPECT_EQ(s.nSegments, 3);
    ASSERT_EQ(InitSpline(&s, 5), 1);  // the old tables go first
    for (int i = 0; i <= 5; ++i) s.lpX[i] = s.lpY[i] = float(i);
    BuildSpline(&s);
    EXPECT_NEAR(CalcSpline(&s, 2.5f), 2.5f, 1e-6);
    DeleteSpline(&s);
    DeleteSpline(&s);
    EXPECT_TRUE(s.nSegments == 0 && !s.lpX && !s.lpY && !s.lpB && !s.lpC && !s.lpD);

    ASSERT_EQ(InitSpline(&s, 0), 1);  // one knot: nothing to build, every value 0
    s.lpX[0] = 1;
    s.lpY[0] = 7;
    BuildSpline(&s);
    EXPECT_EQ(CalcSpline(&s, 1.0f), 0.0f);
    ASSERT_EQ(InitSpline(&s, 2), 1);  // releases the one-knot tables too
    EXPECT_EQ(InitSpline(&s, -3), 0);
    EXPECT_TRUE(s.nSegments == 0 && !s.lpX && !s.lpY && !s.lpB && !s.lpC && !s.lpD);
    if (sizeof(size_t) == 4) {
        EXPECT_EQ(InitSpline(&s, 0x7FFFFFFF), 0);
        EXPECT_TRUE(s.nSegments == 0 && !s.lpX);
    }
    DeleteSpline(&s);
}

}  // namespace
