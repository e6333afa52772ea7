import datetime

import pytest

import vantrel.base.Tessarine as T

STAMP = datetime.datetime(2021, 3, 4, 14, 7, 33, 250000)


@pytest.mark.parametrize("headers, names, types, is_dict, is_raw", [
    (["Time", "PD (hex)"], ["PD"], ["hex"], False, True),
    (["Time", "Temp (float)"], ["Temp"], ["float"], False, False),
    (["t", "a (int)", "b (hex)"], ["a", "b"], ["int", "hex"], True, False),
    (["t", "Level (x) (UInteger) tail"], ["Level (x)"], ["UInteger"], False, False),
])
def test_header_parsing(headers, names, types, is_dict, is_raw):
    stream = T.ProcessDataStreamTable(headers)
    assert (stream.names, stream.types, stream.isDict, stream.isRaw, stream.headerNames) \
        == (names, types, is_dict, is_raw, headers)


@pytest.mark.parametrize("header", ["PD(hex)", "PD hex"])
def test_header_without_type_is_refused(header):
    with pytest.raises(AttributeError, match="^'NoneType' object has no attribute 'group'$"):
        T.ProcessDataStreamTable(["Time", header])


def test_column_views():
    stream = T.ProcessDataStreamTable(["Time", "PD (hex)"])
    stream.add_rows([[STAMP, "01"], ["14:07:34", "02"]])
    assert (stream.datetimes, stream.times, stream.timesStr, stream.values, len(stream), stream.count) \
        == ([STAMP, "14:07:34"], [STAMP.time(), "14:07:34"], [str(STAMP), "14:07:34"], ["01", "02"], 2, 2)


# Names in a list pair with the base table's row lists in place, others as zip pairs them.
@pytest.mark.parametrize("sequence", [list, tuple])
def test_record_values_are_dicts_keyed_by_name(sequence):
    stream = T.ProcessDataStreamTable(["t", "a (int)", "b (int)"])
    stream.add_rows([[0, 1, 2], [1, 3, 4]])
    stream._names = sequence(stream.names)
    assert stream.values == [{"a": 1, "b": 2}, {"a": 3, "b": 4}]
    stream._names = sequence(["x", "y", "z"])
    stream._rows[0] += [9, 8]  # now one row is longer than the names, the other shorter
    assert stream.values == [{"x": 1, "y": 2, "z": 9}, {"x": 3, "y": 4}]
