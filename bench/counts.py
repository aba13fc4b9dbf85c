"""What does not depend on the machine's load: system calls, instructions, processes."""

import re

import unit

# Block operations as loops: else each byte of one counts as an instruction, which it is not to the
# processor's own counter.
CALLGRIND = {"VALGRIND_LIB": "/valgrind", "VALGRIND_LAUNCHER": "/valgrind/launcher",
             "GLIBC_TUNABLES": "glibc.cpu.x86_rep_stosb_threshold=1000000000:"
                               "glibc.cpu.x86_rep_movsb_threshold=1000000000"}
CONTROLLERS = re.compile(r'"[^"]*(luci/controller|/account/)')


def ask(server, request, count):
    return int(unit.run(unit.BUILD / "bench-client", server.port, count, *request))


def traced(root, make, request, count, filters=()):
    """The lines of a system call trace of the server while it answers so many requests."""
    trace = root / "trace"
    with make(root, under=["strace", "-I2", "-f", "-qq", "-o", trace, *filters]) as server:
        ask(server.wait(), request, count)
        server.await_rest()
    return trace.read_text().splitlines()


def split(calls):
    """How many of the calls are the server's own; the others find, load and run the controller."""
    theirs, total, of_controller = set(), 0, 0
    for call in calls:
        match = re.match(r"\d+ +(\w+)\((\d+)?", call)
        if not match:
            continue
        total += 1
        opened = re.search(r"= (\d+)$", call)
        if CONTROLLERS.search(call) and match.group(1) in ("open", "openat"):
            of_controller += 1
            if opened:
                theirs.add(opened.group(1))
        elif match.group(2) in theirs and match.group(1) not in ("open", "openat"):
            of_controller += 1
            if match.group(1) == "close":
                theirs.discard(match.group(2))
    return total - of_controller, total


def system_calls(root, make, request):
    """Own and all system calls of one request."""
    few, many = (split(traced(root, make, request, count)) for count in (5, 15))
    return [(m - f) / 10 for f, m in zip(few, many)]


def processes(root, make, request):
    """Processes that one request starts."""
    filters = ["-e", "trace=clone,clone3,fork,vfork"]
    few, many = (sum(re.search(r"= \d+$", line) is not None
                     for line in traced(root, make, request, count, filters)) for count in (2, 4))
    return (many - few) / 2


def processes_of_line(root, line):
    """Processes that the shell line starts when popen runs it."""
    counts = []
    for times in (2, 4):
        trace = root / "trace"
        unit.run("strace", "-f", "-qq", "-o", trace, "-e", "trace=clone,clone3,fork,vfork",
                 *unit.in_root(root, "/usr/sbin/bench-floor", "popen", times, line), env=unit.PATH)
        counts.append(sum(re.search(r"= \d+$", call) is not None
                          for call in trace.read_text().splitlines()))
    return (counts[1] - counts[0]) / 2


def instructions(root, make, request):
    """User instructions of one request."""
    def collected(count):
        out = root / "log/stdout"
        size = out.stat().st_size
        with make(root, environment=CALLGRIND) as server:
            ask(server.wait(), request, count)
        return int(re.search(rb"Collected : (\d+)", out.read_bytes()[size:]).group(1))

    few, many = collected(20), collected(70)
    return (many - few) / 50


def under_callgrind(make):
    """The same server, run by valgrind."""
    def made(root, **options):
        server = make(root, **options)
        at = server.command.index("chroot") + 2
        server.command[at:at] = ["/valgrind/callgrind-amd64-linux", "--tool=callgrind",
                                 "--callgrind-out-file=/dev/null"]
        return server
    return made
