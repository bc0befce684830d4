#!/usr/bin/env python3
"""Draws docs/performance.svg, and renews the tables in docs/performance.md, from the reports of the benchmarks.

usage: plot.py DOCS CIPHER.json HASH.json
"""

import datetime
import json
import math
import re
import sys
from pathlib import Path

WIDTH, HEIGHT = 1020, 440
PANEL_WIDTH, PANEL_HEIGHT = 300, 320
OURS = ("#0b3d91", "#3f7fd9", "#8fb8ee", "#bcd3f2")
THEIRS = ("#c0392b", "#d68910", "#7d3c98", "#1e8449", "#6e2c00", "#5d6d7e")
SIZES = {16: "16 B", 64: "64 B", 256: "256 B", 1024: "1 KiB", 8192: "8 KiB", 65536: "64 KiB", 1 << 20: "1 MiB"}
WORKS = {"ecb_encrypt": "ECB encryption", "ecb_decrypt": "ECB decryption", "counter": "counter",
         "cbc_decrypt": "CBC decryption", "cfb_decrypt": "CFB decryption", "cbc_encrypt": "CBC encryption",
         "cfb_encrypt": "CFB encryption", "mac": "MAC"}


class Report:
    """Rows by their names without the settings that Google Benchmark appends."""

    def __init__(self, path):
        report = json.loads(Path(path).read_text())
        self.context = report["context"]
        self.rows = {row["name"].split("/iterations:")[0]: row
                     for row in report["benchmarks"] if "error_occurred" not in row}

    def matching(self, pattern):
        return [(match, self.rows[name]) for name in self.rows if (match := re.fullmatch(pattern, name))]

    def curve(self, prefix):
        """(bytes, MB/s), by size."""
        return sorted((int(m[1]), row["MB/s"]) for m, row in self.matching(re.escape(prefix) + r"/(\d+)"))

    def ratio(self, name):
        return self.rows[name]["ratio"] if name in self.rows else None

    def names(self, pattern):
        """What the first group of a pattern matches, each once, in the order of the report."""
        return list(dict.fromkeys(match[1] for match, _ in self.matching(pattern)))


def curves_of(report, work, kind):
    """Ours, best first, and everybody else's, as (label, points, colour, width)."""
    engines = report.names(rf"{work}/(\w+)/{kind}/\d+")
    chosen = report.context["engine"]
    engines.sort(key=lambda engine: engine != chosen)
    curves = []
    for engine, colour in zip(engines, OURS):
        label = f"vrx, {engine}" + (" (chosen)" if engine == chosen else "")
        curves.append((label, report.curve(f"{work}/{engine}/{kind}"), colour, 3 if engine == chosen else 1.5))
    points = [(size, row["MB/s"] / row["ratio"])
              for match, row in report.matching(rf"{work}/{chosen}/{kind}/(\d+)") for size in [int(match[1])]]
    curves.append(("straightforward loop", sorted(points), "#999999", 1.5))
    peers = [name for name in report.names(rf"{work}/([^/]+)/\d+")]
    curves += [(peer, report.curve(f"{work}/{peer}"), colour, 1.5) for peer, colour in zip(peers, THEIRS)]
    return curves


def panel(title, curves, left, top):
    sizes = [size for _, points, *_ in curves for size, _ in points]
    speeds = [speed for _, points, *_ in curves for _, speed in points]
    low, high = math.floor(math.log10(min(speeds))), math.ceil(math.log10(max(speeds)))
    first, last = math.log2(min(sizes)), math.log2(max(sizes))

    def x(size):
        return left + PANEL_WIDTH * (math.log2(size) - first) / (last - first)

    def y(speed):
        return top + PANEL_HEIGHT * (high - math.log10(speed)) / (high - low)

    svg = [f'<text x="{left}" y="{top - 14}" font-size="15" font-weight="bold">{title}, MB/s</text>']
    for power in range(low, high + 1):
        for digit in range(1, 10 if power < high else 2):
            at = y(digit * 10**power)
            svg.append(f'<path d="M{left} {at:.1f}h{PANEL_WIDTH}" stroke="{"#bbb" if digit == 1 else "#eee"}"/>')
        svg.append(f'<text x="{left - 6}" y="{y(10**power) + 4:.1f}" text-anchor="end">{10**power:g}</text>')
    for size, text in SIZES.items():
        if min(sizes) <= size <= max(sizes):
            svg.append(f'<text x="{x(size):.1f}" y="{top + PANEL_HEIGHT + 18}" text-anchor="middle">{text}</text>')
    # Labels stand at the right ends of their curves, one under the other.
    below = top - 8
    for label, points, colour, width in sorted(curves, key=lambda curve: -curve[1][-1][1]):
        path = " ".join(f"{x(size):.1f},{y(speed):.1f}" for size, speed in points)
        svg.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"/>')
        svg += [f'<circle cx="{x(s):.1f}" cy="{y(v):.1f}" r="2.2" fill="{colour}"/>' for s, v in points]
        below = max(below + 14, y(points[-1][1]) + 4)
        svg.append(f'<text x="{left + PANEL_WIDTH + 8}" y="{below:.1f}" fill="{colour}">{label}</text>')
    return svg


