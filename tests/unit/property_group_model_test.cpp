// SPDX-License-Identifier: Apache-2.0
// The property group and its reader against slow models of both, over pseudo-random groups and damaged images.
#include "om_property_image.h"
#include "orvane/om_property_group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::om
{

namespace
{

using protocol::PropertyFault;

std::string hex(std::size_t number)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%04zx", number);
    return digits;
}

// A group as a list of pairs; its image is put together from scratch each time.
struct ModelGroup
{
    std::vector<std::pair<std::string, std::string>> entries;
    std::size_t capacity = 16;

    std::string image() const
    {
        std::string text = "PR" + hex(entries.size());
        for (auto const& [key, value] : entries)
        {
            std::size_t const keyEnd = text.size() + 8 + key.size();
            text += hex(keyEnd) + hex(keyEnd + 1 + value.size()) + key + '\0' + value + '\0';
        }
        return text + "ED" + '\0';
    }

    void add(std::string const& key, std::string const& value)
    {
        std::size_t const needed = value.size() + key.size() + (image().size() - 1) + 11;
        if (capacity < needed)
        {
            capacity = std::max(2 * capacity, needed);
        }
        if (entries.size() < 16 && !key.empty() && !value.empty())
        {
            entries.emplace_back(key, value);
        }
    }

    int indexOf(std::string const& key) const
    {
        for (std::size_t i = 0; i < entries.size(); ++i)
        {
            if (entries[i].first == key)
            {
                return static_cast<int>(i);
            }
        }
        return -1;
    }
};

// A received image read with the standard library's means.
struct ModelReading
{
    explicit ModelReading(std::string received)
        : image(std::move(received))
        , count(believed(number(2)))
    {
        std::size_t next = 6;
        for (std::size_t i = 0; i < std::min<std::size_t>(count, 16); ++i)
        {
            keyEnd.push_back(believed(number(next)));
            std::size_t const end = number(next + 4);
            valueEnd.push_back(believed(end));
            next = end > 65534 ? 1 : end + 1;
        }
    }

    std::size_t number(std::size_t at) const
    {
        std::string const digits = at < image.size() ? image.substr(at, 4) : "";
        return std::strtoul(("0x" + digits).c_str(), nullptr, 16);
    }

    static std::size_t believed(std::size_t number) { return number > 65534 ? 0 : number; }

    PropertyFault fault() const
    {
        if (image.size() < 8 || image.size() > 65535)
        {
            return PropertyFault::size;
        }
        if (image.substr(0, 2) != "PR")
        {
            return PropertyFault::head;
        }
        if (image.substr(image.size() - 3, 2) != "ED")
        {
            return PropertyFault::end;
        }
        if (count > 16)
        {
            return PropertyFault::count;
        }
        auto const wrong = [this](std::size_t end) { return end >= image.size() || image[end] != '\0'; };
        return std::any_of(keyEnd.begin(), keyEnd.end(), wrong) || std::any_of(valueEnd.begin(), valueEnd.end(), wrong)
                   ? PropertyFault::offsets
                   : PropertyFault::none;
    }

    std::string text(std::size_t at) const { return at < image.size() ? std::string(image.c_str() + at) : ""; }
    std::string keyAt(std::size_t i) const { return text(i == 0 ? 14 : valueEnd[i - 1] + 9); }
    std::string valueAt(std::size_t i) const { return text(keyEnd[i] + 1); }

    std::string image;
    std::size_t count;
    std::vector<std::size_t> keyEnd;
    std::vector<std::size_t> valueEnd;
};

class Random
{
public:
    explicit Random(unsigned int seed)
        : m_engine(seed)
    {
    }

    std::size_t below(std::size_t bound) { return m_engine() % bound; }

    std::string text(std::size_t longest)
    {
        std::string text(below(longest + 1), '\0');
        for (char& byte : text)
        {
            byte = static_cast<char>(1 + below(255));
        }
        return text;
    }

private:
    std::mt19937 m_engine;
};

std::string image(OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    return {data, static_cast<std::size_t>(length)};
}

char const* buffer(OmPropertyGroup const& group)
{
    char* data = nullptr;
    int length = 0;
    group.getData(&data, &length);
    return data;
}

void damage(std::string& image, Random& random)
{
    static std::string const telling = "0123456789abcdefABCDEFxX PRED-+";
    std::size_t const at = random.below(image.size());
    switch (random.below(6))
    {
    case 0:
        image[at] = static_cast<char>(random.below(256));
        break;
    case 1:
        image[at] = telling[random.below(telling.size())];
        break;
    case 2:
        image[at] = '\0';
        break;
    case 3: // the count
        image.replace(std::min<std::size_t>(2, image.size() - 1), 4, hex(random.below(20)));
        break;
    case 4: // an offset of the first entry
        image.replace(std::min<std::size_t>(6 + 4 * random.below(2), image.size() - 1), 4,
                      hex(random.below(8) == 0 ? 65535 : random.below(image.size() + 2)));
        break;
    default:
        image.resize(std::max<std::size_t>(1, at));
        break;
    }
}

void compareReadings(std::string const& received, PropertyFault& fault)
{
    std::vector<char> const exact(received.begin(), received.end()); // an overrun leaves its heap block
    int const size = static_cast<int>(exact.size());
    ModelReading const model(received);
    fault = model.fault();

    protocol::PropertyImage const image = protocol::readPropertyImage(exact.data(), size);
    ASSERT_EQ(image.fault(), fault);
    ASSERT_EQ(static_cast<std::size_t>(image.count), model.count);
    for (std::size_t i = 0; i < model.keyEnd.size(); ++i)
    {
        ASSERT_EQ(image.keyEnd[i], model.keyEnd[i]);
        ASSERT_EQ(image.valueEnd[i], model.valueEnd[i]);
    }
    if (fault != PropertyFault::none)
    {
        return;
    }

    OmPropertyGroup const group(exact.data(), size);
    protocol::PropertyView const view(exact.data(), size);
    ASSERT_EQ(group.count(), image.count);
    ASSERT_EQ(view.count(), image.count);
    for (int i = 0; i < image.count; ++i)
    {
        std::string const key = model.keyAt(static_cast<std::size_t>(i));
        std::string const value = model.valueAt(static_cast<std::size_t>(i));
        ASSERT_EQ(group.keyAt(i), key);
        ASSERT_EQ(group.valueAt(i), value);
        ASSERT_EQ(view.at(i).key, key);
        ASSERT_EQ(view.at(i).value, value);
        ASSERT_EQ(view.get(key), group.get(key));
    }
}

TEST(OmPropertyGroupModel, groupsBuiltAtRandomAgree)
{
    Random random(1);
    for (int round = 0; round < 3000; ++round)
    {
        OmPropertyGroup group;
        ModelGroup model;
        std::size_t const adds = random.below(20);
        for (std::size_t i = 0; i < adds; ++i)
        {
            std::string const key = random.text(random.below(4) == 0 ? 200 : 6);
            std::string const value = random.text(random.below(4) == 0 ? 900 : 12);
            char const* const before = buffer(group);
            std::size_t const capacity = model.capacity;
            group.add(key.c_str(), value.c_str());
            model.add(key, value);
            ASSERT_EQ(image(group), model.image()) << "round " << round;
            ASSERT_EQ(buffer(group) != before, model.capacity != capacity) << "round " << round;
        }
        ASSERT_EQ(static_cast<std::size_t>(group.count()), model.entries.size());
        for (std::size_t i = 0; i < model.entries.size(); ++i)
        {
            ASSERT_EQ(group.keyAt(static_cast<int>(i)), model.entries[i].first);
            ASSERT_EQ(group.valueAt(static_cast<int>(i)), model.entries[i].second);
            ASSERT_EQ(group.indexOf(model.entries[i].first), model.indexOf(model.entries[i].first));
        }
    }
}

TEST(OmPropertyGroupModel, assignedGroupsGoOnAsTheirSource)
{
    Random random(2);
    for (int round = 0; round < 3000; ++round)
    {
        OmPropertyGroup source;
        OmPropertyGroup target;
        for (std::size_t i = random.below(18); i > 0; --i)
        {
            (random.below(2) == 0 ? source : target).add(random.text(9), random.text(random.below(2) == 0 ? 9 : 99));
        }
        target = source;
        ASSERT_EQ(image(target), image(source)) << "round " << round;
        std::string const key = random.text(9);
        std::string const value = random.text(99);
        source.add(key, value);
        target.add(key, value);
        ASSERT_EQ(image(target), image(source)) << "round " << round;
    }
}

TEST(OmPropertyGroupModel, damagedImagesAreReadAlike)
{
    Random random(3);
    std::set<PropertyFault> seen;
    for (int round = 0; round < 60000; ++round)
    {
        ModelGroup model;
        for (std::size_t i = random.below(5); i > 0; --i)
        {
            model.add(random.text(5), random.text(7));
        }
        std::string received = model.image();
        for (std::size_t i = random.below(4); i > 0; --i)
        {
            damage(received, random);
        }
        PropertyFault fault = PropertyFault::none;
        ASSERT_NO_FATAL_FAILURE(compareReadings(received, fault)) << "round " << round;
        seen.insert(fault);
    }
    EXPECT_EQ(seen, (std::set<PropertyFault>{PropertyFault::none, PropertyFault::size, PropertyFault::head,
                                             PropertyFault::end, PropertyFault::count, PropertyFault::offsets}));
}

TEST(OmPropertyGroupModel, shortImagesOfTellingBytesAreReadAlike)
{
    Random random(4);
    std::string const telling("PRED0123fF\0", 11);
    int good = 0;
    for (int round = 0; round < 60000; ++round)
    {
        std::string received = "PR000" + std::string(1, telling[4 + random.below(4)]);
        for (std::size_t i = random.below(24); i > 0; --i)
        {
            received += telling[random.below(3) == 0 ? random.below(telling.size()) : 4 + random.below(2)];
        }
        for (std::size_t i = random.below(6); i > 0; --i)
        {
            received += '\0';
        }
        received += std::string("ED\0", 3);
        PropertyFault fault = PropertyFault::none;
        ASSERT_NO_FATAL_FAILURE(compareReadings(received, fault)) << "round " << round;
        good += fault == PropertyFault::none ? 1 : 0;
    }
    EXPECT_GT(good, 1000);
}

} // namespace

} // namespace tz::orvane::om
