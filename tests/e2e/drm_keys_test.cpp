// SPDX-License-Identifier: Apache-2.0
// Keys of DRM agents: what they decrypt, which of two is taken, and what wrong ones do.
#include "support/drm_user.h"
#include "support/protected_film.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <sys/resource.h>

namespace tz::orvane::test
{
namespace
{

using testing::AnyOf;

class DrmKeys : public WithService
{
};

std::string fromHex(std::string const& digits)
{
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
    {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

// NIST SP 800-38A, appendix F: the key and four blocks, and what they are in the modes CTR (F.5.1) and CBC (F.2.1).
constexpr char kKey[] = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr char kKeyLicense[] =
    R"({"keys":[{"kty":"oct","k":"K34VFiiu0qar9xWICc9PPA","kid":"bmlzdG5pc3RuaXN0bmlzdA"}]})";
constexpr char kKeyId[] = "nistnistnistnist";
std::string const kPlain = fromHex("6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
                                   "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
std::string const kCounter = fromHex("f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff");
std::string const kCtr = fromHex("874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
                                 "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee");
std::string const kChain = fromHex("000102030405060708090a0b0c0d0e0f");
std::string const kCbc = fromHex("7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                                 "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7");

struct Pattern
{
    std::uint32_t crypt = 0;
    std::uint32_t skip = 0;
};

/// The buffer of `decrypt` in front of the data.
std::string cryptoOf(om::om_drm_scheme_e scheme, std::string const& iv, Pattern pattern = {},
                     std::vector<om::om_drm_subsample_t> const& subsamples = {})
{
    om::om_drm_crypto_t record{};
    record.scheme = scheme;
    std::memcpy(record.key_id, kKeyId, sizeof record.key_id);
    std::memcpy(record.iv, iv.data(), iv.size());
    record.iv_size = static_cast<std::uint32_t>(iv.size());
    record.crypt_blocks = pattern.crypt;
    record.skip_blocks = pattern.skip;
    record.subsamples = static_cast<std::uint32_t>(subsamples.size());
    std::string buffer = bytesOf(record);
    for (om::om_drm_subsample_t const& subsample : subsamples)
    {
        buffer += bytesOf(subsample);
    }
    return buffer;
}

/// An agent with the key of the vectors.
class Decryptor
{
public:
    Decryptor()
        : m_user(m_viewer)
    {
        EXPECT_EQ(m_user.license(m_user.openSession(), kKeyLicense), 0);
    }

    std::string operator()(std::string const& crypto, std::string const& data)
    {
        EXPECT_EQ(m_user.call(&om::OmIDrmAgent::decrypt, crypto + data), 0);
        return m_user.answer();
    }

private:
    Viewer m_viewer;
    DrmUser m_user;
};

TEST_F(DrmKeys, decryptTheBlocksThatArePublishedForCounterMode)
{
    Decryptor decrypted;
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CENC, kCounter), kCtr), kPlain);
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CENC, kCounter, {}, {{2, 5}, {1, 30}, {0, 29}, {3, 0}}),
                        "ab" + kCtr.substr(0, 5) + "c" + kCtr.substr(5, 30) + kCtr.substr(35) + "end"),
              "ab" + kPlain.substr(0, 5) + "c" + kPlain.substr(5, 30) + kPlain.substr(35) + "end");
}

TEST_F(DrmKeys, decryptTheBlocksThatArePublishedForChainedBlocks)
{
    Decryptor decrypted;
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CBCS, kChain), kCbc), kPlain);
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CBCS, kChain, {10, 0}), kCbc + "tail"), kPlain + "tail");

    // One block of ten; the chain goes on over the nine that are clear, and begins anew in the second subsample.
    std::string const gap(std::size_t{9} * 16, 'g');
    auto const spread = [&](std::string const& blocks)
    { return blocks.substr(0, 16) + gap + blocks.substr(16, 16) + gap + blocks.substr(32, 16); };
    auto const size = static_cast<std::uint32_t>(spread(kCbc).size());
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CBCS, kChain, {1, 9}, {{3, size}, {1, 16}}),
                        "abc" + spread(kCbc) + "d" + kCbc.substr(0, 16)),
              "abc" + spread(kPlain) + "d" + kPlain.substr(0, 16));
}

