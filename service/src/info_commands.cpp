// SPDX-License-Identifier: Apache-2.0
// Messages that ask what is told of a medium beyond its records.
#include "info_commands.h"

#include "number_text.h"

#include <cerrno>
#include <string>

namespace tz::orvane::service
{

namespace
{

void getExifInfo(Player& player, Request& request)
{
    bool const known = player.info() != nullptr && player.info()->exif.has_value();
    known ? request.replyRecord(*player.info()->exif) : request.reply(-ENODATA);
}

/// Answers with what `reply(answer, chapters, current)` makes of the chapter that is being played, null for none.
template <class Reply> void replyAtChapter(Player& player, Answer const& answer, Reply reply)
{
    replyAtPosition(player, answer,
                    [&player, reply](Answer& later, std::int64_t position)
                    {
                        // Another medium may have been opened meanwhile: what counts is the one of now.
                        static Chapters const kNone;
                        Chapters const& chapters = player.info() == nullptr ? kNone : player.info()->chapters;
                        reply(later, chapters, chapterAt(chapters, position));
                    });
}

void getChapterInfo(Player& player, Request& request)
{
    replyAtChapter(player, request.postpone(),
                   [](Answer& answer, Chapters const&, Chapter const* current)
                   { current == nullptr ? answer.reply(-ENODATA) : answer.replyRecord(recordOf(*current)); });
}

/// @param chosen one of them, or null
void reply(Answer& answer, Chapters const& chapters, Chapter const* chosen)
{
    om::OmPropertyGroup group;
    addAll(group, {{om::OM_KEY_COUNT, std::to_string(chapters.size())}});
    if (chosen != nullptr)
    {
        addAll(group, {{om::OM_KEY_INDEX, std::to_string(chosen - chapters.data())},
                       {om::OM_KEY_START, std::to_string(chosen->start)},
                       {om::OM_KEY_END, std::to_string(chosen->end)},
                       {om::OM_KEY_TITLE, chosen->title},
                       {om::OM_KEY_LANG, chosen->language}});
    }
    answer.reply(group);
}

constexpr PlayerCommandRow kRows[] = {
    {protocol::kCmdGetExifInfo, getExifInfo},
    {protocol::kCmdGetChapterInfo, getChapterInfo},
};

} // namespace

PlayerCommand findInfoCommand(int code)
{
    return findIn(kRows, code);
}

int chapter(Player& player, protocol::PropertyView const& properties, Request& request)
{
    if (player.info() == nullptr)
    {
        return -ENODATA;
    }
    std::string_view const text = properties.get(om::OM_KEY_INDEX);
    if (text.empty())
    {
        replyAtChapter(player, request.postpone(), reply);
        return 0;
    }
    Chapters const& chapters = player.info()->chapters;
    auto const index = toNumber(text, 0, static_cast<std::int64_t>(chapters.size()) - 1);
    if (!index)
    {
        return -EINVAL;
    }
    reply(request, chapters, &chapters[static_cast<std::size_t>(*index)]);
    return 0;
}

} // namespace tz::orvane::service
