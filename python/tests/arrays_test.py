"""Python objects to host arrays and back, columns of texts, and errors."""

from __future__ import annotations

import ctypes
import gc
import pathlib
import pickle
import sys

import numpy as np
import pytest
from hypothesis import given, settings, strategies as st
from hypothesis.extra import numpy as arrays

import readkit
from readkit import _readkit

DTYPES = ["?", "i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8", "f4", "f8", "c16"]
quick = settings(max_examples=60)


@quick
@given(st.data())
def test_numpy_arrays_keep_class_values_and_shape(echo, data):
    dtype = np.dtype(data.draw(st.sampled_from(DTYPES))).newbyteorder(
        data.draw(st.sampled_from("<>")))
    shape = data.draw(arrays.array_shapes(min_dims=0, max_dims=3, min_side=0, max_side=4))
    array = data.draw(arrays.arrays(dtype, shape))
    if data.draw(st.booleans()):
        array = array.T[::-1] if array.ndim else array
    result = echo(array)
    if dtype.kind == "b" and array.size == 1:
        assert result is bool(array.reshape(()))
        return
    if dtype.kind != "c" or array.size:  # Of no numbers, none is complex.
        assert result.dtype == dtype.newbyteorder("=")
    assert result.shape == shape_as_column(array.shape)
    np.testing.assert_array_equal(result, array.reshape(result.shape))


def shape_as_column(shape):
    """What comes of a shape: the host knows two dimensions at least and no later ones of one, and
    columns have one dimension here."""
    shape = list(shape) + [1] * (2 - len(shape))
    while len(shape) > 2 and shape[-1] == 1:
        shape.pop()
    return tuple(shape[:1] if len(shape) == 2 and shape[1] == 1 else shape)


# NUL and lone surrogates, too.
any_text = st.text(st.characters(), max_size=20)


@quick
@given(any_text)
def test_texts_come_back(echo, text):
    units = text.encode("utf-16-le", "surrogatepass")
    joined = units.decode("utf-16-le", "surrogatepass")
    bare = "".join("\ufffd" if "\ud800" <= c <= "\udfff" and not "\udc80" <= c <= "\udcff" else c
                   for c in joined)
    # Surrogates for bytes that make up valid UTF-8 are that character.
    assert echo(text) == bare.encode("utf-8", "surrogateescape").decode("utf-8", "surrogateescape")


@quick
@given(st.binary(max_size=20))
def test_bytes_are_text_as_names_of_files_are(echo, data):
    assert echo(data) == data.decode("utf-8", "surrogateescape")
    assert echo(data.decode("utf-8", "surrogateescape")).encode("utf-8", "surrogateescape") == data


@quick
@given(st.lists(st.one_of(st.none(), st.text(st.characters(blacklist_categories=["Cs"])))))
def test_lists_of_texts_become_columns(echo, texts):
    column = echo(texts)
    # One string is a scalar, not a column.
    if texts == [None]:
        assert column is None
        return
    assert column.to_list() == texts == list(column) == column.to_numpy().tolist()
    assert len(column) == len(texts)
    assert column.nbytes == sum(len(text.encode()) for text in texts if text)
    assert column[::-1].to_list() == texts[::-1]
    assert column[1:].to_list() == texts[1:]
    assert np.asarray(column).tolist() == texts
    again = echo(column[1:])
    if None not in texts[1:]:
        assert again.to_list() == texts[1:]


def test_scalars_and_containers(echo):
    assert echo(True) is True and echo(np.bool_(False)) is False
    assert echo(3).dtype == np.float64 and echo(3)[0] == 3.0 and echo(2.5)[0] == 2.5
    assert echo(np.uint16(7)).dtype == np.uint16
    assert echo(np.float32(0.5)).dtype == np.float32
    assert echo(None).shape == (0, 0)
    assert echo(pathlib.Path("a/b")) == "a/b"
    assert echo([]).to_list() == []
    assert echo([1, 2.5, True]).tolist() == [1, 2.5, 1]
    assert echo((True, False)).dtype == np.bool_
    assert echo({"a": "x", "b": [1, 2], "c": {"d": None}})["c"]["d"].shape == (0, 0)
    nested = echo([["a"], 1, "b"])
    assert nested[0].to_list() == ["a"] and nested[1][0] == 1 and nested[2] == "b"
    first, second = echo(1, "two", nargout=2)
    assert first[0] == 1 and second == "two"
    assert echo(np.array(["a", "bc"])).to_list() == ["a", "bc"]


