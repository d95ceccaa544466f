"""Draws the ratios as a bar chart (SVG) that can be read on light and on dark pages."""

import math
from xml.sax.saxutils import escape

BAR, RIGHT, ROW, TOP, BOTTOM = 420, 140, 26, 84, 34
# As much room as a letter needs at most, on average, in any sans-serif font of this size.
LETTER = 7.5
# Bars that would be longer are cut here, so that a single one does not make the others unreadable.
LONGEST = 2.0
TICK = 0.5

_STYLE = """
  text { font: 13px sans-serif; fill: #1f2328; }
  .small { font-size: 11px; }
  .met { fill: #2f81f7; }
  .missed { fill: #d4862a; }
  .tick { stroke: #d0d7de; }
  .even { stroke: #cf222e; stroke-width: 1.5; }
  .reach { stroke: #1f2328; stroke-width: 3; }
  .cut { fill: #ffffff; }
  @media (prefers-color-scheme: dark) {
    text { fill: #e6edf3; }
    .tick { stroke: #30363d; }
    .even { stroke: #ff7b72; }
    .reach { stroke: #e6edf3; }
    .cut { fill: #0d1117; }
  }
"""


def bars(results):
    """(title, peer, ratio, reach, result) of the rows that were measured."""
    found = []
    for row in results["rows"]:
        ratio = row.get("peers", {}).get(row["peer"], {}).get("ratio")
        if ratio is not None and row["reach"] is not None:
            found.append((row["title"], row["peer"], ratio, row["reach"], row["result"]))
    return found


def axis(shown):
    """Where the axis ends: at a tick, so that all goals and most bars fit."""
    most = max([1.25] + [min(max(ratio, reach), LONGEST) for _, _, ratio, reach, _ in shown])
    return TICK * math.ceil(most / TICK)


def _label(title, peer, *_):
    return f"{title} : {peer}"


def draw(results):
    """The chart's text."""
    shown = bars(results)
    most = axis(shown)
    left = 20 + max([len(_label(*row)) for row in shown] + [40]) * LETTER
    width, height = left + BAR + RIGHT, TOP + ROW * len(shown) + BOTTOM
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:.0f} {height}" '
        f'width="{width:.0f}" height="{height}" role="img" aria-label="Time of readkit by that of '
        f'other tools">\n<style>{_STYLE}</style>\n',
        '<text x="10" y="22">Time of readkit by that of another tool (shorter is faster)</text>\n',
        '<text class="small" x="10" y="42">Red line: as fast as the other tool. Short thick line: '
        'the ratio to reach; orange where it is missed.</text>\n',
        *_ticks(most, left, height - BOTTOM)]
    for i, row in enumerate(shown):
        parts += _bar(row, TOP + ROW * i, left, BAR / most, most)
    # Above the bars.
    even = left + BAR / most
    parts.append(f'<line class="even" x1="{even:.1f}" x2="{even:.1f}" y1="{TOP - 6}" '
                 f'y2="{height - BOTTOM}"/>\n</svg>\n')
    return "".join(parts)


def _ticks(most, left, base):
    """The axis and the heads of the columns of numbers."""
    yield (f'<text class="small" x="{left + BAR + 55}" y="{TOP - 10}" text-anchor="end">ratio'
           f'</text>\n<text class="small" x="{left + BAR + 118}" y="{TOP - 10}" '
           'text-anchor="end">to reach</text>\n')
    for number in range(round(most / TICK) + 1):
        x = left + number * TICK * BAR / most
        yield f'<line class="tick" x1="{x:.1f}" x2="{x:.1f}" y1="{TOP - 6}" y2="{base}"/>\n'
        for y in (TOP - 10, base + 16):
            yield (f'<text class="small" x="{x:.1f}" y="{y}" text-anchor="middle">'
                   f'{number * TICK:.1f}</text>\n')


def _bar(row, y, left, scale, most):
    """A row: its label, its bar, its goal, its numbers."""
    _, _, ratio, reach, result = row
    end, goal = left + min(ratio, most) * scale, left + reach * scale
    yield (f'<text x="{left - 8}" y="{y + 16}" text-anchor="end">{escape(_label(*row))}</text>\n'
           f'<rect class="{escape(result)}" x="{left}" y="{y + 4}" width="{end - left:.1f}" '
           f'height="{ROW - 8}"/>\n')
    if ratio > most:
        yield (f'<path class="cut" d="M{end - 18:.1f} {y + ROW - 2} l6 {-ROW + 4} h5 '
               f'l-6 {ROW - 4} z"/>\n')
    yield (f'<line class="reach" x1="{goal:.1f}" x2="{goal:.1f}" y1="{y + 1}" y2="{y + ROW - 1}"/>'
           f'\n<text x="{left + BAR + 55}" y="{y + 16}" text-anchor="end">{ratio:.2f}</text>\n'
           f'<text class="small" x="{left + BAR + 118}" y="{y + 16}" text-anchor="end">{reach:.2f}'
           '</text>\n')
