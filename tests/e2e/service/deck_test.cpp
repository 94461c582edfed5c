// SPDX-License-Identifier: Apache-2.0
// A pipeline whose call never returns is given up, and everything else goes on.
#include "deck_yard.h"

#include "support/process_state.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <future>

namespace tz::orvane::service
{
namespace
{

class PlainPipeline final : public Pipeline
{
public:
    PlainPipeline()
        : PlainPipeline(makeAudioChain(AudioOutput::fake))
    {
    }

    std::vector<StreamPad> streams() const override { return {}; }
    void setAudioDelay(std::chrono::nanoseconds) override {}

private:
    explicit PlainPipeline(GstElement* audio)
        : Pipeline(gst_pipeline_new(nullptr), audio)
    {
        gst_bin_add(GST_BIN(element()), audio);
    }
};

class FaultKeeper final : public DeckListener
{
public:
    explicit FaultKeeper(std::function<void()> came)
        : m_came(std::move(came))
    {
    }

    Fault fault;
    int ends = 0;

private:
    void onDeckFault(Fault const& reported) override
    {
        fault = reported;
        m_came();
    }
    void onDeckEnd() override { ++ends; }
    void onDeckBuffering(int) override {}
    void onDeckDuration() override {}

    std::function<void()> m_came;
};

constexpr std::chrono::milliseconds kShort{100};
constexpr std::chrono::seconds kLong{30};

class DeckTest : public testing::Test
{
protected:
    DeckTest()
    {
        gst_init(nullptr, nullptr);
        m_deck = std::make_shared<Deck>(m_loop, std::make_unique<PlainPipeline>(), nullptr, false);
        m_deck->setListener(&m_listener);
        EXPECT_EQ(m_deck->start(), 0);
    }

    /// Begins an operation whose call returns once m_release says so.
    void operateUntilReleased()
    {
        m_deck->operate(
            Deck::Kind::query, kShort,
            [released = m_release.get_future().share()](Pipeline&)
            {
                released.wait();
                return CallResult::done;
            },
            [](Deck::Outcome) { FAIL() << "it has not returned"; });
    }

    platform::EventLoop m_loop;
    DeckYard m_yard;
    FaultKeeper m_listener{[this] { m_loop.stop(); }};
    std::shared_ptr<Deck> m_deck;
    std::promise<void> m_release;
};

TEST_F(DeckTest, aCallThatNeverReturnsIsAFaultAndTheThreadIsGivenUp)
{
    operateUntilReleased();
    m_loop.run();
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_INTERNAL);

    m_yard.take(std::move(m_deck), kShort);
    EXPECT_EQ(m_yard.closing(), 1);
    m_yard.whenEmpty([this] { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_yard.abandoned(), 1);

    // Should the call come back one day, the thread cleans up behind itself.
    int const threads = test::runningThreads();
    m_release.set_value();
    EXPECT_TRUE(test::eventually([threads] { return test::runningThreads() < threads; }));
}

TEST_F(DeckTest, aCallThatNeverReturnsIsAFaultHoweverOftenItIsHeld)
{
    operateUntilReleased();
    int times = 100;
    platform::EventLoop::TimerId timer = 0;
    std::function<void()> const again = [&]
    {
        m_deck->hold(true);
        m_deck->hold(false);
        timer = m_loop.addTimer(kShort / 4, again);
        if (--times == 0)
        {
            m_loop.stop();
        }
    };
    again();
    m_loop.run();
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_INTERNAL);
    m_loop.cancelTimer(timer);
    m_release.set_value();
    m_yard.take(std::move(m_deck), kLong);
    m_yard.whenEmpty([this] { m_loop.stop(); });
    m_loop.run();
}

TEST_F(DeckTest, aQuestionThatTheWorkerDoesNotComeToIsAFault)
{
    std::promise<void> release;
    auto const released = release.get_future().share();
    m_deck->set([released](Pipeline&) { released.wait(); });
    m_deck->askPosition(kShort, [](auto) { FAIL() << "it has not come to that"; });
    m_loop.run();
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_INTERNAL);

