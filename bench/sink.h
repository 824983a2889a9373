// Keeps a result alive that a benchmark computes. Google Benchmark's own DoNotOptimize takes its argument by
// a reference that it may change, which g++ 12 has been seen to miscompile.
#pragma once

template <class T>
inline void Keep(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

// The same for a number or pointer, without a look at memory: what the compiler has in registers may stay
// there from one call to the next.
template <class T>
inline void KeepValue(T value) {
    asm volatile("" : : "r"(value));
}
