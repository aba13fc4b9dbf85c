"""A worked test of a unit: pytest examples/python. For a real unit, replace the fixture `station` by
Station("--host", "192.168.1.1") with its account."""

import pytest

from mfgp_station import CommandFailed


def test_identity_is_written_and_read_back(station):
    station.value("ensure country", "DE")
    assert station.value("get country") == "DE"
    assert station.value("ensure country", "DE") == "DE"
    assert station.records[-1]["message"] == "already set"


def test_values_keep_their_limits(station):
    station.value("fan recheck")
    assert min(station.value("fan speeds", 3, "--min", 3000, "--max", 4200)) > 3000
    assert station.value("get enable-flags")["wifi"]
    assert station.value("get mac", "--match", "^02-1A-2B-")


def test_a_slow_fan_is_found(unit, station):
    unit.write("fans/speeds", "3 3600 900\n")
    station.value("fan recheck")
    with pytest.raises(CommandFailed, match="--min 3000") as failure:
        station.value("fan speeds", 3, "--min", 3000)
    assert failure.value.record["value"] == [3600, 900]
    end = station.close()
    assert (end["passed"], end["failed"], end["exit"]) == (1, 1, 1)
    assert end["labels"] == {"line": "7"}


def test_a_word_with_a_newline_is_refused(station):
    with pytest.raises(ValueError):
        station.ask("get", "mac\n")


def test_a_text_with_quotes_and_blanks_arrives_whole(station):
    station.value("set oem-id", 'it\'s "one" word')
    assert station.value("get oem-id") == 'it\'s "one" word'
