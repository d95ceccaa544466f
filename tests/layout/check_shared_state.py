#!/usr/bin/env python3
"""Names the data of a library that its threads share and may write, other than what is known to be safe.

    check_shared_state.py LIBRARY...

Each thread has its own of what is declared thread_local, and constants stay as they are; all else must
be in KNOWN, with what makes it safe.
"""

import re
import subprocess
import sys

# The last part of the name, and what makes it safe. The guards of what is made once go with it.
KNOWN = {
    "scan_float(std::basic_string_view<char, std::char_traits<char> >)::c_locale": "made once",
    "in_use()::use": "made once, atomic",
    "kOutOfMemory": "constant, made when the host is loaded",
    "g_live_arrays": "atomic",
    "g_live_blocks": "atomic",
}
# What compilers and linkers add: addresses of types for handlers, marks, the processor's features.
TOOLS = re.compile(r"DW\.ref\..*|completed\.0|__dso_handle|__TMC_END__|__cpu_model|__cpu_features2|"
                   r"_edata|_end|__bss_start|\.bss|\.data|\.tm_clone_table")
# A symbol of `objdump -t` in a section that a process may write and that its threads share.
SYMBOL = re.compile(r"^[0-9a-f]+ .{7} \.(?:bss|data)\t[0-9a-f]+ +(?:\.hidden )?(\S+)$", re.MULTILINE)
CLONE = re.compile(r"\.lto_priv\.\d+$")


def unknown(symbols):
    """The names of those symbols, as `objdump -t` gives them, that nothing says to be safe."""
    names = [CLONE.sub("", name) for name in SYMBOL.findall(symbols)]
    names = sorted({name for name in names if not TOOLS.fullmatch(name)})
    if not names:
        return []
    plain = subprocess.run(["c++filt"], input="\n".join(names), capture_output=True, text=True,
                           check=True).stdout.splitlines()
    return [name for name in plain if not any(name.endswith("::" + known) for known in KNOWN)]


def check(library):
    symbols = subprocess.run(["objdump", "-t", library], capture_output=True, text=True,
                             check=True).stdout
    if not SYMBOL.search(symbols):
        return [f"{library}: has no symbols to look at"]
    return [f"{library}: threads share {name}" for name in unknown(symbols)]


if __name__ == "__main__":
    found = [line for library in sys.argv[1:] for line in check(library)]
    print("\n".join(found))
    sys.exit(1 if found or len(sys.argv) == 1 else 0)
