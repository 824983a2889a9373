// The second process of the sharing tests: opens a file and tells how that went.
//   platform_child open FILE ACCESS SHARE DISPOSITION [lock OFFSET SIZE] [stay]
//   platform_child delete FILE
//   platform_child pairs FILE ACCESS SHARE
//   platform_child meet FILE ACCESS SHARE WANTED NAME OTHER
// The exit code is the last error, 0 for success; of "pairs" and "meet" (sharing_rules.h) it is the number of
// surprises and clashes, 250 when "meet" was never in. With "stay" the result goes to standard output as one
// byte, and the process stays until its standard input ends.
#include "sharing_rules.h"

#include <win32.h>

#include <algorithm>
#include <stdlib.h>
#include <string>
#include <vector>

namespace {

std::wstring FromUtf8(const char* text) {
    wchar_t wide[1024];
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, 1024);
    return wide;
}

DWORD Number(const char* text) {
    return static_cast<DWORD>(strtoul(text, nullptr, 0));
}

DWORD Work(const std::vector<char*>& words) {
    if (std::string(words.at(0)) == "delete")
        return DeleteFileW(FromUtf8(words.at(1)).c_str()) ? 0 : GetLastError();
    if (std::string(words.at(0)) == "pairs")
        return static_cast<DWORD>(
            CountSurprises(FromUtf8(words.at(1)), Number(words.at(2)), Number(words.at(3))));
    if (std::string(words.at(0)) == "meet") {
        const Meetings meetings(FromUtf8(words.at(1)), Number(words.at(2)), Number(words.at(3)),
                                static_cast<int>(Number(words.at(4))), FromUtf8(words.at(5)),
                                FromUtf8(words.at(6)));
        return meetings.entered == 0 ? 250 : static_cast<DWORD>(std::min(meetings.clashes, 200));
    }
    const HANDLE file = CreateFileW(FromUtf8(words.at(1)).c_str(), Number(words.at(2)), Number(words.at(3)),
                                    nullptr, Number(words.at(4)), 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    if (words.size() > 7 && std::string(words[5]) == "lock" &&
        !LockFile(file, Number(words[6]), 0, Number(words[7]), 0))
        return GetLastError();
    return 0; // the file stays open until the process ends
}

} // namespace

int main(int argc, char** argv) {
    std::vector<char*> words(argv + 1, argv + argc);
    const bool stay = std::string(words.back()) == "stay";
    if (stay)
        words.pop_back();
    const DWORD result = Work(words);
    if (stay) {
        char byte = static_cast<char>(result);
        DWORD count;
        WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), &byte, 1, &count, nullptr);
        while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &count, nullptr) && count > 0) {
        }
    }
    return static_cast<int>(result);
}
