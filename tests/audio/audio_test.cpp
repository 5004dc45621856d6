// The memory walk and the file walk over one table of worked images; the driver search pattern.
#include <gtest/gtest.h>

#include <cstdlib>
#include <array>

#include "audio/acm_rules.h"
#include "audio/wave_file.h"
#include "audio/wave_memory.h"
#include "riff_builder.h"

namespace {

using namespace mktest;

// What a walk found: result, format and data as offsets into the image (-1 for none, -2 for
// a block that differs from the image there), data size, sample count, loop start and end.
using Found = std::array<int64_t, 7>;
const Found kFails{0, -1, -1};

// Over exactly the image's bytes (ASan sees a read past them); outputs start as garbage.
Found memory_walk(const Bytes& image) {
    const WAVEFORMATEX* format = reinterpret_cast<const WAVEFORMATEX*>(0x1);
    BYTE* data = reinterpret_cast<BYTE*>(0x1);
    DWORD size = 0xFEEDABAD, fact = 0xFEEDABAD;
    int ok = mediakit::parse_wave_image(image.data(), image.size(), {&format, &fact, &data, &size});
    auto at = [&](const void* p) { return p ? long(static_cast<const uint8_t*>(p) - image.data()) : -1L; };
    return {ok, at(format), at(data), size, fact};
}

// The format block must hold the body found at `format`, the data block the body's bytes
// with zeros for what the file lacks; streaming leaves the reader at the first data byte.
Found file_walk(const Bytes& image, bool load, long format, mediakit::BlockAllocFn alloc = std::malloc) {
    mediakit::MemoryByteReader reader(image.data(), image.size());
    WaveForFile r{};
    Found f{mediakit::walk_wave_file(reader, load, &r, alloc), -1, -1, r.dwDataSize, r.dwSampleLength, r.dwLoopStart, r.dwLoopEnd};
    if (r.lpFormat)
        f[1] = format < 0 || std::memcmp(r.lpFormat, &image[size_t(format)], mediakit::read_u32le(&image[size_t(format) - 4])) ? -2 : format;
    Bytes want(r.dwDataSize);  // the body, zero where the file ends
    for (size_t i = 0; i < want.size() && r.llDataOffset + i < image.size(); ++i) want[i] = image[r.llDataOffset + i];
    if (load ? r.lpData != nullptr : r.dwDataSize || r.llDataOffset) f[2] = r.llDataOffset;
    if (load ? r.lpData && want != Bytes(r.lpData, r.lpData + r.dwDataSize) : r.lpData || reader.position() != r.llDataOffset)
        f[2] = -2;
    mediakit::free_wave_blocks(&r);
    return f[0] ? f : kFails;
}

// `file` is the file walk's result when it finds something else than the memory walk.
struct Row { const char* what; Bytes image; Found memory, file = {-1}; };

// Offsets by hand: the RIFF header is 12 bytes, each chunk header 8, odd bodies 1 pad byte.
std::vector<Row> rows() {
    const Bytes fmt = ramp(16, 100);
    const Bytes full = Riff().chunk("fmt ", fmt).chunk("fact", body(4, {{0, 99}})).chunk("data", ramp(4)).bytes(4000);
    auto cut = [&](size_t n) { return Bytes(full.begin(), full.begin() + long(n)); };
    auto form = [](const char* id, size_t at) { Bytes b = Riff().bytes(); std::memcpy(&b[at], id, 4); return b; };
    auto sized = [&](int64_t riff_size) { return Riff().chunk("fmt ", fmt).chunk("data", ramp(4)).bytes(riff_size); };
    auto smpl = [](size_t size) { return Riff().chunk("smpl", body(size, {{44, 5}, {48, 9}})).chunk("data", ramp(2)).bytes(); };
    return {
        {"fmt, odd LIST, data", Riff().chunk("fmt ", fmt).chunk("LIST", ramp(7)).chunk("data", ramp(10)).bytes(), {1, 20, 60, 10, 0}},
        {"odd data, fact, smpl",
         Riff().chunk("fmt ", fmt).chunk("data", ramp(7)).chunk("fact", body(4, {{0, 7}})).chunk("smpl", body(60, {{44, 100}, {48, 200}})).bytes(),
         {1, 20, 44, 7, 7}, {1, 20, 44, 7, 7, 100, 200}},
        {"fmt of 12", Riff().chunk("fmt ", ramp(12)).chunk("data", ramp(4)).bytes(), kFails},
        {"fmt of 14", Riff().chunk("fmt ", ramp(14)).bytes(), {1, 20, -1}}, {"header only", Riff().bytes(), {1, -1, -1}},
        {"later fmt of 12", Riff().chunk("fmt ", fmt).chunk("fmt ", ramp(12)).bytes(), {1, 20, -1}, kFails},
        {"first of each kind, empty data gives way",
         Riff().chunk("fact", body(4)).chunk("fmt ", fmt).chunk("data", {}).chunk("fact", body(4, {{0, 11}}))
             .chunk("fmt ", ramp(20)).chunk("data", ramp(3, 7)).chunk("data", ramp(5)).chunk("fact", body(2)).bytes(),
         {1, 32, 104, 3, 11}},
        {"RIFX", form("RIFX", 0), kFails}, {"AVI form", form("AVI ", 8), kFails}, {"11 bytes", cut(11), kFails},
        // The memory walk ends at riffSize + 8, the file walk at riffSize + 4.
        {"riffSize 28", sized(28), {1, 20, -1}}, {"riffSize 33", sized(33), {1, 20, 44, 4}},
        {"riffSize 32", sized(32), {1, 20, 44, 4}, {1, 20, -1}},
        // 0xFFFFFFFF + 1 would wrap to 0 in 32 bits and land on the data header.
        {"chunk of 0xFFFFFFFF", Riff().chunk("fmt ", fmt).chunk("junk", {}, 0xFFFFFFFF).chunk("data", ramp(4)).bytes(), {1, 20, -1}},
        {"lying sizes", Riff().chunk("fmt ", fmt).chunk("junk", ramp(30), 0xFFFFFFF0).bytes(0xFFFFFFFF), {1, 20, -1}},
        {"smpl of 51", smpl(51), {1, -1, 80, 2}}, {"smpl of 52", smpl(52), {1, -1, 80, 2}, {1, -1, 80, 2, 0, 5, 9}},
        // Cut short of what riffSize claims: fact header at 36, value at 44, data header at 48.
        {"cut in the fact value", cut(47), {1, 20, -1}}, {"cut after the fact", cut(48), {1, 20, -1, 0, 99}},
        {"cut in the data header", cut(55), {1, 20, -1, 0, 99}}, {"cut at the data body", cut(56), {1, 20, 56, 4, 99}},
        {"cut in the data body", cut(58), {1, 20, 56, 4, 99}},
    };
}

TEST(WaveWalks, WorkedImages) {
    for (const Row& row : rows()) {
        EXPECT_EQ(memory_walk(row.image), row.memory) << row.what;
        const Found& file = row.file[0] < 0 ? row.memory : row.file;
        for (bool load : {true, false})
            EXPECT_EQ(file_walk(row.image, load, file[1]), file) << row.what << (load ? ", loading" : ", streaming");
    }
}

TEST(WaveWalks, FailedAllocationsFailTheFileWalk) {
    Bytes image = Riff().chunk("fmt ", ramp(16)).chunk("data", ramp(64)).bytes();
    auto refuse_large = [](size_t n) -> void* { return n >= 64 ? nullptr : std::malloc(n); };
    EXPECT_EQ(file_walk(image, true, 20, [](size_t) -> void* { return nullptr; }), kFails);
    EXPECT_EQ(file_walk(image, true, 20, refuse_large), kFails) << "the data block";
    EXPECT_EQ(file_walk(image, false, 20, refuse_large), (Found{1, 20, 44, 64, 0})) << "streaming needs none";
}

// Each output of the memory walk is optional and judged on its own: with no size to look
// at, an empty "data" chunk keeps its address; with no address, the size decides.
TEST(WaveWalks, MemoryOutputsAreOptional) {
    Bytes image = Riff().chunk("fmt ", ramp(12)).chunk("data", {}).chunk("data", ramp(5)).bytes();
    BYTE* data = nullptr;
    DWORD size = 1;  // a short fmt is not examined when no format is wanted
    EXPECT_EQ(mediakit::parse_wave_image(image.data(), image.size(), {nullptr, nullptr, &data, nullptr}) +
              mediakit::parse_wave_image(image.data(), image.size(), {nullptr, nullptr, nullptr, &size}), 2);
    EXPECT_EQ(data - image.data(), 40);
    EXPECT_EQ(size, 5u);
}

TEST(WaveSetFormat, FillsPcmFormats) {
    const struct { WORD channels, bits; DWORD rate; WORD align; DWORD avg; } rows[] = {
        {2, 16, 44100, 4, 176400}, {1, 4, 22050, 0, 0}, {6, 24, 48000, 18, 864000}, {3, 12, 8000, 4, 32000},
        {0xFFFF, 0xFFFF, 3, 0xC000, 3 * 0xC000}};
    for (const auto& r : rows) {
        WAVEFORMATEX f, want{WAVE_FORMAT_PCM, r.channels, r.rate, r.avg, r.align, r.bits, 0};
        std::memset(&f, 0xAB, sizeof f);
        wav_SetWaveFormat(r.channels, r.bits, r.rate, &f);
        EXPECT_EQ(std::memcmp(&f, &want, sizeof f), 0) << r.channels << "x" << r.bits;
    }
}

// Lead bytes of code page 932; its trail bytes include 0x5C, the backslash.
bool cp932_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool no_lead(unsigned char) { return false; }

TEST(DriverPattern, DriveAndDirectoryOfThePath) {
    // A path longer than MAX_PATH allows: drive and directory, "\*.acm" and the NUL fit 260.
    const std::string fits = "C:" + std::string(251, 'd'), too_long = fits + "d";
    const struct { std::string path, pattern; bool (*lead)(unsigned char) = cp932_lead; } rows[] = {
        {"D:\\Game\\play.exe", "D:\\Game\\*.acm"}, {"D:\\Game\\", "D:\\Game\\*.acm"}, {"D:\\play.exe", "D:\\*.acm"},
        {"play.exe", "\\*.acm"}, {"", "\\*.acm"}, {"C:play.exe", "C:\\*.acm"}, {"C:", "C:\\*.acm"},
        {"dir/sub/x.acm", "dir/sub\\*.acm"}, {"a\\b/c\\d", "a\\b/c\\*.acm"}, {"\\\\srv\\share\\host.exe", "\\\\srv\\share\\*.acm"},
        {"ab:\\x.exe", "ab:\\*.acm"},  // a colon past the second character is no drive
        // U+8868 is 0x95 0x5C in code page 932: its trail byte is no separator, unless the
        // code page is not in force.
        {"C:\\\x95\x5c\\host.exe", "C:\\\x95\x5c\\*.acm"}, {"C:\\\x95\x5chost.exe", "C:\\*.acm"},
        {"C:\\\x95\x5chost.exe", "C:\\\x95\\*.acm", no_lead},
        {"C:\\dir\\\x95", "C:\\dir\\*.acm"},  // a lead byte at the end has no trail byte
        {fits + "\\host.exe", fits + "\\*.acm"}, {too_long + "\\host.exe", ""}};
    for (const auto& row : rows) {
        char out[mediakit::kDriverPatternChars];
        EXPECT_EQ(mediakit::build_driver_pattern(row.path.c_str(), row.lead, out), !row.pattern.empty()) << row.path;
        EXPECT_EQ(out, row.pattern) << row.path;
    }
}

}  // namespace
