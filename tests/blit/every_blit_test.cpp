// Every blit at once: distinct destinations drawn on several threads at the same time come
// out as when drawn alone, and no blit allocates from the heap.
#include <thread>

#include "alloc_counter.h"
#include "blit_cases.h"

namespace {

using mktest::Call;

constexpr int kW = 203, kH = 37;

// Every export twice over one destination (width kW + t): first with 24-bit images, then
// with 8-bit sources and masks, the rectangles overhanging the smaller sources.
std::vector<Call> every_blit(int t) {
    std::vector<Call> calls;
    for (int pass = 0; pass < 2; ++pass)
        for (const mktest::Blit& b : mktest::blits()) {
            mktest::Rng rng(pass);
            calls.push_back(mktest::fixed_call(b, kW, kH, b.dv, b.du, true, [&](int k) {
                const bool narrow = pass && (b.depths[k] == 's' || b.depths[k] == 'm');
                return std::make_unique<mktest::GuardedImage>(k ? kW - 9 * k : kW + t, kH, narrow ? 8 : 24, rng);
            }));
            calls.back().im[0] = calls[0].im[0], calls.back().rec[0] = calls[0].rec[0];
        }
    return calls;
}

void draw(std::vector<Call>& calls) {
    for (size_t i = 0; i < calls.size(); ++i) mktest::blits()[i % mktest::blits().size()].call(calls[i]);
}

class EveryBlit : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        mediakit::g_mmxAvailable = 1;
        SetUsageMMX(GetParam());
    }
    void TearDown() override { SetUsageMMX(1); }
};

TEST_P(EveryBlit, DistinctRecordsOnFourThreadsAtOnce) {
    std::vector<std::vector<Call>> alone, together;
    for (int t = 0; t < 4; ++t) alone.push_back(every_blit(t)), together.push_back(every_blit(t));
    std::vector<std::thread> threads;
    for (auto& calls : together)
        threads.emplace_back([&calls] {
            for (int pass = 0; pass < 6; ++pass) draw(calls);
        });
    for (auto& calls : alone)
        for (int pass = 0; pass < 6; ++pass) draw(calls);
    for (std::thread& t : threads) t.join();
    for (int t = 0; t < 4; ++t) {
        const std::vector<uint8_t> expected = alone[t][0].im[0]->snapshot();
        EXPECT_NE(expected, every_blit(t)[0].im[0]->snapshot()) << "thread " << t;  // the blits drew
        EXPECT_EQ(expected, together[t][0].im[0]->snapshot()) << "thread " << t;
    }
}

TEST_P(EveryBlit, AllocatesNothing) {
    if (!mktest::AllocationCounter::available()) GTEST_SKIP() << "no allocation hooks in this build";
    std::vector<Call> calls = every_blit(0);
    draw(calls);  // anything made once per process is made now
    mktest::AllocationCounter counter;
    draw(calls);
    EXPECT_EQ(counter.count(), 0u);
}

INSTANTIATE_TEST_SUITE_P(BothPaths, EveryBlit, testing::Bool(), [](const auto& p) { return p.param ? "mmx" : "per_pixel"; });

}  // namespace
