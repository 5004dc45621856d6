// ACM decoding against Wine's real ACM and its built-in codecs, on files made by sox and
// checked against sox's own decode; failing steps injected through a pass-through fake;
// codec drivers added and removed for real with a small test driver.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "audio/acm.h"
#include "mediakit.h"
#include "platform/acm_calls.h"
#include "riff_builder.h"
#include "temp_dir.h"

namespace {

std::string sox_file(const std::string& name) { return std::string(MK_SOX_WAV_DIR) + "/" + name + ".wav"; }

struct Wave {
    explicit Wave(const std::string& name) { ok = wav_OpenWaveForFile(sox_file(name).c_str(), &r, 1) == 1 && r.lpFormat; }
    ~Wave() { wav_CloseWaveForFile(&r); }
    WaveForFile r{};
    bool ok;
};

bool conversion_closed() {
    static const ACMSTREAMHEADER kZero{};
    mediakit::AcmStateView s = mediakit::acm_state_for_test();
    return !s.stream && std::memcmp(&s.header, &kZero, sizeof kZero) == 0;
}

// ---- A pass-through fake that logs each call by name ("!" after one it failed) -----------

std::string g_log, g_fail;
const mediakit::AcmCalls* g_real = nullptr;

bool failing(const char* name) {
    g_log += std::string(name) + (g_fail == name ? "! " : " ");
    return g_fail == name;
}
long count(const std::string& call) {
    long n = 0;
    for (size_t at = 0; (at = (" " + g_log).find(" " + call + " ", at)) != std::string::npos; ++at) ++n;
    return n;
}
#define MK_FAKE(type, name, fail, params, ...) \
    type WINAPI fake_##name params { return failing(#name) ? fail : g_real->name(__VA_ARGS__); }
MK_FAKE(MMRESULT, acmFormatSuggest, MMSYSERR_ERROR, (HACMDRIVER d, LPWAVEFORMATEX s, LPWAVEFORMATEX t, DWORD n, DWORD f), d, s, t, n, f)
MK_FAKE(MMRESULT, acmStreamOpen, MMSYSERR_ERROR, (LPHACMSTREAM h, HACMDRIVER d, LPWAVEFORMATEX s, LPWAVEFORMATEX t,
        LPWAVEFILTER fl, DWORD_PTR cb, DWORD_PTR i, DWORD f), h, d, s, t, fl, cb, i, f)
MK_FAKE(MMRESULT, acmStreamSize, MMSYSERR_ERROR, (HACMSTREAM h, DWORD in, LPDWORD out, DWORD f), h, in, out, f)
MK_FAKE(MMRESULT, acmStreamPrepareHeader, MMSYSERR_NOMEM, (HACMSTREAM h, LPACMSTREAMHEADER p, DWORD f), h, p, f)
MK_FAKE(MMRESULT, acmStreamConvert, MMSYSERR_ERROR, (HACMSTREAM h, LPACMSTREAMHEADER p, DWORD f), h, p, f)
MK_FAKE(MMRESULT, acmStreamUnprepareHeader, MMSYSERR_ERROR, (HACMSTREAM h, LPACMSTREAMHEADER p, DWORD f), h, p, f)
MK_FAKE(MMRESULT, acmStreamClose, MMSYSERR_ERROR, (HACMSTREAM h, DWORD f), h, f)
MK_FAKE(MMRESULT, acmDriverAddA, MMSYSERR_ERROR, (LPHACMDRIVERID id, HINSTANCE m, LPARAM p, DWORD pr, DWORD f), id, m, p, pr, f)

struct FakeAcm {
    explicit FakeAcm(const char* fail = "") : calls(mediakit::acm_calls()) {
        g_fail = fail, g_log.clear(), g_real = &mediakit::acm_calls();
        calls.acmFormatSuggest = fake_acmFormatSuggest, calls.acmStreamOpen = fake_acmStreamOpen;
        calls.acmStreamSize = fake_acmStreamSize, calls.acmStreamPrepareHeader = fake_acmStreamPrepareHeader;
        calls.acmStreamConvert = fake_acmStreamConvert, calls.acmStreamUnprepareHeader = fake_acmStreamUnprepareHeader;
        calls.acmStreamClose = fake_acmStreamClose, calls.acmDriverAddA = fake_acmDriverAddA;
        mediakit::set_acm_calls_for_test(&calls);
    }
    ~FakeAcm() { mediakit::set_acm_calls_for_test(nullptr); }
    mediakit::AcmCalls calls;
};

// ---- Decoding -----------------------------------------------------------------------------

// IMA ADPCM and G.711 have one exact decoding rule, so Wine's codecs and sox agree sample
// for sample. MS ADPCM decoders may round the predictor either way, and the difference feeds
// back through it: the ACM's decode must stay within a few steps of sox's.
TEST(AcmDecode, SoxFilesDecodeAsSoxDecodesThem) {
    const struct { const char* name; int tolerance; } rows[] = {
        {"ima_mono", 0}, {"ima_stereo", 0}, {"ms_mono", 64}, {"ms_stereo", 64}, {"mulaw_mono", 0}, {"alaw_stereo", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Wave w(row.name), ref(std::string(row.name) + "_ref");
        ASSERT_TRUE(w.ok && ref.ok && ref.r.dwDataSize);
        WAVEFORMATEX target;
        std::memset(&target, 0xCD, sizeof target);
        DWORD bytes = 0;
        ASSERT_EQ(acm_BeginDecode(w.r.lpFormat, w.r.dwSampleLength, w.r.dwDataSize, &target, &bytes), 1);
        const WORD channels = w.r.lpFormat->nChannels;
        WAVEFORMATEX pcm{WAVE_FORMAT_PCM, channels, w.r.lpFormat->nSamplesPerSec, 0, WORD(2 * channels), 16, 0};
        pcm.nAvgBytesPerSec = pcm.nSamplesPerSec * pcm.nBlockAlign;
        EXPECT_EQ(std::memcmp(&target, &pcm, sizeof pcm), 0);
        std::vector<int16_t> got((bytes + 1) / 2);
        EXPECT_EQ(acm_Decode(w.r.lpData, reinterpret_cast<BYTE*>(got.data())), 1);
        // A sample count is exact for whole-byte samples; below 8 bits it is ignored and the
        // ACM sizes the output, as it does when no count is given.
        DWORD counted = 0, uncounted = 0;
        acm_BeginDecode(w.r.lpFormat, 600, w.r.dwDataSize, &target, &counted);
        acm_BeginDecode(w.r.lpFormat, 0, w.r.dwDataSize, &target, &uncounted);
        acm_EndDecode();
        EXPECT_EQ(counted, w.r.lpFormat->wBitsPerSample >= 8 ? 600u * target.nBlockAlign : uncounted);
        EXPECT_EQ(uncounted, bytes);
        // ADPCM output comes in whole blocks, as sox decodes it too.
        const int16_t* want = reinterpret_cast<const int16_t*>(ref.r.lpData);
        ASSERT_GE(got.size(), ref.r.dwDataSize / 2);
        int worst = 0;
        for (size_t i = 0; i < ref.r.dwDataSize / 2; ++i) worst = std::max(worst, std::abs(want[i] - got[i]));
        EXPECT_LE(worst, row.tolerance);
    }
}

TEST(AcmDecode, EveryFailingStepLeavesTheConversionClosed) {
    Wave ima("ima_mono");
    ASSERT_TRUE(ima.ok);
    const struct { const char* step; int begun, decoded; } rows[] = {
        {"acmFormatSuggest", 0, 0}, {"acmStreamOpen", 0, 0}, {"acmStreamSize", 0, 0},
        {"acmStreamPrepareHeader", 1, 0}, {"acmStreamConvert", 1, 0}, {"", 1, 1}};
    for (const auto& row : rows) {
        FakeAcm fake(row.step);
        WAVEFORMATEX target;
        DWORD bytes = 0;
        EXPECT_EQ(acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes), row.begun) << row.step;
        std::vector<BYTE> out(bytes + 1);
        EXPECT_EQ(row.begun && acm_Decode(ima.r.lpData, out.data()), row.decoded) << row.step;
        EXPECT_EQ(conversion_closed(), !row.decoded) << row.step;
        acm_EndDecode();
        // Every stream opened is closed once, a prepared header unprepared before it.
        EXPECT_TRUE(conversion_closed() && count("acmStreamClose") == count("acmStreamOpen")) << g_log;
        EXPECT_TRUE(!count("acmStreamPrepareHeader") || g_log.find("UnprepareHeader acmStreamClose") != std::string::npos) << g_log;
    }
    FakeAcm fake;  // a second begin ends the first conversion
    WAVEFORMATEX target;
    DWORD bytes = 0;
    for (int begin = 0; begin < 2; ++begin) acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes);
    acm_EndDecode();
    EXPECT_EQ(count("acmStreamClose") * count("acmStreamOpen"), 4) << g_log;
}

