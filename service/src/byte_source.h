// SPDX-License-Identifier: Apache-2.0
// Bytes of a file that is looked into here and there, not read as a whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace tz::orvane::service
{

class ByteSource
{
public:
    ByteSource() = default;
    ByteSource(ByteSource const&) = delete;
    ByteSource& operator=(ByteSource const&) = delete;
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;

    /// @return fewer bytes where the source ends
    virtual std::string read(std::uint64_t offset, std::size_t count) const = 0;
};

/// A regular file; without bytes when it is none or cannot be read.
class FileBytes final : public ByteSource
{
public:
    explicit FileBytes(std::string const& path);
    ~FileBytes() override;

    std::uint64_t size() const override { return m_size; }
    std::string read(std::uint64_t offset, std::size_t count) const override;

private:
    int m_fd;
    std::uint64_t m_size = 0;
};

/// Bytes in memory.
class MemoryBytes final : public ByteSource
{
public:
    explicit MemoryBytes(std::string bytes)
        : m_bytes(std::move(bytes))
    {
    }

    std::uint64_t size() const override { return m_bytes.size(); }
    std::string read(std::uint64_t offset, std::size_t count) const override
    {
        return offset < m_bytes.size() ? m_bytes.substr(static_cast<std::size_t>(offset), count) : std::string();
    }

private:
    std::string m_bytes;
};

} // namespace tz::orvane::service
