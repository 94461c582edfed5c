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
/// it away: then it does not count. When the shelf is full it looks whether any was taken; at many files, once a
/// second.
class PreviewShelf
{
public:
    PreviewShelf(std::size_t mostFiles, std::uint64_t mostBytes);

    using Clock = std::chrono::steady_clock;

    /// @param coming files that may come yet @param bytes that one more may have at most
    /// @return whether there is room for one more besides, should it be as large as the last one
    bool hasPlace(std::size_t coming, std::uint64_t bytes, Clock::time_point now = Clock::now());

    /// @return whether there was room for its bytes; else the file is gone
    bool keep(std::unique_ptr<PreviewFile> file, Clock::time_point now = Clock::now());

    void clear();

private:
    bool hasRoom(std::size_t files, std::uint64_t bytes, Clock::time_point now);
    void forgetTaken();

    std::size_t m_mostFiles;
    std::uint64_t m_mostBytes;
    std::vector<std::unique_ptr<PreviewFile>> m_files;
    std::uint64_t m_bytes = 0;
    std::uint64_t m_bytesOfLast = 0; ///< also when there was no room
    Clock::time_point m_nextLook;
};

} // namespace tz::orvane::service
