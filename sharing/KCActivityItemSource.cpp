#include "KCActivityItemSource.h"

const char16_t* const KCActivityTypePostToFacebook = u"com.orchid.share.Facebook.post";
const char16_t* const KCActivityTypePostToTwitter = u"com.orchid.share.Twitter.post";
const char16_t* const KCActivityTypePostToWeibo = u"com.orchid.share.SinaWeibo.post";
const char16_t* const KCActivityTypeMessage = u"com.orchid.share.Messages.compose";
const char16_t* const KCActivityTypeMail = u"com.orchid.share.Mail.compose";
const char16_t* const KCActivityTypePrint = u"KCActivityTypePrint";
const char16_t* const KCActivityTypeCopyToPasteboard = u"KCActivityTypeCopyToPasteboard";
const char16_t* const KCActivityTypeAssignToContact = u"KCActivityTypeAssignToContact";
const char16_t* const KCActivityTypeSaveToCameraRoll = u"KCActivityTypeSaveToCameraRoll";

const char16_t* const kKCUTITypeText = u"public.plain-text";
const char16_t* const kKCUTITypeURL = u"public.url";
const char16_t* const kKCUTITypeFileURL = u"public.file-url";
const char16_t* const kKCUTITypeImage = u"public.image";

KCURL KCActivityPlaceholderURL(std::string_view name)
{
    return *KCURL::URLWithString("about:" + std::string(name));
}
