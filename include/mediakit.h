/*
 * mediakit.h: the interface of mediakit.dll for host programs.
 *
 * Every function is exported under its plain name with the cdecl calling convention.
 * Hosts either link an import library (libmediakit.dll.a for MinGW, mediakit.lib for
 * MSVC) or load the DLL by name and look the functions up with GetProcAddress.
 *
 * Images are held in BitmapData records: 24-bit (or palettised) bottom-up DIB pixel
 * arrays. Image row y (0 = top) starts at lpBits + (biHeight - 1 - y) * BytesPerLine;
 * pixel x of a 24-bit row holds blue, green, red at bytes 3x, 3x + 1, 3x + 2.
 * Colours passed as arguments are COLORREF values 0x00BBGGRR.
 */
#ifndef MEDIAKIT_H
#define MEDIAKIT_H

#if defined(_WIN32)
#include <windows.h>
#include <mmsystem.h>
#elif !defined(MEDIAKIT_WIN32_TYPES_DECLARED)
#error "mediakit.h is a Windows header"
#endif
#include <stddef.h>

#if defined(_WIN32)
#if defined(MEDIAKIT_NO_DLLIMPORT)
#define MEDIAKIT_API
#else
#define MEDIAKIT_API __declspec(dllimport)
#endif
#define MEDIAKIT_CALL __cdecl
#else
#define MEDIAKIT_API
#define MEDIAKIT_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records ------------------------------------------------------------------------ */

/* The records are laid out as a 32-bit MSVC host lays them out with its default packing,
 * whatever packing the including program has chosen. */
#if defined(_WIN32)
#include <pshpack8.h>
#endif

/* An image buffer. The host owns the record; the library owns the blocks and handles it
 * points at and releases them in DeleteBitmapData. A record whose fields are all zero is
 * empty; loaders expect an empty record. */
typedef struct BitmapData {
    BITMAPFILEHEADER bmfHeader; /* the BMP file header of the image */
    BITMAPINFO* lpbmi;          /* BITMAPINFOHEADER followed by NumOfPalletColors entries */
    BYTE* lpBits;               /* BytesPerLine * biHeight bytes of pixels, bottom-up */
    HBITMAP hBitmap;            /* the DIB section holding the pixels, or 0 */
    HDC hdc;                    /* memory device context with hBitmap selected, or 0 */
} BitmapData;

/* One image taking part in a blit: its extent and the rectangle's origin in it. */
typedef struct ClipBltEntry {
    LONG cxBitmap;
    LONG cyBitmap;
    LONG xOrigin;
    LONG yOrigin;
} ClipBltEntry;

/* A WAVE file found by wav_OpenWaveForFile. The host owns the record and zeroes it before
 * its first use; the library owns lpFormat, lpData and hFile and releases them in
 * wav_CloseWaveForFile. */
typedef struct WaveForFile {
    HANDLE hFile;            /* streaming mode: the open file, at the first data byte; else 0 */
    WAVEFORMATEX* lpFormat;  /* the whole "fmt " body, or 0 */
    DWORD dwSampleLength;    /* the "fact" sample count, or 0 */
    DWORD dwDataSize;        /* declared size of the "data" body in bytes, or 0 */
    BYTE* lpData;            /* loading mode: the data body (dwDataSize bytes); else 0 */
    LONGLONG llDataOffset;   /* file offset of the first data byte */
    DWORD dwLoopStart;       /* first loop of the "smpl" chunk, or 0 */
    DWORD dwLoopEnd;
} WaveForFile;

/* One ACM codec driver installed by acm_AddDriver; all zero before the first add. */
/* The identifier is the HACMDRIVERID of <msacm.h>, declared here by the same struct tag so
 * that hosts need not include the ACM headers. */
struct HACMDRIVERID__;
typedef struct AcmDriverEntry {
    HMODULE hModule;               /* the driver file, or 0 */
    struct HACMDRIVERID__* hadid;  /* the driver's identifier, or 0 */
} AcmDriverEntry;
/* ---- Particle and spline records ---------------------------------------------------- */

