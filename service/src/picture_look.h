// SPDX-License-Identifier: Apache-2.0
// What a picture on the screen is to look like.
#pragma once

#include "orientation.h"
#include "picture_layout.h"

#include <chrono>
#include <mutex>
#include <utility>

namespace tz::orvane::service
{

struct PictureLook
{
    bool visible = false;
    Orientation orientation;
    Fitting fitting;

    // It appears so, and counts as new whenever the number is.
    om::om_image_animation_e animation = om::OM_IMAGE_ANIMATION_NONE;
    std::chrono::milliseconds animationDuration{0};
    unsigned int appearance = 0;

    unsigned int layer = 0; ///< higher ones cover lower ones
};

/// Handed from the loop to the threads of the screen.
class SharedLook
{
public:
    void set(PictureLook look)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_look = look;
    }

    PictureLook get() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_look;
    }

private:
    mutable std::mutex m_mutex;
    PictureLook m_look;
};

} // namespace tz::orvane::service
