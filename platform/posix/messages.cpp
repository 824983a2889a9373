// System texts and FormatMessageW.
#include "internal/handles.h"
#include "internal/text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>

namespace {

constexpr DWORD errorNoSuchMessage = 317;

struct SystemText {
    DWORD number;
    const wchar_t* text;
};

// Sorted by number.
constexpr SystemText systemTexts[] = {
    {NO_ERROR, L"The operation was completed."},
    {ERROR_INVALID_FUNCTION, L"The function is not valid for this object."},
    {ERROR_FILE_NOT_FOUND, L"The file was not found."},
    {ERROR_PATH_NOT_FOUND, L"The folder of the path was not found."},
    {ERROR_TOO_MANY_OPEN_FILES, L"Too many files are open."},
    {ERROR_ACCESS_DENIED, L"Access was denied."},
    {ERROR_INVALID_HANDLE, L"The handle is not valid."},
    {ERROR_NOT_ENOUGH_MEMORY, L"There is not enough memory for this operation."},
    {ERROR_BAD_ENVIRONMENT, L"The environment is not valid."},
    {ERROR_BAD_FORMAT, L"The format is not valid."},
    {ERROR_INVALID_ACCESS, L"The access code is not valid."},
    {ERROR_INVALID_DATA, L"The data are not valid."},
    {ERROR_OUTOFMEMORY, L"Memory is exhausted."},
    {ERROR_INVALID_DRIVE, L"The drive was not found."},
    {ERROR_CURRENT_DIRECTORY, L"The current folder cannot be removed."},
    {ERROR_NOT_SAME_DEVICE, L"The file cannot be moved to another device."},
    {ERROR_NO_MORE_FILES, L"There are no further files."},
    {ERROR_WRITE_PROTECT, L"The medium is write-protected."},
    {ERROR_BAD_UNIT, L"The device was not found."},
    {ERROR_NOT_READY, L"The device is not ready."},
    {ERROR_BAD_COMMAND, L"The device does not know the command."},
    {ERROR_CRC, L"The data failed a redundancy check."},
    {ERROR_BAD_LENGTH, L"The length of the request is wrong."},
    {ERROR_SEEK, L"The place was not found on the medium."},
    {ERROR_NOT_DOS_DISK, L"The medium has no known file system."},
    {ERROR_SECTOR_NOT_FOUND, L"The sector was not found."},
    {ERROR_WRITE_FAULT, L"Writing to the device failed."},
    {ERROR_READ_FAULT, L"Reading from the device failed."},
    {ERROR_GEN_FAILURE, L"The device does not work."},
    {ERROR_SHARING_VIOLATION, L"The file is in use elsewhere and is not shared."},
    {ERROR_LOCK_VIOLATION, L"A part of the file is locked elsewhere."},
    {ERROR_WRONG_DISK, L"The wrong medium is in the drive."},
    {ERROR_SHARING_BUFFER_EXCEEDED, L"Too many files are shared."},
    {ERROR_HANDLE_EOF, L"The end of the file was reached."},
    {ERROR_HANDLE_DISK_FULL, L"The disk is full."},
    {ERROR_NOT_SUPPORTED, L"The request is not supported."},
    {ERROR_BAD_NETPATH, L"The network path was not found."},
    {ERROR_NETWORK_BUSY, L"The network is busy."},
    {ERROR_DEV_NOT_EXIST, L"The network resource is gone."},
    {ERROR_UNEXP_NET_ERR, L"An unexpected network error occurred."},
    {ERROR_NETNAME_DELETED, L"The network name is gone."},
    {ERROR_NETWORK_ACCESS_DENIED, L"Access to the network was denied."},
    {ERROR_BAD_NET_NAME, L"The network name was not found."},
    {ERROR_FILE_EXISTS, L"The file exists."},
    {ERROR_CANNOT_MAKE, L"The folder or file cannot be created."},
    {ERROR_INVALID_PASSWORD, L"The password is wrong."},
    {ERROR_INVALID_PARAMETER, L"A parameter is wrong."},
    {ERROR_NET_WRITE_FAULT, L"Writing to the network failed."},
    {ERROR_DRIVE_LOCKED, L"The disk is locked by another process."},
    {ERROR_BROKEN_PIPE, L"The other end of the pipe is closed."},
    {ERROR_OPEN_FAILED, L"The file cannot be opened."},
    {ERROR_BUFFER_OVERFLOW, L"The file name is too long."},
    {ERROR_DISK_FULL, L"There is not enough room on the disk."},
    {ERROR_INVALID_TARGET_HANDLE, L"The target handle is not valid."},
    {ERROR_CALL_NOT_IMPLEMENTED, L"The function is not available on this system."},
    {ERROR_SEM_TIMEOUT, L"The time for the semaphore has passed."},
    {ERROR_INSUFFICIENT_BUFFER, L"The buffer is too small."},
    {ERROR_INVALID_NAME, L"The name of the file or folder is not valid."},
    {ERROR_INVALID_LEVEL, L"The level is not valid."},
    {ERROR_MOD_NOT_FOUND, L"The module was not found."},
    {ERROR_PROC_NOT_FOUND, L"The procedure was not found."},
    {ERROR_NEGATIVE_SEEK, L"The file position would lie before the beginning of the file."},
    {ERROR_SEEK_ON_DEVICE, L"The device has no file position."},
    {ERROR_DIR_NOT_ROOT, L"The folder is no root."},
    {ERROR_DIR_NOT_EMPTY, L"The folder is not empty."},
    {ERROR_PATH_BUSY, L"The path cannot be used at this time."},
    {ERROR_DISCARDED, L"The segment was discarded."},
    {ERROR_NOT_LOCKED, L"The range is not locked."},
    {ERROR_BAD_PATHNAME, L"The path is not valid."},
    {ERROR_LOCK_FAILED, L"The range cannot be locked."},
    {ERROR_BUSY, L"The resource is in use."},
    {ERROR_ALREADY_EXISTS, L"The object exists already."},
    {ERROR_BAD_EXE_FORMAT, L"The file is no program or library of this system."},
    {ERROR_ENVVAR_NOT_FOUND, L"The environment variable was not found."},
    {ERROR_FILENAME_EXCED_RANGE, L"The file name or its extension is too long."},
    {ERROR_NESTING_NOT_ALLOWED, L"The module cannot be nested."},
    {ERROR_BAD_PIPE, L"The pipe is not valid."},
    {ERROR_PIPE_BUSY, L"The pipe is busy."},
    {ERROR_NO_DATA, L"The pipe is being closed."},
    {ERROR_MORE_DATA, L"There are more data."},
    {WAIT_TIMEOUT, L"The time of the wait has passed."},
    {ERROR_NO_MORE_ITEMS, L"There are no further items."},
    {ERROR_CANNOT_COPY, L"The function cannot copy."},
    {ERROR_DIRECTORY, L"The name is not that of a folder."},
    {288, L"The lock belongs to another thread."},
    {298, L"The semaphore was released too often."},
    {errorNoSuchMessage, L"There is no text for the message number."},
    {ERROR_INVALID_ADDRESS, L"The address is not valid."},
    {ERROR_ARITHMETIC_OVERFLOW, L"The result does not fit into 32 bits."},
    {ERROR_OPERATION_ABORTED, L"The operation was aborted."},
    {ERROR_IO_PENDING, L"The operation is under way."},
    {ERROR_NOACCESS, L"The memory at the address cannot be used."},
    {ERROR_STACK_OVERFLOW, L"The stack is exhausted."},
    {ERROR_INVALID_FLAGS, L"The flags are not valid."},
    {ERROR_UNRECOGNIZED_VOLUME, L"The volume has no known file system."},
    {ERROR_FILE_INVALID, L"The file was changed outside and can no longer be used as it was opened."},
    {ERROR_BADDB, L"The configuration store is damaged."},
    {ERROR_BADKEY, L"The configuration key is not valid."},
    {ERROR_CANTOPEN, L"The configuration key cannot be opened."},
    {ERROR_CANTREAD, L"The configuration key cannot be read."},
    {ERROR_CANTWRITE, L"The configuration key cannot be written."},
    {ERROR_KEY_DELETED, L"The configuration key was deleted."},
    {ERROR_NO_UNICODE_TRANSLATION, L"A character has no counterpart in the target code page."},
    {ERROR_DLL_INIT_FAILED, L"The library could not be initialised."},
    {ERROR_IO_DEVICE, L"The device reported an input or output error."},
    {ERROR_POSSIBLE_DEADLOCK, L"The operation could wait for ever."},
    {ERROR_MAPPED_ALIGNMENT, L"The offset or address is not aligned as a view needs it."},
    {ERROR_TOO_MANY_LINKS, L"The file has too many links."},
    {ERROR_NOT_FOUND, L"The element was not found."},
    {ERROR_CANCELLED, L"The user cancelled the operation."},
    {ERROR_USER_MAPPED_FILE, L"A part of the file is mapped into memory."},
    {ERROR_DISK_QUOTA_EXCEEDED, L"The quota of the disk is used up."},
    {ERROR_PRIVILEGE_NOT_HELD, L"A privilege is missing."},
    {1438, L"The style of the message box is not valid."},
    {ERROR_NO_SYSTEM_RESOURCES, L"The system's resources do not suffice."},
    {ERROR_TIMEOUT, L"The time of the operation has passed."},
    {ERROR_DATATYPE_MISMATCH, L"The data are of another type."},
    {1784, L"The buffer of the caller is not valid."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, L"The module has no resources."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND, L"The module has no resource of the type."},
    {ERROR_RESOURCE_NAME_NOT_FOUND, L"The module has no resource of the name."},
    {ERROR_RESOURCE_LANG_NOT_FOUND, L"The resource does not exist in the language."},
    {ERROR_CANT_RESOLVE_FILENAME, L"The name cannot be resolved."},
};

const wchar_t* systemText(DWORD number) {
    // A result code that wraps a system error stands for that error.
    if (HIWORD(number) == (0x8000 | FACILITY_WIN32))
        number = LOWORD(number);
    const auto* found =
        std::lower_bound(std::begin(systemTexts), std::end(systemTexts), number,
                         [](const SystemText& entry, DWORD wanted) { return entry.number < wanted; });
    return found != std::end(systemTexts) && found->number == number ? found->text : nullptr;
}

// The arguments of a pattern, from an array or a va_list; inserts may come in any order and repeat.
class Arguments {
public:
    Arguments(va_list* arguments, bool isArray)
        : m_list(arguments)
        , m_isArray(isArray) {}
    DWORD_PTR at(unsigned index) {
        if (m_isArray)
            return reinterpret_cast<DWORD_PTR*>(m_list)[index];
        while (m_taken.size() <= index)
            m_taken.push_back(va_arg(*m_list, DWORD_PTR));
        return m_taken[index];
    }
    bool any() const { return m_list != nullptr; }

private:
    va_list* m_list;
    bool m_isArray;
    std::basic_string<DWORD_PTR> m_taken;
};

class Pattern {
public:
    Pattern(std::wstring_view text, bool inserts, bool joinLines, Arguments& arguments)
        : m_text(text)
        , m_inserts(inserts)
        , m_joinLines(joinLines)
        , m_arguments(arguments) {}

