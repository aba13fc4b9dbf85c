"""Fixtures: a simulated unit, and a station that talks to it."""

import os
import pathlib
import signal
import subprocess

import pytest

from mfgp_station import Station

ROOT = pathlib.Path(__file__).resolve().parents[2]
STATION = os.environ.get("MFGP_STATION", str(ROOT / "build/release/mfgp-station"))
SIMULATOR = os.environ.get("MFGP_SIM", str(ROOT / "simunit/mfgp-sim"))


class SimulatedUnit:
    """A unit in a folder. Write into the folder to change the unit."""

    def __init__(self, folder):
        self.folder = folder
        self._process = subprocess.Popen([SIMULATOR, "up", "--state", folder, "--net", "own"],
                                         stdout=subprocess.PIPE, text=True)
        if "ready" not in self._process.stdout.readline():
            pytest.skip("no simulated unit on this machine")

    def write(self, name, text):
        """Writes a file of the unit: write("fans/speeds", "3 3600 900")."""
        (self.folder / name).write_text(text)

    def program(self):
        """Returns a program that runs mfgp-station in the unit's network."""
        script = self.folder / "station"
        script.write_text(f'#!/bin/sh\nexec {SIMULATOR} exec --state {self.folder} -- '
                          f'{STATION} --host 127.0.0.1 "$@"\n')
        script.chmod(0o755)
        return str(script)

    def stop(self):
        self._process.send_signal(signal.SIGTERM)
        self._process.wait()


@pytest.fixture
def unit(tmp_path):
    """A simulated unit that is on the production line."""
    simulated = SimulatedUnit(tmp_path / "unit")
    yield simulated
    simulated.stop()


@pytest.fixture
def station(unit):
    """A session with the simulated unit."""
    with Station("--label", "line=7", program=unit.program()) as session:
        yield session
