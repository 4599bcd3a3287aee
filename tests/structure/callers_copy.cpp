// A library with copies of inline functions under the same names as its callers' copies.

#include "mien/base/affine.h"

double (*dot)(const VgeTVector&, const VgeTVector&) = mien::Dot; // so that every build contains a copy
