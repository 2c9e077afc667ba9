// The umbrella header: every public header of the library.
#pragma once

#include "olma/core/byte_vector.h"
#include "olma/core/error_categories.h"
#include "olma/core/export.h"
#include "olma/core/finally.h"
#include "olma/core/format.h"
#include "olma/core/log.h"
#include "olma/core/message.h"
#include "olma/invocation/activation_helpers.h"
#include "olma/invocation/async_activation.h"
#include "olma/invocation/execution_context.h"
#include "olma/invocation/identifiers.h"
#include "olma/invocation/method_definition.h"
#include "olma/invocation/method_result.h"
#include "olma/invocation/result_callback.h"
