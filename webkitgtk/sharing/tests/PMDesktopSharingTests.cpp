// The desktop's services against the real desktop: the clipboard read back by
// another program, e-mail through a recording xdg-email or a fake portal;
// printing into a PDF is app/e2e's, through pagemoor share.
// The tests that need a display skip without one; scripts/test runs this
// program under Xvfb.
#include "sharing/PMDesktopClipboard.h"
#include "sharing/PMDesktopSharingPlatform.h"
#include "sharing/PMSharingMenuModel.h"
#include "sharing/PMWebSharePage.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCStyledString.h"
#include "sharing/KCActivityItemSource.h"
#include "Utilities/tests/KCTestFiles.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <csignal>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <glib/gstdio.h>
#include <gtk/gtk.h>
#include <thread>
#include <unistd.h>

namespace {

class RecordingDelegate : public PMSharingServiceDelegate {
public:
    std::shared_ptr<KCObject> sourceWindowForShareItems(PMSharingService&, const PMShareItems&, PMSharingContentScope*) override { return nullptr; }
    void willShareItems(PMSharingService& service, const PMShareItems&) override { service.setSubject(subject); }
    void didShareItems(PMSharingService&, const PMShareItems&) override { outcome = "did"; }
    void didFailToShareItems(PMSharingService&, const PMShareItems&, const KCError& error) override { outcome = "failed: " + error.message; }

    std::u16string subject = u"A Subject";
    std::string outcome;
};

// Runs a command line; answers its standard output.
std::string run(const std::string& commandLine)
{
    char* output = nullptr;
    g_spawn_command_line_sync(commandLine.c_str(), &output, nullptr, nullptr, nullptr);
    std::string text = output ? output : "";
    g_free(output);
    return text;
}

void performAndWait(PMSharingService& service, RecordingDelegate& delegate, const PMShareItems& items, int seconds = 20)
{
    service.setDelegate(&delegate);
    service.performWithItems(items);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (delegate.outcome.empty() && std::chrono::steady_clock::now() < deadline)
        g_main_context_iteration(nullptr, FALSE);
}

bool onPath(const char* program)
{
    return KCGCharPointer(g_find_program_in_path(program)) != nullptr;
}

bool haveDisplay()
{
    return g_getenv("DISPLAY") && gtk_init_check();
}

class HTMLWriter : public PMPasteboardWriting {
public:
    std::vector<std::u16string> writableTypesForPasteboard() override { return {u"public.html", u"public.file-url"}; }
    KCValue pasteboardPropertyListForType(std::u16string_view type) override
    {
        return type == u"public.html" ? KCValue(u"<p>Written <b>HTML</b></p>") : KCValue(u"file:///tmp/book.epub");
    }
};

}

TEST(DesktopSharing, WebSharePagesEncodeTextAndLink)
{
    struct Case {
        const char16_t* type;
        std::string text, link, expected;
    } cases[] = {
        {KCActivityTypePostToTwitter, "Tom & Jerry: 100% fun", "https://example.com/a?b=c&d=e",
            "https://twitter.com/intent/tweet?text=Tom%20%26%20Jerry%3A%20100%25%20fun&url=https%3A%2F%2Fexample.com%2Fa%3Fb%3Dc%26d%3De"},
        {KCActivityTypePostToTwitter, "Only text", "", "https://twitter.com/intent/tweet?text=Only%20text"},
        {KCActivityTypePostToFacebook, "ignored", "https://example.com/", "https://www.facebook.com/sharer/sharer.php?u=https%3A%2F%2Fexample.com%2F"},
        {KCActivityTypePostToFacebook, "no link", "", ""},
        {KCActivityTypePostToWeibo, "读书 café", "https://example.com/",
            "https://service.weibo.com/share/share.php?title=%E8%AF%BB%E4%B9%A6%20caf%C3%A9&url=https%3A%2F%2Fexample.com%2F"},
        {KCActivityTypeMessage, "text", "https://example.com/", ""},
    };
    for (auto& c : cases)
        EXPECT_EQ(PMWebSharePageURL(c.type, c.text, c.link), c.expected) << c.text;
}

