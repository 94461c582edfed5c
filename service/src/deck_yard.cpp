// SPDX-License-Identifier: Apache-2.0
// Where decks go that nobody uses any more.
#include "deck_yard.h"

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

void DeckYard::take(std::shared_ptr<Deck> deck, std::chrono::milliseconds deadline)
{
    Deck* const key = deck.get();
    m_closing.insert(std::move(deck));

    // The deck's thread keeps the callback, and so the trace, until it has ended the pipeline.
    key->shutDown(deadline,
                  [this, key, trace = std::make_shared<char>()](bool ended)
                  {
                      if (!ended)
                      {
                          ++m_abandoned;
                          m_hanging.push_back(trace);
                      }
                      remove(key);
                  });
}

int DeckYard::leftovers()
{
    m_hanging.erase(
        std::remove_if(m_hanging.begin(), m_hanging.end(), [](auto const& trace) { return trace.expired(); }),
        m_hanging.end());
    return closing() + static_cast<int>(m_hanging.size());
}

void DeckYard::whenEmpty(std::function<void()> empty)
{
    m_empty = std::move(empty);
    if (m_closing.empty())
    {
        std::exchange(m_empty, nullptr)();
    }
}

void DeckYard::remove(Deck* deck)
{
    m_closing.erase(deck->shared_from_this());
    if (m_closing.empty() && m_empty)
    {
        std::exchange(m_empty, nullptr)();
    }
}

} // namespace tz::orvane::service
