#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "desktop/debug_line.h"

namespace {

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
