// SPDX-License-Identifier: Apache-2.0
// Starts a media service of the user's own when none listens.
#include "common/service_launcher.h"

#include "common/output.h"
#include "orvane/omc_access.h"
#include "orvane/platform/om_debug.h"
#include "platform/src/unique_fd.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace tz::orvane::tools
{

namespace
{

constexpr char kServiceProgram[] = "orvane-media-service";
constexpr char kIdleSeconds[] = "5";
constexpr int kRetryInterval = 20; ///< milliseconds
constexpr std::chrono::seconds kStartDeadline{10};
constexpr std::chrono::milliseconds kRestartInterval{500};

bool isProgram(std::filesystem::path const& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && ::access(path.c_str(), X_OK) == 0;
}

/// @return the service to start, empty when there is none
std::string findService()
{
    if (char const* named = std::getenv("ORVANE_SERVICE"); named != nullptr && *named != '\0')
    {
        return named;
    }
    std::error_code error;
    std::filesystem::path const here = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    std::vector<std::filesystem::path> candidates{here / kServiceProgram, here / ".." / "service" / kServiceProgram};
    char const* const path = std::getenv("PATH");
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');)
    {
        candidates.push_back(std::filesystem::path(directory) / kServiceProgram);
    }
    for (std::filesystem::path const& candidate : candidates)
    {
        if (isProgram(candidate))
        {
            return candidate.lexically_normal();
        }
    }
    return "";
}

std::string lastLineOf(std::string const& file)
{
    std::ifstream stream(file);
    std::string last;
    for (std::string line; std::getline(stream, line);)
    {
        last = line.empty() ? last : line;
    }
    return last;
}

/// What the service starts with: our signals are blocked, and it has its own session and none of our descriptors.
class SpawnSettings
{
public:
    explicit SpawnSettings(int output)
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);

        ::posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_setsigmask(&m_attributes, &none);
        ::posix_spawnattr_setsigdefault(&m_attributes, &all);
        ::posix_spawnattr_setflags(
            &m_attributes, static_cast<short>(POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    }
    SpawnSettings(SpawnSettings const&) = delete;
    SpawnSettings& operator=(SpawnSettings const&) = delete;
    ~SpawnSettings()
    {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_actions);
    }

    posix_spawn_file_actions_t const* actions() const { return &m_actions; }
    posix_spawnattr_t const* attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

void quietLibrary(bool verbose)
{
    if (std::getenv("ORVANE_DEBUG") == nullptr)
    {
        platform::setDebugLevel(verbose ? platform::DebugLevel::warning : platform::DebugLevel::off);
    }
    Output::Silence const silence; // the registry tells standard output when it is made
    omc::OmcClientAccess::getApp(0);
}

om::OmIConnection* connect(std::string const& appName)
{
    return omc::OmcClientAccess::getApp(0)->createConnection(appName);
}

std::string describeEnd(int status, ServiceProcess const& service)
{
    std::string text = "the media service ended with status " + std::to_string(status);
    std::string const words = lastLineOf(service.logFile());
    return text + (words.empty() ? "" : ": " + words);
}

} // namespace

std::string ServiceProcess::start(std::string const& socketDirectory, LaunchOptions const& options)
{
    std::string const program = findService();
    if (program.empty())
    {
        return std::string("no media service runs, and ") + kServiceProgram +
               " is neither beside this program nor in PATH; ORVANE_SERVICE may name it";
    }

    platform::UniqueFd log;
    if (!options.verbose)
    {
        ::mkdir(socketDirectory.c_str(), 0700);
        m_logFile = socketDirectory + "/media-service.log";
        log.reset(::open(m_logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_NOFOLLOW | O_CLOEXEC,
                         S_IRUSR | S_IWUSR));
        if (log.get() < 0)
        {
            return m_logFile + " cannot be written: " + std::strerror(errno);
        }
    }

    std::vector<std::string> arguments{program, "--idle-exit", kIdleSeconds};
    for (auto const& [name, value] : {std::pair{"--video", options.video}, std::pair{"--audio", options.audio}})
    {
        if (!value.empty())
        {
            arguments.insert(arguments.end(), {name, value});
        }
    }
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
    {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);

    SpawnSettings const settings(options.verbose ? STDERR_FILENO : log.get());
    int const error =
        ::posix_spawn(&m_pid, program.c_str(), settings.actions(), settings.attributes(), pointers.data(), environ);
    return error == 0 ? "" : program + " cannot be started: " + std::strerror(error);
}

std::optional<int> ServiceProcess::exitStatus()
{
    int status = 0;
    if (!m_status && m_pid > 0 && ::waitpid(m_pid, &status, WNOHANG) == m_pid)
    {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_status;
}

ServiceConnection connectToService(std::string const& appName, std::string const& socketDirectory,
                                   LaunchOptions const& options, Signals& signals)
{
    quietLibrary(options.verbose);
    if (om::OmIConnection* const connection = connect(appName))
    {
        return {connection, false, ""};
    }
    ServiceProcess service;
    if (std::string const fault = service.start(socketDirectory, options); !fault.empty())
    {
        return {nullptr, false, fault};
    }
    auto const begin = std::chrono::steady_clock::now();
    auto const deadline = begin + kStartDeadline;
    auto restart = begin + kRestartInterval;
    while (std::chrono::steady_clock::now() < deadline)
    {
        if (int const signal = signals.pause(kRetryInterval); signal != 0)
        {
            return {nullptr, true, "interrupted", signal};
        }
        if (om::OmIConnection* const connection = connect(appName))
        {
            return {connection, true, ""};
        }
        auto const status = service.exitStatus();
        if (status && *status != ServiceProcess::kAddressInUse)
        {
            return {nullptr, true, describeEnd(*status, service)};
        }
        // The service that held the address may have been on its way out.
        if (auto const now = std::chrono::steady_clock::now(); status && now >= restart)
        {
            restart = now + kRestartInterval;
            service = ServiceProcess();
            service.start(socketDirectory, options);
        }
    }
    return {nullptr, true, "no answer from the media service in " + socketDirectory};
}

} // namespace tz::orvane::tools
