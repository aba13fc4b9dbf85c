#!/usr/bin/env python3
"""Measures the daemon beside what it is compared with; started by scripts/bench."""

import argparse
import contextlib
import json
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess

import counts
import unit

HEARTBEAT = (4, 0, 64)  # type, sub-type, payload bytes
LARGE = (4, 0, 44960)
CONFIGURATION = (2, 0, 0)
GET_MAC, GET_FIRMWARE = (3, 55, 0), (3, 56, 0)
READ = 'echo $(fwinfo %s) | tr -d "\\n"'
CLEAN_UP = "rm /tmp/fwinfo-* > /dev/null 2>&1"
LINES = {"mac": CLEAN_UP + "; " + READ % "MAC", "firmware": READ % "FW_ID"}
EXTEND = ".1.3.6.1.4.1.8072.1.3.2.3.1.1."
OTHER_VERSION = bytes([1]) * 28
SNMP_DISCOVERY = bytes.fromhex("3038020103300e020101020300ffe30401040201030410300e04000201000201000400"
                               "040004003011" "04000400a00b0201010201000201003000")


def snmp_index(name):
    return EXTEND + ".".join([str(len(name)), *(str(ord(c)) for c in name)])


def time_rows(root, servers, many, some):
    """name: (command that prints nanoseconds, requests of a round)."""
    def client(server, count, request):
        return [unit.BUILD / "bench-client", servers[server].port, count, *request]

    def popen(*lines):
        return unit.in_root(root, "/usr/sbin/bench-floor", "popen", some, *lines)

    rows = {
        "UDP echo": client("echo", 2 * many, HEARTBEAT),
        "arena floor": client("arena", many, HEARTBEAT),
        "heartbeat": client("mfgpd", many, HEARTBEAT),
        "get configuration": client("mfgpd", many, CONFIGURATION),
        "naive floor": client("naive", many, HEARTBEAT),
        "arena floor, 44,960 bytes": client("arena", some, LARGE),
        "heartbeat, 44,960 bytes": client("mfgpd", some, LARGE),
        "popen: read firmware ID": popen(LINES["firmware"]),
        "get firmware ID": client("mfgpd", some, GET_FIRMWARE),
        "popen: clean up and read MAC in one line": popen(LINES["mac"]),
        "system: clean up, popen: read MAC": popen(READ % "MAC", CLEAN_UP),
        "get MAC": client("mfgpd", some, GET_MAC),
    }
    if "snmpd" in servers:
        def snmp(count, name):
            return [unit.BUILD / "bench-snmp", f"127.0.0.1:{unit.SNMP_PORT}", count, name]
        rows["SNMPv3 GET"] = snmp(many, ".1.3.6.1.2.1.1.5.0")
        rows["SNMPv3 extend: read firmware ID"] = snmp(some, snmp_index("firmware"))
        rows["SNMPv3 extend: clean up and read MAC"] = snmp(some, snmp_index("mac"))
    return rows


def measure_times(root, servers, rounds, quick):
    rows = time_rows(root, servers, *((100, 4) if quick else (1000, 20)))
    times = {name: [] for name in rows}
    for _ in range(rounds):
        for name, command in rows.items():
            times[name].append(int(unit.run(*command, env=unit.PATH)) / 1000)
    return times


def measure_life(server, total):
    """Memory and time at the first 1,000 requests and at the last."""
    first = counts.ask(server, HEARTBEAT, 1000) / 1000
    early = server.resident()
    counts.ask(server, HEARTBEAT, total - 2000)
    last = counts.ask(server, HEARTBEAT, 1000) / 1000
    return {"requests": total, "resident_kb_at_1000": early, "resident_kb": server.resident(),
            "first_us": first, "last_us": last}


def measure_running(root, options):
    result = {}
    with contextlib.ExitStack() as stack:
        servers = {form: unit.floor(root, form) for form in ("echo", "naive", "arena")}
        servers["mfgpd"] = unit.daemon(root)
        if unit.SNMPD and (unit.BUILD / "bench-snmp").exists():
            servers["snmpd"] = unit.snmpd(root)
        for server in servers.values():
            stack.enter_context(server).wait()
        result["life"] = measure_life(servers["mfgpd"], 4000 if options.quick else 10000)
        result["times_us"] = measure_times(root, servers, options.rounds, options.quick)
        if "snmpd" in servers:
            unit.run(*time_rows(root, servers, result["life"]["requests"], 1)["SNMPv3 GET"])
            result["snmpd_resident_kb"] = servers["snmpd"].resident()
    starts = [unit.daemon(root).first_answer(OTHER_VERSION) for _ in range(options.rounds)]
    result["start_ms"] = {"mfgpd": statistics.median(starts)}
    if "snmpd_resident_kb" in result:
        starts = [unit.snmpd(root).first_answer(SNMP_DISCOVERY) for _ in range(options.rounds)]
        result["start_ms"]["snmpd"] = statistics.median(starts)
    return result


def measure_counts(root):
    own, total = counts.system_calls(root, unit.daemon, HEARTBEAT)
    _, floor = counts.system_calls(root, lambda *a, **o: unit.floor(a[0], "naive", **o), HEARTBEAT)
    result = {"system_calls_own": own, "system_calls": total, "system_calls_floor": floor,
              "processes_get_mac": counts.processes(root, unit.daemon, GET_MAC),
              "processes_get_mac_line": counts.processes_of_line(root, LINES["mac"]),
              "processes_get_firmware": counts.processes(root, unit.daemon, GET_FIRMWARE),
              "processes_get_firmware_line": counts.processes_of_line(root, LINES["firmware"])}
    for name, make in (("mfgpd", unit.daemon),
                       ("naive", lambda r, **o: unit.floor(r, "naive", **o)),
                       ("arena", lambda r, **o: unit.floor(r, "arena", **o))):
        result[f"instructions_{name}"] = counts.instructions(root, counts.under_callgrind(make),
                                                             HEARTBEAT)
    return result


