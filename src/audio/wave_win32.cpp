// WAVE files through a Win32 file handle and "WAVE" resources of a module.
#include <windows.h>

#include <cstdlib>

#include "audio/wave_file.h"
#include "audio/wave_memory.h"
#include "mediakit.h"
#include "platform/kernel32_calls.h"
#include "platform/memory_extent.h"

namespace mediakit {
namespace {

// Positions go through the exported file-position functions, as a host's own code would.
class HandleReader final : public WaveByteReader {
public:
    explicit HandleReader(HANDLE file) : file_(file) {}
    size_t read(void* out, size_t n) override {
        DWORD got = 0;
        // A failed read delivers nothing; the walk goes on from wherever the file pointer is.
        if (!kernel32().ReadFile(file_, out, static_cast<DWORD>(n), &got, nullptr)) return 0;
        return got;
    }
    int64_t position() override { return fl_GetFilePointer(file_); }
    void set_position(int64_t offset) override {
        fl_SetFilePointer(file_, static_cast<LONG>(offset & 0xFFFFFFFF), static_cast<LONG>(offset >> 32));
    }

private:
    HANDLE file_;
};

}  // namespace
}  // namespace mediakit

using namespace mediakit;

extern "C" int MEDIAKIT_CALL wav_ParseWaveResource(const void* image, const WAVEFORMATEX** format,
                                                   DWORD* sampleLength, BYTE** data, DWORD* dataSize) {
    WaveImageOutputs out{format, sampleLength, data, dataSize};
    // No length comes with the image: the walk reads no further than the memory it lies in,
    // so sizes that lie end the walk instead of reading past it.
    size_t length = image ? readable_extent(image, SIZE_MAX) : 0;
    return parse_wave_image(static_cast<const uint8_t*>(image), length, out);
}

extern "C" int MEDIAKIT_CALL wav_GetWaveForResource(HMODULE module, LPCSTR name, const WAVEFORMATEX** format,
                                                    DWORD* sampleLength, BYTE** data, DWORD* dataSize) {
    const Kernel32Calls& sys = kernel32();
    HRSRC resource = sys.FindResourceA(module, name, "WAVE");
    if (!resource) return 0;
    HGLOBAL loaded = sys.LoadResource(module, resource);
    if (!loaded) return 0;
    const void* image = sys.LockResource(loaded);
    if (!image) return 0;
    // The resource's own size bounds the walk, so a resource whose RIFF sizes lie is never
    // read past its end.
    DWORD length = sys.SizeofResource(module, resource);
    return parse_wave_image(static_cast<const uint8_t*>(image), length,
                            WaveImageOutputs{format, sampleLength, data, dataSize});
}

extern "C" void MEDIAKIT_CALL wav_CloseWaveForFile(WaveForFile* record) {
    if (!record) return;
    free_wave_blocks(record);
    if (record->hFile) kernel32().CloseHandle(record->hFile);
    *record = WaveForFile{};
}

extern "C" int MEDIAKIT_CALL wav_OpenWaveForFile(LPCSTR path, WaveForFile* record, int load) {
    if (!record) return 0;
    wav_CloseWaveForFile(record);
    if (!path) return 0;
    HANDLE file = kernel32().CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 0;
    record->hFile = file;
    HandleReader reader(file);
    if (!walk_wave_file(reader, load != 0, record, std::malloc)) {
        wav_CloseWaveForFile(record);
        return 0;
    }
    if (load) {
        kernel32().CloseHandle(file);
        record->hFile = nullptr;
    }
    return 1;
}
