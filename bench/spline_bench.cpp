// BuildSpline on 1,000 knots and CalcSpline over 10 million parameters, beside GSL's
// natural cubic spline on the same knots in the same run (bench/run.sh prints the
// ratios). The parameters run once in order along the curve (an animation being played)
// and once in random order. Before timing, every one of the 10 million values is compared
// with GSL's: a difference beyond float rounding fails the benchmark.
#include <gsl/gsl_errno.h>
#include <gsl/gsl_spline.h>

#include <cfloat>
#include <cmath>
#include <vector>

#include "bench_support.h"
#include "platform/win32_types.h"
#include "mediakit.h"

namespace {

constexpr int kKnots = 1000;
constexpr int kParams = 10000000;

struct Data {
    std::vector<float> x, y;
    std::vector<double> xd, yd;
    std::vector<float> sweep, shuffled;
    double y_scale = 0;

    Data() : x(kKnots), y(kKnots), xd(kKnots), yd(kKnots), sweep(kParams), shuffled(kParams) {
        uint32_t r = 12345;
        auto next = [&r] { return (r = r * 1664525u + 1013904223u) >> 8; };
        double at = 0;
        for (int i = 0; i < kKnots; ++i) {
            x[i] = float(at);
            y[i] = float(40 * std::sin(at * 0.21) + 5 * std::cos(at * 1.7) + (next() % 1000) * 0.002);
            xd[i] = x[i];
            yd[i] = y[i];
            y_scale = std::fmax(y_scale, std::fabs(y[i]));
            at = x[i] + 0.25 + (next() % 1000) * 0.0005;
        }
        const double span = x[kKnots - 1] - x[0];
        for (int k = 0; k < kParams; ++k) {
            sweep[k] = float(x[0] + span * k / kParams);
            shuffled[k] = float(x[0] + span * (next() % (1u << 24)) / double(1u << 24));
        }
    }
};

const Data& data() {
    static const Data d;
    return d;
}

struct Ours {
    SplineData s{};
    Ours() {
        InitSpline(&s, kKnots - 1);
        for (int i = 0; i < kKnots; ++i) {
            s.lpX[i] = data().x[i];
            s.lpY[i] = data().y[i];
        }
        BuildSpline(&s);
    }
    ~Ours() { DeleteSpline(&s); }
};

struct Gsl {
    gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, kKnots);
    gsl_interp_accel* acc = gsl_interp_accel_alloc();
    Gsl() {
        gsl_set_error_handler_off();
        gsl_spline_init(spline, data().xd.data(), data().yd.data(), kKnots);
    }
    ~Gsl() {
        gsl_interp_accel_free(acc);
        gsl_spline_free(spline);
    }
};

// The largest difference from GSL over the parameters, in units of float rounding at the
// curve's scale.
double worst_difference(const std::vector<float>& params) {
    Ours ours;
    Gsl gsl;
    double worst = 0;
    for (float t : params)
        worst = std::fmax(worst, std::fabs(CalcSpline(&ours.s, t) - gsl_spline_eval(gsl.spline, t, gsl.acc)));
    return worst / (FLT_EPSILON * data().y_scale);
}

bool check_agreement(benchmark::State& state, const std::vector<float>& params) {
    const double worst = worst_difference(params);
    state.counters["worst_diff_in_float_eps"] = worst;
    if (worst > 8) {
        state.SkipWithError("CalcSpline and GSL differ by more than float rounding");
        return false;
    }
    return true;
}

void BM_BuildSpline_vs_gsl_init(benchmark::State& state) {
    Ours ours;
    for (auto _ : state) {
        BuildSpline(&ours.s);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kKnots);
}

void BM_baseline_gsl_init(benchmark::State& state) {
    Gsl gsl;
    for (auto _ : state) {
        gsl_spline_init(gsl.spline, data().xd.data(), data().yd.data(), kKnots);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kKnots);
}

void calc_spline(benchmark::State& state, const std::vector<float>& params) {
    if (!check_agreement(state, params)) return;
    Ours ours;
    for (auto _ : state) {
        float sum = 0;
        for (float t : params) sum += CalcSpline(&ours.s, t);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kParams);
}

void gsl_eval(benchmark::State& state, const std::vector<float>& params) {
    Gsl gsl;
    for (auto _ : state) {
        double sum = 0;
        for (float t : params) sum += gsl_spline_eval(gsl.spline, t, gsl.acc);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kParams);
}

void BM_CalcSpline_in_order_vs_gsl_in_order(benchmark::State& s) { calc_spline(s, data().sweep); }
void BM_baseline_gsl_in_order(benchmark::State& s) { gsl_eval(s, data().sweep); }
void BM_CalcSpline_random_vs_gsl_random(benchmark::State& s) { calc_spline(s, data().shuffled); }
void BM_baseline_gsl_random(benchmark::State& s) { gsl_eval(s, data().shuffled); }

BENCHMARK(BM_baseline_gsl_init)->Args({kKnots, 0});
BENCHMARK(BM_BuildSpline_vs_gsl_init)->Args({kKnots, 0});
BENCHMARK(BM_baseline_gsl_in_order)->Args({kKnots, kParams});
BENCHMARK(BM_CalcSpline_in_order_vs_gsl_in_order)->Args({kKnots, kParams});
BENCHMARK(BM_baseline_gsl_random)->Args({kKnots, kParams});
BENCHMARK(BM_CalcSpline_random_vs_gsl_random)->Args({kKnots, kParams});

}  // namespace
