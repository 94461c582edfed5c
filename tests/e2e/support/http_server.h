// SPDX-License-Identifier: Apache-2.0
// A small web server with the manners and the faults that a player meets.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace tz::orvane::test
{

/// Serves a folder on a port of its own of the loopback interface. The first part of a path says how:
/// "plain" with ranges, "norange" without, "403" or "500" nothing but that, "hang" takes a request and stays silent,
/// "cut" hangs up after half of the file, "held" waits with the whole until release, "endless" sends a stream without
/// content for ever.
class HttpServer
{
public:
    explicit HttpServer(std::string folder);
    HttpServer(HttpServer const&) = delete;
    HttpServer& operator=(HttpServer const&) = delete;
    ~HttpServer();

    std::string uri(std::string const& path) const;

    /// @return the URI of a port where nobody listens
    static std::string refusedUri();

    void release() { m_released = true; }

    int requests() const { return m_requests; }
    int rangeRequests() const { return m_rangeRequests; }

private:
    void accept();
    void serve(int connection);
    void sendWithoutEnd(int connection) const;
    void answer(int connection, std::string const& head);

    std::string m_folder;
    int m_listener;
    int m_port;
    std::atomic<bool> m_ending{false};
    std::atomic<bool> m_released{false};
    std::atomic<int> m_requests{0};
    std::atomic<int> m_rangeRequests{0};
    std::vector<std::thread> m_connections;
    std::thread m_thread;
};

} // namespace tz::orvane::test
