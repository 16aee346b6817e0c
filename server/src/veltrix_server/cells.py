"""What cells of delimited text mean, and how cells are written into a reply; all as expressions
of Spark, so that it happens where the data is."""

from pyspark.sql import Column
from pyspark.sql import functions as F  # noqa: N812

MISSING_TEXT = "NA"
"""Beside the empty cell, what stands for a missing value in delimited text."""

_INTEGER_TYPES = ("tinyint", "smallint", "int", "bigint")
_MAX_INT = (1 << 31) - 1
_DATE = r"^\d{4}-\d{2}-\d{2}$"
_TIMESTAMP = r"^\d{4}-\d{2}-\d{2}[ T]\d{2}:\d{2}(:\d{2}(\.\d+)?)?(Z|[+-]\d{2}:?\d{2})?$"


def present(text: Column) -> Column:
    """Whether a cell of text holds anything."""
    return text.isNotNull() & (F.trim(text) != "")


def number(text: Column) -> Column:
    """The number in a cell of text; NaN for the text "NaN", null when there is none."""
    # Java reads a d or f behind a number as the name of its type.
    typed = text.endswith("d") | text.endswith("f") | text.endswith("D") | text.endswith("F")
    return F.when(~typed | F.lower(text).endswith("inf"), text.cast("double"))


def value(text: Column) -> Column:
    """The number in a cell of text, null also for NaN."""
    return F.nanvl(number(text), F.lit(None).cast("double"))


def is_foreign(text: Column) -> Column:
    """Whether a cell holds something that is no number."""
    return present(text) & number(text).isNull()


_INT, _BIGINT, _DOUBLE, _BOOLEAN, _DATE_ONLY, _TIME, _TEXT = (1 << k for k in range(7))


def type_code(text: Column) -> Column:
    """A bit for the narrowest type that takes a cell, 0 for a missing one. The bits of a column,
    joined by "or", give its type in `type_of`: one small aggregate a column."""
    marked = text.contains(".") | text.contains("e") | text.contains("E")
    whole = text.cast("bigint")
    of_number = (
        F.when(marked | whole.isNull(), _DOUBLE)
        .when(whole.between(-_MAX_INT, _MAX_INT), _INT)
        .otherwise(_BIGINT)
    )
    of_other = (
        F.when(F.lower(F.trim(text)).isin("true", "false"), _BOOLEAN)
        .when((F.length(text) == 10) & text.rlike(_DATE), _DATE_ONLY)
        .when((F.length(text) >= 16) & text.rlike(_TIMESTAMP), _TIME)
        .otherwise(_TEXT)
    )
    return (
        F.when(~present(text), 0)
        .when(number(text).isNotNull(), of_number)
        .otherwise(of_other)
        .cast("int")
    )


def type_of(code: int | None) -> str:
    """The narrowest type, as Spark calls it, that takes all cells of the joined codes."""
    if not code:
        return "string"
    kinds = (
        ("int", _INT),
        ("bigint", _INT | _BIGINT),
        ("double", _INT | _BIGINT | _DOUBLE),
        ("boolean", _BOOLEAN),
        ("date", _DATE_ONLY),
        ("timestamp", _DATE_ONLY | _TIME),
    )
    return next((kind for kind, bits in kinds if not code & ~bits), "string")


def is_number_type(kind: str) -> bool:
    return kind in (*_INTEGER_TYPES, "float", "double") or kind.startswith("decimal")


def _quoted(text: Column) -> Column:
    listed = F.to_json(F.array(text))
    return listed.substr(F.lit(2), F.length(listed) - 2)


def _number_json(found: Column) -> Column:
    """A finite number as it stands; null for NaN, and for infinity, which JSON does not know."""
    return F.when(F.abs(found) < float("inf"), found.cast("string"))


def json_of_text(text: Column, kind: str) -> Column:
    """The JSON of a cell of delimited text in a column of that type."""
    if kind in _INTEGER_TYPES:
        made = text.cast("bigint").cast("string")
    elif kind == "double":
        made = _number_json(value(text))
    else:
        made = F.when(text.isNotNull(), _quoted(text))
    return F.coalesce(made, F.lit("null"))


def json_of_typed(cell: Column, kind: str) -> Column:
    """The JSON of a cell of a typed file. Nested values are texts, bytes are in base 64."""
    if kind in _INTEGER_TYPES or kind.startswith("decimal"):
        made = cell.cast("string")
    elif kind in ("float", "double"):
        made = _number_json(cell)
    elif kind == "binary":
        made = _quoted(F.base64(cell))
    elif kind.startswith(("array", "map", "struct")):
        made = _quoted(F.to_json(cell))
    else:
        made = _quoted(cell.cast("string"))
    return F.coalesce(F.when(cell.isNotNull(), made), F.lit("null"))