/* One particle slot of a powder. */
typedef struct ParticleMatter {
    LONG nRadius;  /* current radius in pixels */
    double dX, dY;   /* current centre (pixels, y down) */
    double dVX, dVY; /* velocity in pixels per second */
    double dLife;    /* remaining life, also the stamps' strength; alive while > 0 */
    LONG nFade;      /* life lost per second */
    LONG xHome, yHome; /* spawn point, and where texture and mask are taken from */
    DWORD nSpawned;  /* spawns so far (counted only when the powder has a spawn limit) */
} ParticleMatter;

/* A powder: a fixed set of particle slots and how they are spawned, moved and drawn. Made
 * by ptc_CreatePowder or ptc_CreateBltPowder, released by ptc_DeleteParticleMatters. */
typedef struct PowderData {
    LONG xEmit, yEmit;   /* emitter point, used with PTC_USERPOS */
    DWORD dwFlags;       /* PTC_ flags */
    RECT rcArea;         /* the area whose cells are the homes of a blt powder */
    LONG nAlive;         /* particles alive, as counted by spawns and deaths */
    LONG nAllowed;       /* how many may be alive at present */
    DWORD nSpawnLimit;   /* spawns per slot; 0 = without limit */
    LONG nCount;         /* number of slots in lpMatters */
    LONG nMaxAlive;      /* upper bound of nAllowed */
    LONG nRadiusStart;   /* radius at birth; half the cell size of a blt powder */
    LONG nRadiusEnd;     /* radius when the life reaches 0 */
    LONG nLife;          /* life at birth (256 = opaque) */
    DWORD nDecay;        /* smallest life lost per second */
    LONG nSpeed;         /* speed at birth before the random divisor, pixels per second */
    double dAngle;       /* centre direction in degrees, clockwise from straight up */
    LONG nSpread;        /* half the fan of directions, degrees */
    double dWeight;      /* factor of the common accelerations */
    LONG nScatter;       /* largest random offset of a newborn particle from its home */
    DWORD nRate;         /* chance in percent that a dead slot is spawned */
    DWORD nDecayRange;   /* random extra life lost per second, 0 .. nDecayRange */
    LONG nSpeedRange;    /* random speed divisor steps of 0.1, 0 .. nSpeedRange */
    DWORD nWobbleX, nWobbleY; /* random velocity change per move, -n .. +n */
    ParticleMatter* lpMatters; /* nCount slots */
} PowderData;

#define PTC_USERPOS 0x1       /* spawn at (xEmit, yEmit) */
#define PTC_BLTPOWDER 0x2     /* made by ptc_CreateBltPowder */
#define PTC_CENTER 0x4        /* home layout: the middle of the area */
#define PTC_GRIDDOWN 0x10     /* home layout: cells from the top row down */
#define PTC_GRIDUP 0x40       /* home layout: cells from the bottom row up */
#define PTC_ALLATONCE 0x80    /* every ptc_Create allows nMaxAlive particles */
#define PTC_GRADUAL 0x100     /* every ptc_Create allows one more, up to nMaxAlive */
#define PTC_SCATTER_DIR 0x200 /* newborn offset along the direction of flight */
#define PTC_SCATTER_X 0x400   /* newborn offset horizontal only */
#define PTC_SCATTER_Y 0x800   /* newborn offset vertical only */

/* A natural cubic spline through n + 1 knots. The host owns the record and zero-fills it
 * before the first InitSpline; the library owns the five tables. */
typedef struct SplineData {
    LONG nSegments; /* n */
    float* lpX;     /* knot parameters x[0..n], strictly increasing; filled by the host */
    float* lpY;     /* knot values y[0..n]; filled by the host */
    float* lpB;     /* b[0..n-1]: segment i is y[i] + b u + c u^2 + d u^3, u = t - x[i] */
    float* lpC;
    float* lpD;
} SplineData;

