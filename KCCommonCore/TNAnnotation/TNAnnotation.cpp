#include "TNAnnotation.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCStringAdditions.h"
#include "Utilities/KCStringConversion.h"

#include <glib.h>

#include <cctype>
#include <charconv>

namespace {

KCManagedObjectClassRegistration<TNAnnotation> registration("TNAnnotation");

constexpr size_t kMaximumSerializedTextLength = 5000;

KCValue textValue(TNAnnotation::TextArgument text)
{
    return text ? KCValue(*text) : KCValue();
}

std::u16string freshUUID()
{
    gchar* uuid = g_uuid_string_random();
    std::string text(uuid);
    g_free(uuid);
    for (char& c : text)
        c = g_ascii_toupper(c);
    return KCUTF16FromUTF8(text);
}

bool isDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

} // namespace

int TNCompareNumerically(std::u16string_view a, std::u16string_view b)
{
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            size_t aEnd = i, bEnd = j;
            while (aEnd < a.size() && isDigit(a[aEnd]))
                ++aEnd;
            while (bEnd < b.size() && isDigit(b[bEnd]))
                ++bEnd;
            while (i + 1 < aEnd && a[i] == u'0')
                ++i;
            while (j + 1 < bEnd && b[j] == u'0')
                ++j;
            std::u16string_view x = a.substr(i, aEnd - i), y = b.substr(j, bEnd - j);
            if (x.size() != y.size())
                return x.size() < y.size() ? -1 : 1;
            if (int order = x.compare(y))
                return order < 0 ? -1 : 1;
            i = aEnd;
            j = bEnd;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j] ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size())
        return 1;
    return j < b.size() ? -1 : 0;
}

std::shared_ptr<TNAnnotation> TNAnnotation::insertAnnotationWithAssetID(TextArgument assetID, TextArgument creatorIdentifier, TextArgument annotationUuid, KCManagedObjectContext* context)
{
    if (!context)
        return nullptr;
    auto annotation = context->newByClass<TNAnnotation>();
    if (!annotation)
        return nullptr;
    annotation->setAnnotationCreatorIdentifier(creatorIdentifier);
    annotation->setAnnotationAssetID(assetID);
    annotation->setAnnotationUuid(annotationUuid ? *annotationUuid : std::u16string_view(freshUUID()));
    return annotation;
}

void TNAnnotation::awakeFromInsert()
{
    KCManagedObject::awakeFromInsert();
    KCDate now = KCDate::now();
    setPrimitiveValue(KCValue(TNAnnotationTypeRange), "annotationType");
    setPrimitiveValue(KCValue(now), "annotationCreationDate");
    setPrimitiveValue(KCValue(now), "annotationModificationDate");
}

TNAnnotation::Text TNAnnotation::p_text(std::string_view key) const
{
    const std::u16string* text = valueForKey(key).string();
    return text ? Text(*text) : std::nullopt;
}

void TNAnnotation::p_setText(std::string_view key, TextArgument value)
{
    setValue(textValue(value), key);
}

void TNAnnotation::p_setStampingSystemDate(std::string_view key, const KCValue& value)
{
    setValue(value, key);
    updateSystemModificationDate();
}

void TNAnnotation::p_setTextStampingSystemDate(std::string_view key, TextArgument value)
{
    p_setStampingSystemDate(key, textValue(value));
}

void TNAnnotation::p_setStampingAllDates(std::string_view key, const KCValue& value)
{
    setValue(value, key);
    updateAllModificationDates();
}

void TNAnnotation::setAnnotationCreationDate(std::optional<KCDate> date)
{
    setValue(date ? KCValue(*date) : KCValue(), "annotationCreationDate");
}

void TNAnnotation::setAnnotationModificationDate(std::optional<KCDate> date)
{
    setValue(date ? KCValue(*date) : KCValue(), "annotationModificationDate");
}

int32_t TNAnnotation::annotationType() const
{
    return static_cast<int32_t>(valueForKey("annotationType").int64Value().value_or(0));
}

void TNAnnotation::setAnnotationType(int32_t type)
{
    p_setStampingAllDates("annotationType", KCValue(type));
}

int32_t TNAnnotation::annotationStyle() const
{
    if (annotationIsUnderline())
        return TNAnnotationStyleUnderline;
    return static_cast<int32_t>(valueForKey("annotationStyle").int64Value().value_or(0));
}

void TNAnnotation::setAnnotationStyle(int32_t style)
{
    if (style == TNAnnotationStyleUnderline) {
        setAnnotationIsUnderline(true);
        style = 0;
    } else if (style != 0 && annotationIsUnderline()) {
        setAnnotationIsUnderline(false);
    }
    p_setStampingAllDates("annotationStyle", KCValue(style));
}

bool TNAnnotation::annotationIsUnderline() const
{
    return valueForKey("annotationIsUnderline").boolValue().value_or(false);
}

void TNAnnotation::setAnnotationIsUnderline(bool underline)
{
    p_setStampingAllDates("annotationIsUnderline", KCValue(underline));
}

