"""The module answers some calls without making them, where it can tell that the general road would
arrive at the same place.  Each such shortcut must give what plain attribute and method semantics
give, and everything that could make it wrong must take the general road: overrides and attribute
hooks in subclasses, slots, class and module attributes replaced after first use, values that are
not plain, instances whose values no longer lie inline.  The yardstick is the plain-Python baseline
of the benchmarks, put through the very same steps (`both`)."""
import collections
import contextlib
import decimal
import fractions
import importlib.util
import io
import json
import pathlib
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import run_python


def load_baseline():
    path = pathlib.Path(__file__).resolve().parent.parent / "bench" / "baseline.py"
    spec = importlib.util.spec_from_file_location("fast_roads_baseline", path)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


P = load_baseline()
NOTED = []  # what the outside objects below were asked, in order


def typed(value):
    """value with the type of each leaf and the order of each dict: 1, 1.0, True and Int(1) differ."""
    if type(value) is dict:
        return "dict", [(repr(key), typed(item)) for key, item in value.items()]
    if type(value) in (list, tuple):
        return type(value)(typed(item) for item in value)
    return type(value).__name__, repr(value)


def outcome(action):
    """What an action gives or raises, and what it prints."""
    with contextlib.redirect_stdout(io.StringIO()) as printed:
        try:
            result = typed(action())
        except Exception as error:
            result = type(error).__name__, str(error)
    return result, printed.getvalue()


def both(scenario, *args):
    """Runs scenario(M, *args) with M the module and with M the baseline: they must end alike."""
    ends = []
    for M in (T, P):
        NOTED.clear()
        ends.append(outcome(lambda: scenario(M, *args)))
    assert ends[0] == ends[1]


def replaced_in(owner, name, replacement, use):
    """use() once, so that the shortcut is judged; again with owner.name replaced; again restored."""
    first, saved = use(), vars(owner)[name]
    setattr(owner, name, replacement)
    try:
        second = use()
    finally:
        setattr(owner, name, saved)
    return first, second, use()


class Noted:
    """A value that notes each comparison made with it, and answers with a value of its own."""

    def __init__(self, tag, answer=True):
        self.tag, self.answer = tag, answer

    def __eq__(self, other):
        NOTED.append(self.tag)
        if isinstance(self.answer, Exception):
            raise self.answer
        return self.answer

    def __repr__(self):
        return f"Noted({self.tag!r})"


Int = type("Int", (int,), {"__add__": lambda self, other: Int(int(self) + other),
                           "__radd__": lambda self, other: Int(int(self) + other)})


class Text(str):
    """A format with a % of its own, never to be compared."""

    def __mod__(self, values):
        return "<" + str.__mod__(self, values) + ">"

    def __eq__(self, other):
        raise LookupError("a format is not compared")

    __hash__ = str.__hash__


# ------------------------------------------------------------------------- logger

PRINTERS = ["rw", "rwr", "rwd", "debugPeriodic", "debugSendRecv", "info", "warning", "error", "deprecated", "debug",
            "debugExecute"]
Level = type("Level", (int,), {"__lt__": lambda self, other: NOTED.append(("<", other)) or int(self) < other})


def logger(M, level, cls=None):
    made = (cls or M.Logger)(level)
    made._printDate = False
    return made


def log_all(made):
    return [outcome(lambda: getattr(made, name)("m %s", 1)) for name in PRINTERS]


@pytest.mark.parametrize("level", [0, 4, 11, -1, 3.0, 4.5, Level(3), Level(11), 10**30, -10**30, True, None, "x"])
def test_filter_decides_as_log_would(level):
    both(lambda M: (log_all(logger(M, level)), NOTED[:]))


# ------------------------------------------------------------------------ figures

VALUES = {
    "ints": [3, 1, 2], "floats": [0.5, 0.25, 1.5], "mixed": [1, 2.5, 0], "huge": [10**20, -10**25, 7],
    "beyond one digit": [2**30 - 1, 1, 2**30], "negative": [-1, -2**31, 5], "int subclass": [Int(2), Int(5)],
    "float subclass": [type("Float", (float,), {})(0.5), 2], "bools": [True, False], "nan": [float("nan"), 1.0],
    "infinite, signed zero": [float("inf"), -0.0, -1e-7], "rounding": [2.5e-4, 6.25e-5, 1e12, 0.0015],
    "fractions": [fractions.Fraction(1, 3), fractions.Fraction(1, 2)], "decimals": [decimal.Decimal("1.5"), 2],
}


