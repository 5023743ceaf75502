#!/usr/bin/env python3
# Turns the measurements of one run into tables of ratios to pugixml, and holds them against the targets.
# SPDX-License-Identifier: MIT
import collections
import json
import math
import statistics
import sys

PEER = "pugixml"
OURS = "wpk"
PARSERS = (PEER, OURS, "rapidxml", "tinyxml2", "libxml2", "expat_events")


def read_speed(path):
    """{operation: {document: {parser: median CPU time in ns}}}"""
    samples = collections.defaultdict(list)
    with open(path) as file:
        for run in json.load(file)["benchmarks"]:
            if run.get("error_occurred"):
                sys.exit("failed: %s: %s" % (run["name"], run.get("error_message")))
            if run["run_type"] == "iteration":
                samples[run["run_name"]].append(run["cpu_time"])
    table = collections.defaultdict(lambda: collections.defaultdict(dict))
    for name, times in samples.items():
        operation, document, parser = name.split("/")[:3]
        table[operation][document][parser] = statistics.median(times)
    return table


def read_memory(path):
    table = collections.defaultdict(lambda: collections.defaultdict(dict))
    with open(path) as file:
        for line in file:
            figure, document, parser, value = line.split()
            table[figure][document][parser] = float(value)
    return table


def in_order(rows, documents):
    """The interleaved run yields its results in any order; a reader wants the documents in theirs."""
    return {document: rows[document] for document in documents}


def print_table(title, rows, shown):
    parsers = [parser for parser in PARSERS if parser in next(iter(rows.values()))]
    print("\n%s" % title)
    print("%-18s" % "document" + "".join("%14s" % parser for parser in parsers))
    for document, figures in rows.items():
        print("%-18s" % document + "".join("%14s" % shown(figures, parser) for parser in parsers))


def ratio(figures, parser=OURS):
    return figures[parser] / figures[PEER]


def geometric_mean(rows, documents):
    return math.exp(statistics.mean(math.log(ratio(rows[document])) for document in documents))


def show_ratio(figures, parser):
    if parser == PEER:
        return "%.0f ns" % figures[parser]
    return "%.2f" % ratio(figures, parser)


def print_targets(speed, memory):
    parse = speed["parse"]
    messages = ["message_300B", "message_2KB", "message_20KB"]
    rows = [
        ("parse, all documents", geometric_mean(parse, parse), 1.5),
        ("parse, messages to 20 KB", geometric_mean(parse, messages), 1.3),
        ("parse, text-heavy", ratio(parse["text_heavy"]), 0.6),
        ("write, raw", geometric_mean(speed["write_raw"], speed["write_raw"]), 1.0),
        ("write, indented", geometric_mean(speed["write_indented"], speed["write_indented"]), 1.0),
        ("heap bytes per byte, 1 MB", memory["live"]["message_1MB"][OURS], 9),
        ("heap bytes per byte, 300 B", memory["live"]["message_300B"][OURS], 25),
    ]
    print("\nAgainst the targets (speeds: geometric means of the ratios to %s)" % PEER)
    for name, value, target in rows:
        verdict = "met" if value <= target else "MISSED"
        print("%-28s %7.2f   at most %5.2f   %s" % (name, value, target, verdict))
    print("%-28s %7.2f" % ("find, all documents", geometric_mean(speed["find"], speed["find"])))


def main():
    speed = read_speed(sys.argv[1])
    memory = read_memory(sys.argv[2])
    for operation in ("parse", "write_raw", "write_indented", "find"):
        print_table("%s: %s in ns, the others as ratios to it" % (operation, PEER), in_order(speed[operation], memory["size"]), show_ratio)
    for figure, unit in (("live", "bytes per byte of input"), ("peak", "bytes per byte of input"),
                         ("kept", "bytes per document, 40,000 of them kept")):
        print_table("heap, %s: %s" % (figure, unit), memory[figure], lambda figures, parser: "%.1f" % figures[parser])
    print_targets(speed, memory)


if __name__ == "__main__":
    main()
