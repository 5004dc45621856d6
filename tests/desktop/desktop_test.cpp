#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "desktop/debug_line.h"
#include "desktop/ini.h"
#include "rng.h"

namespace {

using mediakit::parse_profile_number;

TEST(ProfileNumber, ReadsLikeAtoiAndWrapsIn32Bits) {
    const struct { const char* text; int32_t value; } rows[] = {
        {"  -42abc", -42}, {"abc", 0}, {"", 0}, {"-", 0}, {"+-3", 0}, {" \t\r\n\v\f9", 9}, {"- 5", 0},
        {"0x1F", 0}, {"2147483648", INT32_MIN}, {"-4294967295", 1},
        {"\xA0" "5", 0}};  // a byte above 0x7F is no white space
    for (const auto& row : rows) EXPECT_EQ(parse_profile_number(row.text), row.value) << '"' << row.text << '"';
    // Random text against wide arithmetic reduced mod 2^32 (18 digits fit a long long), and
    // random values written as printf writes them and read back.
    for (uint32_t seed = 1; seed <= 5000; ++seed) {
        mktest::Rng rng(seed);
        std::string text(size_t(rng.range(0, 3)), ' ');
        if (rng.range(0, 2) == 0) text += rng.range(0, 1) ? '-' : '+';
        for (int i = rng.range(0, 18); i > 0; --i) text += char('0' + rng.range(0, 9));
        if (rng.range(0, 1)) text += "x9";
        long long wide = std::strtoll(text.c_str(), nullptr, 10);
        ASSERT_EQ(parse_profile_number(text.c_str()), int32_t(uint32_t(uint64_t(wide)))) << '"' << text << '"';
        uint32_t u = seed == 1 ? 0x80000000u : uint32_t(rng.next()) >> rng.range(0, 31);
        int32_t v = int32_t(rng.range(0, 1) ? 0u - u : u);
        char out[16];
        ASSERT_EQ(mediakit::format_profile_number(v, out), std::to_string(v).size());
        ASSERT_EQ(out, std::to_string(v));
        ASSERT_EQ(parse_profile_number(out), v);
    }
}

bool cp932_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }

TEST(DebugLine, AddsALineFeedAndCutsLongTextsAtAWholeCharacter) {
    const std::string a2044(2044, 'a'), a2045 = a2044 + "a", a2046 = a2045 + "a", dbcs = "\x83\x54";
    std::string pairs;  // a trail byte that looks like a lead byte does not shift the grid
    while (pairs.size() < 3000) pairs += "\x83\x83";
    const struct { std::string text, line; } rows[] = {
        {"", "\n"}, {"%s%d", "%s%d\n"}, {"\x83\x54\x83\x45", "\x83\x54\x83\x45\n"},
        {a2046, a2046 + "\n"}, {a2046 + "b", a2046 + "\n"},
        {a2045 + dbcs, a2045 + "\n"}, {a2045 + "b" + dbcs, a2045 + "b\n"},
        {a2044 + dbcs + "c", a2044 + dbcs + "\n"}, {pairs, pairs.substr(0, 2046) + "\n"}};
    for (const auto& row : rows) {
        std::vector<char> buffer(mediakit::kErrorTextBytes + 16, '\x7F');  // guard bytes after the 2048
        mediakit::format_debug_line(row.text.empty() ? nullptr : row.text.c_str(), cp932_lead, buffer.data());
        EXPECT_EQ(buffer.data(), row.line) << row.line.size();
        EXPECT_EQ(std::string(buffer.end() - 16, buffer.end()), std::string(16, '\x7F'));
    }
}

}  // namespace
