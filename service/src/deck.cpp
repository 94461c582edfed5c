// SPDX-License-Identifier: Apache-2.0
// Drives one pipeline: blocking calls on a worker, the bus on the loop, a deadline on everything.
#include "deck.h"

#include "orvane/platform/om_debug.h"

#include <gst/pbutils/pbutils.h>

#include <cerrno>
#include <malloc.h>
#include <string_view>
#include <sys/epoll.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "deck";
constexpr char kLogClass[] = "Deck";

/// A decodebin may swallow the error of a demuxer that fails at once: then nothing moves, and nothing is said.
constexpr std::chrono::milliseconds kStallInterval{250};
constexpr int kStallsInRow = 2;

constexpr guint kFirstHttpStatus = 100;

} // namespace

Deck::Deck(platform::EventLoop& loop, std::unique_ptr<Pipeline> pipeline, std::unique_ptr<ScreenInput> input,
           bool network)
    : m_loop(loop)
    , m_pipeline(std::move(pipeline))
    , m_input(std::move(input))
    , m_bus(gst_element_get_bus(m_pipeline->element()))
{
    m_context.network = network;
}

Deck::~Deck()
{
    quieten();
}

int Deck::start()
{
    GPollFD poll{};
    gst_bus_get_pollfd(m_bus.get(), &poll);
    if (int const result = m_worker.start("player"); result < 0)
    {
        return result;
    }
    int const result = m_loop.watch(poll.fd, EPOLLIN, [this](std::uint32_t) { readBus(); });
    m_busFd = result == 0 ? poll.fd : -1;
    return result;
}

void Deck::operate(Kind kind, std::chrono::milliseconds deadline, Call call, Done done)
{
    ++m_serial;
    m_operation.emplace(kind, deadline, std::move(done));
    armDeadline();
    watchForStall();
    askWorker(std::move(call), [](Deck& deck, CallResult result) { deck.onReturned(result); });
}

/// Does `ask(pipeline)` on the worker and `answer(deck, result)` on the loop, if the deck is still there.
template <class Ask, class Answer> void Deck::askWorker(Ask ask, Answer answer)
{
    m_worker.run(
        [ask = std::move(ask), answer, pipeline = m_pipeline.get(), loop = &m_loop, self = weak_from_this()]
        {
            auto const result = ask(*pipeline);
            loop->post(
                [self, answer, result]
                {
                    if (auto const deck = self.lock())
                    {
                        answer(*deck, result);
                    }
                });
        });
}

std::function<void(Pipeline&)> Deck::SettingsSlot::exchange(std::function<void(Pipeline&)> next)
{
    std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(waiting, std::move(next));
}

void Deck::set(std::function<void(Pipeline&)> settings)
{
    bool const onTheWay = m_settings->exchange(std::move(settings)) != nullptr;
    if (!onTheWay)
    {
        m_worker.run([settings = m_settings, pipeline = m_pipeline.get()] { settings->exchange(nullptr)(*pipeline); });
    }
}

void Deck::askPosition(std::chrono::milliseconds deadline, std::function<void(std::optional<std::int64_t>)> answer)
{
    m_question = m_loop.addTimer(deadline, [this] { hang(); });
    askWorker([](Pipeline& pipeline) { return pipeline.position(); },
              [answer = std::move(answer)](Deck& deck, std::optional<std::int64_t> position)
              {
                  if (deck.m_question != 0)
                  {
                      deck.m_loop.cancelTimer(std::exchange(deck.m_question, 0));
                      answer(position);
                  }
              });
}

void Deck::onReturned(CallResult result)
{
    readBus(); // an error that explains the result comes before it
    if (!m_operation)
    {
        return;
    }
    m_operation->returned = true;
    m_operation->live = result == CallResult::live;
    if (result == CallResult::failed && m_operation->kind == Kind::state)
    {
        fail({om::OM_ERROR_INTERNAL, "the pipeline refuses its state", {}});
    }
    else if (result == CallResult::failed)
    {
        finish(Outcome::refused);
    }
    else if (m_operation->kind == Kind::query)
    {
        finish(Outcome::done);
    }
    else
    {
        check();
    }
}

