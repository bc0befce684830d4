#!/usr/bin/env python3
"""Draws the performance page from the figures of all recorded machines, see record.py.

usage: plot.py PROJECT

Reads bench/results/*.json. Writes docs/performance.svg, and the parts of docs/performance.md and README.md between
`<!-- name -->` and `<!-- end -->`.
"""
import json
import math
import re
import sys
from pathlib import Path

PEERS = {"libgcrypt": "libgcrypt", "nettle": "nettle", "gnutls": "GnuTLS", "botan": "Botan", "crypto++": "Crypto++",
         "openssl-gost": "GOST engine", "openssl": "OpenSSL"}
WORKS = {"ecb_encrypt": "ECB encryption", "ecb_decrypt": "ECB decryption", "counter": "counter mode",
         "cbc_decrypt": "CBC decryption", "cfb_decrypt": "CFB decryption", "cbc_encrypt": "CBC encryption",
         "cfb_encrypt": "CFB encryption", "mac": "MAC"}
PARALLEL = ["ecb_encrypt", "ecb_decrypt", "counter", "cbc_decrypt", "cfb_decrypt"]
CHAINED = ["cbc_encrypt", "cfb_encrypt", "mac"]
OTHER_COUNTER = ["libgcrypt", "crypto++"]  # their counter mode is not that of GOST 28147-89
SIZES = {16: "16 B", 64: "64 B", 256: "256 B", 1024: "1 KiB", 8192: "8 KiB", 65536: "64 KiB", 1 << 20: "1 MiB"}
ENGINES = ["vbmi_chain", "vbmi", "avx2_wide", "avx2", "baseline"]


class Machine:
    def __init__(self, path):
        recorded = json.loads(path.read_text(encoding="utf-8"))
        self.rows, self.about = recorded["rows"], recorded["machine"]
        self.name = self.about["name"]

    def chosen(self, program):
        return self.about["chosen"][program]

    def speed(self, ours, theirs):
        """The speed-up of the row `ours` over `theirs`, or None if one is missing."""
        a, b = self.rows.get(ours, {}), self.rows.get(theirs, {})
        for unit, order in (("ratio", 1), ("MB/s", 1), ("us", -1)):
            if unit in a and unit in b:
                return (a[unit] / b[unit]) ** order
        return None

    def best_peer(self, ours, pattern, without=()):
        """Returns (speed-up, name) for the fastest peer. The pattern has {} in place of the peer's name."""
        found = [(speed, PEERS[peer]) for peer in PEERS if peer not in without
                 and (speed := self.speed(ours, pattern.format(peer))) is not None]
        return min(found, default=None)

    def curve(self, prefix):
        return sorted((int(key[len(prefix):]), row["MB/s"]) for key, row in self.rows.items()
                      if key.startswith(prefix) and re.fullmatch(r"\d+", key[len(prefix):]) and "MB/s" in row)

    def comparisons(self):
        """Yields (group, operation, speed-up, fastest peer) for every operation that was also measured with a peer."""
        cipher, hashes = self.chosen("modes"), self.chosen("gostr3411")
        for work, text in WORKS.items():
            without = OTHER_COUNTER if work == "counter" else ()
            yield ("parallel" if work in PARALLEL else "chained", f"{text}, 64 KiB",
                   self.best_peer(f"modes/{work}/{cipher}/own/65536", f"modes/{work}/{{}}/65536", without))
        for work, text in WORKS.items():
            without = OTHER_COUNTER if work == "counter" else ()
            yield ("short", f"{text}, 64 B, context opened for each message",
                   self.best_peer(f"opened/{work}/vrx/64", f"modes/{work}/{{}}/64", without))
        for text, ours, theirs in (("hash, 64 KiB", "hash/{}/built-in/65536", "hash/{{}}/65536"),
                                   ("hash, 64 B", "hash/{}/built-in/64", "hash/{{}}/64"),
                                   ("HMAC, 64 B", "hmac/{}/64", "hmac/{{}}/64"),
                                   ("PBKDF2", "pbkdf2/{}/128", "pbkdf2/{{}}/128")):
            yield "hash", text, self.best_peer(ours.format(hashes), theirs.format())
        for size in (64, 1024, 16384):
            yield "sha1", f"SHA-1, {SIZES.get(size, '16 KiB')}", self.best_peer(f"sha1/vrx/{size}", f"sha1/{{}}/{size}")
        engines = ("vrx-ifma", "vrx-adx", "vrx-words")
        engine = next((name for name in engines if f"ecc/sign/{name}/A" in self.rows), None)
        for operation, text in (("sign", "signing"), ("verify", "verification"), ("key_pair", "key generation")):
            for curve in "AC":
                yield operation, f"{text}, curve {curve}", self.best_peer(f"ecc/{operation}/{engine}/{curve}",
                                                                          f"ecc/{operation}/{{}}/{curve}")
            yield "P-256", f"{text}, curve A, compared with P-256", self.best_peer(f"ecc/{operation}/{engine}/A",
                                                                                  f"ecc/{operation}/{{}}/P-256")


