// Makes chosen allocations inside mvlib62 and mvafx62 fail.
//
// The allocation functions that the two libraries import (malloc, calloc, realloc and operator new in its
// forms) are replaced in their import tables, so the shipped binaries run unchanged. A failure is met only by
// the thread that asked for it, and only while a FailAllocation object lives.
//
//     int failures = FailEachAllocation([&] { EXPECT_NE(list.Afegir(item), 1); });
#pragma once

// While it lives, the nth allocation (counted from 1) that this thread makes inside the libraries fails:
// once, or it and every later one. Objects do not nest.
class FailAllocation {
public:
    enum class Mode { Once, FromThenOn };
    explicit FailAllocation(int nth, Mode mode = Mode::Once);
    ~FailAllocation();
    FailAllocation(const FailAllocation&) = delete;
    FailAllocation& operator=(const FailAllocation&) = delete;

    // The number of allocations that have been asked for, and of those that were refused.
    int Asked() const;
    int Failed() const;
};

// Runs `operation` again and again, its first, second, ... allocation failing, until a run meets no failure.
// Answers how many runs met one; a negative number when the end was not reached within `limit` runs.
template <class Operation>
int FailEachAllocation(Operation operation, int limit = 10000) {
    for (int nth = 1; nth <= limit; ++nth) {
        bool met = false;
        {
            FailAllocation failure(nth);
            operation();
            met = failure.Failed() != 0;
        }
        if (!met) {
            return nth - 1;
        }
    }
    return -1;
}
