#include "PMReaderSharing.h"

#include "Utilities/KCLogger.h"
#include "Utilities/KCStringConversion.h"
#include "bookshare/PMNotesDocument.h"
#include "bookshare/PMShareDocuments.h"
#include "sharing/KCActivityController.h"
#include "sharing/TNAssetActivityItemProvider.h"
#include "host/PMReaderWebView.h"

#include <glib.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using Controllers = std::vector<std::shared_ptr<KCActivityController>>;

bool fail(KCError* error, int code, const std::string& message)
{
    KCLog("%@", message);
    return KCSetError(error, {PMReaderErrorDomain, code, message});
}

// A share under way keeps its controller, the delegate of its service, until
// the service is done; it lets go on the main loop, outside the controller's call.
void keepUntilShared(const std::shared_ptr<KCActivityController>& controller, const std::shared_ptr<Controllers>& sharing)
{
    sharing->push_back(controller);
    controller->setCompletionHandler([controller = std::weak_ptr(controller), sharing](std::u16string_view type, bool success) {
        if (!success)
            KCLog("The share to %@ failed", KCUTF8FromUTF16(type));
        using Release = std::pair<std::weak_ptr<KCActivityController>, std::shared_ptr<Controllers>>;
        g_idle_add_once([](gpointer data) {
            std::unique_ptr<Release> release(static_cast<Release*>(data));
            auto& kept = *release->second;
            if (auto found = std::find(kept.begin(), kept.end(), release->first.lock()); found != kept.end())
                kept.erase(found);
        }, new Release(controller, sharing));
    });
}

} // namespace

std::vector<std::string> PMMenuModelLabels(GMenuModel* menu)
{
    std::vector<std::string> labels;
    for (int index = 0; menu && index < g_menu_model_get_n_items(menu); ++index) {
        char* label = nullptr;
        if (g_menu_model_get_item_attribute(menu, index, G_MENU_ATTRIBUTE_LABEL, "s", &label))
            labels.emplace_back(label);
        g_free(label);
    }
    return labels;
}

std::string PMReaderTextLineScript(const std::string& text)
{
    const std::string quoted = nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return "(function() { if (!PMHighlights.find(" + quoted + ")) return null;"
           " var selection = window.getSelection(), line = selection.getRangeAt(0).getClientRects()[0];"
           " selection.removeAllRanges();"
           " return line ? JSON.stringify({x: line.left, y: line.top, width: line.width, height: line.height}) : null; })()";
}

PMReaderSharing::PMReaderSharing(const PMBook& book, const PMBookNavigation& navigation, std::shared_ptr<KCManagedObjectContext> context,
    std::u16string assetID)
    : m_book(PMBookShareDataForBook(book, navigation))
    , m_pagination(m_book.paginationDataSource())
    , m_bookPath(KCUTF16FromUTF8(book.contentsPath()))
    , m_context(std::move(context))
    , m_assetID(std::move(assetID))
{
}

PMReaderSharing::~PMReaderSharing()
{
    *m_alive = false;
}

std::optional<TNAnnotation::Annotations> PMReaderSharing::liveAnnotations(KCError* error) const
{
    KCError reason;
    auto annotations = TNAnnotation::annotationsForPredicate(TNAnnotation::predicateForUserAnnotationsWithAssetID(m_assetID, false), m_context.get(), &reason);
    if (!annotations)
        fail(error, 60, "cannot read the book's notes: " + reason.message);
    return annotations;
}

