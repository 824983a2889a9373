// Where the fields and virtual operations of a class lie, for the tests of what client code compiled against
// the headers relies on.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

constexpr bool WINDOWS_LAYOUT = sizeof(void*) == 4 && sizeof(wchar_t) == 2;

// The bytes from the start of an object to one of its fields.
template <class Object, class Field>
std::ptrdiff_t Offset(const Object& object, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object);
}

// The slot of a virtual operation, counted with the destructor as slot 0 where that comes first. Both
// targets' ABI writes a pointer to a virtual member as one plus the byte offset of its entry in the virtual
// table. The destructor takes two entries there (with and without freeing the object), so that every
// operation behind it stands one entry behind its slot.
template <class Operation>
std::ptrdiff_t Slot(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof words == sizeof operation);
    std::memcpy(words, &operation, sizeof words);
    EXPECT_EQ(words[0] & 1, 1) << "not virtual";
    EXPECT_EQ(words[1], 0) << "not in the first virtual table";
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)) - 1;
}
