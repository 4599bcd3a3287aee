#!/usr/bin/env python3
"""Writes the add-on's zip: make_zip.py VERSION PACKAGE_FOLDER OUT.zip LIBRARY...

PACKAGE_FOLDER is the folder of the Python package `mien`; each LIBRARY is put into it under its own name.
"""

import pathlib
import sys
import zipfile

ADD_ON = pathlib.Path(__file__).resolve().parent / "mien_capture"
TIME = (1980, 1, 1, 0, 0, 0)  # of every file: the same contents give the same zip


def contents(version, package, libraries):
    """(path in the zip, bytes) of every file."""
    for path in sorted(ADD_ON.iterdir()):
        if path.suffix not in (".py", ".toml"):
            continue
        data = path.read_bytes()
        if path.name == "__init__.py":
            data = replaced(data, b"(0, 0, 0)", "({})".format(", ".join(version.split("."))))
        elif path.name == "blender_manifest.toml":
            data = replaced(data, b'"0.0.0"', f'"{version}"')
        yield path.name, data
    for path in sorted(package.rglob("*")):
        if path.suffix in (".py", ".typed"):
            yield f"mien/{path.relative_to(package)}", path.read_bytes()
    for path in libraries:
        yield f"mien/{path.name}", path.read_bytes()


def replaced(data, old, new):
    if data.count(old) != 1:
        sys.exit(f"{old.decode()} is there {data.count(old)} times")
    return data.replace(old, new.encode())


def main():
    version, package, out, *libraries = sys.argv[1:]
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
        # The folder's own entry lets Blender remove an earlier version. It would otherwise write into the library of a
        # running one, and crash.
        folder = zipfile.ZipInfo(f"{ADD_ON.name}/", TIME)
        folder.external_attr = 0o40755 << 16
        archive.writestr(folder, b"")
        for name, data in contents(version, pathlib.Path(package), [pathlib.Path(path) for path in libraries]):
            info = zipfile.ZipInfo(f"{ADD_ON.name}/{name}", TIME)
            info.external_attr, info.compress_type = 0o644 << 16, zipfile.ZIP_DEFLATED
            archive.writestr(info, data)


main()