TEST(DesktopSharing, OffersNoServiceForMessagesContactsAndCameraRoll)
{
    PMDesktopSharingPlatform platform;
    for (auto* type : {KCActivityTypeMessage, KCActivityTypeAssignToContact, KCActivityTypeSaveToCameraRoll})
        EXPECT_EQ(platform.sharingServiceNamed(type), nullptr);
    auto print = platform.sharingServiceNamed(KCActivityTypePrint);
    ASSERT_NE(print, nullptr);
    EXPECT_EQ(print->title(), u"Print");
    EXPECT_EQ(print->iconName(), "document-print");
}

// Without a portal on the session bus, the mail goes to xdg-email at once.
TEST(DesktopSharing, MailGoesToXDGEmailWithSubjectBodyAndAttachments)
{
    KCScratchDirectory scratch;
    const std::string& directory = scratch.path();
    auto record = directory + "/arguments";
    auto script = directory + "/xdg-email";
    std::ofstream(script) << "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > " << record << "\n";
    g_chmod(script.c_str(), 0755);
    auto path = directory + ":" + g_getenv("PATH");
    g_setenv("PATH", path.c_str(), TRUE);
    g_setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + directory + "/no-bus").c_str(), TRUE);

    PMDesktopSharingPlatform platform;
    auto mail = platform.sharingServiceNamed(KCActivityTypeMail);
    RecordingDelegate delegate;
    auto started = std::chrono::steady_clock::now();
    performAndWait(*mail, delegate, {KCValue(u"Read this."), KCValue(u"<html><body>The HTML body</body></html>"),
        KCValue(*KCURL::fileURLWithPath("/tmp/The Book.pdf"))});
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(2));
    ASSERT_EQ(delegate.outcome, "did");

    auto arguments = KCReadTestFile(record);
    EXPECT_NE(arguments.find("--subject\nA Subject\n--body\nRead this.\n"), std::string::npos) << arguments;
    EXPECT_NE(arguments.find("--attach\n/tmp/The Book.pdf\n"), std::string::npos) << arguments;
    auto html = arguments.find("/Pagemoor.html\n");
    ASSERT_NE(html, std::string::npos) << arguments;
    auto htmlPath = arguments.substr(arguments.rfind('\n', html) + 1, html - arguments.rfind('\n', html) - 1 + 14);
    EXPECT_EQ(KCReadTestFile(htmlPath), "<html><body>The HTML body</body></html>");
}

// Run by ClipboardIsServedAfterTheCopyingProcessLeaves as a program of its
// own: copies, hands the clipboard to a background child and exits.
TEST(DesktopSharing, CopyAndLeave)
{
    if (!g_getenv("PM_TEST_COPY_AND_LEAVE") || !haveDisplay())
        GTEST_SKIP() << "run by another test";
    PMDesktopSharingPlatform platform;
    auto copy = platform.sharingServiceNamed(KCActivityTypeCopyToPasteboard);
    RecordingDelegate delegate;
    performAndWait(*copy, delegate, {KCValue(u"Plain words"), KCValue(std::make_shared<HTMLWriter>()),
        KCValue(std::make_shared<PMSharingStyledText>(KCStyledString(u"Styled words")))});
    ASSERT_EQ(delegate.outcome, "did");
    pid_t server = PMKeepServingClipboardInBackground();
    ASSERT_GT(server, 0);
    std::ofstream(g_getenv("PM_TEST_COPY_AND_LEAVE")) << server;
}

