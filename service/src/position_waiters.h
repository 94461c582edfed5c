// SPDX-License-Identifier: Apache-2.0
// Who waits to hear where a medium stands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace tz::orvane::service
{

/// One question to a pipeline serves all that wait. Loop thread.
class PositionWaiters
{
public:
    using Answer = std::function<void(std::int64_t position)>;

    static constexpr std::size_t kMost = 64;

    /// @return false when too many wait: then the answer is not called
    bool add(Answer answer);

    /// Of these only the newest waits.
    void addNewest(Answer answer) { m_newest = std::move(answer); }

    bool empty() const { return m_answers.empty() && m_newest == nullptr; }

    /// Answers all; who asks meanwhile waits anew.
    void answer(std::int64_t position);

private:
    std::vector<Answer> m_answers;
    Answer m_newest;
};

} // namespace tz::orvane::service
