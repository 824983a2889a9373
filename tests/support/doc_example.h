// The worked examples of the format pages in docs/: tests compare them with what the library writes.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <string>

// The bytes of the first code block below the heading `heading` of a page. Every line of it holds bytes as
// pairs of hexadecimal digits, then "|" and an explanation. Fails the test when there is none.
inline std::string BytesOfExample(const std::string& page, const std::string& heading) {
    std::ifstream file(page);
    EXPECT_TRUE(file.is_open()) << page;
    std::string line, bytes;
    while (std::getline(file, line) && line.rfind(heading, 0) != 0) {
    }
    while (std::getline(file, line) && line.rfind("```", 0) != 0) {
    }
    while (std::getline(file, line) && line.rfind("```", 0) != 0) {
        const std::string digits = line.substr(0, line.find('|'));
        for (std::size_t i = 0; i + 1 < digits.size();) {
            if (std::isspace(static_cast<unsigned char>(digits[i]))) {
                ++i;
                continue;
            }
            bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
            i += 2;
        }
    }
    EXPECT_FALSE(bytes.empty()) << "no example below " << heading;
    return bytes;
}