#if defined(_WIN32) && !defined(_WIN64)
#define MEDIAKIT_ASSERT_LAYOUT(name, cond) typedef char mediakit_layout_##name[(cond) ? 1 : -1]
MEDIAKIT_ASSERT_LAYOUT(BitmapData_size, sizeof(BitmapData) == 32);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_lpbmi, offsetof(BitmapData, lpbmi) == 16);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_lpBits, offsetof(BitmapData, lpBits) == 20);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_hBitmap, offsetof(BitmapData, hBitmap) == 24);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_hdc, offsetof(BitmapData, hdc) == 28);
MEDIAKIT_ASSERT_LAYOUT(ClipBltEntry_size, sizeof(ClipBltEntry) == 16);
MEDIAKIT_ASSERT_LAYOUT(WaveForFile_size, sizeof(WaveForFile) == 40);
MEDIAKIT_ASSERT_LAYOUT(WaveForFile_lpData, offsetof(WaveForFile, lpData) == 16);
MEDIAKIT_ASSERT_LAYOUT(WaveForFile_llDataOffset, offsetof(WaveForFile, llDataOffset) == 24);
MEDIAKIT_ASSERT_LAYOUT(WaveForFile_dwLoopEnd, offsetof(WaveForFile, dwLoopEnd) == 36);
MEDIAKIT_ASSERT_LAYOUT(AcmDriverEntry_size, sizeof(AcmDriverEntry) == 8);
MEDIAKIT_ASSERT_LAYOUT(AcmDriverEntry_hadid, offsetof(AcmDriverEntry, hadid) == 4);
MEDIAKIT_ASSERT_LAYOUT(ParticleMatter_size, sizeof(ParticleMatter) == 64);
MEDIAKIT_ASSERT_LAYOUT(ParticleMatter_dX, offsetof(ParticleMatter, dX) == 8);
MEDIAKIT_ASSERT_LAYOUT(ParticleMatter_nFade, offsetof(ParticleMatter, nFade) == 48);
MEDIAKIT_ASSERT_LAYOUT(ParticleMatter_nSpawned, offsetof(ParticleMatter, nSpawned) == 60);
MEDIAKIT_ASSERT_LAYOUT(PowderData_size, sizeof(PowderData) == 128);
MEDIAKIT_ASSERT_LAYOUT(PowderData_rcArea, offsetof(PowderData, rcArea) == 12);
MEDIAKIT_ASSERT_LAYOUT(PowderData_nAlive, offsetof(PowderData, nAlive) == 28);
MEDIAKIT_ASSERT_LAYOUT(PowderData_dAngle, offsetof(PowderData, dAngle) == 72);
MEDIAKIT_ASSERT_LAYOUT(PowderData_dWeight, offsetof(PowderData, dWeight) == 88);
MEDIAKIT_ASSERT_LAYOUT(PowderData_nWobbleY, offsetof(PowderData, nWobbleY) == 116);
MEDIAKIT_ASSERT_LAYOUT(PowderData_lpMatters, offsetof(PowderData, lpMatters) == 120);
MEDIAKIT_ASSERT_LAYOUT(SplineData_size, sizeof(SplineData) == 24);
MEDIAKIT_ASSERT_LAYOUT(SplineData_lpD, offsetof(SplineData, lpD) == 20);
#endif

#if defined(_WIN32)
#include <poppack.h>
#endif

/* ---- Image buffers and BMP files --------------------------------------------------- */

/* Palette entries of an info header: biClrUsed when it is not 0, else 2, 16 or 256 for
 * 1, 4 and 8 bits per pixel, else 0. */
MEDIAKIT_API WORD MEDIAKIT_CALL NumOfPalletColors(const BITMAPINFOHEADER* lpbi);
/* Row stride in bytes: ((biWidth * biPlanes * biBitCount + 31) >> 3) & ~3. */
MEDIAKIT_API LONG MEDIAKIT_CALL BytesPerLine(const BITMAPINFOHEADER* lpbi);

