// SPDX-License-Identifier: Apache-2.0
// Keeps the locks of the client library usable in a forked child.
#pragma once

#include <mutex>

namespace tz::orvane::omc
{

/// A child has the thread that forked and no other: what the others held would stay locked there for ever.
///
/// The locks below are held for a few instructions only, and nobody who has one calls the messenger or the timers. A
/// fork therefore waits for all of them, those of objects first, and what they guard is whole in the child. Any thread.
class ForkGuard
{
public:
    /// A lock of which there is one in the process, with what it guards. Never destroyed.
    class Module
    {
    public:
        Module(Module const&) = delete;
        Module& operator=(Module const&) = delete;
        virtual ~Module() = default;

        std::mutex mutex;

    protected:
        Module();

    private:
        friend class ForkGuard;

        /// Forgets the threads that are not there any more. In the child, with the lock held; allocates nothing.
        virtual void enterChild() {}

        Module* m_next = nullptr;
    };

    /// Also takes the lock of an object, which may be held while those of modules are taken.
    static void add(std::mutex& mutex);

    /// The object is about to go.
    static void remove(std::mutex& mutex);

    /// No fork waits for this lock, since it is held over calls; it is free in every child. @param mutex never
    /// destroyed
    static void renewInChild(std::mutex& mutex);

private:
    struct State;
    static State& state();
};

} // namespace tz::orvane::omc
