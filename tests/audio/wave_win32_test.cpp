// WAVE files through Wine's real KERNEL32 and "WAVE" resources linked into this program.
// The walks themselves are tested portably; here: handles, positions and resources.
#include <gtest/gtest.h>
#include <windows.h>

#include "guarded.h"
#include "mediakit.h"
#include "platform/wave_calls.h"
#include "riff_builder.h"
#include "temp_dir.h"

namespace {

using mktest::Bytes;
using mktest::ramp;
using mktest::Riff;

bool is_zero(const WaveForFile& r) { static const WaveForFile kZero{}; return std::memcmp(&r, &kZero, sizeof r) == 0; }
// A file can be deleted only while no handle is open on it.
bool no_handle_open(const std::string& path) { return DeleteFileA(path.c_str()) != 0; }

TEST(WaveFile, LoadingClosesTheFileStreamingKeepsItAtTheDataAndFailuresLeaveNothing) {
    mktest::TempDir dir;
    WaveForFile r{};
    auto open = [&](const Bytes& bytes, int load, const char* name = "a.wav") {
        mktest::write_file(dir.path(name), bytes);
        return wav_OpenWaveForFile(dir.path(name).c_str(), &r, load);
    };
    const Bytes good = Riff().chunk("fmt ", ramp(16)).chunk("LIST", ramp(7)).chunk("data", ramp(10, 40)).bytes();
    ASSERT_EQ(open(good, 1), 1);
    EXPECT_TRUE(!r.hFile && r.llDataOffset == 60 && Bytes(r.lpData, r.lpData + r.dwDataSize) == ramp(10, 40));
    EXPECT_TRUE(no_handle_open(dir.path("a.wav")));
    // Failures close the record first, whatever it held. Loading cannot allocate a data
    // block of almost 4 GiB in a 32-bit process.
    const Bytes bad[] = {Riff().chunk("fmt ", ramp(12)).bytes(), Bytes{'R', 'I', 'F', 'F'},
                         Riff().chunk("fmt ", ramp(16)).chunk("data", ramp(16), 0xFFFFFFF0).bytes()};
    for (const Bytes& bytes : bad) {
        ASSERT_EQ(open(good, 0), 1);
        Bytes samples(10);
        DWORD got = 0;
        ASSERT_TRUE(r.hFile && !r.lpData && ReadFile(r.hFile, samples.data(), 10, &got, nullptr));
        EXPECT_EQ(samples, ramp(10, 40)) << "streaming starts at the first data byte";
        EXPECT_EQ(open(bytes, 1, "b.wav"), 0) << bytes.size();
        EXPECT_TRUE(is_zero(r) && no_handle_open(dir.path("a.wav")) && no_handle_open(dir.path("b.wav")));
    }
    EXPECT_EQ(wav_OpenWaveForFile(dir.path("missing.wav").c_str(), &r, 1), 0);
    EXPECT_EQ(wav_OpenWaveForFile(nullptr, &r, 1) + wav_OpenWaveForFile(dir.path("a.wav").c_str(), nullptr, 1), 0);
}

// By name and by identifier; an unknown name leaves the outputs untouched.
TEST(WaveResource, FoundByNameAndByIdentifier) {
    Bytes file = mktest::read_file(std::string(MK_SOX_WAV_DIR) + "/ima_mono.wav");
    for (LPCSTR name : {LPCSTR("chime"), LPCSTR("CHIME"), LPCSTR(MAKEINTRESOURCEA(101)), LPCSTR("nosuch")}) {
        const bool known = IS_INTRESOURCE(name) || std::strcmp(name, "nosuch") != 0;
        const WAVEFORMATEX* format = nullptr;
        BYTE* data = reinterpret_cast<BYTE*>(0x10);
        DWORD size = 0, fact = 0;
        ASSERT_EQ(wav_GetWaveForResource(GetModuleHandleA(nullptr), name, &format, &fact, &data, &size), known);
        EXPECT_TRUE(known ? !std::memcmp(format, &file[20], 20) && fact == mediakit::read_u32le(&file[48]) &&
                                Bytes(data, data + size) == Bytes(file.begin() + 60, file.end())
                          : !format && data == reinterpret_cast<BYTE*>(0x10));
    }
}

// An image whose riffSize claims more than it holds, flush against an inaccessible page,
// its "fact" value cut: without a length the walk stops where readable memory ends, and a
// resource's walk at the resource's own size.
mktest::GuardedBuffer* g_resource = nullptr;
HRSRC WINAPI fake_find(HMODULE, LPCSTR, LPCSTR) { return reinterpret_cast<HRSRC>(0x40); }
HGLOBAL WINAPI fake_load(HMODULE, HRSRC) { return reinterpret_cast<HGLOBAL>(0x80); }
LPVOID WINAPI fake_lock(HGLOBAL) { return g_resource->data(); }
DWORD WINAPI fake_size(HMODULE, HRSRC) { return DWORD(g_resource->size()); }

TEST(WaveImage, LyingSizesStopAtTheEndOfTheImage) {
    Bytes image = Riff().chunk("fmt ", ramp(16)).chunk("fact", mktest::body(4, {{0, 9}})).bytes(4096);
    mktest::GuardedBuffer guarded(image.size() - 2);
    std::memcpy(guarded.data(), image.data(), guarded.size());
    g_resource = &guarded;
    const mediakit::WaveCalls fake = {fake_find, fake_load, fake_lock, fake_size};
    for (bool resource : {false, true}) {
        const WAVEFORMATEX* format = nullptr;
        DWORD fact = 77;
        mediakit::set_wave_calls_for_test(&fake);
        EXPECT_EQ(resource ? wav_GetWaveForResource(nullptr, "x", &format, &fact, nullptr, nullptr)
                           : wav_ParseWaveResource(guarded.data(), &format, &fact, nullptr, nullptr), 1);
        mediakit::set_wave_calls_for_test(nullptr);
        EXPECT_TRUE(reinterpret_cast<const uint8_t*>(format) == guarded.data() + 20 && fact == 0) << resource;
    }
}

}  // namespace
