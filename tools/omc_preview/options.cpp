// SPDX-License-Identifier: Apache-2.0
// The preview tool's command line.
#include "omc_preview/options.h"

#include "common/exit_status.h"
#include "presentation/media_uri.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <system_error>

namespace tz::orvane::tools
{

namespace
{

constexpr char kDescription[] =
    "Tells what files and URIs are, and makes pictures of them, through the media service.\n"
    "When no service listens, one is started that ends some seconds after its last client.";

constexpr char kFooter[] = R"(
Films give a frame, sound its cover, photos themselves, upright and scaled. An existing picture is replaced, but none of
the media that are named.

Examples:
  omc-preview film.mp4                                what it is
  omc-preview film.mp4 --at 1:30 --exact -o still.png one frame
  omc-preview *.mkv --size 640x640 -o pictures/       a picture of each
  omc-preview film.mp4 --contact-sheet 16 -o all.jpg  sixteen frames in one picture
  omc-preview --json *.mp3                            for scripts

Exit status:
  0      everything was done
  1      something could not be done
  2      wrong usage
  3      no media service, or it died
  128+N  ended by signal N; 130 is Ctrl-C

Environment:
  ORVANE_SOCKET_DIR  directory in which the media service is met
  ORVANE_SERVICE     the service to start
  ORVANE_DEBUG       messages of the library: off, error, warning, info, debug, trace)";

/// @return what is wrong, empty when nothing is
std::string settleOutput(PreviewOptions& options, bool formatGiven)
{
    if (options.output.empty())
    {
        return options.sheetFrames > 0 ? "--contact-sheet needs -o" : "";
    }
    if (options.output == "/dev/stdout") // nothing can take its place
    {
        options.output = "-";
    }
    std::error_code error;
    options.intoFolder = options.output.back() == '/' || std::filesystem::is_directory(options.output, error);
    if (options.output == "-")
    {
        return options.media.size() > 1 ? "only one picture can go to standard output"
               : options.json           ? "-o - and --json both need standard output"
                                        : "";
    }
    if (options.intoFolder)
    {
        return "";
    }
    if (options.media.size() > 1)
    {
        return "for several media -o names a folder: " + options.output + " is none (end it with a slash to make it)";
    }
    auto const format = formatOfName(options.output);
    if (!format && !formatGiven)
    {
        return options.output + " ends in neither .jpg, .jpeg nor .png; --format says which it is";
    }
    options.format = formatGiven ? options.format : *format;
    return "";
}

} // namespace

ParsedPreviewOptions parsePreviewOptions(int argc, char** argv)
{
    PreviewOptions options;
    std::string format;

    CLI::App app(kDescription, "omc-preview");
    app.footer(kFooter);
    auto const isNamed = [](std::string const& text) { return std::string(text.empty() ? "an empty name" : ""); };
    app.add_option("media", options.media, "Files and URIs")->required()->type_name("FILE|URI")->check(isNamed);
    app.add_option("--at", "Position of the frame: seconds, h:mm:ss or a part as 30% (10%)")
        ->type_name("TIME")
        ->check(
            [&](std::string const& text)
            {
                auto const place = parsePlace(text);
                options.place = place.value_or(options.place);
                return place ? std::string() : "not a position: " + text;
            });
    app.add_flag("--exact", options.exact, "The very frame there instead of the nearest key frame; slower");
    app.add_option("--size", options.size, "Largest width and height, 16x16 to 4096x4096 (320x320)")
        ->type_name("WxH")
        ->check([](std::string const& text)
                { return isPictureSize(text) ? std::string() : "not a size from 16x16 to 4096x4096: " + text; });
    app.add_option("-o,--output", options.output,
                   "File for the picture; for several media a folder; - is standard output")
        ->type_name("FILE")
        ->check(isNamed);
    app.add_option("--format", format, "Kind of the pictures, where the name does not tell (jpeg)")
        ->check(CLI::IsMember({"jpeg", "png"}));
    app.add_option("--contact-sheet", options.sheetFrames, "So many frames of each film in one picture")
        ->check(CLI::Range(1, 100))
        ->type_name("N");
    app.add_option("--timeout", options.timeout, "For how long to work at a medium (10; 120 for a contact sheet)")
        ->check(CLI::Range(1, 120))
        ->type_name("SECONDS");
    app.add_flag("--json", options.json, "Print a line with a JSON object for each medium");
    app.add_flag("--verbose", options.verbose, "Show the messages of the library and of a service that is started");
    try
    {
        app.parse(argc, argv);
    }
    catch (CLI::ParseError const& error)
    {
        return {std::nullopt, app.exit(error) == 0 ? kExitDone : kExitUsage};
    }
    options.format = format == "png" ? PictureFormat::png : PictureFormat::jpeg;
    if (std::string const wrong = settleOutput(options, !format.empty()); !wrong.empty())
    {
        std::cerr << "omc-preview: " << wrong << "\n";
        return {std::nullopt, kExitUsage};
    }
    options.media = mediaUris(options.media);
    return {options, kExitDone};
}

} // namespace tz::orvane::tools
