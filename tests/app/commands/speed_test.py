"""vrx speed: a figure for every algorithm, in a table and in a chart."""

import os
import re
import time
import xml.etree.ElementTree as tree

from program import SANITIZED, ProgramTest, main

SVG = "{http://www.w3.org/2000/svg}"
ROWS = ["ss, encrypt", "ss, decrypt", "gamm, both ways", "gamm, key meshing", "gfb, encrypt", "gfb, decrypt",
        "gfb, encrypt, key meshing", "gfb, decrypt, key meshing", "cbc, encrypt", "cbc, decrypt", "MAC",
        "GOST R 34.11-94",
        "HMAC GOST R 34.11-94", "SHA-1", "sign, curve A", "verify, curve A", "sign, curve B", "verify, curve B",
        "sign, curve C", "verify, curve C", "sign, curve Test", "verify, curve Test", "new key pair, curve A",
        "key agreement, curve A", "PBKDF2, iterations", "key diversification", "S-boxes expanded into a table"]


class Speed(ProgramTest):
    def test_the_table_and_the_chart_show_the_same_figures(self):
        text = self.vrx("speed", "--seconds", "0.2", "--plot", "x.svg").decode()
        self.assertRegex(text, r"\AProcessor: .+, one thread\nEngines:   cipher +\w+ \(.+\)\n +hash .+\n +SHA-1 .+\n"
                               r" +curves .+\n +S-boxes .+\n\n")
        figures = re.findall(r"^  (.+?)  +([0-9.]+)$", text, re.MULTILINE)
        self.assertEqual([name for name, _ in figures], ROWS)
        self.assertGreater(min(float(value) for _, value in figures), 0)
        groups = re.findall(r"^([A-Z].+), (million bytes|thousand|a) ?.*$", text.split("\n\n", 1)[1], re.MULTILINE)
        self.assertEqual(len(groups), 3)

        picture = tree.parse(self.path("x.svg").decode()).getroot()
        self.assertEqual(picture.tag, SVG + "svg")
        texts = [(element.get("class"), element.text) for element in picture.iter(SVG + "text")]
        self.assertEqual([text for kind, text in texts if kind == "name"], ROWS)
        self.assertEqual([text for kind, text in texts if kind == "value"], [value for _, value in figures])
        bars = [float(bar.get("width")) for bar in picture.iter(SVG + "rect") if bar.get("class") is None]
        self.assertEqual(len(bars), len(ROWS))
        size = float(picture.get("width"))
        self.assertTrue(all(0 < bar < size for bar in bars))
        engines = [tuple(line.split()[-2:]) for line in re.sub(r" \(.*\)", "", text).split("\n\n")[0].splitlines()[1:]]
        self.assertIn("Engines: " + ", ".join(map(" ".join, engines)), [text for kind, text in texts if kind == "note"])
        # Bars are scaled by group: the largest figure of each group has the longest bar.
        for first, last in ((0, 14), (14, 24), (24, 27)):
            group = list(zip(bars[first:last], (float(value) for _, value in figures[first:last])))
            scale = max(bar for bar, _ in group) / max(value for _, value in group)
            for bar, value in group:
                self.assertAlmostEqual(bar, max(value * scale, 1), delta=4)

    def test_it_runs_for_the_requested_time(self):
        begin = time.monotonic()
        self.vrx("speed", "--seconds", "1")
        self.assertLess(time.monotonic() - begin, 60 if SANITIZED else 10)

    def test_wrong_use(self):
        for text in ("0", "0.0", "-1", "x", "1.25", "1.", "", "3601", "1e3"):
            self.refused("speed", "--seconds=" + text,
                         says=["--seconds takes a number from 0.1 to 3600", f"not '{text}'"])
        os.mkdir(self.path("folder"))
        self.refused("speed", "--seconds", "3600", "--plot", "folder", says="cannot write 'folder'")
        self.refused("speed", "--seconds", "0.1", "--plot", "folder", says=["cannot write 'folder'", "name a file"])
        self.assertEqual(self.names(), ["folder", "key"])


if __name__ == "__main__":
    main()
