#include "TNAssetActivityItemProvider.h"

#include "TNAnnotationActivityItemProviders.h"
#include "TNAssetActivityItemProviders.h"

#include "Utilities/KCRTFWriter.h"
#include "Utilities/KCStringConversion.h"

#include <algorithm>

const char16_t* const kKCUTITypeRTF = u"public.rtf";

TNAssetActivityItemProvider::TNAssetActivityItemProvider(std::shared_ptr<TNAnnotation> annotation, TNAssetActivityItemPropertySource propertySource)
    : m_shareType(ShareTypeAnnotation)
    , m_annotations {std::move(annotation)}
    , m_propertySource(std::move(propertySource))
{
}

TNAssetActivityItemProvider::TNAssetActivityItemProvider(TNAnnotation::Annotations annotations, TNAssetActivityItemPropertySource propertySource)
    : m_shareType(ShareTypeAnnotationGroup)
    , m_annotations(std::move(annotations))
    , m_propertySource(std::move(propertySource))
{
}

TNAssetActivityItemProvider::TNAssetActivityItemProvider(TNAssetActivityItemPropertySource propertySource)
    : m_shareType(ShareTypeBook)
    , m_propertySource(std::move(propertySource))
{
}

template <typename P>
std::shared_ptr<P> TNAssetActivityItemProvider::p_make() const
{
    return TNMakeAnnotationProvider<P>(m_annotations, m_propertySource, m_paginationDataSource, m_citationsAllowed);
}

KCActivityItems TNAssetActivityItemProvider::expandedItemProviders()
{
    switch (m_shareType) {
    case ShareTypeBook:
        return {std::make_shared<TNAssetFacebookActivityItemProvider>(m_propertySource),
            std::make_shared<TNAssetTwitterWeiboActivityItemProvider>(m_propertySource), std::make_shared<TNAssetMailActivityItemProvider>(m_propertySource),
            std::make_shared<TNAssetTextActivityItemProvider>(m_propertySource)};
    case ShareTypeAnnotation:
        if (!m_citationsAllowed)
            return {};
        return {p_make<TNAnnotationFacebookActivityItemProvider>(), p_make<TNAnnotationTwitterWeiboActivityItemProvider>(),
            p_make<TNAnnotationHTMLActivityItemProvider>(), p_make<TNAnnotationTextActivityItemProvider>()};
    case ShareTypeAnnotationGroup: {
        KCActivityItemRef groupHTML = p_make<TNAnnotationGroupHTMLActivityItemProvider>();
        KCActivityItems providers {groupHTML};
        if (m_citationsAllowed && m_annotations.size() == 1) {
            providers = {p_make<TNAnnotationFacebookActivityItemProvider>(), p_make<TNAnnotationTwitterWeiboActivityItemProvider>(), groupHTML,
                p_make<TNAnnotationTextActivityItemProvider>()};
        }
        bool hasNote = std::any_of(m_annotations.begin(), m_annotations.end(), [](const auto& annotation) {
            auto note = annotation ? annotation->annotationNote() : std::nullopt;
            return note && !note->empty();
        });
        if (hasNote)
            providers.push_back(p_make<TNAnnotationGroupPrintActivityItemProvider>());
        return providers;
    }
    default:
        return {};
    }
}

std::optional<std::u16string> TNAssetActivityItemProvider::pasteboardString()
{
    std::shared_ptr<KCActivityItemSource> provider;
    if (m_shareType == ShareTypeBook)
        provider = std::make_shared<TNAssetTextActivityItemProvider>(m_propertySource);
    else if (m_shareType == ShareTypeAnnotation && m_citationsAllowed)
        provider = p_make<TNAnnotationTextActivityItemProvider>();
    if (!provider)
        return std::nullopt;
    KCValue item = provider->itemForActivityType(nullptr, KCActivityTypeCopyToPasteboard);
    return item.string() ? std::optional<std::u16string>(*item.string()) : std::nullopt;
}

std::vector<std::u16string> TNAssetActivityItemProvider::writableTypesForPasteboard()
{
    if (m_shareType == ShareTypeAnnotationGroup)
        return {kKCUTITypeText, kKCUTITypeRTF};
    return {kKCUTITypeText};
}

KCValue TNAssetActivityItemProvider::pasteboardPropertyListForType(std::u16string_view type)
{
    if (type != kKCUTITypeText && type != kKCUTITypeRTF)
        return nullptr;
    if (m_shareType != ShareTypeAnnotationGroup) {
        auto text = type == kKCUTITypeText ? pasteboardString() : std::nullopt;
        if (!text)
            return nullptr;
        std::string bytes = KCUTF8FromUTF16(*text);
        return KCData(bytes.begin(), bytes.end());
    }
    auto group = p_make<TNAnnotationGroupRTFActivityItemProvider>();
    group->setActivityType(KCActivityTypeCopyToPasteboard);
    KCStyledString styled = group->attributedString();
    std::string bytes = type == kKCUTITypeText ? KCUTF8FromUTF16(styled.string()) : KCRTFFromStyledString(styled);
    return KCData(bytes.begin(), bytes.end());
}

KCActivityItems TNAssetActivityItemsForShare(TNAssetActivityItemPropertySource propertySource, TNAnnotation::Annotations annotations,
    int32_t shareType, bool citationsAllowed, const TNAnnotationPaginationDataSource* paginationDataSource)
{
    auto provider = shareType == TNAssetActivityItemProvider::ShareTypeBook
        ? std::make_shared<TNAssetActivityItemProvider>(std::move(propertySource))
        : std::make_shared<TNAssetActivityItemProvider>(std::move(annotations), std::move(propertySource));
    provider->setShareType(shareType);
    provider->setCitationsAllowed(citationsAllowed);
    provider->setPaginationDataSource(paginationDataSource);
    return {provider};
}

KCActivityItems kc_expandedItemSourcesFromItemSource(const KCActivityItemRef& item)
{
    KCActivityItems items;
    if (std::dynamic_pointer_cast<KCActivityItemSource>(item))
        items.push_back(item);
    if (auto expanding = std::dynamic_pointer_cast<KCActivityItemSourceExpanding>(item)) {
        for (const KCActivityItemRef& provider : expanding->expandedItemProviders()) {
            KCActivityItems expanded = kc_expandedItemSourcesFromItemSource(provider);
            items.insert(items.end(), expanded.begin(), expanded.end());
        }
    }
    return items;
}
