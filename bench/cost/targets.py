# SPDX-License-Identifier: MIT
"""The table of what was measured, and what it must hold: ratios, for those travel from machine to machine."""

GETNEXTS = ("GETNEXT absent", "GETNEXT partial")
GROWING = ("GET", "GET 20 columns", "GET absent row", "GETNEXT", *GETNEXTS)


def table(results, smallest, largest):
    """A line for each kind of request: µs per variable, the same beside tdata and the floor, and the growth."""
    print("Agent CPU in µs per variable answered\n")
    subjects = list(dict.fromkeys((one["subject"], one["size"]) for one in results.all))
    heads = [f"{name} {size}" for name, size in subjects]
    names = list(dict.fromkeys(one["operation"] for one in results.all))
    ratios = ["/ tdata", "/ floor", "growth"]
    width = max(map(len, [*heads, *ratios])) + 2
    print(" " * 26 + "".join(f"{head:>{width}}" for head in [*heads, *ratios]))
    for name in names:
        line = f"{name:26}"
        for subject, size in subjects:
            line += cell(results, name, subject, size, width)
        for one, other in ((("mplsted", largest), ("tdata", largest)), (("mplsted", largest), ("floor", largest)),
                           (("mplsted", largest), ("mplsted", smallest))):
            line += f"{ratio(results, name, *one, *other):>{width}}"
        print(line)
    masters = [one for one in results.all if one["master"] is not None]
    if masters:
        print("\nCPU of the AgentX masters in µs per variable\n")
        for name in names:
            line = [f"{one['subject']} {one['master']:.2f}" for one in masters if one["operation"] == name]
            if line:
                print(f"{name:26}{', '.join(line)}")


def cell(results, name, subject, size, width):
    try:
        return f"{results.value(name, subject, size):>{width}.2f}"
    except KeyError:
        return " " * width


def ratio(results, name, *pair):
    try:
        return f"{results.value(name, *pair[:2]) / results.value(name, *pair[2:]):.2f}"
    except KeyError:
        return ""


def targets(results, dear, smallest, middle, largest):
    """(what, measured, at most) of each target."""
    def over(name, one, other, size=largest):
        return results.value(name, one, size) / results.value(name, other, size)

    def own(name, size=largest):
        return results.value(name, "mplsted", size)

    for name in GROWING:
        yield f"{name} at {largest} / at {smallest}", own(name) / own(name, smallest), 1.2
    for name in GETNEXTS:
        yield f"{name} / present, at {largest}", own(name) / own("GETNEXT"), 1.2
    yield "GET / of a scalar", own("GET") / own("GET scalar"), 1.15
    yield "GET 20 columns / tdata", over("GET 20 columns", "mplsted", "tdata"), 0.8
    yield "GETBULK 100 / tdata", over("GETBULK 100", "mplsted", "tdata"), 0.45
    yield "GETBULK 100 / floor", over("GETBULK 100", "mplsted", "floor"), 1.3
    yield "GETBULK 23 x 4 / tdata", over("GETBULK 23 x 4", "mplsted", "tdata"), 0.5
    yield "GETBULK 23 x 4 / floor", over("GETBULK 23 x 4", "mplsted", "floor"), 1.5
    for name, one in dear.items():
        yield f"{name}, {one['octets']} octets / GET of {one['variables']} present", one["ratio"], 5
    for name in dict.fromkeys(one["operation"] for one in results.all):
        if name.startswith("walk "):
            yield f"{name} at {largest} / at {middle}", own(name) / own(name, middle), 1.2
    for name in ("GET", "GET 20 columns", "GETNEXT", "GETBULK 25", "GETBULK 23 x 4"):
        yield f"AgentX, {name}: subagent / subagent with tdata", over(name, "AgentX", "AgentX tdata"), 0.8


def report(results, dear, smallest, middle, largest):
    """Prints table and targets. Returns the targets, each with whether it holds."""
    table(results, smallest, largest)
    print("\nTargets\n")
    found = []
    for what, measured, most in targets(results, dear, smallest, middle, largest):
        holds = measured <= most
        found.append({"target": what, "measured": measured, "at most": most, "holds": holds})
        print(f"{'' if holds else 'MISSED':8}{what:82}{measured:8.2f}  at most {most}")
    return found
