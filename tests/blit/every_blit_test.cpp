// Every blit at once: distinct destinations drawn on several threads at the same time come
// out as when drawn alone, and no blit allocates from the heap.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "alloc_counter.h"
#include "blit/mmx_switch.h"
#include "images.h"

namespace {

using mktest::HeapImage;

constexpr int kW = 203, kH = 37;

// Read-only images shared by every thread.
struct Sources {
    HeapImage src{kW, kH}, src2{kW, kH}, pal{kW, kH, 8}, pal2{kW, kH, 8}, mask8{kW, kH, 8}, mask24{kW, kH};
    Sources() {
        mktest::Rng rng(7);
        for (HeapImage* i : {&src, &src2, &pal, &pal2, &mask8, &mask24}) i->fill(rng);
        for (HeapImage* i : {&pal, &pal2}) {
            auto* table = reinterpret_cast<uint8_t*>(i->record()->lpbmi->bmiColors);
            for (int b = 0; b < 1024; ++b) table[b] = rng.byte();
        }
    }
};

// One pass of every blit over a destination, with clipped rectangles and both kinds of source.
void draw_every_blit(BitmapData* d, Sources& s) {
    BitmapData *a = s.src.record(), *b = s.src2.record(), *p = s.pal.record(), *q = s.pal2.record();
    BitmapData *m8 = s.mask8.record(), *m24 = s.mask24.record();
    FastBlt(d, -3, 2, kW, kH, a, 0, 0);
    MaskAlphaBlt(d, 1, 0, kW, kH, a, 0, 0, m24, -2, 0);
    MaskAlphaBlt2(d, 0, 1, kW, kH, p, 0, 0, m8, 0, 0, 200);
    MaskTimeAlphaBlt(d, 0, 0, kW, kH, a, 0, 0, b, 0, 0, m24, 0, 0, 300);
    MaskTimeAlphaBlt(d, 0, 0, kW, kH, p, 0, 0, q, 0, 0, m8, 0, 0, 100);
    MaskKeyBlt(d, 2, 0, kW, kH, a, 0, 0, m8, 0, 0, 100);
    MaskKeyBlt2(d, 0, 0, kW, kH, p, 0, 0, m24, 0, 0, 100, 77);
    MaskTimeKeyBlt(d, 0, 3, kW, kH, a, 0, 0, m8, 0, 0, 128);
    AlphaBlendBlt(d, 0, 0, kW, kH, a, 0, 0, b, 0, 0, 100);
    AlphaBlendBlt(d, 0, 0, kW, kH, p, 0, 0, q, 0, 0, 200);
    FillAlpha(d, 5, 5, 50, 20, 0x00336699, 90);
    ColorKeyBlt(d, 0, 0, kW, kH, a, 0, 0);
    ColorKeyBlt2(d, 0, 0, kW, kH, p, 0, 0, 150);
    AddColorValue(d, 10, 10, 60, 10, 20);
    BilinearBlt(d, 0, 0, 100, 30, a, 0, 0, 200, 37);
    ReviseHSB(d, 0, 0, kW, kH, 0.3, 0.4, 0.0, 0);
    ReviseHSB(d, 0, 0, kW, kH, 0.0, -0.5, 0.0, 0);
}

class EveryBlit : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        mediakit::g_mmxAvailable = 1;
        SetUsageMMX(GetParam());
    }
    void TearDown() override {
        SetUsageMMX(1);
        mediakit::g_mmxAvailable = 0;
    }
    Sources sources_;
};

TEST_P(EveryBlit, DistinctRecordsOnFourThreadsAtOnce) {
    constexpr int kThreads = 4, kPasses = 6;
    std::vector<std::unique_ptr<HeapImage>> alone, together;
    for (int i = 0; i < kThreads; ++i) {
        alone.push_back(std::make_unique<HeapImage>(kW + i, kH));
        together.push_back(std::make_unique<HeapImage>(kW + i, kH));
        for (int pass = 0; pass < kPasses; ++pass) draw_every_blit(alone[i]->record(), sources_);
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            for (int pass = 0; pass < kPasses; ++pass) draw_every_blit(together[i]->record(), sources_);
        });
    for (std::thread& t : threads) t.join();
    for (int i = 0; i < kThreads; ++i)
        EXPECT_EQ(mktest::first_difference(alone[i]->snapshot(), together[i]->bits(), together[i]->bytes()), "")
            << "thread " << i;
}

TEST_P(EveryBlit, AllocatesNothing) {
    if (!mktest::AllocationCounter::available()) GTEST_SKIP() << "no allocation hooks in this build";
    HeapImage dst(kW, kH);
    draw_every_blit(dst.record(), sources_);  // anything made once per process is made now
    mktest::AllocationCounter counter;
    draw_every_blit(dst.record(), sources_);
    EXPECT_EQ(counter.count(), 0u);
}

INSTANTIATE_TEST_SUITE_P(BothPaths, EveryBlit, testing::Bool(),
                         [](const auto& p) { return p.param ? "mmx" : "per_pixel"; });

}  // namespace
