// SPDX-License-Identifier: Apache-2.0
// Where decks go that nobody uses any more.
#include "deck_yard.h"

#include <utility>

namespace tz::orvane::service
{

void DeckYard::take(std::shared_ptr<Deck> deck, std::chrono::milliseconds deadline)
{
    Deck* const key = deck.get();
    m_closing.insert(std::move(deck));
    key->shutDown(deadline, [this, key](bool ended) { remove(key, ended); });
}

void DeckYard::whenEmpty(std::function<void()> empty)
{
    m_empty = std::move(empty);
    if (m_closing.empty())
    {
        std::exchange(m_empty, nullptr)();
    }
}

void DeckYard::remove(Deck* deck, bool ended)
{
    m_abandoned += ended ? 0 : 1;
    m_closing.erase(deck->shared_from_this());
    if (m_closing.empty() && m_empty)
    {
        std::exchange(m_empty, nullptr)();
    }
}

} // namespace tz::orvane::service
