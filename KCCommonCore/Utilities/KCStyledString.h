#pragma once
// Text with attributes over ranges of it: font, link and annotation style.
// Ranges count UTF-16 units. The runs cover the whole text in order, without
// gaps; neighbouring runs with equal attributes are one run, so a writer
// walks runs() and opens and closes each attribute where it changes.
#include "KCGeometry.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct KCTextAttributes {
    std::u16string fontFamily;  // empty: the default font
    double fontSize = 0;        // points; 0: the default size
    std::u16string link;        // a URL; empty: no link
    // The annotation style number that shares call kTNAnnotationStyleAttributeName.
    std::optional<int32_t> annotationStyle;

    friend bool operator==(const KCTextAttributes&, const KCTextAttributes&) = default;
};

struct KCStyledRun {
    KCRange range;
    KCTextAttributes attributes;

    friend bool operator==(const KCStyledRun&, const KCStyledRun&) = default;
};

class KCStyledString {
public:
    KCStyledString() = default;
    explicit KCStyledString(std::u16string text, const KCTextAttributes& attributes = {});

    const std::u16string& string() const { return m_text; }
    uint64_t length() const { return m_text.size(); }
    const std::vector<KCStyledRun>& runs() const { return m_runs; }

    void append(std::u16string_view text, const KCTextAttributes& attributes = {});
    void append(const KCStyledString& other);

    // Each applies nothing when the range is not found, empty or not wholly inside the text.
    void setFont(std::u16string_view family, double size, KCRange range);
    void setLink(std::u16string_view url, KCRange range);
    void setAnnotationStyle(int32_t style, KCRange range);

    // The first stretch of text that carries an annotation style; not found when none does.
    KCRange annotationStyleRange() const;

private:
    void p_change(KCRange range, const std::function<void(KCTextAttributes&)>& change);
    void p_splitAt(uint64_t offset);
    void p_merge();

    std::u16string m_text;
    std::vector<KCStyledRun> m_runs;
};
