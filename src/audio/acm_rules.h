// The folder search pattern of the codec-driver scan: the drive and directory of a path,
// without the directory's trailing separator, then "\*.acm".
#pragma once

#include <cstddef>

#include "platform/lead_byte.h"

namespace mediakit {

/// The pattern buffer holds MAX_PATH characters with the NUL.
constexpr size_t kDriverPatternChars = 260;

/// The drive is the first two characters when the second is ':'; the directory runs from
/// there up to and including the last '\' or '/' (double-byte characters are stepped over
/// whole, so a trail byte equal to '\' is no separator); the file name is ignored.
/// "D:\Game\play.exe" gives "D:\Game\*.acm", "play.exe" gives "\*.acm" and "C:play.exe"
/// gives "C:\*.acm". False, with out empty, when the pattern does not fit.
bool build_driver_pattern(const char* path, IsLeadByteFn is_lead, char* out);

}  // namespace mediakit
