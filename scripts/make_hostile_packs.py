#!/usr/bin/env python3
"""Writes the hostile TextPacks the tests and the unpacking fuzzer use.

Each pack tries one way out of the folder it is unpacked into, or one way to hang or
exhaust a reader of it. They are written from this list, byte for byte the same on every
run (fixed times and owners), into orvel/formats/testdata/hostile/; the tests say what the
library must answer for each. Run it again after changing the list:

    python3 scripts/make_hostile_packs.py
"""
import io
import pathlib
import tarfile
import zipfile

OUT = pathlib.Path(__file__).resolve().parent.parent / "orvel/formats/testdata/hostile"
ZIP_TIME = (1980, 1, 1, 0, 0, 0)

# An entry: (path, kind, data), kind one of "file", "dir", "link" (data: the link's target),
# "hardlink" (data: the linked path), "fifo", "chardev".
PACKS = {
    # A bundle with a file beside it, which must not land beside the destination.
    "beside-destination.textpack": ("zip", [
        ("Packed.textbundle/text.md", "file", "The pack's own text about the harbour.\n"),
        ("Packed.textbundle/info.json", "file", "{}"),
        (".profile", "file", "echo the pack wrote this\n"),
        ("Zzz.textbundle/text.md", "file", "The second bundle, whose text is read.\n"),
    ]),
    # A link to its own folder, then a link that reads as staying inside but climbs out
    # through it, then the text as a link through that.
    "link-climbs-through-links.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/x", "link", "."),
        ("Evil.textbundle/escape", "link", "/".join(["x"] * 12 + [".."] * 12)),
        ("Evil.textbundle/text.md", "link", "escape/etc/passwd"),
    ]),
    # The climbing link comes first, before the link it climbs through exists.
    "link-climbs-before-its-way-exists.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/escape", "link", "x/../.."),
        ("Evil.textbundle/x", "link", "."),
        ("Evil.textbundle/text.md", "link", "escape/etc/passwd"),
    ]),
    # A link that stays inside the pack, to a file beside the bundle: moved with the bundle
    # beside the destination, it would lead to the user's file of that name.
    "link-to-a-sibling.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/text.md", "link", "../.profile"),
        (".profile", "file", "echo the pack wrote this\n"),
    ]),
    "text-links-to-absolute-path.textpack": ("zip", [
        ("Evil.textbundle/text.md", "link", "/etc/passwd"),
    ]),
    "text-is-fifo.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/text.md", "fifo", None),
    ]),
    "text-is-hard-link.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/text.md", "hardlink", "etc/passwd"),
    ]),
    "device-file.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/text.md", "file", "text\n"),
        ("Evil.textbundle/zero", "chardev", None),
    ]),
    "climbs-by-name.textpack": ("tar", [
        ("../escaped.textbundle/text.md", "file", "escaped\n"),
    ]),
    "absolute-name.textpack": ("tar", [
        ("/tmp/orvel-absolute.textbundle/text.md", "file", "absolute\n"),
    ]),
    # A link that stays inside, and a file written through it.
    "writes-through-link.textpack": ("tar", [
        ("Evil.textbundle/", "dir", None),
        ("Evil.textbundle/text.md", "file", "text\n"),
        ("Evil.textbundle/up", "link", ".."),
        ("Evil.textbundle/up/.profile", "file", "echo the pack wrote this\n"),
    ]),
    # The only bundle is a link to a folder: no bundle folder to take.
    "bundle-is-link.textpack": ("tar", [
        ("real/", "dir", None),
        ("real/text.md", "file", "text behind a link\n"),
        ("Link.textbundle", "link", "real"),
    ]),
    # 64 MiB of one letter in about 64 KB.
    "expands-a-thousandfold.textpack": ("zip", [
        ("Bomb.textbundle/text.md", "file", "a" * (64 << 20)),
    ]),
    # Names outside ASCII, flagged as UTF-8.
    "non-ascii-names.textpack": ("zip", [
        ("Café.textbundle/text.md", "file", "Café au lait by the harbour.\n"),
        ("Café.textbundle/assets/Ölbild.txt", "file", "an asset\n"),
    ]),
    "no-bundle.textpack": ("zip", [
        ("readme.txt", "file", "no bundle in here\n"),
    ]),
}


def write_zip(path, entries):
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as pack:
        for name, kind, data in entries:
            info = zipfile.ZipInfo(name, ZIP_TIME)
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 3  # Unix: the high 16 bits of external_attr are st_mode
            mode = {"file": 0o100644, "dir": 0o040755, "link": 0o120777}[kind]
            info.external_attr = mode << 16
            pack.writestr(info, (data or "").encode("utf-8"))


def write_tar(path, entries):
    with tarfile.open(path, "w", format=tarfile.PAX_FORMAT) as pack:
        for name, kind, data in entries:
            info = tarfile.TarInfo(name)
            info.mtime = 0
            info.mode = 0o755 if kind == "dir" else 0o644
            payload = None
            if kind == "file":
                payload = data.encode("utf-8")
                info.size = len(payload)
            elif kind == "dir":
                info.type = tarfile.DIRTYPE
            elif kind == "link":
                info.type, info.linkname = tarfile.SYMTYPE, data
            elif kind == "hardlink":
                info.type, info.linkname = tarfile.LNKTYPE, data
            elif kind == "fifo":
                info.type = tarfile.FIFOTYPE
            elif kind == "chardev":
                info.type, info.devmajor, info.devminor = tarfile.CHRTYPE, 1, 5
            pack.addfile(info, io.BytesIO(payload) if payload is not None else None)


def main():
    OUT.mkdir(parents=True, exist_ok=True)
    for name, (form, entries) in PACKS.items():
        (write_zip if form == "zip" else write_tar)(OUT / name, entries)
    print(f"wrote {len(PACKS)} packs to {OUT}")


if __name__ == "__main__":
    main()
