// Bytes of small Windows executables with a version resource, for tests of whoever reads one.
//
//     ExecutableFile file;
//     file.strings = {{u"CompanyName", u"Mirvanet"}};
//     folder.Write(L"some.dll", file.Bytes());
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct ExecutableFile {
    std::array<std::uint16_t, 4> fileVersion = {1, 2, 3, 4}; // the most significant first
    std::array<std::uint16_t, 4> productVersion = {9, 8, 7, 6};
    std::uint32_t flags = 0; // VS_FF_...
    // Languages and code pages as the resource lists them, and the table that holds the strings.
    std::vector<std::pair<std::uint16_t, std::uint16_t>> translations = {{0x0409, 0x04B0}};
    std::u16string table = u"040904b0";
    std::vector<std::pair<std::u16string, std::u16string>> strings;

    // The version resource by itself; a whole executable of 32 or 64 bits with it.
    std::string Resource() const;
    std::string Bytes(bool wide = false) const;
    // An executable with any bytes for its version resource.
    static std::string BytesWith(const std::string& resource);
    // An executable without any resource, and one with another resource than a version.
    static std::string BytesWithoutResources();
    static std::string BytesWithoutVersion();
};