def number(value):
    return "" if value is None else f"{value:.2f}" if value < 10 else f"{value:.1f}"


def table(head, rows):
    numeric = [all(re.fullmatch(r"[\d.]*", row[i]) for row in rows) for i in range(len(head))]
    lines = [head, ["--:" if right else "---" for right in numeric], *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


# --- tables ---

def machines_table(machines):
    rows = []
    for machine in machines:
        about = machine.about
        noise = f"{about['noise']:.2f}" if about["noise"] else "not recorded"
        load = f"{about['load']:.1f}" if about["load"] is not None else "not recorded"
        rows.append([machine.name, about["processor"], about["compiler"], about["date"], str(about["runs"]),
                     load, noise])
    return table(["Machine", "Processor", "Compiler", "Date", "Runs", "Load", "Noise"], rows)


def best_table(machines, groups, losing=False):
    """A table: the fastest peer and the speed-up on each machine."""
    compared = [{text: best for group, text, best in machine.comparisons() if group in groups and best}
                for machine in machines]
    texts = list(dict.fromkeys(text for of_machine in compared for text in of_machine))
    if losing:
        texts = [text for text in texts if any(text in c and c[text][0] < 1 for c in compared)]
    rows = []
    for text in texts:
        row = [text]
        for of_machine in compared:
            speed, peer = of_machine.get(text, (None, ""))
            row += [peer, number(speed)]
        rows.append(row)
    head = ["Work"]
    for machine in machines:
        head += [f"{machine.name}: fastest peer", "speed-up"]
    return table(head, rows)


def peers_table(machine):
    """Tables: MB/s of all libraries at 64 KiB, and microseconds of each curve operation."""
    names = {key: text for key, text in PEERS.items() if key != "openssl"}
    rows = []
    for work, text in WORKS.items():
        ours = machine.rows.get(f"modes/{work}/{machine.chosen('modes')}/own/65536", {}).get("MB/s")
        theirs = {peer: machine.rows.get(f"modes/{work}/{peer}/65536", {}).get("MB/s") for peer in names}
        if work == "counter":
            other = {peer: theirs.pop(peer, None) for peer in OTHER_COUNTER}
            rows.append([text + ", MB/s", number(ours)] + [number(theirs.get(peer)) for peer in names])
            rows.append(["CTR, a different counter mode, MB/s", ""] + [number(other.get(peer)) for peer in names])
        else:
            rows.append([text + ", MB/s", number(ours)] + [number(theirs[peer]) for peer in names])
    ours = machine.rows.get(f"hash/{machine.chosen('gostr3411')}/built-in/65536", {}).get("MB/s")
    rows.append(["hash, MB/s", number(ours)]
                + [number(machine.rows.get(f"hash/{peer}/65536", {}).get("MB/s")) for peer in names])
    for operation, text in (("sign", "signing"), ("verify", "verification"), ("key_pair", "key generation")):
        for curve in "AC":
            ours = min((row["us"] for key, row in machine.rows.items()
                        if re.fullmatch(f"ecc/{operation}/vrx-(?!none).*/{curve}", key)), default=None)
            rows.append([f"{text}, curve {curve}, µs", number(ours)]
                        + [number(machine.rows.get(f"ecc/{operation}/{peer}/{curve}", {}).get("us")) for peer in names])
    return table([f"{machine.name}", "libvrx", *names.values()], [row for row in rows if any(row[1:])])


def engines_table(machine):
    sizes = [16, 64, 256, 1024, 65536]
    rows = []
    for work, text in WORKS.items():
        for engine in ENGINES:
            cells = [number(machine.rows.get(f"modes/{work}/{engine}/own/{size}", {}).get("ratio")) for size in sizes]
            meshed = number(machine.rows.get(f"context/{work}/{engine}/meshed/65536", {}).get("ratio"))
            if any(cells):
                rows.append([text, engine, *cells, meshed])
    return table(["Work", "Engine", *[SIZES[size] for size in sizes], "64 KiB, key meshing"], rows)


def hash_engines_table(machine):
    columns = {"hash of 64 B": "hash/{}/built-in/64", "1 KiB": "hash/{}/built-in/1024",
               "64 KiB": "hash/{}/built-in/65536", "HMAC of 64 B": "hmac/{}/64", "PBKDF2": "pbkdf2/{}/128"}
    rows = [[engine + (" (chosen)" if engine == machine.chosen("gostr3411") else "")]
            + [number(machine.rows.get(name.format(engine), {}).get("ratio")) for name in columns.values()]
            for engine in ENGINES]
    return table(["Engine", *columns], [row for row in rows if any(row[1:])])


def per_machine(machines, make):
    return "\n\n".join(f"{machine.name}:\n\n{make(machine)}" for machine in machines)


def summary(machines):
    """Returns the summary for the README: the range of speed-ups over the fastest peer."""
    groups = {"parallel": "ECB, counter mode, decryption in CBC and CFB (64 KiB)",
              "chained": "encryption in CBC and CFB, MAC (64 KiB)", "hash": "hash, HMAC, PBKDF2",
              "sign": "signing", "verify": "verification", "sha1": "SHA-1"}
    rows = []
    for group, text in groups.items():
        row = [text]
        for machine in machines:
            speeds = [best for of, _, best in machine.comparisons() if of == group and best]
            low, high = (min(speeds), max(speeds)) if speeds else (None, None)
            if low is None:
                row.append("not measured")
                continue
            peers = ", ".join(dict.fromkeys(peer for _, peer in sorted(speeds)))
            row.append(f"{number(low[0])} to {number(high[0])} ({peers})")
        rows.append(row)
    return ("This table shows the speed-up of libvrx over the fastest of libgcrypt, nettle, GnuTLS, Botan, "
            "Crypto++ and OpenSSL\nwith its GOST engine. The fastest peers are in brackets:\n\n"
            + table(["Work", *[machine.name for machine in machines]], rows))


# --- plot ---

PANEL, HEIGHT, GAP = 270, 250, 470
STYLE = """<style>
text{font-family:sans-serif;font-size:11px;fill:#222} .t{font-size:14px;font-weight:bold} .bg{fill:#fff}
.g{stroke:#e4e4e4} .G{stroke:#bbb}
.o0{--c:#0b3d91} .o1{--c:#3f7fd9} .o2{--c:#7aa7e6} .o3{--c:#9db9dd}
.p0{--c:#c0392b} .p1{--c:#b9770e} .p2{--c:#7d3c98} .p3{--c:#1e8449} .p4{--c:#8b4513} .p5{--c:#5d6d7e}
polyline{fill:none;stroke:var(--c)} circle,.l{fill:var(--c)}
@media (prefers-color-scheme:dark){text{fill:#ddd} .bg{fill:#1b1e23} .g{stroke:#2c3036} .G{stroke:#4a5058}
.o0{--c:#7db2ff} .o1{--c:#5a92e8} .o2{--c:#4c78ba} .o3{--c:#456591}
.p0{--c:#ff8a7a} .p1{--c:#f0b452} .p2{--c:#cf9be6} .p3{--c:#6fd39a} .p4{--c:#d8a27a} .p5{--c:#aab7c4}}
</style>"""


def panel(title, curves, left, top):
    sizes = [size for _, points, *_ in curves for size, _ in points]
    speeds = [speed for _, points, *_ in curves for _, speed in points]
    low, high = math.floor(math.log10(min(speeds))), math.ceil(math.log10(max(speeds)))
    first, last = math.log2(min(sizes)), math.log2(max(sizes))

    def x(size):
        return left + PANEL * (math.log2(size) - first) / (last - first)

    def y(speed):
        return top + HEIGHT * (high - math.log10(speed)) / (high - low)

    svg = [f'<text class="t" x="{left}" y="{top - 14}">{title}, MB/s</text>']
    for power in range(low, high + 1):
        for digit in range(1, 10 if power < high else 2):
            svg.append(f'<path d="M{left} {y(digit * 10**power):.1f}h{PANEL}" class="{"G" if digit == 1 else "g"}"/>')
        svg.append(f'<text x="{left - 6}" y="{y(10**power) + 4:.1f}" text-anchor="end">{10**power:g}</text>')
    for size, text in SIZES.items():
        if min(sizes) <= size <= max(sizes) and size != 256 and size != 8192:
            svg.append(f'<text x="{x(size):.1f}" y="{top + HEIGHT + 18}" text-anchor="middle">{text}</text>')
    # Labels are at the right ends of their curves, one below the other.
    below = top - 8
    for label, points, colour, width in sorted(curves, key=lambda curve: -curve[1][-1][1]):
        path = " ".join(f"{x(size):.1f},{y(speed):.1f}" for size, speed in points)
        svg.append(f'<g class="{colour}"><polyline points="{path}" stroke-width="{width}"/>')
        svg += [f'<circle cx="{x(s):.1f}" cy="{y(v):.1f}" r="2.2"/>' for s, v in points]
        below = max(below + 14, y(points[-1][1]) + 4)
        svg.append(f'<text class="l" x="{left + PANEL + 8}" y="{below:.1f}">{label}</text></g>')
    return svg


def curves_of(machine, ours, theirs, chosen, without=()):
    curves = []
    engines = sorted(ENGINES, key=lambda engine: engine != chosen)
    for place, engine in enumerate(engine for engine in engines if machine.curve(ours.format(engine))):
        label = f"libvrx, {engine}" + (" (chosen)" if engine == chosen else "")
        curves.append((label, machine.curve(ours.format(engine)), f"o{place}", 3 if engine == chosen else 1.5))
    for place, (peer, text) in enumerate(PEERS.items()):
        if peer not in without and machine.curve(theirs.format(peer)):
            curves.append((text, machine.curve(theirs.format(peer)), f"p{place}", 1.5))
    return curves


def draw(machines):
    width, height = 2 * GAP + 20, 360 * len(machines)
    svg = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}">',
           STYLE, f'<rect class="bg" width="{width}" height="{height}"/>']
    for place, machine in enumerate(machines):
        top = 56 + 360 * place
        counter = curves_of(machine, "modes/counter/{}/own/", "modes/counter/{}/", machine.chosen("modes"),
                            OTHER_COUNTER)
        hashes = curves_of(machine, "hash/{}/built-in/", "hash/{}/", machine.chosen("gostr3411"))
        svg += panel(f"{machine.name}: GOST counter mode", counter, 48, top)
        svg += panel(f"{machine.name}: GOST R 34.11-94", hashes, 48 + GAP, top)
    return "\n".join([*svg, "</svg>", ""])


