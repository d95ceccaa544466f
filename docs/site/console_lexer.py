"""Colours of `console` blocks, as tests/examples/run_document.py reads them."""

from pygments.lexer import RegexLexer
from pygments.token import Generic, Text


class ConsoleLexer(RegexLexer):
    """Commands behind "$ ", which lines that are indented by four continue; all else is output."""

    name = "console"
    tokens = {"root": [(r"(?m)^\$ ", Generic.Prompt, "command"), (r".*\n", Generic.Output)],
              "command": [(r".*\n(?! {4})", Text, "#pop"), (r".*\n", Text)]}


def setup(app):
    app.add_lexer("console", ConsoleLexer)
    return {"parallel_read_safe": True}
