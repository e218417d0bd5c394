#pragma once
// How the reader window lays a spine item out: in columns (pages), scrolled
// down in one column, or, for the book's fixed-layout pages, one page or a
// spread of two scaled into the view. A spread shows in a landscape view
// when the book's spread setting allows it, its first page on the right in
// a right-to-left book; items that say which side they belong on begin or
// end a spread accordingly.
#include "book/PMBookFixedLayout.h"
#include "engine/PMEngineSession.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

class PMReaderLayout {
public:
    explicit PMReaderLayout(const PMEngineSession& session);

    bool scrolled() const { return m_scrolled; }
    void setScrolled(bool scrolled) { m_scrolled = scrolled; }
    // The spine's reading direction: turns go leftwards.
    bool rightToLeft() const { return m_rightToLeft; }
    // The item that the spread holding `spineIndex` begins with; itself when it shows alone.
    size_t spreadStart(size_t spineIndex, const KCSize& view) const;
    // The first item of the next (or, when `direction` is negative, the previous) spread or item.
    long neighbour(size_t spineIndex, int direction, const KCSize& view) const;
    // The page script's target (JSON) with the layout of the spine item in a view of that size.
    std::string target(const std::string& targetJSON, size_t spineIndex, const KCSize& view, bool night) const;

private:
    // The spread beginnings in reading order, for a view of that orientation.
    std::vector<size_t> spreadStarts(bool landscape) const;
    bool showsInSpread(size_t spineIndex, bool landscape) const;
    KCSize pageSize(size_t spineIndex, const KCSize& view) const;

    const PMEngineSession& m_session;
    std::vector<PMSpineRendition> m_renditions;
    bool m_rightToLeft = false;
    bool m_scrolled = false;
    mutable std::map<size_t, std::optional<KCSize>> m_pageSizes;
};
