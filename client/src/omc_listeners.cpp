// SPDX-License-Identifier: Apache-2.0
// The listener methods that an application did not override: they only log.
#include "orvane/omc_listeners.h"

#include "orvane/platform/om_debug.h"

namespace tz::orvane::omc
{

namespace
{

constexpr char kLogFile[] = "omc_listeners";
constexpr char kPlayerListener[] = "OmcIMediaPlayerListener";
constexpr char kDrmListener[] = "OmcIDrmAgentListener";

void logNotOverridden(platform::LogSite const& site)
{
    ORVANE_LOG_AT(platform::DebugLevel::info, site, " Implemet by USER.");
}

} // namespace

void OmcIMediaPlayerListener::onStateChanged(om::OmIMediaPlayer*, unsigned int, om::om_state_e, int,
                                             om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onError(om::OmIMediaPlayer*, unsigned int, unsigned int, om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int, om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onReply(om::OmIMediaPlayer*, unsigned int, unsigned int, int, om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onMetaInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_media_info_t*,
                                                om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onContainerInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_container_info_t*,
                                                     om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onExifInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_exif_info_t*,
                                                om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onTrackChanged(om::OmIMediaPlayer*, unsigned int, om::om_track_detail_t*,
                                             om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onPlayTimeUpdated(om::OmIMediaPlayer*, unsigned int, long long const&,
                                                om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIMediaPlayerListener::onFrameInfoUpdated(om::OmIMediaPlayer*, unsigned int, void*, int,
                                                 om::OmPropertyGroup const&)
{
    logNotOverridden({kLogFile, __LINE__, kPlayerListener, __func__});
}

void OmcIDrmAgentListener::onReceivedEvent(om::OmIDrmAgent*, unsigned int, unsigned int, unsigned int,
                                           unsigned long long, unsigned int, std::string)
{
    logNotOverridden({kLogFile, __LINE__, kDrmListener, __func__});
}

} // namespace tz::orvane::omc
