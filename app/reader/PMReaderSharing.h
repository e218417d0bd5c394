#pragma once
// The reader's shares and exported notes: the share menu of one highlight
// and of all the book's live notes (the activity controller's menu items as
// a GMenu with its "share" actions; printing hands over the share's print
// document, and the notes, which offer no copying, copy themselves), the header bar's notes menu ("Share Notes", "Export notes…"),
// and the notes written to a file as HTML or RTF, from a script or a file
// dialog. A share keeps its controller alive until the service is done.
// Errors: the menus, newestHighlight and exportNotes answer nothing/false,
// fill *error (PMReaderErrorDomain) and log when the store cannot be read,
// the highlight is gone, there is none, the file's format is not known by
// its extension or the file cannot be written.
#include "book/PMBook.h"
#include "bookshare/PMBookShareData.h"
#include "sharing/PMDesktopSharingPlatform.h"
#include "sharing/PMSharingMenuModel.h"
#include "TNAnnotation/TNAnnotation.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class KCActivityController;

// The labels of a menu's items, in order.
std::vector<std::string> PMMenuModelLabels(GMenuModel* menu);

// A page expression answering the first line of the text's first
// occurrence in the chapter as JSON {"x", "y", "width", "height"}, or null.
std::string PMReaderTextLineScript(const std::string& text);

class PMReaderSharing {
public:
    PMReaderSharing(const PMBook& book, const PMBookNavigation& navigation, std::shared_ptr<KCManagedObjectContext> context, std::u16string assetID);
    ~PMReaderSharing();
    PMReaderSharing(const PMReaderSharing&) = delete;
    PMReaderSharing& operator=(const PMReaderSharing&) = delete;

    // The share of one annotation, owned by the caller; a share that offers
    // nothing has one disabled "None" item.
    std::optional<PMSharingMenuModel> highlightMenu(std::u16string_view uuid, KCError* error);
    // The share of all the book's live annotations.
    std::optional<PMSharingMenuModel> notesMenu(KCError* error);
    // The book's live highlight made last.
    std::shared_ptr<TNAnnotation> newestHighlight(KCError* error) const;
    // The book's live annotations in reading order, in the format of the
    // file's extension (.html, .htm, .rtf, .txt).
    bool exportNotes(const std::string& path, KCError* error) const;
    // The header bar's menu button: Share Notes (made when it opens) and Export notes….
    GtkWidget* notesMenuButton(GtkWindow* window);

private:
    std::optional<TNAnnotation::Annotations> liveAnnotations(KCError* error) const;
    PMSharingMenuModel menuFor(TNAnnotation::Annotations annotations, int32_t shareType);
    void chooseExportFile(GtkWindow* window);

    PMBookShareData m_book;
    TNAnnotationPaginationDataSource m_pagination;  // over m_book
    std::u16string m_bookPath;
    std::shared_ptr<KCManagedObjectContext> m_context;
    std::u16string m_assetID;
    PMDesktopSharingPlatform m_platform;
    // The controllers of shares under way.
    std::shared_ptr<std::vector<std::shared_ptr<KCActivityController>>> m_sharing =
        std::make_shared<std::vector<std::shared_ptr<KCActivityController>>>();
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};
