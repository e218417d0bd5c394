#include "PMWebKitScript.h"

#include "Utilities/KCLogger.h"

#include <webkit/webkit-web-process-extension.h>

std::optional<std::string> PMWebKitEvaluateQuietly(JSCContext* context, const char* script)
{
    if (!context)
        return std::nullopt;
    JSCException* saved = jsc_context_get_exception(context);
    if (saved)
        g_object_ref(saved);
    jsc_context_clear_exception(context);

    std::optional<std::string> result;
    JSCValue* value = jsc_context_evaluate(context, script, -1);
    if (JSCException* exception = jsc_context_get_exception(context)) {
        char* report = jsc_exception_report(exception);
        KCLog("Extension script failed: %s", report ? report : "");
        g_free(report);
    } else if (value) {
        char* text = jsc_value_to_string(value);
        if (text)
            result = text;
        g_free(text);
    }
    if (value)
        g_object_unref(value);

    jsc_context_clear_exception(context);
    if (saved) {
        jsc_context_throw_exception(context, saved);
        g_object_unref(saved);
    }
    return result;
}

JSCContext* PMWebKitPageScriptContext(WebKitWebPage* page)
{
    // The main frame accessor is marked deprecated without a replacement;
    // it is still the only way to reach a page's script context.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    WebKitFrame* frame = webkit_web_page_get_main_frame(page);
#pragma GCC diagnostic pop
    return webkit_frame_get_js_context(frame);
}
