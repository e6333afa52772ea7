"""Each shortcut of the module must give what plain attribute and method semantics give, and whatever could
make it wrong (overrides, attribute hooks, slots, members replaced after first use, values that are not plain,
instances whose values no longer lie inline) must take the general road.  The yardstick is the plain-Python
baseline of the benchmarks, put through the very same steps (`both`)."""
import collections
import contextlib
import decimal
import fractions
import gc
import importlib.util
import io
import json
import pathlib
import types

import pytest

import vantrel.base.Tessarine as T
from conftest import outcome, run_python

_spec = importlib.util.spec_from_file_location("baseline", pathlib.Path(__file__).parents[1] / "bench" / "baseline.py")
P = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(P)
NOTED = []  # what the outside objects below were asked, in order


def typed(value):
    """value with the type of each leaf and the order of each dict: 1, 1.0, True and Int(1) differ."""
    if type(value) is dict:
        return "dict", [(repr(key), typed(item)) for key, item in value.items()]
    if type(value) in (list, tuple):
        return type(value)(typed(item) for item in value)
    return type(value).__name__, repr(value)


def step(action):
    """An operation under test: what it gives, or the name and text of what it raises."""
    done, value = outcome(action)
    return typed(value) if done == "returned" else (done.__name__, value)


def both(scenario):
    """scenario(M) with M the module and with M the baseline: they must end and print alike.  Only the steps
    are compared; an error outside them fails the test, so a scenario cannot agree by failing to set up."""
    ends = []
    for M in (T, P):
        NOTED.clear()
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            ends.append(typed(scenario(M)))
        ends.append(printed.getvalue())
    assert ends[:2] == ends[2:]


def replaced_in(owner, name, replacement, use, remade=False):
    """use() once, so that the shortcut is judged; again with owner.name replaced (remade: with the descriptor
    there made anew in place around the replacement's function); again restored."""
    held = vars(owner)[name]
    function = lambda descriptor: getattr(descriptor, "fget", None) or descriptor.__func__
    put = (lambda new: held.__init__(function(new))) if remade else (lambda new: setattr(owner, name, new))
    saved, first = type(held)(function(held)) if remade else held, use()
    put(replacement)
    try:
        gc.collect()
        second = use()
    finally:
        put(saved)
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

    __repr__ = lambda self: f"Noted({self.tag!r})"


Int = type("Int", (int,), {"__add__": lambda self, other: Int(int(self) + other),
                           "__radd__": lambda self, other: Int(int(self) + other)})


class Text(str):
    """A format with a % of its own, never to be compared."""
    __mod__ = lambda self, values: "<" + str.__mod__(self, values) + ">"
    __hash__ = str.__hash__

    def __eq__(self, other):
        raise LookupError("a format is not compared")

# ------------------------------------------------------------------------- logger
PRINTERS = ["rw", "rwr", "rwd", "debugPeriodic", "debugSendRecv", "info", "warning", "error", "deprecated", "debug",
            "debugExecute"]
Level = type("Level", (int,), {"__lt__": lambda self, other: NOTED.append(("<", other)) or int(self) < other})


def logger(M, level, cls=None):
    made = (cls or M.Logger)(level)
    made._printDate = False
    return made


