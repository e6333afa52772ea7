import datetime

import prettytable
import pytest

import vantrel.base.Tessarine as T

STAMP = datetime.datetime(2021, 3, 4, 14, 7, 33, 250000)


def table(headers, *rows):
    result = T.ProcessDataStreamTable(headers)
    for row in rows:
        result.add_row(row)
    return result


@pytest.mark.parametrize(
    "headers, names, types, is_dict, is_raw",
    [
        (["Time", "PD (hex)"], ["PD"], ["hex"], False, True),
        (["Time", "Temp (float)"], ["Temp"], ["float"], False, False),
        (["t", "a (int)", "b (hex)"], ["a", "b"], ["int", "hex"], True, False),
        (["t", "Level (x) (UInteger) tail"], ["Level (x)"], ["UInteger"], False, False),
    ],
)
def test_header_parsing(headers, names, types, is_dict, is_raw):
    stream = table(headers)
    assert (stream.names, stream.types, stream.isDict, stream.isRaw) == (names, types, is_dict, is_raw)
    assert stream.names is stream._names and stream.types is stream._types
    assert stream.headerNames == headers


def test_prints_as_its_base_table():
    headers, rows = ["Time", "a (int)", "b (hex)"], [[STAMP, 1, "0A"], ["14:07:34", 2, "0B"]]
    plain = prettytable.PrettyTable(headers)
    plain.add_rows(rows)
    assert isinstance(table(headers), prettytable.PrettyTable)
    assert str(table(headers, *rows)) == str(plain)


def test_time_column_views():
    stream = table(["Time", "PD (hex)"], [STAMP, "01"], ["14:07:34", "02"])
    assert stream.datetimes == [STAMP, "14:07:34"]
    assert stream.times == [STAMP.time(), "14:07:34"]
    assert stream.timesStr == [str(STAMP), "14:07:34"]
    assert stream.values == ["01", "02"]
    assert len(stream) == stream.count == 2


@pytest.mark.parametrize("sequence", [list, tuple])
def test_record_values_are_dicts_keyed_by_name(sequence):
    stream = table(["t", "a (int)", "b (int)"], [0, 1, 2], [1, 3, 4])
    stream._names = sequence(stream._names)
    assert stream.values == [{"a": 1, "b": 2}, {"a": 3, "b": 4}]
    # The shorter side decides, as with zip.
    stream._names = sequence(["x", "y", "z"])
    assert stream.values == [{"x": 1, "y": 2}, {"x": 3, "y": 4}]
    stream._names = sequence(["x", "y"])
    stream._rows[0].append(9)
    assert stream.values[0] == {"x": 1, "y": 2}


def test_empty_stream():
    stream = table(["Time", "PD (hex)"])
    assert stream.datetimes == stream.times == stream.timesStr == stream.values == []
    assert len(stream) == stream.count == 0


@pytest.mark.parametrize("headers, attribute, error", [(["t"], "isRaw", IndexError), (["t"], "isDict", None)])
def test_time_column_only(headers, attribute, error):
    stream = table(headers)
    if error:
        with pytest.raises(error):
            getattr(stream, attribute)
    else:
        assert getattr(stream, attribute) is False


@pytest.mark.parametrize("header", ["PD(hex)", "PD hex", "PD (hex"])
def test_header_without_type_is_refused(header):
    with pytest.raises(AttributeError, match="'NoneType' object has no attribute 'group'"):
        T.ProcessDataStreamTable(["Time", header])


def test_documentation():
    assert T.ProcessDataStreamTable.isDict.__doc__ == "Stream cointains record data (dict)"
    assert T.ProcessDataStreamTable.values.__doc__.startswith("List of process data values")
