// Base64, 32 characters a step, on processors that can.
#pragma once

#include <cstddef>

namespace mvxml {

// Whether the functions below may be called.
bool CanStepBase64();

// Encodes steps of 24 bytes while 28 can be read, and moves both pointers.
void EncodeSteps(const unsigned char*& data, const unsigned char* end, wchar_t*& out);
// Encodes lines of 54 bytes, with a line feed behind each, while 76 bytes can be read, and moves both
// pointers. Writes up to 24 units behind the last line.
void EncodeLines(const unsigned char*& data, const unsigned char* end, wchar_t*& out);

// The units that one step decodes.
constexpr std::ptrdiff_t DecodedUnits = 32;

// Decodes steps of 32 alphabet characters, each into 24 bytes, while there are such and there is room, and
// moves both pointers. The text ends with a NUL; no memory page is touched behind the one that holds it.
void DecodeSteps(const wchar_t*& text, unsigned char*& out, const unsigned char* limit);

// The text behind all steps of 32 alphabet characters.
const wchar_t* SkipSteps(const wchar_t* text);

} // namespace mvxml
