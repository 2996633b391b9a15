// What the shared library exports. Everything else is hidden.
#pragma once

#define KESTRIX_API __attribute__((visibility("default")))
