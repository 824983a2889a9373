#include "temp_folder.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr bool wideIsUtf32 = sizeof(wchar_t) == sizeof(char32_t);

// Where wchar_t holds code points the standard library converts it by the locale, and UTF-32 always to UTF-8.
fs::path PathOf(std::wstring_view name) {
    if constexpr (wideIsUtf32) {
        std::u32string path(name.begin(), name.end());
        std::replace(path.begin(), path.end(), U'\\', U'/');
        return fs::path(path);
    } else {
        return fs::path(name);
    }
}

std::wstring TextOf(const fs::path& path) {
    if constexpr (wideIsUtf32) {
        const std::u32string text = path.u32string();
        return std::wstring(text.begin(), text.end());
    } else {
        return path.wstring();
    }
}

} // namespace

TempFolder::TempFolder() {
    static std::atomic<unsigned> next{0};
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    do {
        m_root =
            fs::temp_directory_path() / ("mvlib62-" + std::to_string(now) + "-" + std::to_string(next++));
    } while (!fs::create_directory(m_root));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(m_root, ignored);
}

std::wstring TempFolder::Path(std::wstring_view name) const {
    return TextOf(m_root / PathOf(name));
}

std::wstring TempFolder::Write(std::wstring_view name, std::string_view bytes) const {
    const fs::path path = m_root / PathOf(name);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    EXPECT_TRUE(file.good()) << "cannot write " << path;
    return TextOf(path);
}

std::string TempFolder::Read(std::wstring_view name) const {
    const fs::path path = m_root / PathOf(name);
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "cannot read " << path;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool TempFolder::Exists(std::wstring_view name) const {
    return fs::exists(m_root / PathOf(name));
}
