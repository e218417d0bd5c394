#include "PMDesktopPrint.h"

#include "Utilities/KCGLibPointer.h"
#include "Utilities/KCLogger.h"

#include <webkit/webkit.h>

namespace {

struct PrintJob {
    GtkWidget* window = nullptr;
    WebKitWebView* webView = nullptr;
    std::optional<std::string> pdfPath;
    PMDesktopShareFinish finish;
    bool finished = false;

    void end(std::optional<KCError> error)
    {
        if (finished)
            return;
        finished = true;
        if (error)
            KCLog("%s", error->message.c_str());
        finish(std::move(error));
        // The operation's signals are still on the stack; let them return first.
        g_idle_add_once(+[](gpointer data) {
            auto* job = static_cast<PrintJob*>(data);
            gtk_window_destroy(GTK_WINDOW(job->window));
            delete job;
        }, this);
    }
};

KCError printError(const std::string& message)
{
    return {PMDesktopSharingErrorDomain, 4, message};
}

GtkPrintSettings* pdfSettings(const std::string& path)
{
    GtkPrintSettings* settings = gtk_print_settings_new();
    KCGCharPointer uri(g_filename_to_uri(path.c_str(), nullptr, nullptr));
    gtk_print_settings_set_printer(settings, "Print to File");
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_URI, uri ? uri.get() : "");
    return settings;
}

void print(PrintJob* job)
{
    WebKitPrintOperation* operation = webkit_print_operation_new(job->webView);
    g_signal_connect(operation, "finished", G_CALLBACK(+[](WebKitPrintOperation* operation, PrintJob* job) {
        job->end(std::nullopt);
        g_object_unref(operation);
    }), job);
    g_signal_connect(operation, "failed", G_CALLBACK(+[](WebKitPrintOperation*, GError* error, PrintJob* job) {
        job->end(printError(std::string("Printing failed: ") + (error ? error->message : "")));
    }), job);
    if (job->pdfPath) {
        GtkPrintSettings* settings = pdfSettings(*job->pdfPath);
        webkit_print_operation_set_print_settings(operation, settings);
        g_object_unref(settings);
        webkit_print_operation_print(operation);
    } else if (webkit_print_operation_run_dialog(operation, nullptr) == WEBKIT_PRINT_OPERATION_RESPONSE_CANCEL) {
        job->end(printError("Printing was cancelled"));
        g_object_unref(operation);
    }
}

}

void PMPrintHTML(const std::string& html, const std::optional<std::string>& pdfPath, PMDesktopShareFinish finish)
{
    if (!gtk_init_check()) {
        KCLog("There is no display to print from");
        finish(printError("There is no display to print from"));
        return;
    }
    auto* job = new PrintJob{nullptr, nullptr, pdfPath, std::move(finish)};
    job->window = gtk_window_new();
    job->webView = WEBKIT_WEB_VIEW(webkit_web_view_new());
    gtk_window_set_child(GTK_WINDOW(job->window), GTK_WIDGET(job->webView));
    g_signal_connect(job->webView, "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, PrintJob* job) {
        if (event == WEBKIT_LOAD_FINISHED && !job->finished)
            print(job);
    }), job);
    g_signal_connect(job->webView, "load-failed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent, char*, GError* error, PrintJob* job) {
        job->end(printError(std::string("The page to print did not load: ") + (error ? error->message : "")));
        return FALSE;
    }), job);
    webkit_web_view_load_html(job->webView, html.c_str(), nullptr);
}
