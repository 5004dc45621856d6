#include "riff_builder.h"

#include <algorithm>
#include <cstring>


namespace mktest {
namespace {

void put_u32(std::vector<uint8_t>& out, size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) out[at + i] = uint8_t(v >> (8 * i));
}

void append_u32(std::vector<uint8_t>& out, uint32_t v) {
    out.resize(out.size() + 4);
    put_u32(out, out.size() - 4, v);
}

}  // namespace

RiffBuilder& RiffBuilder::chunk_declared(const char* id, uint32_t declared, const std::vector<uint8_t>& body) {
    chunks_.insert(chunks_.end(), id, id + 4);
    append_u32(chunks_, declared);
    chunks_.insert(chunks_.end(), body.begin(), body.end());
    return *this;
}

RiffBuilder& RiffBuilder::chunk(const char* id, const std::vector<uint8_t>& body) {
    chunk_declared(id, uint32_t(body.size()), body);
    if (body.size() & 1) chunks_.push_back(0xEE);  // the pad byte, never a valid id byte
    return *this;
}

RiffBuilder& RiffBuilder::raw(const std::vector<uint8_t>& bytes) {
    chunks_.insert(chunks_.end(), bytes.begin(), bytes.end());
    return *this;
}

std::vector<uint8_t> RiffBuilder::bytes() const { return bytes(uint32_t(4 + chunks_.size())); }

std::vector<uint8_t> RiffBuilder::bytes(uint32_t riff_size) const {
    std::vector<uint8_t> out(12 + chunks_.size());
    std::memcpy(out.data(), "RIFF\0\0\0\0WAVE", 12);
    put_u32(out, 4, riff_size);
    std::copy(chunks_.begin(), chunks_.end(), out.begin() + 12);
    return out;
}

std::vector<uint8_t> format_body(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits, size_t size) {
    std::vector<uint8_t> b(size < 16 ? 16 : size, 0);
    uint16_t align = uint16_t(channels * bits / 8);
    b[0] = uint8_t(tag), b[1] = uint8_t(tag >> 8);
    b[2] = uint8_t(channels), b[3] = uint8_t(channels >> 8);
    put_u32(b, 4, rate);
    put_u32(b, 8, rate * align);
    b[12] = uint8_t(align), b[13] = uint8_t(align >> 8);
    b[14] = uint8_t(bits), b[15] = uint8_t(bits >> 8);
    b.resize(size);
    return b;
}

std::vector<uint8_t> ramp(size_t n, uint8_t first) {
    std::vector<uint8_t> out(n);
    for (size_t i = 0; i < n; ++i) out[i] = uint8_t(first + i);
    return out;
}

std::vector<uint8_t> body_with_u32(size_t size, std::initializer_list<std::pair<size_t, uint32_t>> values) {
    std::vector<uint8_t> out(size, 0);
    // Bytes of a value that run past the body are dropped.
    for (const auto& [at, v] : values)
        for (size_t i = 0; i < 4 && at + i < size; ++i) out[at + i] = uint8_t(v >> (8 * i));
    return out;
}

uint32_t read_u32le_at(const std::vector<uint8_t>& bytes, size_t at) {
    return uint32_t(bytes[at]) | uint32_t(bytes[at + 1]) << 8 | uint32_t(bytes[at + 2]) << 16 |
           uint32_t(bytes[at + 3]) << 24;
}

}  // namespace mktest
