// SPDX-License-Identifier: Apache-2.0
// A protected film of each kind.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace tz::orvane::test
{

struct FilmKind
{
    std::string scheme;
    std::string clear; ///< name of the medium
    std::string (*protect)();
    std::size_t units;
    std::size_t pictures;
};

inline std::ostream& operator<<(std::ostream& stream, FilmKind const& kind)
{
    return stream << kind.scheme;
}

/// Those that can be made where the tests were built.
std::vector<FilmKind> filmKinds();

} // namespace tz::orvane::test
