#include "PMRecordingMessageConnection.h"

void PMRecordingMessageConnection::sendMessageWithName(std::string_view name, const KCValue& body)
{
    std::lock_guard lock(m_lock);
    m_sent.push_back({std::string(name), body});
}

void PMRecordingMessageConnection::setDelegate(PMMessageConnectionDelegate* delegate)
{
    std::lock_guard lock(m_lock);
    m_delegate = delegate;
}

void PMRecordingMessageConnection::close()
{
    PMMessageConnectionDelegate* delegate;
    {
        std::lock_guard lock(m_lock);
        if (m_closed)
            return;
        m_closed = true;
        delegate = m_delegate;
    }
    if (delegate)
        delegate->connectionDidClose(*this);
}

void PMRecordingMessageConnection::receiveMessage(std::string_view name, const KCValue& body)
{
    PMMessageConnectionDelegate* delegate = this->delegate();
    // The delegate may send replies: call it without holding the lock.
    if (delegate && !isClosed())
        delegate->didReceiveMessageWithName(*this, name, body);
}

std::vector<PMRecordingMessageConnection::Message> PMRecordingMessageConnection::sentMessages() const
{
    std::lock_guard lock(m_lock);
    return m_sent;
}

std::vector<PMRecordingMessageConnection::Message> PMRecordingMessageConnection::sentMessagesNamed(std::string_view name) const
{
    std::lock_guard lock(m_lock);
    std::vector<Message> named;
    for (const auto& message : m_sent) {
        if (message.name == name)
            named.push_back(message);
    }
    return named;
}

PMMessageConnectionDelegate* PMRecordingMessageConnection::delegate() const
{
    std::lock_guard lock(m_lock);
    return m_delegate;
}

bool PMRecordingMessageConnection::isClosed() const
{
    std::lock_guard lock(m_lock);
    return m_closed;
}
