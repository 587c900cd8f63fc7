#!/usr/bin/python3
"""Holds the built library against what its users on a small flash rely on.

check_elf.py LIBRARY EXPORTS READELF: exits 1 and says what is wrong.
"""
import re
import subprocess
import sys

library, exports, readelf = sys.argv[1:4]

# What the C start files of the compiler put there; nothing of ours may join them.
START_FILE_INIT_ENTRIES = 1
NEEDED = {"libc.so.6", "libm.so.6", "ld-linux-armhf.so.3", "libc.so"}  # the last is musl's
SANITIZERS = re.compile(r"lib(asan|ubsan|tsan)\.so")


def read(*options):
    return subprocess.run([readelf, "-W", *options, library], check=True, capture_output=True, text=True).stdout


dynamic = read("-d")
header = read("-h")
segments = read("-l")
wrong = []


def expect(holds, complaint):
    if not holds:
        wrong.append(complaint)


def exported_names():
    for line in read("--dyn-syms").splitlines():
        fields = line.split()
        if len(fields) == 8 and fields[4] in ("GLOBAL", "WEAK") and fields[6] not in ("UND", "ABS"):
            yield fields[7].split("@")[0]


def entries(array):
    size = re.search(rf"\({array}SZ\)\s+(\d+)", dynamic)
    return int(size.group(1)) // (4 if "ELF32" in header else 8) if size else 0


needed = {name for name in re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic) if not SANITIZERS.match(name)}
wanted = {line.strip() for line in open(exports) if line.strip() and not line.startswith("#")}
found = set(exported_names())

expect(needed <= NEEDED, f"needs {sorted(needed - NEEDED)}")
expect("[libvek_pal.so.1]" in dynamic, "SONAME is not libvek_pal.so.1")
expect(found <= wanted, f"exports besides the interface: {sorted(found - wanted)}")
expect(wanted <= found, f"does not export: {sorted(wanted - found)}")
expect("GNU_RELRO" in segments, "no RELRO segment")
expect(re.search(r"BIND_NOW|FLAGS_1.*NOW", dynamic), "not bound at load time")
expect("(RPATH)" not in dynamic and "(RUNPATH)" not in dynamic, "has an RPATH")
expect("(TEXTREL)" not in dynamic, "has text relocations")
expect(not re.search(r"GNU_STACK.*RWE", segments), "has an executable stack")
expect(entries("INIT_ARRAY") <= START_FILE_INIT_ENTRIES, f"{entries('INIT_ARRAY')} constructors run at load time")

for complaint in wrong:
    print(f"{library}: {complaint}")
sys.exit(1 if wrong else 0)
