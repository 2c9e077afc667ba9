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

// Marks the explicit instantiation declarations ("extern template class") of exported
// class templates. Clang gives an instantiation the visibility of that declaration, so it
// needs the mark there; GCC takes it from the class template and refuses an attribute on
// a class that is already complete.
#if defined(OLMA_CORE_BUILDING) && defined(__clang__)
#define OLMA_EXTERN_TEMPLATE_API OLMA_API
#else
#define OLMA_EXTERN_TEMPLATE_API
#endif