    // An answer that comes after all is of no use to anybody.
    release.set_value();
    m_yard.take(std::move(m_deck), kLong);
    m_yard.whenEmpty([this] { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_yard.abandoned(), 0);
}

TEST_F(DeckTest, aQuestionThatIsAnsweredIsNoFault)
{
    constexpr std::chrono::milliseconds kDeadline{1'000};
    int answers = 0;
    m_deck->askPosition(kDeadline, [&](auto) { ++answers; });
    m_loop.addTimer(kDeadline + kShort, [this] { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_NONE);
}

TEST_F(DeckTest, ofSettingsThatWaitOnlyTheNewestIsApplied)
{
    std::promise<void> begun;
    std::promise<void> release;
    m_deck->set(
        [&begun, released = release.get_future().share()](Pipeline&)
        {
            begun.set_value();
            released.wait();
        });
    begun.get_future().wait();
    std::vector<int> applied;
    for (int number = 1; number <= 10'000; ++number)
    {
        m_deck->set([&applied, number](Pipeline&) { applied.push_back(number); });
    }
    release.set_value();
    auto const applySoFar = [&]
    {
        m_deck->operate(
            Deck::Kind::query, kLong, [](Pipeline&) { return CallResult::done; },
            [this](Deck::Outcome) { m_loop.stop(); });
        m_loop.run();
    };
    applySoFar();
    EXPECT_EQ(applied, std::vector<int>{10'000});

    m_deck->set([&applied](Pipeline&) { applied.push_back(0); });
    applySoFar();
    EXPECT_EQ(applied.size(), 2u) << "one that comes later is applied as well";
}

TEST_F(DeckTest, anOperationWhoseEndNeverComesTimesOut)
{
    m_deck->operate(
        Deck::Kind::seek, kShort, [](Pipeline&) { return CallResult::async; },
        [](Deck::Outcome) { FAIL() << "nothing has happened"; });
    m_loop.run();
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_TIMED_OUT);
    EXPECT_FALSE(m_deck->busy());
}

TEST_F(DeckTest, aRefusedSeekIsNoFault)
{
    auto outcome = Deck::Outcome::done;
    m_deck->operate(
        Deck::Kind::seek, kLong, [](Pipeline&) { return CallResult::failed; },
        [&](Deck::Outcome result)
        {
            outcome = result;
            m_loop.stop();
        });
    m_loop.run();
    EXPECT_EQ(outcome, Deck::Outcome::refused);
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_NONE);
}

TEST_F(DeckTest, aDecoderThatIsMissingWithoutAReasonIsCounted)
{
    m_deck->operate(
        Deck::Kind::query, kLong,
        [](Pipeline& pipeline)
        {
            pipeline.changeState(GST_STATE_READY); // before that nobody hears what is said
            GstElement* const element = pipeline.element();
            gst_element_post_message(
                element,
                gst_message_new_element(GST_OBJECT(element),
                                        gst_structure_new("missing-plugin", "type", G_TYPE_STRING, "none", nullptr)));
            return CallResult::done;
        },
        [this](Deck::Outcome) { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_deck->missingCodecs().size(), 1u);
    EXPECT_EQ(m_listener.fault.code, om::OM_ERROR_NONE);
}

/// A seek during which the end of what was played before arrives.
CallResult seekAfterEnd(Pipeline& pipeline, CallResult result)
{
    ObjectPtr<GstBus> const bus(gst_element_get_bus(pipeline.element()));
    GstObject* const source = GST_OBJECT(pipeline.element());
    gst_bus_post(bus.get(), gst_message_new_eos(source));
    if (result == CallResult::async)
    {
        gst_bus_post(bus.get(), gst_message_new_async_done(source, GST_CLOCK_TIME_NONE));
    }
    return result;
}

TEST_F(DeckTest, aRefusedSeekDoesNotHideAnEnd)
{
    m_deck->operate(
        Deck::Kind::seek, kLong, [](Pipeline& pipeline) { return seekAfterEnd(pipeline, CallResult::failed); },
        [this](Deck::Outcome) { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_listener.ends, 1);
}

TEST_F(DeckTest, aSeekLeavesAnEndBehind)
{
    m_deck->operate(
        Deck::Kind::seek, kLong, [](Pipeline& pipeline) { return seekAfterEnd(pipeline, CallResult::async); },
        [this](Deck::Outcome) { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_listener.ends, 0);
}

TEST_F(DeckTest, aPipelineThatEndsLeavesNothingBehind)
{
    m_yard.take(std::move(m_deck), kLong);
    m_yard.whenEmpty([this] { m_loop.stop(); });
    m_loop.run();
    EXPECT_EQ(m_yard.closing(), 0);
    EXPECT_EQ(m_yard.abandoned(), 0);
}

} // namespace
} // namespace tz::orvane::service
