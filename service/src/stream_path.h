// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what is known of a stream.
#pragma once

#include "gst_ptr.h"

#include <string>
#include <vector>

namespace tz::orvane::service
{

/// The pads that a stream has come along, from the one that its decoded data reach up to its demuxer's. What is told of
/// a stream that nobody waits for, texts or a second language, may still be on its way when the medium is open already:
/// then only a pad further up knows it.
class StreamPath
{
public:
    explicit StreamPath(GstPad* decoded);

    /// @return empty when not known yet
    std::string id() const;

    /// @return of what the decoded data are; null when not known yet
    CapsPtr caps() const;

    /// @return of what a decoder gets, or as above when nothing decodes the stream
    CapsPtr compressedCaps() const;

    /// @return an event that stays with a stream; null for none
    EventPtr event(GstEventType type) const;

    /// @return whether nothing but marks around it wraps the stream
    bool isBare() const;

    /// @return the tags of one scope; null for none
    TagListPtr tags(GstTagScope scope) const;

private:
    /// @return what the nearest pad that knows it gives; null when none does
    template <class Get> auto nearest(Get get) const -> decltype(get(nullptr))
    {
        for (auto const& pad : m_pads)
        {
            if (auto found = get(pad.get()))
            {
                return found;
            }
        }
        return nullptr;
    }

    std::vector<ObjectPtr<GstPad>> m_pads;
};

} // namespace tz::orvane::service
