// The ring of bytes beside Boost's circular buffer and single-producer queue, a deque of bytes, and the plain
// copies that each write and read consists of.
#include <benchmark/benchmark.h>
#include <boost/circular_buffer.hpp>
#include <boost/lockfree/spsc_queue.hpp>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <vector>

#include "CBufferCircular.h"
#include "sink.h"

namespace {

using Bytes = std::vector<unsigned char>;

// No multiple of a chunk, so that chunks are split at the end of the block now and then.
constexpr unsigned CAPACITY = 0x40000 + 24;

struct Ours {
    CBufferCircular ring{CAPACITY};
    void Put(const unsigned char* p, unsigned n) { ring.Write(p, n); }
    void Take(unsigned char* p, unsigned n) { ring.Read(p, n, 0); }
};

struct CircularBuffer {
    boost::circular_buffer<unsigned char> ring{CAPACITY};
    void Put(const unsigned char* p, unsigned n) {
        if (ring.reserve() >= n)
            ring.insert(ring.end(), p, p + n);
    }
    void Take(unsigned char* p, unsigned n) {
        if (ring.size() < n)
            return;
        const auto first = ring.array_one();
        const std::size_t part = std::min<std::size_t>(first.second, n);
        std::memcpy(p, first.first, part);
        if (part < n)
            std::memcpy(p + part, ring.array_two().first, n - part);
        ring.erase_begin(n);
    }
};

struct SpscQueue {
    std::unique_ptr<boost::lockfree::spsc_queue<unsigned char>> ring =
        std::make_unique<boost::lockfree::spsc_queue<unsigned char>>(CAPACITY);
    void Put(const unsigned char* p, unsigned n) {
        if (ring->write_available() >= n)
            ring->push(p, n);
    }
    void Take(unsigned char* p, unsigned n) {
        if (ring->read_available() >= n)
            ring->pop(p, n);
    }
};

struct Deque {
    std::deque<unsigned char> ring;
    void Put(const unsigned char* p, unsigned n) { ring.insert(ring.end(), p, p + n); }
    void Take(unsigned char* p, unsigned n) {
        const auto end = ring.begin() + static_cast<std::ptrdiff_t>(n);
        std::copy(ring.begin(), end, p);
        ring.erase(ring.begin(), end);
    }
};

// The copies without the bookkeeping: into a block and out of it, at offsets that move as those of the ring
// do.
struct Copies {
    Bytes block = Bytes(CAPACITY + 0x10000);
    unsigned in = 0;
    unsigned out = 0;
    static void Move(unsigned& at, unsigned n) {
        at += n;
        if (at >= CAPACITY)
            at -= CAPACITY;
    }
    void Put(const unsigned char* p, unsigned n) {
        std::memcpy(block.data() + in, p, n);
        Move(in, n);
    }
    void Take(unsigned char* p, unsigned n) {
        std::memcpy(p, block.data() + out, n);
        Move(out, n);
    }
};

// A ring that holds some chunks takes one more and gives one back.
template <class Ring>
void Pass(benchmark::State& state) {
    const auto n = static_cast<unsigned>(state.range(0));
    const Bytes in(n, 7);
    Bytes out(n);
    Ring ring;
    for (int i = 0; i < 2; ++i)
        ring.Put(in.data(), n);
    for (auto _ : state) {
        for (int i = 0; i < 16; ++i) {
            ring.Put(in.data(), n);
            ring.Take(out.data(), n);
            Keep(out[0]);
        }
    }
    state.SetBytesProcessed(state.iterations() * 16 * static_cast<std::int64_t>(n));
}

[[maybe_unused]] const bool registered = [] {
    const auto add = [](const char* name, void (*run)(benchmark::State&), std::initializer_list<int> sizes) {
        for (int size : sizes)
            benchmark::RegisterBenchmark(name, run)->Arg(size);
    };
    const auto small = {16, 64, 256};
    const auto large = {1024, 8192, 65536};
    for (const auto& sizes : {small, large}) {
        const bool few = sizes.begin()[0] == 16;
        add(few ? "ring/small/ours" : "ring/large/ours", &Pass<Ours>, sizes);
        add(few ? "ring/small/peer-circular-buffer" : "ring/large/peer-circular-buffer",
            &Pass<CircularBuffer>, sizes);
        add(few ? "ring/small/peer-spsc-queue" : "ring/large/peer-spsc-queue", &Pass<SpscQueue>, sizes);
        add(few ? "ring/small/peer-deque" : "ring/large/peer-deque", &Pass<Deque>, sizes);
        add(few ? "ring/small/limit-memcpy" : "ring/large/limit-memcpy", &Pass<Copies>, sizes);
    }
    return true;
}();

} // namespace
