#pragma once
// A small HTTP/1.1 server on 127.0.0.1 for tests: one thread per connection,
// one request per connection, every request target recorded. The handler
// decides the reply; a silent reply holds the connection open until the
// server stops.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct PMTestHTTPReply {
    PMTestHTTPReply(int status, std::string body = "", std::string headers = "")
        : status(status), body(std::move(body)), headers(std::move(headers)) {}
    static PMTestHTTPReply silence()
    {
        PMTestHTTPReply reply(0);
        reply.silent = true;
        return reply;
    }

    int status;
    std::string body;
    std::string headers;  // extra header lines, each ending in "\r\n"
    bool silent = false;
    bool announceLength = true;  // false: the body ends when the connection closes
};

class PMTestHTTPServer {
public:
    using Handler = std::function<PMTestHTTPReply(const std::string& target)>;

    explicit PMTestHTTPServer(Handler handler) : m_handler(std::move(handler))
    {
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
        listen(m_listener, 16);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
        m_acceptor = std::thread([this] { acceptConnections(); });
    }

    ~PMTestHTTPServer()
    {
        m_stopping = true;
        shutdown(m_listener, SHUT_RDWR);
        m_acceptor.join();
        for (auto& connection : m_connections)
            connection.join();
        close(m_listener);
    }

    std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }

    std::vector<std::string> targets() const
    {
        std::lock_guard lock(m_lock);
        return m_targets;
    }

private:
    void acceptConnections()
    {
        for (int client; (client = accept(m_listener, nullptr, nullptr)) >= 0;)
            m_connections.emplace_back([this, client] { serve(client); });
    }

    // Waits up to 50 ms for the socket; false once the server stops.
    bool waitForInput(int socket)
    {
        pollfd wanted {socket, POLLIN, 0};
        while (!m_stopping) {
            if (poll(&wanted, 1, 50) > 0)
                return true;
        }
        return false;
    }

    void serve(int client)
    {
        std::string request;
        char buffer[4096];
        while (request.find("\r\n\r\n") == std::string::npos && waitForInput(client)) {
            ssize_t count = recv(client, buffer, sizeof buffer, 0);
            if (count <= 0)
                break;
            request.append(buffer, size_t(count));
        }
        size_t start = request.find(' ');
        std::string target = start == std::string::npos ? "" : request.substr(start + 1, request.find(' ', start + 1) - start - 1);
        {
            std::lock_guard lock(m_lock);
            m_targets.push_back(target);
        }
        PMTestHTTPReply reply = m_handler(target);
        if (reply.silent) {
            while (waitForInput(client) && recv(client, buffer, sizeof buffer, 0) > 0) { }
        } else {
            std::string length = reply.announceLength ? "Content-Length: " + std::to_string(reply.body.size()) + "\r\n" : "";
            std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " Reply\r\n" + length + "Connection: close\r\n" + reply.headers + "\r\n" + reply.body;
            for (size_t sent = 0; sent < text.size();) {
                ssize_t count = send(client, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
                if (count <= 0)
                    break;
                sent += size_t(count);
            }
        }
        close(client);
    }

    Handler m_handler;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stopping {false};
    std::thread m_acceptor;
    std::vector<std::thread> m_connections;  // touched by the acceptor only, until it is joined
    mutable std::mutex m_lock;
    std::vector<std::string> m_targets;
};
