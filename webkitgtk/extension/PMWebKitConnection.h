#pragma once
// The plug-in's message connection: messages go to the view of the page that
// the process serves, and messages from that view come to the delegate.
#include "platform/PMMessageConnection.h"
#include "platform/PMPlugInController.h"

typedef struct _WebKitWebPage WebKitWebPage;

class PMWebKitConnection final : public PMMessageConnection {
public:
    void sendMessageWithName(std::string_view name, const KCValue& body) override;
    void setDelegate(PMMessageConnectionDelegate* delegate) override { m_delegate = delegate; }
    void close() override { m_page = nullptr; }

    // The page whose view receives what the plug-in sends; not owned.
    void setPage(WebKitWebPage* page) { m_page = page; }
    WebKitWebPage* page() const { return m_page; }
    void deliver(std::string_view name, const KCValue& body);

private:
    PMMessageConnectionDelegate* m_delegate = nullptr;
    WebKitWebPage* m_page = nullptr;
};

class PMWebKitPlugInController final : public PMPlugInController {
public:
    explicit PMWebKitPlugInController(std::shared_ptr<PMWebKitConnection> connection) : m_connection(std::move(connection)) {}
    std::shared_ptr<PMMessageConnection> connection() override { return m_connection; }

private:
    std::shared_ptr<PMWebKitConnection> m_connection;
};
