#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "audio/wave_file.h"
#include "audio/wave_memory.h"
#include "riff_builder.h"

namespace {

using mktest::body_with_u32;
using mktest::format_body;
using mktest::ramp;
using mktest::RiffBuilder;

// Counts reads, so that a walk over lying sizes can be shown to end.
class CountingReader final : public mediakit::WaveByteReader {
public:
    explicit CountingReader(const std::vector<uint8_t>& bytes) : inner_(bytes.data(), bytes.size()) {}
    size_t read(void* out, size_t n) override { return ++reads, inner_.read(out, n); }
    int64_t position() override { return inner_.position(); }
    void set_position(int64_t offset) override { inner_.set_position(offset); }
    int reads = 0;

private:
    mediakit::MemoryByteReader inner_;
};

// One walk over exactly the file's bytes (ASan sees a read past them), blocks freed after.
struct Walked {
    Walked(const std::vector<uint8_t>& file, bool load, mediakit::BlockAllocFn alloc = std::malloc) : reader(file) {
        ok = mediakit::walk_wave_file(reader, load, &r, alloc);
    }
    ~Walked() { mediakit::free_wave_blocks(&r); }
    std::vector<uint8_t> data() const { return r.lpData ? std::vector<uint8_t>(r.lpData, r.lpData + r.dwDataSize) : std::vector<uint8_t>{}; }
    CountingReader reader;
    WaveForFile r{};
    bool ok;
};

const std::vector<uint8_t> kPcm8 = format_body(1, 1, 8000, 8);

struct Expected {
    bool ok;
    DWORD data_size, fact, loop_start, loop_end;
    int64_t data_offset;
};
const Expected kFails{false, 0, 0, 0, 0, 0};

// Offsets by hand: the RIFF header is 12 bytes, each chunk header 8, odd bodies 1 pad byte.
TEST(WaveFileWalk, KnownFiles) {
    auto full = RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(100, 1)).chunk("fact", body_with_u32(4, {{0, 3}})).bytes();
    const struct {
        const char* what;
        std::vector<uint8_t> file;
        Expected expected;
    } rows[] = {
        {"fmt, odd LIST, data", RiffBuilder().chunk("fmt ", kPcm8).chunk("LIST", ramp(7)).chunk("data", ramp(10)).bytes(),
         {true, 10, 0, 0, 0, 60}},
        {"odd data, then fact and smpl",
         RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(7)).chunk("fact", body_with_u32(4, {{0, 7}}))
             .chunk("smpl", body_with_u32(60, {{44, 100}, {48, 200}})).bytes(),
         {true, 7, 7, 100, 200, 44}},
        {"header only", RiffBuilder().bytes(), {true, 0, 0, 0, 0, 0}},
        {"fmt of 12 bytes", RiffBuilder().chunk("fmt ", ramp(12)).chunk("data", ramp(4)).bytes(), kFails},
        {"a later fmt of 12 bytes", RiffBuilder().chunk("fmt ", kPcm8).chunk("fmt ", ramp(12)).bytes(), kFails},
        {"RIFX", [] { auto b = RiffBuilder().bytes(); b[3] = 'X'; return b; }(), kFails},
        {"WAVX", [] { auto b = RiffBuilder().bytes(); b[11] = 'X'; return b; }(), kFails},
        {"11 bytes", {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A', 'V'}, kFails},
        // riffSize + 4 is where the walk stops: with riffSize 32 the data header at 36 is
        // never read (the memory walk, which goes on to riffSize + 8, reads it).
        {"riffSize 32", RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(4)).bytes(32), {true, 0, 0, 0, 0, 0}},
        {"riffSize 33", RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(4)).bytes(33), {true, 4, 0, 0, 0, 44}},
        {"smpl of 51 bytes", RiffBuilder().chunk("smpl", body_with_u32(51, {{44, 5}, {48, 9}})).chunk("data", ramp(2)).bytes(),
         {true, 2, 0, 0, 0, 80}},
        {"smpl of 52 bytes", RiffBuilder().chunk("smpl", body_with_u32(52, {{44, 5}, {48, 9}})).chunk("data", ramp(2)).bytes(),
         {true, 2, 0, 5, 9, 80}},
        {"first of each kind, empty data gives way",
         RiffBuilder().chunk("fact", body_with_u32(4, {})).chunk("fmt ", kPcm8).chunk("data", {})
             .chunk("fact", body_with_u32(4, {{0, 11}})).chunk("fmt ", format_body(2, 2, 22050, 4, 20))
             .chunk("data", ramp(3, 7)).chunk("data", ramp(5)).chunk("fact", body_with_u32(2, {})).bytes(),
         {true, 3, 11, 0, 0, 104}},
        // Cut inside a chunk header: the walk ends there with what it found.
        {"cut in the fact header", std::vector<uint8_t>(full.begin(), full.begin() + 150), {true, 100, 0, 0, 0, 44}},
        {"cut in the data header", std::vector<uint8_t>(full.begin(), full.begin() + 40), {true, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        for (bool load : {true, false}) {
            SCOPED_TRACE(std::string(row.what) + (load ? ", loading" : ", streaming"));
            Walked w(row.file, load);
            ASSERT_EQ(w.ok, row.expected.ok);
            if (!w.ok) continue;
            EXPECT_EQ(w.r.dwDataSize, row.expected.data_size);
            EXPECT_EQ(w.r.dwSampleLength, row.expected.fact);
            EXPECT_EQ(w.r.dwLoopStart, row.expected.loop_start);
            EXPECT_EQ(w.r.dwLoopEnd, row.expected.loop_end);
            EXPECT_EQ(w.r.llDataOffset, row.expected.data_offset);
            if (load) {
                EXPECT_EQ(w.data(), std::vector<uint8_t>(row.file.begin() + w.r.llDataOffset,
                                                         row.file.begin() + w.r.llDataOffset + w.r.dwDataSize));
            } else {
                EXPECT_EQ(w.r.lpData, nullptr);
                EXPECT_EQ(w.reader.position(), row.expected.data_offset) << "left at the first data byte";
            }
        }
    }
}

TEST(WaveFileWalk, FormatIsTheWholeFirstFmtBody) {
    auto fmt = format_body(0x11, 2, 22050, 4, 20);
    Walked w(RiffBuilder().chunk("fmt ", fmt).chunk("fmt ", kPcm8).bytes(), true);
    ASSERT_TRUE(w.ok && w.r.lpFormat);
    EXPECT_EQ(std::memcmp(w.r.lpFormat, fmt.data(), fmt.size()), 0);
}

TEST(WaveFileWalk, DataCutShortIsZeroFilled) {
    auto full = RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(100, 1)).bytes();
    Walked w(std::vector<uint8_t>(full.begin(), full.begin() + 44 + 10), true);
    ASSERT_TRUE(w.ok);
    std::vector<uint8_t> expected = ramp(10, 1);
    expected.resize(100, 0);
    EXPECT_EQ(w.data(), expected);
}