@pytest.mark.parametrize("value, error", [
    (2**53 + 1, ValueError), (10**400, ValueError), (object(), TypeError),
    (np.zeros(1, "f2"), TypeError), (np.zeros(1, "M8[s]"), TypeError), ({1: 2}, TypeError),
    (np.zeros((2, 2), object), TypeError), ({1, 2}, TypeError), (lambda: 1, TypeError),
])
def test_what_the_host_cannot_hold_is_refused(echo, value, error):
    with pytest.raises(error):
        echo(value)


def test_what_contains_itself_is_refused(echo):
    inside = []
    inside.append(inside)
    fields = {}
    fields["fields"] = fields
    for value in (inside, fields):
        with pytest.raises(RecursionError):
            echo(value)
    deep = "x"
    for _ in range(200):
        deep = [deep, 1]
    assert echo(deep)[1][0] == 1


def test_numbers_lie_in_the_hosts_memory_and_go_with_the_last_reference(echo):
    gc.collect()
    before = _readkit.live_arrays(), _readkit.live_blocks()
    numbers = np.arange(100_000, dtype=np.uint32)
    result = echo(numbers)
    assert not result.flags.owndata and result.flags.writeable and result.base is not None
    assert _readkit.live_arrays() == before[0] + 1 and _readkit.live_blocks() == before[1] + 1
    part = result[10:20]
    address = result.__array_interface__["data"][0]
    del result
    assert part.__array_interface__["data"][0] == address + 40
    assert part.tolist() == list(range(10, 20))
    assert _readkit.live_arrays() == before[0] + 1
    del part
    assert (_readkit.live_arrays(), _readkit.live_blocks()) == before
    inside = echo({"numbers": numbers})["numbers"]
    assert not inside.flags.owndata and inside[99_999] == 99_999
    del inside
    assert (_readkit.live_arrays(), _readkit.live_blocks()) == before


def test_texts_leave_no_host_arrays_behind(echo):
    gc.collect()
    before = _readkit.live_arrays()
    column = echo(["one", "two"])
    assert _readkit.live_arrays() == before
    assert bytes(column.data) == b"onetwo" and column.offsets.tolist() == [0, 3, 6]
    assert column.data.__array_interface__["data"][0] == column.data.__array_interface__["data"][0]
    assert not column.data.flags.owndata and not column.data.flags.writeable
    data = column.data
    del column
    assert bytes(data) == b"onetwo"
    assert "one" in repr(echo(["one"] * 10)) and repr(echo([])) == "<TextColumn of 0>"
    for row in (2, -3):
        with pytest.raises(IndexError):
            echo(["a", "b"])[row]
        with pytest.raises(IndexError):
            echo(["a", "b"]).take([row])


def test_columns_over_other_arrays_keep_them_and_check_them():
    data, offsets = np.frombuffer(b"onetwo", np.uint8), np.array([0, 3, 3, 6])
    column = _readkit.text_column(data, offsets)
    references = sys.getrefcount(data)
    assert column.to_list() == ["one", "", "two"]
    assert column.data.__array_interface__["data"] == data.__array_interface__["data"]
    capsules = column.__arrow_c_array__()
    del column
    assert values_of(*structures(capsules)) == [b"one", b"", b"two"]
    del capsules
    assert sys.getrefcount(data) == references - 1
    for wrong in ([0, 3, 7], [0, 4, 3], [-1, 3], []):
        with pytest.raises(ValueError):
            _readkit.text_column(data, np.array(wrong, np.int64))
    for array, places in ((data[::2], offsets), (data, offsets.astype(np.int32)),
                          (data.reshape(2, 3), offsets), (data, offsets[::2])):
        with pytest.raises(TypeError):
            _readkit.text_column(array, places)


# ---- Arrow -------------------------------------------------------------------------------------


class Schema(ctypes.Structure):
    pass


class Array(ctypes.Structure):
    pass