@pytest.mark.parametrize("cls", ["Stat", "StatMs", "StatSec"])
@pytest.mark.parametrize("values", VALUES)
def test_figures_sum_and_report_as_plain_attributes_would(cls, values):
    def scenario(M):
        seeded, bare = getattr(M, cls)(), getattr(M, cls)()
        seeded.hist.append(VALUES[values][-1])
        steps = [outcome(lambda: figure.add(value)) for value in VALUES[values] for figure in (seeded, bare)]
        merged = outcome(lambda: M.Statistics.mergestat({1: seeded, 2: M.Stat(), 3: {4: bare}}))
        return steps, merged, [outcome(lambda: read(figure)) for figure in (seeded, bare)
                               for read in (M.Statistics.stat, repr, lambda f: f.mean, vars)]
    both(scenario)


def tree_report(M, figure):
    """Statistics.getStat(True) over a tree with `figure` among plain ones."""
    tree, selector = M.Statistics([]), ("drv", "a")
    for port in (1, 2):
        tree.checkDev("drv", "a", port)
    plain = tree.receiveRepeats[selector][2]
    tree.receiveRepeats[selector][1] = tree.discoveryAllDuration[selector] = figure
    for value in (1, 2):
        outcome(lambda: figure.add(value * 3))
        plain.add(value)
    return outcome(lambda: tree.getStat(True)), outcome(lambda: M.Statistics.mergestat({0: plain, 1: figure}))


# ------------------------------------------------------------------------- events

SEQUENCE = ["Overtemp", 0x4210, "WARNING", "APPEARED", "DEVICE", 7, "12:34:56.789"]
FIELDS = ["name", "code", "type", "mode", "source", "counter", "time"]
Items = type("Items", (list,), {"__getitem__": lambda self, i: NOTED.append(("item", i)) or list.__getitem__(self, i)})
SEQUENCES = {"tuple": tuple, "list": list, "list subclass": Items, "own sequence": collections.UserList,
             "too short": lambda items: tuple(items[:3])}
FIELD_VALUES = {
    "plain": SEQUENCE,
    "answers not bool": [Noted(field, answer) for field, answer in zip(FIELDS, ["y", "y", [1], 1, "s", 2.0, 0])],
    "answers false": [Noted(field, answer) for field, answer in zip(FIELDS, [1, 1, 1, 0, 1, 1, 1])],
    "comparison raises": [Noted(field, LookupError(field) if field == "counter" else 1) for field in FIELDS],
}


def event(M, values=SEQUENCE, kind="tuple", cls=None, description="hot", port=2):
    return (cls or M.IoddEvent)("10.0.0.1", port, SEQUENCES[kind](values), description)


def compared(a, b):
    NOTED.clear()
    steps = [outcome(step) for step in (lambda: a.equalKind(b), lambda: a == b, lambda: a.equalExact(b),
                                        lambda: a != b, lambda: a.code, lambda: a.counter)]
    return steps, NOTED[:]


@pytest.mark.parametrize("kind", SEQUENCES)
@pytest.mark.parametrize("values", FIELD_VALUES)
def test_event_fields_read_in_place_or_through_the_sequence(kind, values):
    both(lambda M: [compared(event(M, FIELD_VALUES[values], kind), event(M, FIELD_VALUES[values])),
                    compared(event(M, FIELD_VALUES[values]), event(M, FIELD_VALUES[values], kind))])


@pytest.mark.parametrize("differs", FIELDS + ["description", "port"])
def test_event_equality_stops_where_plain_and_would(differs):
    def scenario(M):
        changed = [99 if field == differs else value for field, value in zip(FIELDS, SEQUENCE)]
        other = event(M, changed, description=99 if differs == "description" else "hot",
                      port=99 if differs == "port" else 2)
        return compared(event(M), other), compared(other, event(M, kind="list"))
    both(scenario)


# ------------------------------------------------------------------------ devices

Name = type("Name", (str,), {"__eq__": lambda self, other: NOTED.append(("==", other)) or str.__eq__(self, other),
                             "__hash__": str.__hash__})
Page = type("Page", (dict,), {"__contains__": lambda self, k: NOTED.append(("in", k)) or dict.__contains__(self, k),
                              "__getitem__": lambda self, k: NOTED.append(("[]", k)) or dict.__getitem__(self, k)})