/// Encrypts with another program.
std::string encrypted(std::string const& folder, std::string const& mode, std::string const& iv,
                      std::string const& data)
{
    std::string const from = folder + "/clear";
    std::string const to = folder + "/encrypted";
    std::ofstream(from, std::ios::binary) << data;
    std::string vector;
    for (char const byte : iv)
    {
        constexpr char kDigits[] = "0123456789abcdef";
        auto const value = static_cast<unsigned char>(byte);
        vector += {kDigits[value >> 4U], kDigits[value & 15U]};
    }
    ToolProcess tool(
        {"/usr/bin/env", "openssl", "enc", "-e", mode, "-K", kKey, "-iv", vector, "-nopad", "-in", from, "-out", to});
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    return fileContent(to);
}

std::string someBytes(std::size_t size)
{
    unsigned int state = 1;
    std::string bytes;
    while (bytes.size() < size)
    {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

TEST_F(DrmKeys, decryptWhatAnotherProgramHasEncrypted)
{
    Decryptor decrypted;
    std::string const folder = m_directory.path();
    std::string const clear = someBytes(30'000);
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CENC, "shortone"),
                        encrypted(folder, "-aes-128-ctr", "shortone" + std::string(8, '\0'), clear)),
              clear);

    // Every tenth block, with a rest that is none; the other program knows no patterns.
    std::string blocks;
    for (std::size_t at = 0; at + 16 <= clear.size(); at += 160)
    {
        blocks += clear.substr(at, 16);
    }
    std::string const chain = encrypted(folder, "-aes-128-cbc", kChain, blocks);
    ASSERT_EQ(chain.size(), blocks.size());
    std::string film = clear + "rest";
    for (std::size_t at = 0; at < chain.size() / 16; ++at)
    {
        film.replace(at * 160, 16, chain, at * 16, 16);
    }
    ASSERT_NE(film, clear + "rest");
    EXPECT_TRUE(decrypted(cryptoOf(om::OM_DRM_SCHEME_CBCS, kChain, {1, 9}), film) == clear + "rest");

    std::string const whole = clear.substr(0, clear.size() / 16 * 16);
    EXPECT_TRUE(decrypted(cryptoOf(om::OM_DRM_SCHEME_CBCS, kChain),
                          encrypted(folder, "-aes-128-cbc", kChain, whole) + "rest") == whole + "rest");
}

TEST_F(DrmKeys, comeWithTheMessagesOfTheRecommendation)
{
    // Byte by byte its examples of initialization data and of a license, line breaks included.
    constexpr char kInitData[] = "{\n  \"kids\":\n    [\n     \"LwVHf8JLtPrv2GUXFW2v_A\",\n"
                                 "     \"0DdtU9od-Bh5L3xbv0Xf_A\"\n    ]\n}";
    constexpr char kLicense[] =
        "{\n  \"keys\":\n    [{\n      \"kty\":\"oct\",\n      \"k\":\"tQ0bJVWb6b0KPL6KtZIy_A\","
        "\n      \"kid\":\"LwVHf8JLtPrv2GUXFW2v_A\"\n    }],\n  \"type\":\"temporary\"\n}";
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    ASSERT_EQ(user.request(session, om::OM_DRM_INIT_DATA_KEYIDS, kInitData), 0);
    EXPECT_EQ(user.answer(), R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A","0DdtU9od-Bh5L3xbv0Xf_A"],"type":"temporary"})");
    ASSERT_EQ(user.request(session, om::OM_DRM_INIT_DATA_KEYIDS, R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A"]})"), 0);
    EXPECT_EQ(user.answer(), R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A"],"type":"temporary"})");
    ASSERT_EQ(user.license(session, kLicense), 0);

    // With b50d1b25559be9bd0a3cbe8ab59232fc, so another program says, zeros are encrypted to this.
    om::om_drm_crypto_t crypto{};
    crypto.scheme = om::OM_DRM_SCHEME_CENC;
    crypto.iv_size = 16;
    std::memcpy(crypto.key_id, fromHex("2f05477fc24bb4faefd86517156daffc").data(), sizeof crypto.key_id);
    ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, bytesOf(crypto) + fromHex("b337ee4b7edd6194976455b62dc6bedf")), 0);
    EXPECT_EQ(user.answer(), std::string(16, '\0'));
}

