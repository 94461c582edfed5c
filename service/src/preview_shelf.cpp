// SPDX-License-Identifier: Apache-2.0
// The pictures that the service keeps for one preview tool.
#include "preview_shelf.h"

#include <algorithm>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// A look asks the disk for each file, and everybody waits for it.
constexpr std::chrono::seconds kLookPeriod{1};

} // namespace

PreviewShelf::PreviewShelf(std::size_t mostFiles, std::uint64_t mostBytes)
    : m_mostFiles(mostFiles)
    , m_mostBytes(mostBytes)
{
}

bool PreviewShelf::hasPlace(std::size_t coming, Clock::time_point now)
{
    auto const isFull = [&] { return m_files.size() + coming >= m_mostFiles; };
    if (isFull() && now >= m_nextLook)
    {
        forgetTaken();
        m_nextLook = isFull() ? now + kLookPeriod : now;
    }
    return !isFull();
}

bool PreviewShelf::keep(std::unique_ptr<PreviewFile> file)
{
    std::uint64_t const more = file->size().value_or(0);
    if (m_bytes + more > m_mostBytes)
    {
        forgetTaken();
    }
    if (m_bytes + more > m_mostBytes && !m_files.empty())
    {
        return false;
    }
    m_bytes += more;
    m_files.push_back(std::move(file));
    return true;
}

void PreviewShelf::clear()
{
    m_files.clear();
    m_bytes = 0;
}

void PreviewShelf::forgetTaken()
{
    m_bytes = 0;
    auto const isTaken = [this](std::unique_ptr<PreviewFile> const& file)
    {
        auto const size = file->size();
        m_bytes += size.value_or(0);
        return !size;
    };
    m_files.erase(std::remove_if(m_files.begin(), m_files.end(), isTaken), m_files.end());
}

} // namespace tz::orvane::service
