// SPDX-License-Identifier: Apache-2.0
// Plays elementary streams that an application pushes.
#pragma once

#include "gst_ptr.h"
#include "pipeline.h"

#include <memory>
#include <vector>

namespace tz::orvane::service
{

class Feed;

/// One branch for each stream: source, decoder, output.
class EsPipeline final : public Pipeline
{
public:
    struct Stream
    {
        StreamPad::Kind kind; ///< video or audio
        CapsPtr caps;
        std::shared_ptr<Feed> feed;
    };

    EsPipeline(std::vector<Stream> const& streams, GstElement* audioChain, GstElement* videoOutlet);

    void setAudioDelay(std::chrono::nanoseconds delay) override;
    std::vector<StreamPad> streams() const override;

private:
    struct Branch
    {
        StreamPad::Kind kind;
        ObjectPtr<GstElement> queue; ///< what the decoder's pad is linked to
    };

    void addBranch(Stream const& stream, GstElement* outlet);

    std::vector<Branch> m_branches;
    ObjectPtr<GstElement> m_videoOutlet;
};

} // namespace tz::orvane::service
