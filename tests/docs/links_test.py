#!/usr/bin/env python3
"""Checks that every internal link of the documentation leads to an existing file and heading.

Usage: links_test.py PROJECT
"""
import re
import sys
import unittest

from pages import PAGES, PROJECT, name_of, text_of


def anchors(text):
    """Return the anchors of the headings, as code hosting sites form them."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
            for heading in re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S), re.M)}


class Links(unittest.TestCase):
    def test_each_link_has_a_target(self):
        seen = 0
        for page in PAGES:
            text = re.sub(r"`[^`\n]*`", "", re.sub(r"^```.*?^```$", "", text_of(page), flags=re.M | re.S))
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                if re.match(r"https?:", target):
                    continue
                path, _, anchor = target.partition("#")
                file = (page.parent / path).resolve() if path else page
                self.assertTrue(file.exists(), f"{name_of(page)}: {target}")
                if anchor:
                    self.assertIn(anchor, anchors(text_of(file)), f"{name_of(page)}: {target}")
                seen += 1
        self.assertGreater(seen, 60)

    def test_each_page_is_reachable(self):
        """Follows links from the first page. The README of the Python package is exempt."""
        reached, left = set(), [PROJECT / "README.md"]
        while left:
            page = left.pop()
            if page not in reached:
                reached.add(page)
                targets = re.findall(r"\]\(([^)#\s]+\.md)", text_of(page))
                left += [(page.parent / target).resolve() for target in targets if "://" not in target]
        self.assertEqual([name_of(page) for page in PAGES if page not in reached], ["python/README.md"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
