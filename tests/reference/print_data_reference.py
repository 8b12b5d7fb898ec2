#!/usr/bin/python3
"""Independent reference for `zvprint convert`: image -> print data.

Computes, from straight RGBA pixels and with plain Python arithmetic, the bytes
`zvprint convert IMAGE -o OUT --mode M --compress C [--package] [--watermark]`
must write, runs the tool and compares. LZO streams are compared by what they
decompress to (liblzo2's safe decompressor through ctypes); frame headers are
compared byte for byte.

Usage: print_data_reference.py ZVPRINT [--cases N] [--seed S] [--size WxH]
                               [--photos a.png,b.png] [--crop WxH|none] [--large a.png]
                               [--full]
Exit status: 0 all equal, 1 a mismatch (the first one is described), 77 when
numpy, PIL or liblzo2 are missing (ctest reports the test as skipped).
"""

import argparse
import ctypes
import ctypes.util
import os
import random
import subprocess
import sys
import tempfile

SKIP = 77

try:
    import numpy as np
    from PIL import Image
except ImportError as error:  # pragma: no cover - depends on the machine
    print(f"skipped: {error}")
    sys.exit(SKIP)


def load_lzo():
    for name in ("liblzo2.so.2", ctypes.util.find_library("lzo2")):
        if not name:
            continue
        try:
            lib = ctypes.CDLL(name)
        except OSError:
            continue
        lib.lzo1x_decompress_safe.argtypes = [
            ctypes.c_char_p, ctypes.c_size_t, ctypes.c_char_p,
            ctypes.POINTER(ctypes.c_size_t), ctypes.c_void_p]
        lib.lzo1x_decompress_safe.restype = ctypes.c_int
        return lib
    return None


LZO = load_lzo()
if LZO is None:
    print("skipped: liblzo2 not found")
    sys.exit(SKIP)

PHOTO_DIR = "/usr/lib/python3/dist-packages/skimage/data"

CLUSTER = [
    [24, 10, 12, 26, 35, 47, 49, 37],
    [8, 0, 2, 14, 45, 59, 61, 51],
    [22, 6, 4, 16, 43, 57, 63, 53],
    [30, 20, 18, 28, 33, 41, 55, 39],
    [34, 46, 48, 36, 25, 11, 13, 27],
    [44, 58, 60, 50, 9, 1, 3, 15],
    [42, 56, 62, 52, 23, 7, 5, 17],
    [32, 40, 54, 38, 31, 21, 19, 29],
]


class Mismatch(Exception):
    pass


# ---------------------------------------------------------------- drawing


def premultiplied(rgba):
    """The canvas an image is drawn into: colour x alpha, rounded, alpha kept."""
    a = rgba[:, :, 3].astype(np.int64)
    out = rgba.astype(np.int64).copy()
    for c in range(3):
        out[:, :, c] = (rgba[:, :, c].astype(np.int64) * a + 127) // 255
    return out


def with_band(rgba):
    """The watermark: an opaque white canvas, a 16- or 24-row band on top, the
    image composited over white below it. Returns straight RGBA (opaque)."""
    h, w = rgba.shape[:2]
    band = 16 if w < 500 else 24
    out = np.full((h + band, w, 4), 255, dtype=np.uint8)
    pre = premultiplied(rgba)
    a = rgba[:, :, 3].astype(np.int64)
    for c in range(3):
        # source over white: s + white x (255 - a) / 255 = s + 255 - a exactly
        out[band:, :, c] = (pre[:, :, c] + (255 - a)).astype(np.uint8)
    return out


def print_gray(canvas):
    r, g, b = (canvas[:, :, i].astype(np.float64) for i in range(3))
    return np.trunc(b * 0.11448 + (g * 0.58661 + r * 0.29891)).astype(np.int64)


def histogram_gray(canvas):
    r, g, b = (canvas[:, :, i].astype(np.float64) for i in range(3))
    return np.trunc(r * 0.11448 + (g * 0.58661 + b * 0.29891)).astype(np.int64)


def dither_gray(canvas):
    r, g, b = (canvas[:, :, i].astype(np.float64) for i in range(3))
    return np.trunc(b * 0.11 + (g * 0.59 + r * 0.3)).astype(np.int64) & 0xFF


# ---------------------------------------------------------------- rasters


def otsu(gray):
    h, w = gray.shape
    hist = [0] * 256
    for v in gray.ravel().tolist():
        hist[v] += 1
    total = 0.0
    for i in range(256):
        total += float(i * hist[i])
    best, threshold, wb, sb = -1.0, 0, 0, 0.0
    n = w * h
    for t in range(256):
        wb += hist[t]
        if wb == 0:
            continue
        wf = n - wb
        if wf == 0:
            break
        sb += float(hist[t] * t)
        mb = sb / wb
        mf = (total - sb) / wf
        v = float(wf) * float(wb) * (mb - mf) * (mb - mf)
        if v > best:
            best, threshold = v, t
    return threshold


