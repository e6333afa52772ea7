import pytest

import vantrel.base.Tessarine as T


class Master:
    address = "10.0.0.1"
    _masterInfo = {"Product Name": "AL1100"}

    def driverName(self):
        return "Drv"


class Iodd:
    def _getErrorText(self, code):
        return f"text {code:#x}"

    def _getError(self, message):
        if message == "known":
            return 17
        if message == "broken":
            raise KeyError(message)
        raise T.DriverException("no code")


@pytest.mark.parametrize(
    "make, message, code",
    [
        (lambda: T.OrvaneException("x"), "x", -1),
        (lambda: T.OrvaneException("x", 5), "x", 5),
        (lambda: T.OrvaneException("x", True), "x", True),
        (lambda: T.RequestException("404 Not Found", 404), "404 Not Found", 404),
        (lambda: T.RequestException("x"), "x", 0),
        (lambda: T.IOLinkException([0x80, 0x11], None), "IO-Link error code 0x8011", 32785),
        (lambda: T.IOLinkException(0x8011, None), "IO-Link error code 0x8011", 32785),
        (lambda: T.IOLinkException((0, 0, 9), None), "IO-Link error code 0x0000", 0),
        (lambda: T.IOLinkException([0x80, 0x11], Iodd()), "text 0x8011", 32785),
        (lambda: T.IOLinkException("x", 7), "x", 7),
        (lambda: T.IOLinkException("known", Iodd()), "known", 17),
        (lambda: T.IOLinkException("unknown", Iodd()), "unknown", -1),
        (lambda: T.NotSupportedError(), "Not supported by this master", -1),
        (lambda: T.NotSupportedError(name="port"), '"port" is not supported by this master', -1),
        (lambda: T.NotSupportedError("boom", "x"), "boom", -1),
        (lambda: T.InvalidCallException("bad"), "bad Please send us traceback for analyse.", -1),
        (lambda: T.SimNotPluggedinException(""), "Simulation device or master not plugged in", -1),
        (lambda: T.SimNotPluggedinException(None), "Simulation device or master not plugged in", -1),
        (lambda: T.MasterNotConnectedException(), "Master not connected", -1),
        (lambda: T.NotConnectedException(), "not connected", -1),
        (lambda: T.MasterException("10.0.0.1", b"\x01\xab"), "Master Error (10.0.0.1): 01.ab", -1),
        (lambda: T.MasterException("10.0.0.1", b""), "Master Error (10.0.0.1): ", -1),
        (lambda: T.MasterMalfunctionException(Master()),
         'Drv: master malfunction detected: "10.0.0.1" (AL1100). Please restart the master.', -1),
        (lambda: T.InvalidIoddException("a.xml"), 'Not a valid IODD: "a.xml"', -1),
        (lambda: T.BlockParameterWritingNotActiveException(), "Block parameter writing not active", -1),
        (lambda: T.CommunicationFailedError(), "Communication failed", -1),
    ],
)
def test_message_and_code(make, message, code):
    error = make()
    assert (error.message, error.code, error.args, str(error)) == (message, code, (message,), str(message))


def test_malfunction_without_product_name():
    master = Master()
    master._masterInfo = {}
    assert str(T.MasterMalfunctionException(master)).endswith('"10.0.0.1" (None). Please restart the master.')


@pytest.mark.parametrize(
    "make, text",
    [(lambda: T.NotImplementedAbstract(), "Abstract not implemented"), (lambda: T.NotImplementedYet(0),
     "Not implemented yet"), (lambda: T.NotImplementedYet("later"), "later")],
)
def test_outside_the_tree(make, text):
    error = make()
    assert str(error) == text and isinstance(error, NotImplementedError)
    assert not isinstance(error, T.OrvaneException) and not hasattr(error, "message")


@pytest.mark.parametrize(
    "make, error",
    [
        (lambda: T.OrvaneException("x", "5").code, AttributeError),
        (lambda: T.DriverException("x", 3), TypeError),
        (lambda: T.IOLinkException("x", None), AttributeError),
        (lambda: T.IOLinkException(b"x", None), AttributeError),
        (lambda: T.IOLinkException([1], None), IndexError),
        (lambda: T.IOLinkException("broken", Iodd()), KeyError),
        (lambda: T.MasterException("a", "no hex"), AttributeError),
    ],
)
def test_constructor_failures(make, error):
    with pytest.raises(error):
        make()


def test_tree_shape():
    assert issubclass(T.MasterNotConnectedException, T.NotConnectedException)
    assert not issubclass(T.MasterNotConnectedException, T.DriverException)
    assert issubclass(T.BlockParameterReadingNotActiveException, T.BlockParameterException)
    assert T.RequestException.__doc__ == "Request exception." and T.RequestException.__bases__ == (T.DriverException,)
