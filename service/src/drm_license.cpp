// SPDX-License-Identifier: Apache-2.0
// The messages of Clear Key: what is asked of a license server, and what it answers.
#include "drm_license.h"

#include <nlohmann/json.hpp>

#include <cerrno>

namespace tz::orvane::service
{

namespace
{

using nlohmann::json;

/// The parser keeps a token in buffers that only the next one overwrites, and forgets where a buffer that grew was
/// before. With a token in front and another behind that are longer than any key's, neither holds a key at the end.
std::string framed(std::string_view license)
{
    std::string const longToken = '"' + std::string(128, ' ') + '"';
    std::string text;
    text.reserve(license.size() + 2 * longToken.size() + 4);
    text += '[' + longToken + ',';
    text += license;
    text += ',' + longToken + ']';
    return text;
}

std::string* textOf(json& object, char const* name)
{
    auto const member = object.find(name);
    return member == object.end() ? nullptr : member->get_ptr<std::string*>();
}

void wipe(json& value)
{
    if (auto* const text = value.get_ptr<std::string*>())
    {
        OPENSSL_cleanse(text->data(), text->size());
    }
    else if (value.is_structured())
    {
        for (json& part : value)
        {
            if (!part.is_structured())
            {
                wipe(part);
            }
        }
    }
}

/// @return whether it is well formed
bool addKey(json& entry, DrmKeys& keys)
{
    std::string const* const kind = entry.is_object() ? textOf(entry, "kty") : nullptr;
    if (kind == nullptr)
    {
        return false;
    }
    if (*kind != "oct")
    {
        return true;
    }
    std::string const* const key = textOf(entry, "k");
    std::string const* const id = textOf(entry, "kid");
    DrmKey bytes;
    DrmKeyId name{};
    bool const good = key != nullptr && id != nullptr && fromBase64Url(*key, bytes.bytes()) && fromBase64Url(*id, name);
    if (good)
    {
        keys[name] = bytes;
    }
    return good && keys.size() <= kMostDrmKeys;
}

int readSet(json& license, DrmKeys& keys)
{
    auto const entries = license.is_object() ? license.find("keys") : license.end();
    if (!license.is_object() || entries == license.end() || !entries->is_array())
    {
        return -EINVAL;
    }
    bool wellFormed = true;
    for (json& entry : *entries)
    {
        wellFormed = wellFormed && addKey(entry, keys);
        wipe(entry);
    }
    auto const type = license.find("type");
    if (!wellFormed || keys.empty() || (type != license.end() && !type->is_string()))
    {
        return -EINVAL;
    }
    return type == license.end() || *type == "temporary" ? 0 : -EOPNOTSUPP;
}

} // namespace

std::string writeLicenseRequest(DrmKeyIds const& ids)
{
    json kids = json::array();
    for (DrmKeyId const& id : ids)
    {
        kids.push_back(toBase64Url(id));
    }
    return json{{"kids", kids}, {"type", "temporary"}}.dump();
}

int readLicense(std::string_view text, DrmKeys& keys)
{
    WipedText const whole(framed(text));
    json document = json::parse(whole.text(), nullptr, false);
    constexpr std::size_t kParts = 3; // what the text itself puts between the tokens around it counts as well
    if (!document.is_array() || document.size() != kParts)
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
