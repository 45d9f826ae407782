"""Measures over the figures of one run: each is a number per repetition, and of these the median
and the middle half."""

import statistics
from dataclasses import dataclass


class Missing(Exception):
    """A workload that this run has no figures of."""


@dataclass(frozen=True)
class Spread:
    median: float
    low: float  # first quartile
    high: float  # third quartile
    repetitions: int


class Run:
    """The figures of one run: per benchmark, its repetitions in order."""

    def __init__(self, documents):
        self.repetitions = {}
        for document in documents:
            for line in document["benchmarks"]:
                if line["run_type"] == "iteration" and not line.get("error_occurred"):
                    name = line["run_name"].removesuffix("/iterations:1")
                    self.repetitions.setdefault(name, []).append(line)

    def count(self):
        """Repetitions of each benchmark, the fewest."""
        return min((len(lines) for lines in self.repetitions.values()), default=0)

    def values(self, name, key):
        lines = self.repetitions.get(name)
        if not lines or key not in lines[0]:
            raise Missing(name)
        return [line[key] for line in lines]


class Measure:
    """A function from a list of figures for each workload named to one figure."""

    def __init__(self, sources, function):
        self.sources = sources  # pairs of benchmark and key
        self.function = function

    def of(self, run):
        series = [run.values(name, key) for name, key in self.sources]
        # Medians are taken first: a difference or a quotient of two noisy figures has no good one.
        middle = self.function([statistics.median(values) for values in series])
        single = sorted(self.function(list(values)) for values in zip(*series))
        quartiles = statistics.quantiles(single, n=4) if len(single) > 1 else [middle] * 3
        return Spread(middle, quartiles[0], quartiles[2], len(single))


def _single(name, key, function):
    return Measure([(name, key)], lambda figures: function(figures[0]))


def ns(name):
    """Nanoseconds an item."""
    return _single(name, "items_per_second", lambda rate: 1e9 / rate)


def speed(name):
    """Megabytes a second."""
    return _single(name, "bytes_per_second", lambda rate: rate / 1e6)


def counter(name, key):
    return _single(name, key, lambda value: value)


def _combined(measures, combine):
    sources = [source for measure in measures for source in measure.sources]

    def function(figures):
        parts, at = [], 0
        for measure in measures:
            end = at + len(measure.sources)
            parts.append(measure.function(figures[at:end]))
            at = end
        return combine(parts)

    return Measure(sources, function)


def ratio(a, b):
    return _combined([a, b], lambda parts: parts[0] / parts[1] if parts[1] else float("inf"))


def minus(a, b):
    return _combined([a, b], lambda parts: parts[0] - parts[1])


def larger(*measures):
    return _combined(measures, max)


class allocations:
    """The most blocks that an item of our own workloads below some subjects costs."""

    def __init__(self, *prefixes):
        self.prefixes = prefixes

    def of(self, run):
        counts = [line["allocs"] for name, lines in run.repetitions.items()
                  if name.startswith(self.prefixes) and name.endswith("/stddi")
                  for line in lines]
        if not counts:
            raise Missing("allocs")
        return Spread(max(counts), min(counts), max(counts), len(counts))


@dataclass(frozen=True)
class Target:
    what: str
    measure: object
    at_most: float = None
    at_least: float = None
    unit: str = ""
    beside: str = ""
    own: object = None

    def is_met(self, value):
        return value <= self.at_most if self.at_least is None else value >= self.at_least

    def limit(self):
        if self.at_least is not None:
            text = f"at least {self.at_least:g}"
        elif 0 < self.at_most < 0.5:
            text = f"at most 1/{1 / self.at_most:.0f}"
        else:
            text = f"at most {self.at_most:g}"
        return " ".join(filter(None, (text, self.unit, self.beside and f"({self.beside})")))
