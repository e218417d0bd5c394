// pagemoor resource: serves one file of a book exactly as a page request
// for it would be served, de-obfuscated fonts included.
#include "BookCommandSupport.h"

#include "book/PMBookJSON.h"
#include "platform/PMURLProtocolRegistry.h"
#include "resources/PMURLProtocol.h"

#include <iostream>
#include <mutex>

namespace {

const char* const kUsage =
    "usage: pagemoor resource BOOK.epub PATH [-o FILE] [--json] [--cache-dir DIR]\n"
    "  Opens the book and serves PATH, relative to the book's contents path\n"
    "  (for example /OEBPS/fonts/a.otf), through the book resource protocol.\n"
    "  -o FILE      write the bytes to FILE instead of standard output\n"
    "  --json       print {\"mimeType\", \"length\", \"error\"} instead of the bytes\n"
    "  --cache-dir  where books are unpacked (see pagemoor info --help)\n";

// Keeps what the protocol hands over for the one load.
class CollectingClient : public PMURLProtocolClient {
public:
    void didReceiveResponse(const PMURLResponse& response, PMURLCacheStoragePolicy) override { this->response = response; }
    void didLoadData(std::shared_ptr<const KCData> data) override { this->data = std::move(data); }
    void didFinishLoading() override { finished = true; }
    void didFailWithError(const KCError& error) override { failure = error.message; }

    std::optional<PMURLResponse> response;
    std::shared_ptr<const KCData> data;
    bool finished = false;
    std::optional<std::string> failure;
};

// Stands in for the UI process: keeps the "PluginError" reason.
class ErrorKeepingConnection : public PMMessageConnection {
public:
    void sendMessageWithName(std::string_view name, const KCValue& body) override
    {
        std::lock_guard lock(m_lock);
        if (name == PMPluginErrorMessage)
            m_error = body.utf8String();
    }
    void setDelegate(PMMessageConnectionDelegate*) override {}
    void close() override {}
    std::optional<std::string> error() const
    {
        std::lock_guard lock(m_lock);
        return m_error;
    }

private:
    mutable std::mutex m_lock;
    std::optional<std::string> m_error;
};

int runResource(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {"output", "cache-dir"});
    if (auto failed = PMRejectUnknown(arguments, {"json"}))
        return *failed;
    if (arguments.positionals().size() != 2)
        return PMFail("resource needs a book and a path (see pagemoor resource --help)");

    PMSendLogToStandardError();

    auto book = PMOpenBookArgument(arguments.positionals()[0], arguments);
    if (!book)
        return 1;

    // Configured as the plug-in configures it at start-up.
    auto connection = std::make_shared<ErrorKeepingConnection>();
    PMURLProtocol::registerPMURLProtocol();
    PMURLProtocol::setConnection(connection);
    PMURLProtocol::setBookContentsPath(book->contentsPath());
    PMURLProtocol::setBookResourceData(book->resourceInformation());

    std::string path = arguments.positionals()[1];
    if (!path.starts_with('/'))
        path.insert(path.begin(), '/');
    PMURLRequest request(KCURL::fileURLWithPath(book->contentsPath() + path));
    auto client = std::make_shared<CollectingClient>();
    auto protocol = PMURLProtocolRegistry::shared().startLoading(request, client);
    if (!protocol)
        return PMFail("the book has no file at " + path);
    if (!client->finished || !client->response)
        return PMFail("the load of " + path + " was not answered (see the log)");

    std::optional<std::string> loadError = connection->error();
    if (!loadError)
        loadError = client->failure;
    bool json = arguments.flag("json");
    if (client->data && (!json || arguments.option("output")) && !PMWriteOutput(std::string_view(reinterpret_cast<const char*>(client->data->data()), client->data->size()), arguments.option("output")))
        return PMFail("cannot write " + arguments.option("output").value_or("standard output"));
    if (json) {
        nlohmann::ordered_json answer;
        answer["mimeType"] = client->response->MIMEType ? nlohmann::ordered_json(*client->response->MIMEType) : nlohmann::ordered_json(nullptr);
        answer["length"] = client->data ? client->data->size() : 0;
        answer["error"] = loadError ? nlohmann::ordered_json(*loadError) : nlohmann::ordered_json(nullptr);
        std::cout << PMJSONText(answer) << '\n';
    }
    return loadError ? PMFail(*loadError) : 0;
}

PMCommandRegistration registration({"resource", "serve one file of a book as a page would receive it", kUsage, runResource});

} // namespace
