// SPDX-License-Identifier: Apache-2.0
// How subtitles look on the picture.
#include "text_look.h"

#include "gst_ptr.h"

#include "orvane/om_service.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tz::orvane::service
{

namespace
{

constexpr char kUsualFont[] = "Sans,";
constexpr double kUsualSize = 18; ///< on a picture of 640 pixels' width; the overlay scales it with the picture
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr double kBottom = 0.95; ///< of the height that the text leaves free: what is above it

bool isPlace(std::int32_t start, std::int32_t length)
{
    auto const fits = [](std::int32_t value)
    { return value >= om::OM_SUBTITLE_PLACE_DEFAULT && value <= om::OM_SUBTITLE_PLACE_WHOLE; };
    return fits(start) && fits(length) && length != 0 &&
           std::max(start, 0) + std::max(length, 0) <= om::OM_SUBTITLE_PLACE_WHOLE;
}

/// @return the middle of a box from `start` on, as a share of the whole
double middleOf(std::int32_t start, std::int32_t length)
{
    int const from = std::max(start, 0);
    int const size = length < 0 ? om::OM_SUBTITLE_PLACE_WHOLE - from : length;
    return (from + size / 2.0) / om::OM_SUBTITLE_PLACE_WHOLE;
}

std::string backgroundOf(std::uint32_t color)
{
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), " background='#%06X' background_alpha='%u%%'", color & 0xFFFFFFU,
                  std::max((color >> 24U) * 100U / 255U, 1U));
    return text.data();
}

void place(GstElement* overlay, om::om_subtiltile_style_t const& style)
{
    bool const atBottom = style.subtitle_y < 0 && style.subtitle_height < 0;
    g_object_set(overlay, "xpos", middleOf(style.subtitle_x, style.subtitle_width), nullptr);
    if (atBottom)
    {
        g_object_set(overlay, "y-absolute", kBottom, nullptr); // it takes the place of "ypos"
    }
    else
    {
        g_object_set(overlay, "ypos", middleOf(style.subtitle_y, style.subtitle_height), nullptr);
    }
    gst_util_set_object_arg(G_OBJECT(overlay), "halignment", "position");
    gst_util_set_object_arg(G_OBJECT(overlay), "valignment", atBottom ? "absolute" : "position");
}

} // namespace

TextLook::TextLook()
    : style{om::OM_SUBTITLE_PLACE_DEFAULT,
            om::OM_SUBTITLE_PLACE_DEFAULT,
            om::OM_SUBTITLE_PLACE_DEFAULT,
            om::OM_SUBTITLE_PLACE_DEFAULT,
            0,
            om::OM_SUBTITLE_COLOR_DEFAULT,
            om::OM_SUBTITLE_COLOR_DEFAULT,
            om::OM_SUBTITLE_FONT_SIZE_DEFAULT,
            om::OM_SUBTITLE_CHARSET_AUTO}
{
}

char const* faultOf(om::om_subtiltile_style_t const& style)
{
    if (!isPlace(style.subtitle_x, style.subtitle_width) || !isPlace(style.subtitle_y, style.subtitle_height))
    {
        return "place";
    }
    bool const isSize = style.subtitle_fontsize >= om::OM_SUBTITLE_FONT_SIZE_LEAST &&
                        style.subtitle_fontsize <= om::OM_SUBTITLE_FONT_SIZE_MOST;
    return isSize ? nullptr : "font size";
}

void drawText(GstElement* overlay, std::string const& text, TextLook const& look)
{
    om::om_subtiltile_style_t const& style = look.style;
    bool const usualColor = style.subtitle_color == om::OM_SUBTITLE_COLOR_DEFAULT;
    bool const hasBackground =
        style.subtitle_BGcolor != om::OM_SUBTITLE_COLOR_DEFAULT && style.subtitle_BGcolor >> 24U != 0;
    double const size = kUsualSize * style.subtitle_fontsize / om::OM_SUBTITLE_FONT_SIZE_DEFAULT;
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> number{};
    std::string const font = (look.font.empty() ? kUsualFont : look.font) + " " +
                             g_ascii_formatd(number.data(), static_cast<int>(number.size()), "%.2f", size);
    TextPtr const escaped(g_markup_escape_text(text.c_str(), -1));
    std::string const markup = hasBackground
                                   ? "<span" + backgroundOf(style.subtitle_BGcolor) + ">" + escaped.get() + "</span>"
                                   : std::string(escaped.get());
    // The shadow would draw the background a second time.
    g_object_set(overlay, "font-desc", font.c_str(), "color", usualColor ? kWhite : style.subtitle_color, "draw-shadow",
                 hasBackground ? FALSE : TRUE, "text", text.empty() ? "" : markup.c_str(), nullptr);
    place(overlay, style);
}

} // namespace tz::orvane::service
