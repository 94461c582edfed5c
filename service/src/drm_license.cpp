// SPDX-License-Identifier: Apache-2.0
// The messages of Clear Key: what is asked of a license server, and what it answers.
#include "drm_license.h"

#include "wiping_allocator.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <map>
#include <vector>

namespace tz::orvane::service
{

namespace
{

/// All that it allocates is wiped.
using SecretJson =
    nlohmann::basic_json<std::map, std::vector, WipedText, bool, std::int64_t, std::uint64_t, double, WipingAllocator>;

constexpr char kAnyDigit = '0';

/// @param at what stands behind a backslash @return how many characters belong to it that are not to be looked at
std::size_t maskEscape(WipedText& text, std::size_t at)
{
    constexpr std::size_t kDigits = 4;
    if (text[at] != 'u')
    {
        return 0;
    }
    if (text.compare(at + 1, 2, "00") == 0) // as all characters of keys
    {
        for (std::size_t const digit : {at + 3, at + 4})
        {
            if (digit < text.size() && std::isxdigit(static_cast<unsigned char>(text[digit])) != 0)
            {
                text[digit] = kAnyDigit;
            }
        }
    }
    return kDigits;
}

/// Makes the texts of a license unreadable: whatever can stand in a key becomes zeros. It is as well formed as before.
WipedText masked(std::string_view license)
{
    WipedText text(license);
    bool inside = false;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        char& character = text[at];
        if (character == '"')
        {
            inside = !inside;
        }
        else if (inside && character == '\\')
        {
            ++at;
            at += maskEscape(text, at);
        }
        else if (inside && character >= ' ' && character <= '~')
        {
            character = kAnyDigit;
        }
    }
    return text;
}

/// The parser keeps a token in buffers that only the next one overwrites, and forgets where a buffer that grew was
/// before. Between two tokens that are longer than any of a license neither holds a key at the end.
WipedText framed(std::string_view license)
{
    WipedText const longToken = '"' + WipedText(license.size(), ' ') + '"';
    WipedText text;
    text.reserve(license.size() + 2 * longToken.size() + 4);
    text += '[' + longToken + ',';
    text += license;
    text += ',' + longToken + ']';
    return text;
}

/// @return null where there is none of this kind
template <class Value> Value const* memberOf(SecretJson const& object, char const* name)
{
    auto const member = object.find(name);
    return member == object.end() ? nullptr : member->get_ptr<Value const*>();
}

/// @return whether it is well formed
bool addKey(SecretJson const& entry, DrmKeys& keys)
{
    WipedText const* const kind = entry.is_object() ? memberOf<WipedText>(entry, "kty") : nullptr;
    if (kind == nullptr)
    {
        return false;
    }
    if (*kind != "oct")
    {
        return true;
    }
    WipedText const* const key = memberOf<WipedText>(entry, "k");
    WipedText const* const id = memberOf<WipedText>(entry, "kid");
    DrmKey bytes;
    DrmKeyId name{};
    bool const good = key != nullptr && id != nullptr && fromBase64Url(*key, bytes.bytes()) && fromBase64Url(*id, name);
    if (good)
    {
        keys[name] = bytes;
    }
    return good && keys.size() <= kMostDrmKeys;
}

int readSet(SecretJson const& license, DrmKeys& keys)
{
    auto const* const entries = license.is_object() ? memberOf<SecretJson::array_t>(license, "keys") : nullptr;
    if (entries == nullptr)
    {
        return -EINVAL;
    }
    bool const wellFormed =
        std::all_of(entries->begin(), entries->end(), [&](SecretJson const& entry) { return addKey(entry, keys); });
    bool const hasType = license.contains("type");
    WipedText const* const type = memberOf<WipedText>(license, "type");
    if (!wellFormed || keys.empty() || (hasType && type == nullptr))
    {
        return -EINVAL;
    }
    return !hasType || *type == "temporary" ? 0 : -EOPNOTSUPP;
}

} // namespace

std::string writeLicenseRequest(DrmKeyIds const& ids)
{
    nlohmann::json kids = nlohmann::json::array();
    for (DrmKeyId const& id : ids)
    {
        kids.push_back(toBase64Url(id));
    }
    return nlohmann::json{{"kids", kids}, {"type", "temporary"}}.dump();
}

int readLicense(std::string_view text, DrmKeys& keys)
{
    // A parser that finds a fault repeats what it has read in a message, and leaves its buffers as they are.
    // To it a NUL is the end of the text: what is to make it overwrite its buffers would stand behind that.
    if (text.find('\0') != std::string_view::npos || !nlohmann::json::accept(masked(text)))
    {
        return -EINVAL;
    }
    WipedText const whole = framed(text);
    SecretJson const document = SecretJson::parse(whole, nullptr, false);
    if (!document.is_array())
    {
        return -EINVAL;
    }
    int const result = readSet(document[1], keys);
    if (result < 0)
    {
        keys.clear();
    }
    return result;
}

} // namespace tz::orvane::service
