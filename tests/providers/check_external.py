"""Holds a library built with external providers against what that promises.

check_external.py BUILD PLATFORM READELF: BUILD has the library, PLATFORM the platform's libraries.
"""
import os
import pathlib
import re
import subprocess
import sys

build, platform, readelf = sys.argv[1:4]
library = os.path.join(build, "libvek_pal.so.1")

dynamic = subprocess.run([readelf, "-W", "-d", library], check=True, capture_output=True, text=True).stdout
needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
missing = {"libdiag.so", "libqmi_cci.so", "libqmi_services.so"} - needed
assert not missing, f"not linked by name: {missing}"

ours = [path.name for path in pathlib.Path(build).rglob("*.o") if "providers" in path.relative_to(build).parts]
assert not ours, f"compiled in the platform's place: {ours}"

program = f"""
import ctypes
library = ctypes.CDLL({library!r})
imei = ctypes.create_string_buffer(16)
assert library.vek_pal_get_imei(imei) == 0
print(imei.value.decode(), flush=True)
assert library.vek_pal_get_imei(None) == 7
assert library.vek_pal_qmi_pdc_event_register() == 0, "without recovery callbacks"
"""
run = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                     env={**os.environ, "LD_LIBRARY_PATH": platform})
assert run.returncode == 0, run.stderr
assert "359072061234567" in run.stdout, run.stdout
assert re.search("platform diag: .*get imei failed for param", run.stdout), run.stdout
