#pragma once
// A small HTTP/1.1 server on 127.0.0.1 for tests: one connection at a time,
// one request per connection, every request target recorded. The handler
// decides the reply; a silent reply holds the connection until the client
// gives up or the server stops.
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
    int status;  // 0: silence
    std::string body = "";
    std::string headers = "";  // extra header lines, each ending in "\r\n"
    bool announceLength = true;  // false: the body ends when the connection closes
};

class PMTestHTTPServer {
public:
    using Handler = std::function<PMTestHTTPReply(const std::string& target)>;

    explicit PMTestHTTPServer(Handler handler) : m_handler(std::move(handler))
    {
        sockaddr_in address {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t length = sizeof address;
        bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
        listen(m_listener, 16);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            for (int client; (client = accept(m_listener, nullptr, nullptr)) >= 0; close(client))
                serve(client);
        });
    }

    ~PMTestHTTPServer()
    {
        m_stopping = true;
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        close(m_listener);
    }

    std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }

    std::vector<std::string> targets() const
    {
        std::lock_guard lock(m_lock);
        return m_targets;
    }

private:
    // Up to 4 KiB from the client; nothing once it has closed or the server stops.
    std::string receive(int client)
    {
        for (pollfd wanted {client, POLLIN, 0}; !m_stopping;) {
            if (poll(&wanted, 1, 50) > 0) {
                char buffer[4096];
                ssize_t count = recv(client, buffer, sizeof buffer, 0);
                return std::string(buffer, size_t(std::max<ssize_t>(count, 0)));
            }
        }
        return "";
    }

    void serve(int client)
    {
        std::string request;
        for (std::string more; request.find("\r\n\r\n") == std::string::npos && !(more = receive(client)).empty();)
            request += more;
        size_t start = request.find(' ') + 1;
        std::string target = request.substr(start, request.find(' ', start) - start);
        {
            std::lock_guard lock(m_lock);
            m_targets.push_back(target);
        }
        PMTestHTTPReply reply = m_handler(target);
        if (!reply.status) {
            while (!receive(client).empty()) { }
            return;
        }
        std::string length = reply.announceLength ? "Content-Length: " + std::to_string(reply.body.size()) + "\r\n" : "";
        std::string text = "HTTP/1.1 " + std::to_string(reply.status) + " Reply\r\n" + length + "Connection: close\r\n" + reply.headers + "\r\n" + reply.body;
        send(client, text.data(), text.size(), MSG_NOSIGNAL);  // a blocking socket takes it all or the client left
    }

    Handler m_handler;
    int m_listener = socket(AF_INET, SOCK_STREAM, 0);
    int m_port = 0;
    std::atomic<bool> m_stopping {false};
    std::thread m_thread;
    mutable std::mutex m_lock;
    std::vector<std::string> m_targets;
};
