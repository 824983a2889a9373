// The message queue of a thread.
//
// Other threads put messages into the queue under its lock and ring its bell, an eventfd; everything else is
// the owner's alone. Sources are asked for what arrived whenever the owner looks for a message.
#include "internal/thread_messages.h"

#include "internal/handles.h"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

using mvplat::MessageSource;

constexpr DWORD errorInvalidThread = 1444;
constexpr DWORD errorNotEnoughQuota = 1816;
constexpr std::size_t mostMessages = 10000;

struct Queue {
    Queue()
        : bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~Queue() {
        if (bell >= 0)
            ::close(bell);
    }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    std::mutex lock;
    std::deque<MSG> messages;
    const int bell;
    bool quit = false; // the owner's from here on
    int quitCode = 0;
    bool collecting = false;
    std::vector<MessageSource*> sources;
};

// The queues of the process by thread. Never destroyed: threads may end after it would be.
struct Queues {
    std::mutex lock;
    std::map<DWORD, std::shared_ptr<Queue>> byThread;
};

Queues& queues() {
    static Queues* const all = new Queues;
    return *all;
}

// Enters the thread's queue and takes it out again when the thread ends.
struct OwnQueue {
    OwnQueue()
        : queue(std::make_shared<Queue>()) {
        const std::lock_guard guard(queues().lock);
        queues().byThread[GetCurrentThreadId()] = queue;
    }
    ~OwnQueue() {
        const std::lock_guard guard(queues().lock);
        queues().byThread.erase(GetCurrentThreadId());
    }
    OwnQueue(const OwnQueue&) = delete;
    OwnQueue& operator=(const OwnQueue&) = delete;

    std::shared_ptr<Queue> queue;
};

Queue& own() {
    static thread_local OwnQueue queue;
    return *queue.queue;
}

HWND windowOf(const MessageSource* source) {
    return reinterpret_cast<HWND>(const_cast<MessageSource*>(source));
}

MSG messageOf(HWND window, UINT number, WPARAM wParam, LPARAM lParam) {
    MSG message = {};
    message.hwnd = window;
    message.message = number;
    message.wParam = wParam;
    message.lParam = lParam;
    message.time = static_cast<DWORD>(GetTickCount64());
    return message;
}

void collectAll(Queue& queue) {
    // A callback may look for messages itself; the outer call is collecting then.
    if (queue.collecting)
        return;
    queue.collecting = true;
    const std::vector<MessageSource*> sources = queue.sources;
    for (MessageSource* source : sources)
        if (std::find(queue.sources.begin(), queue.sources.end(), source) != queue.sources.end())
            source->collect();
    queue.collecting = false;
}

bool wanted(const MSG& message, HWND window, UINT minimum, UINT maximum) {
    if (window && (window != reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)) || message.hwnd))
        return false;
    return (minimum == 0 && maximum == 0) || (message.message >= minimum && message.message <= maximum);
}

bool look(Queue& queue, MSG& found, HWND window, UINT minimum, UINT maximum, bool take) {
    collectAll(queue);
    {
        const std::lock_guard guard(queue.lock);
        for (auto message = queue.messages.begin(); message != queue.messages.end(); ++message) {
            if (!wanted(*message, window, minimum, maximum))
                continue;
            found = *message;
            if (take)
                queue.messages.erase(message);
            return true;
        }
    }
    if (!queue.quit)
        return false;
    found = messageOf(nullptr, WM_QUIT, static_cast<WPARAM>(queue.quitCode), 0);
    if (take)
        queue.quit = false;
    return true;
}

} // namespace

// ---- For the layer's services

void mvplat::addMessageSource(MessageSource* source) {
    own().sources.push_back(source);
}

void mvplat::removeMessageSource(MessageSource* source) {
    Queue& queue = own();
    std::erase(queue.sources, source);
    const std::lock_guard guard(queue.lock);
    std::erase_if(queue.messages, [&](const MSG& message) { return message.hwnd == windowOf(source); });
}

