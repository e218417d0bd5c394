#pragma once
// The reader's notes sidebar: a header-bar button and Ctrl+B reveal, beside
// the page on its left, the book's live highlights, underlines and notes,
// the newest first. Each row shows its colour, the highlighted text in its
// sentence (with ellipses where it is cut), its note, its chapter and the day
// it was made; its edit button opens the highlight's popover (colours,
// underline, note, Share, Delete). Activating a row hands its place to the window.
// The list is made again soon after update(), once no row's popover is open.
#include "PMReaderHighlights.h"
#include "sharing/PMSharingMenuModel.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _GtkWidget GtkWidget;
class KCLongDateFormatter;

class PMReaderNotesSidebar {
public:
    using Open = std::function<void(const PMHighlightRange&)>;
    using Edit = std::function<void(const std::u16string& uuid, const PMHighlightEdit&)>;
    using ShareMenu = std::function<std::optional<PMSharingMenuModel>(const std::u16string& uuid)>;

    PMReaderNotesSidebar(const PMReaderHighlights& highlights, Open open, Edit edit, ShareMenu share);
    ~PMReaderNotesSidebar();
    PMReaderNotesSidebar(const PMReaderNotesSidebar&) = delete;
    PMReaderNotesSidebar& operator=(const PMReaderNotesSidebar&) = delete;

    // Puts the notes button in `header` and answers what takes the
    // content's place in the window: the sidebar beside the content.
    GtkWidget* build(GtkWidget* header, GtkWidget* content);
    // Answers whether that changed anything.
    bool reveal(bool revealed);
    // Revealed or hidden as asked, the list made.
    bool settled() const;
    // The highlights changed, or their colours (by day or by night).
    void update(bool night);

private:
    struct Row {
        std::u16string uuid;
        std::string location;
    };

    void list();
    GtkWidget* row(const TNAnnotation& annotation, size_t index) const;
    void presentPopover(GtkWidget* button, size_t index);

    const PMReaderHighlights& m_highlights;
    Open m_open;
    Edit m_edit;
    ShareMenu m_share;
    std::unique_ptr<KCLongDateFormatter> m_dates;
    GtkWidget* m_flap = nullptr;
    GtkWidget* m_list = nullptr;
    GtkWidget* m_popover = nullptr;  // weak; a row's edit button is its parent while it is open
    std::vector<Row> m_rows;
    bool m_night = false;
    bool m_waiting = false;  // for the popover to close before listing
    unsigned m_listing = 0;  // the idle source that lists
};