void Deck::check()
{
    if (!m_operation || !m_operation->returned || m_progress > 0 ||
        (m_operation->kind == Kind::seek && !m_operation->asyncDone))
    {
        return;
    }

    // A message may be late and belong to the operation before: the pipeline itself has the last word.
    askWorker([](Pipeline& pipeline) { return !pipeline.settling(); },
              [](Deck& deck, bool settled) { deck.onSettled(settled); });
}

void Deck::onSettled(bool settled)
{
    if (settled && m_operation && m_operation->returned)
    {
        finish(m_operation->live ? Outcome::live : Outcome::done);
    }
}

void Deck::watchForStall()
{
    if (m_context.network || m_operation->kind == Kind::query)
    {
        return;
    }
    m_operation->stallCheck =
        m_loop.addTimer(kStallInterval,
                        [this, serial = m_serial]
                        {
                            askWorker([](Pipeline& pipeline) { return pipeline.stalled(); },
                                      [serial](Deck& deck, bool stalled) { deck.onStallChecked(serial, stalled); });
                        });
}

void Deck::onStallChecked(std::uint64_t serial, bool stalled)
{
    if (!m_operation || serial != m_serial)
    {
        return;
    }
    m_operation->stalls = stalled && m_operation->returned ? m_operation->stalls + 1 : 0;
    if (m_operation->stalls >= kStallsInRow)
    {
        fail({om::OM_ERROR_BROKEN_FILE, "the medium gives no data", {}});
        return;
    }
    watchForStall();
}

void Deck::endOperation()
{
    m_loop.cancelTimer(m_operation->deadline);
    m_loop.cancelTimer(m_operation->stallCheck);
    m_operation.reset();
}

void Deck::finish(Outcome outcome)
{
    auto const alive = shared_from_this();
    Done const done = std::move(m_operation->done);
    bool const endCounts = m_operation->endHeld && outcome == Outcome::refused;
    endOperation();
    if (m_listener != nullptr)
    {
        done(outcome);
    }
    if (m_listener != nullptr && endCounts)
    {
        m_listener->onDeckEnd();
    }
}

void Deck::fail(Fault const& fault)
{
    auto const alive = shared_from_this();
    quieten();
    if (m_listener != nullptr)
    {
        m_listener->onDeckFault(fault);
    }
}

void Deck::hold(bool held)
{
    m_held = held;
    if (m_operation && m_operation->returned && !held) // a call that does not return hangs, whoever holds it
    {
        m_loop.cancelTimer(m_operation->deadline);
        armDeadline();
    }
}

void Deck::armDeadline()
{
    m_operation->deadline = m_loop.addTimer(m_operation->allowed, [this] { expire(); });
}

void Deck::expire()
{
    if (!m_operation->returned)
    {
        hang();
        return;
    }
    if (m_held)
    {
        armDeadline();
        return;
    }
    ORVANE_LOG_WARNING("nothing happens");
    fail({om::OM_ERROR_TIMED_OUT, "nothing came in time", {}});
}

void Deck::hang()
{
    ORVANE_LOG_WARNING("a call does not return");
    fail({om::OM_ERROR_INTERNAL, "the pipeline hangs", {}});
}

void Deck::quieten()
{
    if (m_operation)
    {
        endOperation();
    }
    m_loop.cancelTimer(std::exchange(m_question, 0));
    if (m_busFd >= 0)
    {
        m_loop.unwatch(m_busFd);
        m_busFd = -1;
    }
    gst_bus_set_flushing(m_bus.get(), TRUE); // nobody takes what a pipeline that hangs goes on telling
}

void Deck::readBus()
{
    auto const alive = shared_from_this();
    while (m_busFd >= 0)
    {
        MessagePtr const message(gst_bus_pop(m_bus.get()));
        if (message == nullptr)
        {
            return;
        }
        handle(message.get());
    }
}

void Deck::handle(GstMessage* message)
{
    bool const fromPipeline = GST_MESSAGE_SRC(message) == GST_OBJECT(m_pipeline->element());
    switch (GST_MESSAGE_TYPE(message))
    {
    case GST_MESSAGE_ERROR:
        handleError(message);
        break;
    case GST_MESSAGE_ASYNC_DONE:
        if (fromPipeline && m_operation)
        {
            m_operation->asyncDone = true;
            check();
        }
        break;
    case GST_MESSAGE_STATE_CHANGED:
        if (fromPipeline)
        {
            check();
        }
        break;
    case GST_MESSAGE_PROGRESS:
        handleProgress(message);
        break;
    case GST_MESSAGE_ELEMENT:
        handleElement(message);
        break;
    case GST_MESSAGE_EOS:
        handleEnd();
        break;
    case GST_MESSAGE_BUFFERING:
        if (m_listener != nullptr)
        {
            gint percent = 100;
            gst_message_parse_buffering(message, &percent);
            m_listener->onDeckBuffering(percent);
        }
        break;
    case GST_MESSAGE_DURATION_CHANGED:
        if (m_listener != nullptr)
        {
            m_listener->onDeckDuration();
        }
        break;
    default:
        passOn(message);
        break;
    }
}

