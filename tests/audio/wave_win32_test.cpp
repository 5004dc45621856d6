// WAVE files through Wine's real KERNEL32 and "WAVE" resources linked into this program.
// The walks themselves are tested portably; here: handles, positions and resources.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "guarded.h"
#include "mediakit.h"
#include "platform/wave_calls.h"
#include "riff_builder.h"
#include "temp_dir.h"

namespace {

using mktest::body_with_u32;
using mktest::format_body;
using mktest::ramp;
using mktest::RiffBuilder;

bool is_zero(const WaveForFile& r) {
    static const WaveForFile kZero{};
    return std::memcmp(&r, &kZero, sizeof r) == 0;
}

// A file can be deleted only while no handle is open on it.
bool no_handle_open(const std::string& path) { return DeleteFileA(path.c_str()) != 0; }

std::string sox_file(const char* name) { return std::string(MK_SOX_WAV_DIR) + "/" + name; }

class WaveFileTest : public testing::Test {
protected:
    std::string write(const std::string& name, const std::vector<uint8_t>& bytes) {
        mktest::write_file(dir_.path(name), bytes);
        return dir_.path(name);
    }
    void TearDown() override { wav_CloseWaveForFile(&record_); }
    mktest::TempDir dir_;
    WaveForFile record_{};
};

TEST_F(WaveFileTest, LoadingClosesTheFileAndStreamingKeepsItAtTheData) {
    const std::vector<uint8_t> bytes =
        RiffBuilder().chunk("fmt ", format_body(1, 1, 8000, 8)).chunk("LIST", ramp(7)).chunk("data", ramp(10, 40)).bytes();
    std::string path = write("a.wav", bytes);
    ASSERT_EQ(wav_OpenWaveForFile(path.c_str(), &record_, 1), 1);
    EXPECT_EQ(record_.hFile, nullptr);
    EXPECT_EQ(record_.llDataOffset, 60);
    ASSERT_EQ(record_.dwDataSize, 10u);
    EXPECT_EQ(std::vector<uint8_t>(record_.lpData, record_.lpData + 10), ramp(10, 40));
    EXPECT_TRUE(no_handle_open(path));

    path = write("s.wav", bytes);
    ASSERT_EQ(wav_OpenWaveForFile(path.c_str(), &record_, 0), 1) << "the loaded record is closed first";
    ASSERT_NE(record_.hFile, nullptr);
    EXPECT_EQ(record_.lpData, nullptr);
    EXPECT_EQ(fl_GetFilePointer(record_.hFile), record_.llDataOffset);
    uint8_t samples[10] = {};
    DWORD got = 0;
    ASSERT_TRUE(ReadFile(record_.hFile, samples, sizeof samples, &got, nullptr));
    EXPECT_EQ(std::vector<uint8_t>(samples, samples + got), ramp(10, 40));
    EXPECT_FALSE(no_handle_open(path));
    wav_CloseWaveForFile(&record_);
    EXPECT_TRUE(is_zero(record_));
    EXPECT_TRUE(no_handle_open(path));
}

TEST_F(WaveFileTest, FailuresLeaveTheRecordAllZeroAndNoHandleOpen) {
    std::string good = write("good.wav", RiffBuilder().chunk("fmt ", format_body(1, 2, 22050, 16)).chunk("data", ramp(8)).bytes());
    const std::vector<uint8_t> rows[] = {
        RiffBuilder().chunk("fmt ", ramp(12)).chunk("data", ramp(4)).bytes(),
        {'R', 'I', 'F', 'X', 4, 0, 0, 0, 'W', 'A', 'V', 'E'},
        {'R', 'I', 'F', 'F'},
        // Loading mode cannot allocate a data block of almost 4 GiB in a 32-bit process.
        RiffBuilder().chunk("fmt ", format_body(1, 1, 8000, 8)).chunk_declared("data", 0xFFFFFFF0, ramp(16)).bytes(),
    };
    for (const auto& bytes : rows) {
        std::string bad = write("bad.wav", bytes);
        ASSERT_EQ(wav_OpenWaveForFile(good.c_str(), &record_, 0), 1);  // holds a handle
        EXPECT_EQ(wav_OpenWaveForFile(bad.c_str(), &record_, 1), 0) << bytes.size();
        EXPECT_TRUE(is_zero(record_));
        EXPECT_TRUE(no_handle_open(bad));
    }
    EXPECT_EQ(wav_OpenWaveForFile(dir_.path("missing.wav").c_str(), &record_, 1), 0);
    EXPECT_TRUE(is_zero(record_));
    EXPECT_EQ(wav_OpenWaveForFile(nullptr, &record_, 1), 0);
    EXPECT_EQ(wav_OpenWaveForFile(good.c_str(), nullptr, 1), 0);
    EXPECT_TRUE(no_handle_open(good));
}

// The file walk and the memory walk agree on files written by sox.
TEST_F(WaveFileTest, SoxFilesReadAlikeFromFileAndMemory) {
    for (const char* name : {"ima_mono.wav", "ms_stereo.wav", "mulaw_mono.wav", "ima_stereo_ref.wav"}) {
        SCOPED_TRACE(name);
        std::vector<uint8_t> bytes = mktest::read_file(sox_file(name));
        const WAVEFORMATEX* format = nullptr;
        BYTE* data = nullptr;
        DWORD size = 0, fact = 0;
        ASSERT_EQ(wav_ParseWaveResource(bytes.data(), &format, &fact, &data, &size), 1);
        ASSERT_EQ(wav_OpenWaveForFile(sox_file(name).c_str(), &record_, 1), 1);
        ASSERT_TRUE(format && record_.lpFormat);
        size_t format_bytes = mktest::read_u32le_at(bytes, size_t(reinterpret_cast<const uint8_t*>(format) - bytes.data()) - 4);
        EXPECT_EQ(std::memcmp(record_.lpFormat, format, format_bytes), 0);
        EXPECT_EQ(record_.dwSampleLength, fact);
        EXPECT_EQ(fact != 0, format->wFormatTag != WAVE_FORMAT_PCM) << "sox writes fact for compressed data";
        ASSERT_EQ(record_.dwDataSize, size);
        EXPECT_EQ(record_.llDataOffset, data - bytes.data());
        EXPECT_EQ(std::memcmp(record_.lpData, data, size), 0);
    }
}

// An image handed over without a length whose sizes claim far more than there is: the walk
// stops where readable memory ends and keeps what it found before.
TEST(WaveImage, LyingSizesStopAtTheEndOfReadableMemory) {
    std::vector<uint8_t> bytes = mktest::read_file(sox_file("ima_mono.wav"));
    bytes.resize(56);  // "RIFF", "WAVE", "fmt ", "fact", and half of the "data" header
    mktest::GuardedBuffer image(bytes.size());
    std::memcpy(image.data(), bytes.data(), bytes.size());
    const WAVEFORMATEX* format = nullptr;
    BYTE* data = nullptr;
    DWORD size = 1, fact = 1;
    ASSERT_EQ(wav_ParseWaveResource(image.data(), &format, &fact, &data, &size), 1);
    EXPECT_EQ(reinterpret_cast<const uint8_t*>(format), image.data() + 20);
    EXPECT_EQ(fact, mktest::read_u32le_at(bytes, 48));
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0u);
}

