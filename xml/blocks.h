// Large blocks of memory on their way from one document to the next.
//
// A program that reads or writes one large document after the other would otherwise have the system map and
// clear the same memory every time, which takes longer than parsing. So what a document leaves is kept, up to
// 64 MiB (16 MiB in 32-bit programs), as the runtime's own heap keeps what is small. All blocks come from
// malloc. Any thread may call.
#pragma once

#include <cstddef>

namespace mvxml {

// Blocks below this size are left to the heap alone.
constexpr std::size_t SmallestKeptBlock = std::size_t{256} << 10;

// A block of at least `wanted` bytes, but not many times as many; `size` receives what it has. Null when
// memory is exhausted.
void* TakeBlock(std::size_t wanted, std::size_t& size);
// The largest block that is kept, if it has at least `wanted` bytes; else null.
void* TakeLargestKeptBlock(std::size_t wanted, std::size_t& size);
// Keeps or frees a block from malloc.
void GiveBlock(void* block, std::size_t size);

} // namespace mvxml
