// SPDX-License-Identifier: Apache-2.0
// Plays a protected film as a browser does: opens it, pushes it, and gets the key when the service misses it.
#include "events.h"
#include "film_reader.h"

#include <orvane/omc.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

using namespace tz::orvane;

void require(bool good, std::string const& failure)
{
    if (!good)
    {
        throw std::runtime_error(failure);
    }
}

template <class Record> std::string bytesOf(Record const& record)
{
    return {reinterpret_cast<char const*>(&record), sizeof record};
}

// Most operations of an agent take bytes, and answer with bytes.
using Operation = int (om::OmIDrmAgent::*)(void*, unsigned int, void*, unsigned int, unsigned int&);
std::string ask(om::OmIDrmAgent& agent, Operation operation, std::string input)
{
    std::string answer(65535, '\0');
    unsigned int size = 0;
    int const result = (agent.*operation)(input.data(), input.size(), answer.data(), answer.size(), size);
    require(result == 0, std::string("the agent fails: ") + std::strerror(-result));
    return answer.substr(0, size);
}

void bringKey(om::OmIDrmAgent& agent, std::string const& session, std::string const& keyId, std::string const& initData,
              std::string const& license)
{
    auto const hasKey = [&]
    {
        std::string const usable = keyId + bytesOf(om::OM_DRM_KEY_USABLE); // an om_drm_key_status_t
        std::string keys = ask(agent, &om::OmIDrmAgent::getKeyStatuses, session);
        while (!keys.empty() && keys.compare(0, usable.size(), usable) != 0)
        {
            keys.erase(0, usable.size());
        }
        return !keys.empty();
    };
    if (hasKey())
    {
        return; // picture and sound have the same, and both missed it
    }
    std::string const head = session + bytesOf(om::OM_DRM_INIT_DATA_CENC); // an om_drm_key_request_t
    std::cout << "license request: " << ask(agent, &om::OmIDrmAgent::generateKeyRequest, head + initData) << std::endl;
    ask(agent, &om::OmIDrmAgent::updateSession, session + license); // what a license server would answer
    require(hasKey(), "the license has no key for the film");
}

void play(om::OmIConnection& connection, example::Events& events, example::FilmReader& film, std::string const& license)
{
    connection.addListener(&events);
    om::OmIMediaPlayer* const player = connection.createPlayer(nullptr);
    std::shared_ptr<om::OmIDrmAgent> const agent = connection.createDrmAgent(om::OM_DRM_TYPE_CLEARKEY);
    require(player != nullptr && agent != nullptr, "the service gives no player or no agent");
    player->addListener(&events);
    require(agent->drmPluginCreate() >= 0 && agent->initialize() >= 0, "the agent does not start");
    std::string const session = ask(*agent, &om::OmIDrmAgent::openSession, ""); // an om_drm_session_t

    std::string const video = film.format(om::OM_STREAM_TYPE_VIDEO);
    std::string const audio = film.format(om::OM_STREAM_TYPE_AUDIO);
    require(player->openEsMedia(video.data(), video.size(), audio.data(), audio.size(), nullptr, 0) >= 0 &&
                player->start(0) >= 0,
            "the film cannot be opened");
    for (example::Event event = events.next(); event.code != om::OM_EVENT_END_OF_STREAM; event = events.next())
    {
        if (event.code == om::OM_EVENT_NEED_DATA)
        {
            for (example::Unit const& unit : film.next(event.stream, agent->getAgentID()))
            {
                require(player->pushEsData(unit.data.data(), unit.data.size(), &unit.timing, sizeof unit.timing,
                                           unit.crypto.data(), unit.crypto.size(), nullptr, 0) >= 0,
                        "a unit cannot be sent");
            }
        }
        else if (event.code == om::OM_EVENT_KEY_NEEDED)
        {
            bringKey(*agent, session, film.keyId(event.stream), film.initData(), license);
        }
    }
    ask(*agent, &om::OmIDrmAgent::closeSession, session); // forgets its keys
    require(agent->cleanup() >= 0, "the agent does not end");
    connection.destroyDrmAgent(agent);
}

int main(int argc, char** argv)
try
{
    require(argc == 3, "usage: clearkey_player FILE LICENSE (a fragmented mp4, a JSON Web Key Set)");
    example::FilmReader film(argv[1]);
    example::Events events; // lives longer than what it listens to
    auto const destroy = [](om::OmIConnection* gone) { omc::OmcClientAccess::getApp(0)->destroyConnection(gone); };
    std::unique_ptr<om::OmIConnection, decltype(destroy)> const connection(
        omc::OmcClientAccess::getApp(0)->createConnection("clearkey_player"), destroy);
    require(connection != nullptr, "no media service runs");
    play(*connection, events, film, argv[2]);
    std::cout << "played" << std::endl;
}
catch (std::exception const& error)
{
    std::cerr << "clearkey_player: " << error.what() << std::endl;
    return 1;
}
