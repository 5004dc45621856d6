// WAVE files, resources and ACM decoding against Wine's real KERNEL32 and ACM with its
// built-in codecs, on files made by sox and checked against sox's own decode; failing steps
// injected through pass-through fakes; codec drivers added and removed for real with a small
// test driver. The walks themselves are tested portably.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "audio/acm.h"
#include "call_fake.h"
#include "guarded.h"
#include "mediakit.h"
#include "platform/kernel32_calls.h"
#include "platform/msacm32_calls.h"
#include "riff_builder.h"
#include "temp_dir.h"

namespace {

using namespace mktest;
using mediakit::Kernel32Calls;
using mediakit::Msacm32Calls;

std::string sox_file(const std::string& name) { return std::string(MK_SOX_WAV_DIR) + "/" + name + ".wav"; }
template <class T> bool is_zero(const T& r) { static const T kZero{}; return std::memcmp(&r, &kZero, sizeof r) == 0; }
// A file can be deleted only while no handle is open on it.
bool no_handle_open(const std::string& path) { return DeleteFileA(path.c_str()) != 0; }

// ---- Files and resources ------------------------------------------------------------------

TEST(WaveFile, LoadingClosesTheFileStreamingKeepsItAtTheDataAndFailuresLeaveNothing) {
    TempDir dir;
    WaveForFile r{};
    auto open = [&](const Bytes& bytes, int load, const char* name = "a.wav") {
        write_file(dir.path(name), bytes);
        return wav_OpenWaveForFile(dir.path(name).c_str(), &r, load);
    };
    const Bytes good = Riff().chunk("fmt ", ramp(16)).chunk("LIST", ramp(7)).chunk("data", ramp(10, 40)).bytes();
    ASSERT_EQ(open(good, 1), 1);
    EXPECT_EQ(r.hFile, nullptr);
    EXPECT_EQ(r.llDataOffset, 60);
    EXPECT_EQ(Bytes(r.lpData, r.lpData + r.dwDataSize), ramp(10, 40));
    EXPECT_TRUE(no_handle_open(dir.path("a.wav")));
    // Failures close the record first, whatever it held. Loading cannot allocate a data
    // block of almost 4 GiB in a 32-bit process.
    const Bytes bad[] = {Riff().chunk("fmt ", ramp(12)).bytes(), Bytes{'R', 'I', 'F', 'F'},
                         Riff().chunk("fmt ", ramp(16)).chunk("data", ramp(16), 0xFFFFFFF0).bytes()};
    for (const Bytes& bytes : bad) {
        ASSERT_EQ(open(good, 0), 1);
        Bytes samples(10);
        DWORD got = 0;
        ASSERT_NE(r.hFile, nullptr);
        ASSERT_EQ(r.lpData, nullptr);
        ASSERT_TRUE(ReadFile(r.hFile, samples.data(), 10, &got, nullptr));
        EXPECT_EQ(samples, ramp(10, 40)) << "streaming starts at the first data byte";
        EXPECT_EQ(open(bytes, 1, "b.wav"), 0) << bytes.size();
        EXPECT_TRUE(is_zero(r)) << bytes.size();
        for (const char* name : {"a.wav", "b.wav"}) EXPECT_TRUE(no_handle_open(dir.path(name))) << name << ", " << bytes.size();
    }
    EXPECT_EQ(wav_OpenWaveForFile(dir.path("missing.wav").c_str(), &r, 1), 0);
    EXPECT_EQ(wav_OpenWaveForFile(nullptr, &r, 1), 0);
    EXPECT_EQ(wav_OpenWaveForFile(dir.path("a.wav").c_str(), nullptr, 1), 0);
}

// By name and by identifier; an unknown name leaves the outputs untouched.
TEST(WaveResource, FoundByNameAndByIdentifier) {
    Bytes file = read_file(sox_file("ima_mono"));
    for (LPCSTR name : {LPCSTR("chime"), LPCSTR("CHIME"), LPCSTR(MAKEINTRESOURCEA(101)), LPCSTR("nosuch")}) {
        const bool known = IS_INTRESOURCE(name) || std::strcmp(name, "nosuch") != 0;
        const WAVEFORMATEX* format = nullptr;
        BYTE* data = reinterpret_cast<BYTE*>(0x10);
        DWORD size = 0, fact = 0;
        ASSERT_EQ(wav_GetWaveForResource(GetModuleHandleA(nullptr), name, &format, &fact, &data, &size), known);
        if (!known) {
            EXPECT_EQ(format, nullptr);
            EXPECT_EQ(data, reinterpret_cast<BYTE*>(0x10));
            continue;
        }
        ASSERT_NE(format, nullptr);
        EXPECT_EQ(Bytes(reinterpret_cast<const BYTE*>(format), reinterpret_cast<const BYTE*>(format) + 20), Bytes(&file[20], &file[40]));
        EXPECT_EQ(fact, mediakit::read_u32le(&file[48]));
        EXPECT_EQ(Bytes(data, data + size), Bytes(file.begin() + 60, file.end()));
    }
}

// An image whose riffSize claims more than it holds, flush against an inaccessible page,
// its "fact" value cut: without a length the walk stops where readable memory ends, and a
// resource's walk at the resource's own size.
TEST(WaveImage, LyingSizesStopAtTheEndOfTheImage) {
    Bytes image = Riff().chunk("fmt ", ramp(16)).chunk("fact", body(4, {{0, 9}})).bytes(4096);
    GuardedBuffer guarded(image.size() - 2);
    std::memcpy(guarded.data(), image.data(), guarded.size());
    for (bool resource : {false, true}) {
        const WAVEFORMATEX* format = nullptr;
        DWORD fact = 77;
        CallLog log;
        Fake<&Kernel32Calls::FindResourceA> find(log, [](auto...) { return reinterpret_cast<HRSRC>(0x40); });
        Fake<&Kernel32Calls::LoadResource> load(log, [](auto...) { return reinterpret_cast<HGLOBAL>(0x80); });
        Fake<&Kernel32Calls::LockResource> lock(log, [&](HGLOBAL) -> LPVOID { return guarded.data(); });
        Fake<&Kernel32Calls::SizeofResource> size(log, [&](auto...) { return DWORD(guarded.size()); });
        EXPECT_EQ(resource ? wav_GetWaveForResource(nullptr, "x", &format, &fact, nullptr, nullptr)
                           : wav_ParseWaveResource(guarded.data(), &format, &fact, nullptr, nullptr), 1);
        EXPECT_EQ(reinterpret_cast<const uint8_t*>(format), guarded.data() + 20) << resource;
        EXPECT_EQ(fact, 0u) << resource;
    }
}

// ---- Pass-through ACM fakes, one of which may fail ------------------------------------------

// Answers with `error` when its function is the failing step, else passes the call on.
template <auto Member>
struct Step : Fake<Member> {
    Step(CallLog& log, const std::string& failing, MMRESULT error)
        : Fake<Member>(log, [failing, error](auto... a) {
              return failing == call_name<Member>() ? error : Fake<Member>::system(a...);
          }) {}
};

struct FakeAcm {
    explicit FakeAcm(const std::string& failing = "") : fail(failing) {}
    size_t count(const std::string& name) const { return log.count(name); }
    size_t streams_opened() const { return fail == "acmStreamOpen" ? 0 : count("acmStreamOpen"); }
    std::string fail;
    CallLog log;
    Step<&Msacm32Calls::acmFormatSuggest> suggest{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmStreamOpen> open{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmStreamSize> size{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmStreamPrepareHeader> prepare{log, fail, MMSYSERR_NOMEM};
    Step<&Msacm32Calls::acmStreamConvert> convert{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmStreamUnprepareHeader> unprepare{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmStreamClose> close{log, fail, MMSYSERR_ERROR};
    Step<&Msacm32Calls::acmDriverAddA> add{log, fail, MMSYSERR_ERROR};
};

// ---- Decoding -----------------------------------------------------------------------------

struct Wave {
    explicit Wave(const std::string& name) { ok = wav_OpenWaveForFile(sox_file(name).c_str(), &r, 1) == 1 && r.lpFormat; }
    ~Wave() { wav_CloseWaveForFile(&r); }
    WaveForFile r{};
    bool ok;
};

bool conversion_closed() { return !mediakit::acm_state_for_test().stream && is_zero(mediakit::acm_state_for_test().header); }

// IMA ADPCM and G.711 have one exact decoding rule, so Wine's codecs and sox agree sample
// for sample. MS ADPCM decoders may round the predictor either way, and the difference feeds
// back through it: the ACM's decode must stay within a few steps of sox's.
TEST(AcmDecode, SoxFilesDecodeAsSoxDecodesThem) {
    const struct { const char* name; int tolerance; } rows[] = {
        {"ima_mono", 0}, {"ima_stereo", 0}, {"ms_mono", 64}, {"ms_stereo", 64}, {"mulaw_mono", 0}, {"alaw_stereo", 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Wave w(row.name), ref(std::string(row.name) + "_ref");
        ASSERT_TRUE(w.ok);
        ASSERT_TRUE(ref.ok);
        ASSERT_NE(ref.r.dwDataSize, 0u);
        WAVEFORMATEX target, pcm;
        std::memset(&target, 0xCD, sizeof target);
        DWORD bytes = 0;
        ASSERT_EQ(acm_BeginDecode(w.r.lpFormat, w.r.dwSampleLength, w.r.dwDataSize, &target, &bytes), 1);
        wav_SetWaveFormat(w.r.lpFormat->nChannels, 16, w.r.lpFormat->nSamplesPerSec, &pcm);
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
    WAVEFORMATEX target;
    DWORD bytes = 0;
    const struct { const char* step; int begun, decoded; } rows[] = {
        {"acmFormatSuggest", 0, 0}, {"acmStreamOpen", 0, 0}, {"acmStreamSize", 0, 0},
        {"acmStreamPrepareHeader", 1, 0}, {"acmStreamConvert", 1, 0}, {"", 1, 1}};
    for (const auto& row : rows) {
        FakeAcm fake(row.step);
        EXPECT_EQ(acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes), row.begun) << row.step;
        std::vector<BYTE> out(bytes + 1);
        EXPECT_EQ(row.begun && acm_Decode(ima.r.lpData, out.data()), row.decoded) << row.step;
        EXPECT_EQ(conversion_closed(), !row.decoded) << row.step;
        acm_EndDecode();
        // Every stream opened is closed once, a prepared header unprepared before it.
        EXPECT_TRUE(conversion_closed()) << row.step;
        EXPECT_EQ(fake.count("acmStreamClose"), fake.streams_opened()) << fake.log.names();
        if (fake.count("acmStreamPrepareHeader")) {
            EXPECT_NE(fake.log.names().find("acmStreamUnprepareHeader acmStreamClose"), std::string::npos) << fake.log.names();
        }
    }
    FakeAcm fake;  // a second begin ends the first conversion
    for (int begin = 0; begin < 2; ++begin) acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes);
    acm_EndDecode();
    EXPECT_EQ(fake.count("acmStreamOpen"), 2u) << fake.log.names();
    EXPECT_EQ(fake.count("acmStreamClose"), 2u) << fake.log.names();
}

// ---- Codec drivers ------------------------------------------------------------------------

bool loaded(const char* module) { return GetModuleHandleA(module) != nullptr; }

// Makes a folder current for a scope, also when an assertion leaves the scope early.
struct CurrentFolder {
    explicit CurrentFolder(const std::string& path) {
        GetCurrentDirectoryA(MAX_PATH, old);
        SetCurrentDirectoryA(path.c_str());
    }
    ~CurrentFolder() { SetCurrentDirectoryA(old); }
    char old[MAX_PATH];
};

// A folder of ".acm" files, current while the test runs, so that the bare names the scan
// hands to LoadLibraryA resolve to these files.
TEST(AcmDrivers, AddRemoveAndScan) {
    TempDir dir;
    CurrentFolder current(dir.path(""));
    for (const char* name : {"mkgood.acm", "mkother.acm"}) std::filesystem::copy_file(MK_TEST_ACM_DRIVER, dir.path(name));
    for (const char* name : {"junk.acm", "readme.txt"}) write_file(dir.path(name), Bytes(100, 'x'));
    std::filesystem::create_directories(dir.path("folder.acm/dirs.acm"));
    const std::string good = dir.path("mkgood.acm"), other = dir.path("mkother.acm");
    AcmDriverEntry entry{};
    ASSERT_EQ(acm_AddDriver(good.c_str(), "DriverProc", &entry), 1);
    ASSERT_NE(entry.hModule, nullptr);
    ASSERT_NE(entry.hadid, nullptr);
    auto messages = reinterpret_cast<LONG (*)()>(reinterpret_cast<void*>(GetProcAddress(entry.hModule, "driver_messages")));
    EXPECT_GT(messages(), 0) << "the ACM opened the driver";
    acm_RemoveDriver(&entry);
    EXPECT_TRUE(is_zero(entry));
    EXPECT_FALSE(loaded("mkgood.acm"));
    // Failed adds: not a module, no such entry function, no such file, the ACM refuses.
    const struct { std::string path; const char* proc; const char* fail; } rows[] = {
        {dir.path("junk.acm"), "DriverProc", ""}, {other, "NoSuchProc", ""}, {dir.path("missing.acm"), "DriverProc", ""},
        {other, "DriverProc", "acmDriverAddA"}};
    for (const auto& row : rows) {
        FakeAcm fake(row.fail);
        EXPECT_EQ(acm_AddDriver(row.path.c_str(), row.proc, &entry), 0) << row.path << row.proc;
        EXPECT_TRUE(is_zero(entry)) << row.path << row.proc;
        EXPECT_FALSE(loaded("mkother.acm")) << row.path << row.proc;
    }
    // The scan adds every ".acm" file and skips folders; the junk file's entry stays zero.
    for (int scan = 0; scan < 2; ++scan) {  // a second scan first removes the drivers of the first
        ASSERT_EQ(acm_ScanDrivers(dir.path("host.exe").c_str(), "DriverProc"), 1);
        mediakit::AcmStateView s = mediakit::acm_state_for_test();
        ASSERT_EQ(s.driver_count, 3);
        EXPECT_EQ(is_zero(s.drivers[0]) + is_zero(s.drivers[1]) + is_zero(s.drivers[2]), 1);
        for (const char* module : {"mkgood.acm", "mkother.acm"}) EXPECT_TRUE(loaded(module)) << module;
    }
    acm_FreeDrivers();
    EXPECT_EQ(mediakit::acm_state_for_test().drivers, nullptr);
    EXPECT_EQ(mediakit::acm_state_for_test().driver_count, 0);
    for (const char* module : {"mkgood.acm", "mkother.acm"}) EXPECT_FALSE(loaded(module)) << module;
    // No such folder, no match, folders only.
    EXPECT_EQ(acm_ScanDrivers(dir.path("missing/host.exe").c_str(), "DriverProc"), 0);
    EXPECT_EQ(acm_ScanDrivers(dir.path("folder.acm/dirs.acm/host.exe").c_str(), "DriverProc"), 0);
    EXPECT_EQ(acm_ScanDrivers(dir.path("folder.acm/host.exe").c_str(), "DriverProc"), 1);
    EXPECT_EQ(mediakit::acm_state_for_test().driver_count, 0);
    acm_FreeDrivers();
}

}  // namespace
