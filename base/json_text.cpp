#include "json_text.hpp"

#include "operations.hpp"

namespace tess {
namespace {
Name n_dumps("dumps"), n_indent("indent"), n_ensure_ascii("ensure_ascii");
Global g_json("json");
}  // namespace

Ref json_text(Borrowed report)
{
    Ref dumps = getattr(g_json.get(), n_dumps);
    return call(dumps, {report}, {{n_indent, integer(4)}, {n_ensure_ascii, Py_False}});
}

}  // namespace tess
