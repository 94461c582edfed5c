// SPDX-License-Identifier: Apache-2.0
// A small key/value bag that keeps its content serialized, ready to be sent.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_string.h"

#include <cstddef>
#include <memory>

namespace tz::orvane::om
{

/// At most 16 text entries, kept at every moment as one complete wire image.
///
/// The image is "PR", the entry count, the entries and "ED"; counts and offsets are four lower-case hexadecimal
/// digits. Entries keep their order, keys may repeat and lookups find the first. A malformed image, received or grown
/// past 65535 bytes, prints its fault to standard output and ends the process: a group is never half valid. The buffer
/// doubles when it is full, so that the limit can be met as soon as the image needs more than 32768 bytes.
/// One group must not be used by two threads at once.
class ORVANE_API OmPropertyGroup
{
public:
    static constexpr int kMaxEntries = 16; ///< further ones are refused

    /// An empty group.
    OmPropertyGroup();

    /// Rebuilds a group from a received image.
    /// @param data   the image, copied; null gives a group built from nothing
    /// @param length bytes of the image, the NUL behind "ED" included; below 1 gives a group built from nothing
    ///
    /// A group built from nothing answers every reader with its empty value, refuses `add` and cannot be assigned from.
    OmPropertyGroup(void const* data, int length);

    OmPropertyGroup(OmPropertyGroup const&) = delete;

    virtual ~OmPropertyGroup();

    /// Appends an entry.
    /// @param key,value NUL-terminated; null or empty ones, and a seventeenth entry, are silently refused
    /// @return this group
    virtual OmPropertyGroup& add(char const* key, char const* value);

    /// The same for strings; each is taken up to its first NUL.
    virtual OmPropertyGroup& add(OmString const& key, OmString const& value);

    /// @return the key of entry `index`, empty when there is no such entry
    virtual OmString keyAt(int index) const;

    /// @return the value of entry `index`, empty when there is no such entry
    virtual OmString valueAt(int index) const;

    /// @return the number of entries, 0 to 16 (-1 for a group built from nothing)
    virtual int count() const;

    /// @return the value of the first entry with this key, empty when there is none or `key` is null
    virtual OmString get(char const* key) const;

    /// The same for a string, taken up to its first NUL.
    virtual OmString get(OmString const& key) const;

    /// @return the lowest index with this key, -1 when there is none
    virtual int indexOf(OmString const& key) const;

    /// Gives the wire image without copying it.
    /// @param[out] data   the first byte, owned by the group, valid until it changes
    /// @param[out] length bytes to send, the NUL behind "ED" included (0 for a group built from nothing)
    virtual void getData(char** data, int* length) const;

    /// Copies another group. A group built from nothing is reported on standard output and changes nothing.
    OmPropertyGroup& operator=(OmPropertyGroup const& group);

private:
    using Buffer = std::unique_ptr<unsigned char[]>;

    Buffer makeRoom(long long needed);
    unsigned int append(char const* text, std::size_t length);
    int used() const;
    void validate() const;

    Buffer m_arr;
    unsigned char* m_pos = nullptr; ///< behind "ED"
    int m_size = -1;                ///< bytes of m_arr
    unsigned int m_keyEnd[kMaxEntries] = {};
    unsigned int m_valueEnd[kMaxEntries] = {};
    int m_num = -1;
};

} // namespace tz::orvane::om
