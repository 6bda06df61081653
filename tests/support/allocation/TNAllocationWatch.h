// Watches every allocation of the test program that links it: the largest
// request made since the last reset is kept, and any request above
// TNAllocationWatch::kRefusedAbove (1 GiB) is refused with std::bad_alloc,
// so that a reader that sized a buffer by a count or length it read from a
// damaged file fails fast instead of taking the machine down.
//
// The watch works by replacing the global operators new and delete, for the
// whole program. It is therefore a library of its own, linked only into the
// test programs named in tests/CMakeLists.txt; every other program keeps the
// ordinary operators.
#pragma once

#include <cstddef>

namespace TNAllocationWatch {

constexpr size_t kRefusedAbove = size_t{1} << 30;

// Forgets what was requested so far.
void Reset();

// The largest single request since the last Reset, refused ones included.
size_t Largest();

}  // namespace TNAllocationWatch