/* Loads a bottom-up BMP file into an empty record. 0 when the file cannot be opened (the
 * record is untouched) or is not a BMP file (the record is cleared). A file that ends early
 * still loads; the pixels it lacks are zero. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadBitmapData(LPCSTR fileName, BitmapData* bd);
/* Writes the record's header, info header, palette and pixels. 0 for a record that does
 * not hold an image (nothing is created) or when the file cannot be opened. */
MEDIAKIT_API BOOL MEDIAKIT_CALL SaveBitmapData(LPCSTR fileName, BitmapData* bd);
/* Releases what the record holds and clears it. Always 0. */
MEDIAKIT_API int MEDIAKIT_CALL DeleteBitmapData(BitmapData* bd);
/* A DIB-section bitmap from a bitmap resource of the host's executable, or else from a
 * BMP file of that name; 0 if neither exists. The caller deletes it with DeleteObject. */
MEDIAKIT_API HBITMAP MEDIAKIT_CALL LoadBitmapImage(LPCSTR name);

/* ---- DIB sections ------------------------------------------------------------------- */

/* Makes an empty record a DIB section of the given size and depth with a memory device
 * context compatible with hdc. For 1, 4 and 8 bits, palette (or 0) gives the colours. */
MEDIAKIT_API BOOL MEDIAKIT_CALL BufferDIBSection(HDC hdc, int width, int height, WORD bitCount,
                                                 const RGBQUAD* palette, BitmapData* bd);
/* Makes an empty record a DIB section from a whole BMP file held in memory. If the system
 * cannot make the section, its error text is shown in a message box. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadDIBSectionIndirect(HDC hdc, const void* image, BitmapData* bd);
/* As LoadDIBSectionIndirect, for a BMP file on disk. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadDIBSection(HDC hdc, LPCSTR fileName, BitmapData* bd);
/* Reads the BITMAPINFO (info header and palette) of a BMP file into a new block that the
 * caller owns; release it with free() of msvcrt.dll. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadBitmapInfo(LPCSTR fileName, BITMAPINFO** ppbmi);

/* ---- The MMX switch and the plain copy --------------------------------------------- */

/* 1 if the processor has MMX. */
MEDIAKIT_API BOOL MEDIAKIT_CALL IsMMX(void);
/* Allows (non-zero) or forbids (0) the MMX paths of the blits; returns 1 if they were
 * allowed before the call. */
MEDIAKIT_API BOOL MEDIAKIT_CALL SetUsageMMX(BOOL allow);
/* Copies a w x h rectangle from (sx, sy) of src to (x, y) of dst. With the MMX paths in
 * use: 24-bit records only, clipped against both images. Otherwise through BitBlt between
 * the records' device contexts. */
MEDIAKIT_API void MEDIAKIT_CALL FastBlt(BitmapData* dst, int x, int y, int w, int h,
                                        const BitmapData* src, int sx, int sy);

/* ---- Masked alpha blits and the timed transition ----------------------------------- */

/* Blends the w x h rectangle at (sx, sy) of src into (x, y) of dst through the mask at
 * (mx, my), clipped against all three images. dst is 24-bit; src 24-bit or 8-bit with a
 * palette; the mask 8- or 24-bit, its values 0..255 weighting the source. strength runs
 * from 1 to 256 (full); 0 draws nothing. With the MMX paths in use and a 24-bit source and
 * mask, each channel is weighted by its own mask byte and strength 255 counts as full;
 * otherwise the mask pixel's first byte weighs all three channels. */
MEDIAKIT_API void MEDIAKIT_CALL MaskAlphaBlt2(BitmapData* dst, int x, int y, int w, int h,
                                              const BitmapData* src, int sx, int sy,
                                              const BitmapData* mask, int mx, int my, int strength);
/* MaskAlphaBlt2 at strength 256. */
MEDIAKIT_API void MEDIAKIT_CALL MaskAlphaBlt(BitmapData* dst, int x, int y, int w, int h,
                                             const BitmapData* src, int sx, int sy,
                                             const BitmapData* mask, int mx, int my);
