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
    size_t read(void* out, size_t n) override {
        ++reads;
        return inner_.read(out, n);
    }
    int64_t position() override { return inner_.position(); }
    void set_position(int64_t offset) override { inner_.set_position(offset); }
    int reads = 0;

private:
    mediakit::MemoryByteReader inner_;
};

struct Opened {
    bool ok;
    WaveForFile record;
    int64_t position;  ///< where the reader was left
    int reads;
};

// Walks a copy of exactly the file's bytes, so that ASan sees a read past its end.
Opened walk(const std::vector<uint8_t>& file, bool load, mediakit::BlockAllocFn alloc = std::malloc) {
    Opened o{};
    CountingReader reader(file);
    o.ok = mediakit::walk_wave_file(reader, load, &o.record, alloc);
    o.position = reader.position();
    o.reads = reader.reads;
    return o;
}

class WaveFileWalk : public testing::Test {
protected:
    Opened open(const std::vector<uint8_t>& file, bool load, mediakit::BlockAllocFn alloc = std::malloc) {
        opened_.push_back(walk(file, load, alloc));
        return opened_.back();
    }
    void TearDown() override {
        for (Opened& o : opened_) mediakit::free_wave_blocks(&o.record);
    }
    std::vector<Opened> opened_;
};

const std::vector<uint8_t> kPcm8Mono = format_body(1, 1, 8000, 8);

TEST_F(WaveFileWalk, FindsDataAfterAnOddChunkInBothModes) {
    auto file = RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("LIST", ramp(7)).chunk("data", ramp(10, 50)).bytes();
    Opened loaded = open(file, true);
    ASSERT_TRUE(loaded.ok);
    ASSERT_NE(loaded.record.lpFormat, nullptr);
    EXPECT_EQ(std::memcmp(loaded.record.lpFormat, kPcm8Mono.data(), 16), 0);
    EXPECT_EQ(loaded.record.llDataOffset, 60);
    EXPECT_EQ(loaded.record.dwDataSize, 10u);
    ASSERT_NE(loaded.record.lpData, nullptr);
    EXPECT_EQ(std::vector<uint8_t>(loaded.record.lpData, loaded.record.lpData + 10), ramp(10, 50));

    Opened streamed = open(file, false);
    ASSERT_TRUE(streamed.ok);
    EXPECT_EQ(streamed.record.lpData, nullptr);
    EXPECT_EQ(streamed.record.llDataOffset, 60);
    EXPECT_EQ(streamed.position, 60) << "streaming leaves the file at the first data byte";
}

TEST_F(WaveFileWalk, ChunkAfterOddDataIsRecognised) {
    auto file = RiffBuilder()
                    .chunk("fmt ", kPcm8Mono)
                    .chunk("data", ramp(7))
                    .chunk("fact", body_with_u32(4, {{0, 7}}))
                    .chunk("smpl", body_with_u32(60, {{44, 100}, {48, 200}}))
                    .bytes();
    Opened o = open(file, true);
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.record.dwDataSize, 7u);
    EXPECT_EQ(o.record.dwSampleLength, 7u);
    EXPECT_EQ(o.record.dwLoopStart, 100u);
    EXPECT_EQ(o.record.dwLoopEnd, 200u);
}

TEST_F(WaveFileWalk, HeaderOnlyFileOpensEmpty) {
    Opened o = open(RiffBuilder().bytes(), false);
    ASSERT_TRUE(o.ok);
    static const WaveForFile kZero{};
    EXPECT_EQ(std::memcmp(&o.record, &kZero, sizeof kZero), 0);
    EXPECT_EQ(o.position, 0) << "no data chunk: streaming leaves the file at offset 0";
}

TEST_F(WaveFileWalk, RefusesWhatTheOpenMustRefuse) {
    const struct {
        const char* what;
        std::vector<uint8_t> file;
    } rows[] = {
        {"fmt of 12 bytes", RiffBuilder().chunk("fmt ", ramp(12)).chunk("data", ramp(4)).bytes()},
        {"a later fmt of 12 bytes", RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(4)).chunk("fmt ", ramp(12)).bytes()},
        {"RIFX", [] { auto b = RiffBuilder().chunk("fmt ", kPcm8Mono).bytes(); b[3] = 'X'; return b; }()},
        {"WAVX", [] { auto b = RiffBuilder().chunk("fmt ", kPcm8Mono).bytes(); b[11] = 'X'; return b; }()},
        {"11 bytes", {'R', 'I', 'F', 'F', 4, 0, 0, 0, 'W', 'A', 'V'}},
        {"nothing", {}},
    };
    for (const auto& row : rows)
        for (bool load : {true, false}) EXPECT_FALSE(open(row.file, load).ok) << row.what << " load " << load;
}

// The walk stops once the position reaches riffSize + 4, four bytes short of the end of
// the RIFF body, while the memory walk goes on to riffSize + 8.
TEST_F(WaveFileWalk, StopsAtRiffSizePlusFour) {
    RiffBuilder b;
    b.chunk("fmt ", kPcm8Mono).chunk("data", ramp(4));  // data header at 36
    for (uint32_t riff_size : {32u, 33u}) {
        auto file = b.bytes(riff_size);
        Opened o = open(file, true);
        ASSERT_TRUE(o.ok);
        EXPECT_EQ(o.record.dwDataSize, riff_size == 32 ? 0u : 4u) << riff_size;
        DWORD size = 0;
        mediakit::parse_wave_image(file.data(), file.size(), {nullptr, nullptr, nullptr, &size});
        EXPECT_EQ(size, 4u) << riff_size;
    }
}

