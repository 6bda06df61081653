// Marks what leaves the shared library. The build hides every other symbol,
// so a class or function without TNVL_EXPORT is private to libtarnovelle.
#pragma once

#define TNVL_EXPORT __attribute__((visibility("default")))