/* One frame of a transition from src1 to src2: a pixel whose mask value is m starts to
 * turn at time t = m and has turned at t = m + 256, so t from 0 to 511 wipes the whole
 * picture, dark mask areas first. Every pixel of the clipped rectangle is written; dst may
 * be src1 itself at the same origin. dst is 24-bit; the sources both 24-bit or both 8-bit
 * with palettes; the mask 8- or 24-bit. */
MEDIAKIT_API void MEDIAKIT_CALL MaskTimeAlphaBlt(BitmapData* dst, int x, int y, int w, int h,
                                                 const BitmapData* src1, int sx1, int sy1,
                                                 const BitmapData* src2, int sx2, int sy2,
                                                 const BitmapData* mask, int mx, int my, int t);

/* ---- Key blits, constant blends and fills, colour offset ---------------------------- */
/* Destinations are 24-bit records; each rectangle is clipped against every image taking
 * part. Sources are 24-bit, or 8-bit with their colour table where noted. Strengths are in
 * 1/256 steps, 256 meaning all of the second colour. Nothing is drawn for other depths, a
 * strength of 0 where noted, or a rectangle that clips away. */

/* Copies the source where the mask value is above the key's low byte (mask 8- or 24-bit;
 * a 24-bit mask's value is its blue byte). Source 24- or 8-bit. */
MEDIAKIT_API void MEDIAKIT_CALL MaskKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                           const BitmapData* src, int sx, int sy,
                                           const BitmapData* mask, int mx, int my, int key);
/* As MaskKeyBlt, mixing the selected pixels towards the source by strength (1..256;
 * 0 draws nothing, 256 copies). */
MEDIAKIT_API void MEDIAKIT_CALL MaskKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy,
                                            const BitmapData* mask, int mx, int my, int key,
                                            int strength);
/* Copies the source where the mask value is below time: raising time from 0 to 256 wipes
 * the source in, in the order of the mask's values. */
MEDIAKIT_API void MEDIAKIT_CALL MaskTimeKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                               const BitmapData* src, int sx, int sy,
                                               const BitmapData* mask, int mx, int my, int time);
/* dst = src1 mixed towards src2 by alpha (0..256). Sources both 24-bit or both 8-bit. With
 * the MMX paths in use and 24-bit sources, alpha 0 copies src1 and 255 or 256 copy src2. */
MEDIAKIT_API void MEDIAKIT_CALL AlphaBlendBlt(BitmapData* dst, int x, int y, int w, int h,
                                              const BitmapData* src1, int sx1, int sy1,
                                              const BitmapData* src2, int sx2, int sy2,
                                              int alpha);
/* Pulls a rectangle towards color (0x00BBGGRR) by alpha (0..256). */
MEDIAKIT_API void MEDIAKIT_CALL FillAlpha(BitmapData* dst, int x, int y, int w, int h,
                                          COLORREF color, int alpha);
/* Copies every source pixel that is not pure black. Source 24- or 8-bit. */
MEDIAKIT_API void MEDIAKIT_CALL ColorKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy);
/* As ColorKeyBlt, mixing towards the source by alpha (1..256; 0 draws nothing). */
MEDIAKIT_API void MEDIAKIT_CALL ColorKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                             const BitmapData* src, int sx, int sy, int alpha);
/* Adds value's low byte to w bytes from pixel x in rows y..y+h-1, stopping at 255; any
 * depth. Each row's run is cut to that row's bytes and rows outside the image are skipped. */
MEDIAKIT_API void MEDIAKIT_CALL AddColorValue(BitmapData* dst, int x, int y, int w, int h,
                                              int value);

/* ---- Scaling, hue and saturation --------------------------------------------------- */

/* Draws the sw x sh rectangle at (sx, sy) of src into the w x h rectangle at (x, y) of
 * dest, each destination pixel the area-weighted average of the source pixels under it
 * (24-bit images only). The source rectangle must lie inside its image, or nothing is
 * drawn; destination pixels outside dest are skipped without changing the others. */
