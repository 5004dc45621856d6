#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bmp_bytes.h"
#include "guarded.h"
#include "image/bmp_memory.h"

namespace {

using mediakit::BmpImageStatus;
using mktest::BmpFields;

TEST(BmpMemory, PixelCopyTakesWhatTheImageHoldsThenZeros) {
    BmpFields s;
    s.width = 5;
    s.height = 4;
    std::vector<uint8_t> bytes = mktest::make_bmp(s);
    for (uint32_t off_bits : {0u, 54u, 60u, 100u, 0xFFFFFFF0u}) {
        for (size_t n = 54; n <= bytes.size(); ++n) {
            mktest::GuardedBuffer image(n);
            std::memcpy(image.data(), bytes.data(), n);
            mediakit::BmpMemoryImage bmp;
            ASSERT_EQ(mediakit::read_bmp_image(image.data(), n, &bmp), BmpImageStatus::kOk);
            bmp.file.bfOffBits = off_bits;
            mktest::GuardedBuffer out(static_cast<size_t>(bmp.pixel_bytes));
            std::memset(out.data(), 0xAB, out.size());
            mediakit::copy_pixel_block(image.data(), n, bmp, out.data(), out.size());
            for (size_t i = 0; i < out.size(); ++i) {
                uint8_t expected = uint64_t{off_bits} + i < n ? bytes[off_bits + i] : 0;
                ASSERT_EQ(out.data()[i], expected) << "offset " << off_bits << ", length " << n << ", byte " << i;
            }
        }
    }
}

TEST(BmpMemory, SystemInfoFollowsTheHeaderSizeAndIsZeroPadded) {
    for (uint32_t info_size : {12u, 40u, 124u, 200u, 65536u, 65537u, 0xFFFFFFFFu}) {
        BmpFields s;
        s.info_size = info_size > 4096 ? 40 : info_size;
        std::vector<uint8_t> bytes = mktest::make_bmp(s);
        for (int i = 0; i < 4; ++i) bytes[14 + i] = uint8_t(info_size >> (8 * i));
        mediakit::BmpMemoryImage bmp;
        ASSERT_EQ(mediakit::read_bmp_image(bytes.data(), bytes.size(), &bmp), BmpImageStatus::kOk);
        size_t n = mediakit::system_info_bytes(bmp);
        size_t expected = info_size > 65536 ? 0 : std::max<size_t>(info_size, 40) + mediakit::kColourTableMaxBytes;
        EXPECT_EQ(n, expected) << "biSize " << info_size;
    }
    BmpFields s;
    s.bit_count = 8;
    std::vector<uint8_t> bytes = mktest::make_bmp(s);
    const size_t n = 40 + mediakit::kColourTableMaxBytes;
    for (size_t length : {size_t{14}, size_t{15}, size_t{54}, size_t{300}, bytes.size()}) {
        mktest::GuardedBuffer image(length);
        std::memcpy(image.data(), bytes.data(), length);
        std::vector<uint8_t> info(n, 0xAB);
        mediakit::copy_system_info(image.data(), length, info.data(), n);
        for (size_t i = 0; i < n; ++i)
            ASSERT_EQ(info[i], 14 + i < length ? bytes[14 + i] : 0) << "length " << length << ", byte " << i;
    }
}

}  // namespace
