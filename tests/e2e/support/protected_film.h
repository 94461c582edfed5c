// SPDX-License-Identifier: Apache-2.0
// A protected film in fragments, and its key.
#pragma once

#include <string>

namespace tz::orvane::test
{

inline constexpr char kFilmKey[] = "76a6c65c5ea762046bd749a2e632ccbb";
inline constexpr char kFilmKeyId[] = "a7e61c373e219033c21091fa607bf3b8";

/// JSON Web Key Sets with the film's key, and with another one under its id.
inline constexpr char kFilmLicense[] =
    R"({"keys":[{"kty":"oct","k":"dqbGXF6nYgRr10mi5jLMuw","kid":"p-YcNz4hkDPCEJH6YHvzuA"}],"type":"temporary"})";
inline constexpr char kWrongLicense[] =
    R"({"keys":[{"kty":"oct","k":"AAAAAAAAAAAAAAAAAAAAAQ","kid":"p-YcNz4hkDPCEJH6YHvzuA"}],"type":"temporary"})";

/// The film in fragments that is among the media, and the samples and initialization vectors of its protected copy,
/// which knows no fragments. @return the file's bytes
std::string protectedFilm();

} // namespace tz::orvane::test
