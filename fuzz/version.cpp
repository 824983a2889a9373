// Version resources of executables. The first byte says what the rest is: 0 a whole file, else a version
// resource inside an executable.
#include <COSVersionInfo.h>
#include <CPathString.h>

#include "executable_file.h"
#include "recipe.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

// The file that every input is written to, of this process alone.
class InputFile {
public:
    InputFile() {
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        m_path = std::filesystem::temp_directory_path() / ("mvlib62-fuzz-" + std::to_string(now));
    }
    ~InputFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    CString Write(const std::string& bytes) const {
        std::ofstream(m_path, std::ios::binary) << bytes;
        return CString(m_path.wstring().c_str());
    }

private:
    std::filesystem::path m_path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    const std::vector<std::uint8_t> bytes = BytesOfRecipe(input, inputSize);
    static const InputFile file;
    if (bytes.empty())
        return 0;
    const std::string content(bytes.begin() + 1, bytes.end());
    const CString path = file.Write(bytes[0] ? ExecutableFile::BytesWith(content) : content);
    CInfoVersio info;
    if (CPathString::GetFileVersion(path, info) &&
        (info.m_dwMajor > 0xFFFF || info.m_dwMinor > 0xFFFF || info.m_dwBuild > 0xFFFF ||
         info.m_dwRevisio > 0xFFFF || info.m_bDebug > 1 || info.m_bPreRelease > 1))
        std::abort();
    CString text(L"untouched");
    if (!CPathString::GetStringInformacio(path, L"CompanyName", text) && text != L"untouched")
        std::abort();
    return 0;
}
