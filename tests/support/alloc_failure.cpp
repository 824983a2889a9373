#include "alloc_failure.h"

#include "import_patch.h"

#include <cstdlib>
#include <new>

namespace {

struct Plan {
    bool active = false;
    int nth = 0;
    bool fromThenOn = false;
    int asked = 0;
    int failed = 0;
};

thread_local Plan plan;

bool Refused() {
    if (!plan.active) {
        return false;
    }
    ++plan.asked;
    const bool refused = plan.fromThenOn ? plan.asked >= plan.nth : plan.asked == plan.nth;
    plan.failed += refused ? 1 : 0;
    return refused;
}

void* HookMalloc(std::size_t size) {
    return Refused() ? nullptr : std::malloc(size);
}

void* HookCalloc(std::size_t count, std::size_t size) {
    return Refused() ? nullptr : std::calloc(count, size);
}

void* HookRealloc(void* block, std::size_t size) {
    return Refused() ? nullptr : std::realloc(block, size);
}

void* HookNew(std::size_t size) {
    if (Refused()) {
        throw std::bad_alloc();
    }
    return ::operator new(size);
}

void* HookNewArray(std::size_t size) {
    if (Refused()) {
        throw std::bad_alloc();
    }
    return ::operator new[](size);
}

void* HookNewNothrow(std::size_t size, const std::nothrow_t&) noexcept {
    return Refused() ? nullptr : ::operator new(size, std::nothrow);
}

void* HookNewArrayNothrow(std::size_t size, const std::nothrow_t&) noexcept {
    return Refused() ? nullptr : ::operator new[](size, std::nothrow);
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

void PatchOnce() {
    static const bool done = [] {
        constexpr bool kWide = sizeof(std::size_t) == 8;
        const ImportHook hooks[] = {
            {"malloc", Address(&HookMalloc)},
            {"calloc", Address(&HookCalloc)},
            {"realloc", Address(&HookRealloc)},
            {kWide ? "_Znwm" : "_Znwj", Address(&HookNew)},
            {kWide ? "_Znam" : "_Znaj", Address(&HookNewArray)},
            {kWide ? "_ZnwmRKSt9nothrow_t" : "_ZnwjRKSt9nothrow_t", Address(&HookNewNothrow)},
            {kWide ? "_ZnamRKSt9nothrow_t" : "_ZnajRKSt9nothrow_t", Address(&HookNewArrayNothrow)},
        };
        int patched = 0;
        for (const ImportHook& hook : hooks) {
            patched += PatchImport("mvafx62", hook);
            patched += PatchImport("mvlib62", hook);
        }
        if (patched == 0) {
            std::abort(); // a test that believes it injects failures must not pass without them
        }
        return true;
    }();
    static_cast<void>(done);
}

} // namespace

FailAllocation::FailAllocation(int nth, Mode mode) {
    PatchOnce();
    plan = Plan{true, nth, mode == Mode::FromThenOn, 0, 0};
}

FailAllocation::~FailAllocation() {
    plan.active = false;
}

int FailAllocation::Asked() const {
    return plan.asked;
}

int FailAllocation::Failed() const {
    return plan.failed;
}
