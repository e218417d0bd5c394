#include "PMFakeDOM.h"

std::shared_ptr<PMFakeDOMNode> PMFakeDOMNode::element(std::u16string tagName, std::shared_ptr<PMFakeDOMNode> parent)
{
    auto node = std::make_shared<PMFakeDOMNode>();
    node->m_tagName = std::move(tagName);
    node->m_parent = std::move(parent);
    return node;
}

std::shared_ptr<PMFakeDOMNode> PMFakeDOMNode::textNode(std::shared_ptr<PMFakeDOMNode> parent)
{
    auto node = std::make_shared<PMFakeDOMNode>();
    node->m_parent = std::move(parent);
    return node;
}

std::optional<std::u16string_view> PMFakeDOMNode::elementTagName() const
{
    if (!m_tagName)
        return std::nullopt;
    return std::u16string_view(*m_tagName);
}

void PMFakeDocument::appendRun(std::u16string text, std::shared_ptr<PMFakeDOMNode> element)
{
    m_runs.push_back({std::move(text), PMFakeDOMNode::textNode(std::move(element))});
}

namespace {

class FakeTextIterator final : public PMTextIterator {
public:
    explicit FakeTextIterator(const std::vector<PMFakeDocument::Run>& runs) : m_runs(runs) {}
    std::optional<PMTextRun> nextRun() override
    {
        if (m_next == m_runs.size())
            return std::nullopt;
        const auto& run = m_runs[m_next++];
        return PMTextRun {run.text, run.container};
    }

private:
    std::vector<PMFakeDocument::Run> m_runs;  // a copy, as a live range would not see later edits
    size_t m_next = 0;
};

} // namespace

std::unique_ptr<PMTextIterator> PMFakeDocument::bodyTextIterator()
{
    if (!m_hasBody)
        return nullptr;
    return std::make_unique<FakeTextIterator>(m_runs);
}
