#include "whole_file.h"

#include "afx.h"

#include "failure.h"
#include "folders.h"
#include "text.h"
#include <climits>
#include <win32.h>

namespace mvtool {
namespace {

/// What the exception says; it ends here.
std::string reasonOf(CException* exception) {
    wchar_t text[1024] = {};
    if (!exception->GetErrorMessage(text, 1024, nullptr)) {
        text[0] = L'\0';
    }
    exception->Delete();
    return displayText(fromWide(text));
}

/// The framework's files move at most so much at a time.
constexpr std::size_t kPiece = 1 << 24;

} // namespace

std::wstring fullPath(const std::string& path) {
    std::wstring given = widePath(path);
    std::wstring full(32768, L'\0');
    const DWORD length =
        GetFullPathNameW(given.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length == 0 || length >= full.size()) {
        return given;
    }
    full.resize(length);
    return full;
}

std::string readWhole(const std::string& path) {
    try {
        CFile file(widePath(path).c_str(), CFile::modeRead | CFile::shareDenyNone | CFile::typeBinary);
        std::string bytes;
        for (;;) {
            const std::size_t before = bytes.size();
            bytes.resize(before + kPiece);
            const UINT count = file.Read(bytes.data() + before, static_cast<UINT>(kPiece));
            bytes.resize(before + count);
            if (count == 0) {
                return bytes;
            }
        }
    } catch (CException* exception) {
        throw Failure(Exit::notFound, "cannot read " + displayText(path) + ": " + reasonOf(exception));
    }
}

void writeWhole(const std::string& path, std::string_view bytes) {
    ReplacedFile output(path);
    const std::size_t size = bytes.size();
    try {
        CFile file(widePath(output.temporaryPath()).c_str(),
                   CFile::modeCreate | CFile::modeWrite | CFile::typeBinary);
        while (!bytes.empty()) {
            const std::size_t piece = bytes.size() < kPiece ? bytes.size() : kPiece;
            file.Write(bytes.data(), static_cast<UINT>(piece));
            bytes.remove_prefix(piece);
        }
        file.Close();
    } catch (CException* exception) {
        throw Failure(Exit::writeFailure, "cannot write " + displayText(path) + ": " + reasonOf(exception));
    }
    if (output.writtenSize() != size) {
        throw Failure(Exit::writeFailure, "cannot write " + displayText(path));
    }
    output.commit();
}

} // namespace mvtool
