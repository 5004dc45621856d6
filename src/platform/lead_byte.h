// Text is ANSI text of the system code page, which may have double-byte characters. Portable
// code that walks such text takes the code page's lead-byte test as a parameter; the Win32
// layer passes the system's.
#pragma once

namespace mediakit {

/// True for a byte that starts a double-byte character (its trail byte may look like '\\').
using IsLeadByteFn = bool (*)(unsigned char);

/// The lead-byte test of the system's ANSI code page (the Win32 layer only).
bool system_lead_byte(unsigned char c);

}  // namespace mediakit
