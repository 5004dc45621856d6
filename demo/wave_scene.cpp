// A compressed sound effect as a host handles it: the IMA ADPCM file shipped beside the
// program is read into memory, converted to PCM through the ACM, and the PCM written as a
// WAVE file next to the frames. The PCM is checked to hold the sound, not silence.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "host.h"

namespace demo {
namespace {

std::string beside_program(const char* name) {
    char path[MAX_PATH];
    DWORD n = GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string s(path, n);
    return s.substr(0, s.find_last_of("\\/") + 1) + name;
}

void put_u32(std::vector<BYTE>& out, DWORD v) {
    for (int i = 0; i < 4; ++i) out.push_back(BYTE(v >> (8 * i)));
}

bool write_pcm_wave(const std::string& path, const WAVEFORMATEX& pcm, const BYTE* samples, DWORD bytes) {
    std::vector<BYTE> file;
    file.insert(file.end(), {'R', 'I', 'F', 'F'});
    put_u32(file, 4 + 8 + 16 + 8 + bytes + (bytes & 1));
    file.insert(file.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
    put_u32(file, 16);
    const BYTE* fmt = reinterpret_cast<const BYTE*>(&pcm);
    file.insert(file.end(), fmt, fmt + 16);
    file.insert(file.end(), {'d', 'a', 't', 'a'});
    put_u32(file, bytes);
    file.insert(file.end(), samples, samples + bytes);
    if (bytes & 1) file.push_back(0);
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    bool ok = std::fwrite(file.data(), 1, file.size(), f) == file.size();
    return std::fclose(f) == 0 && ok;
}

}  // namespace

bool wave_scene(const Host& host) {
    auto close_wave = MK_GET(host, wav_CloseWaveForFile);
    std::string source = beside_program("tone_ima.wav");
    WaveForFile wave{};
    if (!MK_GET(host, wav_OpenWaveForFile)(source.c_str(), &wave, 1) || !wave.lpFormat) {
        std::printf("   cannot read %s\n", source.c_str());
        return false;
    }
    std::printf("   %s: format 0x%04X, %u Hz, %u channel(s), %lu samples in %lu bytes\n", source.c_str(),
                wave.lpFormat->wFormatTag, unsigned(wave.lpFormat->nSamplesPerSec),
                unsigned(wave.lpFormat->nChannels), wave.dwSampleLength, wave.dwDataSize);

    WAVEFORMATEX pcm;
    DWORD bytes = 0;
    if (!MK_GET(host, acm_BeginDecode)(wave.lpFormat, wave.dwSampleLength, wave.dwDataSize, &pcm, &bytes)) {
        std::printf("   the ACM cannot convert it\n");
        close_wave(&wave);
        return false;
    }
    std::vector<BYTE> out(bytes);
    bool decoded = MK_GET(host, acm_Decode)(wave.lpData, out.data()) != 0;
    MK_GET(host, acm_EndDecode)();
    // The converter works in whole blocks; the "fact" count says how many samples are real.
    DWORD keep = bytes;
    if (wave.dwSampleLength && DWORD(pcm.nBlockAlign) * wave.dwSampleLength < keep)
        keep = DWORD(pcm.nBlockAlign) * wave.dwSampleLength;
    close_wave(&wave);
    if (!decoded || pcm.wBitsPerSample != 16) return false;

    int peak = 0;
    for (DWORD i = 0; i + 1 < keep; i += 2) {
        int sample = int16_t(out[i] | out[i + 1] << 8);
        peak = std::max(peak, std::abs(sample));
    }
    std::string target = host.path("wave_decoded.wav");
    bool written = write_pcm_wave(target, pcm, out.data(), keep);
    std::printf("   decoded to %u-bit PCM: %lu bytes, peak %d; wrote %s\n", unsigned(pcm.wBitsPerSample), keep, peak,
                target.c_str());

    // The written file reads back as PCM of the same size.
    WaveForFile check{};
    bool reads_back = MK_GET(host, wav_OpenWaveForFile)(target.c_str(), &check, 1) && check.lpFormat &&
                      check.lpFormat->wFormatTag == WAVE_FORMAT_PCM && check.dwDataSize == keep &&
                      std::memcmp(check.lpData, out.data(), keep) == 0;
    close_wave(&check);
    return written && reads_back && peak > 4000;
}

}  // namespace demo
