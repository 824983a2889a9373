#include "folder_links.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

std::filesystem::path PathOf(std::wstring path) {
    std::replace(path.begin(), path.end(), L'\\', L'/');
    return path;
}

} // namespace

bool MakeFolderLink(const std::wstring& link, const std::wstring& target) {
    std::error_code error;
    std::filesystem::create_directory_symlink(PathOf(target), PathOf(link), error);
    return !error;
}

void TakeFolderLink(const std::wstring& link) {
    std::error_code error;
    std::filesystem::remove(PathOf(link), error);
}

bool IsLinkAt(const std::wstring& path) {
    std::error_code error;
    return std::filesystem::is_symlink(std::filesystem::symlink_status(PathOf(path), error));
}
