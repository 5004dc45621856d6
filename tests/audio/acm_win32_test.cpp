// ACM decoding against Wine's real ACM and its built-in codecs, on files made by sox and
// checked against sox's own decode; failure steps injected through a pass-through fake;
// codec drivers added and removed for real with a small test driver.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/acm.h"
#include "mediakit.h"
#include "platform/acm_calls.h"
#include "riff_builder.h"
#include "temp_dir.h"

namespace {

std::string sox_file(const std::string& name) { return std::string(MK_SOX_WAV_DIR) + "/" + name + ".wav"; }

struct Wave {
    explicit Wave(const std::string& path) { ok = wav_OpenWaveForFile(path.c_str(), &r, 1) == 1 && r.lpFormat; }
    ~Wave() { wav_CloseWaveForFile(&r); }
    WaveForFile r{};
    bool ok;
};

bool conversion_closed() {
    mediakit::AcmStateView s = mediakit::acm_state_for_test();
    static const ACMSTREAMHEADER kZero{};
    return s.stream == nullptr && std::memcmp(&s.header, &kZero, sizeof kZero) == 0;
}

// ---- A pass-through fake that records each call and can fail one step ----------------

struct AcmFake {
    std::vector<std::string> log;
    std::string fail;  ///< the name of the call to fail, or ""
    int fail_occurrence = 0;  ///< fail only that call of the name (1 = the first), or every one
    int seen = 0;
    std::vector<HACMSTREAM> opened, closed;
};
AcmFake* g_fake = nullptr;
const mediakit::AcmCalls* g_real = nullptr;

bool step(const char* name) {
    g_fake->log.emplace_back(name);
    if (g_fake->fail != name) return false;
    ++g_fake->seen;
    return g_fake->fail_occurrence == 0 || g_fake->seen == g_fake->fail_occurrence;
}

MMRESULT ACMAPI fake_suggest(HACMDRIVER d, LPWAVEFORMATEX s, LPWAVEFORMATEX t, DWORD n, DWORD f) {
    return step("suggest") ? MMSYSERR_ERROR : g_real->acmFormatSuggest(d, s, t, n, f);
}
MMRESULT ACMAPI fake_open(LPHACMSTREAM h, HACMDRIVER d, LPWAVEFORMATEX s, LPWAVEFORMATEX t, LPWAVEFILTER fl,
                          DWORD_PTR cb, DWORD_PTR inst, DWORD f) {
    if (step("open")) return ACMERR_NOTPOSSIBLE;
    MMRESULT r = g_real->acmStreamOpen(h, d, s, t, fl, cb, inst, f);
    if (!r) g_fake->opened.push_back(*h);
    return r;
}
MMRESULT ACMAPI fake_size(HACMSTREAM h, DWORD in, LPDWORD out, DWORD f) {
    return step("size") ? MMSYSERR_ERROR : g_real->acmStreamSize(h, in, out, f);
}
MMRESULT ACMAPI fake_prepare(HACMSTREAM h, LPACMSTREAMHEADER hdr, DWORD f) {
    return step("prepare") ? MMSYSERR_NOMEM : g_real->acmStreamPrepareHeader(h, hdr, f);
}
MMRESULT ACMAPI fake_convert(HACMSTREAM h, LPACMSTREAMHEADER hdr, DWORD f) {
    return step("convert") ? ACMERR_NOTPOSSIBLE : g_real->acmStreamConvert(h, hdr, f);
}
MMRESULT ACMAPI fake_unprepare(HACMSTREAM h, LPACMSTREAMHEADER hdr, DWORD f) {
    step("unprepare");
    return g_real->acmStreamUnprepareHeader(h, hdr, f);
}
MMRESULT ACMAPI fake_close(HACMSTREAM h, DWORD f) {
    step("close");
    g_fake->closed.push_back(h);
    return g_real->acmStreamClose(h, f);
}
MMRESULT ACMAPI fake_add(LPHACMDRIVERID id, HINSTANCE m, LPARAM p, DWORD prio, DWORD f) {
    // A driver given as a function (3), local to the process, at priority 0.
    return step(f == 3 && prio == 0 ? "add" : "add with other flags") ? MMSYSERR_ERROR
                                                                       : g_real->acmDriverAddA(id, m, p, prio, f);
}
MMRESULT ACMAPI fake_remove(HACMDRIVERID id, DWORD f) {
    step("remove");
    return g_real->acmDriverRemove(id, f);
}
BOOL WINAPI fake_free(HMODULE m) {
    step("free");
    return g_real->FreeLibrary(m);
}
HANDLE WINAPI fake_find_first(LPCSTR pattern, LPWIN32_FIND_DATAA found) {
    return step("find") ? INVALID_HANDLE_VALUE : g_real->FindFirstFileA(pattern, found);
}

class FakeAcm {
public:
    FakeAcm() {
        g_real = &mediakit::acm_calls();
        calls_ = *g_real;
        calls_.acmFormatSuggest = fake_suggest;
        calls_.acmStreamOpen = fake_open;
        calls_.acmStreamSize = fake_size;
        calls_.acmStreamPrepareHeader = fake_prepare;
        calls_.acmStreamConvert = fake_convert;
        calls_.acmStreamUnprepareHeader = fake_unprepare;
        calls_.acmStreamClose = fake_close;
        calls_.acmDriverAddA = fake_add;
        calls_.acmDriverRemove = fake_remove;
        calls_.FreeLibrary = fake_free;
        calls_.FindFirstFileA = fake_find_first;
        g_fake = &state;
        mediakit::set_acm_calls_for_test(&calls_);
    }
    ~FakeAcm() {
        mediakit::set_acm_calls_for_test(nullptr);
        g_fake = nullptr;
    }
    AcmFake state;

private:
    mediakit::AcmCalls calls_;
};

std::string joined(const std::vector<std::string>& log) {
    std::string s;
    for (const std::string& l : log) s += (s.empty() ? "" : " ") + l;
    return s;
}

// ---- Decoding -------------------------------------------------------------------------

// Decodes a whole file through the DLL's conversion; the samples as 16-bit PCM.
std::vector<int16_t> decode(const WaveForFile& w, WAVEFORMATEX* target, DWORD sample_length) {
    DWORD bytes = 0;
    if (!acm_BeginDecode(w.lpFormat, sample_length, w.dwDataSize, target, &bytes)) return {};
    std::vector<int16_t> out((bytes + 1) / 2);
    int ok = acm_Decode(w.lpData, reinterpret_cast<BYTE*>(out.data()));
    acm_EndDecode();
    if (!ok) return {};
    return out;
}

std::vector<int16_t> reference_samples(const std::string& name) {
    Wave ref(sox_file(name + "_ref"));
    EXPECT_TRUE(ref.ok);
    const int16_t* p = reinterpret_cast<const int16_t*>(ref.r.lpData);
    return std::vector<int16_t>(p, p + ref.r.dwDataSize / 2);
}

// A plain MS ADPCM decoder. The predictor (s1 * c1 + s2 * c2) / 256 is rounded towards
// zero by some decoders and down by others (sox); within a block the difference feeds
// back through the predictor, so whole decodes differ by more than one step.
std::vector<int16_t> ms_adpcm_reference(const WaveForFile& w, bool floor_predictor) {
    static const int kAdapt[16] = {230, 230, 230, 230, 307, 409, 512, 614, 768, 614, 512, 409, 307, 230, 230, 230};
    const BYTE* fmt = reinterpret_cast<const BYTE*>(w.lpFormat);
    const int channels = w.lpFormat->nChannels, align = w.lpFormat->nBlockAlign;
    auto s16 = [](const BYTE* p) { return int16_t(p[0] | p[1] << 8); };
    const int coef_count = s16(fmt + 20);
    std::vector<int16_t> out;
    for (DWORD at = 0; at + align <= w.dwDataSize; at += align) {
        const BYTE* b = w.lpData + at;
        int c1[2], c2[2], delta[2], s1[2], s2[2];
        for (int c = 0; c < channels; ++c) {
            int index = std::min<int>(b[c], coef_count - 1);
            c1[c] = s16(fmt + 22 + 4 * index);
            c2[c] = s16(fmt + 24 + 4 * index);
            delta[c] = s16(b + channels + 2 * c);
            s1[c] = s16(b + 3 * channels + 2 * c);
            s2[c] = s16(b + 5 * channels + 2 * c);
        }
        for (int c = 0; c < channels; ++c) out.push_back(int16_t(s2[c]));
        for (int c = 0; c < channels; ++c) out.push_back(int16_t(s1[c]));
        for (int i = 7 * channels; i < align; ++i) {
            for (int half = 0; half < 2; ++half) {
                int c = channels == 2 ? half : 0;
                int nibble = half == 0 ? b[i] >> 4 : b[i] & 15;
                int sum = s1[c] * c1[c] + s2[c] * c2[c];
                int predictor = floor_predictor ? sum >> 8 : sum / 256;
                int sample = std::clamp(predictor + (nibble >= 8 ? nibble - 16 : nibble) * delta[c], -32768, 32767);
                out.push_back(int16_t(sample));
                s2[c] = s1[c];
                s1[c] = sample;
                delta[c] = std::max(16, kAdapt[nibble] * delta[c] / 256);
            }
        }
    }
    return out;
}

size_t first_difference(const std::vector<int16_t>& want, const std::vector<int16_t>& got) {
    if (got.size() < want.size()) return 0;
    return size_t(std::mismatch(want.begin(), want.end(), got.begin()).first - want.begin());
}

TEST(AcmDecode, SoxFilesDecodeAsSoxDecodesThem) {
    // IMA ADPCM and G.711 have one exact decoding rule, so Wine's codecs and sox agree
    // sample for sample. MS ADPCM decoders may round the predictor either way: the ACM's
    // decode must equal the plain decoder with one of the two roundings, and sox's must
    // stay within a few steps of it.
    const struct {
        const char* name;
        WORD tag;
        int tolerance;
    } rows[] = {{"ima_mono", 0x11, 0},  {"ima_stereo", 0x11, 0},  {"ms_mono", 0x02, 64},
                {"ms_stereo", 0x02, 64}, {"mulaw_mono", 0x07, 0}, {"alaw_stereo", 0x06, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Wave w(sox_file(row.name));
        ASSERT_TRUE(w.ok);
        ASSERT_EQ(w.r.lpFormat->wFormatTag, row.tag);
        WAVEFORMATEX target;
        std::memset(&target, 0xCD, sizeof target);
        std::vector<int16_t> got = decode(w.r, &target, w.r.dwSampleLength);
        EXPECT_TRUE(conversion_closed());
        EXPECT_EQ(target.wFormatTag, WAVE_FORMAT_PCM);
        EXPECT_EQ(target.nChannels, w.r.lpFormat->nChannels);
        EXPECT_EQ(target.nSamplesPerSec, w.r.lpFormat->nSamplesPerSec);
        EXPECT_EQ(target.wBitsPerSample, 16);
        EXPECT_EQ(target.cbSize, 0);
        std::vector<int16_t> want = reference_samples(row.name);
        ASSERT_FALSE(want.empty());
        // ADPCM output comes in whole blocks, as sox decodes it too.
        ASSERT_GE(got.size(), want.size());
        int worst = 0;
        for (size_t i = 0; i < want.size(); ++i) worst = std::max(worst, std::abs(int(want[i]) - int(got[i])));
        EXPECT_LE(worst, row.tolerance);
        if (row.tolerance == 0) {
            size_t diff = first_difference(want, got);
            EXPECT_EQ(diff, want.size()) << "sample " << diff << ": sox " << want[std::min(diff, want.size() - 1)]
                                         << ", ACM " << got[std::min(diff, got.size() - 1)];
        } else {
            std::vector<int16_t> toward_zero = ms_adpcm_reference(w.r, false), down = ms_adpcm_reference(w.r, true);
            EXPECT_TRUE(first_difference(toward_zero, got) == toward_zero.size() ||
                        first_difference(down, got) == down.size())
                << "the ACM's decode is neither rounding of the plain decoder";
            EXPECT_EQ(first_difference(want, down), want.size()) << "sox rounds the predictor down";
        }
    }
}

TEST(AcmDecode, OutputSizeFromTheSampleCountOrFromTheAcm) {
    WAVEFORMATEX target;
    DWORD bytes = 0;
    // 8-bit mu-law and a count of 1000 samples: 16-bit mono PCM, exactly 2000 bytes.
    Wave mulaw(sox_file("mulaw_mono"));
    ASSERT_TRUE(mulaw.ok);
    ASSERT_EQ(mulaw.r.lpFormat->wBitsPerSample, 8);
    ASSERT_EQ(acm_BeginDecode(mulaw.r.lpFormat, 1000, mulaw.r.dwDataSize, &target, &bytes), 1);
    EXPECT_EQ(bytes, 2000u);
    // No count: the ACM sizes the whole source, one sample per byte.
    ASSERT_EQ(acm_BeginDecode(mulaw.r.lpFormat, 0, mulaw.r.dwDataSize, &target, &bytes), 1);
    EXPECT_EQ(bytes, 2 * mulaw.r.dwDataSize);

    // IMA ADPCM has 4 bits per sample: the count is ignored and the ACM sizes the output,
    // whole blocks of wSamplesPerBlock samples.
    Wave ima(sox_file("ima_stereo"));
    ASSERT_TRUE(ima.ok);
    const WAVEFORMATEX* f = ima.r.lpFormat;
    ASSERT_EQ(f->wBitsPerSample, 4);
    WORD samples_per_block;
    std::memcpy(&samples_per_block, reinterpret_cast<const BYTE*>(f) + 18, 2);
    DWORD whole_blocks = ima.r.dwDataSize / f->nBlockAlign;
    ASSERT_EQ(acm_BeginDecode(f, 1000, ima.r.dwDataSize, &target, &bytes), 1);
    EXPECT_EQ(bytes, whole_blocks * samples_per_block * 2u * f->nChannels);
    EXPECT_NE(bytes, 1000u * target.nBlockAlign);
    acm_EndDecode();
    EXPECT_TRUE(conversion_closed());
}

TEST(AcmDecode, EveryFailingStepLeavesTheConversionClosed) {
    Wave ima(sox_file("ima_mono"));
    ASSERT_TRUE(ima.ok);
    const char* const steps[] = {"suggest", "open", "size", "prepare", "convert"};
    for (const char* failing : steps) {
        SCOPED_TRACE(failing);
        FakeAcm fake;
        fake.state.fail = failing;
        WAVEFORMATEX target;
        DWORD bytes = 0;
        int begun = acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes);
        int decoded = 0;
        std::vector<BYTE> out;
        if (begun) {
            EXPECT_FALSE(conversion_closed());
            out.resize(bytes);
            decoded = acm_Decode(ima.r.lpData, out.data());
        }
        EXPECT_EQ(begun && decoded, 0);
        EXPECT_EQ(begun, std::strcmp(failing, "prepare") == 0 || std::strcmp(failing, "convert") == 0);
        EXPECT_TRUE(conversion_closed());
        EXPECT_EQ(fake.state.closed, fake.state.opened) << "every stream opened was closed";
        // A header that was prepared is unprepared before its stream closes.
        if (std::strcmp(failing, "convert") == 0) {
            EXPECT_NE(joined(fake.state.log).find("prepare convert unprepare close"), std::string::npos)
                << joined(fake.state.log);
        }
        acm_EndDecode();
        EXPECT_EQ(fake.state.closed.size(), fake.state.opened.size()) << "nothing is closed twice";
    }
}

TEST(AcmDecode, BeginEndsTheOpenConversionAndEndIsSafeWhenClosed) {
    Wave ima(sox_file("ima_mono"));
    ASSERT_TRUE(ima.ok);
    FakeAcm fake;
    acm_EndDecode();
    EXPECT_TRUE(fake.state.log.empty()) << joined(fake.state.log);
    EXPECT_EQ(acm_Decode(ima.r.lpData, nullptr), 0);
    EXPECT_TRUE(fake.state.log.empty()) << "no conversion, no system call: " << joined(fake.state.log);

    WAVEFORMATEX target;
    DWORD bytes = 0;
    ASSERT_EQ(acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes), 1);
    ASSERT_EQ(acm_BeginDecode(ima.r.lpFormat, 0, ima.r.dwDataSize, &target, &bytes), 1);
    EXPECT_EQ(joined(fake.state.log), "suggest open size unprepare close suggest open size");
    ASSERT_EQ(fake.state.opened.size(), 2u);
    EXPECT_EQ(fake.state.closed, std::vector<HACMSTREAM>{fake.state.opened[0]});
    EXPECT_EQ(mediakit::acm_state_for_test().stream, fake.state.opened[1]);
    acm_EndDecode();
    EXPECT_TRUE(conversion_closed());
    EXPECT_EQ(fake.state.closed, fake.state.opened);
}

