// AfxFormatString beside the C library's printf functions.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "CStringEx.h"
#include "sink.h"

namespace {

// What each contender formats: a text and a number; numbers alone; a decimal fraction.
struct Mixed {
    static constexpr const wchar_t* wide = L"%s: %d of %d files (%c)";
    static constexpr const wchar_t* peerWide = L"%ls: %d of %d files (%lc)";
    static constexpr const char* narrow = "%s: %d of %d files (%c)";
    template <class Function>
    static auto Call(Function function, int i, const wchar_t*) {
        return function(L"report.dat", i, 100000, L'x');
    }
    template <class Function>
    static auto Call(Function function, int i, const char*) {
        return function("report.dat", i, 100000, 'x');
    }
};

struct Numbers {
    static constexpr const wchar_t* wide = L"%d %u %08x %5d";
    static constexpr const wchar_t* peerWide = wide;
    static constexpr const char* narrow = "%d %u %08x %5d";
    template <class Function, class Char>
    static auto Call(Function function, int i, const Char*) {
        return function(-i, static_cast<unsigned>(i) * 7u, static_cast<unsigned>(i), i % 1000);
    }
};

struct Fraction {
    static constexpr const wchar_t* wide = L"%.3f mm";
    static constexpr const wchar_t* peerWide = wide;
    static constexpr const char* narrow = "%.3f mm";
    template <class Function, class Char>
    static auto Call(Function function, int i, const Char*) {
        return function(i * 0.3527777777777778);
    }
};

template <class Job>
void Ours(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        const CString text =
            Job::Call([](auto... values) { return AfxFormatString(Job::wide, values...); }, ++i, Job::wide);
        Keep(text);
    }
}

template <class Job>
void OursNarrow(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        const CStringA text = Job::Call(
            [](auto... values) { return AfxFormatStringA(Job::narrow, values...); }, ++i, Job::narrow);
        Keep(text);
    }
}

#pragma GCC diagnostic ignored "-Wformat-security"

// Into a buffer that is large enough, and then a string: what a caller has in the end.
template <class Job>
void Swprintf(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        wchar_t buffer[256];
        const int length =
            Job::Call([&](auto... values) { return std::swprintf(buffer, 256, Job::peerWide, values...); },
                      ++i, Job::wide);
        const std::wstring text(buffer, static_cast<std::size_t>(length));
        Keep(text);
    }
}

template <class Job>
void Snprintf(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        char buffer[256];
        const int length =
            Job::Call([&](auto... values) { return std::snprintf(buffer, 256, Job::narrow, values...); }, ++i,
                      Job::narrow);
        const std::string text(buffer, static_cast<std::size_t>(length));
        Keep(text);
    }
}

#define FORMATS(job, Job)                                                                                    \
    BENCHMARK(Ours<Job>)->Name("text/" job "/ours");                                                         \
    BENCHMARK(Swprintf<Job>)->Name("text/" job "/peer-swprintf");                                            \
    BENCHMARK(Snprintf<Job>)->Name("text/" job "/limit-snprintf");                                           \
    BENCHMARK(OursNarrow<Job>)->Name("text/" job "-8-bit/ours");                                             \
    BENCHMARK(Snprintf<Job>)->Name("text/" job "-8-bit/peer-snprintf")

FORMATS("mixed", Mixed);
FORMATS("numbers", Numbers);
FORMATS("fraction", Fraction);

} // namespace
