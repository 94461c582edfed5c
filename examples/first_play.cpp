// SPDX-License-Identifier: Apache-2.0
// The shortest program that plays something: connect, make a player, open, wait for the end.
#include <orvane/omc.h>

#include <future>
#include <iostream>
#include <string>

using namespace tz::orvane;

struct Listener final : omc::OmcIMediaPlayerListener, omc::OmcIConnectionListener // called on the library's thread
{
    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int event, om::OmPropertyGroup const&) override
    {
        if (event == om::OM_EVENT_END_OF_STREAM)
        {
            finish("played");
        }
    }

    void onError(om::OmIMediaPlayer*, unsigned int, unsigned int, om::OmPropertyGroup const& properties) override
    {
        finish(properties.get("text"));
    }

    void onConnectionChanged(om::OmIConnection*, int) override { finish("the media service is gone"); }
    void onEvent(om::OmIConnection*, int, om::OmPropertyGroup&) override {}

    void finish(std::string const& result)
    {
        if (!finished) // an error may be followed by another
        {
            finished = true;
            end.set_value(result);
        }
    }

    std::promise<std::string> end;
    bool finished = false;
};

int main(int argc, char** argv)
{
    om::OmIConnection* connection = omc::OmcClientAccess::getApp(0)->createConnection("first_play");
    om::OmIMediaPlayer* player = connection == nullptr ? nullptr : connection->createPlayer(nullptr);
    if (player == nullptr || argc != 2)
    {
        std::cerr << "usage: first_play URI (the media service must be running)\n";
        return 1;
    }
    Listener listener;
    connection->addListener(&listener);
    player->addListener(&listener);
    om::OmPropertyGroup properties;
    player->prepare(argv[1], properties, om::OM_PREPARE_AUTO_START);
    std::string const result = listener.end.get_future().get();
    std::cout << result << "\n";
    omc::OmcClientAccess::getApp(0)->destroyConnection(connection); // the player goes with it
    return result == "played" ? 0 : 1;
}
