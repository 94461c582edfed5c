// SPDX-License-Identifier: Apache-2.0
// Order and signatures of virtual functions: programs that were built before must find them where they were.
#include "abi/slots.h"

#include "orvane/om_iaccess.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_idrm_agent.h"
#include "orvane/om_imediaplayer.h"
#include "orvane/om_ipreview_tool.h"
#include "orvane/om_itimer_listener.h"
#include "orvane/om_property_group.h"
#include "orvane/omc_client.h"
#include "orvane/omc_listeners.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using test::slotCount;
using test::slotOf;

/// `slots` must follow each other, beginning with `first`.
void expectOrder(long first, std::vector<long> const& slots)
{
    for (std::size_t i = 0; i < slots.size(); ++i)
    {
        EXPECT_EQ(slots[i], first + static_cast<long>(i)) << "entry " << i << " of the list";
    }
}

// Behind a destructor at the top of a class, which takes the slots 0 and 1.
constexpr long kBehindDestructor = 2;

TEST(Slots, functionsThatAreNotVirtualHaveNone)
{
    EXPECT_EQ(slotOf(&OmIConnection::addListener), -1);
    EXPECT_EQ(slotOf(&OmIPreviewTool::setListener), -1);
}

TEST(Slots, propertyGroup)
{
    using G = OmPropertyGroup;
    expectOrder(kBehindDestructor,
                {slotOf<G, G&(char const*, char const*)>(&G::add),
                 slotOf<G, G&(OmString const&, OmString const&)>(&G::add), slotOf<G, OmString(int) const>(&G::keyAt),
                 slotOf<G, OmString(int) const>(&G::valueAt), slotOf<G, int() const>(&G::count),
                 slotOf<G, OmString(char const*) const>(&G::get), slotOf<G, OmString(OmString const&) const>(&G::get),
                 slotOf<G, int(OmString const&) const>(&G::indexOf), slotOf<G, void(char**, int*) const>(&G::getData)});
    EXPECT_EQ(slotCount<G>(), 11);
}

#if defined(__arm__)
TEST(Layout, propertyGroupOnArm)
{
    EXPECT_EQ(sizeof(OmPropertyGroup), 148U); // table, buffer, cursor, capacity, two tables of 16 offsets, count
}
#endif

TEST(Slots, access)
{
    using A = OmIAccess;
    expectOrder(0,
                {slotOf<A, OmIConnection*(OmString const&)>(&A::createConnection),
                 slotOf<A, int(OmIConnection*)>(&A::addConnection),
                 slotOf<A, OmIConnection*(unsigned int)>(&A::findConnection),
                 slotOf<A, void(OmIConnection*)>(&A::removeConnection),
                 slotOf<A, std::size_t()>(&A::getConnectionCount), slotOf<A, void(unsigned int)>(&A::destroyConnection),
                 slotOf<A, void(OmIConnection*)>(&A::destroyConnection), slotOf<A, void()>(&A::destroyConnectionAll)});
    EXPECT_EQ(slotCount<A>(), 10) << "the destructor comes last";
}