    // False when an insert is malformed or has no argument.
    bool expand(std::wstring& result) {
        while (m_at < m_text.size()) {
            const wchar_t unit = m_text[m_at++];
            if (unit == L'\r' || unit == L'\n') {
                if (unit == L'\r' && peek() == L'\n')
                    ++m_at;
                result += m_joinLines ? L" " : L"\r\n";
            } else if (unit != L'%') {
                result += unit;
            } else if (!escape(result)) {
                return false;
            } else if (m_ended) {
                break;
            }
        }
        return true;
    }

private:
    wchar_t peek() const { return m_at < m_text.size() ? m_text[m_at] : L'\0'; }

    bool escape(std::wstring& result) {
        if (m_at == m_text.size())
            return false;
        const wchar_t unit = m_text[m_at++];
        switch (unit) {
        case L'n':
            result += L"\r\n";
            return true;
        case L'r':
            result += L'\r';
            return true;
        case L't':
            result += L'\t';
            return true;
        case L'0':
            m_ended = true;
            return true;
        default:
            break;
        }
        if (!m_inserts) {
            result += L'%';
            result += unit;
            return true;
        }
        if (unit < L'1' || unit > L'9') {
            result += unit;
            return true;
        }
        unsigned number = static_cast<unsigned>(unit - L'0');
        if (peek() >= L'0' && peek() <= L'9')
            number = number * 10 + static_cast<unsigned>(m_text[m_at++] - L'0');
        std::wstring_view format = L"s";
        if (peek() == L'!') {
            const std::size_t end = m_text.find(L'!', m_at + 1);
            if (end == std::wstring_view::npos)
                return false;
            format = m_text.substr(m_at + 1, end - m_at - 1);
            m_at = end + 1;
        }
        return m_arguments.any() && insert(result, format, m_arguments.at(number - 1));
    }

