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

/// A look at so many costs nothing.
constexpr std::size_t kFewFiles = 64;

} // namespace

PreviewShelf::PreviewShelf(std::size_t mostFiles, std::uint64_t mostBytes)
    : m_mostFiles(mostFiles)
    , m_mostBytes(mostBytes)
{
}

bool PreviewShelf::hasPlace(std::size_t coming, std::uint64_t bytes, Clock::time_point now)
{
    return hasRoom(coming + 1, std::min(bytes, m_bytesOfLast), now);
}

bool PreviewShelf::keep(std::unique_ptr<PreviewFile> file, Clock::time_point now)
{
    m_bytesOfLast = file->size().value_or(0);
    if (!hasRoom(1, m_bytesOfLast, now))
    {
        return false;
    }
    m_bytes += m_bytesOfLast;
    m_files.push_back(std::move(file));
    return true;
}

void PreviewShelf::clear()
{
    m_files.clear();
    m_bytes = 0;
}

bool PreviewShelf::hasRoom(std::size_t files, std::uint64_t bytes, Clock::time_point now)
{
    auto const has = [&]
    { return m_files.size() + files <= m_mostFiles && (m_files.empty() || m_bytes + bytes <= m_mostBytes); };
    if (!has() && now >= m_nextLook)
    {
        m_nextLook = m_files.size() > kFewFiles ? now + kLookPeriod : now;
        forgetTaken();
    }
    return has();
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