// ---- Codec drivers ------------------------------------------------------------------------

bool loaded(const char* module) { return GetModuleHandleA(module) != nullptr; }
bool is_zero(const AcmDriverEntry& e) { return !e.hModule && !e.hadid; }

// A folder of ".acm" files, and the current directory there while it lives, so that the
// bare names the scan hands to LoadLibraryA resolve to these files.
class DriverFolder : public testing::Test {
protected:
    void SetUp() override { GetCurrentDirectoryA(MAX_PATH, cwd_), SetCurrentDirectoryA(dir_.path("").c_str()); }
    void TearDown() override { acm_FreeDrivers(), SetCurrentDirectoryA(cwd_); }
    std::string file(const std::string& name, bool driver = true) {
        if (driver) std::filesystem::copy_file(MK_TEST_ACM_DRIVER, dir_.path(name));
        else mktest::write_file(dir_.path(name), mktest::Bytes(100, 'x'));
        return dir_.path(name);
    }
    mktest::TempDir dir_;
    char cwd_[MAX_PATH];
};

TEST_F(DriverFolder, AddRemoveAndScan) {
    std::string good = file("mkgood.acm"), other = file("mkother.acm"), junk = file("junk.acm", false);
    AcmDriverEntry entry{};
    ASSERT_EQ(acm_AddDriver(good.c_str(), "DriverProc", &entry), 1);
    ASSERT_TRUE(entry.hModule && entry.hadid);
    auto messages = reinterpret_cast<LONG (*)()>(reinterpret_cast<void*>(GetProcAddress(entry.hModule, "driver_messages")));
    EXPECT_GT(messages(), 0) << "the ACM opened the driver";
    acm_RemoveDriver(&entry);
    EXPECT_TRUE(is_zero(entry) && !loaded("mkgood.acm"));
    // Failed adds: not a module, no such entry function, no such file, the ACM refuses.
    const struct { std::string path; const char* proc; const char* fail; } rows[] = {
        {junk, "DriverProc", ""}, {other, "NoSuchProc", ""}, {dir_.path("missing.acm"), "DriverProc", ""},
        {other, "DriverProc", "acmDriverAddA"}};
    for (const auto& row : rows) {
        FakeAcm fake(row.fail);
        EXPECT_EQ(acm_AddDriver(row.path.c_str(), row.proc, &entry), 0) << row.path << row.proc;
        EXPECT_TRUE(is_zero(entry) && !loaded("mkother.acm"));
    }
    // The scan adds every ".acm" file and skips folders; the junk file's entry stays zero.
    file("readme.txt", false);
    std::filesystem::create_directories(dir_.path("folder.acm/dirs.acm"));
    for (int scan = 0; scan < 2; ++scan) {  // a second scan first removes the drivers of the first
        ASSERT_EQ(acm_ScanDrivers(dir_.path("host.exe").c_str(), "DriverProc"), 1);
        mediakit::AcmStateView s = mediakit::acm_state_for_test();
        ASSERT_EQ(s.driver_count, 3);
        EXPECT_EQ(is_zero(s.drivers[0]) + is_zero(s.drivers[1]) + is_zero(s.drivers[2]), 1);
        EXPECT_TRUE(loaded("mkgood.acm") && loaded("mkother.acm"));
    }
    acm_FreeDrivers();
    EXPECT_TRUE(!mediakit::acm_state_for_test().drivers && !mediakit::acm_state_for_test().driver_count);
    EXPECT_FALSE(loaded("mkgood.acm") || loaded("mkother.acm"));
    // No such folder, no match, folders only.
    EXPECT_EQ(acm_ScanDrivers(dir_.path("missing/host.exe").c_str(), "DriverProc"), 0);
    EXPECT_EQ(acm_ScanDrivers(dir_.path("folder.acm/dirs.acm/host.exe").c_str(), "DriverProc"), 0);
    EXPECT_EQ(acm_ScanDrivers(dir_.path("folder.acm/host.exe").c_str(), "DriverProc"), 1);
    EXPECT_EQ(mediakit::acm_state_for_test().driver_count, 0);
}

}  // namespace
