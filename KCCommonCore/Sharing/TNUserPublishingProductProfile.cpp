#include "TNUserPublishingProductProfile.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCStringConversion.h"

#include <algorithm>

namespace {

// A number, or the number a numeric string starts with; 0 for anything else.
double numberValue(const KCValue& value)
{
    if (const auto* text = value.string())
        return KCLeadingDoubleValue(KCUTF8FromUTF16(*text));
    return value.doubleValue().value_or(0);
}

// True for a true number, or a string that starts (after spaces) with
// Y, y, T, t or a digit 1-9.
bool truthValue(const KCValue& value)
{
    const auto* text = value.string();
    if (!text)
        return value.boolValue().value_or(false);
    auto first = std::find_if(text->begin(), text->end(), [](char16_t c) { return c != u' ' && c != u'\t' && c != u'\n'; });
    if (first != text->end() && (*first == u'+' || *first == u'-'))
        ++first;
    while (first != text->end() && *first == u'0')
        ++first;
    return first != text->end() && (std::u16string_view(u"YyTt").find(*first) != std::u16string_view::npos || (*first >= u'1' && *first <= u'9'));
}

} // namespace

std::optional<TNUserPublishingProductProfile> TNUserPublishingProductProfile::initWithProfileDictionary(const KCValue& record)
{
    if (!record.dictionary())
        return std::nullopt;
    return TNUserPublishingProductProfile(*record.dictionary());
}

std::optional<KCURL> TNUserPublishingProductProfile::urlForCoverImageOfSize(KCSize size) const
{
    bool emptySize = size.width <= 0 || size.height <= 0;
    const KCValue* best = nullptr;
    KCSize bestSize;
    if (const KCValue* artwork = m_profileDictionary.find("artwork"); artwork && artwork->array()) {
        for (const KCValue& entry : *artwork->array()) {
            KCSize entrySize {numberValue(entry["width"]), numberValue(entry["height"])};
            if (entrySize.width >= bestSize.width || entrySize.height >= bestSize.height) {
                best = &entry;
                bestSize = entrySize;
            }
            if (!emptySize && (entrySize.width >= size.width || entrySize.height >= size.height))
                break;
        }
    }
    const std::u16string* url = best ? (*best)["url"].string() : nullptr;
    if (!url || url->empty())
        return std::nullopt;
    return KCURL::URLWithString(KCUTF8FromUTF16(*url));
}

bool TNUserPublishingProductProfile::isExplicit() const
{
    const KCValue* rating = m_profileDictionary.find("contentRating");
    if (!rating || !rating->dictionary())
        return false;
    const std::u16string* name = (*rating)["name"].string();
    if (!name)
        return false;
    std::u16string lower = *name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; });
    return lower == u"explicit" && truthValue((*rating)["value"]);
}