def log_all(made):
    return [step(lambda: getattr(made, name)("m %s", 1)) for name in PRINTERS]


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
        steps = [step(lambda: figure.add(value)) for value in VALUES[values] for figure in (seeded, bare)]
        merged = step(lambda: M.Statistics.mergestat({1: seeded, 2: M.Stat(), 3: {4: bare}}))
        return steps, merged, [step(lambda: read(figure)) for figure in (seeded, bare)
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
        step(lambda: figure.add(value * 3))
        plain.add(value)
    return step(lambda: tree.getStat(True)), step(lambda: M.Statistics.mergestat({0: plain, 1: figure}))


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
    steps = [step(action) for action in (lambda: a.equalKind(b), lambda: a == b, lambda: a.equalExact(b),
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
    return [step(lambda: getattr(made, name)) for name in
            ["vendorId", "deviceId", "port", "portId", "masterName", "address"]], NOTED[:]


@pytest.mark.parametrize("master", [None, NUMBERING], ids=["no master", "numbering"])
@pytest.mark.parametrize("naming", ["original", "matlab"])
@pytest.mark.parametrize("page", PAGES)
def test_device_page_read_in_place_or_through_the_page(page, naming, master):
    def scenario(M):
        made = device(M, naming=naming, master=master)
        made._page1 = PAGES[page]  # as _setPage1 stores it
        return device_answers(made), device_answers(device(M, PAGES[page], naming, master))
    both(scenario)


# Objects whose class keeps the instance dict at a fixed offset rather than a managed one.
FIXED_OFFSET = {"namespace": types.SimpleNamespace, "subclass": {}, "class value": {"portNumbering": 0},
                "class property": {"portNumbering": property(lambda self: 5)}}


@pytest.mark.parametrize("cls", FIXED_OFFSET)
def test_attributes_and_methods_of_a_dict_at_a_fixed_offset(cls):
    def scenario(M):
        made = FIXED_OFFSET[cls]
        if isinstance(made, dict):
            made = type("Namespace", (types.SimpleNamespace,), dict(made, driverName=lambda self: "Class"))
        drv, tree = made(), M.Statistics([])
        master = types.SimpleNamespace(baseDrv=drv)
        changes = [lambda: setattr(drv, "portNumbering", True), lambda: vars(drv).__setitem__("portNumbering", 0),
                   lambda: setattr(made, "portNumbering", 1), lambda: delattr(drv, "portNumbering"),
                   lambda: setattr(made, "portNumbering", 0), lambda: setattr(drv, "driverName", lambda: "Own")]
        reads = [step(lambda: device(M, master=master).portId)]
        for number, change in enumerate(changes):
            reads += [step(change), step(lambda: device(M, master=master).portId),
                      step(lambda: tree.getMasterStatistics(drv, f"10.0.0.{number}"))]
        return reads, step(tree.getStat)
    both(scenario)


# ------------------------------------------------- instances, subclasses and their hooks
Kind = collections.namedtuple("Kind", "make use name value hostile")  # the attribute the use reads, another value
KINDS = {  # for it, and an attribute with a value never to compare
    "logger": Kind(lambda M, cls=None: logger(M, 4, cls), lambda M, made: log_all(made), "_logLevel", 11,
                   ("_prefix", Text(""))),
    "figure": Kind(lambda M, cls=None: (cls or M.StatMs)(), tree_report, "scale", 7, ("format", Text("%s"))),
    "event": Kind(lambda M, cls=None: event(M, cls=cls), lambda M, made: compared(made, event(M)), "_event",
                  SEQUENCE[::-1], ("_description", Noted("description", LookupError("compared")))),
    "device": Kind(lambda M, cls=None: device(M, PAGES["str keys"], cls=cls), lambda M, made: device_answers(made),
                   "_page1", {"Vendor ID": 2}, ("_masterName", Noted("master name", LookupError("compared")))),
}
OVERRIDES = [
    ("logger", "log", lambda self, *args: NOTED.append(args)), ("figure", "getStat", lambda self: "own"),
    ("figure", "add", lambda self, value: NOTED.append(value)), ("figure", "mean", property(lambda self: 42)),
    ("event", "code", property(lambda self: "own")), ("event", "equalKind", lambda self, other: "own"),
    ("event", "__eq__", lambda self, other: "own"), ("device", "_getPage", lambda self, field: "own " + field),
    ("device", "portId", property(lambda self: 99)),
]


def subclass(members):
    """A subclass of the kind's class with members(kind)."""
    return lambda base, kind: type("Sub", (base,), members(kind))


def hooked(hook):
    """A subclass whose hook makes the kind's attribute read as its other value."""
    return subclass(lambda k: {hook: {
        "__getattribute__": lambda self, name: k.value if name == k.name else object.__getattribute__(self, name),
        "__getattr__": lambda self, name: k.value if name == k.name else getattr(object(), name),
        "__setattr__": lambda self, name, given: object.__setattr__(self, name, k.value if name == k.name else given),
        "__slots__": (k.name,)}[hook]})


def readded(made, name):
    value = getattr(made, name)
    delattr(made, name)
    setattr(made, name, value)


def later_gains_set(made, kind):
    later = type(vars(type(made))[kind.name])
    later.__get__ = lambda self, instance, owner: kind.value
    later.__set__ = lambda self, instance, given: None


set_value = lambda m, k: setattr(m, k.name, k.value)
many = lambda m, k: [setattr(m, f"extra{i}", i) for i in range(40)]
SHAPES = {  # the class made from the kind's class, what is done before the first use, and after it
    **{hook: (hooked(hook), None, set_value) for hook in ("__getattribute__", "__setattr__", "__slots__")},
    "__getattr__": (hooked("__getattr__"), lambda m, k: delattr(m, k.name), set_value),
    "nothing": (None, None, None), "vars before": (None, lambda m, k: vars(m), None),
    "vars after": (None, None, lambda m, k: vars(m)),
    "written through __dict__": (None, None, lambda m, k: vars(m).__setitem__(k.name, k.value)),
    "deleted": (None, None, lambda m, k: delattr(m, k.name)),
    "deleted and set again": (None, None, lambda m, k: readded(m, k.name)),
    "many attributes before": (None, many, None), "many attributes after": (None, None, many),
    "value never to compare": (None, None, lambda m, k: setattr(m, *k.hostile)),
    "__class__ assigned": (None, None, lambda m, k: setattr(m, "__class__", type("Sub", (type(m),), {}))),
    "class attribute later gains __set__": (subclass(lambda k: {k.name: type("Later", (), {
        "__repr__": lambda self: "Later()"})()}), None, later_gains_set),
}
CASES = {f"{kind} {shape}": (kind, *SHAPES[shape]) for kind in KINDS for shape in SHAPES}
for kind, name, override in OVERRIDES:
    CASES[f"{kind}.{name} in a subclass"] = (kind, subclass(lambda k, n=name, o=override: {n: o}), None, None)
    if not isinstance(override, property):
        CASES[f"{kind}.{name} on the instance"] = (
            kind, None, lambda m, k, n=name, o=override: setattr(m, n, types.MethodType(o, m)), None)


@pytest.mark.parametrize("case", CASES)
def test_instances_and_subclasses_take_the_general_road_where_they_must(case):
    kind, shape, before, after = CASES[case]
    make, use = KINDS[kind].make, KINDS[kind].use

    def scenario(M):
        made = make(M, shape(type(make(M)), KINDS[kind]) if shape else None)
        for change in (before, after):
            if change:
                change(made, KINDS[kind])
            yield use(M, made), NOTED[:]
    both(lambda M: list(scenario(M)))


# ----------------------------------------------------- class and module members replaced
def matlab_device(M, page):
    made = device(M, naming="matlab")
    made._page1 = page
    return made


Values = type("Values", (dict,), {"values": lambda self: NOTED.append(("values", list(self))) or dict.values(self)})
TREES = [{"a": {"b": {}}, "c": 1}, {"a": Values(b={"c": {}})}, Values(a=1), {"a": [{"b": 1}]},
         {1: {}, 2: {3: Values()}}, {"a": {"b": 2}, "c": {"d": {"e": {}}}, "f": {}}]
WALKERS = {T: T.dict_depth, P: P.dict_depth}
REPLACED = {  # owner.name (a class, the module itself, json): the replacement, and what is done before, with and after it
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
    "module.undefIfNone": (lambda value: "U", lambda M: step(lambda: device(M).masterName)),
    "module._convertMatlabFieldName": (lambda name, **options: "Other",
                                       lambda M: step(lambda: matlab_device(M, {"Vendor_ID": 1, "Other": 2}).vendorId)),
    "module._dictMatlabReplace": (lambda page: {"Vendor ID": "own"},
                                  lambda M: step(lambda: device(M, {"Vendor ID": 1}, "matlab").vendorId)),
    "module.dict_depth": (lambda d: NOTED.append(typed(d)) or 10,
                          lambda M: ([step(lambda: WALKERS[M](tree)) for tree in TREES], NOTED[:])),
    "module.StatMerge": (lambda figures: types.SimpleNamespace(getStat=lambda: "own"),
                         lambda M: step(lambda: M.Statistics.mergestat({1: M.Stat()}))),
    # The reports go through the host's json as it is at each call, with these very arguments.
    "module.json": (types.SimpleNamespace(dumps=lambda report, **options: f"{report} {options}"),
                    lambda M: step(lambda: repr(M.Stat()))),
    "json.dumps": (lambda report, **options: f"{report} {options}", lambda M: step(lambda: repr(M.StatMs()))),
}


def check_replaced(case):
    owner, name = case.split(".")
    replacement, use = REPLACED[case]
    owner_in = lambda M: {"module": M, "json": json}.get(owner) or getattr(M, owner)
    both(lambda M: replaced_in(owner_in(M), name, replacement, lambda: use(M)))
    if isinstance(replacement, (property, staticmethod)):
        # Remade in place, the descriptor must show at once what replacing it shows.  (The interpreter's own
        # attribute caches keep a property's old getter then, so the baseline is no yardstick here.)
        answers = [typed(replaced_in(getattr(T, owner), name, replacement, lambda: use(T), remade))
                   for remade in (False, True)]
        assert answers[0] == answers[1]


@pytest.mark.parametrize("case", REPLACED)
def test_member_replaced_or_remade_in_place_after_first_use(case):
    # The module's classes stay changed for the rest of the process, so this runs apart.
    ran = run_python(f"import test_fast_roads; test_fast_roads.check_replaced({case!r})")
    assert ran.returncode == 0, ran.stderr


@pytest.mark.parametrize("from_the_start", [True, False])
def test_class_member_read_through_its_own_get(from_the_start, monkeypatch):
    descriptor = type("Descriptor", (), {})  # CommonDriverManager.iodd: deprecated names log through it

    def owner(tag):
        made = descriptor()
        made._logger = types.SimpleNamespace(deprecated=lambda message: NOTED.append((tag, message)))
        return made
    if from_the_start:
        descriptor.__get__ = lambda self, instance, cls: NOTED.append("get") or self
    monkeypatch.setattr(T.CommonDriverManager, "iodd", owner("owner"))
    NOTED.clear()
    device(T).name
    descriptor.__get__ = lambda self, instance, cls: NOTED.append("get") or owner("got")
    device(T).name
    message = 'name: use "masterName" instead.'
    assert NOTED == ["get"] * from_the_start + [("owner", message), "get", ("got", message)]


# ------------------------------------------------------------------------ properties
def other(self, *value):
    """other doc"""
    NOTED.append(("other", value))
    return "other"


@pytest.mark.parametrize("derive", ["as it is", "getter", "setter", "deleter"])
def test_module_properties_and_their_derived_copies(derive):
    def scenario(M):
        own = vars(M.IoddEvent)["code"]
        copy = own if derive == "as it is" else getattr(own, derive)(other)
        cls = type("Event", (M.IoddEvent,), {"code": copy})
        made = event(M, cls=cls)
        return ([isinstance(copy, property), type(copy).__name__, cls.code is copy, copy.__get__(None, cls) is copy,
                 copy.fget is other, copy.fset is other, copy.fdel is other, copy.__doc__, step(lambda: copy.fget(made)),
                 step(lambda: copy.__get__(made))], compared(made, event(M)), step(lambda: setattr(made, "code", 5)),
                step(lambda: delattr(made, "code")), NOTED[-1:])
    both(scenario)


# ------------------------------------------------------------------------ sound roads
def test_sums_are_new_ints_as_python_makes_them():
    def scenario(M):
        figure = M.Stat()
        for value in (300, -100):
            figure.add(value)
        return figure._sum is int("200"), figure.count is int("2")
    both(scenario)


# The reports go through the host's json as it is at each call, however it was changed.
JSON_CHANGES = {
    "dumps keyword defaults": (json.dumps.__kwdefaults__, "sort_keys", True),
    "dumps code": (json.dumps, "__code__", (lambda obj, **options: "other code").__code__),
    "encoder class": (json, "JSONEncoder", type("EqualsEncoder", (json.JSONEncoder,), {"key_separator": " = "})),
    "encoder class changed": (json.JSONEncoder, "key_separator", ":"),
    "encode code": (json.JSONEncoder.encode, "__code__", (lambda self, o: "encoded by other code").__code__),
    "iterencode code": (json.JSONEncoder.iterencode, "__code__",
                        (lambda self, o, _one_shot=False: ["iterencoded ", "by other code"]).__code__),
    "string encoder": (json.encoder, "encode_basestring", lambda text: '"%s"' % text.upper()),
}


@pytest.mark.parametrize("change", JSON_CHANGES)
def test_json_changed_in_place_is_used_as_it_is(change, monkeypatch):
    def texts(M):
        figure = M.StatMs()
        for value in (0.002, 0.001):
            figure.add(value)
        return repr(figure), repr(M.Statistics([])), repr(M.Stat())
    plain = texts(T)
    target, name, value = JSON_CHANGES[change]
    (monkeypatch.setitem if isinstance(target, dict) else monkeypatch.setattr)(target, name, value)
    both(texts)
    assert texts(T)[0] != plain[0]


@pytest.mark.parametrize("setup", [
    "import json; json.dumps = lambda report, **options: f'early {report} {options}'",
    "import json; json.JSONEncoder.key_separator = ' = '",
    "import sys, types; sys.modules['json'] = types.SimpleNamespace(dumps=lambda report, **options: f'fake {options}')",
])
def test_json_changed_before_the_module_started(setup):
    ran = run_python(setup + """
import json, vantrel.base.Tessarine as T
figure = T.StatMs(); figure.add(0.5)
print(repr(figure) == json.dumps(figure.getStat(), indent=4, ensure_ascii=False))""")
    assert (ran.returncode, ran.stdout) == (0, "True\n"), ran.stderr
