#include "image/bmp_memory.h"

#include <algorithm>
#include <cstring>

namespace mediakit {

BmpImageStatus read_bmp_image(const uint8_t* image, size_t length, BmpMemoryImage* out) {
    if (length < kFileHeaderBytes) return BmpImageStatus::kNotBmp;
    out->file = decode_file_header(image);
    if (!is_bmp_header(out->file)) return BmpImageStatus::kNotBmp;
    if (length < kHeadersBytes) return BmpImageStatus::kTruncated;
    out->info = decode_info_header(image + kFileHeaderBytes);
    out->palette_entries = NumOfPalletColors(&out->info);
    out->info_block = image + kFileHeaderBytes;
    if (length - kFileHeaderBytes < info_block_bytes(out->palette_entries))
        return BmpImageStatus::kTruncated;
    out->pixel_bytes = pixel_block_bytes(out->info);
    if (out->pixel_bytes < 0) return BmpImageStatus::kBadSize;
    return BmpImageStatus::kOk;
}

size_t system_info_bytes(const BmpMemoryImage& bmp) {
    if (bmp.info.biSize > kMaxInfoHeaderBytes) return 0;
    return std::max<size_t>(bmp.info.biSize, kInfoHeaderBytes) + kColourTableMaxBytes;
}

void copy_system_info(const uint8_t* image, size_t length, uint8_t* out, size_t n) {
    size_t available = length > kFileHeaderBytes ? length - kFileHeaderBytes : 0;
    size_t copied = std::min(available, n);
    if (copied) std::memcpy(out, image + kFileHeaderBytes, copied);
    std::memset(out + copied, 0, n - copied);
}

void copy_pixel_block(const uint8_t* image, size_t length, const BmpMemoryImage& bmp,
                      uint8_t* dst, size_t dst_bytes) {
    size_t offset = bmp.file.bfOffBits;  // used unchanged, also when it is 0
    size_t available = offset < length ? length - offset : 0;
    size_t n = std::min(available, dst_bytes);
    if (n) std::memcpy(dst, image + offset, n);
    std::memset(dst + n, 0, dst_bytes - n);
}

}  // namespace mediakit