TEST(Slots, connection)
{
    using C = OmIConnection;
    expectOrder(kBehindDestructor, {slotOf<C, unsigned int()>(&C::getClientID),
                                    slotOf<C, int(OmString const&, unsigned int)>(&C::connect),
                                    slotOf<C, int()>(&C::disconnect),
                                    slotOf<C, int(OmPropertyGroup const&)>(&C::setConfig),
                                    slotOf<C, OmIMediaPlayer*(OmPropertyGroup*)>(&C::createPlayer),
                                    slotOf<C, OmIMediaPlayer*(unsigned int)>(&C::findPlayer),
                                    slotOf<C, std::size_t()>(&C::getPlayerCount),
                                    slotOf<C, std::map<unsigned int, OmIMediaPlayer*>&()>(&C::getPlayerMap),
                                    slotOf<C, OmIPreviewTool*()>(&C::getPreviewTool),
                                    slotOf<C, void(unsigned int)>(&C::destroyPlayer),
                                    slotOf<C, void(OmIMediaPlayer*)>(&C::destroyPlayer),
                                    slotOf<C, void()>(&C::destroyPlayerAll),
                                    slotOf<C, void()>(&C::stopPlayerAll),
                                    slotOf<C, OmIPreviewTool*(OmPropertyGroup*)>(&C::createPreviewTool),
                                    slotOf<C, void()>(&C::destroyPreviewTool),
                                    slotOf<C, OmString()>(&C::getAppName),
                                    slotOf<C, void(OmString const&)>(&C::setAppName),
                                    slotOf<C, std::shared_ptr<OmIDrmAgent>(unsigned int)>(&C::createDrmAgent),
                                    slotOf<C, std::shared_ptr<OmIDrmAgent>(unsigned int)>(&C::findDrmAgent),
                                    slotOf<C, void(unsigned int)>(&C::destroyDrmAgent),
                                    slotOf<C, void(std::shared_ptr<OmIDrmAgent>)>(&C::destroyDrmAgent),
                                    slotOf<C, int()>(&C::reserved1),
                                    slotOf<C, int()>(&C::reserved2),
                                    slotOf<C, int()>(&C::reserved3),
                                    slotOf<C, void(int)>(&C::setClientStatus),
                                    slotOf<C, int()>(&C::getClientStatus)});
    EXPECT_EQ(slotCount<C>(), 28);
}

TEST(Slots, client)
{
    using C = omc::OmcClient;
    expectOrder(28,
                {slotOf<C, int(void*)>(&C::dispatch), slotOf<C, int(OmString const&, unsigned int)>(&C::doConnect)});
    EXPECT_EQ(slotCount<C>(), 30);
}

