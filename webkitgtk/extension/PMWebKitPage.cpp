#include "PMWebKitPage.h"

#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "PMWebKitDOM.h"
#include "PMWebKitScript.h"
#include "Utilities/KCLogger.h"
#include "JavaScriptCore/PMJSCScriptContext.h"

#include <gio/gunixfdlist.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <webkit/webkit-web-process-extension.h>

namespace {

// The UI side draws a view-sized piece at a time, so a long document takes
// longer: the wait grows with the area asked for.
guint snapshotTimeoutMilliseconds(const KCRect& rect)
{
    const double area = rect.size.width * rect.size.height;
    return static_cast<guint>(10000 + (area > 0 && area < 1e9 ? area : 0) / 1000);
}

// The image of a snapshot reply: its size in the body, its pixels in the
// memory file that comes with it.
std::optional<KCImage> imageFromReply(WebKitUserMessage* reply)
{
    KCValue body = PMKCValueFromGVariant(webkit_user_message_get_parameters(reply));
    auto width = body["width"].uint64Value();
    auto height = body["height"].uint64Value();
    auto bytesPerRow = body["bytesPerRow"].uint64Value();
    GUnixFDList* files = webkit_user_message_get_fd_list(reply);
    if (!width || !height || !bytesPerRow || *bytesPerRow < *width * 4 || !files || g_unix_fd_list_get_length(files) != 1)
        return std::nullopt;
    int file = g_unix_fd_list_get(files, 0, nullptr);
    KCImage image {static_cast<int>(*width), static_cast<int>(*height), static_cast<size_t>(*bytesPerRow), {}};
    image.pixels.resize(image.bytesPerRow * static_cast<size_t>(image.height));
    size_t read = 0;
    while (file >= 0 && read < image.pixels.size()) {
        ssize_t count = pread(file, image.pixels.data() + read, image.pixels.size() - read, static_cast<off_t>(read));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        read += static_cast<size_t>(count);
    }
    if (file >= 0)
        close(file);
    if (read < image.pixels.size()) {
        KCLog("The snapshot's pixels could not be read");
        return std::nullopt;
    }
    return image;
}

// Shared between the waiting frame and the reply callback, which may come
// after the wait gave up.
struct SnapshotWait {
    bool done = false;
    std::optional<KCImage> image;
};

void snapshotReplied(GObject* source, GAsyncResult* result, gpointer data)
{
    auto* wait = static_cast<std::shared_ptr<SnapshotWait>*>(data);
    GError* error = nullptr;
    WebKitUserMessage* reply = webkit_web_page_send_message_to_view_finish(WEBKIT_WEB_PAGE(source), result, &error);
    if (reply) {
        (*wait)->image = imageFromReply(reply);
        g_object_unref(reply);
    } else {
        KCLog("The snapshot request failed: %s", error ? error->message : "no reply");
        g_clear_error(&error);
    }
    (*wait)->done = true;
    delete wait;
}

} // namespace

KCRect PMWebKitFrame::contentBounds()
{
    JSCContext* context = PMWebKitPageScriptContext(m_page);
    auto result = PMWebKitEvaluateQuietly(context,
        "JSON.stringify([document.documentElement.scrollWidth, document.documentElement.scrollHeight])");
    g_object_unref(context);
    auto json = nlohmann::json::parse(result.value_or(""), nullptr, false);
    if (!json.is_array() || json.size() != 2 || !json[0].is_number() || !json[1].is_number())
        return {};
    return KCRect {{0, 0}, {json[0].get<double>(), json[1].get<double>()}};
}

std::optional<KCImage> PMWebKitFrame::snapshotOfRect(const KCRect& rect, double scale)
{
    KCDictionary body {{"x", rect.origin.x}, {"y", rect.origin.y}, {"width", rect.size.width}, {"height", rect.size.height}, {"scale", scale}};
    auto wait = std::make_shared<SnapshotWait>();
    WebKitUserMessage* message = webkit_user_message_new(PMBridgeMessageSnapshot, PMGVariantFromKCValue(KCValue(body)));
    webkit_web_page_send_message_to_view(m_page, message, nullptr, snapshotReplied, new std::shared_ptr<SnapshotWait>(wait));

    // The UI side needs this process to paint, so the wait keeps the main
    // context turning; a time-out keeps a lost reply from hanging the page.
    bool timedOut = false;
    const guint milliseconds = snapshotTimeoutMilliseconds(rect);
    guint timeout = g_timeout_add(milliseconds, [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
    }, &timedOut);
    while (!wait->done && !timedOut)
        g_main_context_iteration(nullptr, TRUE);
    if (!timedOut)
        g_source_remove(timeout);
    else
        KCLog("No snapshot came back within %u ms", milliseconds);
    return wait->done ? std::move(wait->image) : std::nullopt;
}

std::shared_ptr<PMScriptContext> PMWebKitFrame::scriptContext()
{
    JSCContext* context = PMWebKitPageScriptContext(m_page);
    auto scriptContext = std::make_shared<PMJSCScriptContext>(context);
    g_object_unref(context);
    return scriptContext;
}

std::shared_ptr<PMDOMDocument> PMWebKitFrame::document()
{
    JSCContext* context = PMWebKitPageScriptContext(m_page);
    auto document = std::make_shared<PMWebKitDocument>(context);
    g_object_unref(context);
    return document;
}
