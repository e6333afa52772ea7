// ProcessDataStreamTable: a recorded process data stream.  The base table
// holds the rows; this class only knows how a stream's header is built
// (column 0 the time, then "name (type)" per data column) and gives
// column-wise views of the rows.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_types("_types"), n_names("_names"), n_rows("rows"), n_field_names("field_names"), n_isDict("isDict"),
    n_match("match"), n_group("group"), n_init("__init__"), n_time("time"), n_datetime("datetime"),
    n_PrettyTable("PrettyTable"), n_hex("hex"), n_type_pattern(".*\\((.*)\\)"), n_name_pattern("(.*) \\(.*\\)");
Global g_re("re"), g_datetime("datetime"), g_prettytable("prettytable");

// The class itself, for super(); lives as long as the process.
PyObject* stream_table_class = nullptr;
// `[1:]`, made once.
PyObject* from_second = nullptr;

Ref tail(Borrowed sequence) { return item(sequence, from_second); }

// [re.match(pattern, header).group(1) for header in headers]
Ref matched_groups(Borrowed match, Borrowed pattern, Borrowed headers)
{
    Ref result = list();
    Ref iterator = Ref::steal(PyObject_GetIter(headers));
    Ref one = integer(1);
    while (Ref header = iterate_next(iterator))
        check(PyList_Append(result, call_method(call(match, {pattern, header}), n_group, {one})));
    return result;
}

Ref init(const Args& args)
{
    PyObject* self = args[0];
    PyObject* field_names = args[1];
    call(super_getattr(stream_table_class, self, n_init), {field_names});
    Ref headers = tail(field_names);
    Ref match = getattr(g_re.get(), n_match);
    setattr(self, n_types, matched_groups(match, n_type_pattern, headers));
    setattr(self, n_names, matched_groups(match, n_name_pattern, headers));
    return none();
}

Ref types(const Args& args) { return getattr(args[0], n_types); }
Ref names(const Args& args) { return getattr(args[0], n_names); }
Ref header_names(const Args& args) { return getattr(args[0], n_field_names); }

Ref is_dict(const Args& args) { return boolean(length(getattr(args[0], n_names)) > 1); }

Ref is_raw(const Args& args)
{
    PyObject* self = args[0];
    if (truthy(getattr(self, n_isDict)))
        return boolean(false);
    Ref first = item_at(getattr(self, n_types), 0);
    return Ref::steal(PyObject_RichCompare(first, n_hex, Py_EQ));
}

Ref row_count(const Args& args) { return integer(length(getattr(args[0], n_rows))); }

// [view(row) for row in rows]
template <typename View>
Ref per_row(Borrowed rows, View&& view)
{
    Ref result = list();
    Ref iterator = Ref::steal(PyObject_GetIter(rows));
    while (Ref row = iterate_next(iterator))
        check(PyList_Append(result, view(row)));
    return result;
}

Ref first_column(Borrowed row) { return item_at(row, 0); }

Ref datetimes(const Args& args) { return per_row(getattr(args[0], n_rows), first_column); }

Ref times(const Args& args)
{
    Ref datetime_class = getattr(g_datetime.get(), n_datetime);
    return per_row(getattr(args[0], n_rows), [&](Borrowed row) {
        Ref stamp = first_column(row);
        return is_instance(stamp, datetime_class) ? call_method(stamp, n_time) : stamp;
    });
}

Ref times_str(const Args& args)
{
    return per_row(getattr(args[0], n_rows), [](Borrowed row) { return str(first_column(row)); });
}

// dict(zip(names, row[1:])): the shorter side decides, as zip does.
Ref named_values(Borrowed names, Borrowed row)
{
    Ref result = dict();
    // The rows of the base table are lists: pair them in place, without the
    // slice.  Items are held while the dict may run a key's __hash__/__eq__.
    if (PyList_CheckExact(names.get()) && PyList_CheckExact(row.get())) {
        for (Py_ssize_t i = 0; i < PyList_GET_SIZE(names.get()) && i + 1 < PyList_GET_SIZE(row.get()); ++i) {
            Ref name = Ref::borrow(PyList_GET_ITEM(names.get(), i));
            Ref value = Ref::borrow(PyList_GET_ITEM(row.get(), i + 1));
            set_item(result, name, value);
        }
        return result;
    }
    Ref name_iterator = Ref::steal(PyObject_GetIter(names));
    Ref value_iterator = Ref::steal(PyObject_GetIter(tail(row)));
    while (Ref name = iterate_next(name_iterator)) {
        Ref value = iterate_next(value_iterator);
        if (!value)
            break;
        set_item(result, name, value);
    }
    return result;
}

Ref values(const Args& args)
{
    PyObject* self = args[0];
    Ref names = getattr(self, n_names);
    Ref rows = getattr(self, n_rows);
    if (truthy(getattr(self, n_isDict)))
        return per_row(rows, [&](Borrowed row) { return named_values(names, row); });
    return per_row(rows, [](Borrowed row) { return item_at(row, 1); });
}

FunctionDef getter(const char* name, Implementation implementation, const char* doc)
{
    return {.name = name, .params = {{"self"}}, .implementation = implementation, .doc = doc};
}

const FunctionDef init_def{.name = "__init__", .params = {{"self"}, {"fieldNames"}}, .implementation = init};
const FunctionDef len_def{.name = "__len__", .params = {{"self"}}, .implementation = row_count};
const FunctionDef properties[] = {
    getter("types", types, "List of stream process data field types"),
    getter("names", names, "List of stream process data field names"),
    getter("isRaw", is_raw, "Stream contains raw data"),
    getter("isDict", is_dict, "Stream cointains record data (dict)"),
    getter("headerNames", header_names, "List of header names"),
    getter("datetimes", datetimes, "List of process data time stamps (datetime, time or str)"),
    getter("times", times, "List of process data time stamps (time or str)"),
    getter("timesStr", times_str, "List of process data time stamps (str)"),
    getter("count", row_count, "Number of entries (int)"),
    getter("values", values, "List of process data values\n\nMultiple column values are converted to dictionaries (dict)."),
};

}  // namespace

void define_stream_table()
{
    if (!from_second)
        from_second = Ref::steal(PySlice_New(integer(1), nullptr, nullptr)).release();
    ClassBuilder builder("ProcessDataStreamTable", {getattr(g_prettytable.get(), n_PrettyTable)}, nullptr);
    builder.method(init_def).method(len_def);
    builder.properties(properties);
    stream_table_class = builder.build().release();
}

}  // namespace tess::body
