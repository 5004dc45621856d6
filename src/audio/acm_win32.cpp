// One process-wide ACM conversion of a whole buffer to PCM, and codec drivers installed
// from files. Every failing step closes the conversion; no ACM error code is passed on.
#include "audio/acm.h"

#include <cstdlib>
#include <cstring>

#include "audio/acm_rules.h"
#include "platform/kernel32_calls.h"
#include "platform/lead_byte.h"
#include "platform/msacm32_calls.h"

namespace mediakit {
namespace {

// The open conversion: a stream, and a header that is set up while its cbStruct is
// nonzero. Unlocked: one thread at a time uses the conversion.
HACMSTREAM g_acmStream = nullptr;
ACMSTREAMHEADER g_acmHeader = {};

// The drivers of the last scan.
AcmDriverEntry* g_acmDrivers = nullptr;
int32_t g_acmDriverCount = 0;

static_assert(sizeof(ACMSTREAMHEADER) == 84, "the 32-bit stream header");

int fail_decode() {
    acm_EndDecode();
    return 0;
}

int fail_add(AcmDriverEntry* entry) {
    acm_RemoveDriver(entry);
    return 0;
}

bool is_file(const WIN32_FIND_DATAA& found) { return !(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY); }

int32_t count_files(const char* pattern) {
    WIN32_FIND_DATAA found;
    HANDLE search = kernel32().FindFirstFileA(pattern, &found);
    if (search == INVALID_HANDLE_VALUE) return -1;
    int32_t count = 0;
    do {
        if (is_file(found)) ++count;
    } while (kernel32().FindNextFileA(search, &found));
    kernel32().FindClose(search);
    return count;
}

}  // namespace

AcmStateView acm_state_for_test() { return {g_acmStream, g_acmHeader, g_acmDrivers, g_acmDriverCount}; }

}  // namespace mediakit

using namespace mediakit;

extern "C" void MEDIAKIT_CALL acm_EndDecode(void) {
    const Msacm32Calls& sys = msacm32();
    if (g_acmHeader.cbStruct) {
        // Harmless on a header that was never prepared; the result is of no use here.
        sys.acmStreamUnprepareHeader(g_acmStream, &g_acmHeader, 0);
        std::memset(&g_acmHeader, 0, sizeof g_acmHeader);
    }
    if (g_acmStream) {
        sys.acmStreamClose(g_acmStream, 0);
        g_acmStream = nullptr;
    }
}

extern "C" int MEDIAKIT_CALL acm_BeginDecode(const WAVEFORMATEX* source, DWORD sampleLength, DWORD sourceBytes,
                                             WAVEFORMATEX* target, DWORD* targetBytes) {
    acm_EndDecode();
    if (!source || !target || !targetBytes) return 0;
    const Msacm32Calls& sys = msacm32();
    auto* src = const_cast<WAVEFORMATEX*>(source);  // the ACM only reads it

    // Only the tag is fixed; the ACM chooses channels, rate and sample size.
    std::memset(target, 0, sizeof(WAVEFORMATEX));
    target->wFormatTag = WAVE_FORMAT_PCM;
    if (sys.acmFormatSuggest(nullptr, src, target, sizeof(WAVEFORMATEX), ACM_FORMATSUGGESTF_WFORMATTAG))
        return fail_decode();

    HACMSTREAM stream = nullptr;
    if (sys.acmStreamOpen(&stream, nullptr, src, target, nullptr, 0, 0, ACM_STREAMOPENF_NONREALTIME))
        return fail_decode();
    g_acmStream = stream;

    // A sample count is exact for formats of whole bytes per sample; formats of fewer bits
    // (or of 0, as many compressed ones declare) ask the ACM for the size. The product
    // wraps in 32 bits; the header caps the conversion at it either way.
    DWORD bytes = 0;
    if (sampleLength && source->wBitsPerSample >= 8) {
        bytes = DWORD(target->nBlockAlign) * sampleLength;
    } else if (sys.acmStreamSize(g_acmStream, sourceBytes, &bytes, ACM_STREAMSIZEF_SOURCE)) {
        return fail_decode();
    }
    *targetBytes = bytes;
    g_acmHeader.cbStruct = sizeof(ACMSTREAMHEADER);
    g_acmHeader.fdwStatus = 0;
    g_acmHeader.cbSrcLength = sourceBytes;
    g_acmHeader.cbDstLength = bytes;
    return 1;
}