    static bool insert(std::wstring& result, std::wstring_view format, DWORD_PTR value) {
        if (format == L"s" || format == L"S" || format == L"ls" || format == L"ws") {
            const auto* text = reinterpret_cast<const wchar_t*>(value);
            result += text ? text : L"(null)";
            return true;
        }
        if (format == L"hs") {
            const auto* text = reinterpret_cast<const char*>(value);
            const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
            std::wstring wide(static_cast<std::size_t>(std::max(size, 1)), L'\0');
            MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size);
            result += wide.c_str();
            return true;
        }
        // A number: flags, width and one of the conversions of a 32-bit value; anything else is refused.
        std::string narrow = "%";
        std::size_t at = 0;
        while (at < format.size() &&
               (format[at] == L'0' || format[at] == L'-' || format[at] == L'#' || format[at] == L'+'))
            narrow += static_cast<char>(format[at++]);
        std::size_t digits = 0;
        for (; at < format.size() && format[at] >= L'0' && format[at] <= L'9' && digits < 3; ++digits)
            narrow += static_cast<char>(format[at++]);
        if (at < format.size() && format[at] == L'l')
            ++at;
        if (at + 1 != format.size() || format[at] > 0x7F ||
            std::string_view("diuxXo").find(static_cast<char>(format[at])) == std::string_view::npos)
            return false;
        narrow += static_cast<char>(format[at]);
        char text[1100];
        std::snprintf(text, sizeof text, narrow.c_str(), static_cast<DWORD>(value));
        for (const char* unit = text; *unit; ++unit)
            result += static_cast<wchar_t>(*unit);
        return true;
    }