TEST(DesktopSharing, ClipboardIsServedAfterTheCopyingProcessLeaves)
{
    if (!haveDisplay() || !onPath("xclip"))
        GTEST_SKIP() << "needs a display and xclip";
    KCScratchDirectory scratch;
    auto pidFile = scratch.file("server");
    g_setenv("PM_TEST_COPY_AND_LEAVE", pidFile.c_str(), TRUE);
    auto self = KCGCharPointer(g_file_read_link("/proc/self/exe", nullptr));
    run(std::string(self.get()) + " --gtest_filter=DesktopSharing.CopyAndLeave");
    g_unsetenv("PM_TEST_COPY_AND_LEAVE");
    pid_t server = std::atoi(KCReadTestFile(pidFile).c_str());
    ASSERT_GT(server, 0);

    EXPECT_EQ(run("xclip -selection clipboard -o -t text/plain;charset=utf-8"), "Plain words\nStyled words");
    EXPECT_EQ(run("xclip -selection clipboard -o -t text/html"), "<p>Written <b>HTML</b></p>");
    EXPECT_EQ(run("xclip -selection clipboard -o -t text/uri-list"), "file:///tmp/book.epub\r\n");
    auto rtf = run("xclip -selection clipboard -o -t text/rtf");
    EXPECT_EQ(rtf.rfind("{\\rtf1", 0), 0u) << rtf;
    EXPECT_NE(rtf.find("Styled words"), std::string::npos);

    // Another program takes the clipboard: the server leaves.
    run("sh -c 'echo taken | xclip -selection clipboard -i >/dev/null 2>&1'");
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    bool gone = false;
    while (!gone && std::chrono::steady_clock::now() < deadline) {
        auto state = KCReadTestFile("/proc/" + std::to_string(server) + "/stat");
        gone = state.empty() || state.find(") Z") != std::string::npos;
        g_usleep(50000);
    }
    EXPECT_TRUE(gone);
    EXPECT_EQ(run("xclip -selection clipboard -o"), "taken\n");
}

TEST(DesktopSharing, MenuItemsActivateTheirServicesByName)
{
    PMDesktopSharingPlatform platform;
    PMMenu menu;
    std::vector<std::string> performed;
    for (auto* type : {KCActivityTypePrint, KCActivityTypeMail}) {
        auto item = menu.addItemWithTitle(u"title", [&performed](PMMenuItem& sender) {
            performed.push_back(std::dynamic_pointer_cast<PMSharingService>(sender.representedObject)->iconName());
        }, u"");
        item->representedObject = platform.sharingServiceNamed(type);
    }
    menu.addItemWithTitle(u"None", {}, u"")->enabled = false;
    auto model = PMSharingMenuModelFromMenu(menu);
    ASSERT_EQ(g_menu_model_get_n_items(G_MENU_MODEL(model.menu)), 3);
    char* action = nullptr;
    g_menu_model_get_item_attribute(G_MENU_MODEL(model.menu), 1, G_MENU_ATTRIBUTE_ACTION, "s", &action);
    EXPECT_STREQ(action, "share.com.orchid.share.Mail.compose");
    g_free(action);
    g_action_group_activate_action(G_ACTION_GROUP(model.actions), "com.orchid.share.Mail.compose", nullptr);
    g_action_group_activate_action(G_ACTION_GROUP(model.actions), "KCActivityTypePrint", nullptr);
    EXPECT_EQ(performed, (std::vector<std::string>{"mail-send", "document-print"}));
    EXPECT_FALSE(g_action_group_get_action_enabled(G_ACTION_GROUP(model.actions), "item-2"));
    g_object_unref(model.menu);
    g_object_unref(model.actions);
}

namespace {

// The desktop's Email portal on a private session bus, served from a thread
// of its own as a portal process would be: records what it was asked and
// answers that the mail was composed.
class FakeEmailPortal {
public:
    FakeEmailPortal()
    {
        const char* argv[] = {"dbus-daemon", "--session", "--nofork", "--print-address=1", nullptr};
        int output = -1;
        if (!g_spawn_async_with_pipes(nullptr, const_cast<char**>(argv), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                &m_daemon, nullptr, &output, nullptr, nullptr))
            return;
        char address[512] = {};
        for (size_t length = 0; length + 1 < sizeof address && read(output, address + length, 1) == 1 && address[length] != '\n';)
            ++length;
        close(output);
        address[strcspn(address, "\n")] = 0;
        g_setenv("DBUS_SESSION_BUS_ADDRESS", address, TRUE);
        // The process's own session connection must survive the bus going away.
        if (auto* session = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)) {
            g_dbus_connection_set_exit_on_close(session, FALSE);
            g_object_unref(session);
        }
        m_context = g_main_context_new();
        m_loop = g_main_loop_new(m_context, FALSE);
        m_thread = std::thread([this, bus = std::string(address)] { serve(bus); });
        while (!m_ready)
            g_usleep(10000);
    }
    ~FakeEmailPortal()
    {
        if (m_thread.joinable()) {
            g_main_loop_quit(m_loop);
            g_main_context_wakeup(m_context);
            m_thread.join();
            g_main_loop_unref(m_loop);
            g_main_context_unref(m_context);
        }
        if (m_daemon > 0)
            kill(m_daemon, SIGTERM);
    }
    bool running() const { return m_running; }

