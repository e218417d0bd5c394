#pragma once
// A URL protocol client that records every callback in order.
#include "platform/PMURLProtocolClient.h"

#include <mutex>
#include <vector>

class PMRecordingURLProtocolClient : public PMURLProtocolClient {
public:
    enum class Callback { Response, Data, Finished, Failed };
    struct Event {
        Callback callback;
        PMURLResponse response;  // Response
        PMURLCacheStoragePolicy policy = PMURLCacheStoragePolicy::Allowed;
        std::shared_ptr<const KCData> data;  // Data; null when the protocol passed none
        KCError error;  // Failed
    };

    void didReceiveResponse(const PMURLResponse& response, PMURLCacheStoragePolicy policy) override;
    void didLoadData(std::shared_ptr<const KCData> data) override;
    void didFinishLoading() override;
    void didFailWithError(const KCError& error) override;

    std::vector<Event> events() const;
    std::vector<Callback> callbacks() const;
    // The data of the first Data callback, or null.
    std::shared_ptr<const KCData> loadedData() const;

private:
    void record(Event event);
    mutable std::mutex m_lock;
    std::vector<Event> m_events;
};
