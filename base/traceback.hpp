// Traceback entries for code that has no Python frame of its own.
#pragma once

#include "reference.hpp"

namespace tess {

// Adds an entry named `name` to the traceback of the exception being raised.
// `code` caches the code object between calls (pass a slot that lives as long
// as the caller, or NULL to make a one-off entry).  Never throws: it runs on
// the way out of an error, and a failure here keeps the original exception.
void add_traceback_entry(PyCodeObject** code, const char* name, const char* file, int line) noexcept;

}  // namespace tess
