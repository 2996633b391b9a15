// What the shared library exports. Everything else is hidden.
#pragma once

#define KESTRIX_API __attribute__((visibility("default")))
// Of a class that is exported, what is not.
#define KESTRIX_LOCAL __attribute__((visibility("hidden")))
