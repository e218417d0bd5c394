#include "PMSnapshotService.h"

#include "Messages/PMGVariantValue.h"
#include "Messages/PMWebKitBridgeMessages.h"
#include "PMSnapshotImage.h"
#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"

#include <gio/gunixfdlist.h>
#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

#include <algorithm>
#include <memory>
#include <string>

namespace {

// Scripts run apart from the page's own, which may have replaced scrollTo.
constexpr const char* kScriptWorld = "pagemoor-snapshot";

struct SnapshotJob {
    WebKitWebView* view = nullptr;
    WebKitUserMessage* message = nullptr;
    KCRect rect;
    double scale = 0;
    std::optional<KCImage> image;
    std::function<void()> pieceDrawn;
    std::optional<KCPoint> savedScroll;  // known once the page was measured
    KCSize visible;  // the page's visible size, in document points
    KCPoint band;    // the origin of the piece being drawn
    KCPoint scroll;  // where the page stands for it

    ~SnapshotJob()
    {
        g_object_unref(message);
        g_object_unref(view);
    }
};

void drawNextBand(std::unique_ptr<SnapshotJob> job);

// Measures the page and pins what is fixed to the viewport where it stands
// at the top, so that it is drawn once rather than in every piece. The
// script world's own globals keep the elements for the way back.
constexpr const char* kMeasureScript = R"JS(
var pinned = [];
for (var element of document.querySelectorAll('*')) {
    if (getComputedStyle(element).position === 'fixed') {
        pinned.push([element, element.style.getPropertyValue('position'), element.style.getPropertyPriority('position')]);
        element.style.setProperty('position', 'absolute', 'important');
    }
}
window.pagemoorPinned = pinned;
var e = document.scrollingElement || document.documentElement;
JSON.stringify([scrollX, scrollY, e.clientWidth, e.clientHeight]))JS";

constexpr const char* kUnpinScript = R"JS(
for (var [element, position, priority] of window.pagemoorPinned || [])
    element.style.setProperty('position', position, priority);
window.pagemoorPinned = null;)JS";

std::string scrollScript(const KCPoint& point)
{
    return "scrollTo({left: " + std::to_string(point.x) + ", top: " + std::to_string(point.y) + ", behavior: 'instant'});";
}

void finish(std::unique_ptr<SnapshotJob> job)
{
    std::string script = kUnpinScript + std::string("\n") + (job->savedScroll ? scrollScript(*job->savedScroll) : "");
    webkit_web_view_evaluate_javascript(job->view, script.c_str(), -1, kScriptWorld, nullptr, nullptr, nullptr, nullptr);
    int pixels = job->image ? PMSnapshotPixelFile(*job->image) : -1;
    if (pixels < 0)
        job->image.reset();
    KCValue body = PMSnapshotReplyBody(job->image);
    job->image.reset();
    GUnixFDList* files = pixels < 0 ? nullptr : g_unix_fd_list_new_from_array(&pixels, 1);
    webkit_user_message_send_reply(job->message, webkit_user_message_new_with_fd_list(PMBridgeMessageSnapshot, body.isNull() ? nullptr : PMGVariantFromKCValue(body), files));
    if (files)
        g_object_unref(files);
}

// Runs a script in the page whose completion value is a JSON array of
// numbers and hands them on; nothing when it failed.
void evaluateNumbers(std::unique_ptr<SnapshotJob> job, const std::string& script,
    void (*then)(std::unique_ptr<SnapshotJob>, std::optional<std::vector<double>>))
{
    struct Call {
        std::unique_ptr<SnapshotJob> job;
        void (*then)(std::unique_ptr<SnapshotJob>, std::optional<std::vector<double>>);
    };
    WebKitWebView* view = job->view;
    webkit_web_view_evaluate_javascript(view, script.c_str(), -1, kScriptWorld, nullptr, nullptr, [](GObject* source, GAsyncResult* result, gpointer data) {
        std::unique_ptr<Call> call(static_cast<Call*>(data));
        GError* error = nullptr;
        JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error);
        std::optional<std::vector<double>> numbers;
        if (value) {
            KCGCharPointer text(jsc_value_to_string(value));
            auto json = nlohmann::json::parse(text ? text.get() : "", nullptr, false);
            if (json.is_array() && std::all_of(json.begin(), json.end(), [](const auto& item) { return item.is_number(); }))
                numbers = json.get<std::vector<double>>();
            g_object_unref(value);
        } else {
            KCLog("The snapshot's script failed: %s", error ? error->message : "");
            g_clear_error(&error);
        }
        call->then(std::move(call->job), std::move(numbers));
    }, new Call {std::move(job), then});
}

