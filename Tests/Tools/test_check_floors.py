#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""check-floors on small houses made for the purpose: each wrong one is one mistake, said at its file and line."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "Tools" / "check-floors"

PAGE = """# A house
<!-- rooms -->

| floor | room | what | may use |
|---|---|---|---|
| 0 | `Low` | x | the system |
| 1 | `Mid` | x | 0 |
| 2 | `A`, `B` | x | 0 to 1, each other |
| 2 | `C` | x | 1 |
| 3 | `Top`, `Top/In` | x | 0, `A` |
"""


class CheckFloors(unittest.TestCase):
    def run_on(self, files, page=PAGE):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "Docs").mkdir()
            (root / "Docs" / "architecture.md").write_text(page)
            (root / "Sources").mkdir()
            for name, includes in files.items():
                path = root / "Sources" / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text("// head\n" + "".join(f'#include "{i}"\n' for i in includes))
            done = subprocess.run([sys.executable, SCRIPT, "--root", root], capture_output=True, text=True)
            return done.returncode, done.stdout + done.stderr

    def test_allowed_houses_pass(self):
        houses = [
            {"Low/a.h": [], "Mid/b.h": ["Low/a.h"], "Mid/c.h": ["Mid/b.h", "Low/a.h"]},
            {"A/a.h": ["B/b.h"], "B/b.h": ["Mid/m.h"], "Mid/m.h": []},
            {"Low/Linux/x.cpp": ["Low/x.h"], "Low/x.h": []},
            {"Top/In/t.h": ["A/a.h"], "A/a.h": ["Low/l.h"], "Low/l.h": []},
        ]
        for house in houses:
            code, text = self.run_on(house)
            self.assertEqual(code, 0, f"{house}\n{text}")

    def test_each_fault_is_found_where_it_stands(self):
        faults = [
            ("above", {"Mid/m.h": [], "Low/a.h": ["Mid/m.h"]}, "Sources/Low/a.h:2"),
            ("beside", {"A/a.h": [], "C/c.h": ["A/a.h"]}, "Sources/C/c.h:2"),
            ("below, but not for", {"Mid/m.h": [], "Top/t.h": ["Mid/m.h"]}, "Sources/Top/t.h:2"),
            ("beside", {"Top/t.h": [], "Top/In/i.h": ["Top/t.h"]}, "Sources/Top/In/i.h:2"),
            ("does not exist", {"Low/a.h": ["Low/gone.h"]}, "Sources/Low/a.h:2"),
            ('write "Low/b.h"', {"Low/b.h": [], "Low/a.h": ["b.h"]}, "Sources/Low/a.h:2"),
            ("one system's", {"Low/Linux/l.h": [], "Mid/m.h": ["Low/Linux/l.h"]}, "Sources/Mid/m.h:2"),
            ("no room", {"Attic/a.h": []}, "Sources/Attic/a.h"),
            ("in a circle", {"Low/a.h": ["Low/b.h"], "Low/b.h": ["Low/c.h"], "Low/c.h": ["Low/a.h"]},
             "Low/a.h -> Low/b.h -> Low/c.h -> Low/a.h"),
            ("in a circle", {"Low/a.h": ["Low/a.h"]}, "Low/a.h -> Low/a.h"),
        ]
        for text, house, place in faults:
            code, output = self.run_on(house)
            self.assertEqual(code, 1, f"{house}\n{output}")
            self.assertIn(text, output)
            self.assertIn(place, output)
            self.assertIn("1 mistakes", output, f"{house}\n{output}")

    def test_a_table_that_contradicts_itself_is_refused(self):
        for page, text in [
            ("# nothing\n", "no line"),
            ("<!-- rooms -->\n", "empty"),
            (PAGE.replace("| 1 | `Mid` | x | 0 |", "| 1 | `Mid` | x | 0, `Top` |"), "above it"),
            (PAGE.replace("0, `A` |", "0, `Nowhere` |"), "no room"),
        ]:
            code, output = self.run_on({"Low/a.h": []}, page)
            self.assertEqual(code, 1, output)
            self.assertIn(text, output)


if __name__ == "__main__":
    unittest.main()
