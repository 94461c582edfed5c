// SPDX-License-Identifier: Apache-2.0
// Reads the serialized property group, for the group itself and for readers that must survive a broken one.
#pragma once

#include <cstdint>
#include <string_view>

namespace tz::orvane::protocol
{

inline constexpr int kPropertyEntries = 16;
inline constexpr int kPropertyMinSize = 8;
inline constexpr int kPropertyMaxSize = 65535;

/// Every number of an image has this many hexadecimal digits.
inline constexpr int kPropertyDigits = 4;
inline constexpr int kPropertyCountAt = 2;
inline constexpr int kPropertyFirstEntryAt = 6;

/// The text of a key begins this far behind the first byte of its entry: two numbers precede it.
inline constexpr int kPropertyTextAt = 2 * kPropertyDigits;

/// Counts and offsets above this are not believed.
inline constexpr std::uint32_t kPropertyLargestNumber = 65534;

/// What is wrong with an image, in the order in which it is looked for.
enum class PropertyFault
{
    none,
    noBuffer,
    size,
    cursor,
    head,
    end,
    count,
    offsets,
};

/// @return the digits at `offset`, upper or lower case, up to the first byte that is none; 0 without any digit.
/// Bytes behind the image are no digits, and neither are blanks and signs.
inline std::uint32_t propertyNumber(unsigned char const* bytes, int size, std::uint32_t offset)
{
    std::uint32_t number = 0;
    for (std::uint32_t at = offset; at < offset + kPropertyDigits && at < static_cast<std::uint32_t>(size); ++at)
    {
        std::uint32_t const byte = bytes[at];
        if (byte >= '0' && byte <= '9')
        {
            number = number * 16 + (byte - '0');
        }
        else if ((byte | 0x20U) >= 'a' && (byte | 0x20U) <= 'f')
        {
            number = number * 16 + ((byte | 0x20U) - 'a' + 10);
        }
        else
        {
            break;
        }
    }
    return number;
}

/// @return the text at `offset` up to its NUL or the end of the image; empty when that lies outside
inline std::string_view propertyText(unsigned char const* bytes, int size, std::uint32_t offset)
{
    if (bytes == nullptr || offset >= static_cast<std::uint32_t>(size))
    {
        return {};
    }
    std::string_view const rest(reinterpret_cast<char const*>(bytes) + offset,
                                static_cast<std::uint32_t>(size) - offset);
    return rest.substr(0, rest.find('\0'));
}

/// @return where the key of entry `index` begins: behind the numbers that follow the value before it
inline std::uint32_t propertyKeyBegin(std::uint32_t const* valueEnd, int index)
{
    return index == 0 ? kPropertyFirstEntryAt + kPropertyTextAt : valueEnd[index - 1] + 1 + kPropertyTextAt;
}

/// An image and the offsets that its entries state. It refers to the bytes and owns nothing.
struct PropertyImage
{
    unsigned char const* bytes = nullptr;
    int size = -1;  ///< capacity of `bytes`
    int used = -1;  ///< bytes before the cursor, which stands behind "ED"
    int count = -1; ///< entries, as many as the image claims to have
    std::uint32_t keyEnd[kPropertyEntries] = {};
    std::uint32_t valueEnd[kPropertyEntries] = {};

    /// @return the first check that fails
    PropertyFault fault() const
    {
        if (bytes == nullptr)
        {
            return PropertyFault::noBuffer;
        }
        if (size < kPropertyMinSize || size > kPropertyMaxSize)
        {
            return PropertyFault::size;
        }
        if (used >= size)
        {
            return PropertyFault::cursor;
        }
        if (bytes[0] != 'P' || bytes[1] != 'R')
        {
            return PropertyFault::head;
        }
        if (used < 2 || bytes[used - 2] != 'E' || bytes[used - 1] != 'D')
        {
            return PropertyFault::end;
        }
        if (count < 0 || count > kPropertyEntries)
        {
            return PropertyFault::count;
        }
        for (int entry = 0; entry < count; ++entry)
        {
            if (!endsText(keyEnd[entry]) || !endsText(valueEnd[entry]))
            {
                return PropertyFault::offsets;
            }
        }
        return PropertyFault::none;
    }

