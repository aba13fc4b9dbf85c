"""Commands to a unit through one mfgp-station process: one command a line, one JSON object back."""

import json
import os
import subprocess

PROGRAM = os.environ.get("MFGP_STATION", "mfgp-station")


class CommandFailed(AssertionError):
    """A command that has not passed. `record` is its JSON object."""

    def __init__(self, record):
        super().__init__("%(command)s: %(outcome)s: %(message)s" % record)
        self.record = record


class Station:
    """A session with one unit. It stays bound to this station until the session ends.

    `options` are options of mfgp-station: Station("--host", "192.168.1.20", "--label", "line=7").
    `end` holds the record of the end once the session is closed: counts and exit code.
    """

    def __init__(self, *options, program=PROGRAM):
        self.records = []
        self.end = None
        self._process = subprocess.Popen(
            [program, *options, "--output", "json", "--yes", "--release", "--keep-going", "run", "-"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.start = self._read("start")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def ask(self, *words):
        """Carries a command out and returns its record, whatever the outcome. A word may contain
        blanks: ask("set", "oem-id", "two words")."""
        if not words or any("\n" in str(word) for word in words):
            raise ValueError("a command is one line")  # or each later record would be the wrong one
        self._process.stdin.write(" ".join(_quoted(str(word)) for word in words) + "\n")
        self._process.stdin.flush()
        record = self._read("result")
        self.records.append(record)
        return record

    def value(self, command, *options):
        """Carries a command out and returns its value. Raises CommandFailed if it does not pass:
        value("get antenna-level", "--min", -70)."""
        record = self.ask(*command.split(), *options)
        if record["outcome"] != "PASS":
            raise CommandFailed(record)
        return record["value"]

    def close(self):
        """Ends the session, releases the unit, and returns the record of the end."""
        if self.end is None:
            self._process.stdin.close()
            self.end = self._read("end")
            self._process.wait()
            self._process.stdout.close()
        return self.end

    def _read(self, kind):
        line = self._process.stdout.readline()
        record = json.loads(line) if line else None
        if record is None or record["record"] != kind:
            message = record["message"] if record else "see its message on standard error"
            raise RuntimeError(f"mfgp-station has ended: {message}")
        return record


def _quoted(word):
    """The word as a recipe takes it: in single quotes every character stands for itself."""
    return "'" + word.replace("'", "'\\''") + "'"