TEST(WaveFileWalk, LyingSizesEndAtTheEndOfTheFile) {
    // A chunk that claims nearly 4 GiB under a riffSize of nearly 4 GiB: reads past the end
    // deliver nothing, and the first header that cannot be read ends the walk.
    Walked lying(RiffBuilder().chunk("fmt ", kPcm8).chunk_declared("junk", 0xFFFFFFF0, ramp(30)).bytes(0xFFFFFFFF), false);
    EXPECT_TRUE(lying.ok);
    EXPECT_LE(lying.reader.reads, 5);
    std::vector<uint8_t> empty_chunks = RiffBuilder().bytes(0xFFFFFFFF);
    empty_chunks.resize(12 + 8 * 1000, 0);  // a thousand empty chunks with id 0
    Walked walked(empty_chunks, true);
    EXPECT_TRUE(walked.ok);
    EXPECT_EQ(walked.reader.reads, 1 + 1000 + 1);
}

TEST(WaveFileWalk, FailedAllocationsFailTheOpen) {
    auto file = RiffBuilder().chunk("fmt ", kPcm8).chunk("data", ramp(64)).bytes();
    EXPECT_FALSE(Walked(file, true, [](size_t) -> void* { return nullptr; }).ok);
    auto refuse_large = [](size_t n) -> void* { return n >= 64 ? nullptr : std::malloc(n); };
    EXPECT_FALSE(Walked(file, true, refuse_large).ok) << "the data block";
    EXPECT_TRUE(Walked(file, false, refuse_large).ok) << "streaming allocates no data block";
}

}  // namespace