def replace(page, parts):
    text = page.read_text(encoding="utf-8")
    for name, content in parts.items():
        pattern = rf"<!-- {name} -->\n.*?<!-- end -->"
        if not re.search(pattern, text, re.S):
            sys.exit(f"{page} has no part {name}")
        text = re.sub(pattern, lambda _, n=name, c=content: f"<!-- {n} -->\n{c}\n<!-- end -->", text, flags=re.S)
    return text


def main():
    project = Path(sys.argv[1])
    machines = [Machine(path) for path in sorted((project / "bench/results").glob("*.json"))]
    (project / "docs/performance.svg").write_text(draw(machines), encoding="utf-8")
    all_groups = {group for machine in machines for group, *_ in machine.comparisons()} - {"P-256"}
    parts = {"machines": machines_table(machines),
             "encryption": best_table(machines, {"parallel", "chained", "short"}),
             "hashing": best_table(machines, {"hash", "sha1"}),
             "curves": best_table(machines, {"sign", "verify", "key_pair", "P-256"}),
             "losing": best_table(machines, all_groups | {"P-256"}, losing=True),
             "everybody": per_machine(machines, peers_table), "engines": per_machine(machines, engines_table),
             "hash engines": per_machine(machines, hash_engines_table)}
    for page, of_page in ((project / "docs/performance.md", parts),
                          (project / "README.md", {"summary": summary(machines)})):
        page.write_text(replace(page, of_page), encoding="utf-8")


if __name__ == "__main__":
    main()
