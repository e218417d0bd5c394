#pragma once
// The text of a page's document as the engine's text iterator walks it:
// runs of characters over a range that selects the body, each with the DOM
// node where the run starts, and the element chain above that node.
#include <memory>
#include <optional>
#include <string_view>

class PMDOMNode {
public:
    virtual ~PMDOMNode() = default;
    // The tag name exactly as the engine reports it, for elements; nothing
    // for other nodes. The view lives as long as the node.
    virtual std::optional<std::u16string_view> elementTagName() const = 0;
    virtual std::shared_ptr<PMDOMNode> parentNode() const = 0;
};

struct PMTextRun {
    std::u16string_view text;  // valid until the iterator moves on
    std::shared_ptr<PMDOMNode> startContainer;
};

class PMTextIterator {
public:
    virtual ~PMTextIterator() = default;
    // The next run, or nothing at the end of the range.
    virtual std::optional<PMTextRun> nextRun() = 0;
};

class PMDOMDocument {
public:
    virtual ~PMDOMDocument() = default;
    // A text iterator over a range that selects the body; nothing when the
    // document has no body.
    virtual std::unique_ptr<PMTextIterator> bodyTextIterator() = 0;
};
