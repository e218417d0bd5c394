#pragma once
// A message connection that records what is sent and lets a test deliver
// messages to the delegate as the UI process would.
#include "platform/PMMessageConnection.h"

#include <mutex>
#include <string>
#include <vector>

class PMRecordingMessageConnection : public PMMessageConnection {
public:
    struct Message {
        std::string name;
        KCValue body;
    };

    void sendMessageWithName(std::string_view name, const KCValue& body) override;
    void setDelegate(PMMessageConnectionDelegate* delegate) override;
    void close() override;

    // Delivers a message from the other side to the delegate.
    void receiveMessage(std::string_view name, const KCValue& body);

    std::vector<Message> sentMessages() const;
    std::vector<Message> sentMessagesNamed(std::string_view name) const;
    PMMessageConnectionDelegate* delegate() const;
    bool isClosed() const;

private:
    mutable std::mutex m_lock;
    std::vector<Message> m_sent;
    PMMessageConnectionDelegate* m_delegate = nullptr;
    bool m_closed = false;
};
