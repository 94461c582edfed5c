// SPDX-License-Identifier: Apache-2.0
// A GStreamer pipeline that a player drives, whatever feeds it.
#pragma once

#include "audio_chain.h"
#include "gst_ptr.h"
#include "settings.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tz::orvane::service
{

class FrameTap;

/// What a blocking call on a pipeline gave.
enum class CallResult
{
    failed,
    done,
    async, ///< begun; the bus tells when it is done
    live   ///< done, but a live source delivers nothing before it plays
};

/// Of another track; all is as it was unless it is done.
enum class SwitchResult
{
    done,
    ended, ///< the end of the medium came first
    failed
};

/// One stream as it leaves its decoder.
struct StreamPad
{
    enum class Kind
    {
        video,
        audio,
        text
    };
    Kind kind;
    ObjectPtr<GstPad> pad; ///< upstream of it the compressed stream is found
    TagListPtr tags;       ///< may be null
};

class SubtitleTap;

/// Owner of one pipeline. Made on the loop's thread; everything that GStreamer may block belongs to the deck's worker.
class Pipeline
{
public:
    /// @param element    a GstPipeline
    /// @param audioChain see makeAudioChain
    Pipeline(GstElement* element, GstElement* audioChain);
    Pipeline(Pipeline const&) = delete;
    Pipeline& operator=(Pipeline const&) = delete;
    virtual ~Pipeline();

    GstElement* element() const { return m_element.get(); }

    CallResult changeState(GstState state);

    /// Begins to open the medium; the end of that is PAUSED.
    virtual CallResult open() { return changeState(GST_STATE_PAUSED); }

    /// Seeks with a flush; backwards it plays from the position to the beginning.
    /// @param rate 1.0 is normal speed @param flags of GstSeekFlags, without the flush
    CallResult seek(double rate, std::int64_t milliseconds, int flags);

    /// @return milliseconds; nothing while there is no answer
    std::optional<std::int64_t> position() const;

    /// @return whether a state change is still on its way
    bool settling() const;

    /// @return whether no thread of it has anything to do, so that it will never come further than it is
    bool stalled() const;

    AudioChain& audio() { return m_audio; }

    /// @param delay the sound comes so much later than the picture; negative: earlier
    virtual void setAudioDelay(std::chrono::nanoseconds delay) = 0;

    /// All streams, in the order of their numbers.
    virtual std::vector<StreamPad> streams() const = 0;

    /// Lets another audio stream through, while it plays. Takes about half a second.
    /// @param former the number of the one that it takes the place of
    virtual SwitchResult switchAudio(int /*number*/, int /*former*/) { return SwitchResult::failed; }

    /// Before it is opened: where its texts go to as well, if it has some.
    virtual void takeTexts(SubtitleTap& /*tap*/) {}

    /// @return whether seeking to a time is possible
    virtual bool seekable() const;

    /// @return bytes of the medium, 0 when not known
    virtual std::uint64_t fileSize() const { return 0; }

    /// @return path of the medium, empty when it is no file of this machine
    virtual std::string localFile() const { return {}; }

    /// @return the first bytes of a picture as its decoder got them, empty when there is none
    virtual std::string imageHead() const { return {}; }

private:
    ObjectPtr<GstElement> m_element;
    AudioChain m_audio;
};

/// @return the name of an element that every pipeline needs and that is not installed; null when all are there
char const* missingElement(AudioOutput output);

/// The end of every picture: hands it to the screen, and to `tap` unless that is null. The screen handles each picture
/// many times, also when it never changes: those with a side of more than twice the screen's longer one would bring it
/// to a standstill, and reach it smaller. @return an element with a floating reference
GstElement* makeVideoOutlet(std::string const& channel, Settings const& settings, std::shared_ptr<FrameTap> const& tap);

} // namespace tz::orvane::service