TEST(Slots, mediaPlayer)
{
    using P = OmIMediaPlayer;
    using Data = void const*;
    using Size = unsigned int;
    expectOrder(kBehindDestructor, {slotOf<P, unsigned int()>(&P::getPlayerID),
                                    slotOf<P, unsigned int()>(&P::getClientID),
                                    slotOf<P, unsigned int()>(&P::getRequestID),
                                    slotOf<P, int(OmString const&, OmPropertyGroup&, unsigned int)>(&P::prepare),
                                    slotOf<P, int(long long const&)>(&P::start),
                                    slotOf<P, int(Data, Size)>(&P::pushData),
                                    slotOf<P, int(Data, Size, Data, Size, Data, Size, Data, Size)>(&P::pushEsData),
                                    slotOf<P, int(Data, Size, Data, Size, Data, Size)>(&P::openEsMedia),
                                    slotOf<P, int(void**, unsigned int&)>(&P::pullData),
                                    slotOf<P, int(void*)>(&P::freeDataMem),
                                    slotOf<P, int()>(&P::stop),
                                    slotOf<P, int()>(&P::pause),
                                    slotOf<P, int()>(&P::resume),
                                    slotOf<P, int()>(&P::isSeekable),
                                    slotOf<P, int(long long const&, int)>(&P::seek),
                                    slotOf<P, int()>(&P::isSpeedable),
                                    slotOf<P, int(om_play_speed_e, int)>(&P::speed),
                                    slotOf<P, int(om_play_speed_e&)>(&P::getSpeed),
                                    slotOf<P, int(om_display_rotate_e)>(&P::rotate),
                                    slotOf<P, int(om_display_rotate_e&)>(&P::getRotateAngle),
                                    slotOf<P, int(om_display_rect_t const&)>(&P::setDisplayRect),
                                    slotOf<P, int(om_display_rect_t&)>(&P::getDisplayRect),
                                    slotOf<P, int(om_zoom_mode_e, om_zoom_ratio_e)>(&P::setZoom),
                                    slotOf<P, int(om_zoom_mode_e&, om_zoom_ratio_e&)>(&P::getZoom),
                                    slotOf<P, int(om_photo_move_direction_e, int)>(&P::moveTo),
                                    slotOf<P, int(om_image_animation_e)>(&P::setAnimation),
                                    slotOf<P, int(int)>(&P::setVolume),
                                    slotOf<P, int(int)>(&P::setAudioMute),
                                    slotOf<P, int()>(&P::isAudioMute),
                                    slotOf<P, int(int)>(&P::setVideoMute),
                                    slotOf<P, int()>(&P::isVideoMute),
                                    slotOf<P, int(om_state_e&)>(&P::getState),
                                    slotOf<P, int(int&)>(&P::getActStateFlags),
                                    slotOf<P, int(long long&)>(&P::getCurPosition),
                                    slotOf<P, int(om_media_info_t&)>(&P::getMediaInfo),
                                    slotOf<P, int(om_container_info_t&)>(&P::getContainerInfo),
                                    slotOf<P, int(om_exif_info_t&)>(&P::getExifInfo),
                                    slotOf<P, int(om_chapter_info_t&)>(&P::getCharpterInfo),
                                    slotOf<P, int(om_stream_info_group_t&)>(&P::getVideoTrackInfo),
                                    slotOf<P, int(om_stream_info_group_t&)>(&P::getAudioTrackInfo),
                                    slotOf<P, int(unsigned int)>(&P::setAudioTrackNo),
                                    slotOf<P, int(unsigned int&)>(&P::getAudioTrackNo),
                                    slotOf<P, int(om_stream_info_group_t&)>(&P::getSubtitleTrackInfo),
                                    slotOf<P, int(unsigned int)>(&P::setSubtitleTrackNo),
                                    slotOf<P, int(unsigned int&)>(&P::getSubtitleTrackNo),
                                    slotOf<P, int(int)>(&P::setSubtitleVisible),
                                    slotOf<P, int()>(&P::isSubtitleVisible),
                                    slotOf<P, int(OmString const&)>(&P::setSubtitleFontPath),
                                    slotOf<P, int(OmString const&)>(&P::setSubtitleUri),
                                    slotOf<P, int(om_subtiltile_style_t)>(&P::setSubtitleStyle),
                                    slotOf<P, int(long long)>(&P::setSubtitleDelay),
                                    slotOf<P, int(int, int)>(&P::setExtraAudioAttribute),
                                    slotOf<P, int(OmString const&, OmPropertyGroup&)>(&P::doExtendCommand),
                                    slotOf<P, int()>(&P::reserved1),
                                    slotOf<P, int()>(&P::reserved2),
                                    slotOf<P, int()>(&P::isSmallWindowMode),
                                    slotOf<P, int()>(&P::init),
                                    slotOf<P, int()>(&P::deinit)});
    EXPECT_EQ(slotCount<P>(), 60);
}

TEST(Slots, previewTool)
{
    using T = OmIPreviewTool;
    expectOrder(
        kBehindDestructor,
        {slotOf<T, unsigned int()>(&T::getClientID), slotOf<T, unsigned int()>(&T::getToolID),
         slotOf<T, unsigned int()>(&T::getRequestID),
         slotOf<T, int(OmString const&, om_location_mode_e, long long const&, int, OmPropertyGroup const&)>(
             &T::requestPreviewInfo),
         slotOf<T, int(OmString const&)>(&T::stopPreview), slotOf<T, int(OmPropertyGroup const&)>(&T::stopPreviewAll),
         slotOf<T, void()>(&T::reserved1), slotOf<T, void()>(&T::reserved2),
         slotOf<T, int(OmString const&, OmPropertyGroup&)>(&T::doExtendCommand), slotOf<T, int(void*)>(&T::dispatch)});
    EXPECT_EQ(slotCount<T>(), 12);
}

class DrmAgentInside : public OmIDrmAgent
{
public:
    using OmIDrmAgent::boundedOperation;
};