PAGES = {
    "str keys": {"Vendor ID": 310, "Device ID": 7}, "int key": {5: "five", "Vendor ID": 310, "Device ID": 7},
    "str subclass keys": {Name("Vendor ID"): 1, Name("Device_ID"): 2},
    "dict subclass": Page({"Vendor ID": 310, "Device ID": 7}), "lacking": {"Other": 1}, "empty": {}, "none": None,
}
NUMBERING = types.SimpleNamespace(baseDrv=types.SimpleNamespace(portNumbering=True))


def device(M, page=None, naming="original", master=None, cls=None):
    return (cls or M.IoddDev)(master, "10.0.0.1", 2, None, "prod", page1=page, recordFieldNaming=naming)


def device_answers(made):
    NOTED.clear()
    reads = ["vendorId", "deviceId", "port", "portId", "masterName", "address"]
    return [outcome(lambda: getattr(made, name)) for name in reads], NOTED[:]


@pytest.mark.parametrize("master", [None, NUMBERING], ids=["no master", "numbering"])
@pytest.mark.parametrize("naming", ["original", "matlab"])
@pytest.mark.parametrize("page", PAGES)
def test_device_page_read_in_place_or_through_the_page(page, naming, master):
    def scenario(M):
        made = device(M, naming=naming, master=master)
        made._page1 = PAGES[page]  # as _setPage1 stores it
        return device_answers(made), device_answers(device(M, PAGES[page], naming, master))
    both(scenario)


# ------------------------------------------------- instances, subclasses and their hooks

KINDS = {  # made with, used by, an attribute the use reads and another value for it, a value never to compare
    "logger": (lambda M, cls=None: logger(M, 4, cls), lambda M, made: log_all(made), "_logLevel", 11,
               ("_prefix", Text(""))),
    "figure": (lambda M, cls=None: (cls or M.StatMs)(), tree_report, "scale", 7, ("format", Text("%s"))),
    "event": (lambda M, cls=None: event(M, cls=cls), lambda M, made: compared(made, event(M)), "_event",
              SEQUENCE[::-1], ("_description", Noted("description", LookupError("compared")))),
    "device": (lambda M, cls=None: device(M, PAGES["str keys"], cls=cls), lambda M, made: device_answers(made),
               "_page1", {"Vendor ID": 2}, ("_masterName", Noted("master name", LookupError("compared")))),
}
OVERRIDES = [
    ("logger", "log", lambda self, *args: NOTED.append(args)), ("figure", "getStat", lambda self: "own"),
    ("figure", "add", lambda self, value: NOTED.append(value)), ("figure", "mean", property(lambda self: 42)),
    ("event", "code", property(lambda self: "own")), ("event", "equalKind", lambda self, other: "own"),
    ("event", "__eq__", lambda self, other: "own"), ("device", "_getPage", lambda self, field: "own " + field),
    ("device", "portId", property(lambda self: 99)),
]
CASES = [(kind, name, override, where) for kind, name, override in OVERRIDES for where in ("subclass", "instance")
         if where == "subclass" or not isinstance(override, property)]


@pytest.mark.parametrize("kind, name, override, where", CASES, ids=[f"{c[0]}.{c[1]}, {c[3]}" for c in CASES])
def test_overrides_take_the_general_road(kind, name, override, where):
    make, use, *_ = KINDS[kind]

    def scenario(M):
        if where == "subclass":
            return use(M, make(M, type("Sub", (type(make(M)),), {name: override}))), NOTED[:]
        made = make(M)
        setattr(made, name, types.MethodType(override, made))
        return use(M, made), NOTED[:], list(vars(made))
    both(scenario)


def hooked(base, hook, name, value):
    """A subclass of base whose hook makes instance attribute `name` read as `value`."""
    class Hooked(base):
        if hook == "__getattribute__":
            def __getattribute__(self, attribute):
                return value if attribute == name else super().__getattribute__(attribute)
        elif hook == "__getattr__":
            def __getattr__(self, attribute):
                if attribute == name:
                    return value
                raise AttributeError(attribute)
        elif hook == "__setattr__":
            def __setattr__(self, attribute, given):
                super().__setattr__(attribute, value if attribute == name else given)
        elif hook == "__slots__":
            __slots__ = (name,)
    return Hooked


