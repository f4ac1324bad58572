"""Charts with a row per family, as SVG that follows the reader's light or dark scheme. What tells the
runs apart is shape and hatching, not colour alone."""
import math
from xml.sax.saxutils import escape

WIDTH, LEFT, RIGHT, TOP, BOTTOM = 860, 210, 60, 84, 40

HEAD = """<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" role="img" aria-label="{title}">
<style>
  .back {{ fill: #ffffff }} .text {{ fill: #1f2328; font: 13px sans-serif }} .title {{ font-weight: bold; font-size: 15px }}
  .grid {{ stroke: #d0d7de; stroke-width: 1 }} .one {{ stroke: #1f2328; stroke-width: 1.5; stroke-dasharray: 5 3 }}
  .first {{ fill: #0550ae; stroke: #0550ae }} .second {{ fill: none; stroke: #9a4600; stroke-width: 1.8 }}
  .bar2 {{ fill: url(#hatch); stroke: #9a4600 }} .hatch {{ stroke: #9a4600; stroke-width: 2 }}
  @media (prefers-color-scheme: dark) {{
    .back {{ fill: #0d1117 }} .text {{ fill: #e6edf3 }} .grid {{ stroke: #30363d }} .one {{ stroke: #e6edf3 }}
    .first {{ fill: #79c0ff; stroke: #79c0ff }} .second {{ stroke: #ffa657 }}
    .bar2 {{ stroke: #ffa657 }} .hatch {{ stroke: #ffa657 }}
  }}
</style>
<defs><pattern id="hatch" width="6" height="6" patternUnits="userSpaceOnUse" patternTransform="rotate(45)"><line class="hatch" x1="0" y1="0" x2="0" y2="6"/></pattern></defs>
<rect class="back" width="{width}" height="{height}"/>
"""


def text(x, y, words, anchor="start", extra=""):
    return f'<text class="text {extra}" x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{escape(words)}</text>\n'


def line(css, x1, y1, x2, y2):
    return f'<line class="{css}" x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}"/>\n'


def rect(css, x, y, width, height):
    return f'<rect class="{css}" x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}"/>\n'


class Chart:
    """Rows of a given height under a title and a legend, with a scale from `low` to `high`."""

    def __init__(self, title, rows, row_height, place, ticks):
        self.height = TOP + rows * row_height + BOTTOM
        self.place, self.row_height = place, row_height
        self.parts = [HEAD.format(width=WIDTH, height=self.height, title=escape(title)),
                      text(16, 26, title, extra="title")]
        for tick in ticks:
            x = self.x(tick)
            self.add(line("grid", x, TOP - 8, x, self.height - BOTTOM))
            self.add(text(x, self.height - BOTTOM + 18, f"{tick:g}", "middle"))

    def x(self, value):
        return LEFT + self.place(value) * (WIDTH - LEFT - RIGHT)

    def y(self, row):
        return TOP + row * self.row_height

    def add(self, part):
        self.parts.append(part)

    def mark_one(self, words):
        x = self.x(1)
        self.add(line("one", x, TOP - 8, x, self.height - BOTTOM))
        self.add(text(x, TOP - 14, "1 = " + words, "middle"))

    def done(self):
        return "".join(self.parts) + "</svg>\n"


def dot(x, y):
    return f'<circle class="first" cx="{x:.1f}" cy="{y:.1f}" r="4"/>\n'


def square(x, y):
    return rect("second", x - 4, y - 4, 8, 8)


def bars_chart(title, names, unit, bars):
    """`bars`: (family, value of the first run, value of the second run)."""
    top = max(1.1, max(max(first, second) for _, first, second in bars)) * 1.04
    chart = Chart(title, len(bars), 38, lambda v: v / top, [0, 0.25, 0.5, 0.75, 1])
    chart.add(rect("first", 16, 38, 22, 11) + text(44, 48, names[0]))
    chart.add(rect("bar2", 186, 38, 22, 11) + text(214, 48, names[1]))
    for row, (family, *values) in enumerate(bars):
        y = chart.y(row)
        chart.add(text(LEFT - 10, y + 20, family, "end"))
        for i, value in enumerate(values):
            chart.add(rect(["first", "bar2"][i], LEFT, y + 2 + 15 * i, chart.x(value) - LEFT, 12))
            chart.add(text(WIDTH - 8, y + 13 + 15 * i, f"{value:.2f}", "end"))
    chart.mark_one(unit)
    return chart.done()


def dots_chart(title, names, unit, rows):
    """`rows`: (family, values of the first run, values of the second run), on a logarithmic scale."""
    values = [v for _, first, second in rows for v in first + second]
    low, high = math.log(min(0.8, min(values)) * 0.95), math.log(max(2, max(values)) * 1.08)
    ticks = [t for t in (0.25, 0.5, 1, 2, 3, 4, 6, 8, 12, 16) if low <= math.log(t) <= high]
    chart = Chart(title, len(rows), 34, lambda v: (math.log(v) - low) / (high - low), ticks)
    chart.add(dot(24, 44) + text(36, 48, names[0]) + square(200, 44) + text(212, 48, names[1]))
    chart.mark_one(unit)
    for row, (family, first, second) in enumerate(rows):
        y = chart.y(row)
        chart.add(text(LEFT - 10, y + 19, family, "end"))
        for lane, list_of_values, mark in ((9, first, dot), (22, second, square)):
            chart.add(line("grid", chart.x(min(list_of_values)), y + lane, chart.x(max(list_of_values)), y + lane))
            chart.add("".join(mark(chart.x(v), y + lane) for v in list_of_values))
    return chart.done()
