// SPDX-License-Identifier: Apache-2.0
// The player's life, its playback control and its data paths.
#include "orvane/omc_mediaplayer.h"

#include "extend_command.h"
#include "om_protocol.h"
#include "omc_mediaplayer_messages.h"

namespace tz::orvane::omc
{

namespace
{

// Logs the failure of a post on the data paths. Gives the result back.
int checkPosted(platform::LogSite const& site, int result)
{
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "call postMsg() fail, err=%d", result);
    }
    return result;
}

} // namespace

OmcMediaPlayer::OmcMediaPlayer(unsigned int cnid, unsigned int plid)
    : OmIMediaPlayer(cnid, plid)
{
    ORVANE_LOG_DEBUG("Start to create a new MediaPlayer. Client Id=0x%04X.", cnid);
    // Addressed to the connection: the service knows the player only from here on.
    Request const creation(ORVANE_LOG_SITE, cnid, 0, protocol::kCmdCreateMediaPlayer, protocol::kTypeCommand);
    int const result = OmcMediaPlayer::init();
    if (result < 0)
    {
        ORVANE_LOG_ERROR("Error! Failed to Init Mediaplayer. ErrorCode=%d.", result);
        return;
    }
    ORVANE_LOG_INFO("Succeeded to to Init Mediaplayer.");
    creation.send();
}

OmcMediaPlayer::~OmcMediaPlayer()
{
    release(false);
}

void OmcMediaPlayer::release(bool insideDispatch)
{
    if (m_released.exchange(true))
    {
        return;
    }
    platform::LogSite const site{kLogFile, __LINE__, kLogClass, "~OmcMediaPlayer"};
    unsigned int const cnid = getClientID();
    unsigned int const plid = getPlayerID();
    ORVANE_LOG_AT(platform::DebugLevel::debug, site,
                  "Called. Start to destroy this object. this=%p, cnid=0x%04X, plid=0x%04X.", static_cast<void*>(this),
                  cnid, plid);
    ORVANE_LOG_AT(platform::DebugLevel::debug, site, "Lock for releasing.");
    std::unique_lock<std::mutex> lock(m_mutex, std::defer_lock);
    if (!insideDispatch)
    {
        lock.lock();
    }
    m_listeners.clear();
    int result = Request(site, cnid, plid, protocol::kCmdReleaseMediaPlayer, protocol::kTypeCommand).post();
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Error! Failed to post message. ErrorCode=%d.", result);
        return;
    }
    result = deinit();
    if (result < 0)
    {
        ORVANE_LOG_AT(platform::DebugLevel::error, site, "Error! Failed to deinit Mediaplayer. ErrorCode=%d.", result);
        return;
    }
    ORVANE_LOG_AT(platform::DebugLevel::info, site, "%s", Request::kSent);
}

int OmcMediaPlayer::init()
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdInitMediaPlayer).send();
}

int OmcMediaPlayer::deinit()
{
    m_listeners.clear();
    return 0;
}

int OmcMediaPlayer::prepare(om::OmString const& uri, om::OmPropertyGroup& props, unsigned int flag)
{
    Request request = command(*this, ORVANE_LOG_SITE, protocol::kCmdPrepare);
    ORVANE_LOG_INFO("Succeeded to to Init Mediaplayer.");
    request.string(uri);
    char* image = nullptr;
    int length = 0;
    props.getData(&image, &length);
    ORVANE_LOG_DEBUG("Input parameters (Uri = %s. The length of properties =%d, flag= %d).", uri.c_str(), length,
                     static_cast<int>(flag));
    ORVANE_LOG_DEBUG("Input parameters (The first OmString of properties =%p).", static_cast<void*>(image));
    return request.data(image, static_cast<unsigned int>(length)).uint32(flag).send();
}

int OmcMediaPlayer::start(long long const& pos)
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdStart).sint64(pos).send();
}

int OmcMediaPlayer::stop()
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdStop).send();
}

int OmcMediaPlayer::pause()
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdPause).send();
}

int OmcMediaPlayer::resume()
{
    return command(*this, ORVANE_LOG_SITE, protocol::kCmdResume).send();
}

int OmcMediaPlayer::pushData(void const* data, unsigned int size)
{
    if (data == nullptr || size == 0)
    {
        constexpr int kBadArgument = -2;
        ORVANE_LOG_ERROR("invalid parameter");
        ORVANE_LOG_INFO("RETURN %d", kBadArgument);
        return kBadArgument;
    }
    Request message = request(*this, ORVANE_LOG_SITE, protocol::kCmdPushData, protocol::kTypePush);
    checkPosted(ORVANE_LOG_SITE, message.block(data, size).post());
    // A feeder has nothing to undo: lost data are reported in the log only.
    constexpr int kResult = 0;
    ORVANE_LOG_INFO("RETURN %d", kResult);
    return kResult;
}

int OmcMediaPlayer::pushEsData(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3,
                               unsigned int s3, void const* d4, unsigned int s4)
{
    ORVANE_LOG_DEBUG("ENTER");
    Request message = request(*this, ORVANE_LOG_SITE, protocol::kCmdPushEsData, protocol::kTypePush);
    message.sint32(static_cast<int>(s1));
    // The block is never empty, also when there is no access unit.
    static constexpr char kNothing[2] = {};
    bool const empty = d1 == nullptr || s1 == 0;
    message.block(empty ? kNothing : d1, empty ? sizeof kNothing : s1);
    int const result = message.data(d2, s2).data(d3, s3).data(d4, s4).post();
    ORVANE_LOG_INFO("RETURN %d", result);
    return result;
}

int OmcMediaPlayer::openEsMedia(void const* d1, unsigned int s1, void const* d2, unsigned int s2, void const* d3,
                                unsigned int s3)
{
    ORVANE_LOG_DEBUG("ENTER");
    Request message = request(*this, ORVANE_LOG_SITE, protocol::kCmdOpenEsMedia, protocol::kTypeCommand);
    checkPosted(ORVANE_LOG_SITE, message.data(d1, s1).data(d2, s2).data(d3, s3).post());
    // What becomes of it is told by events.
    constexpr int kResult = 0;
    ORVANE_LOG_INFO("RETURN %d", kResult);
    return kResult;
}

int OmcMediaPlayer::pullData(void**, unsigned int&)
{
    Request const message = request(*this, ORVANE_LOG_SITE, protocol::kCmdPullData, protocol::kTypePull);
    mdt::MsgData reply;
    // Only asks for delivery: the reply carries no data.
    return checkPosted(ORVANE_LOG_SITE, message.post(reply)) < 0 ? -1 : 0;
}

int OmcMediaPlayer::freeDataMem(void*)
{
    ORVANE_LOG_DEBUG("ENTER");
    Request const message = request(*this, ORVANE_LOG_SITE, protocol::kCmdFreeDataMem, protocol::kTypePush);
    int const result = checkPosted(ORVANE_LOG_SITE, message.post());
    ORVANE_LOG_INFO("RETURN %d", result);
    return result;
}

int OmcMediaPlayer::doExtendCommand(om::OmString const& command, om::OmPropertyGroup& props)
{
    return exchangeExtendCommand(ORVANE_LOG_SITE, getClientID(), getPlayerID(), protocol::kCmdPlayerExtendCommand,
                                 command, props);
}

unsigned int OmcMediaPlayer::getRequestID()
{
    return 0;
}

int OmcMediaPlayer::getActStateFlags(int&)
{
    return 0;
}

int OmcMediaPlayer::isSmallWindowMode()
{
    return -1;
}

} // namespace tz::orvane::omc