@pytest.mark.parametrize("hook", ["__getattribute__", "__getattr__", "__setattr__", "__slots__"])
@pytest.mark.parametrize("kind", KINDS)
def test_attribute_hooks_take_the_general_road(kind, hook):
    make, use, name, value, _ = KINDS[kind]

    def scenario(M):
        made = make(M, hooked(type(make(M)), hook, name, value))
        if hook == "__getattr__":
            delattr(made, name)
        first = use(M, made)
        setattr(made, name, value)
        return first, use(M, made), list(vars(made))
    both(scenario)


def readded(made, name):
    value = getattr(made, name)
    delattr(made, name)
    setattr(made, name, value)


SPOILERS = {  # before or after first use, and what is done to the instance (m), given the kind's n, v, h
    "nothing": (False, lambda m, n, v, h: None),
    "vars before": (True, lambda m, n, v, h: vars(m)),
    "vars after": (False, lambda m, n, v, h: vars(m)),
    "written through __dict__": (False, lambda m, n, v, h: vars(m).__setitem__(n, v)),
    "deleted": (False, lambda m, n, v, h: delattr(m, n)),
    "deleted and set again": (False, lambda m, n, v, h: readded(m, n)),
    "many attributes before": (True, lambda m, n, v, h: [setattr(m, f"extra{i}", i) for i in range(40)]),
    "many attributes after": (False, lambda m, n, v, h: [setattr(m, f"extra{i}", i) for i in range(40)]),
    "value never to compare": (False, lambda m, n, v, h: setattr(m, *h)),
    "__class__ assigned": (False, lambda m, n, v, h: setattr(m, "__class__", type("Sub", (type(m),), {}))),
}


@pytest.mark.parametrize("spoiler", SPOILERS)
@pytest.mark.parametrize("kind", KINDS)
def test_instances_whose_values_change_shape(kind, spoiler):
    make, use, name, value, hostile = KINDS[kind]
    before, spoil = SPOILERS[spoiler]

    def scenario(M):
        made = make(M)
        if before:
            spoil(made, name, value, hostile)
        first = use(M, made)
        if not before:
            spoil(made, name, value, hostile)
        return first, use(M, made), list(vars(made))
    both(scenario)


@pytest.mark.parametrize("kind", KINDS)
def test_class_attribute_whose_class_later_gains_set(kind):
    make, use, name, value, _ = KINDS[kind]

    def scenario(M):
        later = type("Later", (), {"__repr__": lambda self: "Later()"})
        made = make(M, type("Sub", (type(make(M)),), {name: later()}))
        first = use(M, made)
        later.__get__ = lambda self, instance, owner: value
        later.__set__ = lambda self, instance, given: None
        return first, use(M, made)
    both(scenario)


# ----------------------------------------------------- class and module members replaced

REPLACED = {  # Class.name: the replacement, and what is done before, with and after it
    "Logger.log": (lambda self, *args: print("own", args), lambda M: log_all(logger(M, 0))),
    "IoddEvent.code": (property(lambda self: "own"), lambda M: compared(event(M), event(M, kind="list"))),
    "IoddEvent.equalKind": (lambda self, other: "own", lambda M: compared(event(M), event(M))),
    "IoddEvent.__eq__": (lambda self, other: "own", lambda M: compared(event(M), event(M))),
    "Stat.getStat": (lambda self: "own", lambda M: tree_report(M, M.StatMs())),
    "Stat.mean": (property(lambda self: 42), lambda M: tree_report(M, M.StatMs())),
    "Stat.add": (lambda self, value: None, lambda M: tree_report(M, M.StatMs())),
    "StatMerge._addStat": (lambda self, stat: setattr(self, "count", 5), lambda M: tree_report(M, M.Stat())),
    "Statistics.stat": (staticmethod(lambda stat: "own"), lambda M: tree_report(M, M.StatMs())),
    "Statistics.mergestat": (staticmethod(lambda stats: "own"), lambda M: tree_report(M, M.StatMs())),
    "IoddDev._getPage": (lambda self, field: "own", lambda M: device_answers(device(M, PAGES["str keys"]))),
    "IoddDev.portId": (property(lambda self: 99), lambda M: device_answers(device(M, master=NUMBERING))),
}


def check_replaced(case):
    owner, name = case.split(".")
    replacement, use = REPLACED[case]
    both(lambda M: replaced_in(getattr(M, owner), name, replacement, lambda: use(M)))


