#include "PMReaderLayout.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

// The backdrop around fixed-layout pages, by day and by night.
constexpr const char* kDayBackdrop = "#deddda";
constexpr const char* kNightBackdrop = "#1e1e1e";

bool isLandscape(const KCSize& view)
{
    return view.width > view.height;
}

} // namespace

PMReaderLayout::PMReaderLayout(const PMEngineSession& session)
    : m_session(session)
    , m_rightToLeft(PMPackageIsRightToLeft(session.book->package()))
{
    for (size_t index = 0; index < session.documentCount(); ++index)
        m_renditions.push_back(PMSpineItemRendition(session.book->package(), index));
}

bool PMReaderLayout::showsInSpread(size_t spineIndex, bool landscape) const
{
    const PMSpineRendition& rendition = m_renditions[spineIndex];
    return rendition.prePaginated && (rendition.spread == PMPageSpread::Both || (rendition.spread == PMPageSpread::Landscape && landscape));
}

std::vector<size_t> PMReaderLayout::spreadStarts(bool landscape) const
{
    const PMPageSide firstSide = m_rightToLeft ? PMPageSide::Right : PMPageSide::Left;
    const PMPageSide secondSide = m_rightToLeft ? PMPageSide::Left : PMPageSide::Right;
    std::vector<size_t> starts;
    for (size_t index = 0; index < m_renditions.size();) {
        starts.push_back(index);
        const bool paired = index + 1 < m_renditions.size() && showsInSpread(index, landscape) && showsInSpread(index + 1, landscape)
            && m_renditions[index].side != secondSide && m_renditions[index + 1].side != firstSide;
        index += paired ? 2 : 1;
    }
    return starts;
}

size_t PMReaderLayout::spreadStart(size_t spineIndex, const KCSize& view) const
{
    if (spineIndex >= m_renditions.size())
        return spineIndex;  // not in the book: the caller says so
    auto starts = spreadStarts(isLandscape(view));
    auto after = std::upper_bound(starts.begin(), starts.end(), spineIndex);
    return after == starts.begin() ? spineIndex : *(after - 1);
}

long PMReaderLayout::neighbour(size_t spineIndex, int direction, const KCSize& view) const
{
    auto starts = spreadStarts(isLandscape(view));
    auto at = std::upper_bound(starts.begin(), starts.end(), spineIndex) - starts.begin() - 1;
    const long wanted = at + (direction > 0 ? 1 : -1);
    return wanted < 0 || wanted >= static_cast<long>(starts.size()) ? -1 : static_cast<long>(starts[static_cast<size_t>(wanted)]);
}

KCSize PMReaderLayout::pageSize(size_t spineIndex, const KCSize& view) const
{
    auto known = m_pageSizes.find(spineIndex);
    if (known == m_pageSizes.end()) {
        auto document = m_session.book->readFile(m_session.href(spineIndex), nullptr);
        known = m_pageSizes.emplace(spineIndex, document ? PMViewportSizeOfDocument(*document) : std::nullopt).first;
    }
    // A page that does not say its size takes the view's.
    return known->second.value_or(view);
}

std::string PMReaderLayout::target(const std::string& targetJSON, size_t spineIndex, const KCSize& view, bool night) const
{
    auto target = nlohmann::json::parse(targetJSON);
    if (spineIndex >= m_renditions.size() || !m_renditions[spineIndex].prePaginated) {
        target["layout"] = m_scrolled ? nlohmann::json {{"mode", "scrolled"}} : nlohmann::json();
        return target.dump();
    }
    const KCSize size = pageSize(spineIndex, view);
    nlohmann::json layout {{"mode", "fixed"}, {"width", size.width}, {"height", size.height}, {"backdrop", night ? kNightBackdrop : kDayBackdrop}};
    const size_t start = spreadStart(spineIndex, view);
    const long next = neighbour(start, 1, view);
    if (start == spineIndex && next == static_cast<long>(spineIndex) + 2) {
        const size_t other = spineIndex + 1;
        auto uri = m_session.documentURI(other, nullptr);
        auto document = m_session.book->readFile(m_session.href(other), nullptr);
        const KCSize facing = pageSize(other, view);
        if (uri && document)
            layout["facing"] = {{"uri", *uri}, {"html", *document}, {"width", facing.width}, {"height", facing.height}, {"left", m_rightToLeft}};
    }
    target["layout"] = layout;
    return target.dump();
}
