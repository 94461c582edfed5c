// SPDX-License-Identifier: Apache-2.0
// A tool's own standard output, which nothing else in the process writes to.
#pragma once

#include "platform/src/unique_fd.h"

#include <string_view>

namespace tz::orvane::tools
{

/// Opens /dev/null in place of standard descriptors that are closed, so that no other descriptor takes their numbers.
void openMissingStandardDescriptors();

/// Keeps standard output for the tool; what the library prints there goes to standard error from then on.
///
/// Make it before the library is touched. One thread.
class Output
{
public:
    Output();

    /// Lets nothing that is printed come through while it lives: for the library's greeting.
    class Silence
    {
    public:
        Silence();
        Silence(Silence const&) = delete;
        Silence& operator=(Silence const&) = delete;
        ~Silence();
    };

    /// Writes all of it. @return false when that failed; errno says why
    bool write(std::string_view text);

    int descriptor() const { return m_fd.get(); }
    bool isTerminal() const;

private:
    platform::UniqueFd m_fd;
};

} // namespace tz::orvane::tools
