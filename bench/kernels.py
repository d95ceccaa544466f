"""Runs the kernels in process (bench/kernels/) and reports their times."""

import json

from commands import Command
from measuring import measure
from programs import NotBuilt

NAME = "kernels"
_COMMAND = Command("kernels", ("kernels", "--benchmark_format=json", "--benchmark_repetitions=5",
                               "--benchmark_report_aggregates_only=true",
                               "--benchmark_min_time=0.1"))


def measured(bench, given):
    """Names, nanoseconds, and bytes or items a second: medians of five repetitions."""
    del given
    try:
        words = bench.programs.words(_COMMAND, "out/kernels")
    except NotBuilt as error:
        return {"why": str(error), "kernels": []}
    measure(words, bench.inputs.folder, "out/kernels", bench.core)
    text = (bench.inputs.folder / "out/kernels/stdout").read_text()
    return {"kernels": medians(json.loads(text))}


def medians(printed):
    """The medians of what the kernels print."""
    return [{"name": one["run_name"], "ns": one["cpu_time"],
             "bytes_per_second": one.get("bytes_per_second"),
             "items_per_second": one.get("items_per_second")}
            for one in printed["benchmarks"] if one.get("aggregate_name") == "median"]


def failed(found):
    """A reason where kernels are built and told nothing."""
    return [] if found["kernels"] or "why" in found else ["kernels: nothing was measured"]


def markdown(found):
    """The section."""
    if "why" in found:
        return f"\n## Kernels\n\nNot built: {found['why']}.\n"
    text = ["\n## Kernels\n\nIn process, medians of five repetitions.\n\n"
            "| Kernel | µs | MB/s | ns for each item |\n| --- | --- | --- | --- |\n"]
    for one in found["kernels"]:
        rate, items = one["bytes_per_second"], one["items_per_second"]
        text.append(f"| {one['name']} | {one['ns'] / 1000:.2f} | "
                    f"{f'{rate / 1e6:.0f}' if rate else '–'} | "
                    f"{f'{1e9 / items:.1f}' if items else '–'} |\n")
    return "".join(text)
