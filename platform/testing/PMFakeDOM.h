#pragma once
// A page document made of text runs that a test lays down, each under a
// chain of fake elements.
#include "platform/PMPageText.h"

#include <memory>
#include <string>
#include <vector>

class PMFakeDOMNode final : public PMDOMNode {
public:
    static std::shared_ptr<PMFakeDOMNode> element(std::u16string tagName, std::shared_ptr<PMFakeDOMNode> parent = nullptr);
    static std::shared_ptr<PMFakeDOMNode> textNode(std::shared_ptr<PMFakeDOMNode> parent);

    std::optional<std::u16string_view> elementTagName() const override;
    std::shared_ptr<PMDOMNode> parentNode() const override { return m_parent; }

private:
    std::optional<std::u16string> m_tagName;
    std::shared_ptr<PMFakeDOMNode> m_parent;
};

class PMFakeDocument final : public PMDOMDocument {
public:
    // Appends a run in a new text node under the element.
    void appendRun(std::u16string text, std::shared_ptr<PMFakeDOMNode> element);
    void setHasBody(bool hasBody) { m_hasBody = hasBody; }
    std::unique_ptr<PMTextIterator> bodyTextIterator() override;

    struct Run {
        std::u16string text;
        std::shared_ptr<PMFakeDOMNode> container;
    };

private:
    std::vector<Run> m_runs;
    bool m_hasBody = true;
};
