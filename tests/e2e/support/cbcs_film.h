// SPDX-License-Identifier: Apache-2.0
// A film protected with the scheme cbcs.
#pragma once

#include <string>

namespace tz::orvane::test
{

/// Encrypts a film in fragments with kFilmKey: of its pictures one block of ten, of its sound all whole blocks, both
/// with one vector for all samples. @param clear the film's bytes @return those of the protected one
std::string cbcsFilm(std::string const& clear);

} // namespace tz::orvane::test
