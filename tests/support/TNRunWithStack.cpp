#include "tests/support/TNRunWithStack.h"

#include <gtest/gtest.h>
#include <pthread.h>

void TNRunWithStack(size_t stackBytes, const std::function<void()>& body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackBytes), 0);
    auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_t thread;
    const int made = pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body));
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(made, 0);
    pthread_join(thread, nullptr);
}
