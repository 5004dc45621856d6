// How far memory that came without a length can be read: images handed over by pointer
// alone (a BMP file or a RIFF WAVE image in memory) are read no further than this.
#pragma once

#include <cstddef>

namespace mediakit {

/// Bytes from p on that lie in committed, readable pages following one another, at most
/// `limit`.
size_t readable_extent(const void* p, size_t limit);

}  // namespace mediakit
