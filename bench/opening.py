"""What opening costs: a small region of a large index, and headers of many references."""

import statistics

import answers_records as records
import answers_values as values
from answers import expect_equal, outputs
from commands import Command, call, peer
from operations import Operation
from opening_inputs import HEADERS, RECIPES, RECORDS
from rows import FAILED, FAILURES, MET, MISSED, MEASURED

NAME = "opening"
# Seconds of a call that reads a region of 10 kb through an index of 30 MB.
REACH = 0.030

_REGION = Operation(
    "opening-region", "a region of 10 kb, index of 30 MB",
    Command("readkit", ("many_calls", "{library}", "opening.bam", "opening.bam", "opening.bed",
                        "{out}/result.sam")),
    (peer("samtools", "view", "-M", "-L", "opening.bed", "-o", "{out}/result.sam", "opening.bam"),),
    records.same_sam, None, ("opening.bam", "opening.bam.bai", "opening.bed"), memory=None)


def _count(references):
    def check(answers):
        found = next(outputs(answers.ours))["data"]
        expect_equal("references", found, [references])
        lines = values.printed(answers.theirs).splitlines()
        expect_equal("references", sum(line.startswith("@SQ") for line in lines), references)
    return check


def _of_header(count):
    """The operations on files of so many references."""
    bam, sam = f"header-{count}.bam", f"header-{count}.sam"
    return (
        Operation(f"getNumReferences-{count}", "getNumReferences", call("getNumReferences", bam),
                  (peer("samtools", "view", "-H", "--no-PG", bam),), _count(count), None, (bam,),
                  memory=None),
        Operation(f"samInfo-{count}", "samInfo, 3 outputs", call("samInfo", sam, nlhs=3),
                  (peer("samtools", "idxstats", sam),), values.sam_info, None, (sam,), memory=None),
        Operation(f"samToBam-{count}", "SAM to BAM", call("samToBam", sam, "{out}/result.bam"),
                  (peer("samtools", "view", "-b", "-o", "{out}/result.bam", sam),),
                  lambda answers: records.bam_of_sam(answers, sam), None, (sam,), memory=None))


def in_call(text):
    """The seconds that many_calls says its calls took."""
    words = text.split()
    return float(words[words.index("seconds") + 1])


def measured(bench, given):
    """Rows of the section; `bench` is a rows.Bench."""
    del given
    bench.inputs.add_recipes(RECIPES)
    region = bench.row(_REGION)
    if region["result"] == MEASURED:
        try:
            region["in_call"] = _seconds_in_call(bench)
            region["result"] = MET if region["in_call"] <= REACH else MISSED
        except FAILURES as error:
            region.update(result=FAILED, why=str(error))
    headers = [{"references": count, "rows": [bench.row(one) for one in _of_header(count)]}
               for count in HEADERS]
    return {"region": region, "reach": REACH, "headers": headers}


def _seconds_in_call(bench):
    run = bench.side(_REGION.ours)
    found = []
    for _ in range(bench.rounds):
        run()
        found.append(in_call((bench.inputs.folder / "out/readkit/stdout").read_text()))
    return statistics.median(found)


def failed(found):
    """The titles of rows that failed."""
    rows = [found["region"], *(row for header in found["headers"] for row in header["rows"])]
    return [f"{row['name']}: {row['why']}" for row in rows if row["result"] == FAILED]


def per_reference(headers, number):
    """Microseconds of operation `number` for each reference beyond those of the shortest header."""
    seconds = [header["rows"][number].get("readkit", {}).get("wall") for header in headers]
    counts = [header["references"] for header in headers]
    return [None if second is None or seconds[0] is None or count == counts[0]
            else 1e6 * (second - seconds[0]) / (count - counts[0])
            for count, second in zip(counts, seconds)]


def _cell(value, digits):
    return "–" if value is None else f"{value:.{digits}f}"


def markdown(found):
    """The section."""
    region = found["region"]
    text = ["\n## What opening costs\n\n",
            "A region of 10 kb through an index of 30 MB, in the call itself: "
            f"{_cell(region.get('in_call'), 4)} s, to reach {found['reach']:.3f} s "
            f"({region['result']}{': ' + region['why'] if 'why' in region else ''}); whole process "
            f"{_cell(region.get('readkit', {}).get('wall'), 3)} s, samtools "
            f"{_cell(region.get('peers', {}).get('samtools', {}).get('wall'), 3)} s.\n\n",
            f"Files of {RECORDS:,} records of 40 bases and many references. What a reference costs "
            "is what the header adds to the first row's time; it is the same where the time is "
            "linear.\n\n",
            "| Operation | References | readkit s | samtools s | Ratio | µs for a reference |\n",
            "|" + " --- |" * 6 + "\n"]
    for number in range(len(found["headers"][0]["rows"])):
        costs = per_reference(found["headers"], number)
        for header, cost in zip(found["headers"], costs):
            row = header["rows"][number]
            theirs = row.get("peers", {}).get("samtools", {})
            text.append(f"| {row['title']} | {header['references']:,} | "
                        f"{_cell(row.get('readkit', {}).get('wall'), 3)} | "
                        f"{_cell(theirs.get('wall'), 3)} | {_cell(theirs.get('ratio'), 2)} | "
                        f"{_cell(cost, 2)} |\n")
    return "".join(text)
