#pragma once
// The desktop's sharing services: share destinations the platform knows by
// name (mail, messages, social posts, print, the clipboard), each taking a
// list of share items and telling its delegate how the share went; the
// picker that offers them for a set of items; and the menus that list them.
// Everything here lives on the UI thread.
#include "Utilities/KCBitmap.h"
#include "Utilities/KCError.h"
#include "Utilities/KCStyledString.h"
#include "Utilities/KCValue.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A share item: a string (plain text, or an HTML body for mail), a URL (a
// file URL is an attachment), data, or one of the objects below.
using PMShareItems = std::vector<KCValue>;

// An item that writes itself to the pasteboard: the types it offers, then
// the value for the type the pasteboard asks for (null: nothing to write).
// Types are type identifiers such as "public.plain-text".
class PMPasteboardWriting : public virtual KCObject {
public:
    virtual std::vector<std::u16string> writableTypesForPasteboard() = 0;
    virtual KCValue pasteboardPropertyListForType(std::u16string_view type) = 0;
};

// An image as share items, services and menu items carry it; an empty image
// has no bitmap.
class PMSharingImage : public KCObject {
public:
    explicit PMSharingImage(KCBitmapRef bitmap = nullptr) : m_bitmap(std::move(bitmap)) {}
    const KCBitmapRef& bitmap() const { return m_bitmap; }

private:
    KCBitmapRef m_bitmap;
};
using PMSharingImageRef = std::shared_ptr<PMSharingImage>;

// Styled text as a share item (rich text for the pasteboard and mail).
class PMSharingStyledText : public KCObject {
public:
    explicit PMSharingStyledText(KCStyledString text) : m_text(std::move(text)) {}
    const KCStyledString& text() const { return m_text; }

private:
    KCStyledString m_text;
};

class PMSharingService;

// How much of a document a share covers, as a delegate may narrow it.
enum class PMSharingContentScope { Item, Partial, Full };

class PMSharingServiceDelegate {
public:
    virtual ~PMSharingServiceDelegate() = default;
    // The window the service's own user interface attaches to.
    virtual std::shared_ptr<KCObject> sourceWindowForShareItems(PMSharingService& service, const PMShareItems& items,
        PMSharingContentScope* scope) = 0;
    virtual void willShareItems(PMSharingService& service, const PMShareItems& items) = 0;
    virtual void didShareItems(PMSharingService& service, const PMShareItems& items) = 0;
    virtual void didFailToShareItems(PMSharingService& service, const PMShareItems& items, const KCError& error) = 0;
};

class PMSharingService : public KCObject {
public:
    // The platform's name of the service; nothing for a service made by
    // sharingServiceWithTitle, which has none.
    virtual std::optional<std::u16string> name() const = 0;
    virtual std::u16string title() const = 0;
    virtual PMSharingImageRef image() const = 0;
    virtual PMSharingImageRef alternateImage() const = 0;
    // The icon theme's name for the service's icon ("mail-send"); empty when
    // the service's image is all there is.
    virtual std::string iconName() const { return {}; }
    // The subject line of a mail or a post.
    virtual std::optional<std::u16string> subject() const = 0;
    virtual void setSubject(std::optional<std::u16string> subject) = 0;
    // Not owned.
    virtual PMSharingServiceDelegate* delegate() const = 0;
    virtual void setDelegate(PMSharingServiceDelegate* delegate) = 0;

    virtual bool canPerformWithItems(const PMShareItems& items) = 0;
    // Starts the share; the delegate hears will, then did or did-fail.
    virtual void performWithItems(const PMShareItems& items) = 0;
};
using PMSharingServiceRef = std::shared_ptr<PMSharingService>;
using PMSharingServices = std::vector<PMSharingServiceRef>;

class PMSharingServicePicker;

class PMSharingServicePickerDelegate {
public:
    virtual ~PMSharingServicePickerDelegate() = default;
    // The services to show instead of the proposed ones.
    virtual PMSharingServices sharingServicesForItems(PMSharingServicePicker& picker, const PMShareItems& items,
        const PMSharingServices& proposedServices) = 0;
    virtual PMSharingServiceDelegate* delegateForSharingService(PMSharingServicePicker& picker, PMSharingService& service) = 0;
};

// The share picker for a set of items; the platform shows it and asks its
// delegate (not owned) which services to offer.
class PMSharingServicePicker {
public:
    PMSharingServicePicker(PMShareItems items, PMSharingServicePickerDelegate* delegate)
        : m_items(std::move(items)), m_delegate(delegate) {}
    const PMShareItems& items() const { return m_items; }
    PMSharingServicePickerDelegate* delegate() const { return m_delegate; }

private:
    PMShareItems m_items;
    PMSharingServicePickerDelegate* m_delegate;
};

// What the platform provides for sharing.
class PMSharingPlatform {
public:
    virtual ~PMSharingPlatform() = default;
    // The service of that platform name; nullptr when there is none.
    virtual PMSharingServiceRef sharingServiceNamed(std::u16string_view name) = 0;
    // A service without a name that runs the handler when performed.
    virtual PMSharingServiceRef sharingServiceWithTitle(std::u16string_view title, PMSharingImageRef image,
        PMSharingImageRef alternateImage, std::function<void()> handler) = 0;
    // The application's main window; nullptr when it has none.
    virtual std::shared_ptr<KCObject> mainWindow() = 0;
    // Whether the application provides a view controller class of that name.
    virtual bool hasClassNamed(std::u16string_view name) const = 0;
};
