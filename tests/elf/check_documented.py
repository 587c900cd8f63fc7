#!/usr/bin/python3
"""Every exported name is declared in a public header, with its documentation right above.

check_documented.py INCLUDE EXPORTS: exits 1 and names what is missing.
"""
import pathlib
import re
import sys

include, exports = sys.argv[1:3]
headers = "\n".join(path.read_text() for path in sorted(pathlib.Path(include).rglob("*.h")))
wanted = [line.strip() for line in open(exports) if line.strip() and not line.startswith("#")]

wrong = []
for name in wanted:
    if not re.search(rf"VEK_PAL_API[^;]*\b{name}\b", headers):
        wrong.append(f"{name}: not declared")
    elif not re.search(rf"\*/\s*(extern )?VEK_PAL_API[^;]*\b{name}\b", headers):
        wrong.append(f"{name}: no documentation above its declaration")

print("\n".join(wrong))
sys.exit(1 if wrong else 0)