@pytest.mark.parametrize("case", REPLACED)
def test_class_member_replaced_after_first_use(case):
    # The module's classes stay changed for the rest of the process, so this runs apart.
    ran = run_python(f"import test_fast_roads; test_fast_roads.check_replaced({case!r})")
    assert ran.returncode == 0, ran.stderr


@pytest.mark.parametrize("when", ["from the start", "after first use"])
def test_class_member_read_through_its_own_get(when, monkeypatch):
    class Owner:  # what CommonDriverManager.iodd stands for: deprecated names log through it
        def __init__(self, tag):
            self._logger = types.SimpleNamespace(deprecated=lambda message: NOTED.append((tag, message)))
    descriptor = type("Descriptor", (Owner,), {})
    if when == "from the start":
        descriptor.__get__ = lambda self, instance, owner: NOTED.append("get") or self
    monkeypatch.setattr(T.CommonDriverManager, "iodd", descriptor("owner"))
    NOTED.clear()
    made = device(T)
    made.name
    descriptor.__get__ = lambda self, instance, owner: NOTED.append("get") or Owner("got")
    made.name
    message = 'name: use "masterName" instead.'
    assert NOTED == ["get"] * (when == "from the start") + [("owner", message), "get", ("got", message)]


def matlab_device(page):
    made = device(T, naming="matlab")
    made._page1 = page
    return made


MODULE_NAMES = [
    (T, "undefIfNone", lambda value: "U", lambda: device(T).masterName, "U"),
    (T, "_convertMatlabFieldName", lambda name, **options: "Other",
     lambda: matlab_device({"Vendor_ID": 1, "Other": 2}).vendorId, 2),
    (T, "_dictMatlabReplace", lambda page: {"Vendor ID": "own"}, lambda: device(T, {"Vendor ID": 1}, "matlab").vendorId,
     "own"),
    (T, "dict_depth", lambda d: 10, lambda walker=T.dict_depth: walker({"a": {"b": {}}}), 11),
    (T, "StatMerge", lambda figures: types.SimpleNamespace(getStat=lambda: "own"),
     lambda: T.Statistics.mergestat({1: T.Stat()}), "own"),
    (T, "json", types.SimpleNamespace(dumps=lambda report, **options: "own"), lambda: repr(T.Stat()), "own"),
    (json, "dumps", lambda report, **options: "own", lambda: repr(event(T)), "own"),
]


@pytest.mark.parametrize("owner, name, replacement, use, replaced", MODULE_NAMES,
                         ids=[f"{owner.__name__}.{name}" for owner, name, *_ in MODULE_NAMES])
def test_module_member_replaced_after_first_use(owner, name, replacement, use, replaced, monkeypatch):
    before = use()
    monkeypatch.setattr(owner, name, replacement)
    assert use() == replaced
    monkeypatch.undo()
    assert use() == before


Values = type("Values", (dict,), {"values": lambda self: NOTED.append(("values", list(self))) or dict.values(self)})
TREES = [{"a": {"b": {}}, "c": 1}, {"a": Values(b={"c": {}})}, Values(a=1), {"a": [{"b": 1}]},
         {1: {}, 2: {3: Values()}}, {"a": {"b": 2}, "c": {"d": {"e": {}}}, "f": {}}]


@pytest.mark.parametrize("spy", [False, True], ids=["own walker", "walker replaced"])
@pytest.mark.parametrize("tree", range(len(TREES)))
def test_dict_depth_recurses_through_the_module_name(tree, spy):
    def scenario(M):
        walker = M.dict_depth

        def spying(d):
            NOTED.append(("depth", typed(d)))
            return walker(d)

        def use():
            return walker(TREES[tree]), NOTED[:]
        return replaced_in(M, "dict_depth", spying, use) if spy else use()
    both(scenario)


# ------------------------------------------------------------------------ properties

def test_module_properties_are_properties():
    def scenario(M):
        own, made = vars(M.IoddEvent)["code"], event(M)
        return (isinstance(own, property), M.IoddEvent.code is own, own.__get__(None, M.IoddEvent) is own,
                own.fget(made), own.__get__(made), own.__doc__, own.fset, outcome(lambda: setattr(made, "code", 1)))
    both(scenario)


