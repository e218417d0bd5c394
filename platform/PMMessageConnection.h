#pragma once
// The message channel between a web content process and the reader's UI
// process: named messages with a value body, both ways.
#include "Utilities/KCValue.h"

#include <string_view>

class PMMessageConnection;

class PMMessageConnectionDelegate {
public:
    virtual ~PMMessageConnectionDelegate() = default;
    virtual void didReceiveMessageWithName(PMMessageConnection& connection, std::string_view name, const KCValue& body) = 0;
    virtual void connectionDidClose(PMMessageConnection&) {}
};

class PMMessageConnection {
public:
    virtual ~PMMessageConnection() = default;

    // May be called from any thread.
    virtual void sendMessageWithName(std::string_view name, const KCValue& body) = 0;
    // The delegate is not owned; messages arrive on the connection's thread.
    virtual void setDelegate(PMMessageConnectionDelegate* delegate) = 0;
    virtual void close() = 0;
};
