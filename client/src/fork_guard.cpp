// SPDX-License-Identifier: Apache-2.0
// Keeps the locks of the client library usable in a forked child.
#include "fork_guard.h"

#include "made_once.h"

#include <new>
#include <pthread.h>
#include <set>

namespace tz::orvane::omc
{

struct ForkGuard::State
{
    State()
    {
        pthread_atfork([] { state().lock(); }, [] { state().unlock(); },
                       []
                       {
                           state().enterChild();
                           state().unlock();
                       });
    }

    void enterChild()
    {
        for (std::mutex* const lasting : renewed)
        {
            new (lasting) std::mutex;
        }
        for (Module* module = modules; module != nullptr; module = module->m_next)
        {
            module->enterChild();
        }
    }

    void lock()
    {
        mutex.lock();
        for (std::mutex* const object : objects)
        {
            object->lock();
        }
        for (Module* module = modules; module != nullptr; module = module->m_next)
        {
            module->mutex.lock();
        }
    }

    void unlock()
    {
        for (Module* module = modules; module != nullptr; module = module->m_next)
        {
            module->mutex.unlock();
        }
        for (std::mutex* const object : objects)
        {
            object->unlock();
        }
        mutex.unlock();
    }

    std::mutex mutex; ///< guards the lists
    std::set<std::mutex*> objects;
    std::set<std::mutex*> renewed;
    Module* modules = nullptr;
};

ForkGuard::State& ForkGuard::state()
{
    return madeOnce<State>();
}

ForkGuard::Module::Module()
{
    std::lock_guard<std::mutex> lock(state().mutex);
    m_next = state().modules;
    state().modules = this;
}

void ForkGuard::add(std::mutex& mutex)
{
    std::lock_guard<std::mutex> lock(state().mutex);
    state().objects.insert(&mutex);
}

void ForkGuard::remove(std::mutex& mutex)
{
    std::lock_guard<std::mutex> lock(state().mutex);
    state().objects.erase(&mutex);
}

void ForkGuard::renewInChild(std::mutex& mutex)
{
    std::lock_guard<std::mutex> lock(state().mutex);
    state().renewed.insert(&mutex);
}

} // namespace tz::orvane::omc
