// The % operator of str, and with it the one place where the module writes
// numbers as text.
#pragma once

#include "reference.hpp"

namespace tess {

// format % args, as the operator computes it.  A format of ASCII text with
// the conversions %s, %d, %i and %f (the last three with a precision too)
// and %%, given exact ints, exact floats and ASCII strs, is written here
// digit for digit as the host writes it; anything else, errors included, is
// the host's own %.
Ref percent(Borrowed format, Borrowed args);

}  // namespace tess
