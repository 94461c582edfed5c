// SPDX-License-Identifier: Apache-2.0
// Shared memory for what is too large for a frame: a ring for each direction, and descriptors for single blocks.
#pragma once

#include "unique_fd.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tz::orvane::mdt
{

/// A mapped range of memory.
class Mapping
{
public:
    Mapping() = default;
    Mapping(Mapping&& other) noexcept;
    Mapping& operator=(Mapping&& other) noexcept;
    ~Mapping();

    /// @return 0 or a negative errno value
    int map(int fd, std::size_t bytes, bool writable);

    unsigned char* data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    void unmap();

    unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};

/// A ring of bytes between one writer and one reader. Positions count bytes since the beginning, modulo 2^32. Blocks
/// are contiguous: one that does not fit before the end starts at the beginning again.
///
/// Both sides hold the other for hostile. The writer keeps its own position and takes from the shared page only how far
/// the reader is, which it checks; the reader takes positions from checked frames.
class SharedRing
{
public:
    static constexpr std::uint32_t kBytes = 8u << 20;
    static constexpr std::uint32_t kLargestBlock = kBytes / 2; ///< always finds room once the ring is empty

    /// Makes the memory, sealed against a change of its size. @return 0 or a negative errno value
    static int create(platform::UniqueFd& fd);

    /// Maps memory that `create` made, here or in the other process. @return 0, or -EPROTO when it is not such memory
    int attach(int fd);

    // Writer.

    /// Counts the frames of the socket beside the ring: each before it is sent, and back when it could not be.
    void frameGoesOut() { control().framesSent.fetch_add(1); }
    void frameStays() { control().framesSent.fetch_sub(1); }

    /// Looks for room. @return whether there is; `position` is then where the block belongs
    bool reserve(std::uint32_t length, std::uint32_t& position) const;

    /// Waits until the reader has released something, or for `milliseconds`, unless there is room for `length` already.
    void waitForRoom(std::uint32_t length, int milliseconds);

    void write(std::uint32_t position, void const* data, std::uint32_t length);

    /// Makes what was reserved last final, once its frame has been sent.
    void commit(std::uint32_t position, std::uint32_t length);

    /// @return the position behind the last committed block, to go back to when a frame was not sent
    std::uint32_t head() const { return m_position; }
    void rewind(std::uint32_t head) { m_position = head; }

    // Reader.

    /// @return how many frames the writer has sent or is about to send, as far as it tells the truth
    std::uint32_t framesSent() const { return control().framesSent.load(); }

    /// @return the address of a block, null when the range is not one that the writer can own now
    unsigned char* block(std::uint32_t position, std::uint32_t length) const;

    /// Gives everything up to the end of a block back to the writer.
    void release(std::uint32_t position, std::uint32_t length);

private:
    struct Control
    {
        std::atomic<std::uint32_t> released; ///< the reader's position; the futex of a waiting writer
        std::atomic<std::uint32_t> waiting;  ///< not 0 while the writer wants to be woken
        alignas(64) std::atomic<std::uint32_t> framesSent;
    };

    Control& control() const { return *static_cast<Control*>(static_cast<void*>(m_memory.data())); }
    unsigned char* bytes() const;

    Mapping m_memory;
    std::uint32_t m_position = 0; ///< of the writer, or of the reader
};

/// Makes a sealed descriptor that holds one block. @return 0 or a negative errno value
int createBlock(platform::UniqueFd& fd, void const* data, std::size_t length);

/// Maps a block that `createBlock` made elsewhere. @return 0, or -EPROTO when it is not one of that size
int mapBlock(Mapping& mapping, int fd, std::size_t length);

} // namespace tz::orvane::mdt