Schema._fields_ = [
    ("format", ctypes.c_char_p), ("name", ctypes.c_char_p), ("metadata", ctypes.c_char_p),
    ("flags", ctypes.c_int64), ("n_children", ctypes.c_int64),
    ("children", ctypes.POINTER(ctypes.POINTER(Schema))), ("dictionary", ctypes.c_void_p),
    ("release", ctypes.CFUNCTYPE(None, ctypes.POINTER(Schema))), ("private", ctypes.c_void_p)]
Array._fields_ = [
    ("length", ctypes.c_int64), ("null_count", ctypes.c_int64), ("offset", ctypes.c_int64),
    ("n_buffers", ctypes.c_int64), ("n_children", ctypes.c_int64),
    ("buffers", ctypes.POINTER(ctypes.c_void_p)),
    ("children", ctypes.POINTER(ctypes.POINTER(Array))), ("dictionary", ctypes.c_void_p),
    ("release", ctypes.CFUNCTYPE(None, ctypes.POINTER(Array))), ("private", ctypes.c_void_p)]

pointer_in = ctypes.pythonapi.PyCapsule_GetPointer
pointer_in.restype, pointer_in.argtypes = ctypes.c_void_p, [ctypes.py_object, ctypes.c_char_p]


def structures(capsules):
    schema = ctypes.cast(pointer_in(capsules[0], b"arrow_schema"), ctypes.POINTER(Schema))
    array = ctypes.cast(pointer_in(capsules[1], b"arrow_array"), ctypes.POINTER(Array))
    return schema.contents, array.contents