TEST(Slots, drmAgent)
{
    using D = OmIDrmAgent;
    using BufferOperation = int(void*, unsigned int, void**, unsigned int&);
    expectOrder(kBehindDestructor,
                {slotOf<D, unsigned int()>(&D::getAgentID), slotOf<D, unsigned int()>(&D::getClientID),
                 slotOf<D, int()>(&D::drmPluginCreate), slotOf<D, int()>(&D::initialize), slotOf<D, int()>(&D::cleanup),
                 slotOf<D, BufferOperation>(&D::setServerCertificate), slotOf<D, BufferOperation>(&D::openSession),
                 slotOf<D, BufferOperation>(&D::generateKeyRequest), slotOf<D, BufferOperation>(&D::updateSession),
                 slotOf<D, BufferOperation>(&D::closeSession), slotOf<D, BufferOperation>(&D::getKeyStatuses),
                 slotOf<D, BufferOperation>(&D::decrypt), slotOf<D, BufferOperation>(&D::licenseQuery),
                 slotOf<D, BufferOperation>(&D::getMetrics), slotOf<D, BufferOperation>(&D::getCertificateRequest),
                 slotOf<D, BufferOperation>(&D::parseAndLoadServiceCertificateResponse),
                 slotOf<D, int(OmString const&, OmPropertyGroup const&)>(&D::doExtendCommand),
                 slotOf<D, int(void*)>(&D::dispatch), slotOf(&DrmAgentInside::boundedOperation)});
    EXPECT_EQ(slotCount<D>(), 21);
}

TEST(Slots, connectionListener)
{
    using L = omc::OmcIConnectionListener;
    expectOrder(0, {slotOf<L, void(OmIConnection*, int)>(&L::onConnectionChanged),
                    slotOf<L, void(OmIConnection*, int, OmPropertyGroup&)>(&L::onEvent)});
    EXPECT_EQ(slotCount<L>(), 2);
}

TEST(Slots, mediaPlayerListener)
{
    using L = omc::OmcIMediaPlayerListener;
    using P = OmIMediaPlayer*;
    using Id = unsigned int;
    using Props = OmPropertyGroup const&;
    expectOrder(0, {slotOf<L, void(P, Id, om_state_e, int, Props)>(&L::onStateChanged),
                    slotOf<L, void(P, Id, unsigned int, Props)>(&L::onError),
                    slotOf<L, void(P, Id, unsigned int, Props)>(&L::onEvent),
                    slotOf<L, void(P, Id, unsigned int, int, Props)>(&L::onReply),
                    slotOf<L, void(P, Id, om_media_info_t*, Props)>(&L::onMetaInfoUpdated),
                    slotOf<L, void(P, Id, om_container_info_t*, Props)>(&L::onContainerInfoUpdated),
                    slotOf<L, void(P, Id, om_exif_info_t*, Props)>(&L::onExifInfoUpdated),
                    slotOf<L, void(P, Id, om_track_detail_t*, Props)>(&L::onTrackChanged),
                    slotOf<L, void(P, Id, long long const&, Props)>(&L::onPlayTimeUpdated),
                    slotOf<L, void(P, Id, void*, int, Props)>(&L::onFrameInfoUpdated)});
    EXPECT_EQ(slotCount<L>(), 10);
}

TEST(Slots, previewToolListener)
{
    using L = omc::OmcIPreviewToolListener;
    using Props = OmPropertyGroup const&;
    expectOrder(0,
                {slotOf<L, void(OmIPreviewTool*, unsigned int, int, OmString const&, Props)>(&L::onPreviewInfoReply)});
    EXPECT_EQ(slotCount<L>(), 1);
}

TEST(Slots, drmAgentListener)
{
    using L = omc::OmcIDrmAgentListener;
    using Id = unsigned int;
    expectOrder(0, {slotOf<L, void(OmIDrmAgent*, Id, Id, unsigned int, unsigned long long, unsigned int, std::string)>(
                       &L::onReceivedEvent)});
    EXPECT_EQ(slotCount<L>(), 1);
}

TEST(Slots, timerListener)
{
    using L = OmITimerListener;
    expectOrder(0, {slotOf<L, void(unsigned int)>(&L::onTimeout)});
    EXPECT_EQ(slotCount<L>(), 1);
}

} // namespace

} // namespace tz::orvane::om
