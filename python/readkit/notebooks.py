"""What objects look like in notebooks."""

from __future__ import annotations

import html
from typing import Iterable, Sequence

_LEFT, _RIGHT = "text-align:left", "text-align:right"


def facts_html(title: str, facts: Iterable[tuple[str, str]]) -> str:
    """A title, and a row for each name and its value."""
    rows = "".join(f'<tr><th style="{_LEFT}">{html.escape(name)}</th>'
                   f'<td style="{_LEFT}">{html.escape(value)}</td></tr>' for name, value in facts)
    return f"<p><b>{html.escape(title)}</b></p><table><tbody>{rows}</tbody></table>"


def rows_html(titles: Sequence[str], rows: Iterable[Sequence[str]]) -> str:
    """A table with titles, whose first column is names and the others numbers."""
    head = "".join(f'<th style="{_LEFT if i == 0 else _RIGHT}">{html.escape(title)}</th>'
                   for i, title in enumerate(titles))
    body = "".join("<tr>" + "".join(
        f'<td style="{_LEFT if i == 0 else _RIGHT}">{html.escape(value)}</td>'
        for i, value in enumerate(row)) + "</tr>" for row in rows)
    return f"<table><thead><tr>{head}</tr></thead><tbody>{body}</tbody></table>"


def bytes_text(count: int) -> str:
    """1234567 as 1.2 MB."""
    size = float(count)
    for unit in ("bytes", "kB", "MB", "GB"):
        if size < 1000:
            return f"{count} bytes" if unit == "bytes" else f"{size:.1f} {unit}"
        size /= 1000
    return f"{size:,.1f} TB"


__all__ = ["bytes_text", "facts_html", "rows_html"]