def ratios(result):
    """name: (value, aim, whether it is a count and so holds on any machine)."""
    median = {name: statistics.median(values) for name, values in result["times_us"].items()}
    count, life = result["counts"], result["life"]

    def of(name, other):
        return median[name] / median[other]

    rows = {
        "own system calls per heartbeat": (count["system_calls_own"], 14, True),
        "user instructions per heartbeat, of the naive floor's":
            (count["instructions_mfgpd"] / count["instructions_naive"], 0.75, True),
        "processes of get MAC beyond its line's":
            (count["processes_get_mac"] - count["processes_get_mac_line"], 0, True),
        "processes of get firmware ID beyond its line's":
            (count["processes_get_firmware"] - count["processes_get_firmware_line"], 0, True),
        f"memory growth from request 1,000 to {life['requests']:,}, KB":
            (life["resident_kb"] - life["resident_kb_at_1000"], 0, True),
        "resident memory at the end, MB": (life["resident_kb"] * 1.024 / 1000, 2.5, False),
        "heartbeat, of the arena floor": (of("heartbeat", "arena floor"), 1.15, False),
        "heartbeat of 44,960 bytes, of the arena floor":
            (of("heartbeat, 44,960 bytes", "arena floor, 44,960 bytes"), 1.10, False),
        "get firmware ID, of its line alone":
            (of("get firmware ID", "popen: read firmware ID"), 1.05, False),
        "get MAC, of its two lines alone":
            (of("get MAC", "system: clean up, popen: read MAC"), 1.05, False),
        "get MAC, of both in one line":
            (of("get MAC", "popen: clean up and read MAC in one line"), None, False),
        "last 1,000 heartbeats, of the first 1,000": (life["last_us"] / life["first_us"], None, False),
    }
    if "snmpd_resident_kb" in result:
        rows |= {
            "heartbeat, of an SNMPv3 GET": (of("heartbeat", "SNMPv3 GET"), 1, False),
            "get MAC, of snmpd's extend":
                (of("get MAC", "SNMPv3 extend: clean up and read MAC"), 0.80, False),
            "get firmware ID, of snmpd's extend":
                (of("get firmware ID", "SNMPv3 extend: read firmware ID"), 0.80, False),
            "resident memory, of snmpd's":
                (life["resident_kb"] / result["snmpd_resident_kb"], 0.22, False),
            "start to first answer, of snmpd's":
                (result["start_ms"]["mfgpd"] / result["start_ms"]["snmpd"], 0.10, False),
        }
    return {name: {"value": value, "aim": aim, "count": is_count}
            for name, (value, aim, is_count) in rows.items()}


def table(result):
    lines = ["| median | us |", "| --- | ---: |"]
    lines += [f"| {name} | {statistics.median(values):,.1f} |"
              for name, values in result["times_us"].items()]
    lines += ["", "| ratio or count | measured | at most |", "| --- | ---: | ---: |"]
    for name, row in result["ratios"].items():
        aim = "" if row["aim"] is None else f"{row['aim']:g}"
        lines.append(f"| {name} | {row['value']:.3g} | {aim} |")
    count, life = result["counts"], result["life"]
    lines += ["", f"Of a heartbeat: {count['system_calls']:g} system calls in all, "
              f"{count['system_calls_floor']:g} of the naive floor; "
              f"{count['instructions_mfgpd']:,.0f} instructions, "
              f"{count['instructions_arena']:,.0f} of the arena floor, "
              f"{count['instructions_naive']:,.0f} of the naive one. "
              f"Resident after {life['requests']:,} requests: {life['resident_kb']:,} KB."]
    where = result["machine"]
    lines += ["", f"{result['rounds']} rounds on {where['cores']} cores of {where['processor']}, "
              f"Linux {where['kernel']}, load at the start {where['load']:.1f}."]
    return "\n".join(lines) + "\n"


def publish(text):
    page = unit.HERE / "docs/performance.md"
    before, after = "<!-- table -->\n", "<!-- end of table -->\n"
    old = page.read_text()
    page.write_text(old[:old.index(before)] + before + text + old[old.index(after):])


def machine():
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return {"processor": model.group(1) if model else platform.machine(), "cores": os.cpu_count(),
            "kernel": ".".join(platform.release().split(".")[:2]), "load": os.getloadavg()[0]}


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench", description=__doc__)
    parser.add_argument("--quick", action="store_true",
                        help="one short round; fails when a count is above its aim")
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--publish", action="store_true", help="put the table into docs/performance.md")
    options = parser.parse_args()
    if options.quick:
        options.rounds = 1
    result = {"machine": machine(), "rounds": options.rounds}
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})
    unit.run("busybox", "ip", "link", "set", "lo", "up")
    root = unit.lay_root(LINES)
    try:
        result |= measure_running(root, options)
        result["counts"] = measure_counts(root)
    finally:
        for mounted in ("proc", "dev/null"):
            subprocess.run(["umount", root / mounted], check=False)
        shutil.rmtree(root)
    result["ratios"] = ratios(result)
    text = table(result)
    print(text)
    (unit.HERE / "build/performance.json").write_text(json.dumps(result, indent=1) + "\n")
    if options.publish:
        publish(text)
    missed = [name for name, row in result["ratios"].items()
              if row["count"] and row["value"] > row["aim"]]
    if missed:
        raise SystemExit("bench: above the aim: " + "; ".join(missed))


if __name__ == "__main__":
    main()
