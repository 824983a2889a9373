#include "small_stack.h"

#include <windows.h>

namespace {

DWORD WINAPI Run(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return 0;
}

} // namespace

bool RunOnStack(std::size_t size, const std::function<void()>& work) {
    const HANDLE thread = CreateThread(nullptr, size, Run, const_cast<std::function<void()>*>(&work),
                                       STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (!thread)
        return false;
    const bool ended = WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0;
    CloseHandle(thread);
    return ended;
}
