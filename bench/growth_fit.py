"""How time grows: exponents, and what a unit costs at each size."""

import math
import statistics

# A fit is of no use below this: seconds that the start of a process may vary by.
LEAST = 0.002


def exponent(sizes, seconds):
    """The slope of log(seconds) over log(sizes): 1 where time is linear, 0 where it is constant.

    None with fewer than two sizes.
    """
    xs, ys = [math.log(size) for size in sizes], [math.log(second) for second in seconds]
    if len(set(xs)) < 2:
        return None
    x_mean, y_mean = statistics.fmean(xs), statistics.fmean(ys)
    return (sum((x - x_mean) * (y - y_mean) for x, y in zip(xs, ys, strict=True))
            / sum((x - x_mean) ** 2 for x in xs))


def relative_to_median(values):
    """Every value by the median of them."""
    median = statistics.median(values)
    return [value / median for value in values]


def fitted(points, start, per_unit):
    """What a list of (size, seconds) comes to: exponent, and the cost of a unit by the median.

    `start` is what a process takes that does nothing; it is subtracted, and points at which next to
    nothing is left do not count. With `per_unit` costs are seconds by size, else seconds.
    """
    counted = [(size, seconds - start) for size, seconds in points if seconds - start >= LEAST]
    if not counted:
        return {"exponent": None, "costs": []}
    sizes, seconds = zip(*counted)
    costs = [second / size if per_unit else second for size, second in counted]
    return {"exponent": exponent(sizes, seconds),
            "costs": [{"size": size, "cost": cost, "relative": relative}
                      for size, cost, relative in zip(sizes, costs, relative_to_median(costs))]}


def markdown(series):
    """The table of a series: its title, the expected exponent, and the operations' fits."""
    sizes = sorted({size for one in series["operations"].values() for size, _ in one["points"]})
    head = ["Operation", *(f"{size:,}" for size in sizes), "Exponent", "Cost by the median"]
    text = [f"\n## {series['title']}\n\n{series['about']}\n\n",
            "| " + " | ".join(head) + " |\n", "|" + " --- |" * len(head) + "\n"]
    for name, one in series["operations"].items():
        seconds = dict(map(tuple, one["points"]))
        cells = [f"{seconds[size]:.3f}" if size in seconds else "–" for size in sizes]
        fit = one["fit"]
        costs = ", ".join(f"{cost['relative']:.2f}" for cost in fit["costs"])
        slope = "–" if fit["exponent"] is None else f"{fit['exponent']:.2f}"
        text.append("| " + " | ".join([name, *cells, slope, costs or "–"]) + " |\n")
        if "why" in one:
            text.append(f"\n{name}: {one['why']}\n\n")
    return "".join(text)
