// A library that holds copies of inline functions under the names that its callers' have.

#include "mien/base/affine.h"

double (*dot)(const VgeTVector&, const VgeTVector&) = mien::Dot; // so that there is a copy in every build
