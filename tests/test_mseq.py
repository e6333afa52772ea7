import pytest

import vantrel.base.Tessarine as T


def test_no_process_data():
    assert T.parseMseqCapability(0, 0, 0) == {
        "IsduSupport": False,
        "Operate": {"type": None, "IsduByteLength": 0},
        "Preoperate": {"type": "TYPE_0", "IsduByteLength": 1, "MinRecoveryBitTime": 100},
    }
    assert list(T.parseMseqCapability(0, 0, 0)["Preoperate"]) == ["type", "IsduByteLength", "MinRecoveryBitTime"]


@pytest.mark.parametrize(
    "capability, isdu_support, operate_length, preoperate",
    [
        (0x10, False, 8, ("TYPE_1_2", 2, 100)),
        (0x21, True, 0, ("TYPE_1_V", 8, 210)),
        (0x31, True, 8, (None, 32, 550)),
        (0xCE, False, 0, ("TYPE_0", 1, 100)),
    ],
)
def test_capability_bits(capability, isdu_support, operate_length, preoperate):
    result = T.parseMseqCapability(capability, 0, 0)
    assert result["IsduSupport"] is isdu_support
    assert result["Operate"] == {"type": None, "IsduByteLength": operate_length}
    assert tuple(result["Preoperate"].values()) == preoperate


@pytest.mark.parametrize(
    "pd_in, pd_out, operate",
    [
        (1, 0, "TYPE_2_1"), (2, 0, "TYPE_2_2"), (0, 1, "TYPE_2_3"), (0, 2, "TYPE_2_4"),
        (1, 1, "TYPE_2_5"), (1, 2, "TYPE_2_6"), (2, 1, "TYPE_2_6"), (2, 2, "TYPE_2_7"),
    ],
)
def test_short_process_data(pd_in, pd_out, operate):
    assert T.parseMseqCapability(0, pd_in, pd_out)["Operate"] == {"type": operate, "IsduByteLength": 1}


@pytest.mark.parametrize("pd_in, pd_out", [(3, 0), (0, 3), (32, 32)])
def test_long_process_data(pd_in, pd_out):
    assert T.parseMseqCapability(0, pd_in, pd_out)["Operate"] == {"type": "TYPE_1_1/1_2", "IsduByteLength": 2}


def test_arguments_are_not_checked():
    assert T.parseMseqCapability(-1, 0, 0)["Preoperate"]["IsduByteLength"] == 32
    with pytest.raises(TypeError):
        T.parseMseqCapability(1.0, 0, 0)
    with pytest.raises(TypeError):
        T.parseMseqCapability(0, "1", 0)
