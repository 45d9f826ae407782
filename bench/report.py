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
from targets import MODELS, model_targets, other_targets

MARK = "<!-- bench:{} (scripts/bench --readme writes what is between these marks) -->"


def number(value):
    if value == 0 or value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}"


class Result:
    """A target, and what the run says of it: nothing, where it has no figures."""

    def __init__(self, target, run):
        self.target, self.spread, self.own = target, None, None
        try:
            self.spread = target.measure.of(run)
            self.own = target.own and target.own.of(run).median
        except Missing:
            pass

    def is_met(self):
        return self.spread is not None and self.target.is_met(self.spread.median)

    def cell(self):
        if self.spread is None:
            return "not measured"
        text = number(self.spread.median)
        text = text if self.is_met() else f"**{text}**"
        span = f"{number(self.spread.low)} to {number(self.spread.high)}"
        return f"{text} ({span})" + (f", {number(self.own)} ns" if self.own else "")

    def document(self, name):
        spread = self.spread
        return {"what": name, "limit": self.target.limit(), "met": spread and self.is_met(),
                "median": spread and spread.median, "low": spread and spread.low,
                "high": spread and spread.high, "own": self.own}


def table(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


class Results:
    def __init__(self, run):
        self.by_model = {model: [Result(target, run) for target in model_targets(model)]
                         for model in MODELS}
        self.others = [Result(target, run) for target in other_targets()]

    def named(self):
        for model, results in self.by_model.items():
            for result in results:
                yield f"{model}: {result.target.what}", result
        for result in self.others:
            yield result.target.what, result

    def tables(self, measured_only):
        def rows(groups):
            for name, group in groups:
                if not measured_only or any(result.spread for result in group):
                    yield [name, group[0].target.limit(), *(result.cell() for result in group)]

        models = zip(*self.by_model.values())
        first = table(["An element or a definition", "Target", *MODELS],
                      rows((group[0].target.what, group) for group in models))
        second = table(["Otherwise", "Target", "Result"],
                       rows((result.target.what, [result]) for result in self.others))
        return f"{first}\n\n{second}"


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
    return (f"In bold: not met. Ratios of the medians of {run.count()} repetitions, in brackets the "
            f"middle half of all ratios. {source['date']}, commit "
            f"{source['commit']}, {source['machine']}, {source['cpus']} CPUs, "
            f"{source['compiler']} ({source['build']}), load {max(source['load']):.1f}.")


def natural(item):
    """Orders names with the numbers in them by size."""
    return [(part.isdigit(), int(part) if part.isdigit() else part)
            for part in re.split(r"(\d+)", item[0]) if part]


def workload_table(run):
    rows = []
    for name, repetitions in sorted(run.repetitions.items(), key=natural):
        if "items_per_second" in repetitions[0] and not name.startswith("growth/"):
            cost = statistics.median(1e9 / line["items_per_second"] for line in repetitions)
            blocks = statistics.median(line.get("allocs", 0) for line in repetitions)
            rows.append([name, number(cost), number(blocks)])
    return table(["Workload", "ns an item", "allocations an item"], rows)


def document_of(source, run, results):
    return {
        **source,
        "targets": [result.document(name) for name, result in results.named()],
        "workloads": {
            name: [{key: value for key, value in line.items() if isinstance(value, (int, float))}
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
    results = Results(run)
    missing = [name for name, result in results.named() if result.spread is None]
    if missing and options.readme:
        sys.exit("report: no table for the README; not measured: " + "; ".join(missing))
    if options.readme and run.count() < 20:
        sys.exit(f"report: no table for the README; {run.count()} repetitions are too few")
    about, tables = provenance_text(source, run), results.tables(options.measured_only)
    print(f"{about}\n\n{tables}\n\n{growth_table(run)}\n\n{workload_table(run)}")
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(document_of(source, run, results), file, indent=1)
    if options.readme:
        replace_block(options.readme, f"{tables}\n\n{about}")


if __name__ == "__main__":
    main()
