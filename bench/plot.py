# SPDX-License-Identifier: Apache-2.0
"""Plots the time of the operations against the size of the installation, as an SVG with three
panels: operations that may not grow, that may grow with the copy, and that may grow with all
products. Both axes are logarithmic; the dashed line is linear growth."""

import math
from xml.sax.saxutils import escape

from growth import ALL, COPY, NOTHING

PANELS = ((NOTHING, "works on one product"), (COPY, "works on one, on a copy"),
          (ALL, "works on all products"))
WIDTH, HEIGHT, LABELS, MARGIN, TOP = 230, 420, 190, 55, 40
COLOURS = ("#1f77b4", "#d62728", "#2ca02c", "#9467bd", "#8c564b", "#e377c2", "#7f7f7f", "#17becf")
TEXT_HEIGHT = 13


def text(x, y, content, attributes=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" {attributes}>{escape(content)}</text>\n'


def line(points, attributes):
    path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
    return f'<polyline points="{path}" fill="none" {attributes}/>\n'


def duration(milliseconds):
    return f"{milliseconds / 1000:g} s" if milliseconds >= 1000 else f"{milliseconds:g} ms"


def spread(heights):
    """Moves labels down until none overlap."""
    places, last = [0.0] * len(heights), -math.inf
    for index in sorted(range(len(heights)), key=heights.__getitem__):
        last = places[index] = max(heights[index], last + TEXT_HEIGHT)
    return places


class Axes:
    """The coordinates of sizes and milliseconds in a panel that begins at x = `left`."""

    def __init__(self, sizes, values, left):
        self.sizes, self.left = sizes, left
        self.low = math.log10(sizes[0])
        self.high = math.log10(max(sizes[-1], sizes[0] + 1))
        self.bottom = math.floor(math.log10(min(values)))
        self.top = max(math.ceil(math.log10(max(values))), self.bottom + 1)

    def point(self, size, value):
        x = (math.log10(size) - self.low) / (self.high - self.low)
        y = (math.log10(value) - self.bottom) / (self.top - self.bottom)
        return self.left + WIDTH * x, TOP + HEIGHT * (1 - y)

    def drawn(self, title):
        grey = 'stroke="#ddd"'
        parts = [text(self.left, TOP - 18, title, 'font-weight="bold"')]
        for power in range(self.bottom, self.top + 1):
            ends = [self.point(size, 10**power) for size in (self.sizes[0], self.sizes[-1])]
            parts += [line(ends, grey), text(self.left - 6, ends[0][1] + 4, duration(10**power),
                                             'text-anchor="end"')]
        for size in self.sizes:
            ends = [self.point(size, 10**power) for power in (self.bottom, self.top)]
            parts += [line(ends, grey),
                      text(ends[0][0], ends[0][1] + 16, f"{size:,}", 'text-anchor="middle"')]
        # Linear growth, from the lower left corner.
        reach = min(self.high - self.low, self.top - self.bottom)
        begin = (10**self.low, 10**self.bottom)
        parts.append(line([self.point(*begin), self.point(*(10**reach * end for end in begin))],
                          'stroke="#999" stroke-dasharray="4 4"'))
        return parts


def panel(title, sizes, operations, left):
    axes = Axes(sizes, [value for _, values in operations for value in values], left)
    parts = axes.drawn(title)
    places = spread([axes.point(sizes[-1], values[-1])[1] for _, values in operations])
    for number, ((name, values), y) in enumerate(zip(operations, places)):
        colour = COLOURS[number % len(COLOURS)]
        dash = ' stroke-dasharray="2 2"' if name.endswith("staged") else ""
        parts += [line(map(axes.point, sizes, values),
                       f'stroke="{colour}" stroke-width="1.8"{dash}'),
                  text(left + WIDTH + 8, y + 4, name, f'fill="{colour}"')]
    return parts


def draw(measured, path):
    panels = []
    for grows, title in PANELS:
        operations = [(name, [1000 * cost["wall"] for cost in costs])
                      for name, costs in measured["operations"].items()
                      if costs[0]["grows"] == grows]
        if operations:
            left = MARGIN + len(panels) * (WIDTH + LABELS + MARGIN)
            panels.append(panel(title, measured["sizes"], operations, left))
    width, height = len(panels) * (WIDTH + LABELS + MARGIN), TOP + HEIGHT + 45
    with open(path, "w", encoding="utf-8") as out:
        out.write(f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
                  'font-family="sans-serif" font-size="11">\n'
                  f'<rect width="{width}" height="{height}" fill="white"/>\n')
        for parts in panels:
            out.writelines(parts)
        out.write(text(width / 2, height - 8, "products in the installation",
                       'text-anchor="middle"') + "</svg>\n")
