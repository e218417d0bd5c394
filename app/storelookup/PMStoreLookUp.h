#pragma once
// The program's store look-up class and page loader for the user-publishing
// service, over HTTP (docs/store-lookup.md):
//     GET <PAGEMOOR_STORE_LOOKUP_URL>?id=<id>[,<id>...]&profile=<key profile>
// answered by 200 and {"results": {"<id>": {product record}}}. Without the
// variable, look-ups are disabled; store pages are still made without network.
#include "Sharing/TNUserPublishingLookUp.h"

#include <string>
#include <string_view>
#include <vector>

extern const char* const PMStoreLookUpURLEnvironmentVariable;  // "PAGEMOOR_STORE_LOOKUP_URL"

// Requests that do not say how long they may take give up after this many seconds.
constexpr double kPMStoreLookUpLongestRequest = 30;

std::string PMStoreLookUpRequestURL(std::string_view lookUpURL, const std::vector<std::u16string>& storeIds, std::string_view keyProfile);
// Store ID -> record; empty for anything but a JSON object whose "results" is an object.
KCDictionary PMStoreLookUpResults(const KCData& response);
// https://<store host>/book/id<id>
std::optional<KCURL> PMStoreBookURL(std::u16string_view storeId);

// Registers the look-up class under its name and installs the page loader.
void PMRegisterStoreLookUp();
