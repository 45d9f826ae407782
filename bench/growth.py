"""What doubling a size does to the cost of one item."""

import re
import statistics


def series_of(run):
    """Growth benchmarks by what grows: pairs of size and ns an item, ascending."""
    series = {}
    for name, lines in run.repetitions.items():
        found = re.fullmatch(r"growth/(.+)/(\d+)/stddi", name)
        if found:
            cost = statistics.median(1e9 / line["items_per_second"] for line in lines)
            series.setdefault(found[1], []).append((int(found[2]), cost))
    return {what: sorted(points) for what, points in series.items()}


def growth_table(run):
    lines = ["| What doubles | sizes | ns an item | cost of an item, per doubling |",
             "|---|---|---|---|"]
    for what, points in sorted(series_of(run).items()):
        sizes, costs = zip(*points)
        steps = ", ".join(f"{b / a:.2f}" for a, b in zip(costs, costs[1:]))
        lines.append(f"| {what} | {sizes[0]:,} to {sizes[-1]:,} | "
                     f"{costs[0]:.3g} to {costs[-1]:.3g} | {steps} |")
    return "\n".join(lines)
