#include "PMReaderPageScript.h"

#include <nlohmann/json.hpp>
#include <webkit/webkit.h>

namespace {

const char* const kReaderScript = R"JS(
(function() {
    function rightToLeft() {
        return getComputedStyle(document.documentElement).direction === 'rtl';
    }
    function layOut() {
        var root = document.documentElement;
        var width = window.innerWidth, height = window.innerHeight;
        if (!root || !width)
            return;
        var margin = Math.max(16, Math.min(64, Math.round(width * 0.06)));
        var style = root.style;
        style.setProperty('box-sizing', 'border-box');
        style.setProperty('height', height + 'px');
        style.setProperty('padding', Math.round(margin / 2) + 'px ' + margin + 'px');
        style.setProperty('column-width', (width - 2 * margin) + 'px');
        style.setProperty('column-gap', 2 * margin + 'px');
        style.setProperty('column-fill', 'auto');
        style.setProperty('overflow', 'hidden');
        if (!document.getElementById('pagemoor-reader-style') && document.head) {
            var sheet = document.createElement('style');
            sheet.id = 'pagemoor-reader-style';
            sheet.textContent = 'img, svg, video { max-width: 100%; max-height: ' + (height - margin) + 'px; object-fit: contain; }';
            document.head.appendChild(sheet);
        }
    }
    function pageCount() {
        var scrolling = document.scrollingElement || document.documentElement;
        return Math.max(1, Math.ceil(scrolling.scrollWidth / window.innerWidth - 0.001));
    }
    function currentPage() {
        return Math.round(Math.abs(window.scrollX) / window.innerWidth);
    }
    // The page of a point in the document's coordinates.
    function pageAt(x) {
        var width = window.innerWidth;
        return rightToLeft() ? Math.floor((width - 1 - x) / width) : Math.floor(x / width);
    }
    function step(node) {
        var elements = 0;
        for (var sibling = node.parentNode.firstChild; sibling && sibling !== node; sibling = sibling.nextSibling) {
            if (sibling.nodeType === 1)
                elements++;
        }
        return node.nodeType === 1 ? 2 * (elements + 1) : 2 * elements + 1;
    }
    function pathOf(node, offset) {
        var steps = [];
        for (var at = node; at && at !== document.documentElement; at = at.parentNode)
            steps.unshift(step(at));
        return '/' + steps.join('/') + ':' + offset;
    }
    function rectOf(node, offset) {
        var range = document.createRange();
        if (node.nodeType !== 3)
            return node.getBoundingClientRect();
        range.setStart(node, Math.min(offset, node.length));
        range.setEnd(node, Math.min(offset + 1, node.length));
        return range.getBoundingClientRect();
    }
    // The first text on the page shown: its node, then the first character
    // that is not on an earlier page.
    function firstVisiblePath() {
        var before = current().before, visible = current().visible;
        var walker = document.createTreeWalker(document.body || document.documentElement, NodeFilter.SHOW_TEXT);
        for (var node = walker.nextNode(); node; node = walker.nextNode()) {
            if (!/\S/.test(node.data))
                continue;
            var range = document.createRange();
            range.selectNodeContents(node);
            var rects = Array.prototype.slice.call(range.getClientRects());
            if (!rects.some(function(rect) { return rect.width > 0 && !before(rect) && visible(rect); }))
                continue;
            var low = 0, high = node.length - 1;
            while (low < high) {
                var middle = (low + high) >> 1;
                if (before(rectOf(node, middle)))
                    low = middle + 1;
                else
                    high = middle;
            }
            return pathOf(node, low);
        }
        return '';
    }
    // The node and offset of a path; as far as it leads when the page changed.
    function positionOf(path) {
        var parts = path.split(':');
        var node = document.documentElement, offset = parseInt(parts[1] || '0', 10) || 0;
        var steps = parts[0].split('/').filter(function(text) { return text; }).map(Number);
        for (var i = 0; i < steps.length; i++) {
            var wanted = steps[i], elements = 0, next = null;
            for (var child = node.firstChild; child && !next; child = child.nextSibling) {
                if (child.nodeType === 1)
                    elements++;
                if (wanted % 2 === 0 && child.nodeType === 1 && 2 * elements === wanted)
                    next = child;
                if (wanted % 2 === 1 && child.nodeType === 3 && 2 * elements + 1 === wanted)
                    next = child;
            }
            if (!next)
                return {node: node, offset: 0};
            node = next;
        }
        return {node: node, offset: node.nodeType === 3 ? offset : 0};
    }
    // Columns, the layout the others (PMReaderLayouts) stand beside.
    var paged = {
        layOut: layOut,
        pageCount: pageCount,
        currentPage: currentPage,
        pageOf: function(rect) { return pageAt(rect.left + window.scrollX); },
        scrollTo: function(page) { window.scrollTo((rightToLeft() ? -1 : 1) * page * window.innerWidth, 0); },
        before: function(rect) { return rightToLeft() ? rect.left >= window.innerWidth : rect.right <= 0; },
        visible: function(rect) { return rightToLeft() ? rect.right > 0 : rect.left < window.innerWidth; },
    };
    var layout = null, laidOut = null;  // the target's layout; null for columns
    function current() {
        return layout && window.PMReaderLayouts ? PMReaderLayouts[layout.mode] : paged;
    }
    var shownPath = null;
    function state() {
        shownPath = firstVisiblePath();
        return JSON.stringify({page: current().currentPage(), count: current().pageCount(), path: shownPath, rightToLeft: rightToLeft()});
    }
    // A promise of the state when the layout waits for a facing page.
    function show(target) {
        if (target.layout !== undefined)
            layout = target.layout;
        var mode = layout ? layout.mode : 'paged';
        if (laidOut !== mode && window.PMReaderLayouts)
            PMReaderLayouts.reset();
        laidOut = mode;
        var kind = current();
        var ready = kind.layOut(layout);
        var count = kind.pageCount(), page = 0;
        if (typeof target.path === 'string' && target.path) {
            var position = positionOf(target.path);
            page = kind.pageOf(rectOf(position.node, position.offset));
        } else if (typeof target.page === 'number') {
            page = target.page < 0 ? count - 1 : target.page;
        }
        page = Math.max(0, Math.min(count - 1, page));
        kind.scrollTo(page);
        return ready ? ready.then(state) : state();
    }
    window.PMReader = {show: show, state: state, pathOf: pathOf, positionOf: positionOf, layout: function() { return layout; }};
    // A new width lays the chapter out again at the text that was shown, and
    // tells the reader where the page stands now.
    var resizing = 0;
    window.addEventListener('resize', function() {
        clearTimeout(resizing);
        resizing = setTimeout(function() {
            if (shownPath === null)
                return;
            Promise.resolve(show({path: shownPath})).then(function(moved) {
                if (window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.pagemoorReader)
                    window.webkit.messageHandlers.pagemoorReader.postMessage(moved);
            });
        }, 100);
    });
    // The page clean-up lays out columns of its own at its load stages.
    var cleanup = window.PMDOMCleanup;
    if (cleanup) {
        ['didFinishDocumentLoad', 'didFinishLoad'].forEach(function(name) {
            var original = cleanup[name];
            cleanup[name] = function(bookInfo) {
                original.call(cleanup, bookInfo);
                // Its columns are only for the paged layout.
                if (layout)
                    ['height', 'column-width', 'column-gap', 'column-fill'].forEach(function(name) { document.documentElement.style.removeProperty(name); });
                current().layOut(layout);
            };
        });
    }
})();
)JS";

} // namespace

void PMInstallReaderPageScript(WebKitWebView* view)
{
    PMAddReaderPageScript(view, kReaderScript);
}

void PMAddReaderPageScript(WebKitWebView* view, const char* source)
{
    WebKitUserScript* script = webkit_user_script_new(source, WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
        WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
    webkit_user_content_manager_add_script(webkit_web_view_get_user_content_manager(view), script);
    webkit_user_script_unref(script);
}

std::string PMReaderShowScript(const std::string& targetJSON)
{
    return "PMReader.show(" + targetJSON + ")";
}

std::string PMReaderPageTarget(int page)
{
    return nlohmann::json {{"page", page}}.dump();
}

std::string PMReaderPathTarget(const std::string& path)
{
    return nlohmann::json {{"path", path}}.dump();
}
