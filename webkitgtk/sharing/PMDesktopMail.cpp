#include "PMDesktopMail.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"

#include <gio/gio.h>
#include <libportal/portal.h>

namespace {

constexpr int kPortalLookupTimeoutMilliseconds = 2000;

struct Mail {
    std::string subject;
    std::string body;
    std::vector<std::string> attachments;
    PMDesktopShareFinish finish;
};

KCError errorFrom(GError* error, const char* what)
{
    KCError result(PMDesktopSharingErrorDomain, 3, std::string(what) + ": " + (error ? error->message : ""));
    if (error)
        g_error_free(error);
    return result;
}

// Whether a portal runs now; asks without starting one, so an absent portal
// costs at most the time-out.
bool portalIsRunning()
{
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return false;
    GVariant* reply = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
        "org.freedesktop.DBus", "NameHasOwner", g_variant_new("(s)", "org.freedesktop.portal.Desktop"),
        G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, kPortalLookupTimeoutMilliseconds, nullptr, nullptr);
    g_object_unref(bus);
    if (!reply)
        return false;
    gboolean owned = FALSE;
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
    return owned;
}

std::vector<const char*> nullTerminated(const std::vector<std::string>& strings)
{
    std::vector<const char*> pointers;
    for (auto& string : strings)
        pointers.push_back(string.c_str());
    pointers.push_back(nullptr);
    return pointers;
}

void composeWithXDGEmail(Mail* mail)
{
    std::vector<std::string> arguments{"xdg-email", "--utf8", "--subject", mail->subject, "--body", mail->body};
    for (auto& path : mail->attachments) {
        arguments.push_back("--attach");
        arguments.push_back(path);
    }
    auto argv = nullTerminated(arguments);
    GError* error = nullptr;
    GSubprocess* process = g_subprocess_newv(argv.data(), G_SUBPROCESS_FLAGS_NONE, &error);
    if (!process) {
        mail->finish(errorFrom(error, "Cannot start xdg-email"));
        delete mail;
        return;
    }
    g_subprocess_wait_check_async(process, nullptr, +[](GObject* source, GAsyncResult* result, gpointer data) {
        auto* mail = static_cast<Mail*>(data);
        GError* error = nullptr;
        if (g_subprocess_wait_check_finish(G_SUBPROCESS(source), result, &error))
            mail->finish(std::nullopt);
        else
            mail->finish(errorFrom(error, "xdg-email failed"));
        g_object_unref(source);
        delete mail;
    }, mail);
}

void composeWithPortal(Mail* mail)
{
    XdpPortal* portal = xdp_portal_new();
    auto attachments = nullTerminated(mail->attachments);
    xdp_portal_compose_email(portal, nullptr, nullptr, nullptr, nullptr, mail->subject.c_str(), mail->body.c_str(),
        attachments.data(), XDP_EMAIL_FLAG_NONE, nullptr, +[](GObject* source, GAsyncResult* result, gpointer data) {
            auto* mail = static_cast<Mail*>(data);
            GError* error = nullptr;
            bool composed = xdp_portal_compose_email_finish(XDP_PORTAL(source), result, &error);
            g_object_unref(source);
            if (composed) {
                mail->finish(std::nullopt);
                delete mail;
            } else if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
                mail->finish(errorFrom(error, "The e-mail was cancelled"));
                delete mail;
            } else {
                KCLog("The desktop portal did not compose the e-mail (%s); trying xdg-email", error ? error->message : "");
                g_clear_error(&error);
                composeWithXDGEmail(mail);
            }
        }, mail);
}

// The HTML body as a file in a directory of its own; the mail program reads
// it after this process may have gone, so it stays.
std::optional<std::string> writeHTMLAttachment(const std::string& html, KCError* error)
{
    GError* gerror = nullptr;
    KCGCharPointer directory(g_dir_make_tmp("pagemoor-mail-XXXXXX", &gerror));
    if (!directory) {
        KCSetError(error, errorFrom(gerror, "Cannot make the e-mail's attachment"));
        return std::nullopt;
    }
    KCGCharPointer path(g_build_filename(directory.get(), "Pagemoor.html", nullptr));
    if (!g_file_set_contents(path.get(), html.data(), gssize(html.size()), &gerror)) {
        KCSetError(error, errorFrom(gerror, "Cannot write the e-mail's attachment"));
        return std::nullopt;
    }
    return std::string(path.get());
}

}

void PMComposeMail(const PMShareContent& content, const std::string& subject, PMDesktopShareFinish finish)
{
    auto* mail = new Mail{subject, content.text, content.filePaths(), std::move(finish)};
    if (auto link = content.firstLink(); !link.empty())
        mail->body += (mail->body.empty() ? "" : "\n") + link;
    if (!content.html.empty()) {
        KCError error;
        auto path = writeHTMLAttachment(content.html, &error);
        if (!path) {
            KCLog("%s", error.message.c_str());
            mail->finish(error);
            delete mail;
            return;
        }
        mail->attachments.insert(mail->attachments.begin(), *path);
    }
    if (portalIsRunning())
        composeWithPortal(mail);
    else
        composeWithXDGEmail(mail);
}