TEST_F(WaveFileWalk, FirstLoopNeedsFiftyTwoBytes) {
    for (size_t size : {size_t(51), size_t(52), size_t(60), size_t(200)}) {
        auto file = RiffBuilder().chunk("smpl", body_with_u32(size, {{44, 5}, {48, 9}})).chunk("data", ramp(2)).bytes();
        Opened o = open(file, true);
        ASSERT_TRUE(o.ok);
        EXPECT_EQ(o.record.dwLoopStart, size >= 52 ? 5u : 0u) << size;
        EXPECT_EQ(o.record.dwLoopEnd, size >= 52 ? 9u : 0u) << size;
        EXPECT_EQ(o.record.dwDataSize, 2u) << "the chunk after smpl, size " << size;
    }
}

TEST_F(WaveFileWalk, FirstChunkOfEachKindWinsAndEmptyDataGivesWay) {
    auto file = RiffBuilder()
                    .chunk("fact", body_with_u32(4, {}))
                    .chunk("fmt ", kPcm8Mono)
                    .chunk("data", {})
                    .chunk("fact", body_with_u32(4, {{0, 11}}))
                    .chunk("fmt ", format_body(2, 2, 22050, 4, 20))
                    .chunk("data", ramp(3, 7))
                    .chunk("data", ramp(5))
                    .chunk("fact", body_with_u32(2, {}))
                    .bytes();
    for (bool load : {true, false}) {
        Opened o = open(file, load);
        ASSERT_TRUE(o.ok);
        EXPECT_EQ(std::memcmp(o.record.lpFormat, kPcm8Mono.data(), 16), 0);
        EXPECT_EQ(o.record.dwSampleLength, 11u);
        EXPECT_EQ(o.record.dwDataSize, 3u);
        EXPECT_EQ(o.record.llDataOffset, 104);  // the body of the data chunk of 3 bytes
        if (load) {
            EXPECT_EQ(std::vector<uint8_t>(o.record.lpData, o.record.lpData + 3), ramp(3, 7));
        }
    }
}

TEST_F(WaveFileWalk, TruncatedFilesKeepWhatWasFound) {
    auto full = RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(100, 1)).chunk("fact", body_with_u32(4, {{0, 3}})).bytes();
    // Cut inside the data body: the block holds what the file had, then zeros.
    std::vector<uint8_t> cut(full.begin(), full.begin() + 44 + 10);
    Opened o = open(cut, true);
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.record.dwDataSize, 100u);
    std::vector<uint8_t> expected = ramp(10, 1);
    expected.resize(100, 0);
    EXPECT_EQ(std::vector<uint8_t>(o.record.lpData, o.record.lpData + 100), expected);

    // Cut inside a chunk header: the walk ends there.
    for (size_t length : {size_t(13), size_t(36 + 5), size_t(144 + 7)}) {
        std::vector<uint8_t> c(full.begin(), full.begin() + long(length));
        Opened t = open(c, false);
        EXPECT_TRUE(t.ok) << length;
        EXPECT_EQ(t.record.lpFormat != nullptr, length > 36) << length;
        EXPECT_EQ(t.record.dwSampleLength, 0u) << length;
    }
}

TEST_F(WaveFileWalk, LyingSizesEndAtTheEndOfTheFile) {
    // riffSize near 4 GiB and chunks that claim more than there is: every read past the end
    // delivers nothing, and the first header that cannot be read ends the walk.
    auto file = RiffBuilder()
                    .chunk("fmt ", kPcm8Mono)
                    .chunk_declared("junk", 0xFFFFFFF0, ramp(30))
                    .bytes(0xFFFFFFFF);
    Opened o = open(file, false);
    EXPECT_TRUE(o.ok);
    EXPECT_LE(o.reads, 5);
    std::vector<uint8_t> zero_chunks = RiffBuilder().bytes(0xFFFFFFFF);
    zero_chunks.resize(12 + 8 * 1000, 0);  // a thousand empty chunks with id 0
    Opened z = open(zero_chunks, true);
    EXPECT_TRUE(z.ok);
    EXPECT_EQ(z.reads, 1 + 1000 + 1);
}

TEST_F(WaveFileWalk, FailedAllocationsFailTheOpen) {
    auto file = RiffBuilder().chunk("fmt ", kPcm8Mono).chunk("data", ramp(64)).bytes();
    auto refuse_all = [](size_t) -> void* { return nullptr; };
    EXPECT_FALSE(open(file, true, refuse_all).ok);
    // Only blocks of the data's size fail: the format is allocated, then the open fails.
    auto refuse_large = [](size_t n) -> void* { return n >= 64 ? nullptr : std::malloc(n); };
    Opened o = open(file, true, refuse_large);
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(open(file, false, refuse_large).ok) << "streaming allocates no data block";
}

}  // namespace
