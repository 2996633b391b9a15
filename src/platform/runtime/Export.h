// What the shared library exports. Everything else is hidden.
#pragma once

// Every installed header includes this one before it declares anything. A header that is missing ends a compilation at
// once: without it, hundreds of errors would follow the one that counts.
#if __cplusplus < 202002L
#error "The Kestrix ACL headers need C++20: compile with -std=c++20"
#include <stop/after/the/error/above>
#elif !defined(__cpp_exceptions) || !defined(__cpp_rtti)
#error "The Kestrix ACL headers need exceptions and type information: compile without -fno-exceptions and -fno-rtti"
#include <stop/after/the/error/above>
#endif

#define KESTRIX_API __attribute__((visibility("default")))
// Of a class that is exported, what is not.
#define KESTRIX_LOCAL __attribute__((visibility("hidden")))
