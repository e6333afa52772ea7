// The M-sequence capability byte of a device, with its process data lengths,
// as the M-sequence types and on-request lengths of OPERATE and PREOPERATE.
// All arithmetic is the host's, so any integer-like argument works as it would
// in Python, and anything else fails with the operation's own TypeError.
#include "../Tessarine.hpp"

namespace tess::body {
namespace {

Name n_IsduSupport("IsduSupport"), n_Operate("Operate"), n_Preoperate("Preoperate"), n_type("type"),
    n_IsduByteLength("IsduByteLength"), n_MinRecoveryBitTime("MinRecoveryBitTime"), n_TYPE_0("TYPE_0"),
    n_TYPE_1_2("TYPE_1_2"), n_TYPE_1_V("TYPE_1_V"), n_TYPE_1_1_or_1_2("TYPE_1_1/1_2"), n_TYPE_2_("TYPE_2_");

// Made once by the definer and kept for the life of the process.
PyObject* operate_types = nullptr;           // by on-request length without process data
PyObject* preoperate_types = nullptr;        // by PREOPERATE code; code 3 has no name
PyObject* preoperate_isdu_lengths = nullptr;
PyObject* preoperate_recovery_times = nullptr;

Ref make_table(std::initializer_list<std::pair<int, Borrowed>> entries)
{
    Ref table = dict();
    for (const auto& [key, value] : entries)
        set_item(table, integer(key), value);
    return table;
}

Ref compared(Borrowed a, long long b, int op) { return Ref::steal(PyObject_RichCompare(a, integer(b), op)); }

// (value >> shift) & mask
Ref bits(PyObject* value, long long shift, long long mask)
{
    return binary(binary(value, integer(shift), PyNumber_Rshift), integer(mask), PyNumber_And);
}

Ref entry(std::initializer_list<std::pair<const Name&, Borrowed>> fields)
{
    Ref result = dict();
    for (const auto& [key, value] : fields)
        set_item(result, key, value);
    return result;
}

Ref parse_mseq_capability(const Args& args)
{
    PyObject* capability = args[0];
    PyObject* pd_in = args[1];
    PyObject* pd_out = args[2];

    Ref isdu_length, type;
    if (compare(pd_in, integer(0), Py_EQ) && compare(pd_out, integer(0), Py_EQ)) {
        // The mask of 8 leaves only 0 or 8, so no type is ever found here.
        isdu_length = bits(capability, 1, 8);
        type = mapping_get(operate_types, isdu_length);
    } else if (compare(pd_in, integer(2), Py_GT) || compare(pd_out, integer(2), Py_GT)) {
        isdu_length = integer(2);
        type = Ref::borrow(n_TYPE_1_1_or_1_2);
    } else {
        isdu_length = integer(1);
        // pdIn + (pdOut + 2 + (pdIn > 0)) * (pdOut > 0): 1,2 and 2,1 share a name.
        Ref out_part = add(add(pd_out, integer(2)), compared(pd_in, 0, Py_GT));
        Ref code = add(pd_in, binary(out_part, compared(pd_out, 0, Py_GT), PyNumber_Multiply));
        type = concat({n_TYPE_2_, str(code)});
    }
    Ref preoperate = bits(capability, 4, 3);

    Ref result = dict();
    set_item(result, n_IsduSupport, compared(bits(capability, 0, 1), 0, Py_GT));
    set_item(result, n_Operate, entry({{n_type, type}, {n_IsduByteLength, isdu_length}}));
    set_item(result, n_Preoperate,
             entry({{n_type, mapping_get(preoperate_types, preoperate)},
                    {n_IsduByteLength, mapping_get(preoperate_isdu_lengths, preoperate)},
                    {n_MinRecoveryBitTime, mapping_get(preoperate_recovery_times, preoperate)}}));
    return result;
}

const FunctionDef parse_mseq_capability_def{.name = "parseMseqCapability",
                                            .params = {{"mSeqCap"}, {"pdIn"}, {"pdOut"}},
                                            .implementation = parse_mseq_capability,
                                            .doc = "Parse M-Sequence capability."};

}  // namespace

void define_mseq_capability()
{
    if (!operate_types) {
        // All four or none, should a failed start be retried.
        Ref operate = make_table({{1, n_TYPE_0}, {2, n_TYPE_1_2}});
        Ref types = make_table({{0, n_TYPE_0}, {1, n_TYPE_1_2}, {2, n_TYPE_1_V}});
        Ref lengths = make_table({{0, integer(1)}, {1, integer(2)}, {2, integer(8)}, {3, integer(32)}});
        Ref times = make_table({{0, integer(100)}, {1, integer(100)}, {2, integer(210)}, {3, integer(550)}});
        operate_types = operate.release();
        preoperate_types = types.release();
        preoperate_isdu_lengths = lengths.release();
        preoperate_recovery_times = times.release();
    }
    define_function(parse_mseq_capability_def);
}

}  // namespace tess::body
