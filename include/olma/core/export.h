// The one export macro of the library.
//
// The shared library is built with hidden visibility, so only declarations marked
// OLMA_API are part of its binary interface. Templates and inline code in headers need
// no marking; classes with virtual functions or out-of-line members do.
#pragma once

#if defined(OLMA_CORE_BUILDING)
#define OLMA_API __attribute__((visibility("default")))
#else
#define OLMA_API
#endif
