// A folder of its own for a test case, removed with all that it holds when the object goes.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Root() const { return m_root; }

    // The full path of `name` inside the folder, in the form that the library takes. A name may hold folders,
    // separated by backslashes on every target.
    std::wstring Path(std::wstring_view name) const;

    // Writes the bytes as the file's whole content; answers its full path.
    std::wstring Write(std::wstring_view name, std::string_view bytes) const;

    // The file's bytes; fails the test when it cannot be read.
    std::string Read(std::wstring_view name) const;

    bool Exists(std::wstring_view name) const;

private:
    std::filesystem::path m_root;
};
