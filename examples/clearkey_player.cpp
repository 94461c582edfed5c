// SPDX-License-Identifier: Apache-2.0
// Plays a protected film as a browser does: the application cuts it into access units, gets the keys, pushes.
#include "fragments.h"

#include <orvane/omc.h>

#include <fstream>
#include <future>
#include <iostream>
#include <sstream>
#include <utility>

using namespace tz::orvane;

/// Pushes the film when it is asked to, and hears how it goes. Called on the library's thread.
class Player final : public omc::OmcIMediaPlayerListener
{
public:
    Player(om::OmIMediaPlayer& player, example::Film const& film, std::string const& file, unsigned int agent)
        : m_player(player)
        , m_film(film)
        , m_file(file)
        , m_agent(agent)
    {
    }

    std::string play()
    {
        std::string formats[2]; // of the picture and of the sound
        for (example::Track const& track : m_film.tracks)
        {
            formats[track.kind == om::OM_STREAM_TYPE_VIDEO ? 0 : 1] = formatBuffer(track);
        }
        om::OmPropertyGroup none;
        m_player.addListener(this);
        m_player.openEsMedia(formats[0].data(), static_cast<int>(formats[0].size()), formats[1].data(),
                             static_cast<int>(formats[1].size()), nullptr, 0);
        m_player.start(0);
        std::string const result = m_end.get_future().get();
        m_player.removeListener(this);
        return result;
    }

private:
    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int event, om::OmPropertyGroup const& props) override
    {
        if (event == om::OM_EVENT_KEY_NEEDED)
        {
            std::cout << "waiting for key " << props.get(om::OM_KEY_KEY_ID) << std::endl;
        }
        else if (event == om::OM_EVENT_NEED_DATA && !m_pushed)
        {
            push();
        }
        else if (event == om::OM_EVENT_END_OF_STREAM)
        {
            finish("played");
        }
    }

    void onError(om::OmIMediaPlayer*, unsigned int, unsigned int, om::OmPropertyGroup const& props) override
    {
        finish(props.get(om::OM_KEY_TEXT));
    }

    void push() // all at once: a longer film would stop at OM_EVENT_ENOUGH_DATA
    {
        m_pushed = true;
        for (example::Sample const& sample : m_film.samples)
        {
            om::om_es_unit_t unit = sample.unit;
            std::string crypto = cryptoBuffer(m_film.tracks[sample.track], sample, m_agent);
            m_player.pushEsData(m_file.data() + sample.offset, static_cast<unsigned int>(sample.size), &unit,
                                sizeof unit, crypto.data(), static_cast<unsigned int>(crypto.size()), nullptr, 0);
        }
        for (example::Track const& track : m_film.tracks)
        {
            om::om_es_unit_t end{};
            end.stream_type = track.kind;
            end.flags = om::OM_ES_END_OF_STREAM;
            m_player.pushEsData(nullptr, 0, &end, sizeof end, nullptr, 0, nullptr, 0);
        }
    }

    void finish(std::string const& result)
    {
        if (!std::exchange(m_finished, true))
        {
            m_end.set_value(result);
        }
    }

    om::OmIMediaPlayer& m_player;
    example::Film const& m_film;
    std::string const& m_file;
    unsigned int m_agent;
    std::promise<std::string> m_end;
    bool m_pushed = false;
    bool m_finished = false;
};

int main(int argc, char** argv)
{
    std::ifstream input(argc == 3 ? argv[1] : "", std::ios::binary);
    std::ostringstream content;
    content << input.rdbuf();
    std::string const file = content.str();
    auto const film = example::readFragments(file);
    om::OmIConnection* connection = omc::OmcClientAccess::getApp(0)->createConnection("clearkey_player");
    om::OmIMediaPlayer* player = connection == nullptr ? nullptr : connection->createPlayer(nullptr);
    auto const agent = player == nullptr ? nullptr : connection->createDrmAgent(om::OM_DRM_TYPE_CLEARKEY);
    if (!film || agent == nullptr)
    {
        std::cerr << "usage: clearkey_player FILE LICENSE (a fragmented mp4; a JSON Web Key Set; the media service "
                     "must be running)\n";
        return 1;
    }
    agent->drmPluginCreate();
    agent->initialize();

    om::om_drm_session_t session{};
    unsigned int size = 0;
    agent->openSession(nullptr, 0, &session, sizeof session, size);

    // What a license server would be asked for.
    om::om_drm_key_request_t const head{session.session, om::OM_DRM_INIT_DATA_CENC};
    std::string request(reinterpret_cast<char const*>(&head), sizeof head);
    request += film->initData;
    std::string message(65535, '\0');
    int const asked = agent->generateKeyRequest(request.data(), static_cast<unsigned int>(request.size()),
                                                message.data(), static_cast<unsigned int>(message.size()), size);
    std::cout << "license request: " << (asked == 0 ? message.substr(0, size) : "none") << std::endl;

    // What it would answer.
    std::string license(reinterpret_cast<char const*>(&session), sizeof session);
    license += argv[2];
    int const got = agent->updateSession(license.data(), static_cast<unsigned int>(license.size()), nullptr, 0, size);
    std::cout << (got == 0 ? "license taken" : "license refused") << std::endl;

    std::cout << Player(*player, *film, file, agent->getAgentID()).play() << std::endl;
    omc::OmcClientAccess::getApp(0)->destroyConnection(connection); // player and agent go with it
}
