// All data values: the base DataValue, every concrete value class and the visitors.
//
// Include this header to build or walk value trees; the narrower headers
// (scalar_values.h, optional_value.h, list_values.h, compound_values.h) serve code that
// needs only some of the classes.
#pragma once

#include "olma/data/compound_values.h"
#include "olma/data/list_values.h"
#include "olma/data/optional_value.h"
#include "olma/data/scalar_values.h"
#include "olma/data/value.h"
#include "olma/data/value_visitor.h"
