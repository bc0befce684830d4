#!/usr/bin/env python3
"""Converts corpora between folders of files, for libFuzzer, and text files, for the repository.

A text file has one input per line, in hexadecimal.

Usage: corpus.py unpack PACK FOLDER     writes each input to a file of its own
       corpus.py pack PACK FOLDER...    writes all files of the folders to one pack, without duplicates
"""
import hashlib
import sys
from pathlib import Path


def unpack(pack, folder):
    folder.mkdir(parents=True, exist_ok=True)
    for line in pack.read_text().splitlines():
        data = bytes.fromhex(line)
        (folder / hashlib.sha1(data).hexdigest()).write_bytes(data)


def pack(pack, *folders):
    inputs = {f.read_bytes() for folder in folders for f in folder.iterdir()}
    # Sorted, so that a new input does not move the others.
    pack.write_text("".join(data.hex() + "\n" for data in sorted(inputs, key=lambda data: (len(data), data))))


if __name__ == "__main__":
    if len(sys.argv) < 4 or sys.argv[1] not in ("unpack", "pack"):
        sys.exit(__doc__)
    {"unpack": unpack, "pack": pack}[sys.argv[1]](*map(Path, sys.argv[2:]))
