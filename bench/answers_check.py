"""Compares what kxCheck says of a sound file with a peer's count."""

from answers import Mismatch, expect_equal, outputs
from answers_values import printed


def sound(answers):
    """Every record was met, and nothing was found."""
    fields = {name.lower(): value for name, value in next(outputs(answers.ours))["fields"].items()}
    for name in ("records", "findings"):
        if name not in fields:
            raise Mismatch(f"no field {name} among {', '.join(fields)}")
    expect_equal("records", fields["records"]["data"], [int(printed(answers.theirs))])
    found = fields["findings"]
    expect_equal("findings", found.get("data", found.get("elements", [])), [])
