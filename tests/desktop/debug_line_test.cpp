#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "desktop/debug_line.h"

namespace {

using mediakit::format_debug_line;
using mediakit::kErrorTextBytes;

bool cp932_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }

std::string line(const char* text) {
    // Guard bytes after the buffer show that nothing is written past its 2048 bytes.
    std::vector<char> buffer(kErrorTextBytes + 16, '\x7F');
    format_debug_line(text, cp932_lead, buffer.data());
    for (size_t i = kErrorTextBytes; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], '\x7F') << i;
    return buffer.data();
}

TEST(DebugLine, AddsALineFeed) {
    EXPECT_EQ(line(""), "\n");
    EXPECT_EQ(line(nullptr), "\n");
    EXPECT_EQ(line("cannot open sound.wav"), "cannot open sound.wav\n");
    EXPECT_EQ(line("%s%d"), "%s%d\n") << "the text is not a format";
    EXPECT_EQ(line("\x83\x54\x83\x45\x83\x93\x83\x68"), "\x83\x54\x83\x45\x83\x93\x83\x68\n");
}

TEST(DebugLine, LongTextsAreCutAtAWholeCharacter) {
    const std::string a2046(2046, 'a');
    EXPECT_EQ(line(a2046.c_str()), a2046 + "\n");
    EXPECT_EQ(line((a2046 + "bcd").c_str()), a2046 + "\n");
    // A double-byte character that would straddle the cut is left out whole.
    const std::string a2045(2045, 'a');
    EXPECT_EQ(line((a2045 + "\x83\x54").c_str()), a2045 + "\n");
    EXPECT_EQ(line((a2045 + "b\x83\x54").c_str()), a2045 + "b\n");
    const std::string a2044(2044, 'a');
    EXPECT_EQ(line((a2044 + "\x83\x54" + "c").c_str()), a2044 + "\x83\x54\n");
    // A trail byte that looks like a lead byte does not shift the character grid.
    std::string pairs;
    while (pairs.size() < 3000) pairs += "\x83\x83";
    EXPECT_EQ(line(pairs.c_str()), pairs.substr(0, 2046) + "\n");
}

}  // namespace