def pack(dots, keep_tail=True):
    """dots: list of rows of booleans -> packed bytes, MSB leftmost."""
    h = len(dots)
    w = len(dots[0]) if h else 0
    rb = (w + 7) // 8
    out = bytearray(rb * h)
    for y in range(h):
        limit = w if keep_tail else w - w % 8
        for x in range(limit):
            if dots[y][x]:
                out[y * rb + x // 8] |= 0x80 >> (x % 8)
    return out


def invert(raster):
    return bytearray(b ^ 0xFF for b in raster)


def threshold_raster(rgba):
    canvas = premultiplied(rgba)
    t = otsu(histogram_gray(canvas))
    gray = print_gray(canvas).tolist()
    alpha = canvas[:, :, 3].tolist()
    dots = [[alpha[y][x] == 255 and gray[y][x] <= t for x in range(len(gray[0]))]
            for y in range(len(gray))]
    return invert(pack(dots))


def diffusion_raster(rgba):
    canvas = premultiplied(rgba)
    h, w = canvas.shape[:2]
    gray = dither_gray(canvas).tolist()
    alpha = canvas[:, :, 3].tolist()
    v = [[gray[y][x] if alpha[y][x] == 255 else 255 for x in range(w)] for y in range(h)]
    for y in range(h):
        for x in range(w):
            old = v[y][x]
            new = 0 if old < 129 else 255
            v[y][x] = new
            e = float(np.float32(old - new))
            if x < w - 1:
                v[y][x + 1] += int(e * 0.4375)
            if y < h - 1:
                if x >= 2:
                    v[y + 1][x - 1] += int(e * 0.1875)
                v[y + 1][x] += int(e * 0.3125)
                if x < w - 1:
                    v[y + 1][x + 1] += int(e * 0.0625)
    dots = [[v[y][x] < 129 for x in range(w)] for y in range(h)]
    return invert(pack(dots, keep_tail=False))


def cluster_raster(rgba):
    canvas = premultiplied(rgba)
    h, w = canvas.shape[:2]
    g = [(~int(p)) & 0xFF for p in print_gray(canvas).ravel().tolist()]
    rb = (w + 7) // 8
    out = bytearray(rb * h)
    for y in range(h):
        r = y % 8
        for x in range(0, w, 8):
            byte = 0
            for k in range(8):
                i = y * w + x + k
                p = g[i] if i < len(g) else 0
                if p >= 4 and (p >> 2) >= CLUSTER[r][k]:
                    byte |= 0x80 >> k
            out[y * rb + x // 8] = byte
    return out


RASTERS = {0: threshold_raster, 1: diffusion_raster, 2: cluster_raster}


# ---------------------------------------------------------------- print data


def decompress(stream, expected_len):
    capacity = expected_len + 4096
    dst = ctypes.create_string_buffer(capacity)
    n = ctypes.c_size_t(capacity)
    rc = LZO.lzo1x_decompress_safe(bytes(stream), len(stream), dst, ctypes.byref(n), None)
    if rc != 0:
        raise Mismatch(f"LZO stream of {len(stream)} bytes does not decompress (error {rc})")
    return dst.raw[:n.value]


def describe_raster_diff(expected, actual, rb, first_row, what):
    if len(expected) != len(actual):
        return f"{what}: {len(actual)} raster bytes, expected {len(expected)}"
    for i, (e, a) in enumerate(zip(expected, actual)):
        if e != a:
            row = first_row + i // rb
            col = i % rb
            bit = next(b for b in range(8) if (e ^ a) & (0x80 >> b))
            return (f"{what}: raster byte {i} (row {row}, byte {col}, first differing pixel "
                    f"x={col * 8 + bit}) is {a:#04x}, expected {e:#04x}")
    return None


def check_literal_stream(raw, stream, what):
    """Inputs of 13 bytes or fewer are stored as literals only."""
    if len(raw) <= 13:
        want = bytes([17 + len(raw)]) + bytes(raw) + b"\x11\x00\x00" if raw else b"\x11\x00\x00"
        if bytes(stream) != want:
            raise Mismatch(f"{what}: short input of {len(raw)} bytes gives stream "
                           f"{bytes(stream).hex()}, expected {want.hex()}")


def check_frames(data, raster, rb, h, what):
    n_rows = h if h < 17 else (16 if rb >= 49 else 30)
    block = rb * n_rows
    pos = q = r = index = 0
    while q < len(raster):
        size = min(block, len(raster) - q)
        rows = min(n_rows, h - r)
        where = f"{what}, frame {index} at byte {pos}"
        if len(data) < pos + 12:
            raise Mismatch(f"{where}: output ends ({len(data)} bytes) before the frame header")
        header = bytes(data[pos:pos + 8])
        want = b"\x1d\x76\x30\x30" + (rb & 0xFFFF).to_bytes(2, "little") + \
            (rows & 0xFFFF).to_bytes(2, "little")
        if header != want:
            raise Mismatch(f"{where}: header {header.hex()}, expected {want.hex()}")
        length = int.from_bytes(data[pos + 8:pos + 12], "little")
        stream = data[pos + 12:pos + 12 + length]
        if len(stream) != length:
            raise Mismatch(f"{where}: stream length field {length} runs past the output")
        chunk = raster[q:q + size]
        check_literal_stream(chunk, stream, where)
        got = decompress(stream, size)
        diff = describe_raster_diff(chunk, got, rb, r, where)
        if diff:
            raise Mismatch(diff)
        pos += 12 + length
        q += size
        r = (r + rows) & 0xFFFF
        index += 1
    if pos != len(data):
        raise Mismatch(f"{what}: {len(data) - pos} bytes after the last frame")
    return index


def check_output(data, raster, rb, h, compress, package, what):
    if compress == 0:
        diff = describe_raster_diff(raster, data, rb, 0, what)
        if diff:
            raise Mismatch(diff)
        return
    if not package:
        check_literal_stream(raster, data, what)
        diff = describe_raster_diff(raster, decompress(data, len(raster)), rb, 0, what)
        if diff:
            raise Mismatch(diff)
        return
    check_frames(data, raster, rb, h, what)


# ---------------------------------------------------------------- driver


class Runner:
    def __init__(self, zvprint, workdir):
        self.zvprint = zvprint
        self.workdir = workdir
        self.runs = 0

    def convert(self, png, mode, compress, package, watermark):
        out = os.path.join(self.workdir, "out.bin")
        cmd = [self.zvprint, "convert", png, "-o", out, "--mode", str(mode),
               "--compress", str(compress)]
        if package:
            cmd.append("--package")
        if watermark:
            cmd.append("--watermark")
        proc = subprocess.run(cmd, capture_output=True, text=True, timeout=120)
        self.runs += 1
        if proc.returncode != 0:
            raise Mismatch(f"`{' '.join(cmd)}` failed ({proc.returncode}): {proc.stderr.strip()}")
        with open(out, "rb") as f:
            return f.read()

    def check_image(self, rgba, name, combos):
        png = os.path.join(self.workdir, "in.png")
        Image.fromarray(rgba, "RGBA").save(png)
        rasters = {}
        for mode, compress, package, watermark in combos:
            if watermark not in rasters:
                rasters[watermark] = {}
            if mode not in rasters[watermark]:
                source = with_band(rgba) if watermark else rgba
                rasters[watermark][mode] = (RASTERS[mode](source), source.shape[1],
                                            source.shape[0])
            raster, w, h = rasters[watermark][mode]
            rb = (w + 7) // 8
            what = (f"{name} ({rgba.shape[1]}x{rgba.shape[0]}) mode {mode} compress {compress}"
                    f"{' --package' if package else ''}{' --watermark' if watermark else ''}")
            data = self.convert(png, mode, compress, package, watermark)
            try:
                check_output(data, raster, rb, h, compress, package, what)
            except Mismatch:
                keep = os.path.join(tempfile.gettempdir(), "zv_reference_mismatch.png")
                Image.fromarray(rgba, "RGBA").save(keep)
                print(f"input image kept as {keep}")
                raise


ALL_COMBOS = [(m, c, p, wm) for m in (0, 1, 2) for wm in (False, True)
              for c, p in ((0, False), (48, False), (48, True))]


def random_image(rng, w, h, kind):
    if kind == "uniform":
        px = np.array([rng.randrange(256) for _ in range(3)] + [rng.choice((0, 255, 128))],
                      dtype=np.uint8)
        return np.broadcast_to(px, (h, w, 4)).copy()
    if kind == "two-level":
        a = [rng.randrange(256) for _ in range(3)]
        b = [rng.randrange(256) for _ in range(3)]
        pick = np.array([[rng.random() < 0.3 for _ in range(w)] for _ in range(h)])
        img = np.where(pick[:, :, None], np.array(a), np.array(b))
        alpha = np.full((h, w, 1), 255)
        return np.concatenate([img, alpha], axis=2).astype(np.uint8)
    img = np.array([[[rng.randrange(256) for _ in range(3)] for _ in range(w)]
                    for _ in range(h)])
    alpha = np.array([[rng.choice((0, 255, 255, 255, rng.randrange(256), 254, 1))
                       for _ in range(w)] for _ in range(h)])
    if kind == "opaque":
        alpha[:] = 255
    return np.concatenate([img, alpha[:, :, None]], axis=2).astype(np.uint8)


def gradient_image(w, h):
    xs = np.arange(w)[None, :].repeat(h, 0)
    ys = np.arange(h)[:, None].repeat(w, 1)
    alpha = np.where((xs + ys) % 3 == 0, (xs * 13 + ys * 29) % 256, 255)
    img = np.stack([(xs * 7 + ys * 3) % 256, (xs * 5) % 256, (ys * 11) % 256, alpha], axis=2)
    return img.astype(np.uint8)


def photo(name, crop):
    img = np.array(Image.open(os.path.join(PHOTO_DIR, name)).convert("RGBA"))
    if crop:
        cw, ch = crop
        h, w = img.shape[:2]
        y0, x0 = max(0, (h - ch) // 2), max(0, (w - cw) // 2)
        img = img[y0:y0 + ch, x0:x0 + cw]
    return np.ascontiguousarray(img)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("zvprint")
    parser.add_argument("--cases", type=int, default=120, help="random small images")
    parser.add_argument("--seed", type=int, default=20261122)
    parser.add_argument("--size", default="40x40", help="largest random image, WxH")
    parser.add_argument("--photos", default="astronaut.png,logo.png,coffee.png,camera.png,chelsea.png,horse.png")
    parser.add_argument("--crop", default="200x96", help="WxH crop of each photo, or 'none'")
    parser.add_argument("--large", default="astronaut.png",
                        help="photos checked uncropped in the threshold mode (Otsu's products "
                             "exceed 32 bits only on large images)")
    parser.add_argument("--full", action="store_true",
                        help="every mode/output combination for every random image")
    args = parser.parse_args()
    rng = random.Random(args.seed)
    max_w, max_h = (int(v) for v in args.size.split("x"))
    crop = None if args.crop == "none" else tuple(int(v) for v in args.crop.split("x"))

    counts = {"images": 0}
    with tempfile.TemporaryDirectory() as workdir:
        runner = Runner(args.zvprint, workdir)
        try:
            kinds = ["random", "random", "opaque", "two-level", "uniform"]
            for i in range(args.cases):
                w, h = rng.randint(1, max_w), rng.randint(1, max_h)
                kind = kinds[i % len(kinds)]
                combos = ALL_COMBOS if args.full else rng.sample(ALL_COMBOS, 6)
                runner.check_image(random_image(rng, w, h, kind), f"random #{i} {kind}", combos)
                counts["images"] += 1
            # Frame cutting and band height at their boundaries: 16/17 rows,
            # 48/49 bytes per row, 499/500 pixels wide.
            for w, h in ((384, 17), (385, 17), (392, 16), (499, 3), (500, 3), (13, 61)):
                combos = [(m, 48, True, wm) for m in (0, 1, 2) for wm in (False, True)]
                runner.check_image(gradient_image(w, h), "gradient", combos)
                counts["images"] += 1
            # Grays whose print weighting sums to an integer in real arithmetic
            # but truncates one lower in double precision, on white: the
            # threshold lands on the truncated value, so exact integer
            # shortcuts that miss the double formula's tie break show here.
            for v in range(256):
                if print_gray(np.array([[[v, v, v, 255]]]))[0, 0] == v:
                    continue
                img = np.full((10, 40, 4), 255, dtype=np.uint8)
                img[:, ::3, :3] = v
                img[::2, 1::3, :3] = v
                runner.check_image(img, f"gray {v} on white", [(0, 0, False, False),
                                                              (2, 0, False, False)])
                counts["images"] += 1
            for name in filter(None, args.photos.split(",")):
                img = photo(name, crop)
                runner.check_image(img, name, ALL_COMBOS)
                counts["images"] += 1
            for name in filter(None, args.large.split(",")):
                combos = [(0, 48, True, False), (0, 0, False, True)]
                runner.check_image(photo(name, None), name, combos)
                counts["images"] += 1
        except Mismatch as error:
            print(f"MISMATCH after {runner.runs} conversions: {error}")
            return 1
        print(f"ok: {counts['images']} images, {runner.runs} conversions equal to the reference")
    return 0


if __name__ == "__main__":
    sys.exit(main())
