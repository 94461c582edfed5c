// SPDX-License-Identifier: Apache-2.0
// Plays what a URI names, or a container whose bytes an application pushes.
#pragma once

#include "pipeline.h"

#include <memory>
#include <string>

namespace tz::orvane::service
{

class Feed;
class ImageHead;

/// A playbin.
class UriPipeline final : public Pipeline
{
public:
    /// @param userAgent of http requests, empty for the usual one
    UriPipeline(std::string const& uri, std::string userAgent, GstElement* audioChain, GstElement* videoOutlet);

    /// Bytes come from `feed`.
    UriPipeline(std::shared_ptr<Feed> const& feed, GstElement* audioChain, GstElement* videoOutlet);

    /// Only regular files are opened: others may keep whoever opens them waiting, or never end.
    CallResult open() override;

    void setAudioDelay(std::chrono::nanoseconds delay) override;
    std::vector<StreamPad> streams() const override;
    SwitchResult switchAudio(int number, int former) override;
    void takeTexts(SubtitleTap& tap) override;
    bool seekable() const override;
    std::uint64_t fileSize() const override;
    std::string localFile() const override { return m_localFile; }
    std::string imageHead() const override;

private:
    static void onSourceSetup(GstElement* playbin, GstElement* source, gpointer self);

    void setUp(GstElement* source);

    std::shared_ptr<ImageHead> m_imageHead;
    std::string m_localFile;
    std::string m_userAgent;
    std::weak_ptr<Feed> m_feed;
    bool m_seekableSource = true;
};

} // namespace tz::orvane::service
