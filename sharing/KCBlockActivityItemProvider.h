#pragma once
// A share item whose content comes from the caller's block, for the
// activity types it is given, and that writes the same content to the
// pasteboard under its one type identifier.
#include "KCActivityItemSource.h"

#include <functional>
#include <string>
#include <vector>

class KCBlockActivityItemProvider : public KCActivityItemSource, public PMPasteboardWriting {
public:
    // Called with an activity type, or with a pasteboard type when writing
    // to the pasteboard; answers the item or null.
    using ResolutionBlock = std::function<KCValue(std::u16string_view type)>;

    KCBlockActivityItemProvider(std::u16string UTI, ResolutionBlock resolutionBlock);

    const std::u16string& UTI() const { return m_UTI; }
    void setSupportedActivityTypes(std::vector<std::u16string> types) { m_supportedActivityTypes = std::move(types); }

    // By UTI: text, an empty image or a URL that stand for the item; null for other types.
    KCValue activityViewControllerPlaceholderItem(KCActivityController* controller) override;
    KCValue itemForActivityType(KCActivityController* controller, std::u16string_view activityType) override;
    std::vector<std::u16string> supportedActivityTypes() const override { return m_supportedActivityTypes; }
    std::u16string activityType() const override { return m_activityType; }
    void setActivityType(std::u16string activityType) override { m_activityType = std::move(activityType); }

    std::vector<std::u16string> writableTypesForPasteboard() override { return {m_UTI}; }
    // The block's answer for the pasteboard type; a URL as its absolute string.
    KCValue pasteboardPropertyListForType(std::u16string_view type) override;

private:
    std::u16string m_UTI;
    ResolutionBlock m_resolutionBlock;
    std::vector<std::u16string> m_supportedActivityTypes;
    std::u16string m_activityType;
};
