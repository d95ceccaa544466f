"""Columns of equal length with names."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, Iterator, Mapping, Sequence, Union

import numpy as np

from readkit import _readkit
from readkit._readkit import TextColumn
from readkit.notebooks import bytes_text

if TYPE_CHECKING:
    import pandas  # type: ignore[import]

Column = Union["np.ndarray[Any, Any]", TextColumn]


class Table(Mapping[str, Column]):
    """A mapping from names to columns: NumPy arrays and `TextColumn`\\ s, all of `rows` rows.

    Libraries that know Arrow's PyCapsule interface read it without a copy of the data.
    """

    def __init__(self, columns: Mapping[str, Column], rows: int) -> None:
        self._columns = dict(columns)
        self.rows = rows

    def __getitem__(self, name: str) -> Column:
        return self._columns[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._columns)

    def __len__(self) -> int:
        return len(self._columns)

    def __repr__(self) -> str:
        return f"<Table of {self.rows} rows: {', '.join(self._columns)}>"

    def take(self, rows: np.ndarray[Any, Any]) -> Table:
        """The table of these rows, 0-based."""
        columns = {name: column.take(rows) for name, column in self._columns.items()}
        return Table(columns, len(rows))

    @staticmethod
    def concatenate(tables: Sequence[Table]) -> Table:
        """The rows of several tables, one at least and all of the same columns, one behind the
        other."""
        columns = {name: _joined([table[name] for table in tables]) for name in tables[0]}
        return Table(columns, sum(table.rows for table in tables))
    def select(self, names: Sequence[str]) -> Table:
        """The table of these columns."""
        return Table({name: self._columns[name] for name in names}, self.rows)

    def to_pandas(self) -> pandas.DataFrame:
        """A DataFrame; texts become object columns."""
        import pandas

        columns = {name: column.to_numpy() if isinstance(column, TextColumn) else column
                   for name, column in self._columns.items()}
        return pandas.DataFrame(columns, index=range(self.rows))

    def to_arrow(self) -> Any:
        """A pyarrow.RecordBatch. Raises ImportError without pyarrow, which nothing else needs."""
        import pyarrow  # type: ignore[import]

        return pyarrow.record_batch(self)

    def __arrow_c_array__(self, requested_schema: object = None) -> tuple[Any, Any]:
        """Arrow's PyCapsule interface: one struct array, a child for each column."""
        return _readkit.arrow_of_table(list(self._columns), list(self._columns.values()), self.rows)

    def _repr_html_(self) -> str:
        first = self.take(np.arange(min(self.rows, 10)))
        return (str(first.to_pandas().to_html(notebook=True, max_rows=None))
                + f"<p>{self.rows:,} rows × {len(self)} columns, "
                  f"{bytes_text(sum(column.nbytes for column in self.values()))}</p>")


def _joined(columns: list[Column]) -> Column:
    texts = [column for column in columns if isinstance(column, TextColumn)]
    return TextColumn.concatenate(texts) if texts else np.concatenate(columns)
