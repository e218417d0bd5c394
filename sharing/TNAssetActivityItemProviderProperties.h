#pragma once
// The book properties that share item providers ask for, and the property
// source that answers them: the reader supplies one per share, called with
// (activity type, property key), answering the value for that destination
// or null.
#include "Utilities/KCValue.h"

#include <functional>
#include <string_view>

using TNAssetActivityItemPropertySource = std::function<KCValue(std::u16string_view activityType, std::u16string_view key)>;

// Each key's value is its own name.
extern const char16_t* const kTNAssetActivityItemProviderPropertyStoreId;             // string; "0" or empty: not from the store
extern const char16_t* const kTNAssetActivityItemProviderPropertyStoreUrl;           // URL
extern const char16_t* const kTNAssetActivityItemProviderPropertyStoreShortUrl;      // URL
extern const char16_t* const kTNAssetActivityItemProviderPropertyBookPath;           // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyEpubId;             // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyAssetCover;         // image (PMSharingImage)
extern const char16_t* const kTNAssetActivityItemProviderPropertyTitle;              // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyAuthor;             // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyVersion;            // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyPublisherLocation;  // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyPublisherName;      // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyPublisherYear;      // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyLanguage;           // string
extern const char16_t* const kTNAssetActivityItemProviderPropertyGenre;              // string
