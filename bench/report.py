#!/usr/bin/env python3
"""report.py RESULTS... [--json FILE] [--readme FILE]: what a run of stddi_bench has shown.

Prints the table of targets, then every workload, in Markdown. RESULTS are the benchmark's JSON
files of one run. --json writes all figures with where they come from; --readme puts the table
between the marks in that file."""

import argparse
import json
import re
import statistics
import sys

from growth import growth_table
from measures import Missing, Run
from targets import targets

MARK = "<!-- bench:{} (scripts/bench --readme writes what is between these marks) -->"


def number(value):
    if value == 0 or value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def rows_of(run):
    for target in targets():
        try:
            yield target, target.measure.of(run)
        except Missing:
            yield target, None


def row_text(target, spread):
    if spread is None:
        return f"| {target.what} | {target.limit()} | not measured | |"
    result = f"{number(spread.median)} ({number(spread.low)} to {number(spread.high)})"
    met = "met" if target.is_met(spread.median) else "**not met**"
    return f"| {target.what} | {target.limit()} | {result} | {met} |"


def provenance(documents):
    context = documents[0]["context"]
    return {
        "date": context["date"],
        "commit": context.get("commit", "unknown"),
        "machine": context.get("machine", "unknown"),
        "cpus": context["num_cpus"],
        "compiler": context["compiler"],
        "build": context["build"],
        "load": [document["context"]["load_avg"][0] for document in documents],
    }


def provenance_text(source, run):
    count = min((len(lines) for lines in run.repetitions.values()), default=0)
    return (f"Medians of {count} repetitions and the middle half of them. {source['date']}, commit "
            f"{source['commit']}, {source['machine']}, {source['cpus']} CPUs, "
            f"{source['compiler']} ({source['build']}), load {max(source['load']):.1f}.")


def target_table(rows):
    lines = ["| Measure | Target | Result | |", "|---|---|---|---|"]
    return "\n".join(lines + [row_text(target, spread) for target, spread in rows])


def natural(item):
    """Orders names with the numbers in them by size."""
    return [(part.isdigit(), int(part) if part.isdigit() else part)
            for part in re.split(r"(\d+)", item[0]) if part]


def workload_table(run):
    lines = ["| Workload | ns an item | allocations an item |", "|---|---|---|"]
    for name, repetitions in sorted(run.repetitions.items(), key=natural):
        if "items_per_second" not in repetitions[0]:
            continue
        cost = statistics.median(1e9 / line["items_per_second"] for line in repetitions)
        blocks = statistics.median(line.get("allocs", 0) for line in repetitions)
        lines.append(f"| {name} | {number(cost)} | {number(blocks)} |")
    return "\n".join(lines)


def document_of(source, run, rows):
    return {
        **source,
        "targets": [
            {"what": target.what, "limit": target.limit(),
             "median": spread and spread.median, "low": spread and spread.low,
             "high": spread and spread.high,
             "met": target.is_met(spread.median) if spread else None}
            for target, spread in rows
        ],
        "workloads": {
            name: [{key: line[key] for key in line if isinstance(line[key], (int, float))}
                   for line in lines]
            for name, lines in run.repetitions.items()
        },
    }


def replace_block(path, text):
    with open(path, encoding="utf-8") as file:
        old = file.read()
    begin, end = MARK.format("begin"), MARK.format("end")
    new, count = re.subn(re.escape(begin) + ".*?" + re.escape(end),
                         lambda _: f"{begin}\n{text}\n{end}", old, flags=re.DOTALL)
    if count != 1:
        sys.exit(f"report: {path} has no block between the marks {begin} and {end}")
    with open(path, "w", encoding="utf-8") as file:
        file.write(new)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", nargs="+")
    parser.add_argument("--json")
    parser.add_argument("--readme")
    parser.add_argument("--measured-only", action="store_true",
                        help="leave out targets that the run says nothing of")
    options = parser.parse_args()
    documents = [json.load(open(path, encoding="utf-8")) for path in options.results]
    run, source = Run(documents), provenance(documents)
    rows = list(rows_of(run))
    missing = sum(spread is None for _, spread in rows)
    if missing and options.readme:
        sys.exit(f"report: {missing} targets were not measured; this is no table for {options.readme}")
    if options.measured_only:
        rows = [row for row in rows if row[1] is not None]
    about, table = provenance_text(source, run), target_table(rows)
    print(f"{about}\n\n{table}\n\n{growth_table(run)}\n\n{workload_table(run)}")
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(document_of(source, run, rows), file, indent=1)
    if options.readme:
        replace_block(options.readme, f"{table}\n\n{about}")


if __name__ == "__main__":
    main()
