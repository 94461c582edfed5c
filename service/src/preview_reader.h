// SPDX-License-Identifier: Apache-2.0
// A medium that is looked at, not played.
#pragma once

#include "error_map.h"
#include "gst_ptr.h"
#include "image_head.h"
#include "key_frame_scout.h"

#include "orvane/om_enums.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::service
{

/// A decoded frame and where it stands in the medium.
struct Frame
{
    SamplePtr sample;
    GstClockTime position = 0;
};

/// Decodes single frames, and keeps what is learnt on the way. Blocks without an end: for a process that can be killed.
class PreviewReader
{
public:
    PreviewReader() = default;
    PreviewReader(PreviewReader const&) = delete;
    PreviewReader& operator=(PreviewReader const&) = delete;
    ~PreviewReader();

    /// What is opened from a server takes the right to open files away from this process.
    /// @return nothing when it is open
    std::optional<Fault> openUri(std::string const& uri);

    /// Opens a file that is in memory.
    std::optional<Fault> openBytes(BufferPtr bytes);

    bool hasVideo() const { return m_video != nullptr; }
    bool hasAudio() const { return m_hasAudio; }
    bool isPhoto() const { return m_mimeType.compare(0, 6, "image/") == 0; }
    bool isSeekable() const;

    /// @return the name of a format that nothing here decodes; empty when there was none
    std::string const& missingCodec() const { return m_context.missingCodec; }

    std::string mimeType() const { return m_mimeType; }
    om::om_video_codec_e videoCodec() const { return m_videoCodec; }
    om::om_audio_codec_e audioCodec() const { return m_audioCodec; }
    GstTagList* tags() const { return m_tags.get(); }

    /// @return the first bytes of a photo
    std::string imageHead() const { return m_imageHead->bytes(); }

    /// @return width and height in pixels, 0 when not known
    std::pair<int, int> videoExtent() const;

    /// @return nanoseconds, 0 when not known
    GstClockTime duration() const;

    /// @return bytes, 0 when not known
    std::uint64_t fileSize() const;

    /// @return the frame that stands there, or, unless `exact`, the key frame nearest to it; the first one of what
    /// cannot be sought
    Frame frameAt(GstClockTime position, bool exact);

private:
    std::optional<Fault> open(std::string const& uri);
    MessagePtr nextMessage();
    std::optional<Fault> waitForPreroll();
    void letOthersPass();
    void waitForScout();
    std::optional<GstClockTime> keyFrameNear(GstClockTime position);
    bool sendSeek(GstClockTime position, int flags);
    void read(GstMessage* message);
    Frame seek(GstClockTime position);
    Frame waitingFrame() const;
    Frame shownFrame(SamplePtr sample) const;
    Frame lastFrame(GstClockTime position);
    void link(GstPad* pad);

    static GstPadProbeReturn dropData(GstPad* pad, GstPadProbeInfo* info, gpointer unused);
    static gboolean onContinue(GstElement* decoder, GstPad* pad, GstCaps* caps, gpointer self);
    static void onPad(GstElement* decoder, GstPad* pad, gpointer self);
    static void onElement(GstBin* bin, GstBin* parent, GstElement* element, gpointer self);
    static void onSource(GstElement* decoder, GstElement* source, gpointer self);

    KeyFrameScout m_scout;
    ObjectPtr<GstElement> m_pipeline;
    ObjectPtr<GstBus> m_bus;
    ObjectPtr<GstElement> m_source;
    GstElement* m_video = nullptr;            ///< the sink of the pictures, owned by the pipeline
    std::vector<GstElement*> m_others;        ///< likewise, of what is not shown
    std::vector<ObjectPtr<GstPad>> m_detours; ///< where what is not shown can be left out
    BufferPtr m_bytes;
    TagListPtr m_tags;
    std::shared_ptr<ImageHead> m_imageHead = std::make_shared<ImageHead>();
    FaultContext m_context;
    std::string m_mimeType;
    om::om_video_codec_e m_videoCodec = om::OM_VIDEO_CODEC_UNKNOWN;
    om::om_audio_codec_e m_audioCodec = om::OM_AUDIO_CODEC_UNKNOWN;
    bool m_hasAudio = false;
    bool m_isList = false; ///< a file that would lead to others
};

} // namespace tz::orvane::service