PMSharingMenuModel PMReaderSharing::menuFor(TNAnnotation::Annotations annotations, int32_t shareType)
{
    // A book opened from a file is not from the store. No notes share nothing.
    const bool sharesSomething = !annotations.empty();
    auto controller = std::make_shared<KCActivityController>(m_platform, sharesSomething
        ? TNAssetActivityItemsForShare(m_book.propertySource(m_bookPath, u"0"), std::move(annotations), shareType, true, &m_pagination)
        : KCActivityItems(), KCActivityItems());
    PMMenu menu;
    controller->updateMenu(menu);
    auto offers = [&](std::u16string_view type) {
        return std::any_of(menu.itemArray().begin(), menu.itemArray().end(), [&](const PMMenuItemRef& item) {
            auto service = std::dynamic_pointer_cast<PMSharingService>(item->representedObject);
            return service && service->name() == type;
        });
    };
    // A group offers no copying, yet copies itself.
    if (sharesSomething && !offers(KCActivityTypeCopyToPasteboard)) {
        if (PMSharingServiceRef clipboard = m_platform.sharingServiceNamed(KCActivityTypeCopyToPasteboard))
            menu.addItemWithTitle(clipboard->title(), {}, u"")->representedObject = clipboard;
    }
    for (const PMMenuItemRef& item : menu.itemArray()) {
        auto service = std::dynamic_pointer_cast<PMSharingService>(item->representedObject);
        if (!service)
            continue;
        // The menu's items keep the controller; printing and a group's copy
        // hand their service what the share's providers do not.
        const bool handedOver = service->name() == KCActivityTypePrint || !item->action;
        item->action = [controller, sharing = m_sharing, handedOver](PMMenuItem& sender) {
            keepUntilShared(controller, sharing);
            auto service = std::static_pointer_cast<PMSharingService>(sender.representedObject);
            if (!handedOver)
                controller->performShare(sender);
            else if (service->name() != KCActivityTypePrint)
                PMCopyShare(*controller, *service);
            else if (!PMPrintShare(*controller, *service))
                controller->didFailToShareItems(*service, {}, {PMReaderErrorDomain, 61, "there is nothing to print"});
        };
    }
    return PMSharingMenuModelFromMenu(menu);
}

std::optional<PMSharingMenuModel> PMReaderSharing::highlightMenu(std::u16string_view uuid, KCError* error)
{
    KCError reason;
    auto annotation = TNAnnotation::annotationWithUUID(uuid, m_assetID, m_context.get(), &reason);
    if (!annotation || annotation->annotationDeleted()) {
        fail(error, 62, "the highlight is gone");
        return std::nullopt;
    }
    return menuFor({annotation}, TNAssetActivityItemProvider::ShareTypeAnnotation);
}

std::optional<PMSharingMenuModel> PMReaderSharing::notesMenu(KCError* error)
{
    auto annotations = liveAnnotations(error);
    if (!annotations)
        return std::nullopt;
    return menuFor(std::move(*annotations), TNAssetActivityItemProvider::ShareTypeAnnotationGroup);
}

std::shared_ptr<TNAnnotation> PMReaderSharing::newestHighlight(KCError* error) const
{
    auto annotations = liveAnnotations(error);
    if (!annotations)
        return nullptr;
    std::shared_ptr<TNAnnotation> newest;
    for (const auto& annotation : *annotations) {
        if (annotation->annotationType() == TNAnnotationTypeRange
            && (!newest || newest->annotationCreationDate() <= annotation->annotationCreationDate()))
            newest = annotation;
    }
    if (!newest)
        fail(error, 63, "the book has no highlight to share");
    return newest;
}

bool PMReaderSharing::exportNotes(const std::string& path, KCError* error) const
{
    auto format = PMNotesFormatOfPath(path);
    if (!format)
        return fail(error, 64, "cannot tell the format of " + path + ": name it .html, .rtf or .txt");
    PMNotesRequest request;
    auto annotations = liveAnnotations(error);
    if (!annotations)
        return false;
    request.annotations = std::move(*annotations);
    PMSortInReadingOrder(request.annotations);
    const std::string document = PMNotesDocument(request, m_book, *format);
    GError* problem = nullptr;
    if (g_file_set_contents(path.c_str(), document.data(), static_cast<gssize>(document.size()), &problem))
        return true;
    std::string message = "cannot write " + path + ": " + (problem ? problem->message : "");
    g_clear_error(&problem);
    return fail(error, 65, message);
}

