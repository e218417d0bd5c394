#include "PMReaderHighlightScript.h"

#include "PMReaderPageScript.h"

#include <nlohmann/json.hpp>

namespace {

const char* const kHighlightScript = R"JS(
(function() {
    var drawn = [];
    var nightSheet = 'html, body { background-color: #1c1c1c !important; color: #dcdcdc !important; }\n'
        + 'body * { color: inherit !important; background-color: transparent !important; border-color: #5c5c5c !important; }\n'
        + 'a, a * { color: #8fb8ff !important; }\n'
        + '::selection { background-color: #4a5a70 !important; color: #ffffff !important; }';
    function sheet(id) {
        var element = document.getElementById(id);
        if (!element) {
            element = document.createElement('style');
            element.id = id;
            (document.head || document.documentElement).appendChild(element);
        }
        return element;
    }
    function rangeOf(start, end) {
        var from = PMReader.positionOf(start), to = PMReader.positionOf(end);
        var range = document.createRange();
        try {
            range.setStart(from.node, Math.min(from.offset, from.node.length || 0));
            range.setEnd(to.node, Math.min(to.offset, to.node.length || 0));
        } catch (e) {
            return null;
        }
        return range;
    }
    // The nearest ancestor that is laid out as a block.
    function blockOf(node) {
        var root = document.body || document.documentElement;
        for (var at = node.parentNode; at && at !== root; at = at.parentNode) {
            var display = getComputedStyle(at).display;
            if (display !== 'inline' && display !== 'contents')
                return at;
        }
        return root;
    }
    // The label of the last page break before the node.
    function pageBefore(node) {
        var breaks = document.querySelectorAll('[*|type~="pagebreak"], [role~="doc-pagebreak"]');
        for (var i = breaks.length - 1; i >= 0; i--) {
            if (breaks[i].compareDocumentPosition(node) & Node.DOCUMENT_POSITION_FOLLOWING)
                return breaks[i].getAttribute('title') || breaks[i].getAttribute('aria-label') || breaks[i].textContent.trim();
        }
        return null;
    }
    // The range's place and text as find and the selection answer them.
    function describe(range) {
        var node = range.startContainer, at = range.startOffset;
        var before = function(root) {
            var part = document.createRange();
            part.setStart(root, 0);
            part.setEnd(node, at);
            return part.toString().length;
        };
        var block = blockOf(node);
        return {start: PMReader.pathOf(node, at), end: PMReader.pathOf(range.endContainer, range.endOffset), text: range.toString(),
            blockText: block.textContent, offset: before(block), chapterOffset: before(document.documentElement),
            page: pageBefore(node)};
    }
    function select(range) {
        var selection = window.getSelection();
        selection.removeAllRanges();
        selection.addRange(range);
    }
    function find(text) {
        if (!text)
            return null;
        var walker = document.createTreeWalker(document.body || document.documentElement, NodeFilter.SHOW_TEXT);
        for (var node = walker.nextNode(); node; node = walker.nextNode()) {
            var at = node.data.indexOf(text);
            if (at < 0)
                continue;
            var range = document.createRange();
            range.setStart(node, at);
            range.setEnd(node, at + text.length);
            select(range);
            return JSON.stringify(describe(range));
        }
        return null;
    }
    // Text selected in the page is offered for a highlight: its description
    // with its last line's box goes to the reader.
    function offerSelection() {
        var handlers = window.webkit && window.webkit.messageHandlers;
        var selection = window.getSelection();
        if (!handlers || !handlers.pagemoorSelection || !selection.rangeCount || selection.isCollapsed)
            return false;
        var range = selection.getRangeAt(0);
        var rects = range.getClientRects();
        if (!range.toString().trim() || !rects.length || range.startContainer.nodeType !== Node.TEXT_NODE
            || range.endContainer.nodeType !== Node.TEXT_NODE)
            return false;
        var line = rects[rects.length - 1], offer = describe(range);
        offer.x = line.left;
        offer.y = line.top;
        offer.width = line.width;
        offer.height = line.height;
        handlers.pagemoorSelection.postMessage(JSON.stringify(offer));
        return true;
    }
    // As if the user had selected the text's first occurrence.
    function selectText(text) {
        return find(text) !== null && offerSelection();
    }
    document.addEventListener('mouseup', function(event) {
        if (event.button === 0)
            setTimeout(offerSelection, 0);
    });
    function draw(list, night) {
        var style = sheet('pagemoor-night');
        style.textContent = night ? nightSheet : '';
        if (!window.CSS || !CSS.highlights || typeof Highlight !== 'function')
            return false;
        CSS.highlights.clear();
        drawn = [];
        var rules = [];
        list.forEach(function(item, index) {
            var range = rangeOf(item.start, item.end);
            if (!range || range.collapsed)
                return;
            var name = 'pagemoor-highlight-' + index;
            CSS.highlights.set(name, new Highlight(range));
            rules.push('::highlight(' + name + ') { ' + (item.underline
                ? 'text-decoration: underline 2px ' + item.color + ';'
                : 'background-color: ' + item.color + '; color: ' + item.textColor + ';') + ' }');
            drawn.push({uuid: item.uuid, range: range});
        });
        sheet('pagemoor-highlights').textContent = rules.join('\n');
        return true;
    }
    document.addEventListener('click', function(event) {
        var caret = document.caretRangeFromPoint(event.clientX, event.clientY);
        var handlers = window.webkit && window.webkit.messageHandlers;
        if (!caret || !handlers || !handlers.pagemoorHighlight)
            return;
        for (var i = drawn.length - 1; i >= 0; i--) {
            var range = drawn[i].range;
            if (!range.isPointInRange(caret.startContainer, caret.startOffset))
                continue;
            var rects = Array.prototype.slice.call(range.getClientRects());
            var line = rects.find(function(rect) {
                return event.clientX >= rect.left && event.clientX <= rect.right && event.clientY >= rect.top && event.clientY <= rect.bottom;
            }) || {left: event.clientX, top: event.clientY, width: 1, height: 1};
            handlers.pagemoorHighlight.postMessage(JSON.stringify({uuid: drawn[i].uuid, x: line.left, y: line.top, width: line.width, height: line.height}));
            return;
        }
    });
    window.PMHighlights = {find: find, draw: draw, selectText: selectText};
})();
)JS";

} // namespace

void PMInstallReaderHighlightScript(WebKitWebView* view)
{
    PMAddReaderPageScript(view, kHighlightScript);
}

std::string PMReaderFindScript(const std::string& text)
{
    return "PMHighlights.find(" + nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + ")";
}

std::string PMReaderDrawScript(const std::string& listJSON, bool night)
{
    return std::string("PMHighlights.draw(") + listJSON + ", " + (night ? "true" : "false") + ")";
}

std::string PMReaderSelectTextScript(const std::string& text)
{
    return "PMHighlights.selectText(" + nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + ")";
}