TEST(WaveResource, FoundByNameAndByIdentifier) {
    std::vector<uint8_t> file = mktest::read_file(sox_file("ima_mono.wav"));
    const LPCSTR names[] = {"chime", "CHIME", MAKEINTRESOURCEA(101)};
    for (LPCSTR name : names) {
        const WAVEFORMATEX* format = nullptr;
        BYTE* data = nullptr;
        DWORD size = 0, fact = 0;
        ASSERT_EQ(wav_GetWaveForResource(GetModuleHandleA(nullptr), name, &format, &fact, &data, &size), 1);
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(format->wFormatTag, 0x11) << "IMA ADPCM";
        EXPECT_EQ(std::memcmp(format, file.data() + 20, 20), 0);
        EXPECT_EQ(fact, mktest::read_u32le_at(file, 48));
        ASSERT_EQ(size, file.size() - 60);
        EXPECT_EQ(std::memcmp(data, file.data() + 60, size), 0);
    }
    const WAVEFORMATEX* format = reinterpret_cast<const WAVEFORMATEX*>(0x10);
    EXPECT_EQ(wav_GetWaveForResource(GetModuleHandleA(nullptr), "nosuch", &format, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(format, reinterpret_cast<const WAVEFORMATEX*>(0x10)) << "outputs untouched";
}

// A resource whose riffSize claims more than it holds, flush against an inaccessible page:
// the walk stops at the resource's own size. Each of find, load and lock may fail.
const uint8_t* g_resource = nullptr;
DWORD g_resource_size = 0;
int g_fail_step = -1;
HRSRC WINAPI fake_find(HMODULE, LPCSTR, LPCSTR) { return g_fail_step == 0 ? nullptr : reinterpret_cast<HRSRC>(0x40); }
HGLOBAL WINAPI fake_load(HMODULE, HRSRC) { return g_fail_step == 1 ? nullptr : reinterpret_cast<HGLOBAL>(0x80); }
LPVOID WINAPI fake_lock(HGLOBAL) { return g_fail_step == 2 ? nullptr : const_cast<uint8_t*>(g_resource); }
DWORD WINAPI fake_size(HMODULE, HRSRC) { return g_resource_size; }

TEST(WaveResource, ResourceSizeBoundsTheWalk) {
    auto image = RiffBuilder().chunk("fmt ", format_body(1, 1, 8000, 8)).chunk("fact", body_with_u32(4, {{0, 9}})).bytes(4096);
    image.resize(image.size() - 2);  // the fact value is cut
    mktest::GuardedBuffer guarded(image.size());
    std::memcpy(guarded.data(), image.data(), image.size());
    g_resource = guarded.data();
    g_resource_size = DWORD(image.size());
    const mediakit::WaveCalls fake = {fake_find, fake_load, fake_lock, fake_size};
    mediakit::set_wave_calls_for_test(&fake);
    for (int step : {-1, 0, 1, 2}) {
        g_fail_step = step;
        const WAVEFORMATEX* format = nullptr;
        DWORD fact = 77;
        EXPECT_EQ(wav_GetWaveForResource(nullptr, "x", &format, &fact, nullptr, nullptr), step < 0 ? 1 : 0) << step;
        EXPECT_EQ(fact, step < 0 ? 0u : 77u) << step;
        EXPECT_EQ(format != nullptr, step < 0) << step;
    }
    mediakit::set_wave_calls_for_test(nullptr);
}

}  // namespace
