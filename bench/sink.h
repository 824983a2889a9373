// Keeps a result alive that a benchmark computes. Google Benchmark's own DoNotOptimize takes its argument by
// a reference that it may change, which g++ 12 has been seen to miscompile.
#pragma once

template <class T>
inline void Keep(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}