    /// @return the key of an entry, 0 <= `index` < `count` <= 16
    std::string_view keyAt(int index) const { return propertyText(bytes, size, propertyKeyBegin(valueEnd, index)); }

    /// @return the value of an entry, 0 <= `index` < `count` <= 16
    std::string_view valueAt(int index) const { return propertyText(bytes, size, keyEnd[index] + 1); }

private:
    bool endsText(std::uint32_t offset) const
    {
        return offset < static_cast<std::uint32_t>(size) && bytes[offset] == 0;
    }
};

/// Reads a received image without judging it: fault() of the result does.
/// @param size bytes at `data`, the NUL behind "ED" included
inline PropertyImage readPropertyImage(void const* data, int size)
{
    PropertyImage image;
    if (data == nullptr || size <= 0)
    {
        return image;
    }
    image.bytes = static_cast<unsigned char const*>(data);
    image.size = size;
    image.used = size - 1;

    std::uint32_t const count = propertyNumber(image.bytes, size, kPropertyCountAt);
    image.count = count > kPropertyLargestNumber ? 0 : static_cast<int>(count);

    std::uint32_t next = kPropertyFirstEntryAt;
    for (int entry = 0; entry < image.count && entry < kPropertyEntries; ++entry)
    {
        std::uint32_t const keyEnd = propertyNumber(image.bytes, size, next);
        std::uint32_t const valueEnd = propertyNumber(image.bytes, size, next + kPropertyDigits);
        image.keyEnd[entry] = keyEnd > kPropertyLargestNumber ? 0 : keyEnd;
        image.valueEnd[entry] = valueEnd > kPropertyLargestNumber ? 0 : valueEnd;
        next = image.valueEnd[entry] + 1; // offset 1 when it was not believed: what follows is unreadable then
    }
    return image;
}

/// A received group for readers that report a broken one instead of ending the process.
/// Allocates nothing; the bytes must outlive it.
class PropertyView
{
public:
    struct Entry
    {
        std::string_view key;
        std::string_view value;
    };

    class Iterator
    {
    public:
        Iterator(PropertyView const& view, int index)
            : m_view(&view)
            , m_index(index)
        {
        }

        Entry operator*() const { return m_view->at(m_index); }

        Iterator& operator++()
        {
            ++m_index;
            return *this;
        }

        bool operator!=(Iterator const& other) const { return m_index != other.m_index; }

    private:
        PropertyView const* m_view;
        int m_index;
    };

    PropertyView(void const* data, int size)
        : m_image(readPropertyImage(data, size))
        , m_fault(m_image.fault())
    {
    }

    /// @return none for an image that a group accepts, noBuffer also for no bytes at all
    static PropertyFault check(void const* data, int size) { return readPropertyImage(data, size).fault(); }

    PropertyFault fault() const { return m_fault; }

    /// @return the number of entries, 0 for a broken image
    int count() const { return m_fault == PropertyFault::none ? m_image.count : 0; }

    /// @return an entry, 0 <= `index` < count()
    Entry at(int index) const { return {m_image.keyAt(index), m_image.valueAt(index)}; }

    /// @return the value of the first entry with this key, empty when there is none
    std::string_view get(std::string_view key) const
    {
        for (Entry const entry : *this)
        {
            if (!key.empty() && entry.key == key)
            {
                return entry.value;
            }
        }
        return {};
    }

    Iterator begin() const { return {*this, 0}; }
    Iterator end() const { return {*this, count()}; }

private:
    PropertyImage m_image;
    PropertyFault m_fault;
};

} // namespace tz::orvane::protocol
