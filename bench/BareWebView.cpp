// The floor under the reader's start-up: a window holding nothing but a web
// view of the same engine, at the same size, loading one page. It prints the
// wall-clock time (nanoseconds since the epoch) at which that load finished
// and exits. Built and run by bench/reader.sh.
// usage: BareWebView FILE_URI WIDTH HEIGHT
#include <webkit/webkit.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 4 || !gtk_init_check()) {
        std::fprintf(stderr, "usage: BareWebView FILE_URI WIDTH HEIGHT (with a display)\n");
        return 2;
    }
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    GtkWidget* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), std::atoi(argv[2]), std::atoi(argv[3]));
    GtkWidget* view = webkit_web_view_new();
    gtk_window_set_child(GTK_WINDOW(window), view);
    g_signal_connect(view, "load-changed", G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer loop) {
        if (event != WEBKIT_LOAD_FINISHED)
            return;
        std::printf("%lld\n", static_cast<long long>(g_get_real_time()) * 1000);
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
    }), loop);
    gtk_window_present(GTK_WINDOW(window));
    webkit_web_view_load_uri(WEBKIT_WEB_VIEW(view), argv[1]);
    g_main_loop_run(loop);
    return 0;
}
