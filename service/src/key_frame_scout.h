// SPDX-License-Identifier: Apache-2.0
// Finds key frames without decoding.
#pragma once

#include "gst_ptr.h"

#include <mutex>
#include <optional>

namespace tz::orvane::service
{

/// @param pad gives pictures to somebody @return the entrance of the decoder that they come from; none when there is no
/// such decoder
ObjectPtr<GstPad> decoderEntrance(GstPad* pad);

/// Sits in front of a decoder of pictures. While it looks around nothing passes: each frame is only asked whether it is
/// a key frame. (A seek to a key frame will not do: it goes to where all streams have one, and the picture's may then
/// be far before.) It must outlive the decoder.
class KeyFrameScout
{
public:
    KeyFrameScout() = default;
    KeyFrameScout(KeyFrameScout const&) = delete;
    KeyFrameScout& operator=(KeyFrameScout const&) = delete;

    /// @param entrance of a decoder of pictures that move @param bus hears when it has found enough
    void watch(GstPad* entrance, GstBus* bus);

    bool isWatching() const { return m_bus != nullptr; }

    /// From now on, until finish, frames are looked at. Seek to before `position` then.
    void begin(GstClockTime position);

    /// @return where the key frame stands that is nearest to the position; nothing when none came
    std::optional<GstClockTime> finish();

    /// @return whether a message is the one that says that it has found enough
    static bool isDone(GstMessage* message);

private:
    static GstPadProbeReturn onData(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    GstPadProbeReturn look(GstPad* pad, GstBuffer* buffer);
    void done();

    std::mutex m_mutex;
    GstBus* m_bus = nullptr;
    bool m_active = false;
    bool m_arrived = false; ///< what comes now comes from where the seek went
    bool m_done = false;
    GstClockTime m_position = 0;
    std::optional<GstClockTime> m_before;
    std::optional<GstClockTime> m_after;
};

} // namespace tz::orvane::service