MEDIAKIT_API void MEDIAKIT_CALL BilinearBlt(BitmapData* dest, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy, int sw, int sh);
/* Changes the colours of a rectangle of a 24-bit image in place, clipped to the image.
 * hue (turns of the colour circle) turns each pixel's hue, or with absolute non-zero
 * replaces hue and saturation; 0 skips that step. saturation in 0..1 strengthens the
 * colours, in -1..0 weakens them, 0 skips that step. brightness has no effect. */
MEDIAKIT_API void MEDIAKIT_CALL ReviseHSB(BitmapData* dest, int x, int y, int w, int h, double hue,
                                          double saturation, double brightness, int absolute);

/* ---- Ellipse stamps ------------------------------------------------------------------ */

/* Blends colour into the filled ellipse of the w x h box whose top-left corner is (x, y) of
 * a 24-bit dst, at strength alpha (0..256). With a mask, the blue byte of the mask pixel at
 * the same place of the box at (mx, my) weights the blend, and 0 leaves the pixel alone.
 * Pixels outside any image taking part are left alone. */
MEDIAKIT_API void MEDIAKIT_CALL ColorEllipse(BitmapData* dst, int x, int y, UINT w, UINT h,
                                             COLORREF colour, const BitmapData* mask, int mx,
                                             int my, int alpha);
/* As ColorEllipse with the pixels of the same ellipse of src, whose box starts at (sx, sy).
 * A masked pixel is skipped when the blue or red byte of its mask pixel, or the blue byte
 * of the mask pixel after it, is 0. Alpha 0, or no source, draws nothing. */
MEDIAKIT_API void MEDIAKIT_CALL ImageEllipse(BitmapData* dst, int x, int y, UINT w, UINT h,
                                             const BitmapData* src, int sx, int sy,
                                             const BitmapData* mask, int mx, int my, int alpha);

/* ---- Particles ----------------------------------------------------------------------- */

/* The drift and accelerations shared by every powder (pixels per second, and per second
 * squared). A non-zero seed seeds the calling thread's generator from the current time. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_SetCondition(double flowX, double flowY, double accelY,
                                                 double accelX, LONG seed);
/* A powder of count slots spawned from the point (x, y); null when memory runs out. */
MEDIAKIT_API PowderData* MEDIAKIT_CALL ptc_CreatePowder(
    DWORD flags, DWORD spawnLimit, LONG x, LONG y, LONG count, LONG radiusStart, LONG radiusEnd,
    LONG life, DWORD decay, LONG speed, double angle, LONG spread, double weight, LONG scatter,
    DWORD rate, DWORD decayRange, LONG speedRange, DWORD wobbleX, DWORD wobbleY);
/* A powder with one slot per 2r x 2r cell of the area (r = radiusStart), at most maxAlive
 * alive at once; the home layout flags place the slots on the cells. */
MEDIAKIT_API PowderData* MEDIAKIT_CALL ptc_CreateBltPowder(
    DWORD flags, DWORD spawnLimit, LONG left, LONG top, LONG right, LONG bottom, LONG maxAlive,
    LONG radiusStart, LONG radiusEnd, LONG life, DWORD decay, LONG speed, double angle,
    LONG spread, double weight, LONG scatter, DWORD rate, DWORD decayRange, LONG speedRange,
    DWORD wobbleX, DWORD wobbleY);
/* Replaces the slots by count new dead ones. Returns the powder, or null when memory runs
 * out, in which case the powder has been released. */
MEDIAKIT_API PowderData* MEDIAKIT_CALL ptc_ReAllocMatters(PowderData* powder, LONG count);
/* Releases a powder and its slots. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_DeleteParticleMatters(PowderData* powder);
/* Moves the emitter point. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_UserPos(PowderData* powder, LONG x, LONG y);
/* Lays every slot's home out on the cells of rc by the powder's layout flags. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_AutoPos(PowderData* powder, RECT rc);
/* Spawns particles into dead slots; elapsed 0 does nothing. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_Create(DWORD elapsed, PowderData* powder);
/* Advances every live particle by elapsed milliseconds. 1 if any was alive. */
MEDIAKIT_API BOOL MEDIAKIT_CALL ptc_Move(DWORD elapsed, PowderData* powder);
/* Draws every live particle as a disc of colour, faded by its life when useLife is set
 * (with useLife 0 nothing changes). */
