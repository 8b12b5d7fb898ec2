"""PEP 517 backend: builds the zvprinter extension with the project's CMake
and writes the wheel with the standard library only."""

import base64
import hashlib
import os
import pathlib
import subprocess
import sys
import sysconfig
import zipfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
NAME = "zvprinter"
VERSION = "0.1.0"


def _tag():
    python = f"cp{sys.version_info.major}{sys.version_info.minor}"
    platform = sysconfig.get_platform().replace("-", "_").replace(".", "_")
    return f"{python}-{python}-{platform}"


def _build():
    build = ROOT / "build" / f"pip-{_tag()}"
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Release", "-DZV_BUILD_PYTHON=ON",
                    "-DZV_BUILD_TESTS=OFF", "-DZV_BUILD_TOOLS=OFF",
                    f"-DPython3_EXECUTABLE={sys.executable}"], check=True)
    subprocess.run(["cmake", "--build", str(build), "--target", "zvprinter_core"], check=True)
    return build / "python" / NAME


def _metadata():
    return f"Metadata-Version: 2.1\nName: {NAME}\nVersion: {VERSION}\n" \
           "Summary: Print on small Bluetooth LE thermal printers\n"


def _record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}"


def get_requires_for_build_wheel(config_settings=None):
    return []


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    package = _build()
    dist_info = f"{NAME}-{VERSION}.dist-info"
    files = {f"{NAME}/{path.name}": path.read_bytes()
             for path in sorted(package.iterdir()) if path.is_file()}
    files[f"{dist_info}/METADATA"] = _metadata().encode()
    files[f"{dist_info}/WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: zv_build\n"
                                   f"Root-Is-Purelib: false\nTag: {_tag()}\n").encode()
    record = [_record_line(name, data) for name, data in files.items()]
    record.append(f"{dist_info}/RECORD,,")
    files[f"{dist_info}/RECORD"] = ("\n".join(record) + "\n").encode()
    wheel = f"{NAME}-{VERSION}-{_tag()}.whl"
    with zipfile.ZipFile(os.path.join(wheel_directory, wheel), "w", zipfile.ZIP_DEFLATED) as out:
        for name, data in files.items():
            out.writestr(name, data)
    return wheel
