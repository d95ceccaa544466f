"""Compares what kxCheck says of a sound file with a peer's count."""

from answers import Mismatch, expect_equal, outputs
from answers_values import printed


def sound(answers):
    """Every record was met, and nothing was found: `count` is the number of findings."""
    fields = next(outputs(answers.ours))["fields"]
    for name in ("records", "count"):
        if name not in fields:
            raise Mismatch(f"no field {name} among {', '.join(fields)}")
    expect_equal("records", fields["records"]["data"], [int(printed(answers.theirs))])
    expect_equal("findings", fields["count"]["data"], [0])
