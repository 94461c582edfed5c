// SPDX-License-Identifier: Apache-2.0
// Uses the library over the other messenger, there and back; prints "ok" when it works.
#include <orvane/omc.h>

#include <iostream>

using namespace tz::orvane;

struct Listener final : omc::OmcIMediaPlayerListener
{
    void onPlayTimeUpdated(om::OmIMediaPlayer*, unsigned int, long long const& position,
                           om::OmPropertyGroup const&) override
    {
        heard = position;
    }

    long long heard = 0;
};

int main()
{
    om::OmIAccess* const registry = omc::OmcClientAccess::getApp(0);
    om::OmIConnection* const connection = registry->createConnection("foreign");
    om::OmIMediaPlayer* const player = connection == nullptr ? nullptr : connection->createPlayer(nullptr);
    if (player == nullptr)
    {
        std::cout << "no player\n";
        return 1;
    }
    Listener listener;
    player->addListener(&listener);
    player->start(4321);
    registry->destroyConnection(connection);
    std::cout << (listener.heard == 4321 ? "ok" : "nothing was heard") << "\n";
    return listener.heard == 4321 ? 0 : 1;
}
