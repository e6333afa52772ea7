"""Arguments that break native code which trusts what it is given: numbers at
the edges of their types, containers that hold themselves or nest past the
recursion limit, subclasses of dict, list and str whose methods lie or fail,
objects whose every protocol method fails, and dictionaries that change under
a walk.  The sweeps, the property-based test and the memory test share them,
and so does the verdict on what a call may raise."""
import re
import sys


class Hostile(Exception):
    """What the hostile objects raise: an ordinary exception of the caller's."""


def fail(*args, **kwargs):
    raise Hostile("hostile")


# --- objects whose protocol fails ------------------------------------------

PROTOCOL = ("__eq__", "__ne__", "__lt__", "__gt__", "__hash__", "__bool__", "__str__", "__repr__", "__format__",
            "__len__", "__iter__", "__index__", "__getattr__", "__getattribute__", "__getitem__", "__contains__",
            "__call__")


def failing(name):
    namespace = {name: fail}
    if name == "__eq__":
        namespace["__hash__"] = object.__hash__  # __eq__ alone would make it unhashable
    return type("Failing" + name.strip("_").title(), (), namespace)()


class Liar:
    """Answers every protocol question with something of the wrong kind."""

    def __eq__(self, other):
        return Liar.truth

    __ne__ = __lt__ = __gt__ = __le__ = __ge__ = __eq__

    def __hash__(self):
        return 7  # the hash of 7, which Shifty keys share

    def __len__(self):
        return sys.maxsize

    def __iter__(self):
        return 5

    def __str__(self):
        return 5

    __repr__ = __str__

    def __format__(self, spec):
        return None

    def __index__(self):
        return 1.5

    def __getattr__(self, name):
        return self


class Unsure:
    """A truth value that cannot be decided."""

    __bool__ = fail


Liar.truth = Unsure()


def everything_fails():
    names = [name for name in PROTOCOL if name != "__getattribute__"]
    namespace = dict.fromkeys(names, fail)
    return type("EverythingFails", (), namespace)()


# --- containers that lie --------------------------------------------------

DICT_METHODS = ("items", "values", "keys", "get", "__getitem__", "__iter__", "__len__", "__contains__", "pop",
                "copy", "clear", "setdefault", "update", "__setitem__", "__delitem__")
LIST_METHODS = ("__getitem__", "__iter__", "__len__", "__contains__", "index", "append", "remove", "extend", "pop",
                "__setitem__", "copy", "__reversed__")
STR_METHODS = ("lower", "upper", "replace", "strip", "find", "startswith", "index", "join", "split", "encode",
               "__getitem__", "__len__", "__iter__", "__eq__", "__hash__", "__format__", "__str__", "__contains__",
               "__add__", "__mod__")


def failing_subclass(base, methods):
    return type("Failing" + base.__name__.title(), (base,), dict.fromkeys(methods, fail))


FailingDict = failing_subclass(dict, DICT_METHODS)
FailingList = failing_subclass(list, LIST_METHODS)
FailingStr = failing_subclass(str, STR_METHODS)


class LyingDict(dict):
    """Its views, look-ups and size disagree with its contents."""

    def items(self):
        return [(1,), "abc", None, (self, self, self)]

    def values(self):
        return [self, None, 5]

    def keys(self):
        return None

    def get(self, key, default=None):
        return self

    def __getitem__(self, key):
        return self

    def __iter__(self):
        return iter([Liar(), self, None])

    def __len__(self):
        return 0

    def __contains__(self, key):
        return True

    def pop(self, *args):
        return self


class LyingList(list):
    """Longer than it is, and every item is itself."""

    def __len__(self):
        return sys.maxsize

    def __getitem__(self, index):
        return self

    def __iter__(self):
        return iter([self, Liar(), -1])

    def index(self, value, *args):
        return sys.maxsize


class LyingStr(str):
    """A text whose text operations answer with anything but text."""

    def lower(self):
        return 5

    upper = lower

    def replace(self, *args):
        return None

    def strip(self, *args):
        return []

    def find(self, *args):
        return "x"

    def __len__(self):
        return sys.maxsize

    def __getitem__(self, index):
        return self

    def __eq__(self, other):
        return True

    def __hash__(self):
        return 0

    def __format__(self, spec):
        return 5


