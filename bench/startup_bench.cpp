// SPDX-License-Identifier: Apache-2.0
// How long an application waits for a player that it can use: orvane-startup-bench [ROUNDS]. Prints the microseconds of
// each round; the first one is that of a fresh process. The media service must be running.
#include "orvane/omc.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace
{

using namespace tz::orvane;

/// From the wish for a connection until the player has answered. @return microseconds, negative when there is no player
double round()
{
    om::OmIAccess* const registry = omc::OmcClientAccess::getApp(0);
    auto const begin = std::chrono::steady_clock::now();
    om::OmIConnection* const connection = registry->createConnection("startup");
    om::OmIMediaPlayer* const player = connection == nullptr ? nullptr : connection->createPlayer(nullptr);
    om::om_state_e state = om::OM_STATE_VOID;
    bool const usable = player != nullptr && player->getState(state) >= 0 && state == om::OM_STATE_NULL;
    auto const end = std::chrono::steady_clock::now();
    if (connection != nullptr)
    {
        registry->destroyConnection(connection);
    }
    return usable ? std::chrono::duration<double, std::micro>(end - begin).count() : -1;
}

} // namespace

int main(int argc, char** argv)
{
    int const rounds = argc > 1 ? std::atoi(argv[1]) : 1;
    for (int i = 0; i < rounds; ++i)
    {
        double const microseconds = round();
        if (microseconds < 0)
        {
            std::cerr << "no usable player\n";
            return 1;
        }
        std::cout << microseconds << "\n";
    }
}
