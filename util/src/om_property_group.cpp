// SPDX-License-Identifier: Apache-2.0
// The property group: builds its image entry by entry and takes over received ones.
#include "orvane/om_property_group.h"

#include "om_property_image.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <type_traits>

namespace tz::orvane::om
{

namespace
{

static_assert(OmPropertyGroup::kMaxEntries == protocol::kPropertyEntries);
static_assert(std::is_same_v<unsigned int, std::uint32_t>, "the tables of group and reader are copied as they are");

constexpr char kHead[] = {'P', 'R'};
constexpr char kEnd[] = {'E', 'D'};
constexpr int kInitialSize = 16;

/// Bytes of an entry besides its texts, and the NUL behind the end marker.
constexpr long long kEntryOverhead = protocol::kPropertyTextAt + 2 + 1;

void putNumber(unsigned char* target, unsigned int number)
{
    for (int shift = 4 * (protocol::kPropertyDigits - 1); shift >= 0; shift -= 4)
    {
        *target++ = static_cast<unsigned char>("0123456789abcdef"[(number >> shift) & 0xFU]);
    }
}

void report(protocol::PropertyFault fault, protocol::PropertyImage const& image)
{
    using protocol::PropertyFault;
    switch (fault)
    {
    case PropertyFault::noBuffer:
        std::printf("[PRG][ERR] Invalid content! m_arr=NULL\n");
        break;
    case PropertyFault::size:
        std::printf("[PRG][ERR] Invalid content! msize=%d\n", image.size);
        break;
    case PropertyFault::cursor:
        std::printf("[PRG][ERR] Invalid content! m_pos=%p, m_arr=%p, pos-offset=%u\n",
                    static_cast<void const*>(image.bytes + image.used), static_cast<void const*>(image.bytes),
                    static_cast<unsigned int>(image.used) + 1U);
        break;
    case PropertyFault::head:
        std::printf("[PRG][ERR] Invalid HEAD!\n");
        break;
    case PropertyFault::end:
    {
        std::string_view const end =
            protocol::propertyText(image.bytes, image.size, static_cast<std::uint32_t>(image.used - 2));
        std::printf("[PRG][ERR] Invalid END! end=%.*s\n", static_cast<int>(end.size()), end.data());
        break;
    }
    case PropertyFault::count:
        std::printf("[PRG][ERR] Invalid content! m_num=%d\n", image.count);
        break;
    case PropertyFault::none:
    case PropertyFault::offsets:
        break;
    }
    std::fflush(stdout);
}

} // namespace

OmPropertyGroup::OmPropertyGroup()
    : m_arr(std::make_unique<unsigned char[]>(kInitialSize))
    , m_pos(m_arr.get())
    , m_size(kInitialSize)
    , m_num(0)
{
    m_pos = std::copy(std::begin(kHead), std::end(kHead), m_pos);
    putNumber(m_pos, 0);
    m_pos = std::copy(std::begin(kEnd), std::end(kEnd), m_pos + protocol::kPropertyDigits);
    validate();
}

OmPropertyGroup::OmPropertyGroup(void const* data, int length)
{
    if (data == nullptr || length <= 0)
    {
        return;
    }
    m_arr = std::make_unique<unsigned char[]>(static_cast<std::size_t>(length));
    std::memcpy(m_arr.get(), data, static_cast<std::size_t>(length));
    protocol::PropertyImage const image = protocol::readPropertyImage(m_arr.get(), length);
    m_pos = m_arr.get() + image.used;
    m_size = image.size;
    m_num = image.count;
    std::copy(std::begin(image.keyEnd), std::end(image.keyEnd), m_keyEnd);
    std::copy(std::begin(image.valueEnd), std::end(image.valueEnd), m_valueEnd);
    validate();
}

OmPropertyGroup::~OmPropertyGroup()
{
    if (m_arr != nullptr)
    {
        explicit_bzero(m_arr.get(), static_cast<std::size_t>(m_size)); // a memset here would be optimised away
    }
}

OmPropertyGroup& OmPropertyGroup::add(char const* key, char const* value)
{
    if (key == nullptr || value == nullptr || m_arr == nullptr)
    {
        return *this;
    }
    std::size_t const keyLength = std::strlen(key);
    std::size_t const valueLength = std::strlen(value);
    // Room is made before the entry is refused, too. The former buffer lives on while the texts may lie in it.
    Buffer const former =
        makeRoom(static_cast<long long>(keyLength) + static_cast<long long>(valueLength) + used() + kEntryOverhead);
    if (m_num >= kMaxEntries || keyLength == 0 || valueLength == 0)
    {
        return *this;
    }

    int const entry = m_num++;
    putNumber(m_arr.get() + protocol::kPropertyCountAt, static_cast<unsigned int>(m_num));
    unsigned char* const numbers = m_pos - sizeof kEnd;
    m_pos = numbers + protocol::kPropertyTextAt;
    m_keyEnd[entry] = append(key, keyLength);
    m_valueEnd[entry] = append(value, valueLength);
    putNumber(numbers, m_keyEnd[entry]);
    putNumber(numbers + protocol::kPropertyDigits, m_valueEnd[entry]);
    m_pos = std::copy(std::begin(kEnd), std::end(kEnd), m_pos);
    validate();
    return *this;
}

OmPropertyGroup& OmPropertyGroup::add(OmString const& key, OmString const& value)
{
    if (key.empty() || value.empty())
    {
        return *this;
    }
    return add(key.c_str(), value.c_str());
}

OmString OmPropertyGroup::keyAt(int index) const
{
    if (index < 0 || index >= m_num)
    {
        return {};
    }
    return OmString(protocol::propertyText(m_arr.get(), m_size, protocol::propertyKeyBegin(m_valueEnd, index)));
}

OmString OmPropertyGroup::valueAt(int index) const
{
    if (index < 0 || index >= m_num)
    {
        return {};
    }
    return OmString(protocol::propertyText(m_arr.get(), m_size, m_keyEnd[index] + 1));
}

int OmPropertyGroup::count() const
{
    return m_num;
}

OmString OmPropertyGroup::get(char const* key) const
{
    return key == nullptr ? OmString() : get(OmString(key));
}

OmString OmPropertyGroup::get(OmString const& key) const
{
    int const index = key.empty() ? -1 : indexOf(key);
    return index == -1 ? OmString() : valueAt(index);
}

int OmPropertyGroup::indexOf(OmString const& key) const
{
    for (int index = 0; index < m_num && !key.empty(); ++index)
    {
        if (protocol::propertyText(m_arr.get(), m_size, protocol::propertyKeyBegin(m_valueEnd, index)) == key)
        {
            return index;
        }
    }
    return -1;
}

void OmPropertyGroup::getData(char** data, int* length) const
{
    *data = reinterpret_cast<char*>(m_arr.get());
    *length = m_arr == nullptr ? 0 : used() + 1;
}

OmPropertyGroup& OmPropertyGroup::operator=(OmPropertyGroup const& group)
{
    if (group.m_arr == nullptr)
    {
        std::printf("[PRG][ERR] Invalid content!, group.m_arr=%p, group.m_size=%d.\n", static_cast<void*>(nullptr),
                    group.m_size);
        return *this;
    }
    if (this == &group)
    {
        return *this;
    }
    if (m_size < group.m_size)
    {
        m_arr = std::make_unique<unsigned char[]>(static_cast<std::size_t>(group.m_size));
        m_size = group.m_size;
    }
    unsigned char* const tail = std::copy_n(group.m_arr.get(), group.m_size, m_arr.get());
    std::fill_n(tail, m_size - group.m_size, static_cast<unsigned char>(0));
    m_pos = m_arr.get() + group.used();
    m_num = group.m_num;
    std::copy(std::begin(group.m_keyEnd), std::end(group.m_keyEnd), m_keyEnd);
    std::copy(std::begin(group.m_valueEnd), std::end(group.m_valueEnd), m_valueEnd);
    validate();
    return *this;
}

/// Doubles the buffer, or more, when it holds less than `needed` bytes. @return the former buffer if it was replaced
OmPropertyGroup::Buffer OmPropertyGroup::makeRoom(long long needed)
{
    if (m_size >= needed)
    {
        return nullptr;
    }
    long long const size = std::max(2LL * m_size, needed);
    if (size > INT_MAX)
    {
        m_size = INT_MAX;
        validate(); // ends the process: no group is that large
    }
    Buffer arr = std::make_unique<unsigned char[]>(static_cast<std::size_t>(size));
    std::copy_n(m_arr.get(), m_size, arr.get());
    m_pos = arr.get() + used();
    m_size = static_cast<int>(size);
    m_arr.swap(arr);
    return arr;
}

/// Puts a text and its NUL at the cursor. @return the offset of the NUL
unsigned int OmPropertyGroup::append(char const* text, std::size_t length)
{
    m_pos = std::copy_n(reinterpret_cast<unsigned char const*>(text), length, m_pos);
    auto const end = static_cast<unsigned int>(used());
    *m_pos++ = 0;
    return end;
}

int OmPropertyGroup::used() const
{
    return static_cast<int>(m_pos - m_arr.get());
}

void OmPropertyGroup::validate() const
{
    protocol::PropertyImage image;
    image.bytes = m_arr.get();
    image.size = m_size;
    image.used = used();
    image.count = m_num;
    std::copy(std::begin(m_keyEnd), std::end(m_keyEnd), image.keyEnd);
    std::copy(std::begin(m_valueEnd), std::end(m_valueEnd), image.valueEnd);
    protocol::PropertyFault const fault = image.fault();
    if (fault != protocol::PropertyFault::none)
    {
        report(fault, image);
        std::abort();
    }
}

} // namespace tz::orvane::om
