#include "PMHTTPClient.h"

#include "Utilities/KCLogger.h"

#include <curl/curl.h>

#include <memory>

const char* const PMHTTPErrorDomain = "PMHTTPErrorDomain";

namespace {

size_t appendBody(char* bytes, size_t size, size_t count, void* context)
{
    auto* body = static_cast<std::string*>(context);
    size_t length = size * count;
    if (body->size() + length > kPMHTTPMaximumBodySize)
        return 0;  // curl stops with a write error
    body->append(bytes, length);
    return length;
}

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

} // namespace

// Hands the running transfer's multi handle to the cancellation for as long as it runs.
class PMHTTPTransfer {
public:
    PMHTTPTransfer(PMHTTPCancellation* cancellation, CURLM* multi) : m_cancellation(cancellation)
    {
        if (m_cancellation) {
            std::lock_guard lock(m_cancellation->m_lock);
            m_cancellation->m_multi = multi;
        }
    }
    ~PMHTTPTransfer()
    {
        if (m_cancellation) {
            std::lock_guard lock(m_cancellation->m_lock);
            m_cancellation->m_multi = nullptr;
        }
    }
    bool cancelled() const { return m_cancellation && m_cancellation->isCancelled(); }

private:
    PMHTTPCancellation* m_cancellation;
};

void PMHTTPCancellation::cancel()
{
    std::lock_guard lock(m_lock);
    m_cancelled.store(true);
    if (m_multi)
        curl_multi_wakeup(static_cast<CURLM*>(m_multi));
}

std::optional<PMHTTPResponse> PMHTTPGet(const std::string& url, double timeout, PMHTTPCancellation* cancellation, KCError* error)
{
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    auto fail = [&](long code, const std::string& message) -> std::optional<PMHTTPResponse> {
        KCLog("GET %@ failed: %@", url, message);
        KCSetError(error, KCError(PMHTTPErrorDomain, code, message));
        return std::nullopt;
    };
    std::unique_ptr<CURL, EasyDeleter> easy(initialised == CURLE_OK ? curl_easy_init() : nullptr);
    std::unique_ptr<CURLM, MultiDeleter> multi(curl_multi_init());
    if (!easy || !multi)
        return fail(CURLE_FAILED_INIT, "libcurl could not be initialised");

    PMHTTPResponse response;
    curl_easy_setopt(easy.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy.get(), CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy.get(), CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy.get(), CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy.get(), CURLOPT_MAXFILESIZE_LARGE, curl_off_t(kPMHTTPMaximumBodySize));
    curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &response.body);
    curl_easy_setopt(easy.get(), CURLOPT_USERAGENT, "pagemoor");
    if (timeout > 0)
        curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT_MS, long(timeout * 1000));
    curl_multi_add_handle(multi.get(), easy.get());

    CURLcode result = CURLE_OK;
    {
        PMHTTPTransfer transfer(cancellation, multi.get());
        for (int running = 1; running && !transfer.cancelled();) {
            if (curl_multi_perform(multi.get(), &running) != CURLM_OK)
                break;
            if (running)
                curl_multi_poll(multi.get(), nullptr, 0, 1000, nullptr);
        }
        if (transfer.cancelled())
            result = CURLE_ABORTED_BY_CALLBACK;
        else if (int pending = 0; CURLMsg* message = curl_multi_info_read(multi.get(), &pending))
            result = message->data.result;
        else
            result = CURLE_RECV_ERROR;
    }
    curl_multi_remove_handle(multi.get(), easy.get());

    if (result == CURLE_ABORTED_BY_CALLBACK)
        return fail(result, "cancelled");
    if (result == CURLE_WRITE_ERROR || result == CURLE_FILESIZE_EXCEEDED)
        return fail(result, "the body is larger than 4 MiB");
    if (result != CURLE_OK)
        return fail(result, curl_easy_strerror(result));
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &response.statusCode);
    return response;
}
