#!/usr/bin/env python3
"""Checks what libraries export and what they ask of their host.

    check_symbols.py ROOT HOST_LIBRARY GATEWAY_LIBRARY...

- Every library exports the functions of its list in symbols/, by name; beside them at most the types of
  the project's own errors.
- What gateway libraries leave to the host is declared in src/gateway/tx_array.h and tx_registry.h, and
  is all of that but what docs/hosts.md calls unused.
- Each has its name with its version, as the linker sees it.
"""

import pathlib
import re
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
# What the compiler makes of a class that is exported, in whichever library uses it.
TYPES = re.compile(r"(typeinfo|typeinfo name|vtable) for readkit::")
DECLARED = re.compile(r"READKIT_EXPORT\s+[\w:<>*\s]*?\b(\w+)\(")
UNUSED = re.compile(r"^Not used by this version: (.+?)\.$", re.MULTILINE | re.DOTALL)


def names(text):
    """The names of the functions in lines of `nm -C`, sorted."""
    found = set()
    for line in text.splitlines():
        symbol = line.split(maxsplit=1)[1] if line[:1] == " " else line.split(maxsplit=2)[2]
        if not TYPES.match(symbol):
            found.add(re.sub(r"\[abi:\w+\]", "", symbol).split("(")[0].strip())
    return sorted(found)


def declared(headers):
    """The operations that headers declare, without their namespaces."""
    return sorted({name for text in headers for name in DECLARED.findall(text)})


def is_operation(symbol):
    return re.match(r"tx[A-Z]|gw[A-Z]|matrix::", symbol) is not None


def difference(what, found, wanted):
    return [f"{what}: {name} is not expected" for name in sorted(set(found) - set(wanted))] + [
        f"{what}: {name} is missing" for name in sorted(set(wanted) - set(found))]


def symbols(library, which):
    return names(subprocess.run(["nm", "-DC", which, library], capture_output=True, text=True,
                                check=True).stdout)


def check(root, host, gateways):
    root = pathlib.Path(root)
    operations = declared((root / "src/gateway" / header).read_text(encoding="utf-8")
                          for header in ("tx_array.h", "tx_registry.h"))
    unused = UNUSED.search((root / "docs/hosts.md").read_text(encoding="utf-8"))
    used = set(operations) - set(re.findall(r"`(?:matrix::)?(\w+)`", unused.group(1)))
    for library, listed in [(host, "host"), *((gateway, "gateways") for gateway in gateways)]:
        wanted = (HERE / "symbols" / f"{listed}.txt").read_text(encoding="utf-8").split("\n")[:-1]
        yield from difference(library, symbols(library, "--defined-only"), wanted)
        soname = re.search(r"SONAME.*\[(.+)\]", subprocess.run(
            ["readelf", "-d", library], capture_output=True, text=True, check=True).stdout)
        if not soname or not re.fullmatch(r"libreadkit(-\w+)?\.so\.\d+", soname.group(1)):
            yield f"{library}: has no name with a version: {soname}"
    for library in gateways:
        asked = {name.replace("matrix::", "") for name in symbols(library, "--undefined-only")
                 if is_operation(name)}
        yield from difference(f"{library}, of its host", asked, used)


if __name__ == "__main__":
    complaints = list(check(sys.argv[1], sys.argv[2], sys.argv[3:]))
    print("\n".join(complaints))
    sys.exit(1 if complaints or len(sys.argv) < 4 else 0)
