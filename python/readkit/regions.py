"""Regions as users write them."""

from __future__ import annotations

from typing import NamedTuple, Sequence

from readkit.errors import ReferenceIDNotFound, error_of


class Reference(NamedTuple):
    """A reference sequence: its name, and its length in bases."""

    name: str
    length: int


class Region(NamedTuple):
    """Positions of a reference, which `reference` counts from 0: 1-based, both ends inclusive."""

    reference: int
    first: int
    last: int


def reference_index(references: Sequence[Reference], reference: str | int) -> int:
    """The 0-based index of a reference that is named, or given by its index.

    Raises:
        ReferenceIDNotFound: there is none.
    """
    if isinstance(reference, str):
        for index, known in enumerate(references):
            if known.name == reference:
                return index
    elif 0 <= reference < len(references):
        return int(reference)
    raise error_of("seqlab:readkit:ReferenceIDNotFound", (str(reference),),
                   f"There is no reference {reference!r} in the file.")


def parse_region(references: Sequence[Reference], text: str) -> Region:
    """The region that ``name`` or ``name:first-last`` means, with commas or without.

    Raises:
        InvalidRegion: it is of another form, begins before 1, or ends before it begins.
        ReferenceIDNotFound: there is no such reference.
    """
    try:
        index = reference_index(references, text)
        return Region(index, 1, max(references[index].length, 1))
    except ReferenceIDNotFound:
        name, colon, positions = text.rpartition(":")
        if not colon:
            raise
    first, dash, last = positions.replace(",", "").partition("-")
    if not (dash and first.isascii() and first.isdigit() and last.isascii() and last.isdigit()):
        raise _invalid(text, "Write a region as name:first-last, for example chr1:1000-2000.")
    region = Region(reference_index(references, name), int(first), int(last))
    if not 1 <= region.first <= region.last:
        raise _invalid(text, "A region begins at 1 or later, and ends where it begins or later.")
    return region


def _invalid(text: str, advice: str) -> Exception:
    return error_of("seqlab:readkit:InvalidRegion", (text,), f"{text!r} is no region. {advice}")


__all__ = ["Reference", "Region", "parse_region", "reference_index"]
