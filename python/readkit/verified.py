"""The gateway functions as objects call them: a block whose checksum is wrong, and a record that
would be left out or misread, is an error. Names and arguments are those of `readkit.gateway`.
"""

from __future__ import annotations

from typing import Any

from readkit import gateway


def __getattr__(name: str) -> gateway.GatewayFunction:
    if name.startswith("_"):
        raise AttributeError(name)

    def function(*args: Any, nargout: int | None = None,
                 progress: gateway.Progress | None = None) -> Any:
        return gateway.kxVerified(name, *args, nargout=nargout, progress=progress)

    function.__name__ = function.__qualname__ = name
    # Found by this name from now on, without this function.
    found: gateway.GatewayFunction = globals().setdefault(name, function)
    return found
