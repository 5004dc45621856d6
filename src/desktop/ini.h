// Whole numbers as INI files hold them: decimal text read the way atoi reads it, and
// written with no leading zeros and no plus sign.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mediakit {

/// The profile value buffer of one call: values longer than 63 characters are cut.
constexpr size_t kProfileValueChars = 64;
/// The text of GetPrivateProfileStringA's default: a missing key reads as this (value 0).
constexpr const char kProfileDefault[] = "none";

/// atoi: leading white space, one optional sign, decimal digits up to the first other
/// character; no digits give 0. No overflow check: the value wraps in 32 bits.
int32_t parse_profile_number(const char* text);

/// Decimal text of value into out (at least 12 bytes): "-" for negative values, no leading
/// zeros, no "+". Returns the length.
size_t format_profile_number(int32_t value, char* out);

}  // namespace mediakit
