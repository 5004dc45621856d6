// Whole numbers in INI files, through the system's profile string functions.
#include <windows.h>

#include "desktop/ini.h"
#include "mediakit.h"
#include "platform/kernel32_calls.h"

using namespace mediakit;

extern "C" int MEDIAKIT_CALL GetPrivateProfileNumber(LPCSTR section, LPCSTR key, int* value,
                                                     LPCSTR iniPath) {
    if (!value) return 0;
    char text[kProfileValueChars];
    // A missing key or file copies the default "none", which reads as 0; only a key present
    // with an empty value copies nothing.
    DWORD copied = kernel32().GetPrivateProfileStringA(section, key, kProfileDefault, text,
                                                       sizeof text, iniPath);
    if (copied == 0) return 0;
    *value = parse_profile_number(text);
    return 1;
}

extern "C" int MEDIAKIT_CALL WritePrivateProfileNumber(LPCSTR section, LPCSTR key, int value,
                                                       LPCSTR iniPath) {
    char text[kProfileValueChars];
    format_profile_number(value, text);
    return kernel32().WritePrivateProfileStringA(section, key, text, iniPath);
}
