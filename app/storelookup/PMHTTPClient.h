#pragma once
// One HTTP(S) GET through libcurl, bounded in time and size: bodies over
// kPMHTTPMaximumBodySize are refused, redirects are followed only to http and
// https, and a cancellation stops the transfer at once from another thread.
// Errors: PMHTTPGet answers nothing (error domain PMHTTPErrorDomain, the code
// libcurl's) when the transfer fails, times out, is cancelled or is too big.
#include "Utilities/KCError.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <string>

extern const char* const PMHTTPErrorDomain;  // "PMHTTPErrorDomain"
constexpr size_t kPMHTTPMaximumBodySize = 4 * 1024 * 1024;

struct PMHTTPResponse {
    long statusCode = 0;
    std::string body;
};

// Shared between the transfer and whoever may stop it.
class PMHTTPCancellation {
public:
    void cancel();
    bool isCancelled() const { return m_cancelled.load(); }

private:
    friend class PMHTTPTransfer;
    std::atomic<bool> m_cancelled {false};
    std::mutex m_lock;  // guards m_multi
    void* m_multi = nullptr;  // the running transfer's curl multi handle
};

// timeout in seconds; 0 or less: none.
std::optional<PMHTTPResponse> PMHTTPGet(const std::string& url, double timeout, PMHTTPCancellation* cancellation, KCError* error);
