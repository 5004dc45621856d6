#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "desktop/ini.h"
#include "rng.h"

namespace {

using mediakit::format_profile_number;
using mediakit::parse_profile_number;

TEST(ProfileNumber, ReadsLikeAtoi) {
    const struct {
        const char* text;
        int32_t value;
    } rows[] = {
        {"  -42abc", -42}, {"abc", 0},         {"none", 0},         {"", 0},
        {"+17", 17},       {"-", 0},           {"+-3", 0},          {" \t\r\n\v\f9", 9},
        {"- 5", 0},        {"007", 7},         {"12 34", 12},       {"1e3", 1},
        {"0x1F", 0},       {"-0", 0},          {"2147483647", INT32_MAX},
        {"-2147483648", INT32_MIN},
        // No overflow check: the value wraps in 32 bits.
        {"2147483648", INT32_MIN},        {"4294967296", 0},        {"4294967297", 1},
        {"-4294967295", 1},               {"99999999999", 1215752191},
        {"\xA0" "5", 0},  // a byte above 0x7F is no white space
    };
    for (const auto& row : rows) EXPECT_EQ(parse_profile_number(row.text), row.value) << '"' << row.text << '"';
}

TEST(ProfileNumber, RandomTextMatchesWrappedWideArithmetic) {
    for (uint32_t seed = 1; seed <= 5000; ++seed) {
        mktest::Rng rng(seed);
        std::string text(size_t(rng.range(0, 3)), ' ');
        if (rng.range(0, 2) == 0) text += rng.range(0, 1) ? '-' : '+';
        int digits = rng.range(0, 18);
        for (int i = 0; i < digits; ++i) text += char('0' + rng.range(0, 9));
        if (rng.range(0, 1)) text += "x9";
        // Up to 18 digits fit a long long; reduced mod 2^32 it is the 32-bit wrapped value.
        long long wide = std::strtoll(text.c_str(), nullptr, 10);
        EXPECT_EQ(parse_profile_number(text.c_str()), int32_t(uint32_t(uint64_t(wide)))) << '"' << text << '"';
    }
}

TEST(ProfileNumber, WritesPlainDecimal) {
    char out[16];
    const int32_t fixed[] = {0, 1, -1, 9, 10, -10, INT32_MAX, INT32_MIN, INT32_MIN + 1, 1000000000};
    for (int32_t v : fixed) {
        char expected[16];
        std::snprintf(expected, sizeof expected, "%d", int(v));
        EXPECT_EQ(format_profile_number(v, out), std::string(expected).size());
        EXPECT_STREQ(out, expected);
    }
    EXPECT_STREQ((format_profile_number(INT32_MIN, out), out), "-2147483648");
    for (uint32_t seed = 1; seed <= 2000; ++seed) {
        mktest::Rng rng(seed);
        int32_t v = int32_t(uint32_t(rng.next()) >> rng.range(0, 31));
        if (rng.range(0, 1)) v = -v;
        char expected[16];
        std::snprintf(expected, sizeof expected, "%d", int(v));
        format_profile_number(v, out);
        ASSERT_STREQ(out, expected);
        ASSERT_EQ(parse_profile_number(out), v);
    }
}

}  // namespace
