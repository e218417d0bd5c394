#pragma once
// A plug-in wired to the fakes: one process, one page, a clock that only
// the test moves, and a connection that records every reply.
#include "plugin/PMEpubWebProcessPlugIn.h"
#include "resources/PMURLProtocol.h"
#include "testing/PMLogCapture.h"
#include "testing/PMFakePage.h"
#include "testing/PMFakePlugInController.h"
#include "testing/PMFakeProcess.h"
#include "testing/PMFakeSandbox.h"
#include "testing/PMManualRunLoop.h"
#include "JavaScriptCore/PMJSCScriptContext.h"

#include <gtest/gtest.h>

class PMPlugInTest : public testing::Test {
protected:
    void SetUp() override
    {
        plugIn = PMEpubWebProcessPlugIn::create({&runLoop, &runLoop, &process, &sandbox});
        plugIn->initializeWithObject(controller, initializationObject());
        plugIn->didCreateBrowserContextController(*controller, browserContext);
    }
    void TearDown() override { PMURLProtocol::unregisterPMURLProtocol(); }

    virtual KCValue initializationObject() { return KCDictionary(); }

    void receive(std::string_view name, const KCValue& body) { connection().receiveMessage(name, body); }
    void prepare(int64_t task, uint64_t documentIndex, KCDictionary extra = {})
    {
        extra.set("task", task);
        extra.set(PMEpubWebProcessPlugInObjectDocumentIndex, documentIndex);
        receive(PMPrepareForDocumentTaskMessage, extra);
    }
    // A page with a real script context; `script` sets up the page's own code.
    std::shared_ptr<PMJSCScriptContext> giveScriptContext(std::u16string_view script = u"")
    {
        auto context = PMJSCScriptContext::create();
        if (!script.empty())
            context->evaluate(script);
        frame()->setScriptContext(context);
        return context;
    }
    // A page whose document declares a viewport of `content` and keeps its
    // root element's style in `rootStyle`.
    std::shared_ptr<PMJSCScriptContext> declareViewport(std::u16string_view content)
    {
        return giveScriptContext(u"var rootStyle = {}; var document = { querySelectorAll: function(selector) {"
            u" return selector === 'meta[name=viewport]' ? [{ getAttribute: function(name) { return name === 'content' ? '" + std::u16string(content)
            + u"' : null; } }] : []; }, getElementsByTagName: function(tag) { return tag === 'html' ? [{ style: rootStyle }] : []; } };");
    }

    PMRecordingMessageConnection& connection() { return controller->recordingConnection(); }
    std::vector<PMRecordingMessageConnection::Message> sent(std::string_view name) { return connection().sentMessagesNamed(name); }
    const std::shared_ptr<PMFakePage>& page() { return browserContext->fakePage(); }
    const std::shared_ptr<PMFakeFrame>& frame() { return page()->fakeMainFrame(); }

    PMManualRunLoop runLoop;
    PMFakeProcess process;
    PMFakeSandbox sandbox;
    std::shared_ptr<PMFakePlugInController> controller = std::make_shared<PMFakePlugInController>();
    std::shared_ptr<PMFakeBrowserContext> browserContext = std::make_shared<PMFakeBrowserContext>();
    std::shared_ptr<PMEpubWebProcessPlugIn> plugIn;
};
