// The DLL as a host sees it: linked through its import library, loaded by name, its export
// and import tables, and its entry points called through a stack aligned to 4 bytes only.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include "mediakit.h"
#include "pe_tables.h"

// Calls fn(args[0..n-1]), cdecl, with the stack pointer at offset (mod 16) at the call.
extern "C" uint32_t call_with_stack_at(const void* fn, const uint32_t* args, int n, int offset);
__asm__(
    ".text\n"
    ".globl _call_with_stack_at\n"
    "_call_with_stack_at:\n"
    "  push %ebp\n"
    "  mov %esp, %ebp\n"
    "  push %esi\n"
    "  push %edi\n"
    "  mov 16(%ebp), %ecx\n"
    "  lea (,%ecx,4), %eax\n"
    "  mov %esp, %edi\n"
    "  sub %eax, %edi\n"
    "  sub $64, %edi\n"
    "  and $-16, %edi\n"
    "  add 20(%ebp), %edi\n"
    "  mov %edi, %esp\n"
    "  mov 12(%ebp), %esi\n"
    "  cld\n"
    "  rep movsl\n"
    "  call *8(%ebp)\n"
    "  lea -8(%ebp), %esp\n"
    "  pop %edi\n"
    "  pop %esi\n"
    "  pop %ebp\n"
    "  ret\n");

namespace {

std::vector<uint8_t> read_bytes(const char* path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

TEST(DllTables, ExportsExactlyTheDefinedPlainNames) {
    mktest::PeTables t = mktest::read_pe_tables(read_bytes(MK_DLL_PATH));
    ASSERT_TRUE(t.ok);
    std::vector<uint8_t> def = read_bytes(MK_DEF_FILE);
    std::vector<std::string> expected = mktest::read_def_exports(std::string(def.begin(), def.end()));
    ASSERT_FALSE(expected.empty());
    for (const std::string& name : t.exports) {
        EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(name[0])) &&
                    name.find_first_of("@?$.") == std::string::npos)
            << "decorated export " << name;
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(t.exports, expected);  // the export name table is sorted
}

TEST(DllTables, ImportsSystemDllsOnly) {
    mktest::PeTables t = mktest::read_pe_tables(read_bytes(MK_DLL_PATH));
    ASSERT_TRUE(t.ok);
    const std::set<std::string> system = {"kernel32.dll", "user32.dll",   "gdi32.dll",  "winmm.dll",
                                          "msacm32.dll",  "avifil32.dll", "imm32.dll",  "msvcrt.dll"};
    ASSERT_FALSE(t.imports.empty());
    for (const std::string& dll : t.imports) EXPECT_TRUE(system.count(lower(dll))) << dll;
}

TEST(Dll, EveryNameResolvesWhenLoadedByName) {
    HMODULE dll = LoadLibraryA("mediakit.dll");
    ASSERT_NE(dll, nullptr);
    std::vector<uint8_t> def = read_bytes(MK_DEF_FILE);
    for (const std::string& name : mktest::read_def_exports(std::string(def.begin(), def.end())))
        EXPECT_NE(GetProcAddress(dll, name.c_str()), nullptr) << name;
}

// Heap-style records with no device context: FastBlt can only copy them on the MMX path,
// which the entry point enabled when it found MMX at process attach.
struct Image {
    explicit Image(int w, int h, BYTE fill) : pixels(size_t(((w * 24 + 31) >> 3) & ~3) * h, fill) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = 24;
        bd.bmfHeader.bfType = 0x4D42;
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&info);
        bd.lpBits = pixels.data();
    }
    BITMAPINFOHEADER info{};
    std::vector<BYTE> pixels;
    BitmapData bd{};
};

TEST(Dll, EntryPointEnablesTheMmxPaths) {
    ASSERT_EQ(IsMMX(), 1);
    Image dst(64, 8, 0), src(64, 8, 0xC3);
    FastBlt(&dst.bd, 0, 0, 64, 8, &src.bd, 0, 0);
    EXPECT_EQ(dst.pixels, src.pixels);
}

