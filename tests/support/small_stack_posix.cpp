#include "small_stack.h"

#include <pthread.h>

bool RunOnStack(std::size_t size, const std::function<void()>& work) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    pthread_t thread;
    const bool started = pthread_attr_setstacksize(&attributes, size) == 0 &&
                         pthread_create(
                             &thread, &attributes,
                             [](void* given) -> void* {
                                 (*static_cast<const std::function<void()>*>(given))();
                                 return nullptr;
                             },
                             const_cast<std::function<void()>*>(&work)) == 0;
    pthread_attr_destroy(&attributes);
    return started && pthread_join(thread, nullptr) == 0;
}