TEST_F(DrmKeys, ofOthersAreDecryptedWithWhateverAnAgentIsTold)
{
    Decryptor decrypted;
    Viewer viewer;
    DrmUser hostile(viewer);
    std::string const session = bytesOf(om::om_drm_session_t{hostile.openSession()});
    constexpr DrmUser::Operation kOperations[] = {
        &om::OmIDrmAgent::openSession,  &om::OmIDrmAgent::generateKeyRequest, &om::OmIDrmAgent::updateSession,
        &om::OmIDrmAgent::closeSession, &om::OmIDrmAgent::getKeyStatuses,     &om::OmIDrmAgent::decrypt,
        &om::OmIDrmAgent::licenseQuery, &om::OmIDrmAgent::getMetrics,         &om::OmIDrmAgent::setServerCertificate};
    for (DrmUser::Operation const operation : kOperations)
    {
        for (std::size_t const size : {1U, 3U, 5U, 8U, 19U, 55U, 56U, 57U, 64U, 65'531U})
        {
            for (std::string const& input : {std::string(size, '\xff'), session + std::string(size, '\xff')})
            {
                EXPECT_LT(hostile.call(operation, input), 0);
                EXPECT_EQ(hostile.answer(), "");
            }
        }
    }
    EXPECT_EQ(hostile.call(&om::OmIDrmAgent::getKeyStatuses, session), 0);
    EXPECT_EQ(decrypted(cryptoOf(om::OM_DRM_SCHEME_CENC, kCounter), kCtr), kPlain);
}

std::string licenseOf(std::map<std::string, std::string> const& keys)
{
    std::string text;
    for (auto const& [id, key] : keys)
    {
        text += (text.empty() ? "" : ",") + (R"({"kty":"oct","k":")" + key + R"(","kid":")" + id + R"("})");
    }
    return "{\"keys\":[" + text + "]}";
}

constexpr char kId[] = "bmlzdG5pc3RuaXN0bmlzdA";
constexpr char kRightKey[] = "K34VFiiu0qar9xWICc9PPA";
constexpr char kWrongKey[] = "AAAAAAAAAAAAAAAAAAAAAQ";

TEST_F(DrmKeys, ofTwoSessionsTheOneThatWasUpdatedLastIsTaken)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const first = user.openSession();
    std::uint32_t const second = user.openSession();
    auto const decrypts = [&]
    {
        EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, cryptoOf(om::OM_DRM_SCHEME_CENC, kCounter) + kCtr), 0);
        return user.answer() == kPlain;
    };
    ASSERT_EQ(user.license(first, licenseOf({{kId, kWrongKey}})), 0);
    EXPECT_FALSE(decrypts());
    ASSERT_EQ(user.license(second, licenseOf({{kId, kRightKey}})), 0);
    EXPECT_TRUE(decrypts()) << "a key that was renewed in another session";
    ASSERT_EQ(user.license(first, licenseOf({{kId, kWrongKey}})), 0);
    EXPECT_FALSE(decrypts()) << "the order of the updates counts, not that of the sessions";
    ASSERT_EQ(user.license(second, licenseOf({{"AAAAAAAAAAAAAAAAAAAAAA", kRightKey}})), 0);
    EXPECT_FALSE(decrypts()) << "only keys that stand in the license are new";
    ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, bytesOf(om::om_drm_session_t{first})), 0);
    EXPECT_TRUE(decrypts()) << "the older one is back";
    ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, bytesOf(om::om_drm_session_t{second})), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, cryptoOf(om::OM_DRM_SCHEME_CENC, kCounter) + kCtr), -ENOKEY);
}

TEST_F(DrmKeys, thatCleanupForgetsAreToldForEachSession)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const first = user.openSession();
    std::uint32_t const second = user.openSession();
    ASSERT_EQ(user.license(second, kKeyLicense), 0);
    ASSERT_TRUE(user.take());
    EXPECT_GE(user.agent().cleanup(), 0);
    for (std::uint32_t const session : {first, second})
    {
        auto const note = user.take();
        ASSERT_TRUE(note);
        EXPECT_EQ(note->type, om::OM_DRM_EVENT_KEY_STATUS);
        EXPECT_EQ(note->subType, 0u);
        EXPECT_EQ(note->session, session);
        EXPECT_EQ(note->count, 0u);
        EXPECT_EQ(note->payload, "");
    }

    // Nothing is told where there is nothing to forget.
    EXPECT_GE(user.agent().cleanup(), 0);
    EXPECT_GE(user.agent().initialize(), 0);
    std::uint32_t const third = user.openSession();
    ASSERT_EQ(user.license(third, kKeyLicense), 0);
    auto const note = user.take();
    ASSERT_TRUE(note);
    EXPECT_EQ(note->session, third);
    EXPECT_EQ(note->count, 1u);
}