TEST(Dll, EntryPointsRunOnAStackAlignedToFourBytes) {
    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        Image dst(1920, 4, 0), src(1920, 4, 0x7E);
        const uint32_t blt[] = {uint32_t(&dst.bd), 0, 0, 1920, 4, uint32_t(&src.bd), 0, 0};
        call_with_stack_at(reinterpret_cast<const void*>(&FastBlt), blt, 8, offset);
        EXPECT_EQ(dst.pixels, src.pixels);

        BitmapData section{};
        const uint32_t make[] = {0, 300, 20, 24, 0, uint32_t(&section)};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&BufferDIBSection), make, 6, offset), 1u);
        const uint32_t del[] = {uint32_t(&section)};
        call_with_stack_at(reinterpret_cast<const void*>(&DeleteBitmapData), del, 1, offset);
        const uint32_t flag[] = {1};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&SetUsageMMX), flag, 1, offset), 1u);
    }
}

TEST(Dll, AudioAndFileEntryPointsRunOnAStackAlignedToFourBytes) {
    auto call = [](auto fn, std::initializer_list<uint32_t> args, int offset) {
        std::vector<uint32_t> a(args);
        return call_with_stack_at(reinterpret_cast<const void*>(fn), a.data(), int(a.size()), offset);
    };
    // A RIFF image of one 8-bit mu-law "fmt " chunk (18 bytes) and 4 bytes of data.
    const uint8_t image[] = {'R', 'I', 'F', 'F', 42, 0, 0, 0, 'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 18, 0, 0, 0,
                             7,   0,   1,   0,   0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0, 0, 0,
                             'd', 'a', 't', 'a', 4, 0, 0, 0, 0xFF, 0x80, 0x00, 0x7F};
    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        WAVEFORMATEX pcm{};
        call(&wav_SetWaveFormat, {2, 16, 44100, uint32_t(&pcm)}, offset);
        EXPECT_EQ(pcm.nAvgBytesPerSec, 176400u);

        const WAVEFORMATEX* format = nullptr;
        BYTE* data = nullptr;
        DWORD size = 0, fact = 0;
        EXPECT_EQ(call(&wav_ParseWaveResource, {uint32_t(image), uint32_t(&format), uint32_t(&fact), uint32_t(&data),
                                                uint32_t(&size)}, offset), 1u);
        ASSERT_EQ(size, 4u);

        WAVEFORMATEX target;
        DWORD bytes = 0;
        EXPECT_EQ(call(&acm_BeginDecode, {uint32_t(format), 4, 4, uint32_t(&target), uint32_t(&bytes)}, offset), 1u);
        std::vector<BYTE> out(bytes);
        EXPECT_EQ(call(&acm_Decode, {uint32_t(data), uint32_t(out.data())}, offset), 1u);
        call(&acm_EndDecode, {}, offset);
        EXPECT_EQ(bytes, 8u);

        int value = 5;
        EXPECT_EQ(call(&GetPrivateProfileNumber, {uint32_t("s"), uint32_t("k"), uint32_t(&value),
                                                  uint32_t("Z:\\no\\such\\file.ini")}, offset), 1u);
        EXPECT_EQ(value, 0);
        WaveForFile record{};
        EXPECT_EQ(call(&wav_OpenWaveForFile, {uint32_t(MK_DLL_PATH), uint32_t(&record), 1}, offset), 0u);
        call(&wav_CloseWaveForFile, {uint32_t(&record)}, offset);
        call(&RegError, {uint32_t("")}, offset);
    }
}

