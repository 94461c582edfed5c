// SPDX-License-Identifier: Apache-2.0
// One preview, made in a process that ends with it.
#pragma once

#include "preview_task.h"

#include <string>

namespace tz::orvane::service
{

/// Takes the rights to much memory, time and disk away from this process, makes the preview and ends the process. One
/// thread, after a fork.
/// @param result  where the encoded result is written
/// @param picture where the picture is written unless the client has named a file, -1 for none
[[noreturn]] void becomePreviewChild(PreviewTask const& task, PreviewPlaces const& places, int result, int picture);

} // namespace tz::orvane::service
