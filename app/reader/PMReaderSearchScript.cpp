#include "PMReaderSearchScript.h"

#include "PMReaderPageScript.h"
#include "PMReaderSearch.h"

#include <nlohmann/json.hpp>

namespace {

const char* const kSearchScript = R"JS(
(function() {
    var reader = window.PMReader;
    if (!reader)
        return;
    function flattenedUnit(unit) {
        var lower = unit.toLowerCase();
        return lower.length === 1 ? lower : unit;
    }
    // The body's text, blanks collapsed and lower-cased a unit at a time, with
    // the text node and offset of each of its units.
    function flattenedText() {
        var units = [], nodes = [], offsets = [];
        var walker = document.createTreeWalker(document.body || document.documentElement, NodeFilter.SHOW_TEXT, {
            acceptNode: function(node) {
                var parent = node.parentElement;
                return parent && parent.closest('rt, script, style') ? NodeFilter.FILTER_REJECT : NodeFilter.FILTER_ACCEPT;
            }
        });
        for (var node = walker.nextNode(); node; node = walker.nextNode()) {
            for (var i = 0; i < node.data.length; i++) {
                var blank = /\s/.test(node.data[i]);
                if (blank && units[units.length - 1] === ' ')
                    continue;
                units.push(blank ? ' ' : flattenedUnit(node.data[i]));
                nodes.push(node);
                offsets.push(i);
            }
        }
        return {text: units.join(''), nodes: nodes, offsets: offsets};
    }
    function flattened(text) {
        return text.replace(/\s+/g, ' ').split('').map(flattenedUnit).join('');
    }
    function selectMatch(match, occurrence) {
        var body = flattenedText(), needle = flattened(match);
        var found = -1;
        for (var at = body.text.indexOf(needle), seen = 0; needle && at >= 0; at = body.text.indexOf(needle, at + needle.length), seen++) {
            found = at;
            if (seen === occurrence)
                break;
        }
        if (found < 0)
            return null;
        var last = found + needle.length - 1;
        var range = document.createRange();
        range.setStart(body.nodes[found], body.offsets[found]);
        range.setEnd(body.nodes[last], body.offsets[last] + 1);
        var selection = window.getSelection();
        selection.removeAllRanges();
        selection.addRange(range);
        return reader.pathOf(body.nodes[found], body.offsets[found]);
    }
    var show = reader.show;
    reader.show = function(target) {
        if (typeof target.match === 'string')
            target = {path: selectMatch(target.match, target.occurrence || 0) || '', page: 0};
        return show(target);
    };
})();
)JS";

} // namespace

void PMInstallReaderSearchScript(WebKitWebView* view)
{
    PMAddReaderPageScript(view, kSearchScript);
}

std::string PMReaderMatchTarget(const PMReaderSearchResult& result)
{
    return nlohmann::json {{"match", result.match()}, {"occurrence", result.occurrence}}.dump();
}