// The masked blits reach vector code on both settings of the switch; each call through a
// 4-byte aligned stack must give what a call from this program's own stack gives.
TEST(Dll, MaskedBlitsRunOnAStackAlignedToFourBytes) {
    Image src(1920, 4, 0), src2(1920, 4, 0), mask(1920, 4, 0);
    for (size_t i = 0; i < src.pixels.size(); ++i) {
        src.pixels[i] = BYTE(i * 7);
        src2.pixels[i] = BYTE(i * 13 + 5);
        mask.pixels[i] = BYTE(i * 3 + i / 5);
    }
    const uint32_t d = 0;  // replaced by each destination's address
    const uint32_t alpha2[] = {d, 0, 0, 1920, 4, uint32_t(&src.bd), 0, 0, uint32_t(&mask.bd), 0, 0, 200};
    const uint32_t time[] = {d, 0, 0, 1920, 4, uint32_t(&src.bd), 0, 0, uint32_t(&src2.bd), 0, 0,
                             uint32_t(&mask.bd), 0, 0, 300};
    for (BOOL mmx : {1, 0}) {
        SetUsageMMX(mmx);
        Image alpha_ref(1920, 4, 0x40), time_ref(1920, 4, 0x40), full_ref(1920, 4, 0x40);
        MaskAlphaBlt2(&alpha_ref.bd, 0, 0, 1920, 4, &src.bd, 0, 0, &mask.bd, 0, 0, 200);
        MaskAlphaBlt(&full_ref.bd, 0, 0, 1920, 4, &src.bd, 0, 0, &mask.bd, 0, 0);
        MaskTimeAlphaBlt(&time_ref.bd, 0, 0, 1920, 4, &src.bd, 0, 0, &src2.bd, 0, 0, &mask.bd, 0, 0, 300);
        for (int offset : {4, 8, 12, 0}) {
            SCOPED_TRACE(testing::Message() << "offset " << offset << ", MMX " << mmx);
            Image a(1920, 4, 0x40), f(1920, 4, 0x40), t(1920, 4, 0x40);
            uint32_t args[15];
            std::copy(std::begin(alpha2), std::end(alpha2), args);
            args[0] = uint32_t(&a.bd);
            call_with_stack_at(reinterpret_cast<const void*>(&MaskAlphaBlt2), args, 12, offset);
            args[0] = uint32_t(&f.bd);
            call_with_stack_at(reinterpret_cast<const void*>(&MaskAlphaBlt), args, 11, offset);
            std::copy(std::begin(time), std::end(time), args);
            args[0] = uint32_t(&t.bd);
            call_with_stack_at(reinterpret_cast<const void*>(&MaskTimeAlphaBlt), args, 15, offset);
            EXPECT_EQ(a.pixels, alpha_ref.pixels);
            EXPECT_EQ(f.pixels, full_ref.pixels);
            EXPECT_EQ(t.pixels, time_ref.pixels);
            EXPECT_NE(t.pixels, Image(1920, 4, 0x40).pixels);
        }
    }
    SetUsageMMX(1);
}

