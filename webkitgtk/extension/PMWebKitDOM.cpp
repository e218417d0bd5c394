#include "PMWebKitDOM.h"

#include "PMWebKitScript.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"

#include <jsc/jsc.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

// Text as the engine renders it: hidden elements and scripts are left out,
// white space collapses to one blank, a block element starts a new line.
// Tag names are kept as the document reports them. The result is
// {"e": [[tagName, parentIndex]...], "r": [[text, elementIndex]...]}.
const char* const kTextRunsScript = R"JS(
(function() {
    var body = document.body;
    if (!body)
        return 'null';
    var elements = [], indices = new Map(), runs = [], last = '';
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
    function emit(text, node) {
        if (!text)
            return;
        runs.push([text, indexOf(node)]);
        last = text[text.length - 1];
    }
    var skipped = { SCRIPT: 1, STYLE: 1, NOSCRIPT: 1, TEMPLATE: 1, script: 1, style: 1, noscript: 1, template: 1 };
    function walk(node) {
        for (var child = node.firstChild; child; child = child.nextSibling) {
            if (child.nodeType === 3) {
                var parentStyle = getComputedStyle(child.parentNode);
                var text = /^pre/.test(parentStyle.whiteSpace) ? child.data : child.data.replace(/[ \t\n\r\f]+/g, ' ');
                if (text[0] === ' ' && (last === '' || last === ' ' || last === '\n'))
                    text = text.substring(1);
                emit(text, child.parentNode);
            } else if (child.nodeType === 1 && !skipped[child.tagName]) {
                var style = getComputedStyle(child);
                if (style.display === 'none')
                    continue;
                var block = !/^(inline|ruby|contents)/.test(style.display);
                if (block && last !== '' && last !== '\n')
                    emit('\n', child);
                if (child.tagName === 'br' || child.tagName === 'BR')
                    emit('\n', child);
                walk(child);
                if (block && last !== '' && last !== '\n')
                    emit('\n', child);
            }
        }
    }
    walk(body);
    if (last === '\n')
        runs.pop();
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
