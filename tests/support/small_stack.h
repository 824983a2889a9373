// Work on a thread with little stack: what depends on the depth of data must not use it up.
#pragma once

#include <cstddef>
#include <functional>

// What a program of the suite has on Windows, unless it asks for more.
constexpr std::size_t SMALL_STACK = 1 << 20;

// Runs `work` on a thread that has exactly `size` bytes of stack, and waits for its end. An exception in it
// ends the program. False when there is no such thread.
bool RunOnStack(std::size_t size, const std::function<void()>& work);
