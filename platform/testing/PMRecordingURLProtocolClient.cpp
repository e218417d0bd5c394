#include "PMRecordingURLProtocolClient.h"

void PMRecordingURLProtocolClient::record(Event event)
{
    std::lock_guard lock(m_lock);
    m_events.push_back(std::move(event));
}

void PMRecordingURLProtocolClient::didReceiveResponse(const PMURLResponse& response, PMURLCacheStoragePolicy policy)
{
    record({Callback::Response, response, policy, nullptr, {}});
}

void PMRecordingURLProtocolClient::didLoadData(std::shared_ptr<const KCData> data)
{
    record({Callback::Data, {}, {}, std::move(data), {}});
}

void PMRecordingURLProtocolClient::didFinishLoading()
{
    record({Callback::Finished, {}, {}, nullptr, {}});
}

void PMRecordingURLProtocolClient::didFailWithError(const KCError& error)
{
    record({Callback::Failed, {}, {}, nullptr, error});
}

std::vector<PMRecordingURLProtocolClient::Event> PMRecordingURLProtocolClient::events() const
{
    std::lock_guard lock(m_lock);
    return m_events;
}

std::vector<PMRecordingURLProtocolClient::Callback> PMRecordingURLProtocolClient::callbacks() const
{
    std::lock_guard lock(m_lock);
    std::vector<Callback> callbacks;
    for (const auto& event : m_events)
        callbacks.push_back(event.callback);
    return callbacks;
}

std::shared_ptr<const KCData> PMRecordingURLProtocolClient::loadedData() const
{
    std::lock_guard lock(m_lock);
    for (const auto& event : m_events) {
        if (event.callback == Callback::Data)
            return event.data;
    }
    return nullptr;
}
