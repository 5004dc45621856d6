#include <gtest/gtest.h>

#include <cstring>

#include "audio/wave_file.h"
#include "audio/wave_memory.h"
#include "rng.h"
#include "riff_builder.h"

namespace {

// A length larger than any image: the walk trusts riffSize and the chunk sizes.
constexpr uint64_t kUnboundedImage = UINT64_MAX;
using mediakit::parse_wave_image;
using mktest::body_with_u32;
using mktest::format_body;
using mktest::ramp;
using mktest::RiffBuilder;

// What the walk found, as offsets into the image (-1 for none).
struct Found {
    int result;
    long format, data;
    DWORD data_size, fact;
    bool operator==(const Found& o) const {
        return result == o.result && format == o.format && data == o.data && data_size == o.data_size &&
               fact == o.fact;
    }
};

std::ostream& operator<<(std::ostream& os, const Found& f) {
    return os << "{result " << f.result << ", format @" << f.format << ", data @" << f.data << " size "
              << f.data_size << ", fact " << f.fact << "}";
}

Found walk(const std::vector<uint8_t>& image, uint64_t length) {
    // Outputs start as garbage: the walk must zero them before anything else.
    const WAVEFORMATEX* format = reinterpret_cast<const WAVEFORMATEX*>(0x1);
    BYTE* data = reinterpret_cast<BYTE*>(0x1);
    DWORD size = 0xFEEDABAD, fact = 0xFEEDABAD;
    int result = parse_wave_image(image.data(), length, {&format, &fact, &data, &size});
    auto offset = [&](const void* p) { return p ? long(static_cast<const uint8_t*>(p) - image.data()) : -1L; };
    return {result, offset(format), offset(data), size, fact};
}

const std::vector<uint8_t> kPcm8Mono = format_body(1, 1, 8000, 8);

struct Case {
    const char* what;
    std::vector<uint8_t> image;
    Found expected;
};

// Offsets by hand: the RIFF header is 12 bytes, each chunk header 8, odd bodies 1 pad byte.
std::vector<Case> cases() {
    return {
        {"fmt, LIST of odd size, data",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("LIST", ramp(7)).chunk("data", ramp(10)).bytes(),
         {1, 20, 60, 10, 0}},
        {"odd data, then fact",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(7)).chunk("fact", body_with_u32(4, {{0, 1234}})).bytes(),
         {1, 20, 44, 7, 1234}},
        {"fmt of 12 bytes", RiffBuilder().chunk("fmt ", ramp(12)).chunk("data", ramp(4)).bytes(), {0, -1, -1, 0, 0}},
        {"fmt of 14 bytes", RiffBuilder().chunk("fmt ", ramp(14)).bytes(), {1, 20, -1, 0, 0}},
        {"two data chunks", RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(4)).chunk("data", ramp(6)).bytes(),
         {1, 20, 44, 4, 0}},
        {"empty data, then data",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", {}).chunk("data", ramp(5)).bytes(), {1, 20, 52, 5, 0}},
        {"two fmt chunks", RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("fmt ", format_body(2, 2, 1, 4)).bytes(),
         {1, 20, -1, 0, 0}},
        {"fact of 0, then fact",
         RiffBuilder().chunk("fact", body_with_u32(4, {})).chunk("fact", body_with_u32(4, {{0, 7}})).bytes(),
         {1, -1, -1, 0, 7}},
        {"header only", RiffBuilder().bytes(), {1, -1, -1, 0, 0}},
        {"RIFX", [] { auto b = RiffBuilder().chunk("fmt ", kPcm8Mono).bytes(); b[3] = 'X'; return b; }(), {0, -1, -1, 0, 0}},
        {"AVI form", [] { auto b = RiffBuilder().chunk("fmt ", kPcm8Mono).bytes(); std::memcpy(&b[8], "AVI ", 4); return b; }(),
         {0, -1, -1, 0, 0}},
        {"riffSize ends before data",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(4)).bytes(4 + 24), {1, 20, -1, 0, 0}},
        {"riffSize ends inside the data header",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(4)).bytes(4 + 25), {1, 20, 44, 4, 0}},
        // 0xFFFFFFFF + 1 would wrap to 0 in 32 bits and land on the data header.
        {"chunk of size 0xFFFFFFFF",
         RiffBuilder().chunk("fmt ", kPcm8Mono).chunk_declared("junk", 0xFFFFFFFF, {}).chunk("data", ramp(4)).bytes(),
         {1, 20, -1, 0, 0}},
    };
}

TEST(WaveMemoryWalk, KnownImages) {
    for (const Case& c : cases()) {
        EXPECT_EQ(walk(c.image, c.image.size()), c.expected) << c.what << " (bounded)";
        EXPECT_EQ(walk(c.image, kUnboundedImage), c.expected) << c.what << " (trusting the sizes)";
    }
}

TEST(WaveMemoryWalk, NeverReadsPastTheSuppliedLength) {
    // riffSize claims more than there is: the walk stops at a header or fact value it
    // cannot read whole. The vector's exact size lets ASan see any read past it.
    std::vector<uint8_t> full = RiffBuilder()
                                    .chunk("fmt ", kPcm8Mono)
                                    .chunk("fact", body_with_u32(4, {{0, 99}}))
                                    .chunk("data", ramp(4))
                                    .bytes();
    // fmt body at 20, fact header at 36 and value at 44, data header at 48, body at 56.
    const struct {
        size_t length;
        Found expected;
    } rows[] = {
        {40, {1, 20, -1, 0, 0}},  {47, {1, 20, -1, 0, 0}}, {48, {1, 20, -1, 0, 99}},
        {55, {1, 20, -1, 0, 99}}, {56, {1, 20, 56, 4, 99}},
    };
    for (const auto& row : rows) {
        std::vector<uint8_t> cut(full.begin(), full.begin() + long(row.length));
        EXPECT_EQ(walk(cut, cut.size()), row.expected) << row.length;
    }
    std::vector<uint8_t> short_header(full.begin(), full.begin() + 11);
    EXPECT_EQ(walk(short_header, short_header.size()).result, 0);
}

