// SPDX-License-Identifier: Apache-2.0
// A preview's file of the service's own.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tz::orvane::service
{

/// Always a new one, 0600: nothing that exists is written to, followed or replaced. It is removed at the end.
class PreviewFile
{
public:
    explicit PreviewFile(std::string path)
        : m_path(std::move(path))
    {
    }
    PreviewFile(PreviewFile const&) = delete;
    PreviewFile& operator=(PreviewFile const&) = delete;
    ~PreviewFile();

    /// @return a descriptor for writing, the caller's from now on, or a negative errno value
    int create();

    /// @return bytes; nothing when it is not there
    std::optional<std::uint64_t> size() const;

private:
    std::string m_path;
    bool m_created = false;
};

/// @return the path of the service's own picture for a request
std::string ownPreviewPath(std::string const& folder, int cnid, std::uint32_t request, bool png);

} // namespace tz::orvane::service
