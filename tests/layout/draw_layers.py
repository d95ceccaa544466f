#!/usr/bin/env python3
"""Draws which part of the project includes which, as the sources say.

    draw_layers.py ROOT [--check]

Writes docs/images/layers.svg; with --check, complains instead when it is not that picture. Arrows
that others imply are left out, and so are those between bam and sam, whose sources alone use each
other's headers.
"""

import pathlib
import re
import sys

from check_layers import LAYERS
from sources import code_of, includes_of, report, sources

INTERFACE = "gateway/tx_*.h"
PEERS = {frozenset(folders) for folders in LAYERS if len(folders) > 1}
FOLDERS = ["src", "host", "report", "cli", "python"]
WIDTH, ROW, BOX_WIDTH, BOX_HEIGHT, MARGIN = 760, 62, 120, 34, 24
LIBRARY_X, INTERFACE_X, HOST_X = 190, 440, 610  # middles of the columns
BETWEEN = 140                                   # middles of boxes that stand side by side


def part_of(name):
    """The part of the project that a file belongs to, named as includes name it."""
    if re.fullmatch(r"gateway/tx_\w+\.h", name):
        return INTERFACE
    return name.split("/")[0]


def uses(root):
    """{part: parts whose headers its files include}."""
    graph = {}
    for path in sources(root, FOLDERS):
        own = part_of(path.as_posix().removeprefix("src/"))
        graph.setdefault(own, set())
        for _, name, is_system in includes_of(code_of(pathlib.Path(root) / path)):
            used = own if is_system else part_of(name)
            if used != own and frozenset((own, used)) not in PEERS:
                graph[own].add(used)
                graph.setdefault(used, set())
    return graph


def levels(graph):
    """{part: how far it is above what uses nothing}. REQUIRES: no part uses itself, however far."""
    known = {}

    def level(part):
        if part not in known:
            known[part] = max((1 + level(used) for used in graph[part]), default=0)
        return known[part]

    for part in graph:
        level(part)
    return known


def reachable(graph, part):
    found = set()
    for used in graph[part]:
        found |= {used} | reachable(graph, used)
    return found


def reduced(graph):
    """The graph without uses that others imply."""
    return {part: {used for used in found
                   if not any(used in reachable(graph, other) for other in found)}
            for part, found in graph.items()}


def places(level_of):
    """{part: (x, y) of its box's middle}."""
    rows = {}
    for part, level in sorted(level_of.items()):
        column = (INTERFACE_X if part == INTERFACE
                  else LIBRARY_X if any(part in folders for folders in LAYERS) else HOST_X)
        rows.setdefault((level, column), []).append(part)
    top = max(level_of.values())
    return {part: (column + round((index - (len(parts) - 1) / 2) * BETWEEN),
                   MARGIN + 30 + (top - level) * ROW)
            for (level, column), parts in rows.items() for index, part in enumerate(parts)}


def arrow(start, end):
    """A path from one box's lower edge to another's upper one, past the boxes between them."""
    (x, y), (x_end, y_end) = start, end
    y_end -= BOX_HEIGHT // 2 + 1
    if x < INTERFACE_X == x_end:  # leaves the library sideways
        return f"M{x + BOX_WIDTH // 2},{y} H{x_end - 12} Q{x_end},{y} {x_end},{y + 12} V{y_end}"
    y += BOX_HEIGHT // 2
    return f"M{x},{y} V{y_end - ROW + BOX_HEIGHT + 1} L{x_end},{y_end}"


def picture(graph):
    """The picture of a graph, as SVG."""
    level_of = levels(graph)
    place = places(level_of)
    bottom = [part for part in graph if level_of[part] == 0]
    height = max(y for _, y in place.values()) + BOX_HEIGHT // 2 + MARGIN
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" '
        f'height="{height}" font-family="sans-serif" font-size="14" text-anchor="middle">',
        "<title>Which part of readkit includes which</title>",
        '<defs><marker id="head" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" '
        'markerHeight="8" orient="auto"><path d="M0,0 L8,4 L0,8 z" fill="#52606d"/></marker>'
        "</defs>",
        f'<rect width="{WIDTH}" height="{height}" rx="8" fill="#ffffff"/>',
    ]
    for x, label in ((LIBRARY_X, "the library: src/"), (HOST_X, "those who load it")):
        lines.append(f'<text x="{x}" y="{MARGIN - 2}" fill="#52606d" font-size="12">{label}</text>')
    for part, found in sorted(reduced(graph).items()):
        for used in sorted(found):
            end = (place[part][0] if used in bottom else place[used][0], place[used][1])
            lines.append(f'<path d="{arrow(place[part], end)}" fill="none" '
                         'stroke="#52606d" stroke-width="1.4" marker-end="url(#head)"/>')
    for part, (x, y) in sorted(place.items()):
        fill, stroke = (("#fdf3d8", "#b7892b") if part == INTERFACE
                        else ("#e3edfb", "#3a6ea5") if any(part in row for row in LAYERS)
                        else ("#e4f3e6", "#3f8a4c"))
        left, width = x - BOX_WIDTH // 2, BOX_WIDTH
        if part in bottom:  # all stand on it
            left, width = MARGIN, WIDTH - 2 * MARGIN
            x = WIDTH // 2
        lines.append(f'<rect x="{left}" y="{y - BOX_HEIGHT // 2}" width="{width}" '
                     f'height="{BOX_HEIGHT}" rx="5" fill="{fill}" stroke="{stroke}"/>')
        lines.append(f'<text x="{x}" y="{y + 5}" fill="#1f2933">{part}</text>')
    return "\n".join(lines + ["</svg>"]) + "\n"


def main():
    root = pathlib.Path(sys.argv[1])
    path = root / "docs/images/layers.svg"
    drawn = picture(uses(root))
    if "--check" in sys.argv[2:]:
        stands = path.read_text(encoding="utf-8") if path.exists() else ""
        return report([] if stands == drawn else
                      [f"{path}: is not what the sources say; draw_layers.py ROOT draws it anew"])
    path.parent.mkdir(exist_ok=True)
    path.write_text(drawn, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
