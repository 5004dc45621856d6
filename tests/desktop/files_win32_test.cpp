// The file services against Wine's real KERNEL32: real temp files and INI files.
#include <gtest/gtest.h>
#include <windows.h>

#include <climits>
#include <string>
#include <vector>

#include "bmp_bytes.h"
#include "mediakit.h"
#include "platform/file_calls.h"
#include "temp_dir.h"

namespace {

class Handle {
public:
    explicit Handle(HANDLE h) : h_(h) {}
    ~Handle() {
        if (h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
    }
    HANDLE get() const { return h_; }

private:
    HANDLE h_;
};

HANDLE open_file(const std::string& path, DWORD access, DWORD share, DWORD disposition = OPEN_EXISTING) {
    return CreateFileA(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

class FilesTest : public testing::Test {
protected:
    std::string make_file(const std::string& name, const std::string& text) {
        std::string path = dir_.path(name);
        mktest::write_file(path, std::vector<uint8_t>(text.begin(), text.end()));
        return path;
    }
    mktest::TempDir dir_;
};

// What fl_IsExist asks of the system: no data access and no sharing, and its own handle
// closed at once. (Whether a file that another handle holds without sharing can be opened
// that way is the system's answer: Wine, like NT, skips the sharing check for it.)
struct CreateCall {
    std::string path;
    DWORD access, share, disposition, flags;
    HANDLE result;
};
std::vector<CreateCall> g_creates;
std::vector<HANDLE> g_closes;
HANDLE WINAPI record_create(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES sa, DWORD disposition,
                            DWORD flags, HANDLE templ) {
    HANDLE h = CreateFileA(path, access, share, sa, disposition, flags, templ);
    g_creates.push_back({path, access, share, disposition, flags, h});
    return h;
}
BOOL WINAPI record_close(HANDLE h) {
    g_closes.push_back(h);
    return CloseHandle(h);
}

TEST_F(FilesTest, IsExistAsksForNoDataAccess) {
    std::string file = make_file("here.txt", "x");
    mediakit::FileCalls calls = mediakit::file_calls();
    calls.CreateFileA = record_create;
    calls.CloseHandle = record_close;
    mediakit::set_file_calls_for_test(&calls);
    g_creates.clear();
    g_closes.clear();
    int found = fl_IsExist(file.c_str());
    int missing = fl_IsExist(dir_.path("missing").c_str());
    mediakit::set_file_calls_for_test(nullptr);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(fl_IsExist(dir_.path("no-such-dir/x").c_str()), 0);
    EXPECT_EQ(fl_IsExist(nullptr), 0);
    ASSERT_EQ(g_creates.size(), 2u);
    for (const CreateCall& c : g_creates) {
        EXPECT_EQ(c.access, 0u);
        EXPECT_EQ(c.share, 0u);
        EXPECT_EQ(c.disposition, DWORD(OPEN_EXISTING));
        EXPECT_EQ(c.flags, DWORD(FILE_ATTRIBUTE_NORMAL));
    }
    ASSERT_EQ(g_closes.size(), 1u) << "only the handle that was opened is closed";
    EXPECT_EQ(g_closes[0], g_creates[0].result);
}

TEST_F(FilesTest, FilePositionsAreSixtyFourBit) {
    std::string path = make_file("pos.bin", "0123456789");
    Handle file(open_file(path, GENERIC_READ, FILE_SHARE_READ));
    ASSERT_NE(file.get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(fl_GetFilePointer(file.get()), 0);
    const struct {
        LONG low, high;
        LONGLONG position;
    } rows[] = {
        {7, 0, 7},
        {0, 1, 4294967296LL},                // past the end of a small file, as the system allows
        {-1, 0, 0xFFFFFFFFLL},               // the low part is unsigned
        {0x10, 2, 0x200000010LL},
        {3, -1, 0x200000010LL},              // a negative position fails: the position stays
    };
    for (const auto& row : rows) {
        EXPECT_EQ(fl_SetFilePointer(file.get(), row.low, row.high), 1);
        EXPECT_EQ(fl_GetFilePointer(file.get()), row.position) << row.low << ", " << row.high;
    }
    // A failed query passes on the system's 0xFFFFFFFF low part.
    EXPECT_EQ(fl_GetFilePointer(INVALID_HANDLE_VALUE) & 0xFFFFFFFF, 0xFFFFFFFF);
    EXPECT_EQ(fl_SetFilePointer(INVALID_HANDLE_VALUE, 0, 0), 1);
}

TEST_F(FilesTest, ProfileNumbersFromARealIniFile) {
    const std::string long_value = std::string(60, '0') + "12345";  // 65 characters: 63 are seen
    std::string ini = make_file("game.ini",
                                "[game]\r\n"
                                "neg=  -42abc\r\n"
                                "letters=abc\r\n"
                                "empty=\r\n"
                                "long=" + long_value + "\r\n"
                                "wrap=4294967297\r\n"
                                "plain=1999\r\n");
    const struct {
        const char *section, *key;
        int result, value;
    } rows[] = {
        {"game", "neg", 1, -42},        {"game", "letters", 1, 0},  {"game", "empty", 0, 0x5EED},
        {"game", "long", 1, 123},       {"game", "wrap", 1, 1},     {"game", "plain", 1, 1999},
        {"game", "absent", 1, 0},       {"other", "plain", 1, 0},
    };
    for (const auto& row : rows) {
        int value = 0x5EED;
        EXPECT_EQ(GetPrivateProfileNumber(row.section, row.key, &value, ini.c_str()), row.result) << row.key;
        EXPECT_EQ(value, row.value) << row.section << "/" << row.key;
    }
    int value = 0x5EED;
    EXPECT_EQ(GetPrivateProfileNumber("game", "plain", &value, dir_.path("missing.ini").c_str()), 1);
    EXPECT_EQ(value, 0) << "a missing file reads as the default text";
}

TEST_F(FilesTest, WrittenNumbersAreDecimalTextAndReadBack) {
    std::string ini = dir_.path("out.ini");
    const struct {
        int value;
        const char* text;
    } rows[] = {{INT_MIN, "-2147483648"}, {0, "0"}, {INT_MAX, "2147483647"}, {-7, "-7"}, {100, "100"}};
    for (const auto& row : rows) {
        EXPECT_NE(WritePrivateProfileNumber("numbers", "n", row.value, ini.c_str()), 0);
        WritePrivateProfileStringA(nullptr, nullptr, nullptr, ini.c_str());  // flush the system's cache
        std::vector<uint8_t> bytes = mktest::read_file(ini);
        std::string text(bytes.begin(), bytes.end());
        EXPECT_NE(text.find(std::string("n=") + row.text + "\r\n"), std::string::npos) << text;
        int back = 0x5EED;
        EXPECT_EQ(GetPrivateProfileNumber("numbers", "n", &back, ini.c_str()), 1);
        EXPECT_EQ(back, row.value);
    }
}

// The debugger output cannot be read back without a debugger: a fake records it.
std::vector<std::string> g_debug_lines;
void WINAPI record_debug_line(LPCSTR text) { g_debug_lines.emplace_back(text); }

TEST(RegError, SendsTheTextAndALineFeed) {
    mediakit::FileCalls calls = mediakit::file_calls();
    calls.OutputDebugStringA = record_debug_line;
    mediakit::set_file_calls_for_test(&calls);
    g_debug_lines.clear();
    RegError("");
    RegError("cannot open chime.wav");
    RegError(std::string(5000, 'x').c_str());
    RegError("%s%n");
    mediakit::set_file_calls_for_test(nullptr);
    ASSERT_EQ(g_debug_lines.size(), 4u);
    EXPECT_EQ(g_debug_lines[0], "\n");
    EXPECT_EQ(g_debug_lines[1], "cannot open chime.wav\n");
    EXPECT_EQ(g_debug_lines[2], std::string(2046, 'x') + "\n");
    EXPECT_EQ(g_debug_lines[3], "%s%n\n");
}

}  // namespace