@pytest.mark.parametrize("derive", ["getter", "setter", "deleter"])
def test_derived_property_copies(derive):
    def other(self, *value):
        """other doc"""
        NOTED.append(("other", value))
        return "other"

    def scenario(M):
        copy = getattr(vars(M.IoddEvent)["code"], derive)(other)
        made = event(M, cls=type("Event", (M.IoddEvent,), {"code": copy}))
        return ([copy.fget is other, copy.fset is other, copy.fdel is other, copy.__doc__], compared(made, event(M)),
                outcome(lambda: setattr(made, "code", 5)), outcome(lambda: delattr(made, "code")), NOTED[-1:])
    both(scenario)
    assert type(getattr(vars(T.IoddEvent)["code"], derive)(other)) is type(vars(T.IoddEvent)["code"])


REMADE = {  # a descriptor of the module's classes made anew in place, and what must show it at once
    "property": """
class Sub(T.IoddEvent): pass
def event(code, cls=T.IoddEvent): return cls("a", 1, ("n", code, "t", "m", "s", 1, "x"), "d")
a, b, sub = event(1), event(2), event(1, Sub)
figure = T.Stat(); figure.add(1); figure.add(3)
device = T.IoddDev(None, "a", 1, None, None)
def show(): print(a.equalKind(b), sub.equalKind(b), sub.code, T.Statistics.stat(figure)["mean"],
                  T.Statistics.mergestat({1: figure})["mean"], device.port)
show()
owned = [vars(T.IoddEvent)["code"], vars(T.Stat)["mean"], vars(T.IoddDev)["portId"]]
getters = [own.fget for own in owned]
for own, remade in zip(owned, [lambda self: "same", lambda self: 100, lambda self: 42]):
    own.__init__(remade)
gc.collect()
show()
for own, getter in zip(owned, getters):
    own.__init__(getter)
show()
""",
    "staticmethod": """
class Drv:
    def driverName(self): return "Sim"
tree = T.Statistics([Drv()])
view = tree.getMasterStatistics(Drv())
view.discoveryAllDuration.add(1)
def show(): print(view.getStat()["discoveryAllDuration"], tree.getStat()["masters"]["sim"]["discoveryAllDuration"])
show()
vars(T.Statistics)["stat"].__init__(lambda stat: "remade")
gc.collect()
show()
""",
}
LEAF = "{'count': 1, 'min': '1000.000 ms', 'max': '1000.000 ms'}"
SHOWN = {"property": "False False 1 2.0 2.0 ('a', 1)\nTrue True same 100 100 ('a', 42)\n"
                     "False False 1 2.0 2.0 ('a', 1)\n",
         "staticmethod": f"{LEAF} {LEAF}\nremade remade\n"}


@pytest.mark.parametrize("remade", REMADE)
def test_descriptor_remade_in_place_after_first_use(remade):
    ran = run_python("import gc, vantrel.base.Tessarine as T\n" + REMADE[remade])
    assert (ran.returncode, ran.stdout) == (0, SHOWN[remade]), ran.stderr


# ------------------------------------------------------------------------ sound roads

def test_sums_are_new_ints_as_python_makes_them():
    def scenario(M):
        figure = M.Stat()
        for value in (300, -100):
            figure.add(value)
        return figure._sum is int("200"), figure.count is int("2")
    both(scenario)


def keys_sorted_in_place(monkeypatch):
    monkeypatch.setitem(json.dumps.__kwdefaults__, "sort_keys", True)


def code_swapped(name):
    def swap(monkeypatch):
        def encode(self, o):
            return "encoded by other code"

        def iterencode(self, o, _one_shot=False):
            return ["iterencoded ", "by other code"]
        monkeypatch.setattr(getattr(json.JSONEncoder, name), "__code__", locals()[name].__code__)
    return swap


@pytest.mark.parametrize("change", [keys_sorted_in_place, code_swapped("encode"), code_swapped("iterencode")],
                         ids=["dumps keyword defaults changed in place", "encode code swapped",
                              "iterencode code swapped"])
def test_json_changed_in_place_is_used_as_it_is(change, monkeypatch):
    def texts(M):
        figure = M.StatMs()
        for value in (0.002, 0.001):
            figure.add(value)
        return repr(figure), repr(M.Statistics([])), repr(M.Stat())
    plain = texts(T)
    change(monkeypatch)
    both(texts)
    assert outcome(lambda: texts(T))[0] != typed(plain)
