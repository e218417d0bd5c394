#pragma once
// What the activity controller (KCActivityController.h) asks of share items.
// An activity type names a share destination; the first five are the
// platform's names of its sharing services. Items are objects that adopt
// the protocols below by deriving from them; an item that also derives from
// PMPasteboardWriting (platform/PMSharingService.h) is handed to the
// services as itself, to write to the pasteboard.
#include "platform/PMSharingService.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

extern const char16_t* const KCActivityTypePostToFacebook;    // u"com.orchid.share.Facebook.post"
extern const char16_t* const KCActivityTypePostToTwitter;     // u"com.orchid.share.Twitter.post"
extern const char16_t* const KCActivityTypePostToWeibo;       // u"com.orchid.share.SinaWeibo.post"
extern const char16_t* const KCActivityTypeMessage;           // u"com.orchid.share.Messages.compose"
extern const char16_t* const KCActivityTypeMail;              // u"com.orchid.share.Mail.compose"
extern const char16_t* const KCActivityTypePrint;             // u"KCActivityTypePrint"
extern const char16_t* const KCActivityTypeCopyToPasteboard;  // u"KCActivityTypeCopyToPasteboard"
extern const char16_t* const KCActivityTypeAssignToContact;   // u"KCActivityTypeAssignToContact"
extern const char16_t* const KCActivityTypeSaveToCameraRoll;  // u"KCActivityTypeSaveToCameraRoll"

// Type identifiers of pasteboard and placeholder items.
extern const char16_t* const kKCUTITypeText;     // u"public.plain-text"
extern const char16_t* const kKCUTITypeURL;      // u"public.url"
extern const char16_t* const kKCUTITypeFileURL;  // u"public.file-url"
extern const char16_t* const kKCUTITypeImage;    // u"public.image"

using KCActivityItemRef = std::shared_ptr<KCObject>;
using KCActivityItems = std::vector<KCActivityItemRef>;

class KCActivityController;

// An item that resolves to a share item per activity type. Items answer
// null for what they do not have. The two optional operations are empty
// when the item does not implement them; an item sets them when it is made.
class KCActivityItemSource : public virtual KCObject {
public:
    virtual KCValue activityViewControllerPlaceholderItem(KCActivityController* controller) = 0;
    virtual KCValue itemForActivityType(KCActivityController* controller, std::u16string_view activityType) = 0;
    virtual std::vector<std::u16string> supportedActivityTypes() const = 0;
    // The destination being served, set by the controller before a share.
    virtual std::u16string activityType() const = 0;
    virtual void setActivityType(std::u16string activityType) = 0;

    std::function<std::optional<std::u16string>(KCActivityController* controller, std::u16string_view activityType)>
        subjectForActivityType;
    std::function<void(KCActivityController* controller, const PMShareItems& items, bool success)> didShareItems;
};

// An item that stands for further items.
class KCActivityItemSourceExpanding : public virtual KCObject {
public:
    virtual KCActivityItems expandedItemProviders() = 0;
};

// The URL a placeholder item stands for: the name under the "about:" scheme,
// since a URL value is always absolute.
KCURL KCActivityPlaceholderURL(std::string_view name);