MEDIAKIT_API void MEDIAKIT_CALL ptc_RenderColorParticle(BitmapData* dst, PowderData* powder,
                                                        COLORREF colour, const BitmapData* mask,
                                                        BOOL useLife);
/* Draws every live particle as the disc of image around its home, moved by (ox, oy); faded
 * by its life when useLife is set, opaque otherwise. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_RenderImageParticle(PowderData* powder, BitmapData* dst,
                                                        int ox, int oy, const BitmapData* image,
                                                        int sx, int sy, const BitmapData* mask,
                                                        int mx, int my, BOOL useLife);
/* Copies from src the cells of the slots not yet spawned as often as the limit allows. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_BlockBlt(PowderData* powder, BitmapData* dst,
                                             const BitmapData* src);
/* One frame: move, spawn, restore the unreleased cells from src (if given), draw discs. */
MEDIAKIT_API void MEDIAKIT_CALL ptc_ColorEraseParticle(DWORD elapsed, PowderData* powder,
                                                       BitmapData* dst, COLORREF colour,
                                                       const BitmapData* mask,
                                                       const BitmapData* src);
/* One frame: move, spawn, restore the unreleased cells from src (if given), draw discs of
 * image (if given). */
MEDIAKIT_API void MEDIAKIT_CALL ptc_ImageEraseParticle(DWORD elapsed, PowderData* powder,
                                                       BitmapData* dst, const BitmapData* image,
                                                       const BitmapData* mask,
                                                       const BitmapData* src);

/* ---- Splines ------------------------------------------------------------------------- */

/* Allocates the tables of n segments (n + 1 knots), releasing those the record held.
 * 0 when memory runs out; the record is then empty. */
MEDIAKIT_API BOOL MEDIAKIT_CALL InitSpline(SplineData* spline, LONG n);
/* Computes the coefficients from the knots. */
MEDIAKIT_API void MEDIAKIT_CALL BuildSpline(SplineData* spline);
/* The curve's value at t; the end segments continue beyond the knots. 0 for an empty
 * record. */
MEDIAKIT_API float MEDIAKIT_CALL CalcSpline(SplineData* spline, float t);
/* Releases the tables and clears the record. */
MEDIAKIT_API void MEDIAKIT_CALL DeleteSpline(SplineData* spline);

/* ---- WAVE data ---------------------------------------------------------------------- */

/* Fills an 18-byte PCM format: nBlockAlign = channels * bits / 8 (fraction dropped),
 * nAvgBytesPerSec = nBlockAlign * samplesPerSec, cbSize = 0. */
MEDIAKIT_API void MEDIAKIT_CALL wav_SetWaveFormat(WORD channels, WORD bitsPerSample,
                                                  DWORD samplesPerSec, WAVEFORMATEX* format);
/* Finds the format, "fact" sample count and data of a RIFF WAVE image in memory; the
 * first chunk of each kind wins. The pointers point into the image; any out pointer may be
 * 0. 0 for a missing signature or a "fmt " chunk shorter than 14 bytes. */
MEDIAKIT_API int MEDIAKIT_CALL wav_ParseWaveResource(const void* image, const WAVEFORMATEX** format,
                                                     DWORD* sampleLength, BYTE** data,
                                                     DWORD* dataSize);
/* As wav_ParseWaveResource, for a resource of type "WAVE" of a module. 0 (outputs
 * untouched) when it cannot be found or loaded. */
MEDIAKIT_API int MEDIAKIT_CALL wav_GetWaveForResource(HMODULE module, LPCSTR name,
                                                      const WAVEFORMATEX** format,
                                                      DWORD* sampleLength, BYTE** data,
                                                      DWORD* dataSize);
