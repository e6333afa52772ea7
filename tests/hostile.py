"""Arguments that break native code which trusts them, and the verdict on what a call may raise (sweeps, memory)."""
import re
import sys


class Hostile(Exception):
    """What the hostile objects raise: an ordinary exception of the caller's."""


def fail(*args, **kwargs):
    raise Hostile("hostile")


PROTOCOL = ("__eq__ __ne__ __lt__ __gt__ __hash__ __bool__ __str__ __repr__ __format__ __len__ __iter__ __index__ "
            "__getattr__ __getattribute__ __getitem__ __contains__ __call__").split()


def failing(name):
    """An object whose one protocol method `name` fails."""
    namespace = {name: fail}
    if name == "__eq__":
        namespace["__hash__"] = object.__hash__  # __eq__ alone would make it unhashable
    return type("Failing" + name.strip("_").title(), (), namespace)()


def failing_subclass(base, methods):
    return type("Failing" + base.__name__.title(), (base,), dict.fromkeys(methods.split(), fail))


FailingDict = failing_subclass(dict, "items values keys get __getitem__ __iter__ __len__ __contains__ pop copy clear "
                                     "setdefault update __setitem__ __delitem__")
FailingList = failing_subclass(list, "__getitem__ __iter__ __len__ __contains__ index append remove extend pop "
                                     "__setitem__ copy __reversed__")
FailingStr = failing_subclass(str, "lower upper replace strip find startswith index join split encode __getitem__ "
                                   "__len__ __iter__ __eq__ __hash__ __format__ __str__ __contains__ __add__ __mod__")


def lying(base, **answers):
    """A subclass of `base` whose methods answer anything but the truth: what `answers` gives, or for a callable,
    what it makes of the instance."""
    method = lambda answer: lambda self, *args, **kwargs: answer(self) if callable(answer) else answer
    return type("Lying" + base.__name__.title(), (base,), {name: method(answer) for name, answer in answers.items()})


Unsure = failing_subclass(object, "__bool__")  # a truth value that cannot be decided
EverythingFails = failing_subclass(object, " ".join(set(PROTOCOL) - {"__getattribute__"}))
itself = lambda instance: instance
# The hash of 7, which Shifty keys share.
Liar = lying(object, **dict.fromkeys(("__eq__", "__ne__", "__lt__", "__gt__", "__le__", "__ge__"), Unsure()),
             __hash__=7, __len__=sys.maxsize, __iter__=5, __str__=5, __repr__=5, __format__=None, __index__=1.5,
             __getattr__=itself)
LyingDict = lying(dict, items=lambda self: [(1,), "abc", None, (self, self, self)], values=lambda self: [self, None, 5],
                  keys=None, get=itself, __getitem__=itself, __iter__=lambda self: iter([Liar(), self, None]),
                  __len__=0, __contains__=True, pop=itself)
LyingList = lying(list, __len__=sys.maxsize, __getitem__=itself, __iter__=lambda self: iter([self, Liar(), -1]),
                  index=sys.maxsize)
LyingStr = lying(str, lower=5, upper=5, replace=None, strip=[], find="x", __len__=sys.maxsize, __getitem__=itself,
                 __eq__=True, __hash__=0, __format__=5)


class Shifty:
    """A key whose every other comparison refills its dictionary with another such key (a look-up starts again after
    a change: every one would never end)."""
    shifts = False
    __init__ = lambda self, home: setattr(self, "home", home)
    __hash__ = lambda self: 7

    def __eq__(self, other):
        Shifty.shifts = not Shifty.shifts
        if Shifty.shifts:
            self.home.clear()
            self.home.update({"a": {}, Shifty(self.home): [self.home]})
        return False


class Growing:
    """A key whose hash grows its dictionary."""
    __init__ = lambda self, home: setattr(self, "home", home)
    __hash__ = lambda self: self.home.__setitem__(object(), None) or 3


def looped_dict():
    looped = {}
    looped["a"] = looped
    return looped


def looped_mixed():
    mixed = {"a": [None]}
    mixed["a"][0] = mixed
    mixed["b"] = (mixed["a"], mixed)
    return mixed


def nested(depth, *kinds):
    """`depth` levels below the top, the kinds of container taking turns."""
    inner = kinds[depth % len(kinds)]()
    for level in reversed(range(depth)):
        inner = {"a": inner} if kinds[level % len(kinds)] is dict else [inner]
    return inner


def nested_dict(depth):
    return nested(depth, dict)


def abyss():
    """Nested so deep that a walk which recurses in native code without counting levels runs out of stack."""
    return [nested(100000, *kinds) for kinds in ((dict,), (list,), (dict, list))]


def odd_values(depth=3000):
    """Values no caller should pass, each at most once; nested structures go `depth` levels deep, past the limit."""
    looped_list, shifting, growing = [], {}, {}
    looped_list.append(looped_list)
    shifting.update({"a": 1, Shifty(shifting): 2, ("x", 7): Shifty(shifting)})
    growing[Growing(growing)] = 1
    scalars = [None, True, 0, -1, 2**64, -2**63, 10**400, 1.5, float("nan"), float("inf"), "", "x y", "\ud800",
               "Größe A\\B", b"\x01\xab", bytearray(b"\xff"), object(), int, type("UserClass", (), {}),
               Hostile("given"), 2**31, 2**63, -2**63 - 1, -0.0, 5e-324, "\x00"]  # ends of native types
    containers = [[], [1, 2.5], (1,), ("f", 1, 2, "t"), {}, {"a": {"b": 1}}, {"Vendor ID": 1, "IsduSupport": 1},
                  {1}, looped_dict(), looped_list, looped_mixed(), nested_dict(depth), nested(depth, list)]
    hostile = [failing(name) for name in PROTOCOL]
    hostile += [EverythingFails(), Liar(), Unsure(), FailingDict({"a": 1}), FailingList([1]), FailingStr("abc"),
                LyingDict({"a": 1, "Vendor ID": 1}), LyingList([1]), LyingStr("abc"), shifting, growing,
                [Liar(), Unsure()], {"a": failing("__eq__"), "b": LyingStr("x")}]
    return scalars + containers + hostile


# The interpreter's own errors for a container changed while walked: no other RuntimeError may come out of the module.
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
