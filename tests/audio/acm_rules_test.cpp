#include <gtest/gtest.h>

#include <string>

#include "audio/acm_rules.h"

namespace {

// Lead bytes of code page 932; its trail bytes include 0x5C, the backslash.
bool cp932_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool no_lead(unsigned char) { return false; }

TEST(DriverPattern, DriveAndDirectoryOfThePath) {
    // A path longer than MAX_PATH allows: drive and directory, "\*.acm" and the NUL fit 260.
    const std::string fits = "C:" + std::string(251, 'd'), too_long = fits + "d";
    const struct { std::string path, pattern; bool (*lead)(unsigned char) = cp932_lead; } rows[] = {
        {"D:\\Game\\play.exe", "D:\\Game\\*.acm"}, {"D:\\Game\\", "D:\\Game\\*.acm"}, {"D:\\play.exe", "D:\\*.acm"},
        {"play.exe", "\\*.acm"}, {"", "\\*.acm"}, {"C:play.exe", "C:\\*.acm"}, {"C:", "C:\\*.acm"},
        {"dir/sub/x.acm", "dir/sub\\*.acm"}, {"a\\b/c\\d", "a\\b/c\\*.acm"},
        {"\\\\server\\share\\host.exe", "\\\\server\\share\\*.acm"},
        {"ab:\\x.exe", "ab:\\*.acm"},  // a colon past the second character is no drive
        // U+8868 is 0x95 0x5C in code page 932: its trail byte is no separator, unless the
        // code page is not in force.
        {"C:\\\x95\x5c\\host.exe", "C:\\\x95\x5c\\*.acm"}, {"C:\\\x95\x5chost.exe", "C:\\*.acm"},
        {"C:\\\x95\x5chost.exe", "C:\\\x95\\*.acm", no_lead},
        {"C:\\dir\\\x95", "C:\\dir\\*.acm"},  // a lead byte at the end has no trail byte
        {fits + "\\host.exe", fits + "\\*.acm"}, {too_long + "\\host.exe", ""}};
    for (const auto& row : rows) {
        char out[mediakit::kDriverPatternChars];
        EXPECT_EQ(mediakit::build_driver_pattern(row.path.c_str(), row.lead, out), !row.pattern.empty()) << row.path;
        EXPECT_EQ(out, row.pattern) << row.path;
    }
}

}  // namespace
