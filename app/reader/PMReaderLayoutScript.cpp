#include "PMReaderLayoutScript.h"

#include "PMReaderPageScript.h"

namespace {

const char* const kLayoutScript = R"JS(
(function() {
    // Every property a layout sets on the root or the body, cleared when another takes over.
    var properties = ['box-sizing', 'height', 'width', 'padding', 'column-width', 'column-gap', 'column-fill', 'overflow',
        'background-color', 'position', 'left', 'top', 'margin', 'transform', 'transform-origin'];
    function styleSheet(text) {
        if (document.getElementById('pagemoor-reader-style') || !document.head)
            return;
        var sheet = document.createElement('style');
        sheet.id = 'pagemoor-reader-style';
        sheet.textContent = text;
        document.head.appendChild(sheet);
    }
    function post(state) {
        if (window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.pagemoorReader)
            window.webkit.messageHandlers.pagemoorReader.postMessage(state);
    }
    function place(element, left, top, width, height, scale) {
        var style = element.style;
        style.setProperty('position', 'absolute');
        style.setProperty('margin', '0');
        style.setProperty('left', left + 'px');
        style.setProperty('top', top + 'px');
        style.setProperty('width', width + 'px');
        style.setProperty('height', height + 'px');
        style.setProperty('overflow', 'hidden');
        style.setProperty('transform', 'scale(' + scale + ')');
        style.setProperty('transform-origin', '0 0');
    }
    // The spread's other page, written into a frame beside the body (the
    // reader keeps frames from loading book files of their own); answers a
    // promise of its images.
    function showFacing(facing, left, top, scale) {
        var frame = document.querySelector('iframe.pagemoor-reader-facing');
        if (!frame) {
            frame = document.createElementNS('http://www.w3.org/1999/xhtml', 'iframe');
            frame.setAttribute('class', 'pagemoor-reader-facing');
            frame.style.setProperty('border', '0');
            frame.style.setProperty('background-color', 'white');
            document.documentElement.appendChild(frame);
        }
        place(frame, left, top, facing.width, facing.height, scale);
        if (frame.getAttribute('data-uri') === facing.uri)
            return Promise.resolve();
        frame.setAttribute('data-uri', facing.uri);
        var base = '<base href="' + facing.uri.replace(/"/g, '%22') + '">';
        var html = /<head(\s[^>]*)?>/i.test(facing.html) ? facing.html.replace(/<head(\s[^>]*)?>/i, function(head) { return head + base; }) : base + facing.html;
        var page = frame.contentDocument;
        page.open();
        page.write(html);
        page.close();
        if (page.body)
            page.body.style.setProperty('margin', '0');
        var images = Array.prototype.slice.call(page.images).filter(function(image) { return !image.complete; });
        return Promise.all(images.map(function(image) {
            return new Promise(function(done) {
                image.addEventListener('load', done, {once: true});
                image.addEventListener('error', done, {once: true});
            });
        }));
    }
    var scrolled = {
        layOut: function() {
            var width = window.innerWidth;
            var margin = Math.max(16, Math.min(64, Math.round(width * 0.06)));
            var style = document.documentElement.style;
            style.setProperty('box-sizing', 'border-box');
            style.setProperty('padding', Math.round(margin / 2) + 'px ' + margin + 'px');
            styleSheet('img, svg, video { max-width: 100%; }');
        },
        pageCount: function() {
            var scrolling = document.scrollingElement || document.documentElement;
            return Math.max(1, Math.ceil(scrolling.scrollHeight / window.innerHeight - 0.001));
        },
        // The last page is the one scrolled to the end, wherever it begins.
        currentPage: function() {
            var scrolling = document.scrollingElement || document.documentElement;
            if (window.scrollY + window.innerHeight >= scrolling.scrollHeight - 1)
                return scrolled.pageCount() - 1;
            return Math.round(window.scrollY / window.innerHeight);
        },
        pageOf: function(rect) { return Math.floor((rect.top + window.scrollY) / window.innerHeight); },
        scrollTo: function(page) { window.scrollTo(0, page * window.innerHeight); },
        before: function(rect) { return rect.bottom <= 0; },
        visible: function(rect) { return rect.top < window.innerHeight; },
    };
    var fixed = {
        layOut: function(options) {
            var root = document.documentElement, body = document.body;
            if (!body || !options.width || !options.height)
                return null;
            var facing = options.facing;
            var width = options.width + (facing ? facing.width : 0);
            var height = Math.max(options.height, facing ? facing.height : 0);
            var scale = Math.min(window.innerWidth / width, window.innerHeight / height);
            var left = (window.innerWidth - width * scale) / 2;
            var top = (window.innerHeight - height * scale) / 2;
            root.style.setProperty('background-color', options.backdrop || 'gray');
            root.style.setProperty('overflow', 'hidden');
            root.style.setProperty('height', '100%');
            var ownLeft = facing && facing.left ? left + facing.width * scale : left;
            place(body, ownLeft, top + (height - options.height) * scale / 2, options.width, options.height, scale);
            if (getComputedStyle(body).backgroundColor === 'rgba(0, 0, 0, 0)')
                body.style.setProperty('background-color', 'white');
            if (!facing)
                return null;
            var facingLeft = facing.left ? left : left + options.width * scale;
            return showFacing(facing, facingLeft, top + (height - facing.height) * scale / 2, scale);
        },
        pageCount: function() { return 1; },
        currentPage: function() { return 0; },
        pageOf: function() { return 0; },
        scrollTo: function() { window.scrollTo(0, 0); },
        before: function() { return false; },
        visible: function() { return true; },
    };
    function reset() {
        [document.documentElement, document.body].forEach(function(element) {
            if (element)
                properties.forEach(function(name) { element.style.removeProperty(name); });
        });
        ['pagemoor-reader-style'].forEach(function(id) {
            var element = document.getElementById(id);
            if (element)
                element.remove();
        });
        var frame = document.querySelector('iframe.pagemoor-reader-facing');
        if (frame)
            frame.remove();
    }
    window.PMReaderLayouts = {scrolled: scrolled, fixed: fixed, reset: reset};
    // After a scroll, by a turn or by the user, the reader learns where the page stands.
    var scrolling = 0;
    window.addEventListener('scroll', function() {
        clearTimeout(scrolling);
        scrolling = setTimeout(function() {
            if (window.PMReader && PMReader.layout() && PMReader.layout().mode === 'scrolled')
                post(PMReader.state());
        }, 150);
    });
})();
)JS";

} // namespace

void PMInstallReaderLayoutScript(WebKitWebView* view)
{
    PMAddReaderPageScript(view, kLayoutScript);
}