// ---- Codec drivers --------------------------------------------------------------------

using DriverMessagesFn = LONG (*)();

LONG driver_messages(const char* module) {
    HMODULE m = GetModuleHandleA(module);
    auto fn = m ? reinterpret_cast<DriverMessagesFn>(reinterpret_cast<void*>(GetProcAddress(m, "driver_messages")))
                : nullptr;
    return fn ? fn() : -1;
}

bool is_zero(const AcmDriverEntry& e) { return !e.hModule && !e.hadid; }

// A folder of ".acm" files, and the process's current directory there while it lives, so
// that the bare names the scan hands to LoadLibraryA resolve to these files.
class DriverFolder : public testing::Test {
protected:
    void SetUp() override {
        GetCurrentDirectoryA(MAX_PATH, saved_cwd_);
        SetCurrentDirectoryA(dir_.path("").c_str());
    }
    void TearDown() override {
        acm_FreeDrivers();
        SetCurrentDirectoryA(saved_cwd_);
    }
    std::string driver(const std::string& name) {
        std::filesystem::copy_file(MK_TEST_ACM_DRIVER, dir_.path(name));
        return dir_.path(name);
    }
    std::string text(const std::string& name) {
        mktest::write_file(dir_.path(name), std::vector<uint8_t>(100, 'x'));
        return dir_.path(name);
    }
    mktest::TempDir dir_;
    char saved_cwd_[MAX_PATH];
};

