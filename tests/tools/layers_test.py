"""Which folders of the program's sources include which: arrows point downwards only."""

import os
import re
import unittest

SOURCES = os.path.join(os.environ["VEKTRACE_SOURCE"], "tools", "vektrace")

# What each folder may include beside itself. "" is what lies beside main.cpp.
BELOW = {
    "": {"program", "plugin", "verbs"},
    "verbs": {"copying", "making", "pcap", "plugin", "program"},
    "pcap": {"copying", "program"},
    "plugin": {"program"},
    "copying": {"program"},
    "making": {"program"},
    "program": set(),
}


class IncludesCase(unittest.TestCase):
    def test_point_downwards_only(self):
        found = 0
        for folder, _, names in os.walk(SOURCES):
            own = os.path.relpath(folder, SOURCES).split(os.sep)[0].replace(".", "")
            for name in (name for name in names if name.endswith((".h", ".cpp"))):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    included = re.findall(r'#include "tools/vektrace/(?:(\w+)/)?\w+\.h"', file.read())
                for other in included:
                    found += 1
                    self.assertIn(other, BELOW[own] | {own}, os.path.join(own, name))
        self.assertGreater(found, 100)
