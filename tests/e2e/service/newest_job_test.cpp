// SPDX-License-Identifier: Apache-2.0
// A job that never returns holds up nobody: neither the loop, nor the next job, nor the end.
#include "newest_job.h"

#include "support/process_state.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::service
{
namespace
{

constexpr std::chrono::seconds kShort{2}; // and long enough for a job that does not block on a busy machine
constexpr std::chrono::seconds kLong{30};

/// What blocks in it, as on a disk that does not answer, does so until it is released.
class Blockage
{
public:
    ~Blockage() { release(); }

    void release()
    {
        if (!m_released)
        {
            m_released = true;
            m_promise.set_value();
        }
    }

    std::shared_future<void> future() const { return m_future; }

private:
    std::promise<void> m_promise;
    std::shared_future<void> m_future = m_promise.get_future().share();
    bool m_released = false;
};

class NewestJobTest : public testing::Test
{
protected:
    ~NewestJobTest() override
    {
        m_yard.reset();
        m_blockage.release(); // threads that were given up still hand something to the loop
        EXPECT_TRUE(test::eventually([this] { return test::runningThreads() <= m_threads; }));
    }

    NewestJob::Work blocks(std::string const& name = "blocked")
    {
        return [this, name, released = m_blockage.future()](NewestJob::Cancelled const&)
        {
            released.wait();
            return done(name);
        };
    }

    NewestJob::Work gives(std::string const& name)
    {
        return [this, name](NewestJob::Cancelled const&) { return done(name); };
    }

    std::function<void()> done(std::string const& name)
    {
        return [this, name]
        {
            m_results.push_back(name);
            m_loop.stop();
        };
    }

    NewestJob::Failed fails()
    {
        return [this](Fault const& fault)
        {
            m_faults.push_back(fault.code);
            m_loop.stop();
        };
    }

    void runUntilEmpty()
    {
        m_yard->whenEmpty([this] { m_loop.stop(); });
        m_loop.run();
    }

    int m_threads = test::runningThreads();
    Blockage m_blockage;
    platform::EventLoop m_loop;
    std::optional<JobYard> m_yard{m_loop};
    std::vector<std::string> m_results;
    std::vector<om::om_error_e> m_faults;
};

using Results = std::vector<std::string>;
using Faults = std::vector<om::om_error_e>;

TEST_F(NewestJobTest, aJobThatIsLateFailsAndItsThreadIsLeft)
{
    NewestJob job(*m_yard, kShort);
    job.run(blocks(), fails());
    m_loop.run();
    EXPECT_EQ(m_faults, Faults{om::OM_ERROR_TIMED_OUT});
    EXPECT_EQ(m_yard->left(), 1u);

    job.run(gives("next"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, Results{"next"});

    // Nobody hears of one that comes back after all.
    m_blockage.release();
    runUntilEmpty();
    EXPECT_EQ(m_yard->left(), 0u);
    EXPECT_EQ(m_results, Results{"next"});
    EXPECT_EQ(m_faults.size(), 1u);
}

TEST_F(NewestJobTest, aNewJobDoesNotWaitForOneThatBlocks)
{
    NewestJob job(*m_yard, kLong);
    job.run(blocks(), fails());
    job.run(gives("forgotten"), fails());
    job.run(gives("new"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, Results{"new"});
    EXPECT_TRUE(m_faults.empty());
    EXPECT_EQ(m_yard->left(), 1u);
}

TEST_F(NewestJobTest, aJobThatIsAskedToEndMakesRoomForTheNext)
{
    NewestJob job(*m_yard);
    job.run(
        [this](NewestJob::Cancelled const& cancelled)
        {
            EXPECT_TRUE(test::eventually([&] { return cancelled.load(); }));
            return done("old");
        },
        fails());
    job.run(gives("new"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, Results{"new"});
    EXPECT_EQ(m_yard->left(), 0u);
}

TEST_F(NewestJobTest, itsEndDoesNotWaitForAJobThatBlocks)
{
    auto job = std::make_unique<NewestJob>(*m_yard, kLong);
    job->run(blocks(), fails());
    job.reset(); // does not return while the job is waited for
    EXPECT_EQ(m_yard->left(), 1u);

    // The process that ends learns that it cannot do so in order.
    runUntilEmpty();
    EXPECT_EQ(m_yard->left(), 1u);
    m_yard.reset();
    EXPECT_TRUE(m_results.empty());
}

TEST_F(NewestJobTest, theEndWaitsAMomentForAJobThatComesBack)
{
    auto job = std::make_unique<NewestJob>(*m_yard, kLong);
    job->run(blocks(), fails());
    job.reset();
    m_yard->whenEmpty([this] { m_loop.stop(); });
    m_blockage.release();
    m_loop.run();
    EXPECT_EQ(m_yard->left(), 0u);
    EXPECT_TRUE(m_results.empty());
}

TEST_F(NewestJobTest, threadsThatDoNotComeBackAreBounded)
{
    for (std::size_t count = 0; count < JobYard::kMostLeft; ++count)
    {
        NewestJob(*m_yard).run(blocks(), fails());
    }
    int const threads = test::runningThreads();
    NewestJob job(*m_yard);
    job.run(gives("too many"), fails());
    m_loop.run();
    EXPECT_EQ(m_faults, Faults{om::OM_ERROR_LIMIT});
    EXPECT_EQ(test::runningThreads(), threads);

    // It is as before as soon as they are back.
    m_blockage.release();
    runUntilEmpty();
    job.run(gives("one more"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, Results{"one more"});
}

TEST_F(NewestJobTest, manyJobsThatBlockUseFewThreads)
{
    NewestJob job(*m_yard, kLong);
    for (int count = 0; count < 10'000; ++count)
    {
        job.run(blocks(), fails());
    }
    EXPECT_LE(test::runningThreads(), m_threads + 1);
}

TEST_F(NewestJobTest, whoLeavesTooManyThreadsLeavesSomeForOthers)
{
    auto const greedy = std::make_shared<JobShare>();
    for (std::size_t count = 0; count < JobShare::kMostLeft; ++count)
    {
        NewestJob(*m_yard, std::nullopt, greedy).run(blocks(), fails());
    }
    NewestJob job(*m_yard, std::nullopt, greedy);
    job.run(gives("too many"), fails());
    m_loop.run();
    EXPECT_EQ(m_faults, Faults{om::OM_ERROR_LIMIT});
    NewestJob other(*m_yard);
    other.run(gives("another one's"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, Results{"another one's"});

    // It is as before as soon as they are back.
    m_blockage.release();
    runUntilEmpty();
    job.run(gives("one more"), fails());
    m_loop.run();
    EXPECT_EQ(m_results, (Results{"another one's", "one more"}));
}

} // namespace
} // namespace tz::orvane::service