def draw(cipher, hashes, note):
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" viewBox="0 0 {WIDTH} {HEIGHT}" '
        'font-family="sans-serif" font-size="11">',
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
        *panel("GOST 28147-89 in counter mode", curves_of(cipher, "modes/counter", "own"), 48, 50),
        *panel("GOST R 34.11-94", curves_of(hashes, "hash", "built-in"), 560, 50),
        f'<text x="48" y="{HEIGHT - 18}" fill="#555">{note}</text>', "</svg>", ""])


def table(head, rows):
    lines = [head, ["--:" if re.match(r"[\d.]*$", cell) else "---" for cell in rows[0]], *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def number(value):
    return "" if value is None else f"{value:.2f}" if value < 10 else f"{value:.1f}"


def cipher_table(report):
    engines = report.names(r"modes/\w+/(\w+)/own/\d+")
    sizes = [16, 64, 256, 1024, 65536]
    rows = []
    for work, text in WORKS.items():
        for engine in engines:
            rows.append([text, engine] + [number(report.ratio(f"modes/{work}/{engine}/own/{size}")) for size in sizes])
    for work in ("counter", "cbc_decrypt", "cfb_decrypt"):
        for engine in engines:
            rows.append([f"{WORKS[work]}, key meshing", engine, "", "", "", "",
                         number(report.ratio(f"context/{work}/{engine}/meshed/65536"))])
    return table(["work", "engine"] + [SIZES[size] for size in sizes], rows)


def hash_table(report):
    columns = {"hash of 64 B": "hash/{}/built-in/64", "1 KiB": "hash/{}/built-in/1024",
               "64 KiB": "hash/{}/built-in/65536", "HMAC of 64 B": "hmac/{}/64", "PBKDF2": "pbkdf2/{}/128"}
    engines = report.names(r"hash/(\w+)/built-in/\d+")
    return table(["engine", *columns],
                 [[engine] + [number(report.ratio(name.format(engine))) for name in columns.values()]
                  for engine in engines])


def peer_table(cipher, hashes):
    """How many times as fast as the fastest of the others; both were timed in turn with the same loop."""
    rows = []

    def add(text, report, ours, pattern):
        others = [(row["ratio"], match[1]) for match, row in report.matching(pattern)]
        mine = report.ratio(ours)
        if others and mine is not None:
            ratio, name = max(others)
            rows.append([text, name, number(mine / ratio)])

    chosen = cipher.context["engine"]
    for work, text in WORKS.items():
        add(f"{text}, 64 KiB", cipher, f"modes/{work}/{chosen}/own/65536", rf"modes/{work}/([^/]+)/65536")
    chosen = hashes.context["engine"]
    for text, ours, pattern in (
            ("hash, 64 KiB", "hash/{}/built-in/65536", r"hash/([^/]+)/65536"),
            ("hash, 64 B", "hash/{}/built-in/64", r"hash/([^/]+)/64"),
            ("HMAC, 64 B", "hmac/{}/64", r"hmac/(?!vbmi|avx2|baseline)([^/]+)/64"),
            ("PBKDF2, iterations", "pbkdf2/{}/128", r"pbkdf2/(?!vbmi|avx2|baseline)([^/]+)/128")):
        add(text, hashes, ours.format(chosen), pattern)
    return table(["work", "fastest other", "times as fast"], rows)


def processor():
    info = Path("/proc/cpuinfo").read_text()
    field = dict(re.findall(r"^(model name|cpu family|model)\s*: (.*)$", info, re.M))
    return f"{field['model name']} (family {field['cpu family']}, model {field['model']})"


def main():
    docs, cipher, hashes = Path(sys.argv[1]), Report(sys.argv[2]), Report(sys.argv[3])
    note = f"{processor()}, {cipher.context['compiler']}, {datetime.date.today()}"
    (docs / "performance.svg").write_text(draw(cipher, hashes, note))
    tables = {"machine": note, "cipher": cipher_table(cipher), "hash": hash_table(hashes),
              "peers": peer_table(cipher, hashes)}
    page = docs / "performance.md"
    text = page.read_text()
    for name, content in tables.items():
        block = f"<!-- {name} -->\n{content}\n<!-- end -->"
        text = re.sub(rf"<!-- {name} -->\n.*?<!-- end -->", lambda _: block, text, flags=re.S)
    page.write_text(text)


if __name__ == "__main__":
    main()