// Of a film's units every second one is said to have another key.

constexpr char kFilmId[] = "p-YcNz4hkDPCEJH6YHvzuA";
constexpr char kFilmRightKey[] = "dqbGXF6nYgRr10mi5jLMuw";
constexpr char kOtherId[] = "a2tra2tra2tra2tra2traw";

struct Alternation
{
    om::om_stream_type_e stream;
    char const* keyOfEven;
    char const* keyOfOdd;
};

class DrmAlternation : public WithService
{
protected:
    std::optional<Note> errorOf(Alternation const& row)
    {
        Viewer viewer;
        DrmUser user(viewer);
        EXPECT_EQ(user.license(user.openSession(), licenseOf({{kFilmId, row.keyOfEven}, {kOtherId, row.keyOfOdd}})), 0);
        auto const alternate = [count = 0](example::Sample const&, std::string& crypto) mutable
        {
            if (count++ % 2 == 1)
            {
                crypto.replace(offsetof(om::om_drm_crypto_t, key_id), 16, 16, 'k');
            }
        };
        FilmFeeder feeder(viewer, m_film, user.agent().getAgentID(), alternate);
        feeder.open(row.stream);
        viewer.player().start(0);
        return viewer.recorder().take(
            [](Note const& note)
            {
                return note.kind == Note::Kind::error ||
                       (note.kind == Note::Kind::event && note.code == om::OM_EVENT_END_OF_STREAM);
            });
    }

    std::string m_film = protectedFilm();
};

TEST_F(DrmAlternation, ofKeysThatAreWrongIsAnError)
{
    for (Alternation const& row : {Alternation{om::OM_STREAM_TYPE_VIDEO, kWrongKey, kWrongKey},
                                   Alternation{om::OM_STREAM_TYPE_VIDEO, kFilmRightKey, kWrongKey},
                                   Alternation{om::OM_STREAM_TYPE_VIDEO, kWrongKey, kFilmRightKey},
                                   Alternation{om::OM_STREAM_TYPE_AUDIO, kWrongKey, kWrongKey},
                                   Alternation{om::OM_STREAM_TYPE_AUDIO, kFilmRightKey, kWrongKey},
                                   Alternation{om::OM_STREAM_TYPE_AUDIO, kWrongKey, kFilmRightKey}})
    {
        SCOPED_TRACE(std::to_string(row.stream) + " " + row.keyOfEven + " " + row.keyOfOdd);
        auto const note = errorOf(row);
        ASSERT_TRUE(note);
        ASSERT_EQ(note->kind, Note::Kind::error);
        EXPECT_EQ(note->code, om::OM_ERROR_WRONG_KEY);
    }
}

TEST_F(DrmAlternation, ofRightKeysPlays)
{
    for (om::om_stream_type_e const stream : {om::OM_STREAM_TYPE_VIDEO, om::OM_STREAM_TYPE_AUDIO})
    {
        auto const note = errorOf({stream, kFilmRightKey, kFilmRightKey});
        ASSERT_TRUE(note);
        EXPECT_EQ(note->kind, Note::Kind::event);
    }
}

/// @return what the service may write when it crashes, as the kernel says it
std::string coreLimitOf(pid_t process)
{
    std::istringstream lines(fileContent("/proc/" + std::to_string(process) + "/limits"));
    std::string const name = "Max core file size";
    for (std::string line; std::getline(lines, line);)
    {
        if (line.compare(0, name.size(), name) == 0)
        {
            std::istringstream words(line.substr(name.size()));
            std::string limit;
            words >> limit;
            return limit;
        }
    }
    return "none";
}

TEST(DrmCore, isNotWrittenOnceThereMayBeKeys)
{
    SocketDir const directory;
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
    limit.rlim_cur = limit.rlim_max; // sanitizers lower it, in the service once more
    ASSERT_EQ(::setrlimit(RLIMIT_CORE, &limit), 0);
    ServiceProcess service(serviceCommand());
    ASSERT_TRUE(service.waitUntilReady());
    Viewer viewer;
    RecordProperty("before", coreLimitOf(service.pid()));
    DrmUser user(viewer);
    EXPECT_THAT(coreLimitOf(service.pid()), AnyOf("0", "1"));
}

} // namespace
} // namespace tz::orvane::test