TEST_F(DriverFolder, AddAndRemoveAWorkingDriver) {
    std::string path = driver("mkgood.acm");
    AcmDriverEntry entry{};
    ASSERT_EQ(acm_AddDriver(path.c_str(), "DriverProc", &entry), 1);
    EXPECT_NE(entry.hModule, nullptr);
    ASSERT_NE(entry.hadid, nullptr);
    EXPECT_GT(driver_messages("mkgood.acm"), 0) << "the ACM opened the driver";
    ACMDRIVERDETAILSA details{};
    details.cbStruct = sizeof details;
    ASSERT_EQ(acmDriverDetailsA(entry.hadid, &details, 0), MMSYSERR_NOERROR);
    EXPECT_STREQ(details.szShortName, "mk test");

    acm_RemoveDriver(&entry);
    EXPECT_TRUE(is_zero(entry));
    EXPECT_EQ(GetModuleHandleA("mkgood.acm"), nullptr) << "the driver file is unloaded";
    acm_RemoveDriver(&entry);  // a zero entry: nothing to do
}

TEST_F(DriverFolder, FailedAddsLeaveTheEntryZeroAndTheFileUnloaded) {
    std::string good = driver("mkother.acm");
    std::string junk = text("junk.acm");
    const struct {
        std::string path;
        const char* proc;
        const char* fail;
    } rows[] = {
        {junk, "DriverProc", ""},                       // not a module at all
        {good, "NoSuchProc", ""},                       // a module without that entry function
        {dir_.path("missing.acm"), "DriverProc", ""},
        {good, "DriverProc", "add"},                    // the ACM refuses the driver
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path + " " + row.proc + " " + row.fail);
        FakeAcm fake;
        fake.state.fail = row.fail;
        AcmDriverEntry entry{};
        EXPECT_EQ(acm_AddDriver(row.path.c_str(), row.proc, &entry), 0);
        EXPECT_TRUE(is_zero(entry));
        EXPECT_EQ(GetModuleHandleA("mkother.acm"), nullptr);
        EXPECT_EQ(std::count(fake.state.log.begin(), fake.state.log.end(), "remove"), 0);
    }
}

