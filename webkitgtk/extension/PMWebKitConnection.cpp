#include "PMWebKitConnection.h"

#include "Messages/PMGVariantValue.h"
#include "Utilities/KCLogger.h"

#include <webkit/webkit-web-process-extension.h>

#include <string>

void PMWebKitConnection::sendMessageWithName(std::string_view name, const KCValue& body)
{
    if (!m_page) {
        KCLog("No page to send %s to", std::string(name).c_str());
        return;
    }
    GVariant* parameters = body.isNull() ? nullptr : PMGVariantFromKCValue(body);
    WebKitUserMessage* message = webkit_user_message_new(std::string(name).c_str(), parameters);
    webkit_web_page_send_message_to_view(m_page, message, nullptr, nullptr, nullptr);
}

void PMWebKitConnection::deliver(std::string_view name, const KCValue& body)
{
    if (m_delegate)
        m_delegate->didReceiveMessageWithName(*this, name, body);
}