void Deck::passOn(GstMessage* message)
{
    if (m_listener != nullptr)
    {
        m_listener->onDeckMessage(message);
    }
}

void Deck::handleError(GstMessage* message)
{
    GError* error = nullptr;
    gchar* debug = nullptr;
    GstStructure const* details = nullptr;
    gst_message_parse_error(message, &error, &debug);
    gst_message_parse_error_details(message, &details);
    ErrorPtr const errorOwner(error);
    TextPtr const debugOwner(debug);
    ORVANE_LOG_INFO("%s (%s)", error->message, debug == nullptr ? "" : debug);
    fail(mapError(*error, details, m_context));
}

void Deck::handleEnd()
{
    // An end before the flush of a seek is the end of what was played before it.
    if (m_operation && m_operation->kind == Kind::seek && !m_operation->asyncDone)
    {
        m_operation->endHeld = true;
    }
    else if (m_listener != nullptr)
    {
        m_listener->onDeckEnd();
    }
}

void Deck::handleElement(GstMessage* message)
{
    guint status = 0;
    if (gst_message_has_name(message, "http-headers") != FALSE &&
        gst_structure_get_uint(gst_message_get_structure(message), "http-status-code", &status) != FALSE)
    {
        m_context.connected = status >= kFirstHttpStatus; // below are the library's own numbers for what went wrong
    }
    if (gst_is_missing_plugin_message(message) == FALSE)
    {
        passOn(message);
        return;
    }
    TextPtr const description(gst_missing_plugin_message_get_description(message));
    TextPtr const detail(gst_missing_plugin_message_get_installer_detail(message));
    // A broken description of a stream has neither.
    m_context.missingCodec = description == nullptr ? "unknown" : description.get();
    m_context.encrypted =
        detail != nullptr && std::string_view(detail.get()).find("application/x-cenc") != std::string_view::npos;
    m_missingCodecs.push_back(m_context.missingCodec);
}

void Deck::handleProgress(GstMessage* message)
{
    GstProgressType type = GST_PROGRESS_TYPE_ERROR;
    gst_message_parse_progress(message, &type, nullptr, nullptr);
    if (type == GST_PROGRESS_TYPE_START)
    {
        ++m_progress;
    }
    else if (type != GST_PROGRESS_TYPE_CONTINUE && m_progress > 0)
    {
        --m_progress;
        m_context.connected = m_context.connected || type == GST_PROGRESS_TYPE_COMPLETE;
        check();
    }
}

void Deck::shutDown(std::chrono::milliseconds deadline, std::function<void(bool ended)> closed)
{
    quieten();
    m_listener = nullptr;
    auto const done = std::make_shared<std::function<void(bool)>>(std::move(closed));
    m_closing = m_loop.addTimer(deadline,
                                [this, done]
                                {
                                    giveUp();
                                    (*done)(false);
                                });

    // The worker owns the pipeline from here on: if it hangs, the pipeline stays with the thread.
    m_worker.run(
        [pipeline = std::shared_ptr<Pipeline>(std::move(m_pipeline)), done, loop = &m_loop,
         self = weak_from_this()]() mutable
        {
            pipeline.reset();
            malloc_trim(0); // what threads that are gone have taken would stay with the process
            loop->post(
                [self, done]
                {
                    auto const deck = self.lock();
                    if (deck != nullptr && deck->m_closing != 0)
                    {
                        deck->m_loop.cancelTimer(deck->m_closing);
                        (*done)(true);
                    }
                });
        });
}

void Deck::giveUp()
{
    ORVANE_LOG_ERROR("a pipeline hangs and is given up");
    m_closing = 0;
    m_worker.abandon();
    [[maybe_unused]] auto* const lostInput = m_input.release(); // the pipeline may still draw into it
}

} // namespace tz::orvane::service