void mvplat::postForSource(MessageSource* source, UINT message, WPARAM wParam, LPARAM lParam) {
    Queue& queue = own();
    const std::lock_guard guard(queue.lock);
    queue.messages.push_back(messageOf(windowOf(source), message, wParam, lParam));
}

bool mvplat::takeForSource(MessageSource* source, MSG& message) {
    Queue& queue = own();
    const std::lock_guard guard(queue.lock);
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(),
                                    [&](const MSG& one) { return one.hwnd == windowOf(source); });
    if (found == queue.messages.end())
        return false;
    message = *found;
    queue.messages.erase(found);
    return true;
}

bool mvplat::isQueuedForSource(const MessageSource* source, LPARAM lParam) {
    Queue& queue = own();
    const std::lock_guard guard(queue.lock);
    return std::any_of(queue.messages.begin(), queue.messages.end(),
                       [&](const MSG& one) { return one.hwnd == windowOf(source) && one.lParam == lParam; });
}

// ---- Interface

BOOL PeekMessageW(LPMSG message, HWND window, UINT minimum, UINT maximum, UINT remove) {
    return mvplat::guarded(FALSE, [&] {
        MSG found;
        if (!look(own(), found, window, minimum, maximum, (remove & PM_REMOVE) != 0))
            return FALSE;
        *message = found;
        return TRUE;
    });
}

BOOL GetMessageW(LPMSG message, HWND window, UINT minimum, UINT maximum) {
    return mvplat::guarded(-1, [&] {
        Queue& queue = own();
        for (;;) {
            if (look(queue, *message, window, minimum, maximum, true))
                return message->message != WM_QUIT ? 1 : 0;
            std::vector<pollfd> descriptors = {{queue.bell, POLLIN, 0}};
            for (const MessageSource* source : queue.sources)
                source->addDescriptors(descriptors);
            if (::poll(descriptors.data(), descriptors.size(), -1) < 0 && errno != EINTR)
                return -1;
            // What rang is looked at in the next turn.
            std::uint64_t rings;
            while (::read(queue.bell, &rings, sizeof rings) == sizeof rings) {
            }
        }
    });
}

BOOL TranslateMessage(const MSG*) {
    return FALSE;
}

LRESULT DispatchMessageW(const MSG* message) {
    if (!message->hwnd) {
        if (message->message != WM_TIMER || message->lParam == 0)
            return 0;
        using TimerFunction = void(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD);
        reinterpret_cast<TimerFunction>(message->lParam)(nullptr, WM_TIMER, message->wParam,
                                                         static_cast<DWORD>(GetTickCount64()));
        return 0;
    }
    return mvplat::guarded(LRESULT{0}, [&]() -> LRESULT {
        // The window is only compared: the message may be older than its source's end.
        for (MessageSource* source : std::vector<MessageSource*>(own().sources))
            if (windowOf(source) == message->hwnd)
                return source->dispatch(*message);
        return 0;
    });
}

BOOL PostThreadMessageW(DWORD thread, UINT message, WPARAM wParam, LPARAM lParam) {
    return mvplat::guarded(FALSE, [&] {
        std::shared_ptr<Queue> queue;
        {
            const std::lock_guard guard(queues().lock);
            const auto found = queues().byThread.find(thread);
            if (found != queues().byThread.end())
                queue = found->second;
        }
        if (!queue) {
            SetLastError(errorInvalidThread);
            return FALSE;
        }
        {
            const std::lock_guard guard(queue->lock);
            if (queue->messages.size() >= mostMessages) {
                SetLastError(errorNotEnoughQuota);
                return FALSE;
            }
            queue->messages.push_back(messageOf(nullptr, message, wParam, lParam));
        }
        const std::uint64_t ring = 1;
        // A bell that cannot count further rings already.
        (void)!::write(queue->bell, &ring, sizeof ring);
        return TRUE;
    });
}

void PostQuitMessage(int code) {
    Queue& queue = own();
    queue.quit = true;
    queue.quitCode = code;
}