/* Opens a WAVE file into a record (closing what the record held). load != 0: the data is
 * read into lpData and the file closed; load == 0: hFile stays open at the first data byte.
 * On failure (0) the record is all zero. The host checks lpFormat and dwDataSize. */
MEDIAKIT_API int MEDIAKIT_CALL wav_OpenWaveForFile(LPCSTR path, WaveForFile* record, int load);
/* Releases what the record holds and zeroes it; safe on an all-zero record. */
MEDIAKIT_API void MEDIAKIT_CALL wav_CloseWaveForFile(WaveForFile* record);

/* ---- ACM decoding and codec drivers ------------------------------------------------- */

/* Opens the process's one conversion from source to the PCM format the ACM suggests,
 * written to target (18 bytes); *targetBytes receives the output size to allocate. Ends
 * any conversion still open. 0 (conversion closed) on failure. */
MEDIAKIT_API int MEDIAKIT_CALL acm_BeginDecode(const WAVEFORMATEX* source, DWORD sampleLength,
                                               DWORD sourceBytes, WAVEFORMATEX* target,
                                               DWORD* targetBytes);
/* Converts the whole source buffer (whole blocks only) into target. 0 (conversion closed)
 * on failure. */
MEDIAKIT_API int MEDIAKIT_CALL acm_Decode(const BYTE* source, BYTE* target);
/* Ends the conversion; does nothing when none is open. */
MEDIAKIT_API void MEDIAKIT_CALL acm_EndDecode(void);
/* Loads a driver file and installs its entry function procName as a driver local to the
 * process. 0 on failure, with the entry all zero and the file unloaded. */
MEDIAKIT_API int MEDIAKIT_CALL acm_AddDriver(LPCSTR path, LPCSTR procName, AcmDriverEntry* entry);
/* Removes the driver, then unloads its file, and zeroes the entry. */
MEDIAKIT_API void MEDIAKIT_CALL acm_RemoveDriver(AcmDriverEntry* entry);
/* Installs every "*.acm" file of the directory of path (the file name is ignored), after
 * removing the drivers of an earlier scan. 0 when nothing matches. */
MEDIAKIT_API int MEDIAKIT_CALL acm_ScanDrivers(LPCSTR path, LPCSTR procName);
/* Removes the drivers of the last scan. */
MEDIAKIT_API void MEDIAKIT_CALL acm_FreeDrivers(void);

/* ---- Files, INI numbers and error text --------------------------------------------- */

/* Writes the text and a line feed to the debugger output. */
MEDIAKIT_API void MEDIAKIT_CALL RegError(LPCSTR text);
/* 1 if the file can be opened (no data access is asked for), else 0. */
MEDIAKIT_API int MEDIAKIT_CALL fl_IsExist(LPCSTR path);
/* The 64-bit position of an open file handle; a failed query gives a low part of
 * 0xFFFFFFFF. */
MEDIAKIT_API LONGLONG MEDIAKIT_CALL fl_GetFilePointer(HANDLE file);
/* Moves an open file handle to the position high * 2^32 + (unsigned) low. Always 1. */
MEDIAKIT_API int MEDIAKIT_CALL fl_SetFilePointer(HANDLE file, LONG low, LONG high);
/* Reads a whole number from an INI file (atoi of at most 63 characters). A missing key or
 * file gives 0 and result 1; a key with an empty value gives result 0, value untouched. */
MEDIAKIT_API int MEDIAKIT_CALL GetPrivateProfileNumber(LPCSTR section, LPCSTR key, int* value,
                                                       LPCSTR iniPath);
/* Writes a whole number in decimal; the result of WritePrivateProfileStringA. */
MEDIAKIT_API int MEDIAKIT_CALL WritePrivateProfileNumber(LPCSTR section, LPCSTR key, int value,
                                                         LPCSTR iniPath);

#ifdef __cplusplus
}
#endif

#endif /* MEDIAKIT_H */
