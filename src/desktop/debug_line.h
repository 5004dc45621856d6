// The line RegError sends to the debugger output: the caller's text and a line feed, in one
// process-wide buffer of 2048 bytes.
#pragma once

#include <cstddef>

#include "platform/lead_byte.h"

namespace mediakit {

constexpr size_t kErrorTextBytes = 2048;

/// Writes text, "\n" and a NUL into out (kErrorTextBytes long). A text too long for the
/// buffer is cut at the last whole character that leaves room for the line feed, so a
/// double-byte character is never split. A null text counts as empty.
void format_debug_line(const char* text, IsLeadByteFn is_lead, char* out);

}  // namespace mediakit
