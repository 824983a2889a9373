// A cheap look at an event, for code that tests one millions of times.
//
// Where events live in the process (POSIX) a look is one load. Where they live in the system (Windows) it
// never answers yes, takes no room in an object that holds it with [[no_unique_address]], and costs nothing:
// the caller then asks the system, as it must whenever the answer is no.
#pragma once

#include "win32.h"

#if !defined(_WIN32)
#include "posix/event_state.h"
#endif

class MvEventView {
public:
    // For `event`, which must stay open as long as the view is asked about it.
    explicit MvEventView(HANDLE event);
    // TRUE when `event` is the one of the constructor, resets by hand and is signalled now. Any thread.
    bool SurelySignalled(HANDLE event) const;

#if !defined(_WIN32)
private:
    HANDLE m_event;
    const std::atomic<bool>* m_signalled;
#endif
};

#if defined(_WIN32)
inline MvEventView::MvEventView(HANDLE) {}
inline bool MvEventView::SurelySignalled(HANDLE) const {
    return false;
}
#else
inline MvEventView::MvEventView(HANDLE event)
    : m_event(event)
    , m_signalled(MvEventState(event)) {}
inline bool MvEventView::SurelySignalled(HANDLE event) const {
    return event == m_event && m_signalled && m_signalled->load(std::memory_order_acquire);
}
#endif
