// Runs a piece of a test on a thread of its own with a stack of a chosen
// size, so that code taking stack for every level of a deep structure runs
// off its end and fails the test instead of passing on a generous main stack.
#pragma once

#include <cstddef>
#include <functional>

// Runs `body` on a new thread whose stack holds `stackBytes` and waits for it.
// A thread that can't be made fails the current test.
void TNRunWithStack(size_t stackBytes, const std::function<void()>& body);
