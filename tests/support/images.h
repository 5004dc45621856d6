// Heap image records for tests, laid out exactly as the loaders lay them out, with helpers
// to fill them and to read pixels by image coordinates.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/bitmap_record.h"
#include "rng.h"

namespace mktest {

/// A heap BitmapData that frees its blocks. Pixels and row padding start random.
class HeapImage {
public:
    HeapImage(int width, int height, int bit_count = 24, int palette_entries = -1);
    ~HeapImage();
    HeapImage(const HeapImage&) = delete;
    HeapImage& operator=(const HeapImage&) = delete;

    BitmapData* record() { return &bd_; }
    int width() const { return bd_.lpbmi->bmiHeader.biWidth; }
    int height() const { return bd_.lpbmi->bmiHeader.biHeight; }
    int stride() const { return BytesPerLine(&bd_.lpbmi->bmiHeader); }
    size_t bytes() const { return static_cast<size_t>(stride()) * height(); }
    uint8_t* bits() { return bd_.lpBits; }
    /// Byte address of pixel (x, y), y = 0 being the top row.
    uint8_t* at(int x, int y, int bytes_per_pixel = 3) {
        return bd_.lpBits + static_cast<size_t>(height() - 1 - y) * stride() + x * bytes_per_pixel;
    }
    void fill(Rng& rng);
    std::vector<uint8_t> snapshot() const { return {bd_.lpBits, bd_.lpBits + bytes()}; }

private:
    BitmapData bd_{};
};

/// "first difference at byte N: expected X, got Y", or "" when equal.
std::string first_difference(const std::vector<uint8_t>& expected, const uint8_t* actual,
                             size_t n);

}  // namespace mktest
