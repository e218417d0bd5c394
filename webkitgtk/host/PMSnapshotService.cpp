#include "PMSnapshotService.h"

#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "PMSnapshotImage.h"
#include "Utilities/KCLogger.h"

#include <webkit/webkit.h>

namespace {

void snapshotTaken(GObject* source, GAsyncResult* result, gpointer data)
{
    auto* message = static_cast<WebKitUserMessage*>(data);
    GError* error = nullptr;
    GdkTexture* texture = webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(source), result, &error);
    KCValue request = PMKCValueFromGVariant(webkit_user_message_get_parameters(message));
    KCRect rect {{request["x"].doubleValue().value_or(0), request["y"].doubleValue().value_or(0)},
        {request["width"].doubleValue().value_or(0), request["height"].doubleValue().value_or(0)}};
    std::optional<KCImage> image;
    if (texture) {
        image = PMImageFromTexture(texture, rect, request["scale"].doubleValue().value_or(0));
        g_object_unref(texture);
    } else {
        KCLog("The engine made no snapshot: %s", error ? error->message : "");
        g_clear_error(&error);
    }
    KCValue body = PMSnapshotReplyBody(image);
    webkit_user_message_send_reply(message, webkit_user_message_new(PMBridgeMessageSnapshot, body.isNull() ? nullptr : PMGVariantFromKCValue(body)));
    g_object_unref(message);
}

} // namespace

void PMAnswerSnapshotRequest(WebKitWebView* view, WebKitUserMessage* request)
{
    webkit_web_view_get_snapshot(view, WEBKIT_SNAPSHOT_REGION_FULL_DOCUMENT, WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr, snapshotTaken, g_object_ref(request));
}