TEST_F(DriverFolder, ScanAddsEveryAcmFileAndSkipsDirectories) {
    driver("one.acm");
    driver("two.acm");
    text("three.acm");
    text("readme.txt");
    std::filesystem::create_directory(dir_.path("folder.acm"));
    std::string host = dir_.path("host.exe");

    ASSERT_EQ(acm_ScanDrivers(host.c_str(), "DriverProc"), 1);
    mediakit::AcmStateView s = mediakit::acm_state_for_test();
    ASSERT_EQ(s.driver_count, 3);
    int zero = 0;
    for (int i = 0; i < 3; ++i) zero += is_zero(s.drivers[i]);
    EXPECT_EQ(zero, 1) << "the text file's entry";
    EXPECT_NE(GetModuleHandleA("one.acm"), nullptr);
    EXPECT_NE(GetModuleHandleA("two.acm"), nullptr);

    // A second scan first removes the drivers of the first.
    {
        FakeAcm fake;
        ASSERT_EQ(acm_ScanDrivers(host.c_str(), "DriverProc"), 1);
        std::string log = joined(fake.state.log);
        EXPECT_EQ(log.rfind("remove free remove free find", 0), 0u) << log;
    }
    EXPECT_EQ(mediakit::acm_state_for_test().driver_count, 3);

    acm_FreeDrivers();
    s = mediakit::acm_state_for_test();
    EXPECT_EQ(s.drivers, nullptr);
    EXPECT_EQ(s.driver_count, 0);
    EXPECT_EQ(GetModuleHandleA("one.acm"), nullptr);
    EXPECT_EQ(GetModuleHandleA("two.acm"), nullptr);
}

