// SPDX-License-Identifier: Apache-2.0
// The pictures that the service keeps for one preview tool.
#pragma once

#include "preview_file.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace tz::orvane::service
{

/// Has room for so many files and bytes, and for a single file of any size. Who needs one no longer removes it or moves
/// it away: then it does not count.
class PreviewShelf
{
public:
    PreviewShelf(std::size_t mostFiles, std::uint64_t mostBytes);

    using Clock = std::chrono::steady_clock;

    /// When it is full it looks whether any was taken, for a second after it has found none no more.
    /// @param coming files that may come yet @return whether there is room for one more besides
    bool hasPlace(std::size_t coming, Clock::time_point now = Clock::now());

    /// @return whether there was room for its bytes; else the file is gone
    bool keep(std::unique_ptr<PreviewFile> file);

    void clear();

private:
    void forgetTaken();

    std::size_t m_mostFiles;
    std::uint64_t m_mostBytes;
    std::vector<std::unique_ptr<PreviewFile>> m_files;
    std::uint64_t m_bytes = 0;
    Clock::time_point m_nextLook;
};

} // namespace tz::orvane::service