    std::string subject, body;
    size_t attachmentCount = 0;

private:
    void serve(const std::string& address)
    {
        g_main_context_push_thread_default(m_context);
        GDBusConnection* bus = g_dbus_connection_new_for_address_sync(address.c_str(),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        if (bus) {
            auto* node = g_dbus_node_info_new_for_xml(
                "<node><interface name='org.freedesktop.portal.Email'>"
                "<method name='ComposeEmail'><arg type='s' direction='in'/><arg type='a{sv}' direction='in'/>"
                "<arg type='o' direction='out'/></method><property name='version' type='u' access='read'/>"
                "</interface></node>", nullptr);
            static const GDBusInterfaceVTable vtable = {
                +[](GDBusConnection* bus, const char* sender, const char*, const char*, const char*, GVariant* parameters,
                     GDBusMethodInvocation* invocation, gpointer self) {
                    static_cast<FakeEmailPortal*>(self)->compose(bus, sender, parameters, invocation);
                },
                +[](GDBusConnection*, const char*, const char*, const char*, const char*, GError**, gpointer) {
                    return g_variant_new_uint32(3);
                },
                nullptr, {}};
            g_dbus_connection_register_object(bus, "/org/freedesktop/portal/desktop", node->interfaces[0], &vtable, this, nullptr, nullptr);
            g_dbus_node_info_unref(node);
            if (GVariant* reply = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                    "RequestName", g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr)) {
                g_variant_unref(reply);
                m_running = true;
            }
        }
        m_ready = true;
        if (m_running)
            g_main_loop_run(m_loop);
        if (bus) {
            g_dbus_connection_close_sync(bus, nullptr, nullptr);
            g_object_unref(bus);
        }
        g_main_context_pop_thread_default(m_context);
    }

    void compose(GDBusConnection* bus, const char* sender, GVariant* parameters, GDBusMethodInvocation* invocation)
    {
        GVariant* options = g_variant_get_child_value(parameters, 1);
        const char *subjectText = "", *bodyText = "", *token = "";
        g_variant_lookup(options, "subject", "&s", &subjectText);
        g_variant_lookup(options, "body", "&s", &bodyText);
        g_variant_lookup(options, "handle_token", "&s", &token);
        subject = subjectText;
        body = bodyText;
        if (GVariant* fds = g_variant_lookup_value(options, "attachment_fds", G_VARIANT_TYPE("ah"))) {
            attachmentCount = g_variant_n_children(fds);
            g_variant_unref(fds);
        }
        std::string path = std::string("/org/freedesktop/portal/desktop/request/") + (sender + 1) + "/" + token;
        std::replace(path.begin(), path.end(), '.', '_');
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", path.c_str()));
        g_dbus_connection_emit_signal(bus, sender, path.c_str(), "org.freedesktop.portal.Request", "Response",
            g_variant_new("(u@a{sv})", 0u, g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0)), nullptr);
        g_variant_unref(options);
    }

    GPid m_daemon = 0;
    GMainContext* m_context = nullptr;
    GMainLoop* m_loop = nullptr;
    std::thread m_thread;
    std::atomic<bool> m_ready = false;
    bool m_running = false;
};

}

TEST(DesktopSharing, MailGoesToTheDesktopPortalWhenOneRuns)
{
    FakeEmailPortal portal;
    ASSERT_TRUE(portal.running());
    KCScratchDirectory scratch;
    auto attachment = scratch.file("The Book.pdf");
    std::ofstream(attachment) << "%PDF-1.4";
    PMDesktopSharingPlatform platform;
    auto mail = platform.sharingServiceNamed(KCActivityTypeMail);
    RecordingDelegate delegate;
    performAndWait(*mail, delegate, {KCValue(u"Read this."), KCValue(*KCURL::fileURLWithPath(attachment))}, 5);
    EXPECT_EQ(delegate.outcome, "did");
    EXPECT_EQ(portal.subject, "A Subject");
    EXPECT_EQ(portal.body, "Read this.");
    EXPECT_EQ(portal.attachmentCount, 1u);
}
