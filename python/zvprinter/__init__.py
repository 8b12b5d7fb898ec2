"""Print on small Bluetooth LE thermal printers from Python.

Images may be a path, the bytes of an encoded file (PNG, JPEG), a PIL image
or any uint8 buffer shaped H x W, H x W x 3 or H x W x 4 (numpy arrays).
A print succeeds only when the printer confirmed it; every other outcome
raises a PrintError subclass saying why and whether anything was sent.
"""

from __future__ import annotations

import asyncio
import enum
import functools
import os
from dataclasses import dataclass
from typing import Any, Callable, Optional, Union

from . import _core

__all__ = [
    "Phase",
    "PrintResult",
    "PrintError",
    "PrinterNotFound",
    "PaperOut",
    "PrinterBusy",
    "InvalidImage",
    "Cancelled",
    "TransferFailed",
    "convert",
    "print_image",
    "print_image_async",
]

ImageLike = Any  # str | os.PathLike | bytes | PIL.Image.Image | buffer

_MODES = {"threshold": 0, "dither": 1, "cluster": 2}


class Phase(enum.IntEnum):
    """Where a print is, as reported to a progress callback."""

    SCANNING = 0
    CONNECTING = 1
    CHECKING_STATUS = 2
    SENDING = 3
    AWAITING_CONFIRMATION = 4
    FINISHED = 5


@dataclass(frozen=True)
class PrintResult:
    """The outcome of a print the printer confirmed."""

    printer_name: str
    bytes_total: int
    bytes_sent: int
    attempts: int
    seconds: float


class PrintError(Exception):
    """A print that did not succeed.

    ``reason`` is one line a person understands; ``nothing_sent`` is True
    when no byte reached the printer, so printing again cannot double it.
    """

    def __init__(self, reason: str, failure: str, nothing_sent: bool, bytes_sent: int = 0):
        super().__init__(reason)
        self.reason = reason
        self.failure = failure
        self.nothing_sent = nothing_sent
        self.bytes_sent = bytes_sent


class PrinterNotFound(PrintError):
    """No printer found, Bluetooth off, or every connection attempt failed."""


class PaperOut(PrintError):
    """The printer is out of paper (before or during the print)."""


class PrinterBusy(PrintError):
    """The printer is printing another job or did not answer its status."""


class InvalidImage(PrintError):
    """The image cannot be read or converted; nothing was sent."""


class Cancelled(PrintError):
    """The print was cancelled (progress callback raised, or Ctrl-C)."""


class TransferFailed(PrintError):
    """The link failed while sending, or the printer never confirmed."""


_FAILURES: dict[str, type[PrintError]] = {
    "not-found": PrinterNotFound,
    "bluetooth-off": PrinterNotFound,
    "connect-failed": PrinterNotFound,
    "paper-out": PaperOut,
    "busy": PrinterBusy,
    "status-unanswered": PrinterBusy,
    "invalid-job": InvalidImage,
    "cancelled": Cancelled,
}


def _mode_number(mode: str) -> int:
    try:
        return _MODES[mode.lower()]
    except (KeyError, AttributeError):
        raise ValueError(f"mode must be one of {', '.join(_MODES)}, not {mode!r}") from None


def _image_source(image: ImageLike) -> Any:
    if isinstance(image, (str, os.PathLike)):
        return os.fsdecode(image)
    if isinstance(image, (bytes, bytearray)):
        return bytes(image)  # bytes are an encoded file; pixels come as arrays
    if hasattr(image, "convert") and hasattr(image, "mode") and hasattr(image, "size"):
        import numpy  # a PIL image: hand its pixels over as an RGBA array

        return numpy.asarray(image.convert("RGBA"))
    return image


def convert(image: ImageLike, mode: str = "threshold", compress: bool = True,
            package: bool = True) -> bytes:
    """The printer bytes of ``image`` at its own size, as ``zvprint convert``
    writes them: the raster (1 = black), LZO1X-compressed when ``compress``,
    cut into framed row blocks when ``package``.

    Raises InvalidImage when the image cannot be read or converted.
    """
    number = _mode_number(mode)
    try:
        return _core.convert(_image_source(image), number, compress, package)
    except (ValueError, TypeError) as error:
        raise InvalidImage(str(error), "invalid-job", True) from error


def print_image(
    image: ImageLike,
    printer: Optional[str] = None,
    *,
    mode: str = "dither",
    width: Optional[int] = None,
    backend: str = "sim",
    paper: Optional[Union[str, os.PathLike]] = None,
    progress: Optional[Callable[[Phase, int, int], Any]] = None,
    _sim_paper_out: bool = False,
) -> PrintResult:
    """Prints ``image`` and returns once the printer confirmed it.

    ``printer`` is a name (or part of it) or an identifier; None takes the
    first printer found. ``paper`` saves what the virtual printer printed as
    a PNG. ``progress(phase, done, total)`` runs in this thread with the GIL
    held; if it raises, the print is cancelled and Cancelled is raised from
    that exception. Ctrl-C cancels the same way.
    """
    if backend != "sim":
        raise ValueError("only the built-in virtual printer (backend='sim') is available")
    number = _mode_number(mode)
    try:
        source = _image_source(image)
        callback = None
        if progress is not None:
            callback = lambda phase, done, total: progress(Phase(phase), done, total)  # noqa: E731
        outcome, raised = _core.print_sim(
            source, number, width or 0, printer or "", os.fsdecode(paper) if paper else "",
            _sim_paper_out, callback,
        )
    except (ValueError, TypeError) as error:
        raise InvalidImage(str(error), "invalid-job", True) from error
    if outcome["succeeded"]:
        return PrintResult(
            outcome["printer_name"], outcome["bytes_total"], outcome["bytes_sent"],
            outcome["attempts"], outcome["seconds"],
        )
    kind = _FAILURES.get(outcome["failure"], TransferFailed)
    error = kind(outcome["reason"], outcome["failure"], outcome["nothing_sent"],
                 outcome["bytes_sent"])
    if raised is not None:
        raise error from raised
    raise error


async def print_image_async(image: ImageLike, printer: Optional[str] = None, **options: Any) -> PrintResult:
    """print_image() in the event loop's default executor."""
    loop = asyncio.get_running_loop()
    return await loop.run_in_executor(None, functools.partial(print_image, image, printer, **options))
