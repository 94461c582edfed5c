// SPDX-License-Identifier: Apache-2.0
// Drives one pipeline: blocking calls on a worker, the bus on the loop, a deadline on everything.
#pragma once

#include "error_map.h"
#include "pipeline.h"
#include "screen.h"
#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::service
{

/// What a pipeline says unasked. Loop thread; the deck may be closed from inside any of them.
class DeckListener
{
public:
    /// The pipeline is of no use any more.
    virtual void onDeckFault(Fault const& fault) = 0;
    virtual void onDeckEnd() = 0;
    virtual void onDeckBuffering(int percent) = 0;
    virtual void onDeckDuration() = 0;

    /// A message that is of no concern to the deck.
    virtual void onDeckMessage(GstMessage* /*message*/) {}

protected:
    ~DeckListener() = default;
};

/// One opened medium. Loop thread.
///
/// One operation at a time: the next may begin when the last has called back. An operation that does not end within
/// its deadline is a fault of the whole deck. The loop never calls what GStreamer could block.
class Deck : public std::enable_shared_from_this<Deck>
{
public:
    enum class Outcome
    {
        done,
        live,   ///< done, but data come only when it plays
        refused ///< the pipeline does not do that and is as it was
    };

    enum class Kind
    {
        query, ///< done when the call returns
        state, ///< done when the pipeline has settled
        seek   ///< done when it has settled behind the flush
    };

    using Call = std::function<CallResult(Pipeline&)>;
    using Done = std::function<void(Outcome)>;

    /// @param network whether the medium comes from a server
    Deck(platform::EventLoop& loop, std::unique_ptr<Pipeline> pipeline, std::unique_ptr<ScreenInput> input,
         bool network);
    ~Deck();

    /// @return 0, or the negative errno value of a resource that is missing
    int start();

    /// Null: nobody listens any more, and operations do not call back.
    void setListener(DeckListener* listener) { m_listener = listener; }

    /// @param done is not called when a fault comes instead
    void operate(Kind kind, std::chrono::milliseconds deadline, Call call, Done done);

    /// Applies settings on the worker, before the operations to come. Of those that wait there only the newest counts.
    void set(std::function<void(Pipeline&)> settings);

    /// Asks where the pipeline stands; one question at a time. A worker that does not come to it hangs, and that is a
    /// fault: in this way one is found while nothing but playing goes on.
    /// @param answer gets milliseconds, or nothing when the pipeline does not know; not called when a fault comes
    /// instead
    void askPosition(std::chrono::milliseconds deadline, std::function<void(std::optional<std::int64_t>)> answer);

    /// While held, an operation may take as long as it likes: it waits for what only the application can bring. Its
    /// deadline counts anew from the end of that. A call has to return in time all the same.
    void hold(bool held);

    bool busy() const { return m_operation.has_value(); }
    ScreenInput& input() { return *m_input; }

    /// Names of what no decoder was found for.
    std::vector<std::string> const& missingCodecs() const { return m_missingCodecs; }

    /// Ends the pipeline and calls back; the deck must live until then.
    /// @param ended false when it hangs: it and all it holds were given up
    void shutDown(std::chrono::milliseconds deadline, std::function<void(bool ended)> closed);

private:
    struct Operation
    {
        Operation(Kind how, std::chrono::milliseconds longest, Done callback)
            : kind(how)
            , allowed(longest)
            , done(std::move(callback))
        {
        }

        Kind kind;
        std::chrono::milliseconds allowed;
        Done done;
        platform::EventLoop::TimerId deadline = 0;
        platform::EventLoop::TimerId stallCheck = 0;
        int stalls = 0; ///< checks in a row that found nothing at work
        bool returned = false;
        bool asyncDone = false;
        bool live = false;
        bool endHeld = false; ///< an end came that is old if the seek succeeds
    };

    /// Shared with the worker.
    struct SettingsSlot
    {
        std::mutex mutex;
        std::function<void(Pipeline&)> waiting;

        std::function<void(Pipeline&)> exchange(std::function<void(Pipeline&)> next);
    };

    void onReturned(CallResult result);
    void check();
    void onSettled(bool settled);
    void endOperation();
    void finish(Outcome outcome);
    void fail(Fault const& fault);
    void armDeadline();
    void expire();
    void hang();
    void watchForStall();
    void onStallChecked(std::uint64_t serial, bool stalled);
    template <class Ask, class Answer> void askWorker(Ask ask, Answer answer);
    void readBus();
    void handle(GstMessage* message);
    void handleError(GstMessage* message);
    void handleEnd();
    void handleElement(GstMessage* message);
    void passOn(GstMessage* message);
    void handleProgress(GstMessage* message);
    void quieten();
    void giveUp();

    platform::EventLoop& m_loop;
    std::unique_ptr<Pipeline> m_pipeline;
    std::unique_ptr<ScreenInput> m_input;
    ObjectPtr<GstBus> m_bus;
    int m_busFd = -1;
    DeckListener* m_listener = nullptr;
    std::optional<Operation> m_operation;
    std::uint64_t m_serial = 0; ///< of the operation
    std::shared_ptr<SettingsSlot> m_settings = std::make_shared<SettingsSlot>();
    platform::EventLoop::TimerId m_question = 0; ///< its deadline; 0: nobody asks for the position
    FaultContext m_context;
    std::vector<std::string> m_missingCodecs;
    bool m_held = false;
    int m_progress = 0; ///< connections that a live source is making
    platform::EventLoop::TimerId m_closing = 0;
    Worker m_worker;
};

} // namespace tz::orvane::service
