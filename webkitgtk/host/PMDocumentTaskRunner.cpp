#include "PMDocumentTaskRunner.h"

std::optional<KCValue> PMRunDocumentTask(PMReaderWebView& view, const PMDocumentTask& task, const std::string& fileURI, double timeoutSeconds, KCError* error)
{
    const char* replyName = PMReplyMessageForTask(task.task);
    std::optional<KCValue> reply;
    PMReaderWebView::MessageHandler previous = view.messageHandler();
    view.setMessageHandler([&](const std::string& name, const KCValue& body) {
        if (replyName && name == replyName && PMDecodeReplyDocumentIndex(body) == task.documentIndex)
            reply = body;
        if (previous)
            previous(name, body);
    });
    view.clearFailure();
    view.prepareForDocumentTask(task);
    view.loadDocument(fileURI);
    bool answered = view.runUntil([&] { return reply.has_value(); }, timeoutSeconds);
    view.setMessageHandler(previous);
    if (!answered) {
        KCSetError(error, {PMReaderErrorDomain, 4, fileURI + ": " + view.failure().value_or("no reply")});
        return std::nullopt;
    }
    return reply;
}
