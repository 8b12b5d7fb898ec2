/* ZVPrinterC.h: the version constants and the plain functions of zvprinter,
 * with C linkage, usable from C and C++. */
#ifndef ZVPRINTER_C_H
#define ZVPRINTER_C_H

#include <zvprinter/ZVExport.h>

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Library version number: 1.0. */
ZV_EXPORT extern const double ZVPrinterSDKVersionNumber;
/** Library version text, ending in a line feed. */
ZV_EXPORT extern const unsigned char ZVPrinterSDKVersionString[];

/** The reflected CRC-32 table for polynomial 0xEDB88320. */
ZV_EXPORT extern const uint32_t zv_print_crc32tab[256];

/**
 * Compresses @p length bytes at @p input into an LZO1X-1 stream at @p output
 * and returns the number of bytes written (end-of-stream marker included).
 * @p output must hold at least length + length / 16 + 64 + 3 bytes (the LZO1X
 * worst case); the stream decompresses with lzo1x_decompress_safe to exactly
 * the input. Returns 0 and writes nothing when @p output is null, when
 * @p input is null with a non-zero length, or when liblzo2 fails its start-up
 * check (lzo_init, run once on the first call).
 *
 * Thread safety: every thread has its own LZO1X-1 work memory (128 KiB on a
 * 64-bit target, allocated on the thread's first call, freed when the thread
 * ends), so calls from several threads at once are safe and need no lock.
 */
ZV_EXPORT size_t zv_lzo_compress(const uint8_t *input, uint32_t length, uint8_t *output);

/**
 * Standard CRC-32 (as zlib's crc32): pass 0 to start, or an earlier result to
 * continue over more bytes. A length of 0 (or a null @p bytes) returns @p crc
 * unchanged. Stateless; safe on any thread.
 */
ZV_EXPORT uint32_t zv_print_crc32(uint32_t crc, const uint8_t *bytes, uint32_t length);

/**
 * Otsu threshold (0..255) of @p width x @p height gray bytes; 4294967295 when
 * @p gray is null or a side is below 1.
 */
ZV_EXPORT uint32_t ZVOtsu(const uint8_t *gray, int32_t width, int32_t height);

/**
 * Clustered-dot dither of inverted gray bytes (255 = black) into a zero-filled
 * 1-bit raster of ((width + 7) / 8) x height bytes, 1 = dot (bits are ORed in).
 * Every row is read in whole groups of eight, so when the width is not a
 * multiple of 8 the last group takes the first pixels of the next row, and on
 * the last row values past the end of @p gray count as 0 (nothing is read
 * there). A height below 1 writes nothing.
 */
ZV_EXPORT void ZVBayerCluster(const uint8_t *gray, uint32_t width, int32_t height, uint8_t *out);

/**
 * Dispersed 8 x 8 Bayer dither, same layout as ZVBayerCluster; bits past the
 * end of each row are cleared. The return value has no meaning.
 */
ZV_EXPORT int HTBayerDisperse(const uint8_t *gray, int32_t width, int32_t height, uint8_t *out);

/**
 * Applies a 256-entry tone curve to the first @p channels x @p width bytes of
 * each of @p height rows of @p src, writing the same places of @p dst. Rows of
 * both planes are (channels x width + 3) & ~3 bytes apart; the bytes between
 * rows are neither read nor written. Every channel, alpha included, goes
 * through the table T[i] = truncate(y(i / 255.0) x 255.0 + 0.5), clamped to
 * 0..255 (NaN gives 0), where y is:
 * - @p gammaType false: x to the power 1 / @p gamma, the reciprocal in single
 *   precision and the power in double; @p curve is not read (may be null).
 *   Gamma 1 is the identity; gamma 0 maps all but 255 to 0.
 * - @p gammaType true: the natural cubic spline through (0.1 k, curve[k]),
 *   k = 0..10 (eleven doubles); nothing is written when @p curve is null.
 * Nothing is written when a pointer is null, @p width is below 1 or
 * @p channels is 0.
 */
ZV_EXPORT void GammaCorrectiom_New(const uint8_t *src, int32_t width, uint32_t height,
                                   uint32_t channels, uint8_t *dst, bool gammaType,
                                   const double *curve, float gamma);

/**
 * 5 x 5 Laplacian sharpening of the gray plane @p src followed by serpentine
 * error diffusion (even rows left to right, odd rows right to left) to
 * n = max(2, min(@p levelCount, 256)) gray levels, written to @p out.
 *
 * Planes (@p src, @p out and @p work, which holds floats) have rows of
 * (width + 3) & ~3 elements; the elements between rows are neither read as
 * pixels nor written. @p levels holds n rising values; the gray of level k is
 * 255 - (levels[k] - levels[0]) x 255 / (levels[n - 1] - levels[0]) in single
 * precision, clamped to 0..255, and its byte, truncate(gray + 0.5), is written
 * to @p paletteOut (n bytes; skipped when null). With |@p strength| > 0.1 each
 * pixel first gets (Laplacian sum over the neighbours inside the image) /
 * strength added; otherwise none. Errors are single precision; a pixel with all
 * four neighbours passes on 7/16, 5/16, 1/16 and 3/16 of its error (ahead,
 * below, below-ahead, below-behind), any other pixel an equal share to each
 * neighbour it has. Returns at once when @p src, @p out, @p levels or @p work
 * is null, or a side is below 1.
 */
ZV_EXPORT void SharpLaplacianCl_New(uint8_t *out, const uint8_t *src, int32_t width, int32_t height,
                                    uint32_t levelCount, const float *levels, uint8_t *paletteOut,
                                    float *work, double strength);

/** Clamps @p value to 0..255: below 0 gives 0, above 255 gives 255. */
ZV_EXPORT int32_t clamp(int32_t value);

#ifdef __cplusplus
}
#endif

#endif
