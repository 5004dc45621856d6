#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

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

}  // namespace
