// SPDX-License-Identifier: Apache-2.0
// Where decks go that nobody uses any more.
#pragma once

#include "deck.h"

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace tz::orvane::service
{

/// Ends decks without making anybody wait, and counts those that hang. Loop thread.
class DeckYard
{
public:
    DeckYard() = default;
    DeckYard(DeckYard const&) = delete;
    DeckYard& operator=(DeckYard const&) = delete;

    /// @param deadline for its end; it is given up when that passes
    void take(std::shared_ptr<Deck> deck, std::chrono::milliseconds deadline = kDeadline);

    int closing() const { return static_cast<int>(m_closing.size()); }

    /// Decks that are closing, and those that were given up and hang still.
    int leftovers();

    /// Pipelines and threads that were given up, come back or not; a process that has some cannot end in order.
    int abandoned() const { return m_abandoned; }

    /// Calls back once, as soon as nothing is closing: now, perhaps.
    void whenEmpty(std::function<void()> empty);

private:
    static constexpr std::chrono::milliseconds kDeadline{5'000};

    void remove(Deck* deck);

    std::set<std::shared_ptr<Deck>> m_closing;
    int m_abandoned = 0;
    std::vector<std::weak_ptr<void>> m_hanging; ///< gone when the thread has come back
    std::function<void()> m_empty;
};

} // namespace tz::orvane::service
