// SPDX-License-Identifier: Apache-2.0
// The file that a client named for its preview.
#pragma once

#include "descriptor.h"

#include "orvane/om_service.h"

#include <string>
#include <string_view>

namespace tz::orvane::service
{

/// Appears under its name when it is whole, 0600, and never takes the place of anything. May block for as long as its
/// disk does.
class PreviewOutput
{
public:
    enum class Kind
    {
        unnamed, ///< where the file system knows files without a name, else `named`
        named    ///< has its name from the first byte on
    };

    explicit PreviewOutput(std::string path, Kind kind = Kind::unnamed);
    PreviewOutput(PreviewOutput const&) = delete;
    PreviewOutput& operator=(PreviewOutput const&) = delete;

    /// What was not published goes.
    ~PreviewOutput();

    /// Finds out early what can be known. @return 0, or a negative errno value
    int open();

    /// @return 0, or a negative errno value
    int write(std::string_view bytes);

    /// @return 0, or a negative errno value
    int publish();

private:
    void removeOurs() const;

    std::string m_path;
    Kind m_kind;
    Descriptor m_file;
    bool m_published = false;
};

/// @param error an errno value of a picture's file
om::om_error_e outputError(int error);

} // namespace tz::orvane::service
