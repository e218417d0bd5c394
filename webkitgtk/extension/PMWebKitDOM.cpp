#include "PMWebKitDOM.h"

#include "PMWebKitScript.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <jsc/jsc.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

// The page's text is the engine's own: the body's innerText (hidden and
// undisplayed text left out, table cells split by tabs, text transformed,
// line breaks where the engine puts them). To know which node each piece of
// it comes from, every text node is marked for one reading of innerText: its
// text, past the white space that may collapse at either end, is wrapped in
// noncharacters that carry the node's number, then the nodes are put back.
// What lies between marked pieces (line breaks, tabs, collapsed blanks,
// generated content) is a run of the body. Style, script and form text is
// never marked: changing it would change the page. A page that already
// holds those noncharacters (or whose marks come back out of shape) gives
// one run of the body.
// Tag names are kept as the document reports them. The result is
// {"e": [[tagName, parentIndex]...], "r": [[text, elementIndex]...]}.
const char* const kTextRunsScript = R"JS(
(function() {
    var body = document.body;
    if (!body)
        return 'null';
    var elements = [], indices = new Map(), runs = [];
    function indexOf(node) {
        if (!node || node.nodeType !== 1)
            return -1;
        var index = indices.get(node);
        if (index !== undefined)
            return index;
        var parent = indexOf(node.parentNode);
        index = elements.length;
        elements.push([node.tagName, parent]);
        indices.set(node, index);
        return index;
    }
    var bodyIndex = indexOf(body);
    function emit(text, index) {
        if (text)
            runs.push([text, index]);
    }
    function wholeBody() {
        runs = [];
        emit(body.innerText, bodyIndex);
        return JSON.stringify({ e: elements, r: runs });
    }
    var OPEN = '\uFDD0', NUMBERED = '\uFDD1', CLOSE = '\uFDEF', ZERO = 0xFDE0;
    if (/[\uFDD0-\uFDEF]/.test(body.textContent))
        return wholeBody();
    var unmarked = { style: 1, script: 1, textarea: 1, noscript: 1, title: 1, xmp: 1 };
    var nodes = [], originals = [];
    var walker = document.createTreeWalker(body, NodeFilter.SHOW_TEXT);
    for (var node = walker.nextNode(); node; node = walker.nextNode()) {
        var parent = node.parentNode;
        if (!parent || unmarked[(parent.localName || '').toLowerCase()])
            continue;
        var data = node.data, parts = /^([ \t\n\r\f]*)([\s\S]*?)([ \t\n\r\f]*)$/.exec(data);
        if (!parts[2])
            continue;
        var number = String(nodes.length).replace(/[0-9]/g, function(digit) { return String.fromCharCode(ZERO + +digit); });
        nodes.push(node);
        originals.push(data);
        node.data = parts[1] + OPEN + number + NUMBERED + parts[2] + CLOSE + parts[3];
    }
    var text;
    try {
        text = body.innerText;
    } finally {
        for (var i = 0; i < nodes.length; ++i)
            nodes[i].data = originals[i];
    }
    var position = 0;
    while (position < text.length) {
        var open = text.indexOf(OPEN, position);
        if (open < 0)
            break;
        emit(text.substring(position, open), bodyIndex);
        var numbered = text.indexOf(NUMBERED, open), close = text.indexOf(CLOSE, open);
        var digits = numbered < 0 ? '' : text.substring(open + 1, numbered);
        var number = parseInt(digits.replace(/[\uFDE0-\uFDE9]/g, function(digit) { return digit.charCodeAt(0) - ZERO; }), 10);
        if (numbered < 0 || close < numbered || !(number < nodes.length))
            return wholeBody();
        emit(text.substring(numbered + 1, close), indexOf(nodes[number].parentNode));
        position = close + 1;
    }
    emit(text.substring(position), bodyIndex);
    return JSON.stringify({ e: elements, r: runs });
})()
)JS";

class ElementNode final : public PMDOMNode {
public:
    ElementNode(std::u16string tagName, std::shared_ptr<PMDOMNode> parent)
        : m_tagName(std::move(tagName)), m_parent(std::move(parent)) {}
    std::optional<std::u16string_view> elementTagName() const override { return std::u16string_view(m_tagName); }
    std::shared_ptr<PMDOMNode> parentNode() const override { return m_parent; }

private:
    std::u16string m_tagName;
    std::shared_ptr<PMDOMNode> m_parent;
};

class TextNode final : public PMDOMNode {
public:
    explicit TextNode(std::shared_ptr<PMDOMNode> parent) : m_parent(std::move(parent)) {}
    std::optional<std::u16string_view> elementTagName() const override { return std::nullopt; }
    std::shared_ptr<PMDOMNode> parentNode() const override { return m_parent; }

private:
    std::shared_ptr<PMDOMNode> m_parent;
};

class RunIterator final : public PMTextIterator {
public:
    struct Run {
        std::u16string text;
        std::shared_ptr<PMDOMNode> node;
    };
    explicit RunIterator(std::vector<Run> runs) : m_runs(std::move(runs)) {}
    std::optional<PMTextRun> nextRun() override
    {
        if (m_next >= m_runs.size())
            return std::nullopt;
        const Run& run = m_runs[m_next++];
        return PMTextRun {run.text, run.node};
    }

private:
    std::vector<Run> m_runs;
    size_t m_next = 0;
};

std::unique_ptr<PMTextIterator> iteratorFromJSON(const std::string& text)
{
    auto json = nlohmann::json::parse(text, nullptr, false);
    if (!json.is_object() || !json["e"].is_array() || !json["r"].is_array())
        return nullptr;
    std::vector<std::shared_ptr<PMDOMNode>> elements;
    for (const auto& element : json["e"]) {
        if (!element.is_array() || element.size() != 2 || !element[0].is_string() || !element[1].is_number_integer())
            return nullptr;
        int64_t parent = element[1].get<int64_t>();
        // Parents are listed before their children.
        auto parentNode = parent >= 0 && static_cast<size_t>(parent) < elements.size() ? elements[parent] : nullptr;
        elements.push_back(std::make_shared<ElementNode>(KCUTF16FromUTF8(element[0].get<std::string>()), parentNode));
    }
    std::vector<RunIterator::Run> runs;
    for (const auto& run : json["r"]) {
        if (!run.is_array() || run.size() != 2 || !run[0].is_string() || !run[1].is_number_integer())
            return nullptr;
        int64_t element = run[1].get<int64_t>();
        auto parent = element >= 0 && static_cast<size_t>(element) < elements.size() ? elements[element] : nullptr;
        runs.push_back({KCUTF16FromUTF8(run[0].get<std::string>()), std::make_shared<TextNode>(parent)});
    }
    return std::make_unique<RunIterator>(std::move(runs));
}

} // namespace

PMWebKitDocument::PMWebKitDocument(JSCContext* context)
    : m_context(context ? JSC_CONTEXT(g_object_ref(context)) : nullptr)
{
}

PMWebKitDocument::~PMWebKitDocument()
{
    if (m_context)
        g_object_unref(m_context);
}

std::unique_ptr<PMTextIterator> PMWebKitDocument::bodyTextIterator()
{
    std::optional<std::string> result = PMWebKitEvaluateQuietly(m_context, kTextRunsScript);
    if (!result || *result == "null")
        return nullptr;
    auto iterator = iteratorFromJSON(*result);
    if (!iterator)
        KCLog("The page's text runs could not be read");
    return iterator;
}
