// SPDX-License-Identifier: Apache-2.0
// Memory of a picture that is handed over.
#pragma once

#include <cstddef>

namespace tz::orvane::service
{

/// A mapping of its own: an allocator would keep what is given back. /proc shows it as "orvane-picture".
class PictureMemory
{
public:
    PictureMemory() = default;
    PictureMemory(PictureMemory const&) = delete;
    PictureMemory& operator=(PictureMemory const&) = delete;
    ~PictureMemory() { release(); }

    /// Content is lost when the size changes. @param size not 0 @return false when there is no memory
    bool resize(std::size_t size);
    void release();

    unsigned char* data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    unsigned char* m_data = nullptr;
    std::size_t m_size = 0;
};

} // namespace tz::orvane::service
