#include "XMLNode.h"

#include "win32.h"
#include "xml/blocks.h"
#include "xml/encodings.h"
#include "xml/parse.h"
#include "xml/render.h"
#include "xml/tables.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// A file handle that closes itself.
class File {
public:
    File(const wchar_t* name, DWORD access, DWORD disposition)
        : m_handle(name ? CreateFileW(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                      FILE_ATTRIBUTE_NORMAL, nullptr)
                        : INVALID_HANDLE_VALUE) {}
    ~File() { Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    bool Close() {
        bool closed = !IsOpen() || CloseHandle(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
        return closed;
    }
    long long Size() const {
        LARGE_INTEGER size;
        return GetFileSizeEx(m_handle, &size) ? static_cast<long long>(size.QuadPart) : 0;
    }
    // Up to `wanted` bytes; fewer when the file ends before.
    std::size_t Read(unsigned char* bytes, std::size_t wanted) {
        std::size_t total = 0;
        while (total < wanted) {
            DWORD read = 0;
            DWORD step = static_cast<DWORD>(wanted - total < (1u << 24) ? wanted - total : 1u << 24);
            if (!ReadFile(m_handle, bytes + total, step, &read, nullptr) || read == 0)
                break;
            total += read;
        }
        return total;
    }
    bool Write(const unsigned char* bytes, std::size_t size) {
        DWORD written = 0;
        return WriteFile(m_handle, bytes, static_cast<DWORD>(size), &written, nullptr) && written == size;
    }

private:
    HANDLE m_handle;
};

// Parses a file's bytes, behind which lie four zeros.
XMLNode ParseBytes(const unsigned char* bytes, std::size_t size, const wchar_t* tag, XMLResults* results) {
    const mvxml::Options& options = mvxml::CurrentOptions;
    bool exhausted = false;
    wchar_t* text = nullptr;
    if (!options.guessWideChars) {
        text = mvxml::TextFromUtf16(bytes, size);
        exhausted = !text;
    } else if (IsTextUnicode(bytes, static_cast<int>(size), nullptr)) {
        // Kept: EF FF is skipped like the mark FF FE.
        bool marked =
            size >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xEF && bytes[1] == 0xFF));
        std::size_t skip = marked ? 2 : 0;
        text = mvxml::TextFromUtf16(bytes + skip, size - skip);
        exhausted = !text;
    } else {
        bool marked = size >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
        std::size_t skip = marked ? 3 : 0;
        bytes += skip;
        size -= skip;
        // UTF-8 is parsed as it is; what is malformed becomes what the system makes of it.
        if (*bytes && options.encoding == XMLNode::encoding_UTF8 && mvxml::IsWellFormed(bytes, size))
            return mvxml::ParseText(bytes, tag, results);
        text = mvxml::TextFromBytes(bytes, size, options.encoding, exhausted);
    }
    if (!text) {
        results->error = exhausted ? XMLERROR_NO_DATA : XMLERROR_CONVERSION;
        return XMLNode();
    }
    XMLNode node = mvxml::ParseText(static_cast<const wchar_t*>(text), tag, results);
    freeXMLString(text);
    return node;
}

// What an 8-bit program shows of a text: characters that the system's code page lacks are replaced.
std::wstring ThroughCodePage(const std::wstring& text) {
    int length = static_cast<int>(text.size());
    int size = WideCharToMultiByte(CP_ACP, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        return text;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), length, bytes.data(), size, nullptr, nullptr);
    std::wstring shown(bytes.size(), L'\0');
    int units = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, shown.data(), size);
    shown.resize(static_cast<std::size_t>(units > 0 ? units : 0));
    return shown;
}

bool WriteUnits(File& file, const wchar_t* units, std::size_t count) {
    constexpr std::size_t Step = 8192;
    unsigned char bytes[Step * 4];
    while (count) {
        std::size_t step = count < Step ? count : Step;
        if (!file.Write(bytes, mvxml::Utf16FromText(units, step, bytes)))
            return false;
        units += step;
        count -= step;
    }
    return true;
}

} // namespace

