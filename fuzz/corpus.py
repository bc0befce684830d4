#!/usr/bin/env python3
"""Corpora as folders of files, for libFuzzer, and as one text file each, for the repository: an input per line, in hex.

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
    # In an order in which a new input moves no other.
    pack.write_text("".join(data.hex() + "\n" for data in sorted(inputs, key=lambda data: (len(data), data))))


if __name__ == "__main__":
    if len(sys.argv) < 4 or sys.argv[1] not in ("unpack", "pack"):
        sys.exit(__doc__)
    {"unpack": unpack, "pack": pack}[sys.argv[1]](*map(Path, sys.argv[2:]))
