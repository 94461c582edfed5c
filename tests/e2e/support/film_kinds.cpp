// SPDX-License-Identifier: Apache-2.0
// A protected film of each kind.
#include "support/film_kinds.h"

#include "support/protected_film.h"
#ifdef ORVANE_E2E_CBCS
#include "support/cbcs_film.h"
#include "support/tool_process.h"
#include "support/viewer.h"
#endif

namespace tz::orvane::test
{

std::vector<FilmKind> filmKinds()
{
    std::vector<FilmKind> kinds{{"cenc", "vfrag.mp4", protectedFilm, 700, 250}};
#ifdef ORVANE_E2E_CBCS
    kinds.push_back({"cbcs", "busy.mp4", [] { return cbcsFilm(fileContent(media("busy.mp4"))); }, 140, 50});
#endif
    return kinds;
}

} // namespace tz::orvane::test
