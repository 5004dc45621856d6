#include <gtest/gtest.h>

#include <string>

#include "audio/acm_rules.h"

namespace {

using mediakit::build_driver_pattern;
using mediakit::kDriverPatternChars;

// Lead bytes of code page 932; its trail bytes include 0x5C, the backslash.
bool cp932_lead(unsigned char c) { return (c >= 0x81 && c <= 0x9F) || (c >= 0xE0 && c <= 0xFC); }
bool no_lead(unsigned char) { return false; }

TEST(DriverPattern, DriveAndDirectoryOfThePath) {
    const struct {
        const char* path;
        const char* pattern;
    } rows[] = {
        {"D:\\Game\\play.exe", "D:\\Game\\*.acm"},
        {"D:\\Game\\", "D:\\Game\\*.acm"},
        {"D:\\play.exe", "D:\\*.acm"},
        {"play.exe", "\\*.acm"},
        {"", "\\*.acm"},
        {"C:play.exe", "C:\\*.acm"},
        {"C:", "C:\\*.acm"},
        {"dir/sub/x.acm", "dir/sub\\*.acm"},
        {"a\\b/c\\d", "a\\b/c\\*.acm"},
        {"\\\\server\\share\\host.exe", "\\\\server\\share\\*.acm"},
        {"Z:/work/drivers/host.exe", "Z:/work/drivers\\*.acm"},
        // A colon past the second character is no drive.
        {"ab:\\x.exe", "ab:\\*.acm"},
        // U+8868 is 0x95 0x5C in code page 932: its trail byte is no separator.
        {"C:\\\x95\x5c\\host.exe", "C:\\\x95\x5c\\*.acm"},
        {"C:\\\x95\x5chost.exe", "C:\\*.acm"},
        // A lead byte at the very end has no trail byte to take with it.
        {"C:\\dir\\\x95", "C:\\dir\\*.acm"},
    };
    for (const auto& row : rows) {
        char out[kDriverPatternChars];
        ASSERT_TRUE(build_driver_pattern(row.path, cp932_lead, out)) << row.path;
        EXPECT_STREQ(out, row.pattern) << row.path;
    }
    char out[kDriverPatternChars];
    ASSERT_TRUE(build_driver_pattern("C:\\\x95\x5chost.exe", no_lead, out));
    EXPECT_STREQ(out, "C:\\\x95\\*.acm") << "without the code page the trail byte splits the path";
}

TEST(DriverPattern, RefusesWhatDoesNotFitMaxPath) {
    // Drive and directory without its separator, "\*.acm" and the NUL: 253 + 6 + 1 = 260.
    for (size_t kept : {size_t(252), size_t(253), size_t(254), size_t(400)}) {
        std::string path = "C:" + std::string(kept - 2, 'd') + "\\host.exe";
        char out[kDriverPatternChars];
        bool fits = build_driver_pattern(path.c_str(), no_lead, out);
        EXPECT_EQ(fits, kept <= 253) << kept;
        if (fits) {
            EXPECT_EQ(std::string(out), path.substr(0, kept) + "\\*.acm");
        } else {
            EXPECT_STREQ(out, "");
        }
    }
}

}  // namespace