extern "C" int MEDIAKIT_CALL acm_Decode(const BYTE* source, BYTE* target) {
    if (!g_acmStream || !source || !target) return fail_decode();
    const Msacm32Calls& sys = msacm32();
    g_acmHeader.pbSrc = const_cast<BYTE*>(source);
    g_acmHeader.pbDst = target;
    if (sys.acmStreamPrepareHeader(g_acmStream, &g_acmHeader, 0)) return fail_decode();
    // Whole source blocks only; the bytes produced are not reported to the host.
    if (sys.acmStreamConvert(g_acmStream, &g_acmHeader, ACM_STREAMCONVERTF_BLOCKALIGN)) return fail_decode();
    return 1;
}

extern "C" void MEDIAKIT_CALL acm_RemoveDriver(AcmDriverEntry* entry) {
    if (!entry) return;
    // The driver goes before the module that holds its code.
    if (entry->hadid) {
        msacm32().acmDriverRemove(entry->hadid, 0);
        entry->hadid = nullptr;
    }
    if (entry->hModule) {
        kernel32().FreeLibrary(entry->hModule);
        entry->hModule = nullptr;
    }
}

extern "C" int MEDIAKIT_CALL acm_AddDriver(LPCSTR path, LPCSTR procName, AcmDriverEntry* entry) {
    if (!entry) return 0;
    entry->hModule = path ? kernel32().LoadLibraryA(path) : nullptr;
    if (!entry->hModule) return fail_add(entry);
    FARPROC proc = procName ? kernel32().GetProcAddress(entry->hModule, procName) : nullptr;
    if (!proc) return fail_add(entry);
    // A driver given as a function, local to this process.
    HACMDRIVERID id = nullptr;
    if (msacm32().acmDriverAddA(&id, entry->hModule, reinterpret_cast<LPARAM>(proc), 0,
                          ACM_DRIVERADDF_FUNCTION | ACM_DRIVERADDF_LOCAL))
        return fail_add(entry);
    entry->hadid = id;
    return 1;
}

extern "C" void MEDIAKIT_CALL acm_FreeDrivers(void) {
    for (int32_t i = 0; i < g_acmDriverCount; ++i) acm_RemoveDriver(&g_acmDrivers[i]);
    std::free(g_acmDrivers);
    g_acmDrivers = nullptr;
    g_acmDriverCount = 0;
}

extern "C" int MEDIAKIT_CALL acm_ScanDrivers(LPCSTR path, LPCSTR procName) {
    if (g_acmDriverCount || g_acmDrivers) acm_FreeDrivers();
    if (!path || !procName) return 0;
    char pattern[kDriverPatternChars];
    if (!build_driver_pattern(path, system_lead_byte, pattern)) return 0;

    const int32_t count = count_files(pattern);
    if (count < 0) return 0;  // no match at all, or no such directory
    if (count == 0) return 1;  // directories only: an empty table
    g_acmDrivers = static_cast<AcmDriverEntry*>(std::calloc(size_t(count), sizeof(AcmDriverEntry)));
    if (!g_acmDrivers) return 0;
    g_acmDriverCount = count;

    // Files may come or go between the passes: add no more than the first pass counted.
    // An entry whose add failed stays all zero.
    const Kernel32Calls& sys = kernel32();
    WIN32_FIND_DATAA found;
    HANDLE search = sys.FindFirstFileA(pattern, &found);
    if (search == INVALID_HANDLE_VALUE) return 0;  // the table stays for acm_FreeDrivers
    int32_t next = 0;
    do {
        if (is_file(found)) acm_AddDriver(found.cFileName, procName, &g_acmDrivers[next++]);
    } while (next < count && sys.FindNextFileA(search, &found));
    sys.FindClose(search);
    return 1;
}