bool TNAnnotation::annotationDeleted() const
{
    return valueForKey("annotationDeleted").boolValue().value_or(false);
}

void TNAnnotation::setAnnotationDeleted(bool deleted)
{
    p_setStampingAllDates("annotationDeleted", KCValue(deleted));
}

void TNAnnotation::setAnnotationNote(TextArgument note)
{
    p_setStampingAllDates("annotationNote", textValue(note));
}

void TNAnnotation::setPlLocationRangeStart(std::optional<int64_t> value)
{
    p_setStampingSystemDate("plLocationRangeStart", value ? KCValue(*value) : KCValue());
}

void TNAnnotation::setPlLocationRangeEnd(std::optional<int64_t> value)
{
    p_setStampingSystemDate("plLocationRangeEnd", value ? KCValue(*value) : KCValue());
}

void TNAnnotation::setPlAbsolutePhysicalLocation(std::optional<double> value)
{
    p_setStampingSystemDate("plAbsolutePhysicalLocation", value ? KCValue(*value) : KCValue());
}

const KCValue& TNAnnotation::futureProofing(int slot) const
{
    if (slot < 1 || slot > 12)
        return KCNullValue();
    return valueForKey("futureProofing" + std::to_string(slot));
}

void TNAnnotation::setFutureProofing(int slot, const KCValue& value)
{
    if (slot < 1 || slot > 12) {
        KCLog("No spare attribute slot %d", slot);
        return;
    }
    p_setStampingSystemDate("futureProofing" + std::to_string(slot), value);
}

std::optional<KCDate> TNAnnotation::userModificationDate() const
{
    const std::u16string* text = valueForKey("futureProofing6").string();
    if (!text || text->empty())
        return std::nullopt;
    std::string utf8 = KCUTF8FromUTF16(*text);
    double seconds = 0;
    auto result = std::from_chars(utf8.data(), utf8.data() + utf8.size(), seconds);
    if (result.ec != std::errc())
        return std::nullopt;
    return KCDate {seconds};
}

void TNAnnotation::setUserModificationDate(std::optional<KCDate> date)
{
    setValue(date ? KCValue::fromUTF8(KCStringWithFormat("%f", date->timeIntervalSinceReferenceDate)) : KCValue(), "futureProofing6");
}

KCRange TNAnnotation::annotationSelectedTextRange() const
{
    const std::u16string* text = valueForKey("futureProofing7").string();
    if (!text || text->empty())
        return {KCNotFound, 0};
    // Read as ranges are read from text: the first two numbers found, missing ones 0.
    uint64_t numbers[2] = {0, 0};
    size_t found = 0;
    for (size_t i = 0; i < text->size() && found < 2;) {
        if (!isDigit((*text)[i])) {
            ++i;
            continue;
        }
        uint64_t value = 0;
        for (; i < text->size() && isDigit((*text)[i]); ++i)
            value = value * 10 + static_cast<uint64_t>((*text)[i] - u'0');
        numbers[found++] = value;
    }
    return {numbers[0], numbers[1]};
}

void TNAnnotation::setAnnotationSelectedTextRange(KCRange range)
{
    setValue(KCValue::fromUTF8(KCStringWithFormat("{%llu, %llu}", static_cast<unsigned long long>(range.location), static_cast<unsigned long long>(range.length))), "futureProofing7");
}

bool TNAnnotation::annotationHasNote() const
{
    const std::u16string* note = valueForKey("annotationNote").string();
    if (!note)
        return false;
    return static_cast<uint8_t>(KCTrimWhitespaceAndNewlines(*note).size()) != 0;
}

void TNAnnotation::updateSystemModificationDate()
{
    setAnnotationModificationDate(KCDate::now());
}

void TNAnnotation::updateUserModificationDate()
{
    setUserModificationDate(KCDate::now());
}

void TNAnnotation::updateAllModificationDates()
{
    KCDate now = KCDate::now();
    setAnnotationModificationDate(now);
    setUserModificationDate(now);
}

bool TNAnnotation::bumpAnnotationVersionToMinimumVersion(std::u16string_view version)
{
    Text current = annotationVersion();
    if (current && TNCompareNumerically(*current, version) >= 0)
        return false;
    setAnnotationVersion(version);
    return true;
}

std::u16string TNAnnotation::optimizedSelectedTextForSerialization(std::u16string_view text)
{
    return std::u16string(text.substr(0, kMaximumSerializedTextLength));
}

TNAnnotation::Text TNAnnotation::optimizedRepresentativeTextForSerialization(TextArgument representativeText, TextArgument selectedText)
{
    if (!representativeText || representativeText->size() > kMaximumSerializedTextLength || representativeText == selectedText)
        return std::nullopt;
    return std::u16string(*representativeText);
}

KCArray TNAnnotation::userAnnotationTypeValues()
{
    return {KCValue(TNAnnotationTypePageBookmark), KCValue(TNAnnotationTypeRange)};
}

KCArray TNAnnotation::globalAnnotationTypeValues()
{
    return {KCValue(TNAnnotationTypeGlobal)};
}
