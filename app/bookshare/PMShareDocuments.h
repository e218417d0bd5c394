#pragma once
// What a share hands over where its providers answer no item: its print
// providers stand for a document that is made here and handed to the print
// service, and a group, which offers no copying, still copies itself.
#include "sharing/KCActivityController.h"

#include <optional>
#include <string>
#include <typeinfo>

// The document of the share's first provider of exactly this class: the HTML
// providers make it only when asked for their document.
template <typename Provider>
std::optional<std::u16string> PMShareDocumentOf(KCActivityController& controller)
{
    for (const std::shared_ptr<KCObject>& item : controller.expandedActivityItems().value_or(KCActivityItems())) {
        if (auto* provider = dynamic_cast<Provider*>(item.get()); provider && typeid(*provider) == typeid(Provider))
            return provider->documentString();
    }
    return std::nullopt;
}

// The group's print document, else the one annotation's; nothing when the
// share prints nothing.
std::optional<std::u16string> PMSharePrintDocument(KCActivityController& controller);

// Prints the share's print document with the service, the controller as its
// delegate; false (nothing done) when there is nothing to print.
bool PMPrintShare(KCActivityController& controller, PMSharingService& service);

// Writes the share to the clipboard with the service, the controller as its
// delegate: its items as they write themselves, and a group's HTML document
// beside them (desktop programs paste rich text from HTML sooner than from RTF).
void PMCopyShare(KCActivityController& controller, PMSharingService& clipboard);
