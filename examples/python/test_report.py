"""The report shows yield, failures and limits of records."""

import json
import pathlib
import subprocess
import sys

import pytest

pytest.importorskip("matplotlib")
pytest.importorskip("jinja2")


def record(kind, unit, **more):
    return {"record": kind, "station": "bench-A", "unit": unit, "labels": {"serial": unit},
            "start": "2026-03-01T10:00:00.000Z"} | more


def result(unit, value, outcome, message=None):
    return record("result", unit, command="get antenna-level", arguments=["--min=-75"], value=value,
                  measure="dBm", limits={"min": -75}, outcome=outcome, message=message)


def test_report_counts_units_and_names_those_that_failed(tmp_path):
    lines = [record("start", "A1"), record("start", "A2"),  # at the same time
             result("A1", -60, "PASS"), result("A2", -80, "FAIL", "below"),
             record("end", "A2", exit=1), record("end", "A1", exit=0)]
    (tmp_path / "records").write_text("".join(json.dumps(line) + "\n" for line in lines))
    page = tmp_path / "page.html"
    script = pathlib.Path(__file__).with_name("report.py")
    subprocess.run([sys.executable, script, tmp_path / "records", "-o", page], check=True)
    text = page.read_text()
    assert "1 of 2 units passed\n(50.0 %)" in text
    assert "2 values of 2 units, -80 to\n-60 dBm, median -70." in text
    failed = text[text.index("<h2>Failures"):text.index("<h2>Measured")]
    assert "A2" in failed and "A1" not in failed
    assert "<title>1: A2</title>" in text[text.index("<h2>Measured"):]