GtkWidget* PMReaderSharing::notesMenuButton(GtkWindow* window)
{
    GtkWidget* button = gtk_menu_button_new();
    gtk_menu_button_set_icon_name(GTK_MENU_BUTTON(button), "open-menu-symbolic");
    gtk_widget_set_tooltip_text(button, "Notes");
    GSimpleActionGroup* notes = g_simple_action_group_new();
    GSimpleAction* exportNotes = g_simple_action_new("export", nullptr);
    g_object_set_data(G_OBJECT(exportNotes), "window", window);
    g_signal_connect(exportNotes, "activate", G_CALLBACK(+[](GSimpleAction* action, GVariant*, gpointer self) {
        static_cast<PMReaderSharing*>(self)->chooseExportFile(GTK_WINDOW(g_object_get_data(G_OBJECT(action), "window")));
    }), this);
    g_action_map_add_action(G_ACTION_MAP(notes), G_ACTION(exportNotes));
    g_object_unref(exportNotes);
    gtk_widget_insert_action_group(button, "notes", G_ACTION_GROUP(notes));
    g_object_unref(notes);
    // The notes are shared as they stand when the menu opens.
    gtk_menu_button_set_create_popup_func(GTK_MENU_BUTTON(button), [](GtkMenuButton* button, gpointer self) {
        GMenu* menu = g_menu_new();
        if (auto share = static_cast<PMReaderSharing*>(self)->notesMenu(nullptr)) {
            g_menu_append_submenu(menu, "Share Notes", G_MENU_MODEL(share->menu));
            gtk_widget_insert_action_group(GTK_WIDGET(button), "share", G_ACTION_GROUP(share->actions));
            g_object_unref(share->menu);
            g_object_unref(share->actions);
        }
        g_menu_append(menu, "Export notes\u2026", "notes.export");
        gtk_menu_button_set_menu_model(button, G_MENU_MODEL(menu));
        g_object_unref(menu);
    }, this, nullptr);
    return button;
}

void PMReaderSharing::chooseExportFile(GtkWindow* window)
{
    GtkFileChooserNative* chooser = gtk_file_chooser_native_new("Export Notes", window, GTK_FILE_CHOOSER_ACTION_SAVE, "_Export", "_Cancel");
    const struct {
        const char* name;
        const char* patterns[2];
    } formats[] {{"HTML", {"*.html", "*.htm"}}, {"RTF", {"*.rtf", nullptr}}};
    for (const auto& format : formats) {
        GtkFileFilter* filter = gtk_file_filter_new();
        gtk_file_filter_set_name(filter, format.name);
        for (const char* pattern : format.patterns) {
            if (pattern)
                gtk_file_filter_add_pattern(filter, pattern);
        }
        gtk_file_chooser_add_filter(GTK_FILE_CHOOSER(chooser), filter);
        g_object_unref(filter);
    }
    const std::string title = m_book.citationSource.title.empty() ? "Notes" : KCUTF8FromUTF16(m_book.citationSource.title);
    gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(chooser), (title + ".html").c_str());
    struct Chosen {
        PMReaderSharing* sharing;
        std::shared_ptr<bool> alive;
    };
    g_signal_connect_data(chooser, "response", G_CALLBACK(+[](GtkNativeDialog* dialog, int response, Chosen* chosen) {
        GFile* file = response == GTK_RESPONSE_ACCEPT ? gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog)) : nullptr;
        char* chosenPath = file ? g_file_get_path(file) : nullptr;
        if (chosenPath && *chosen->alive) {
            // A name without a known extension takes the chosen filter's.
            std::string path = chosenPath;
            if (!PMNotesFormatOfPath(path)) {
                GtkFileFilter* filter = gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(dialog));
                path += filter && g_strcmp0(gtk_file_filter_get_name(filter), "RTF") == 0 ? ".rtf" : ".html";
            }
            chosen->sharing->exportNotes(path, nullptr);
        }
        g_free(chosenPath);
        if (file)
            g_object_unref(file);
        g_object_unref(dialog);
    }), new Chosen {this, m_alive}, [](gpointer data, GClosure*) { delete static_cast<Chosen*>(data); }, GConnectFlags(0));
    gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser), TRUE);
    gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser));
}
