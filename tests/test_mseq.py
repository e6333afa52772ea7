import pytest

import vantrel.base.Tessarine as T
from conftest import outcome


# capability, process data in and out -> ISDU support, OPERATE type and length, PREOPERATE type, length, recovery time
@pytest.mark.parametrize("capability, pd_in, pd_out, report", [
    (0, 0, 0, (False, None, 0, "TYPE_0", 1, 100)), (0x10, 0, 0, (False, None, 8, "TYPE_1_2", 2, 100)),
    (0x21, 0, 0, (True, None, 0, "TYPE_1_V", 8, 210)), (0x31, 0, 0, (True, None, 8, None, 32, 550)),
    (0xCE, 0, 0, (False, None, 0, "TYPE_0", 1, 100)), (-1, 0, 0, (True, None, 8, None, 32, 550)),
    *[(0, pd_in, pd_out, (False, f"TYPE_2_{code}", 1, "TYPE_0", 1, 100)) for pd_in, pd_out, code in [
        (1, 0, 1), (2, 0, 2), (0, 1, 3), (0, 2, 4), (1, 1, 5), (1, 2, 6), (2, 1, 6), (2, 2, 7)]],
    *[(0, pd_in, pd_out, (False, "TYPE_1_1/1_2", 2, "TYPE_0", 1, 100)) for pd_in, pd_out in [(3, 0), (0, 3), (32, 32)]],
])
def test_capability_and_process_data_lengths(capability, pd_in, pd_out, report):
    isdu, operate_type, operate_length, *preoperate = report
    expected = {"IsduSupport": isdu, "Operate": {"type": operate_type, "IsduByteLength": operate_length},
                "Preoperate": dict(zip(["type", "IsduByteLength", "MinRecoveryBitTime"], preoperate))}
    # The text pins the order of the keys and the types of the values as well.
    assert repr(T.parseMseqCapability(capability, pd_in, pd_out)) == repr(expected)


@pytest.mark.parametrize("args, error", [
    ((1.0, 0, 0), (TypeError, "unsupported operand type(s) for >>: 'float' and 'int'")),
    ((0, "1", 0), (TypeError, "'>' not supported between instances of 'str' and 'int'")),
])
def test_arguments_fail_with_the_operations_own_error(args, error):
    assert outcome(lambda: T.parseMseqCapability(*args)) == error