XMLNode XMLNode::parseFile(const wchar_t* fileName, const wchar_t* tag, XMLResults* results) {
    XMLResults ignored;
    if (!results)
        results = &ignored;
    *results = {XMLERROR_FILE_NOT_FOUND, 0, 0};
    unsigned char* bytes;
    std::size_t size;
    std::size_t room;
    {
        File file(fileName, GENERIC_READ, OPEN_EXISTING);
        if (!file.IsOpen())
            return XMLNode();
        results->error = XMLERROR_NO_DATA;
        long long length = file.Size();
        if (length <= 0)
            return XMLNode();
        if (length > INT_MAX - 16) {
            results->error = XMLERROR_CONVERSION;
            return XMLNode();
        }
        size = static_cast<std::size_t>(length);
        bytes = static_cast<unsigned char*>(mvxml::TakeBlock(size + 4, room));
        if (!bytes)
            return XMLNode();
        size = file.Read(bytes, size);
        std::memset(bytes + size, 0, 4);
    }
    XMLNode node = size ? ParseBytes(bytes, size, tag, results) : XMLNode();
    mvxml::GiveBlock(bytes, room);
    return node;
}

XMLNode XMLNode::openFileHelper(const wchar_t* fileName, const wchar_t* tag) {
    {
        File file(fileName, GENERIC_READ, OPEN_EXISTING);
        if (file.IsOpen()) {
            unsigned char bytes[200];
            int count = static_cast<int>(file.Read(bytes, sizeof(bytes)));
            const mvxml::Options& options = mvxml::CurrentOptions;
            setGlobalOptions(guessCharEncoding(bytes, count, 1), options.guessWideChars,
                             options.dropWhiteSpace, options.removeComments);
        }
    }
    XMLResults results;
    XMLNode node = parseFile(fileName, tag, &results);
    if (results.error == XMLERROR_NONE)
        return node;
    std::wstring message = L"XML Parsing error inside file '";
    message += fileName ? fileName : L"";
    message += L"'.\n";
    message += getError(results.error);
    message += L"\nAt line " + std::to_wstring(results.line) + L", column " +
               std::to_wstring(results.column) + L".\n";
    if (results.error == XMLERROR_FIRST_TAG_NOT_FOUND)
        message += std::wstring(L"First Tag should be '") + tag + L"'.\n";
    MessageBoxW(nullptr, ThroughCodePage(message).c_str(), L"XML Parsing error",
                MB_OK | MB_ICONSTOP | MB_TOPMOST);
    // Kept: this serves files without which the program cannot run.
    std::exit(255);
}

XMLError XMLNode::writeToFile(const wchar_t* fileName, const char*, char nFormat) const {
    if (!d)
        return XMLERROR_NONE;
    // All is rendered before the file is opened, which empties it: without memory the old file stays whole.
    mvxml::Output output;
    try {
        output.Put(static_cast<wchar_t>(0xFEFF));
        bool named = d->name && *d->name;
        bool declared = d->declaration() || (!named && d->childCount && (*mvxml::Children(d))->declaration());
        if (!declared)
            output.PutText(L"<?xml version=\"1.0\" encoding=\"utf-16\"?>\n");
        mvxml::Render(d, mvxml::RenderFormat(nFormat), output);
    } catch (const mvxml::MemoryExhausted&) {
        return XMLERROR_CANNOT_WRITE;
    }
    File file(fileName, GENERIC_WRITE, CREATE_ALWAYS);
    if (!file.IsOpen())
        return XMLERROR_CANNOT_OPEN_FOR_WRITE;
    bool written = WriteUnits(file, output.Written(), output.WrittenCount());
    return file.Close() && written ? XMLERROR_NONE : XMLERROR_CANNOT_WRITE;
}
