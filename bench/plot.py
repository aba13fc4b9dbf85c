#!/usr/bin/env python3
"""Draws performance.json as an SVG: bench/plot.py performance.json >performance.svg"""

import json
import statistics
import sys

WIDTH, BAR, LABEL = 720, 22, 270
COLOURS = {"mfgpd": "#2266aa", "floor": "#9aa5b1", "snmp": "#c27a2c"}
PANELS = [
    ("A datagram, microseconds",
     ["UDP echo", "arena floor", "heartbeat", "get configuration", "naive floor", "SNMPv3 GET"]),
    ("A shell-backed read, microseconds",
     ["popen: read firmware ID", "get firmware ID", "SNMPv3 extend: read firmware ID",
      "popen: clean up and read MAC in one line", "system: clean up, popen: read MAC", "get MAC",
      "SNMPv3 extend: clean up and read MAC"]),
]


def text(x, y, words, anchor="start", size=12):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" font-size="{size}">{words}</text>'


def colour(name):
    if name.startswith("SNMP"):
        return COLOURS["snmp"]
    return COLOURS["mfgpd" if name.startswith(("heartbeat", "get")) else "floor"]


def bars(title, medians, y):
    parts = [text(0, y, title, size=14)]
    longest = max(medians.values())
    for name, value in medians.items():
        y += BAR
        length = value / longest * (WIDTH - LABEL - 70)
        parts += [text(LABEL - 8, y, name, "end"), text(LABEL + length + 6, y, f"{value:,.0f}"),
                  f'<rect x="{LABEL}" y="{y - 12}" width="{length:.1f}" height="14" '
                  f'fill="{colour(name)}"/>']
    return parts, y + 2 * BAR


def curve(title, sizes, y):
    parts = [text(0, y, title, size=14)]
    height, right = 150, WIDTH - 70
    top = max(sizes.values())
    points = [(LABEL + size / max(sizes) * (right - LABEL), y + BAR + height * (1 - us / top), us)
              for size, us in sorted(sizes.items())]
    parts.append('<polyline fill="none" stroke="%s" stroke-width="2" points="%s"/>' % (
        COLOURS["mfgpd"], " ".join(f"{x:.1f},{at:.1f}" for x, at, _ in points)))
    for x, at, us in points:
        parts.append(f'<circle cx="{x:.1f}" cy="{at:.1f}" r="3" fill="{COLOURS["mfgpd"]}"/>')
    parts += [text(LABEL - 8, points[0][1], f"{points[0][2]:,.0f} us", "end"),
              text(right + 6, points[-1][1] + 4, f"{points[-1][2]:,.0f} us"),
              text(LABEL, y + 2 * BAR + height, "0 bytes"),
              text(right, y + 2 * BAR + height, f"{max(sizes):,} bytes", "end")]
    return parts, y + 3 * BAR + height


def draw(result):
    medians = {name: statistics.median(values) for name, values in result["times_us"].items()}
    parts, y = [], 20
    for title, names in PANELS:
        drawn, y = bars(title, {name: medians[name] for name in names if name in medians}, y)
        parts += drawn
    sizes = {int(size): us for size, us in result["sizes_us"].items()}
    drawn, y = curve("A heartbeat by payload", sizes, y)
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="-10 0 {WIDTH + 20} {y}" '
                      'font-family="sans-serif">', '<rect x="-10" width="100%" height="100%" '
                      'fill="white"/>', *parts, *drawn, "</svg>\n"])


def write(result, table, folder):
    """results as JSON, text and SVG"""
    (folder / "performance.json").write_text(json.dumps(result, indent=1) + "\n")
    (folder / "performance.svg").write_text(draw(result))
    page = folder / "performance.md"
    before, after = "<!-- table -->\n", "<!-- end of table -->\n"
    old = page.read_text() if page.exists() else before + after
    page.write_text(old[:old.index(before)] + before + table + old[old.index(after):])


if __name__ == "__main__":
    with open(sys.argv[1]) as file:
        sys.stdout.write(draw(json.load(file)))
