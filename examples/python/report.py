#!/usr/bin/env python3
"""Makes one HTML page of the records of mfgp-station: report.py RECORDS... [-o PAGE]

RECORDS are files that `mfgp-station -o json --output-file FILE run ...` has written. The page shows
the yield by station and day, the failures by count, and each measured value with its limits. Needs
matplotlib and jinja2 (Debian: python3-matplotlib, python3-jinja2)."""

import argparse
import collections
import html
import io
import json
import statistics
import sys
import textwrap

import jinja2
import markupsafe
import matplotlib

matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402 (after the choice of the back end)

PASS, FAIL, EDGE = "#2e7d5b", "#c0392b", "#555555"
PAGE = jinja2.Template("""<!DOCTYPE html>
<html lang="en"><meta charset="utf-8"><title>Production report</title>
<style>
body { font: 15px/1.5 sans-serif; color: #222; max-width: 60em; margin: 2em auto; padding: 0 1em }
table { border-collapse: collapse } td, th { padding: .2em 1em .2em 0; text-align: left;
vertical-align: top } th { border-bottom: 1px solid #999 } td.n { text-align: right }
details { max-width: 34em } summary { cursor: pointer;
white-space: nowrap } svg { max-width: 100%; height: auto }
.big { font-size: 1.4em }
</style>
<h1>Production report</h1>
<p class="big">{{ total.passed }} of {{ total.units }} units passed
({{ "%.1f" % total.percent }} %), {{ total.batches }} test runs from {{ total.first }} to
{{ total.last }}.</p>
{% macro units(names) %}<details><summary>{{ names|length }} unit{{ "s" if names|length != 1 }}</summary>
{{ names|join(", ") }}</details>{% endmacro %}
<h2>Yield by station and day</h2>
{{ yield_chart }}
<table><tr><th>Day<th>Station<th>Units<th>Passed<th>Yield<th>Not passed</tr>
{% for row in yields %}<tr><td>{{ row.day }}<td>{{ row.station }}<td class="n">{{ row.units|length }}
<td class="n">{{ row.passed }}<td class="n">{{ "%.1f" % row.percent }} %
<td>{{ units(row.bad) if row.bad }}</tr>
{% endfor %}</table>
<h2>Failures</h2>
{% if failures %}{{ failure_chart }}
<table><tr><th>Units<th>Command<th>Outcome<th>First message<th>Which</tr>
{% for row in failures %}<tr><td class="n">{{ row.units|length }}<td>{{ row.name }}
<td>{{ row.outcome }}<td>{{ row.message }}<td>{{ units(row.units) }}</tr>
{% endfor %}</table>{% else %}<p>None.</p>{% endif %}
<h2>Measured values</h2>
<p>Dashed lines are the limits. Rest the pointer on a bar to see its units.</p>
{% for value in values %}<h3>{{ value.name }}</h3>
{{ value.chart }}
<p>{{ value.count }} values of {{ value.units }} units, {{ "%g" % value.least }} to
{{ "%g" % value.most }}{{ " " + value.measure if value.measure }}, median {{ "%g" % value.median }}.</p>
{% if value.outside %}<p>Outside the limits:</p>{{ units(value.outside) }}{% endif %}
{% endfor %}</html>
""", autoescape=True)


class Run:
    """One test run of one unit: the records from start to end."""

    def __init__(self, start):
        self.start, self.results, self.exit = start, [], None

    def unit(self):
        """The label `serial`, the device ID or MAC address that was read, else the address."""
        read = {r["command"]: r["value"] for r in self.results if r["value"]}
        return (self.start["labels"].get("serial") or read.get("get device-id")
                or read.get("get mac") or self.start["unit"])


def read_runs(names):
    """The runs of all files. The records of several units may be mixed in one file."""
    runs = []
    for name in names:
        current = {}
        with open(name, encoding="ascii") as file:
            for number, line in enumerate(file, 1):
                try:
                    record = json.loads(line)
                except ValueError:  # the station lost power while it wrote
                    print(f"{name}: line {number} is not a record, left out", file=sys.stderr)
                    continue
                key = record["station"], record["unit"]
                if record["record"] == "start":
                    current[key] = Run(record)
                    runs.append(current[key])
                elif record["record"] == "result" and key in current:
                    current[key].results.append(record)
                elif key in current:
                    current[key].exit = record["exit"]
    return runs


def chart(draw, height):
    """An SVG. `draw` returns bars with the units of each one, which become its tooltip."""
    figure, axes = pyplot.subplots(figsize=(8, height))
    bars = draw(axes)
    for number, (bar, _) in enumerate(bars):
        bar.set_gid(f"bar{number}")
    axes.spines[["top", "right"]].set_visible(False)
    figure.tight_layout()
    text = io.StringIO()
    figure.savefig(text, format="svg")
    pyplot.close(figure)
    svg = text.getvalue()
    svg = svg[svg.index("<svg"):]
    for number, (_, units) in enumerate(bars):
        title = html.escape(f"{len(units)}: " + ", ".join(units))
        svg = svg.replace(f'<g id="bar{number}">', f'<g id="bar{number}"><title>{title}</title>')
    return markupsafe.Markup(svg)


