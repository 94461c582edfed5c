// SPDX-License-Identifier: Apache-2.0
// The player's command line.
#include "omc_play/options.h"

#include "common/exit_status.h"
#include "presentation/media_uri.h"

#include <CLI/CLI.hpp>

namespace tz::orvane::tools
{

namespace
{

constexpr char kDescription[] = "Plays files and URIs, one after another, through the media service.\n"
                                "When no service listens, one is started that ends some seconds after its last client.";

constexpr char kFooter[] = R"(
Keys, on a terminal:
  space        pause, go on
  left, right  10 seconds back, forward
  , .          1 second back, forward
  home         to the beginning
  up, down     volume
  m            sound off, on
  [ ]          slower and backwards, faster
  a            next audio track
  s            next subtitles, none behind the last
  r            turn the picture
  z            whole, filled, stretched
  + -          larger, smaller
  n            next file
  q, escape    quit

Exit status:
  0      everything was played, or the user quit
  1      something could not be played
  2      wrong usage
  3      no media service, or it died
  128+N  ended by signal N; 130 is Ctrl-C

Environment:
  ORVANE_SOCKET_DIR  directory in which the media service is met
  ORVANE_SERVICE     the service to start
  ORVANE_DEBUG       messages of the library: off, error, warning, info, debug, trace)";

} // namespace

ParsedOptions parseOptions(int argc, char** argv)
{
    Options options;
    double start = 0;

    CLI::App app(kDescription, "omc-play");
    app.footer(kFooter);
    app.add_option("media", options.media, "Files and URIs")->required()->type_name("FILE|URI");
    auto* const info = app.add_flag("--info", options.info, "Print what is known of each one instead of playing it");
    app.add_flag("--json", options.json, "With --info: a line with a JSON object for each one")->needs(info);
    app.add_option("--start", start, "Begin at this position, in seconds")
        ->check(CLI::Range(0.0, 1e9))
        ->type_name("SECONDS");
    app.add_option("--timeout", options.timeout, "For how long a medium may take to open (10)")
        ->check(CLI::Range(1, 3600))
        ->type_name("SECONDS");
    app.add_option("--volume", options.volume, "Volume, 0 to 100")->check(CLI::Range(0, 100))->type_name("N");
    app.add_option("--video", options.launch.video, "Where a service that is started shows the picture")
        ->check(CLI::IsMember({"none", "x11"}));
    app.add_option("--audio", options.launch.audio, "Where a service that is started plays the sound")
        ->check(CLI::IsMember({"fake", "auto"}));
    app.add_flag("--verbose", options.launch.verbose,
                 "Show the messages of the library and of a service that is started");
    try
    {
        app.parse(argc, argv);
    }
    catch (CLI::ParseError const& error)
    {
        return {std::nullopt, app.exit(error) == 0 ? kExitDone : kExitUsage};
    }

    options.start = static_cast<long long>(start * 1000);
    options.media = mediaUris(options.media);
    return {options, kExitDone};
}

} // namespace tz::orvane::tools