# --- dictionaries that change under a walk ---------------------------------

class Shifty:
    """A key whose comparison empties its dictionary and refills it with
    another such key; it shares its hash with the number 7.  Only every other
    comparison does so: a look-up starts again after a change, and would
    never end."""
    shifts = False

    def __init__(self, home):
        self.home = home

    def __hash__(self):
        return 7

    def __eq__(self, other):
        Shifty.shifts = not Shifty.shifts
        if Shifty.shifts:
            self.home.clear()
            self.home.update({"a": {}, Shifty(self.home): [self.home]})
        return False


def shifting_dict():
    home = {}
    home.update({"a": 1, Shifty(home): 2, ("x", 7): Shifty(home)})
    return home


class Growing:
    """A key whose hash grows its dictionary."""

    def __init__(self, home):
        self.home = home

    def __hash__(self):
        self.home[object()] = None
        return 3


def growing_dict():
    home = {}
    home[Growing(home)] = 1
    return home


# --- structures that contain themselves or nest too deep --------------------

def looped_dict():
    looped = {}
    looped["a"] = looped
    return looped


def looped_list():
    looped = []
    looped.append(looped)
    return looped


def looped_mixed():
    mixed = {"a": [None], "b": ()}
    mixed["a"][0] = mixed
    mixed["b"] = (mixed["a"], mixed)
    return mixed


def nested_dict(depth):
    top = current = {}
    for _ in range(depth):
        current["a"] = {}
        current = current["a"]
    return top


def nested_list(depth):
    top = current = []
    for _ in range(depth):
        current.append([])
        current = current[0]
    return top


def nested_mixed(depth):
    top = current = {}
    for level in range(depth):
        inner = {} if level % 2 else []
        if isinstance(current, dict):
            current["a"] = inner
        else:
            current.append(inner)
        current = inner
    return top


def abyss():
    """Structures nested so deep that a walk which recurses in native code
    without counting levels runs out of stack."""
    return [nested_dict(100000), nested_list(100000), nested_mixed(100000)]


class UserClass:
    pass


def odd_values(depth=3000):
    """Values no caller should pass, each at most once; nested structures go
    `depth` levels deep, past the recursion limit."""
    scalars = [None, True, 0, -1, 2**64, -2**63, 10**400, 1.5, float("nan"), float("inf"), "", "x y", "\ud800",
               "Größe A\\B", b"\x01\xab", bytearray(b"\xff"), object(), int, UserClass, Hostile("given")]
    containers = [[], [1, 2.5], (1,), ("f", 1, 2, "t"), {}, {"a": {"b": 1}}, {"Vendor ID": 1, "IsduSupport": 1},
                  {1}, looped_dict(), looped_list(), looped_mixed(), nested_dict(depth), nested_list(depth)]
    hostile = [failing(name) for name in PROTOCOL]
    hostile += [everything_fails(), Liar(), Unsure(), FailingDict({"a": 1}), FailingList([1]), FailingStr("abc"),
                LyingDict({"a": 1, "Vendor ID": 1}), LyingList([1]), LyingStr("abc"), shifting_dict(),
                growing_dict(), [Liar(), Unsure()], {"a": failing("__eq__"), "b": LyingStr("x")}]
    return scalars + containers + hostile


# --- what a call may raise -------------------------------------------------

# The interpreter's own errors for a container that changed while it was
# walked: no other RuntimeError may come out of the module.
CHANGED_DURING_WALK = re.compile(r"(dictionary|Set|deque) (changed size|keys changed|mutated) during iteration")


def verdict(error, ordinary):
    """None for an ordinary failure, else what is wrong with `error`."""
    if isinstance(error, SystemError):
        return "SystemError: %s" % error
    if isinstance(error, RuntimeError) and not isinstance(error, (RecursionError, NotImplementedError)):
        return None if CHANGED_DURING_WALK.fullmatch(str(error)) else "RuntimeError: %s" % error
    # A plain Exception is what the error handler raises for a bad mode or level.
    if not isinstance(error, ordinary) and type(error) is not Exception:
        return "unexpected %s: %s" % (type(error).__name__, error)
    return None
