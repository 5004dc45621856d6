// The WAVE file walk in loading mode over a file held in memory: a RIFF of one "fmt " chunk
// and a data body of 3 × w × h bytes, so that memcpy of the same rows is the baseline.
#include <cstdlib>
#include <cstring>

#include "audio/wave_file.h"
#include "bench_support.h"

namespace {

std::vector<uint8_t> wave_image(int w, int h) {
    mkbench::Pixels body(w, h, 9);
    const uint32_t bytes = uint32_t(3) * w * h;
    std::vector<uint8_t> file(44 + size_t(bytes), 0);
    auto put = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) file[at + i] = uint8_t(v >> (8 * i));
    };
    std::memcpy(&file[0], "RIFF", 4);
    put(4, 36 + bytes);
    std::memcpy(&file[8], "WAVEfmt ", 8);
    put(16, 16);
    file[20] = 1, file[22] = 2, file[32] = 4, file[34] = 16;
    put(24, 44100);
    std::memcpy(&file[36], "data", 4);
    put(40, bytes);
    std::memcpy(&file[44], body.bytes.data(), bytes);
    return file;
}

void BM_wave_file_walk_loading(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    std::vector<uint8_t> file = wave_image(w, h);
    for (auto _ : state) {
        mediakit::MemoryByteReader reader(file.data(), file.size());
        WaveForFile record{};
        mediakit::walk_wave_file(reader, true, &record, std::malloc);
        benchmark::DoNotOptimize(record.lpData);
        mediakit::free_wave_blocks(&record);
    }
    mkbench::count_pixels(state, w, h);
}

BENCHMARK(BM_wave_file_walk_loading)->Apply(mkbench::standard_sizes);

}  // namespace
