#include "KCStyledString.h"

KCStyledString::KCStyledString(std::u16string text, const KCTextAttributes& attributes)
{
    append(text, attributes);
}

void KCStyledString::append(std::u16string_view text, const KCTextAttributes& attributes)
{
    if (text.empty())
        return;
    // Only the last run can take the new text: appending stays linear.
    if (!m_runs.empty() && m_runs.back().attributes == attributes)
        m_runs.back().range.length += text.size();
    else
        m_runs.push_back({{m_text.size(), text.size()}, attributes});
    m_text.append(text);
}

void KCStyledString::append(const KCStyledString& other)
{
    for (const auto& run : other.m_runs)
        append(std::u16string_view(other.m_text).substr(run.range.location, run.range.length), run.attributes);
}

void KCStyledString::setFont(std::u16string_view family, double size, KCRange range)
{
    p_change(range, [&](KCTextAttributes& attributes) {
        attributes.fontFamily = family;
        attributes.fontSize = size;
    });
}

void KCStyledString::setLink(std::u16string_view url, KCRange range)
{
    p_change(range, [&](KCTextAttributes& attributes) { attributes.link = url; });
}

void KCStyledString::setAnnotationStyle(int32_t style, KCRange range)
{
    p_change(range, [&](KCTextAttributes& attributes) { attributes.annotationStyle = style; });
}

KCRange KCStyledString::annotationStyleRange() const
{
    for (const auto& run : m_runs) {
        if (run.attributes.annotationStyle)
            return run.range;
    }
    return {};
}

void KCStyledString::p_change(KCRange range, const std::function<void(KCTextAttributes&)>& change)
{
    if (!range.found() || !range.length || range.location > m_text.size() || range.length > m_text.size() - range.location)
        return;
    p_splitAt(range.location);
    p_splitAt(range.end());
    for (auto& run : m_runs) {
        if (run.range.location >= range.location && run.range.end() <= range.end())
            change(run.attributes);
    }
    p_merge();
}

void KCStyledString::p_splitAt(uint64_t offset)
{
    for (size_t i = 0; i < m_runs.size(); ++i) {
        KCStyledRun& run = m_runs[i];
        if (run.range.location < offset && offset < run.range.end()) {
            KCStyledRun tail {{offset, run.range.end() - offset}, run.attributes};
            run.range.length = offset - run.range.location;
            m_runs.insert(m_runs.begin() + static_cast<std::ptrdiff_t>(i) + 1, std::move(tail));
            return;
        }
    }
}

void KCStyledString::p_merge()
{
    std::vector<KCStyledRun> merged;
    for (auto& run : m_runs) {
        if (!merged.empty() && merged.back().attributes == run.attributes)
            merged.back().range.length += run.range.length;
        else
            merged.push_back(std::move(run));
    }
    m_runs = std::move(merged);
}