def values_of(schema, array):
    """The values of an exported array, as a consumer reads them."""
    count, offset = array.length, array.offset

    def buffer(index, dtype, size):
        address = array.buffers[index]
        memory = (ctypes.c_char * (size * np.dtype(dtype).itemsize)).from_address(address)
        return np.frombuffer(memory, dtype)

    if schema.format == b"+s":
        names = [schema.children[i].contents.name.decode() for i in range(schema.n_children)]
        return {name: values_of(schema.children[i].contents, array.children[i].contents)
                for i, name in enumerate(names)}
    if schema.format in (b"U", b"Z"):
        offsets = buffer(1, "i8", offset + count + 1)[offset:]
        data = buffer(2, "u1", int(offsets[-1])).tobytes() if offsets[-1] else b""
        texts = [data[begin:end] for begin, end in zip(offsets, offsets[1:])]
        if array.buffers[0]:
            bits = np.unpackbits(buffer(0, "u1", (offset + count + 7) // 8), bitorder="little")
            texts = [text if bit else None for text, bit in zip(texts, bits[offset:])]
        return texts
    dtype = dict(zip("csilCSILfg", ["i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8"]))
    return buffer(1, dtype[schema.format.decode()], count).tolist()


@quick
@given(st.lists(st.one_of(st.none(), st.text(st.characters(blacklist_categories=["Cs"]))),
                min_size=2), st.integers(0, 9))
def test_arrow_reads_columns_and_their_slices(echo, texts, start):
    column = echo(texts)[start:]
    capsules = column.__arrow_c_array__()
    del column
    schema, array = structures(capsules)
    expected = [None if text is None else text.encode() for text in texts[start:]]
    assert schema.format == b"U" and array.length == len(expected)
    assert values_of(schema, array) == expected
    assert array.null_count in (-1, expected.count(None))
    # A consumer moves the content out and releases it.
    array.release(ctypes.byref(array))
    assert not array.release


def test_arrow_takes_bytes_that_are_no_utf8_as_binary(echo):
    schema, array = structures(capsules := echo([b"\xff", b"a"]).__arrow_c_array__())
    assert schema.format == b"Z" and values_of(schema, array) == [b"\xff", b"a"]
    del capsules


@pytest.mark.parametrize("rows", [0, 1, 5])
def test_arrow_reads_tables(echo, rows):
    columns = {}
    for dtype in map(np.dtype, ["i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8", "f4", "f8"]):
        limits = np.finfo(dtype) if dtype.kind == "f" else np.iinfo(dtype)
        numbers = np.array([limits.max, limits.min, 1, 2, 3], dtype)[:rows]
        columns[dtype.str] = echo(numbers)
    columns["text"] = echo([str(i) for i in range(rows)])
    addresses = [column.__array_interface__["data"][0] for column in columns.values()
                 if isinstance(column, np.ndarray)]
    expected = {name: column.tolist() for name, column in columns.items() if name != "text"}
    schema, array = structures(capsules := readkit.Table(columns, rows).__arrow_c_array__())
    del columns
    gc.collect()
    assert array.length == rows
    if rows:
        values = values_of(schema, array)
        assert values.pop("text") == [str(i).encode() for i in range(rows)]
        assert values == expected
        assert [array.children[i].contents.buffers[1] for i in range(len(addresses))] == addresses
    del capsules


def test_tables_that_arrow_cannot_read_are_refused():
    with pytest.raises(ValueError):
        readkit.Table({"a": np.zeros(3), "b": np.zeros(2)}, 3).__arrow_c_array__()
    for column in (np.zeros(3, "c16"), np.zeros(6)[::2], np.zeros((3, 1)), np.zeros(3, ">f8")):
        with pytest.raises(TypeError):
            readkit.Table({"a": column}, 3).__arrow_c_array__()


# ---- Errors ------------------------------------------------------------------------------------


def test_errors_tell_kind_arguments_and_path():
    with pytest.raises(FileNotFoundError) as raised:
        readkit.gateway.getHeader("none.bam")
    error = raised.value
    assert isinstance(error, (readkit.Error, OSError))
    assert type(error) is readkit.errors.FileNotFound
    assert error.identifier == "seqlab:readkit:FileNotFound"
    assert error.arguments == ("none.bam",) and error.path == error.filename == "none.bam"
    assert "'none.bam' cannot be opened" in str(error)
    again = pickle.loads(pickle.dumps(error))
    assert type(again) is type(error) and again.path == "none.bam" and str(again) == str(error)


def test_every_kind_has_a_class():
    source = (pathlib.Path(__file__).resolve().parents[2] / "docs/errors.md").read_text()
    identifiers = [line.split("`")[1] for line in source.splitlines()
                   if line.startswith("| `seqlab:") or line.startswith("| `Tessel:")]
    assert len(identifiers) > 40
    plain = [name for name in identifiers
             if type(readkit.errors.error_of(name, (), "")) is readkit.Error]
    # Those that no caller of this package can meet, or can do anything about.
    assert set(plain) == {
        "Tessel:cpp:bad_function_call", "Tessel:cpp:exception", "Tessel:host:NoFunction",
        "Tessel:host:NullInput", "Tessel:host:InvalidOutput", "Tessel:host:Interrupted",
        *(name for name in identifiers if name.startswith("Tessel:array:"))}


@pytest.mark.parametrize("call, kind", [
    (lambda g: g.getNumReferences(), "InvalidArgCount"),
    (lambda g: g.getNumReferences("x", nargout=2), "TooManyOutputs"),
    (lambda g: g.getNumReferences("x", nargout=-1), "OutputCount"),
    (lambda g: g.getNumReferences(7), "MustBeStringScalarOrCharacterVector"),
    (lambda g: g.getNumReferences([None]), "MissingNotSupported"),
])
def test_wrong_arguments_are_type_errors(call, kind):
    with pytest.raises(TypeError) as raised:
        call(readkit.gateway)
    assert isinstance(raised.value, getattr(readkit.errors, kind)) and raised.value.path is None


def test_functions_are_found_by_name():
    assert len(readkit.gateway.names()) == 24
    assert readkit.gateway.bamInfo.__name__ == "bamInfo" and "bamInfo(" in \
        readkit.gateway.bamInfo.__doc__
    with pytest.raises(AttributeError):
        readkit.gateway.nothing
    assert set(readkit.gateway.names()) <= set(dir(readkit.gateway))


def test_other_libraries_are_used_on_demand(reads_bam, tmp_path, monkeypatch):
    from readkit import libraries

    fast = libraries.library()
    with pytest.raises(readkit.errors.LibraryNotFound):
        readkit.use_library(tmp_path / "none.so")
    assert libraries.library() is fast
    sizes = {}
    for flavour in ("exact", "fast"):
        monkeypatch.setenv("READKIT_LIBRARY", flavour)
        monkeypatch.setattr(libraries, "_library", None)
        readkit.gateway.bamSort(reads_bam, str(tmp_path / flavour))
        sizes[flavour] = (tmp_path / f"{flavour}.bam").read_bytes()
    assert sizes["exact"] != sizes["fast"]
