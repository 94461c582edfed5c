// SPDX-License-Identifier: Apache-2.0
// Creation of the library's own threads.
#include "orvane/platform/om_thread.h"

#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <utility>

namespace tz::orvane::platform
{

namespace
{

struct Start
{
    std::string name;
    std::function<void()> body;
};

void* runThread(void* argument)
{
    std::unique_ptr<Start> start(static_cast<Start*>(argument));
    pthread_setname_np(pthread_self(), start->name.c_str());
    start->body();
    return nullptr;
}

} // namespace

Thread::~Thread()
{
    if (m_joinable)
    {
        join();
    }
}

int Thread::start(char const* name, std::function<void()> body)
{
    auto start = std::make_unique<Start>(Start{std::string(name).substr(0, 15), std::move(body)});
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    int const result = pthread_create(&m_thread, nullptr, &runThread, start.get());
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (result != 0)
    {
        return -result;
    }
    static_cast<void>(start.release()); // the new thread owns it
    m_joinable = true;
    return 0;
}

int Thread::join()
{
    if (!m_joinable)
    {
        return -EINVAL;
    }
    int const result = pthread_join(m_thread, nullptr);
    if (result != 0)
    {
        return -result;
    }
    m_joinable = false;
    return 0;
}

void Thread::detach()
{
    if (m_joinable)
    {
        pthread_detach(m_thread);
        m_joinable = false;
    }
}

} // namespace tz::orvane::platform