def yields_of(runs):
    """Rows of day and station. Of a unit that was tested again, the last run of the day counts."""
    last = {(r.start["start"][:10], r.start["station"], r.unit()): r.exit == 0 for r in runs}
    rows = collections.defaultdict(dict)
    for (day, station, unit), passed in last.items():
        rows[day, station][unit] = passed
    return [{"day": day, "station": station, "units": sorted(units), "passed": sum(units.values()),
             "percent": 100 * sum(units.values()) / len(units),
             "bad": sorted(unit for unit, passed in units.items() if not passed)}
            for (day, station), units in sorted(rows.items())]


def draw_yields(rows):
    def draw(axes):
        names = [f"{row['station']}\n{row['day']}" for row in rows]
        bars = axes.bar(names, [row["percent"] for row in rows], color=PASS, width=0.6)
        axes.set(ylim=(0, 105), ylabel="units passed (%)")
        axes.bar_label(bars, [f"{row['passed']}/{len(row['units'])}" for row in rows])
        return list(zip(bars, [row["units"] for row in rows]))
    return draw


def name_of(record):
    """Command and arguments, without the limits."""
    limits = ("--min", "--max", "--expect", "--match", "--until", "--for")
    return " ".join([record["command"]]
                    + [word for word in record["arguments"] if not word.startswith(limits)])


def failures_of(runs):
    rows = {}
    for run in runs:
        for record in run.results:
            if record["outcome"] not in ("PASS", "SKIPPED", "DRYRUN"):
                key = name_of(record), record["outcome"]
                row = rows.setdefault(key, {"name": key[0], "outcome": key[1], "units": set(),
                                            "message": record["message"]})
                row["units"].add(run.unit())
    rows = sorted(rows.values(), key=lambda row: (-len(row["units"]), row["name"]))
    return [row | {"units": sorted(row["units"])} for row in rows]


def draw_failures(rows):
    def draw(axes):
        names = [textwrap.shorten(row["name"], 30, placeholder=" ...") + f"\n{row['outcome']}"
                 for row in rows]
        bars = axes.barh(names, [len(row["units"]) for row in rows], color=FAIL, height=0.6)
        axes.invert_yaxis()
        axes.bar_label(bars, padding=3)
        axes.set_xlabel("units")
        return list(zip(bars, [row["units"] for row in rows]))
    return draw


def values_of(runs):
    """The numbers of each command, with unit, limits and unit of measure."""
    values = collections.defaultdict(lambda: {"points": [], "limits": {}, "measure": ""})
    for run in runs:
        for record in run.results:
            numbers = record["value"] if isinstance(record["value"], list) else [record["value"]]
            row = values[name_of(record)]
            row["measure"] = record["measure"] or row["measure"]
            row["limits"] |= record["limits"] or {}
            row["points"] += [(number, run.unit()) for number in numbers
                              if isinstance(number, (int, float)) and not isinstance(number, bool)]
    return {name: row for name, row in sorted(values.items()) if row["points"]}


def distribution(name, row):
    numbers = sorted(number for number, _ in row["points"])
    limits = [row["limits"][side] for side in ("min", "max")
              if isinstance(row["limits"].get(side), (int, float))]

    def draw(axes):
        heights, edges, bars = axes.hist(numbers, bins=min(30, max(8, len(set(numbers)))),
                                         color=PASS, edgecolor="white")
        for limit in limits:
            axes.axvline(limit, color=EDGE, linestyle="--")
        axes.set(xlabel=row["measure"] or "value", ylabel="values")
        of_bar = [[] for _ in bars]
        for number, unit in sorted(row["points"], key=lambda point: point[1]):
            place = max(sum(edge <= number for edge in edges) - 1, 0)
            of_bar[min(place, len(of_bar) - 1)].append(unit)
        for bar in bars:
            middle = bar.get_x() + bar.get_width() / 2
            if is_outside(middle, row["limits"]):
                bar.set_color(FAIL)
        return list(zip(bars, of_bar))
    return {"name": name, "chart": chart(draw, 2.6), "measure": row["measure"],
            "count": len(numbers), "units": len({unit for _, unit in row["points"]}),
            "least": numbers[0], "most": numbers[-1], "median": statistics.median(numbers),
            "outside": sorted({unit for number, unit in row["points"]
                               if is_outside(number, row["limits"])})}


def is_outside(number, limits):
    return number < limits.get("min", number) or number > limits.get("max", number)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("records", nargs="+")
    parser.add_argument("-o", "--output", default="report.html", help="the page (report.html)")
    arguments = parser.parse_args()
    runs = read_runs(arguments.records)
    if not runs:
        parser.error("no test run in these files; write them with -o json")
    yields, failures = yields_of(runs), failures_of(runs)
    units = {run.unit(): run.exit == 0 for run in runs}
    days = sorted(run.start["start"][:10] for run in runs)
    page = PAGE.render(
        total={"units": len(units), "passed": sum(units.values()), "batches": len(runs),
               "percent": 100 * sum(units.values()) / len(units), "first": days[0],
               "last": days[-1]},
        yields=yields, yield_chart=chart(draw_yields(yields), 3),
        failures=failures,
        failure_chart=failures and chart(draw_failures(failures), 1 + 0.5 * len(failures)),
        values=[distribution(name, row) for name, row in values_of(runs).items()])
    with open(arguments.output, "w", encoding="utf-8") as file:
        file.write(page)


if __name__ == "__main__":
    main()
