#include "PMPageCleanup.h"

#include <webkit/webkit.h>

#include <string>

namespace {

const char* const kCleanupScript = R"JS(
(function(PAGINATED) {
    var XML_NAMESPACE = 'http://www.w3.org/XML/1998/namespace';
    var RIGHT_TO_LEFT = /^(ar|arc|ckb|dv|fa|he|iw|ks|ku|ps|sd|ug|ur|yi)(-|$)/i;
    function declaredLanguage(root) {
        return root.getAttribute('lang') || root.getAttributeNS(XML_NAMESPACE, 'lang') || '';
    }
    function paginate() {
        var root = document.documentElement;
        if (!PAGINATED || !root || !window.innerWidth)
            return;
        root.style.setProperty('height', window.innerHeight + 'px');
        root.style.setProperty('column-width', window.innerWidth + 'px');
        root.style.setProperty('column-gap', '0px');
        root.style.setProperty('column-fill', 'auto');
    }
    var cleanup = {
        bookInfo: null,
        didFinishDocumentLoad: function(bookInfo) {
            var info = bookInfo || {};
            cleanup.bookInfo = info;
            var root = document.documentElement;
            if (!root)
                return;
            if (!declaredLanguage(root) && typeof info.language === 'string' && info.language)
                root.setAttribute('lang', info.language);
            if (!root.getAttribute('dir') && RIGHT_TO_LEFT.test(declaredLanguage(root)))
                root.setAttribute('dir', 'rtl');
            if (!document.title && typeof info.title === 'string' && info.title)
                document.title = info.title;
            paginate();
        },
        didFinishLoad: function(bookInfo) {
            cleanup.bookInfo = bookInfo || cleanup.bookInfo;
            paginate();
        }
    };
    window.PMDOMCleanup = cleanup;
})
)JS";

} // namespace

void PMInstallPageCleanup(WebKitWebView* view, bool paginationMode)
{
    std::string source = std::string(kCleanupScript) + (paginationMode ? "(true);" : "(false);");
    WebKitUserScript* script = webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
        WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(webkit_web_view_get_user_content_manager(view), script);
    webkit_user_script_unref(script);
}