void bandTaken(GObject* source, GAsyncResult* result, gpointer data)
{
    std::unique_ptr<SnapshotJob> job(static_cast<SnapshotJob*>(data));
    GError* error = nullptr;
    GdkTexture* texture = webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(source), result, &error);
    if (!texture) {
        KCLog("The engine made no snapshot: %s", error ? error->message : "");
        g_clear_error(&error);
        job->image.reset();
        finish(std::move(job));
        return;
    }
    PMDrawSnapshotTexture(*job->image, job->rect, job->scale, texture, {job->scroll, job->visible}, {job->band, job->visible});
    g_object_unref(texture);
    job->pieceDrawn();
    // Left to right, then top to bottom.
    job->band.x += job->visible.width;
    if (job->band.x >= job->rect.origin.x + job->rect.size.width) {
        job->band.x = job->rect.origin.x;
        job->band.y += job->visible.height;
    }
    if (job->band.y >= job->rect.origin.y + job->rect.size.height)
        finish(std::move(job));
    else
        drawNextBand(std::move(job));
}

void scrolledToBand(std::unique_ptr<SnapshotJob> job, std::optional<std::vector<double>> position)
{
    if (!position || position->size() != 2) {
        job->image.reset();
        finish(std::move(job));
        return;
    }
    // The page stops at its end, so the last band may stand higher than asked.
    job->scroll = {(*position)[0], (*position)[1]};
    WebKitWebView* view = job->view;
    webkit_web_view_get_snapshot(view, WEBKIT_SNAPSHOT_REGION_VISIBLE, WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr, bandTaken, job.release());
}

void drawNextBand(std::unique_ptr<SnapshotJob> job)
{
    std::string script = scrollScript(job->band) + " JSON.stringify([scrollX, scrollY])";
    evaluateNumbers(std::move(job), script, scrolledToBand);
}

void measured(std::unique_ptr<SnapshotJob> job, std::optional<std::vector<double>> numbers)
{
    if (!numbers || numbers->size() != 4 || !((*numbers)[2] > 0 && (*numbers)[3] > 0)) {
        KCLog("The page has no visible area to draw");
        job->image.reset();
        finish(std::move(job));
        return;
    }
    job->savedScroll = {(*numbers)[0], (*numbers)[1]};
    job->visible = {(*numbers)[2], (*numbers)[3]};
    job->band = job->rect.origin;
    drawNextBand(std::move(job));
}

} // namespace

void PMAnswerSnapshotRequest(WebKitWebView* view, WebKitUserMessage* request, std::function<void()> pieceDrawn)
{
    auto job = std::make_unique<SnapshotJob>();
    job->pieceDrawn = std::move(pieceDrawn);
    job->view = WEBKIT_WEB_VIEW(g_object_ref(view));
    job->message = WEBKIT_USER_MESSAGE(g_object_ref(request));
    KCValue body = PMKCValueFromGVariant(webkit_user_message_get_parameters(request));
    job->rect = {{body["x"].doubleValue().value_or(0), body["y"].doubleValue().value_or(0)},
        {body["width"].doubleValue().value_or(0), body["height"].doubleValue().value_or(0)}};
    job->scale = body["scale"].doubleValue().value_or(0);
    job->image = PMSnapshotCanvas(job->rect, job->scale);
    if (!job->image) {
        finish(std::move(job));
        return;
    }
    // The visible region leaves out scroll bars; so does clientWidth.
    evaluateNumbers(std::move(job), kMeasureScript, measured);
}
