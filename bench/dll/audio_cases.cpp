// The WAVE reader and the ACM conversion, sized so that the PCM they deliver is as many
// bytes as the memcpy baseline copies (3 bytes per pixel of the size).
#include <cstdlib>
#include <string>
#include <vector>

#include "dll_bench.h"

namespace mkdllbench {
namespace {

void put_u32(std::vector<BYTE>& out, DWORD v) {
    for (int i = 0; i < 4; ++i) out.push_back(BYTE(v >> (8 * i)));
}

std::vector<BYTE> noise(size_t n, uint32_t seed) {
    std::vector<BYTE> out(n);
    uint32_t x = seed * 2654435761u + 1;
    for (BYTE& b : out) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = BYTE(x);
    }
    return out;
}

// A PCM WAVE file of `bytes` data bytes in the temp folder, deleted at the end.
struct TempWave {
    explicit TempWave(DWORD bytes) {
        char dir[MAX_PATH];
        GetTempPathA(MAX_PATH, dir);
        path = std::string(dir) + "mediakit-bench-" + std::to_string(GetCurrentProcessId()) + ".wav";
        std::vector<BYTE> file = {'R', 'I', 'F', 'F'};
        put_u32(file, 4 + 24 + 8 + bytes);
        for (char c : std::string("WAVEfmt ")) file.push_back(BYTE(c));
        put_u32(file, 16);
        WAVEFORMATEX pcm;
        wav_SetWaveFormat(2, 16, 44100, &pcm);
        const BYTE* f = reinterpret_cast<const BYTE*>(&pcm);
        file.insert(file.end(), f, f + 16);
        for (char c : std::string("data")) file.push_back(BYTE(c));
        put_u32(file, bytes);
        std::vector<BYTE> body = noise(bytes, 5);
        file.insert(file.end(), body.begin(), body.end());
        HANDLE h = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD written = 0;
        WriteFile(h, file.data(), DWORD(file.size()), &written, nullptr);
        CloseHandle(h);
    }
    ~TempWave() { DeleteFileA(path.c_str()); }
    std::string path;
};

MKDLL_BENCH("wav_OpenWaveForFile, loading mode", [](Sizes s, std::function<void()>* run) {
    auto file = std::make_shared<TempWave>(DWORD(3 * s.w * s.h));
    *run = [file] {
        WaveForFile record{};
        wav_OpenWaveForFile(file->path.c_str(), &record, 1);
        wav_CloseWaveForFile(&record);
    };
});

// One whole conversion (begin, decode, end) of a source whose PCM is 3 × w × h bytes.
struct Conversion {
    std::vector<BYTE> format, source, target;
};

void conversion_case(std::shared_ptr<Conversion> c, std::function<void()>* run) {
    *run = [c] {
        WAVEFORMATEX pcm;
        DWORD bytes = 0;
        auto* format = reinterpret_cast<WAVEFORMATEX*>(c->format.data());
        if (!acm_BeginDecode(format, 0, DWORD(c->source.size()), &pcm, &bytes)) std::abort();
        if (c->target.size() < bytes) c->target.resize(bytes);
        if (!acm_Decode(c->source.data(), c->target.data())) std::abort();
        acm_EndDecode();
    };
}

MKDLL_BENCH("acm_Decode, IMA ADPCM mono to PCM", [](Sizes s, std::function<void()>* run) {
    // Blocks of 1024 bytes hold 2041 samples of 4 bits.
    const DWORD samples_per_block = 2041, blocks = DWORD(3 * s.w * s.h) / (2 * samples_per_block);
    auto c = std::make_shared<Conversion>();
    c->format = {0x11, 0, 1, 0, 0x22, 0x56, 0, 0, 0, 0, 0, 0, 0x00, 0x04, 4, 0, 2, 0, 0xF9, 0x07};
    DWORD avg = 22050 * 1024 / samples_per_block;
    for (int i = 0; i < 4; ++i) c->format[8 + i] = BYTE(avg >> (8 * i));
    c->source = noise(size_t(blocks) * 1024, 3);
    for (DWORD b = 0; b < blocks; ++b) c->source[size_t(b) * 1024 + 2] = BYTE(c->source[size_t(b) * 1024 + 2] % 89);
    conversion_case(c, run);
});

MKDLL_BENCH("acm_Decode, mu-law mono to PCM", [](Sizes s, std::function<void()>* run) {
    auto c = std::make_shared<Conversion>();
    c->format = {7, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0};
    c->source = noise(size_t(3) * s.w * s.h / 2, 4);
    conversion_case(c, run);
});

}  // namespace
}  // namespace mkdllbench
