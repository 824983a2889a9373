// What the layer's services add to a thread's message queue.
#pragma once

#include "../../win32.h"

#include <poll.h>
#include <vector>

namespace mvplat {

// Lives on one thread and is used on it alone. Entered into the thread's queue by addMessageSource, until
// removeMessageSource.
class MessageSource {
public:
    MessageSource() = default;
    MessageSource(const MessageSource&) = delete;
    MessageSource& operator=(const MessageSource&) = delete;
    virtual ~MessageSource() = default;

    // What to wait for.
    virtual void addDescriptors(std::vector<pollfd>& descriptors) const = 0;
    // Takes what has arrived, without waiting: deals with it or posts messages for this source.
    virtual void collect() = 0;
    // A message of this source is dispatched.
    virtual LRESULT dispatch(const MSG& message) = 0;
};

void addMessageSource(MessageSource* source);
// Takes its waiting messages out, too.
void removeMessageSource(MessageSource* source);
// Puts a message of the source at the end of the calling thread's queue.
void postForSource(MessageSource* source, UINT message, WPARAM wParam, LPARAM lParam);
// Takes the first waiting message of the source; false when there is none.
bool takeForSource(MessageSource* source, MSG& message);
// Whether such a message of the source still waits.
bool isQueuedForSource(const MessageSource* source, LPARAM lParam);

} // namespace mvplat