// The scaling blit and the hue and saturation revision reach vector code; ReviseHSB takes
// three doubles on the stack, each as two 32-bit words, low word first.
TEST(Dll, ScalingAndHsbRunOnAStackAlignedToFourBytes) {
    Image src(1920, 9, 0);
    for (size_t i = 0; i < src.pixels.size(); ++i) src.pixels[i] = BYTE(i * 7 + (i >> 5));
    Image expected_scaled(640, 3, 0x11);
    BilinearBlt(&expected_scaled.bd, 0, 0, 640, 3, &src.bd, 0, 0, 1920, 9);

    // Pixel 0 of the bottom row is pure red: turned a third it is green (0, 255, 0), and
    // weakened by half (43, 171, 43).
    auto words = [](double d, uint32_t* out) { std::memcpy(out, &d, 8); };
    Image expected_hsb(300, 4, 0), start(300, 4, 0);
    for (size_t i = 0; i < start.pixels.size(); ++i) start.pixels[i] = BYTE(i * 13 + (i >> 4));
    start.pixels[0] = 0, start.pixels[1] = 0, start.pixels[2] = 255;
    std::copy(start.pixels.begin(), start.pixels.end(), expected_hsb.pixels.begin());
    ReviseHSB(&expected_hsb.bd, 0, 0, 300, 4, 1.0 / 3, -0.5, 123.0, 0);
    ASSERT_EQ(expected_hsb.pixels[0], 43);
    ASSERT_EQ(expected_hsb.pixels[1], 171);
    ASSERT_EQ(expected_hsb.pixels[2], 43);

    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        Image scaled(640, 3, 0x11);
        const uint32_t blt[] = {uint32_t(&scaled.bd), 0, 0, 640, 3, uint32_t(&src.bd), 0, 0, 1920, 9};
        call_with_stack_at(reinterpret_cast<const void*>(&BilinearBlt), blt, 10, offset);
        EXPECT_EQ(scaled.pixels, expected_scaled.pixels);

        Image revised(300, 4, 0);
        std::copy(start.pixels.begin(), start.pixels.end(), revised.pixels.begin());
        uint32_t hsb[12] = {uint32_t(&revised.bd), 0, 0, 300, 4};
        words(1.0 / 3, hsb + 5);
        words(-0.5, hsb + 7);
        words(123.0, hsb + 9);
        hsb[11] = 0;
        call_with_stack_at(reinterpret_cast<const void*>(&ReviseHSB), hsb, 12, offset);
        EXPECT_EQ(revised.pixels, expected_hsb.pixels);
    }
}

// The key, blend and fill blits reach vector code: through a 4-byte aligned stack each gives
// the bytes of a direct call.
TEST(Dll, KeyAndBlendBlitsRunOnAStackAlignedToFourBytes) {
    Image src(1920, 4, 0), other(1920, 4, 0), mask(1920, 4, 0);
    for (size_t i = 0; i < src.pixels.size(); ++i) {
        src.pixels[i] = BYTE(i % 5 ? i * 7 : 0);
        other.pixels[i] = BYTE(i * 13 + 5);
        mask.pixels[i] = BYTE(i * 3);
    }
    const uint32_t s = uint32_t(&src.bd), o = uint32_t(&other.bd), m = uint32_t(&mask.bd);
    struct Call {
        const void* fn;
        std::vector<uint32_t> args;  // after the destination
    };
    const Call calls[] = {
        {reinterpret_cast<const void*>(&MaskKeyBlt), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 100}},
        {reinterpret_cast<const void*>(&MaskKeyBlt2), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 100, 77}},
        {reinterpret_cast<const void*>(&MaskTimeKeyBlt), {0, 0, 1920, 4, s, 0, 0, m, 0, 0, 150}},
        {reinterpret_cast<const void*>(&AlphaBlendBlt), {0, 0, 1920, 4, s, 0, 0, o, 0, 0, 99}},
        {reinterpret_cast<const void*>(&FillAlpha), {0, 0, 1920, 4, 0x123456, 99}},
        {reinterpret_cast<const void*>(&ColorKeyBlt), {0, 0, 1920, 4, s, 0, 0}},
        {reinterpret_cast<const void*>(&ColorKeyBlt2), {0, 0, 1920, 4, s, 0, 0, 99}},
        {reinterpret_cast<const void*>(&AddColorValue), {0, 0, 5760, 4, 30}},
    };
    for (const Call& call : calls) {
        Image direct(1920, 4, 0x55);
        std::vector<uint32_t> args = {uint32_t(&direct.bd)};
        args.insert(args.end(), call.args.begin(), call.args.end());
        call_with_stack_at(call.fn, args.data(), int(args.size()), 0);
        EXPECT_NE(direct.pixels, Image(1920, 4, 0x55).pixels) << "call " << (&call - calls) << " drew nothing";
        for (int offset : {4, 8, 12}) {
            Image dst(1920, 4, 0x55);
            args[0] = uint32_t(&dst.bd);
            call_with_stack_at(call.fn, args.data(), int(args.size()), offset);
            EXPECT_EQ(dst.pixels, direct.pixels) << "call " << (&call - calls) << ", offset " << offset;
        }
    }
}

