// SPDX-License-Identifier: Apache-2.0
// A small web server with the manners and the faults that a player meets.
#include "support/http_server.h"

#include "support/tool_process.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace tz::orvane::test
{

namespace
{

constexpr int kPollMilliseconds = 50;

/// @param[out] port that it got
int bindSocket(int& port)
{
    int const bound = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bound < 0 || bind(bound, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(bound, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "http server");
    }
    port = ntohs(address.sin_port);
    return bound;
}

/// @param[out] port that it got
int openListener(int& port)
{
    int const listener = bindSocket(port);
    if (listen(listener, 16) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "http server");
    }
    return listener;
}

std::string uriOf(int port, std::string const& path)
{
    return "http://127.0.0.1:" + std::to_string(port) + "/" + path;
}

/// @return false when nobody takes them
bool sendAll(int connection, std::string const& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size())
    {
        ssize_t const part = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (part <= 0)
        {
            return false;
        }
        sent += static_cast<std::size_t>(part);
    }
    return true;
}

/// A transport stream that holds nothing: it is recognised, and never begins.
std::string const& emptyPackets()
{
    static std::string const packets = []
    {
        std::string packet("\x47\x1f\xff\x10", 4);
        packet.resize(188, '\xff');
        std::string many;
        for (int i = 0; i < 1000; ++i)
        {
            many += packet;
        }
        return many;
    }();
    return packets;
}

std::string status(std::string const& line)
{
    return "HTTP/1.1 " + line + "\r\nContent-Length: 0\r\n\r\n";
}

} // namespace

HttpServer::HttpServer(std::string folder)
    : m_folder(std::move(folder))
    , m_listener(openListener(m_port))
    , m_thread([this] { accept(); })
{
}

HttpServer::~HttpServer()
{
    m_ending = true;
    m_thread.join();
    for (std::thread& connection : m_connections)
    {
        connection.join();
    }
    close(m_listener);
}

std::string HttpServer::uri(std::string const& path) const
{
    return uriOf(m_port, path);
}

std::string HttpServer::refusedUri()
{
    // Open for as long as the test runs, so that nobody else gets the port and listens.
    static int port = 0;
    [[maybe_unused]] static int const bound = bindSocket(port);
    return uriOf(port, "v.mp4");
}

void HttpServer::accept()
{
    while (!m_ending)
    {
        pollfd waited{m_listener, POLLIN, 0};
        if (poll(&waited, 1, kPollMilliseconds) == 1)
        {
            int const connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            m_connections.emplace_back([this, connection] { serve(connection); });
        }
    }
}

void HttpServer::serve(int connection)
{
    std::string head;
    while (!m_ending)
    {
        pollfd waited{connection, POLLIN, 0};
        if (poll(&waited, 1, kPollMilliseconds) != 1)
        {
            continue;
        }
        char bytes[4096];
        ssize_t const size = recv(connection, bytes, sizeof bytes, 0);
        if (size <= 0)
        {
            break;
        }
        head.append(bytes, static_cast<std::size_t>(size));
        if (head.find("\r\n\r\n") != std::string::npos)
        {
            answer(connection, head);
            head.clear();
        }
    }
    close(connection);
}

void HttpServer::sendWithoutEnd(int connection) const
{
    bool taken = sendAll(connection, "HTTP/1.1 200 OK\r\nContent-Type: video/mp2t\r\n\r\n");
    while (taken && !m_ending)
    {
        taken = sendAll(connection, emptyPackets());
    }
}

void HttpServer::answer(int connection, std::string const& head)
{
    ++m_requests;
    std::string const path = head.substr(head.find('/') + 1, head.find(" HTTP/") - head.find('/') - 1);
    std::string const manner = path.substr(0, path.find('/'));
    std::string const body = fileContent(m_folder + "/" + path.substr(path.find('/') + 1));
    if (manner == "hang")
    {
        return;
    }
    while (manner == "held" && !m_released && !m_ending)
    {
        poll(nullptr, 0, kPollMilliseconds);
    }
    if (manner == "endless")
    {
        sendWithoutEnd(connection);
        return;
    }
    if (manner == "403" || manner == "500")
    {
        sendAll(connection, status(manner + " No"));
        return;
    }
    if (body.empty())
    {
        sendAll(connection, status("404 Not Found"));
        return;
    }
    auto const range = head.find("\r\nRange: bytes=");
    bool const ranged = range != std::string::npos && manner != "norange";
    std::size_t const from = ranged ? std::stoul(head.substr(range + 15)) : 0;
    m_rangeRequests += ranged ? 1 : 0;
    std::string answer = ranged ? "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(from) + "-" +
                                      std::to_string(body.size() - 1) + "/" + std::to_string(body.size()) + "\r\n"
                                : std::string("HTTP/1.1 200 OK\r\n");
    answer += manner == "norange" ? "" : "Accept-Ranges: bytes\r\n";
    answer += "Content-Type: video/mp4\r\nContent-Length: " + std::to_string(body.size() - from) + "\r\n\r\n";
    std::size_t const until = manner == "cut" ? std::max(from, body.size() / 2) : body.size();
    sendAll(connection, answer + body.substr(from, until - from));
    if (manner == "cut")
    {
        shutdown(connection, SHUT_RDWR);
    }
}

} // namespace tz::orvane::test
