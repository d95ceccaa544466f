"""Draws the ratios as a bar chart (SVG) that can be read on light and on dark pages."""

from xml.sax.saxutils import escape

BAR, RIGHT, ROW, TOP, BOTTOM = 380, 130, 26, 58, 34
# As much room as a letter needs at most, on average, in any sans-serif font of this size.
LETTER = 7.5

_STYLE = """
  text { font: 13px sans-serif; fill: #1f2328; }
  .small { font-size: 11px; }
  .met { fill: #2f81f7; }
  .missed { fill: #d4862a; }
  .even { stroke: #6e7781; stroke-dasharray: 4 3; }
  .reach { stroke: #1f2328; stroke-width: 2; }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3; }
    .even { stroke: #9198a1; }
    .reach { stroke: #e6edf3; }
  }
"""


def bars(results):
    """(title, peer, ratio, reach, result) of the rows that were measured."""
    found = []
    for row in results["rows"]:
        ratio = row.get("peers", {}).get(row["peer"], {}).get("ratio")
        if ratio is not None:
            found.append((row["title"], row["peer"], ratio, row["reach"], row["result"]))
    return found


def _label(title, peer, *_):
    return f"{title}: {peer}"


def draw(results):
    """The chart's text."""
    shown = bars(results)
    most = max([1.0] + [max(ratio, reach) for _, _, ratio, reach, _ in shown])
    height = TOP + ROW * len(shown) + BOTTOM
    left = 20 + max([len(_label(*row)) for row in shown] + [40]) * LETTER
    scale = BAR / most
    even = left + scale
    width = left + BAR + RIGHT
    base = height - BOTTOM
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height}" '
        f'width="{width:.0f}" height="{height}" role="img" aria-label="Time of readkit by that of '
        f'other tools">\n<style>{_STYLE}</style>\n',
        '<text x="10" y="22">Time of readkit by that of another tool (shorter is faster)</text>\n',
        '<text class="small" x="10" y="40">Dashed line: as fast as the other tool. '
        'Upright line in a row: the ratio to reach; orange where it is missed.</text>\n',
    ]
    for i, row in enumerate(shown):
        _, _, ratio, reach, result = row
        y = TOP + ROW * i
        bar = left + ratio * scale
        goal = left + reach * scale
        parts.append(
            f'<text x="{left - 8}" y="{y + 16}" text-anchor="end">{escape(_label(*row))}</text>\n'
            f'<rect class="{escape(result)}" x="{left}" y="{y + 4}" width="{bar - left:.1f}" '
            f'height="{ROW - 8}"/>\n'
            f'<line class="reach" x1="{goal:.1f}" x2="{goal:.1f}" y1="{y + 2}" '
            f'y2="{y + ROW - 2}"/>\n'
            f'<text class="small" x="{max(bar, goal) + 6:.1f}" y="{y + 16}">{ratio:.2f} '
            f'(to reach: {reach:.2f})</text>\n')
    parts.append(
        f'<line class="even" x1="{even:.1f}" x2="{even:.1f}" y1="{TOP - 4}" y2="{base}"/>\n'
        f'<text class="small" x="{even:.1f}" y="{base + 16}" text-anchor="middle">1</text>\n'
        f'<text class="small" x="{left}" y="{base + 16}" text-anchor="middle">0</text>\n</svg>\n')
    return "".join(parts)