// Each output is optional, and "taken" is judged per output: with no size to look at, a
// "data" chunk of size 0 keeps its address; with no address, the size decides.
TEST(WaveMemoryWalk, OutputsAreOptionalAndJudgedOneByOne) {
    auto image = RiffBuilder().chunk("fmt ", ramp(12)).chunk("data", {}).chunk("data", ramp(5)).bytes();
    const uint8_t* p = image.data();
    EXPECT_EQ(parse_wave_image(p, image.size(), {nullptr, nullptr, nullptr, nullptr}), 1)
        << "a short fmt is not examined when no format is wanted";

    BYTE* data = nullptr;
    EXPECT_EQ(parse_wave_image(p, image.size(), {nullptr, nullptr, &data, nullptr}), 1);
    EXPECT_EQ(data - p, 40) << "the empty chunk's body";

    DWORD size = 1;
    EXPECT_EQ(parse_wave_image(p, image.size(), {nullptr, nullptr, nullptr, &size}), 1);
    EXPECT_EQ(size, 5u);

    const WAVEFORMATEX* format = reinterpret_cast<const WAVEFORMATEX*>(0x1);
    DWORD fact = 3;
    EXPECT_EQ(parse_wave_image(p, image.size(), {&format, &fact, &data, &size}), 0);
    EXPECT_EQ(format, nullptr);
    EXPECT_EQ(fact, 0u);
}

TEST(WaveSetFormat, FillsPcmFormats) {
    struct Row {
        WORD channels, bits;
        DWORD rate;
        WORD align;
        DWORD avg;
    };
    const Row rows[] = {{2, 16, 44100, 4, 176400}, {1, 4, 22050, 0, 0},        {1, 8, 11025, 1, 11025},
                        {6, 24, 48000, 18, 864000}, {3, 12, 8000, 4, 32000},    {0xFFFF, 0xFFFF, 3, 0xC000, 3 * 0xC000}};
    for (const Row& r : rows) {
        WAVEFORMATEX f;
        std::memset(&f, 0xAB, sizeof f);
        wav_SetWaveFormat(r.channels, r.bits, r.rate, &f);
        EXPECT_EQ(f.wFormatTag, WAVE_FORMAT_PCM);
        EXPECT_EQ(f.nChannels, r.channels);
        EXPECT_EQ(f.nSamplesPerSec, r.rate);
        EXPECT_EQ(f.wBitsPerSample, r.bits);
        EXPECT_EQ(f.nBlockAlign, r.align) << r.channels << "x" << r.bits;
        EXPECT_EQ(f.nAvgBytesPerSec, r.avg) << r.channels << "x" << r.bits;
        EXPECT_EQ(f.cbSize, 0);
    }
}

// A random well-formed image (honest sizes, formats of 14 bytes or more, fact values whole)
// must give the same format, data and fact through the memory walk and the file walk.
std::vector<uint8_t> random_image(mktest::Rng& rng) {
    static const char* const kIds[] = {"fmt ", "data", "fact", "LIST", "smpl", "junk"};
    RiffBuilder b;
    int chunks = rng.range(0, 7);
    for (int i = 0; i < chunks; ++i) {
        const char* id = kIds[rng.range(0, 5)];
        size_t size = std::strcmp(id, "fmt ") == 0 ? size_t(rng.range(14, 40))
                      : std::strcmp(id, "fact") == 0 ? size_t(rng.range(4, 9))
                                                     : size_t(rng.range(0, 70));
        std::vector<uint8_t> body(size);
        for (auto& byte : body) byte = rng.biased_byte();
        b.chunk(id, body);
    }
    return b.bytes();
}

TEST(WaveWalks, MemoryAndFileWalksAgreeOnWellFormedImages) {
    for (uint32_t seed = 1; seed <= 3000; ++seed) {
        mktest::Rng rng(seed);
        std::vector<uint8_t> image = random_image(rng);
        const WAVEFORMATEX* format = nullptr;
        BYTE* data = nullptr;
        DWORD size = 0, fact = 0;
        ASSERT_EQ(parse_wave_image(image.data(), image.size(), {&format, &fact, &data, &size}), 1);

        mediakit::MemoryByteReader reader(image.data(), image.size());
        WaveForFile record{};
        ASSERT_TRUE(mediakit::walk_wave_file(reader, true, &record, std::malloc)) << "seed " << seed;
        EXPECT_EQ(record.dwSampleLength, fact) << "seed " << seed;
        EXPECT_EQ(record.dwDataSize, size) << "seed " << seed;
        ASSERT_EQ(record.lpFormat != nullptr, format != nullptr) << "seed " << seed;
        if (format) {
            size_t format_size = mktest::read_u32le_at(image, size_t(reinterpret_cast<const uint8_t*>(format) - image.data()) - 4);
            EXPECT_EQ(std::memcmp(record.lpFormat, format, format_size), 0) << "seed " << seed;
        }
        if (data) {
            EXPECT_EQ(record.llDataOffset, data - image.data()) << "seed " << seed;
            EXPECT_EQ(std::memcmp(record.lpData, data, size), 0) << "seed " << seed;
        }
        mediakit::free_wave_blocks(&record);
    }
}

}  // namespace
