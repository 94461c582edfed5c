// SPDX-License-Identifier: Apache-2.0
// From the bytes that a terminal sends to the player's keys.
#include "presentation/key_decoder.h"

#include <cstddef>
#include <optional>

namespace tz::orvane::tools
{

namespace
{

constexpr char kEscape = '\x1b';
constexpr std::size_t kLongestSequence = 16;

struct PlainKey
{
    char byte;
    Key key;
};

constexpr PlainKey kPlainKeys[] = {
    {' ', Key::togglePause}, {',', Key::stepBack},   {'.', Key::stepForward}, {'[', Key::slower}, {']', Key::faster},
    {'m', Key::mute},        {'a', Key::audioTrack}, {'s', Key::subtitle},    {'r', Key::rotate}, {'z', Key::zoomMode},
    {'+', Key::zoomIn},      {'-', Key::zoomOut},    {'n', Key::next},        {'q', Key::quit},
};

std::optional<Key> plainKey(char byte)
{
    for (PlainKey const& plain : kPlainKeys)
    {
        if (plain.byte == byte)
        {
            return plain.key;
        }
    }
    return std::nullopt;
}

/// @param sequence what follows the escape character, complete
std::optional<Key> sequenceKey(std::string_view sequence)
{
    if (sequence == "[1~" || sequence == "[7~")
    {
        return Key::home;
    }
    if (sequence.size() != 2)
    {
        return std::nullopt;
    }
    switch (sequence[1])
    {
    case 'A':
        return Key::louder;
    case 'B':
        return Key::softer;
    case 'C':
        return Key::forward;
    case 'D':
        return Key::back;
    case 'H':
        return Key::home;
    default:
        return std::nullopt;
    }
}

} // namespace

std::vector<Key> KeyDecoder::feed(std::string_view bytes)
{
    std::vector<Key> keys;
    for (char const byte : bytes)
    {
        take(byte, keys);
    }
    return keys;
}

std::vector<Key> KeyDecoder::expire()
{
    bool const escapeAlone = m_sequence.size() == 1;
    m_sequence.clear();
    return escapeAlone ? std::vector<Key>{Key::quit} : std::vector<Key>{};
}

void KeyDecoder::take(char byte, std::vector<Key>& keys)
{
    if (m_sequence.empty())
    {
        if (byte == kEscape)
        {
            m_sequence = byte;
        }
        else if (auto const key = plainKey(byte))
        {
            keys.push_back(*key);
        }
        return;
    }
    if (byte == kEscape)
    {
        // Escape twice: the first one was the key.
        for (Key const key : expire())
        {
            keys.push_back(key);
        }
        m_sequence = byte;
        return;
    }
    m_sequence += byte;
    bool const introduced = m_sequence.size() == 2 && (byte == '[' || byte == 'O');
    bool const goesOn = m_sequence.size() > 2 && (byte < '@' || byte > '~') && m_sequence.size() < kLongestSequence;
    if (introduced || goesOn)
    {
        return;
    }
    if (auto const key = sequenceKey(std::string_view(m_sequence).substr(1)))
    {
        keys.push_back(*key);
    }
    m_sequence.clear();
}

} // namespace tz::orvane::tools
