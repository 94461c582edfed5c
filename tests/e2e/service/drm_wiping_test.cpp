// SPDX-License-Identifier: Apache-2.0
// Nothing of a license is left in memory that the service has given back, nor in the message that brought it.
#include "drm_agent.h"
#include "drm_license.h"
#include "preview_pool.h"
#include "service.h"
#include "session.h"
#include "wiping_allocator.h"

#include "om_protocol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <string_view>
#include <sys/mman.h>

namespace
{

bool s_watching = false;
int s_found = 0;

/// A key as text, in escapes, and as bytes; each in parts, because a part of it is bad enough.
constexpr char const* kParts[] = {"tQ0bJVWb",
                                  "6b0KPL6K",
                                  "tZIy_A",
                                  "\\u0074\\u0051",
                                  "\\u004b\\u0050",
                                  "\xb5\x0d\x1b\x25\x55\x9b\xe9",
                                  "\x0a\x3c\xbe\x8a\xb5\x92\x32"};

bool holdsKey(void const* memory, std::size_t size)
{
    return std::any_of(std::begin(kParts), std::end(kParts),
                       [&](char const* part) { return memmem(memory, size, part, std::strlen(part)) != nullptr; });
}

void giveBack(void* memory) noexcept
{
    if (s_watching && memory != nullptr && holdsKey(memory, malloc_usable_size(memory)))
    {
        ++s_found;
    }
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size)
{
    // Nothing of what was there before, which is looked at elsewhere.
    if (void* const memory = std::calloc(1, std::max<std::size_t>(size, 1)))
    {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    giveBack(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    giveBack(memory);
}

namespace tz::orvane::service
{
namespace
{

/// Looks at all memory that is given back while it lives.
class Watch
{
public:
    Watch()
    {
        s_found = 0;
        s_watching = true;
    }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;
    ~Watch() { s_watching = false; }

    int found() const
    {
        s_watching = false;
        return s_found;
    }
};

constexpr std::size_t kPage = 4096;

constexpr char kKey[] = R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":"LwVHf8JLtPrv2GUXFW2v_A"})";

std::string escapedKey()
{
    std::string const digits = "tQ0bJVWb6b0KPL6KtZIy_A";
    std::string text;
    for (char const digit : digits)
    {
        char escape[7];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned int>(digit));
        text += escape;
    }
    return R"({"kty":"oct","k":")" + text + R"(","kid":"LwVHf8JLtPrv2GUXFW2v_A"})";
}

std::string licenseOf(std::string const& keys, std::string const& more = {})
{
    return "{\"keys\":[" + keys + "]" + more + "}";
}

TEST(DrmWiping, theseTestsFindKeysThatWereLeft)
{
    for (std::string const& secret :
         {std::string(kKey), escapedKey(), std::string("\x0a\x3c\xbe\x8a\xb5\x92\x32 is a part of it")})
    {
        Watch const watch;
        EXPECT_EQ((secret + " and more").back(), 'e');
        EXPECT_GT(watch.found(), 0) << secret;
    }
}

TEST(DrmWiping, ofLicensesThatAreTakenNothingIsLeft)
{
    std::string const key = kKey;
    for (std::string const& text :
         {licenseOf(key), licenseOf(escapedKey()), licenseOf(key + "," + key), licenseOf(key, R"(,"type":"temporary")"),
          licenseOf(key, ",\"again\":[[" + key + ",{\"deep\":" + escapedKey() + "}]]"),
          licenseOf(key, ",\"keys\":[" + key + "]"), licenseOf(R"({"k":"tQ0bJVWb6b0KPL6KtZIy_A",)" + key.substr(1)),
          licenseOf(R"({"tQ0bJVWb6b0KPL6KtZIy_A":"tQ0bJVWb6b0KPL6KtZIy_A",)" + escapedKey().substr(1)),
          licenseOf(key,
                    ",\"long\":\"" + std::string(3000, 'x') + "tQ0bJVWb6b0KPL6KtZIy_A" + std::string(90, 'x') + '"'),
          std::string(60, '\n') + licenseOf(key) + std::string(60, ' ')})
    {
        DrmKeys keys;
        Watch const watch;
        EXPECT_EQ(readLicense(text, keys), 0);
        keys.clear();
        EXPECT_EQ(watch.found(), 0) << text;
    }
}

TEST(DrmWiping, ofLicensesThatAreRefusedNothingIsLeft)
{
    std::string const key = kKey;
    std::string const keyAtTheEnd = R"({"kty":"oct","kid":"LwVHf8JLtPrv2GUXFW2v_A","k":"tQ0bJVWb6b0KPL6KtZIy_A"})";
    constexpr char kNul = '\0';
    std::string const whole = licenseOf(key + "," + escapedKey(), ",\"other\":" + key);
    std::vector<std::string> texts{licenseOf(key, R"(,"type":"persistent-license")"),
                                   licenseOf(key, R"(,"type":1)"),
                                   licenseOf(key + ",1"),
                                   key,
                                   '"' + whole,
                                   "\xef\xbb\xbf" + whole,
                                   licenseOf(R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A\ud800","kid":"x"})"),
                                   licenseOf(R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A\u00g1","kid":"x"})"),
                                   licenseOf(R"({"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A\x","kid":"x"})"),
                                   licenseOf("{\"k\":\"tQ0bJVWb6b0KPL6KtZIy_A\xff\"}"),
                                   licenseOf("{\"k\":\"tQ0bJVWb6b0KPL6KtZIy_A\n\"}"),
                                   licenseOf(R"({"k":tQ0bJVWb6b0KPL6KtZIy_A})"),
                                   licenseOf(key, R"(,"tail":1e999)"),
                                   licenseOf(key) + "x",
                                   licenseOf(key) + kNul,
                                   licenseOf(keyAtTheEnd) + kNul,
                                   licenseOf(keyAtTheEnd) + kNul + "more",
                                   licenseOf(keyAtTheEnd + kNul),
                                   licenseOf(key) + ',' + licenseOf(key),
                                   licenseOf(key) + "],[" + licenseOf(key)};
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        texts.push_back(whole.substr(0, size));
        texts.push_back(whole.substr(0, size) + "\"" + whole.substr(size));
    }
    int refused = 0;
    for (std::string const& text : texts)
    {
        DrmKeys keys;
        Watch const watch;
        refused += readLicense(text, keys) < 0 ? 1 : 0;
        keys.clear();
        EXPECT_EQ(watch.found(), 0) << text;
    }
    EXPECT_EQ(refused, static_cast<int>(texts.size()));
}

TEST(DrmWiping, ofKeysThatWereForgottenNothingIsLeft)
{
    auto agent = std::make_unique<DrmAgent>([](DrmEvent const&) {}, [] {});
    std::string out;
    std::string const license = licenseOf(kKey);
    Watch const watch;
    ASSERT_EQ(agent->operate(protocol::kCmdDrmPluginCreate, {}, out), 0);
    auto const update = [&]
    {
        ASSERT_EQ(agent->operate(protocol::kCmdDrmInitialize, {}, out), 0);
        ASSERT_EQ(agent->operate(protocol::kCmdDrmOpenSession, {}, out), 0);
        WipedText const message = WipedText(out) + license.c_str();
        ASSERT_EQ(agent->operate(protocol::kCmdDrmUpdateSession, message, out), 0);
        ASSERT_EQ(agent->operate(protocol::kCmdDrmUpdateSession, message, out), 0);
    };
    update();
    ASSERT_EQ(agent->operate(protocol::kCmdDrmCleanup, {}, out), 0);
    update();
    agent.reset();
    EXPECT_EQ(watch.found(), 0);
}

/// A connection without anybody at its other end.
class DrmWipedMessages : public testing::Test, private mdt::MdtsHandler
{
protected:
    DrmWipedMessages()
        : m_messenger(m_loop, *this)
        , m_screen(m_loop, m_settings)
        , m_screenshots(m_loop, m_screen)
        , m_jobs(m_loop)
        , m_frames(m_loop)
        , m_pool(m_loop)
        , m_session(
              {m_loop, m_screen, m_screenshots, m_yard, m_jobs, std::make_shared<JobShare>(), m_frames, m_settings},
              {m_pool, m_tools}, m_messenger, m_players, {kCnid, 1, 1, 1, "nobody", 0})
    {
    }

    /// @return whether nothing of its argument is left in a message that was handled
    bool isWiped(unsigned int object, int code)
    {
        mdt::MsgData message(kCnid, static_cast<int>(object), code, protocol::kTypeQuery);
        std::string const license = std::string("\1\0\0\0", 4) + licenseOf(kKey);
        message.writeData(license.data(), static_cast<unsigned short>(license.size()));
        m_session.handle(message, mdt::MdtsCall());
        void* data = nullptr;
        int size = 0;
        EXPECT_EQ(message.read(0, &data, &size), 0);
        EXPECT_EQ(size, static_cast<int>(license.size()));
        return std::string(static_cast<char const*>(data), static_cast<std::size_t>(size)) ==
               std::string(license.size(), '\0');
    }

    /// Hands over a message whose license is a block, and so where the client has put it.
    void handleBlock(unsigned int object, std::string_view license)
    {
        mdt::MsgData message(kCnid, static_cast<int>(object), protocol::kCmdDrmUpdateSession, protocol::kTypeQuery);
        message.writeUInt32(1);
        message.writeBlockData(const_cast<char*>(license.data()), static_cast<int>(license.size()));
        message.writeData(kKey, sizeof kKey);
        m_session.handle(message, mdt::MdtsCall());
        void* behind = nullptr;
        EXPECT_EQ(message.read(2, &behind, nullptr), 0);
        EXPECT_EQ(std::string(static_cast<char const*>(behind), sizeof kKey), std::string(sizeof kKey, '\0'));
    }

    unsigned int makeAgent()
    {
        mdt::MsgData create(kCnid, 0, protocol::kCmdCreateDrmAgent, protocol::kTypeQuery);
        create.writeUInt32(om::OM_DRM_TYPE_CLEARKEY);
        m_session.handle(create, mdt::MdtsCall());
        return protocol::kDrmAgentIds.first;
    }

private:
    int onConnect(mdt::MdtsPeer const&) override { return 0; }
    void onDisconnect(int) override {}
    void onMessage(mdt::MsgData&, mdt::MdtsCall const&) override {}

    static constexpr int kCnid = 0x1000;

    platform::EventLoop m_loop;
    Settings m_settings;
    mdt::MdtsMessenger m_messenger;
    Screen m_screen;
    Screenshots m_screenshots;
    DeckYard m_yard;
    JobYard m_jobs;
    FrameCourier m_frames;
    PreviewPool m_pool;
    ObjectIds m_players{protocol::kPlayerIds, 1};
    ObjectIds m_tools{protocol::kPreviewToolIds, 1};
    Session m_session;
};

TEST_F(DrmWipedMessages, areAllThatBringLicensesWhoeverTheyWereFor)
{
    unsigned int const agent = makeAgent();
    EXPECT_TRUE(isWiped(agent, protocol::kCmdDrmUpdateSession)) << "it is not ready";
    EXPECT_TRUE(isWiped(agent + 1, protocol::kCmdDrmUpdateSession)) << "there is no such agent";
    EXPECT_TRUE(isWiped(protocol::kPlayerIds.first, protocol::kCmdDrmUpdateSession)) << "a player takes no license";
    EXPECT_TRUE(isWiped(0, protocol::kCmdDrmUpdateSession));
    EXPECT_FALSE(isWiped(agent, protocol::kCmdDrmDecrypt)) << "not a license";
}

TEST_F(DrmWipedMessages, areNotWipedWhereTheyAreTheClientsMemory)
{
    unsigned int const agent = makeAgent();
    void* const readable = mmap(nullptr, kPage, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(readable, MAP_FAILED);
    for (unsigned int const object : {agent, agent + 1, protocol::kPlayerIds.first, 0U})
    {
        handleBlock(object, {static_cast<char const*>(readable), kPage});
    }
    munmap(readable, kPage);
}

} // namespace
} // namespace tz::orvane::service
