// SPDX-License-Identifier: Apache-2.0
// A preview's file of the service's own.
#pragma once

#include <string>

namespace tz::orvane::service
{

/// Always a new one, 0600: nothing that exists is written to, followed or replaced. It is removed at the end.
class PreviewFile
{
public:
    PreviewFile() = default;
    explicit PreviewFile(std::string path)
        : m_path(std::move(path))
    {
    }
    PreviewFile(PreviewFile const&) = delete;
    PreviewFile& operator=(PreviewFile const&) = delete;
    ~PreviewFile() { remove(); }

    std::string const& path() const { return m_path; }

    /// @return a descriptor for writing, the caller's from now on, or a negative errno value
    int create();

    void remove();

private:
    std::string m_path;
    bool m_created = false;
};

} // namespace tz::orvane::service
