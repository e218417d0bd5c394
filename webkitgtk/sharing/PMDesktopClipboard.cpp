#include "PMDesktopClipboard.h"

#include "Utilities/KCLogger.h"

#include <cerrno>
#include <fcntl.h>
#include <gtk/gtk.h>
#include <unistd.h>

namespace {

GdkClipboard* desktopClipboard()
{
    auto* display = gtk_init_check() ? gdk_display_get_default() : nullptr;
    return display ? gdk_display_get_clipboard(display) : nullptr;
}

void offer(GPtrArray* providers, const char* mimeType, const std::string& value)
{
    if (value.empty())
        return;
    GBytes* bytes = g_bytes_new(value.data(), value.size());
    g_ptr_array_add(providers, gdk_content_provider_new_for_bytes(mimeType, bytes));
    g_bytes_unref(bytes);
}

std::string uriList(const std::vector<std::string>& urls)
{
    std::string list;
    for (auto& url : urls)
        list += url + "\r\n";
    return list;
}

// The new owner may still be answering this process's questions about its
// content; leaving at once would break that conversation.
constexpr unsigned kLingerMilliseconds = 500;

void quitWhenTaken(GdkClipboard* clipboard, GMainLoop* loop)
{
    if (gdk_clipboard_is_local(clipboard))
        return;
    g_timeout_add_once(kLingerMilliseconds, +[](gpointer loop) { g_main_loop_quit(static_cast<GMainLoop*>(loop)); }, loop);
}

void detachFromTerminal()
{
    setsid();
    int null = open("/dev/null", O_RDWR);
    if (null < 0)
        return;
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(null, fd);
    if (null > STDERR_FILENO)
        close(null);
}

}

bool PMCopyToClipboard(const PMShareContent& content, KCError* error)
{
    auto* clipboard = desktopClipboard();
    if (!clipboard) {
        KCLog("There is no display to copy to");
        return KCSetError(error, {PMDesktopSharingErrorDomain, 1, "There is no display to copy to"});
    }
    GPtrArray* providers = g_ptr_array_new();
    offer(providers, "text/plain;charset=utf-8", content.text);
    offer(providers, "text/html", content.html);
    offer(providers, "text/rtf", content.rtf);
    offer(providers, "text/uri-list", uriList(content.urls));
    if (providers->len == 0) {
        g_ptr_array_free(providers, TRUE);
        KCLog("The share has nothing to copy");
        return KCSetError(error, {PMDesktopSharingErrorDomain, 2, "The share has nothing to copy"});
    }
    auto* union_ = gdk_content_provider_new_union(reinterpret_cast<GdkContentProvider**>(providers->pdata), providers->len);
    g_ptr_array_free(providers, TRUE);
    gdk_clipboard_set_content(clipboard, union_);
    g_object_unref(union_);
    return true;
}

pid_t PMKeepServingClipboardInBackground(KCError* error)
{
    auto* clipboard = desktopClipboard();
    if (!clipboard || !gdk_clipboard_is_local(clipboard))
        return 0;
    // What the parent buffered must not be written twice.
    fflush(nullptr);
    pid_t child = fork();
    if (child < 0) {
        KCSetError(error, KCPOSIXError(errno, "Cannot keep serving the clipboard"));
        KCLog("Cannot keep serving the clipboard: %s", g_strerror(errno));
        return -1;
    }
    if (child > 0)
        return child;
    detachFromTerminal();
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    g_signal_connect(clipboard, "notify::local", G_CALLBACK(+[](GdkClipboard* clipboard, GParamSpec*, GMainLoop* loop) {
        quitWhenTaken(clipboard, loop);
    }), loop);
    g_main_loop_run(loop);
    _exit(0);
}