    std::wstring_view m_text;
    bool m_inserts;
    bool m_joinLines;
    Arguments& m_arguments;
    std::size_t m_at = 0;
    bool m_ended = false;
};

} // namespace

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD messageId, DWORD /*languageId*/, LPWSTR buffer,
                     DWORD size, va_list* arguments) {
    return mvplat::guarded(DWORD{0}, [&]() -> DWORD {
        const bool allocate = flags & FORMAT_MESSAGE_ALLOCATE_BUFFER;
        if (allocate && buffer)
            *reinterpret_cast<LPWSTR*>(buffer) = nullptr;
        const wchar_t* text = nullptr;
        if (!buffer || (flags & FORMAT_MESSAGE_FROM_HMODULE) ||
            !(flags & (FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_FROM_STRING))) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
        std::wstring systemLine;
        if (flags & FORMAT_MESSAGE_FROM_STRING) {
            text = static_cast<const wchar_t*>(source);
            if (!text) {
                SetLastError(ERROR_INVALID_PARAMETER);
                return 0;
            }
        } else {
            text = systemText(messageId);
            if (!text) {
                SetLastError(errorNoSuchMessage);
                return 0;
            }
            systemLine = text;
            systemLine += L"\r\n";
            text = systemLine.c_str();
        }
        Arguments values(arguments, flags & FORMAT_MESSAGE_ARGUMENT_ARRAY);
        Pattern pattern(text, !(flags & FORMAT_MESSAGE_IGNORE_INSERTS),
                        (flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) == FORMAT_MESSAGE_MAX_WIDTH_MASK, values);
        std::wstring result;
        if (!pattern.expand(result)) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return 0;
        }
        if (result.empty())
            return 0;
        if (!allocate) {
            if (result.size() >= size) {
                SetLastError(ERROR_INSUFFICIENT_BUFFER);
                return 0;
            }
            return mvplat::copyOut(result, buffer, size);
        }
        const std::size_t room = std::max<std::size_t>(result.size() + 1, size);
        auto* block = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, room * sizeof(wchar_t)));
        if (!block)
            return 0;
        *reinterpret_cast<LPWSTR*>(buffer) = block;
        return mvplat::copyOut(result, block, static_cast<DWORD>(room));
    });
}
