// SPDX-License-Identifier: Apache-2.0
// Keeps destruction and the delivery of messages apart.
#pragma once

#include "stack_marks.h"

#include <climits>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace tz::orvane::om
{
class OmIConnection;
}

namespace tz::orvane::omc
{

/// What a destruction is about: a whole connection, or those of its objects that have these ids.
struct DispatchScope
{
    om::OmIConnection const* connection;
    unsigned int firstId = 0;
    unsigned int lastId = UINT_MAX;
    void const* object = nullptr; ///< one object that may be called without its connection, known by its address

    bool isWhole() const { return firstId == 0 && lastId == UINT_MAX; }
};

/// The one gate of the process.
///
/// Who delivers a message, or calls an object that he does not own, leaves a note on his stack before he looks the
/// object up. Who destroys takes the object out of its map first and then waits for the notes of other threads: later
/// ones cannot find it any more. The gate's own lock is held for a few instructions only, also inside the locks of the
/// maps; nothing is allocated for a note. A forked child keeps the notes of the thread that forked, and frees the locks
/// of objects that other threads were delivering to. Any thread may call anything.
class DispatchGate
{
    class Note : public StackMark<Note>
    {
    public:
        Note(Note const&) = delete;
        Note& operator=(Note const&) = delete;

    protected:
        Note(om::OmIConnection const* connection, bool hasId, unsigned int id, void const* object = nullptr,
             std::mutex* lock = nullptr);
        ~Note() { leave(); }

        /// Says whose note it is, once that was looked up.
        void resolve(om::OmIConnection const* connection);
        void leave();

        om::OmIConnection const* m_connection; ///< null: not known yet, may be any
        bool const m_hasId;
        unsigned int const m_id;
        void const* const m_object; ///< set: it is about this alone, whatever its connection
        std::mutex* const m_lock;   ///< of the object; taken by the thread after this note, may be null

    private:
        friend class DispatchGate;

        bool concerns(DispatchScope const& scope) const;

        std::uint64_t m_sequence;
        bool m_left = false;
    };

public:
    /// The calling thread delivers a message. The end of a thread's outermost delivery destroys what was deferred.
    class Delivery : private Note
    {
    public:
        /// @param plid the object that the message is addressed to, 0 for the connection itself
        explicit Delivery(unsigned int plid);
        Delivery(om::OmIConnection const* connection, unsigned int plid);

        /// @param object handed a message directly; does not know its connection
        /// @param lock   of the object, held for the rest of the delivery; null for none
        explicit Delivery(void const* object, std::mutex* lock = nullptr);
        ~Delivery();

        using Note::resolve;

    private:
        friend class DispatchGate;

        struct Deferred
        {
            DispatchScope scope;
            std::function<void()> destroy;
        };

        Delivery(om::OmIConnection const* connection, bool hasId, unsigned int plid, void const* object,
                 std::mutex* lock);

        Delivery* const m_outer;
        std::vector<Deferred> m_deferred;
    };

    /// The calling thread calls a connection, or an object of it, that another thread might destroy meanwhile.
    class Use : private Note
    {
    public:
        explicit Use(om::OmIConnection const* connection)
            : Note(connection, false, 0)
        {
        }
        Use(om::OmIConnection const* connection, unsigned int id)
            : Note(connection, true, id)
        {
        }

        using Note::resolve;
    };

    /// @return whether the calling thread is delivering a message in this scope
    static bool isInside(DispatchScope const& scope);

    /// Waits for the deliveries and uses in this scope that other threads have begun before.
    static void waitForOthers(DispatchScope const& scope);

    /// Has `destroy` called when the outermost delivery of the calling thread has ended and the other threads are out
    /// of this scope: objects first, then connections. Only from inside a delivery.
    static void defer(DispatchScope const& scope, std::function<void()> destroy);

private:
    struct State;
    static State& state();
};

} // namespace tz::orvane::omc
