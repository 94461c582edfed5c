// SPDX-License-Identifier: Apache-2.0
// Objects of which there is one in the process.
#pragma once

#include <atomic>
#include <pthread.h>

namespace tz::orvane::omc
{

/// @return the one T, made on first use. Never destroyed: threads and late callers outlive the end of main. A forked
/// child makes another when a thread of the parent was about to make it, where a static variable would wait for ever.
template <class T> T& madeOnce()
{
    static pthread_once_t s_once = PTHREAD_ONCE_INIT;
    static std::atomic<T*> s_instance{nullptr};
    pthread_once(&s_once, [] { s_instance = new T; });
    return *s_instance;
}

} // namespace tz::orvane::omc