TEST_F(DriverFolder, ScanResultsForEmptyAndMissingFolders) {
    std::string empty = dir_.path("empty");
    std::filesystem::create_directory(empty);
    EXPECT_EQ(acm_ScanDrivers((empty + "/host.exe").c_str(), "DriverProc"), 0) << "no match at all";
    EXPECT_EQ(acm_ScanDrivers(dir_.path("missing/host.exe").c_str(), "DriverProc"), 0);

    std::filesystem::create_directory(dir_.path("only-dirs"));
    std::filesystem::create_directory(dir_.path("only-dirs/a.acm"));
    EXPECT_EQ(acm_ScanDrivers(dir_.path("only-dirs/host.exe").c_str(), "DriverProc"), 1);
    EXPECT_EQ(mediakit::acm_state_for_test().driver_count, 0);

    // The second search fails after the first counted: 0, and the table of zero entries
    // stays until it is freed.
    driver("late.acm");
    {
        FakeAcm fake;
        fake.state.fail = "find";
        fake.state.fail_occurrence = 2;
        EXPECT_EQ(acm_ScanDrivers(dir_.path("host.exe").c_str(), "DriverProc"), 0);
        EXPECT_EQ(joined(fake.state.log), "find find");
    }
    mediakit::AcmStateView s = mediakit::acm_state_for_test();
    ASSERT_EQ(s.driver_count, 1);
    EXPECT_TRUE(is_zero(s.drivers[0]));
}

}  // namespace