// Ellipse stamps, particles and splines all run double arithmetic in SSE registers.
TEST(Dll, EffectsAndSplinesRunOnAStackAlignedToFourBytes) {
    auto args_with = [](std::initializer_list<uint32_t> head, double d) {
        std::vector<uint32_t> a(head);
        uint32_t w[2];
        std::memcpy(w, &d, 8);
        a.push_back(w[0]);
        a.push_back(w[1]);
        return a;
    };
    for (int offset : {4, 8, 12, 0}) {
        SCOPED_TRACE(offset);
        Image dst(64, 64, 0), src(64, 64, 0x7E);
        const uint32_t colour[] = {uint32_t(&dst.bd), 8, 8, 32, 32, 0x0000FF00, 0, 0, 0, 256};
        call_with_stack_at(reinterpret_cast<const void*>(&ColorEllipse), colour, 10, offset);
        const BYTE* centre = dst.pixels.data() + 39 * 192 + 24 * 3;
        EXPECT_TRUE(centre[0] == 0 && centre[1] == 0xFF && centre[2] == 0);
        const uint32_t image[] = {uint32_t(&dst.bd), 0, 0, 64, 64, uint32_t(&src.bd), 0, 0, 0, 0, 0, 256};
        call_with_stack_at(reinterpret_cast<const void*>(&ImageEllipse), image, 12, offset);
        EXPECT_EQ(centre[1], 0x7E);

        std::vector<uint32_t> cond = args_with({}, 10.0);
        std::vector<uint32_t> more = args_with({}, 20.0);
        cond.insert(cond.end(), more.begin(), more.end());
        cond.insert(cond.end(), {0, 0, 0, 0, 0});
        call_with_stack_at(reinterpret_cast<const void*>(&ptc_SetCondition), cond.data(), int(cond.size()), offset);
        std::vector<uint32_t> make = args_with({PTC_ALLATONCE, 0, 32, 32, 8, 6, 1, 256, 100, 50}, 45.0);
        std::vector<uint32_t> tail = args_with({180}, 1.0);
        make.insert(make.end(), tail.begin(), tail.end());
        make.insert(make.end(), {0, 100, 10, 3, 2, 2});
        auto* powder = reinterpret_cast<PowderData*>(call_with_stack_at(
            reinterpret_cast<const void*>(&ptc_CreatePowder), make.data(), int(make.size()), offset));
        ASSERT_NE(powder, nullptr);
        EXPECT_EQ(powder->nCount, 8);
        EXPECT_EQ(powder->dAngle, 45.0);
        const uint32_t frame[] = {16, uint32_t(powder), uint32_t(&dst.bd), 0x000000FF, 0, 0};
        call_with_stack_at(reinterpret_cast<const void*>(&ptc_ColorEraseParticle), frame, 6, offset);
        EXPECT_EQ(powder->nAlive, 8);
        const uint32_t move[] = {100, uint32_t(powder)};
        EXPECT_EQ(call_with_stack_at(reinterpret_cast<const void*>(&ptc_Move), move, 2, offset), 1u);
        ptc_DeleteParticleMatters(powder);

        SplineData spline{};
        ASSERT_EQ(InitSpline(&spline, 3), 1);
        for (int i = 0; i <= 3; ++i) spline.lpX[i] = spline.lpY[i] = float(i);
        const uint32_t build[] = {uint32_t(&spline)};
        call_with_stack_at(reinterpret_cast<const void*>(&BuildSpline), build, 1, offset);
        float t = 1.5f, value = 0;
        uint32_t calc[2] = {uint32_t(&spline)};
        std::memcpy(&calc[1], &t, 4);
        call_with_stack_at(reinterpret_cast<const void*>(&CalcSpline), calc, 2, offset);
        __asm__ volatile("fstps %0" : "=m"(value));  // the float result is left in st(0)
        EXPECT_FLOAT_EQ(value, 1.5f);
        DeleteSpline(&spline);
    }
}

}  // namespace
