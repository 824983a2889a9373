#include "share.h"

#include "../console.h"
#include "../text.h"
#include "CLastError.h"
#include "CPathString.h"
#include "CSharingManager.h"

namespace mvtool::share {
namespace {

constexpr Command kCommands[] = {
    {"add",
     "DIR",
     "share a folder for everyone",
     "The share has the folder's name in upper case, or that with a number. A folder that is shared\n"
     "already stays as it is. Prints the share's name.\n",
     1,
     1,
     {},
     add},
    {"del",
     "DIR",
     "end the share of a folder",
     "A folder that is not shared is no failure.\n",
     1,
     1,
     {},
     remove},
};

constexpr int kMissing = -3;

/// What the library knows inside.
struct Shares : CSharingManager {
    static CString nameOf(const wchar_t* folder) { return _getNetNameViaDevicePath(folder); }
};

CString folderOf(const std::string& word) {
    CString folder = CPathString::FullPath(widePath(word).c_str());
    CPathString::posarBarraFinal(folder, 0);
    return folder;
}

[[noreturn]] void fail(const std::string& word, const char* what, unsigned long error) {
    std::string reason = fromWide(AfxGetMsgErrorSistema(error).GetString());
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r' || reason.back() == '.')) {
        reason.pop_back();
    }
    throw Failure(Exit::internal, displayText(word) + " " + what + ": " + displayText(reason) + " (" +
                                      std::to_string(error) + ")");
}

} // namespace

const Family& family() {
    static const Family one = {"share", "share folders on the network",
                               "Windows only; elsewhere every command fails.\n", kCommands};
    return one;
}

Exit add(const Arguments& arguments) {
    const std::string& word = arguments.operands()[0];
    const CString folder = folderOf(word);
    const int result = AfxShareFolder(folder);
    const unsigned long error = GetLastError();
    if (result == kMissing) {
        throw Failure(Exit::notFound, "there is no folder " + displayText(word));
    }
    // The library answers success for a share that was not made; whether it is there decides.
    const CString name = Shares::nameOf(folder);
    if (result != 0 || name.IsEmpty()) {
        fail(word, "is not shared", error);
    }
    console().print(displayText(fromWide(name.GetString())) + "\n");
    return Exit::done;
}

Exit remove(const Arguments& arguments) {
    const std::string& word = arguments.operands()[0];
    const int result = AfxUnShareFolder(folderOf(word));
    if (result == kMissing) {
        throw Failure(Exit::notFound, "there is no folder " + displayText(word));
    }
    if (result != 0) {
        fail(word, "is still shared", static_cast<unsigned long>(result));
    }
    return Exit::done;
}

} // namespace mvtool::share
