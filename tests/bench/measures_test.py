"""The arithmetic behind the table of scripts/bench, on figures made up here."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "bench"))

from growth import series_of
from measures import Missing, Run, Target, allocations, larger, minus, ns, ratio
from report import Result


def run_of(**costs):
    """A run of benchmarks: by name ('__' for '/') nanoseconds an item, repetition by repetition."""
    return Run([{"benchmarks": [
        {"run_name": name.replace("__", "/"), "run_type": "iteration", "allocs": cost % 2,
         "items_per_second": 1e9 / cost}
        for name, costs_of_name in costs.items() for cost in costs_of_name]}])


class Measures(unittest.TestCase):
    def test_medians_are_taken_before_differences_and_ratios(self):
        run = run_of(own=[10, 20, 30], full=[100, 220, 180], bare=[80, 100, 100])
        spread = ratio(ns("own"), minus(ns("full"), ns("bare"))).of(run)
        self.assertAlmostEqual(spread.median, 20 / (180 - 100))
        self.assertAlmostEqual(spread.low, 20 / 120)
        self.assertAlmostEqual(spread.high, 10 / 20)

    def test_larger_takes_the_worst(self):
        self.assertAlmostEqual(larger(ns("a"), ns("b")).of(run_of(a=[5], b=[7])).median, 7)

    def test_limits(self):
        run = run_of(a=[100], b=[200])
        cases = [({"at_most": 0.5}, True), ({"at_most": 0.49}, False), ({"at_least": 0.6}, False)]
        for limit, is_met in cases:
            result = Result(Target("a of b", ratio(ns("a"), ns("b")), **limit), run)
            self.assertEqual(result.is_met(), is_met, limit)
            self.assertEqual(result.cell().startswith("**"), not is_met, limit)

    def test_what_was_not_measured_is_not_met(self):
        result = Result(Target("c", ns("c"), at_most=1), run_of(a=[1]))
        self.assertFalse(result.is_met())
        self.assertEqual(result.cell(), "not measured")

    def test_allocations_of_any_repetition_count_and_of_our_own_alone(self):
        run = run_of(walk__x__stddi=[2, 3, 2], walk__x__peer=[5], load__x__stddi=[5])
        self.assertEqual(allocations("walk/").of(run).median, 1)
        with self.assertRaises(Missing):
            allocations("walk/").of(run_of(load__x__stddi=[5]))

    def test_growth_is_ordered_by_size(self):
        run = run_of(**{"growth__rows__1024__stddi": [8], "growth__rows__512__stddi": [4]})
        points = series_of(run)["rows"]
        self.assertEqual([size for size, _ in points], [512, 1024])


if __name__ == "__main__":
    unittest.main()
