"""The Python module against the zvprint tool on the virtual printer."""

import io
import os
import pathlib
import signal
import subprocess

import numpy
import pytest
from PIL import Image

import zvprinter

ZVPRINT = os.environ["ZVPRINT"]


def zvprint(*args):
    subprocess.run([ZVPRINT, *map(str, args)], check=True, capture_output=True,
                   env={**os.environ, "ZVPRINT_BACKEND": "sim"})


@pytest.fixture(scope="module")
def picture(tmp_path_factory):
    """A gradient with a diagonal: gray levels exercise the dithering."""
    y, x = numpy.mgrid[0:120, 0:200]
    rgb = numpy.stack([(x * 255 // 199), (y * 255 // 119), ((x + y) % 256)], axis=2)
    rgb = rgb.astype(numpy.uint8)
    rgb[numpy.abs(x - y) < 3] = 0
    path = tmp_path_factory.mktemp("picture") / "picture.png"
    Image.fromarray(rgb).save(path)
    return path, rgb


def pixels(path):
    return numpy.asarray(Image.open(path).convert("L"))


def image_kinds(path, rgb):
    return {
        "path": path,
        "str": str(path),
        "bytes": path.read_bytes(),
        "pil": Image.open(path),
        "rgb array": rgb,
        "rgba array": numpy.dstack([rgb, numpy.full(rgb.shape[:2], 255, numpy.uint8)]),
        "strided view": numpy.ascontiguousarray(rgb[:, ::-1])[:, ::-1],
    }


def test_every_image_kind_prints_the_paper_zvprint_prints(picture, tmp_path):
    path, rgb = picture
    expected = tmp_path / "cli.png"
    zvprint("print", path, "--backend", "sim", "--mode", "dither", "--paper", expected)
    for kind, image in image_kinds(path, rgb).items():
        paper = tmp_path / f"{kind}.png"
        result = zvprinter.print_image(image, mode="dither", paper=paper)
        assert result.bytes_sent == result.bytes_total > 0, kind
        assert numpy.array_equal(pixels(paper), pixels(expected)), kind


@pytest.mark.parametrize("mode", ["threshold", "dither", "cluster"])
@pytest.mark.parametrize("compress,package", [(True, True), (True, False), (False, False)])
def test_convert_of_an_array_matches_zvprint_convert(picture, tmp_path, mode, compress, package):
    path, rgb = picture
    gray = rgb[:, :, 1].copy()
    gray_png = tmp_path / "gray.png"
    Image.fromarray(gray).save(gray_png)
    for array, png in ((rgb, path), (gray, gray_png)):
        out = tmp_path / "cli.bin"
        flags = ["--compress", "48" if compress else "0"] + (["--package"] if package else [])
        zvprint("convert", png, "-o", out, "--mode", mode, *flags)
        assert zvprinter.convert(array, mode, compress, package) == out.read_bytes()


def test_failures_raise_their_own_error_and_print_nothing(picture, tmp_path):
    path, _ = picture
    cases = [
        ("missing printer", dict(printer="no such printer"), path, zvprinter.PrinterNotFound),
        ("paper out", dict(_sim_paper_out=True), path, zvprinter.PaperOut),
        ("corrupt image", {}, b"\x89PNG\r\n\x1a\n garbage", zvprinter.InvalidImage),
        ("missing file", {}, tmp_path / "absent.png", zvprinter.InvalidImage),
        ("wrong shape", {}, numpy.zeros((4, 4, 2), numpy.uint8), zvprinter.InvalidImage),
        ("wrong type", {}, numpy.zeros((4, 4), numpy.float32), zvprinter.InvalidImage),
    ]
    for name, options, image, error in cases:
        paper = tmp_path / f"{name}.png"
        with pytest.raises(error) as raised:
            zvprinter.print_image(image, paper=paper, **options)
        assert raised.value.nothing_sent, name
        assert raised.value.reason, name
        assert not paper.exists(), name


def test_a_raising_progress_callback_cancels_the_print(picture, tmp_path):
    path, _ = picture
    phases = []

    def stop_while_sending(phase, done, total):
        phases.append(phase)
        if phase == zvprinter.Phase.SENDING and done > 0:
            raise RuntimeError("enough")

    paper = tmp_path / "cancelled.png"
    with pytest.raises(zvprinter.Cancelled) as raised:
        zvprinter.print_image(path, paper=paper, progress=stop_while_sending)
    assert isinstance(raised.value.__cause__, RuntimeError)
    assert not raised.value.nothing_sent and raised.value.bytes_sent > 0
    assert phases[-1] == zvprinter.Phase.SENDING
    assert not paper.exists()
    # The printer is free again: the next print goes through once.
    assert zvprinter.print_image(path, paper=paper).bytes_sent > 0


def test_ctrl_c_cancels_the_print(picture):
    path, _ = picture

    def press_ctrl_c(phase, done, total):
        if phase == zvprinter.Phase.CONNECTING:
            os.kill(os.getpid(), signal.SIGINT)

    with pytest.raises(zvprinter.Cancelled) as raised:
        zvprinter.print_image(path, progress=press_ctrl_c)
    assert isinstance(raised.value.__cause__, KeyboardInterrupt)
    assert raised.value.nothing_sent


def test_print_image_async(picture, tmp_path):
    import asyncio

    path, _ = picture
    result = asyncio.run(zvprinter.print_image_async(path, paper=tmp_path / "a.png"))
    assert result.bytes_sent == result.bytes_total
