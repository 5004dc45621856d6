#include "bmp_bytes.h"

#include <cstring>
#include <fstream>
#include <iterator>

#include "rng.h"

namespace mktest {
namespace {

void put16(std::vector<uint8_t>& v, size_t at, uint32_t x) {
    v[at] = static_cast<uint8_t>(x);
    v[at + 1] = static_cast<uint8_t>(x >> 8);
}
void put32(std::vector<uint8_t>& v, size_t at, uint32_t x) {
    put16(v, at, x & 0xFFFF);
    put16(v, at + 2, x >> 16);
}
std::vector<uint8_t> slice_or_zero(const std::vector<uint8_t>& file, uint64_t at, uint64_t n) {
    std::vector<uint8_t> out(n, 0);
    for (uint64_t i = 0; i < n && at + i < file.size(); ++i) out[i] = file[at + i];
    return out;
}

}  // namespace

std::vector<uint8_t> make_bmp(const BmpFields& s) {
    BITMAPINFOHEADER info{};
    info.biWidth = s.width;
    info.biHeight = s.height;
    info.biPlanes = s.planes;
    info.biBitCount = s.bit_count;
    info.biClrUsed = s.clr_used;
    int entries = s.palette_entries >= 0 ? s.palette_entries : NumOfPalletColors(&info);
    int64_t pixels = mediakit::pixel_block_bytes(info);
    if (pixels < 0) pixels = 0;
    size_t header = 14 + s.info_size;
    size_t pixels_at = header + 4 * entries + s.gap;
    std::vector<uint8_t> v(pixels_at + pixels, 0);
    Rng rng(s.seed);
    for (size_t i = header; i < v.size(); ++i) v[i] = rng.byte();
    put16(v, 0, s.magic);
    put32(v, 2, s.size_field ? s.size_field : static_cast<uint32_t>(v.size()));
    put16(v, 6, s.reserved1);
    put16(v, 8, s.reserved2);
    put32(v, 10, s.off_bits == 0xFFFFFFFF ? static_cast<uint32_t>(pixels_at) : s.off_bits);
    put32(v, 14, s.info_size);
    put32(v, 18, static_cast<uint32_t>(s.width));
    put32(v, 22, static_cast<uint32_t>(s.height));
    put16(v, 26, s.planes);
    put16(v, 28, s.bit_count);
    put32(v, 46, s.clr_used);
    return v;
}

ExpectedRecord expected_heap_load(const std::vector<uint8_t>& file) {
    ExpectedRecord e;
    std::vector<uint8_t> head = slice_or_zero(file, 0, 54);
    if (!mediakit::is_bmp_header(mediakit::decode_file_header(head.data()))) return e;
    BITMAPINFOHEADER info = mediakit::decode_info_header(head.data() + 14);
    int64_t pixels = mediakit::pixel_block_bytes(info);
    if (pixels < 0) return e;
    size_t info_bytes = mediakit::info_block_bytes(NumOfPalletColors(&info));
    uint32_t off_bits = mediakit::read_u32le(head.data() + 10);
    e.ok = true;
    e.file_header.assign(head.begin(), head.begin() + 14);
    e.info_block = slice_or_zero(file, 14, info_bytes);
    e.pixels = slice_or_zero(file, off_bits ? off_bits : 14 + info_bytes, pixels);
    return e;
}

std::string check_record(const ExpectedRecord& e, const BitmapData& bd) {
    static const BitmapData kEmpty{};
    if (!e.ok)
        return std::memcmp(&bd, &kEmpty, sizeof bd) == 0 ? "" : "record not cleared";
    if (std::memcmp(&bd.bmfHeader, e.file_header.data(), 14) != 0) return "file header differs";
    if (!bd.lpbmi || std::memcmp(bd.lpbmi, e.info_block.data(), e.info_block.size()) != 0)
        return "info block differs";
    if (!bd.lpBits || (!e.pixels.empty() &&
                       std::memcmp(bd.lpBits, e.pixels.data(), e.pixels.size()) != 0))
        return "pixels differ";
    return "";
}

std::vector<uint8_t> read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_file(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace mktest
