"""What programs that link libcmpisfcc refer to: its soname, and each name with its version."""
import re
import subprocess
import sys

INTERFACE = {
    "cmciConnect", "cmciConnect2", "newCMPIObjectPath", "native_new_CMPIObjectPath",
    "native_new_CMPIArgs", "native_new_CMPIArray", "native_new_CMPIDateTime",
    "native_new_CMPIDateTime_fromBinary", "native_new_CMPIDateTime_fromChars",
    "native_new_CMPIInstance", "native_new_CMPIString", "value2Chars",
}
EXPECTED = {f"{name}@@CMPISFCC_2.0" for name in INTERFACE}
EXPECTED |= {f"cimgate_cmpisfcc_set_local_{what}@@CIMGATE_1.0" for what in ("ca", "credentials", "url")}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def main(library):
    symbols = {line.split()[-1] for line in output("nm", "-D", "--defined-only", library).splitlines()
               if line.split()[1] != "A"}
    soname = re.search(r"SONAME.*\[(.*)\]", output("readelf", "-d", library)).group(1)
    problems = [f"missing: {name}" for name in sorted(EXPECTED - symbols)]
    problems += [f"exported, but no part of the interface: {name}" for name in sorted(symbols - EXPECTED)]
    if soname != "libcmpisfcc.so.1":
        problems.append(f"soname: {soname}")
    print("\n".join(problems) or "as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
