#include "KCURL.h"

#include "KCGLibPointer.h"

namespace {

std::string textOrEmpty(const char* text)
{
    return text ? std::string(text) : std::string();
}

// With a host, the path must be empty or absolute.
bool isWritablePath(const char* path)
{
    return !path || !*path || *path == '/';
}

} // namespace

std::optional<KCURL> KCURL::URLWithString(std::string_view text)
{
    std::string owned(text);
    KCGUriPointer uri(g_uri_parse(owned.c_str(), GUriFlags(G_URI_FLAGS_ENCODED | G_URI_FLAGS_PARSE_RELAXED), nullptr));
    // Relaxed parsing lets ';' end a host, which leaves a path that does not
    // start with '/' and that no URL can be written back with; read such text
    // by the strict grammar, where ';' belongs to the host.
    if (uri && g_uri_get_host(uri.get()) && !isWritablePath(g_uri_get_path(uri.get())))
        uri.reset(g_uri_parse(owned.c_str(), G_URI_FLAGS_ENCODED, nullptr));
    if (!uri)
        return std::nullopt;
    KCURL url;
    KCGCharPointer absolute(g_uri_to_string(uri.get()));
    if (!absolute)
        return std::nullopt;
    url.m_absolute = absolute.get();
    url.m_scheme = textOrEmpty(g_uri_get_scheme(uri.get()));
    url.m_host = textOrEmpty(g_uri_get_host(uri.get()));
    url.m_query = textOrEmpty(g_uri_get_query(uri.get()));
    const char* rawPath = g_uri_get_path(uri.get());
    KCGCharPointer decoded(rawPath ? g_uri_unescape_string(rawPath, nullptr) : nullptr);
    url.m_path = decoded ? std::string(decoded.get()) : textOrEmpty(rawPath);
    return url;
}

std::optional<KCURL> KCURL::fileURLWithPath(std::string_view path)
{
    std::string owned(path);
    GError* error = nullptr;
    KCGCharPointer uri(g_filename_to_uri(owned.c_str(), nullptr, &error));
    if (!uri) {
        g_clear_error(&error);
        return std::nullopt;
    }
    return URLWithString(uri.get());
}

std::string KCURL::lastPathComponent() const
{
    return KCLastPathComponent(m_path);
}

std::string KCURL::pathExtension() const
{
    return KCPathExtension(m_path);
}

std::string KCLastPathComponent(std::string_view path)
{
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    if (path == "/")
        return "/";
    size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string KCPathExtension(std::string_view path)
{
    std::string name = KCLastPathComponent(path);
    size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == name.size())
        return {};
    return name.substr(dot + 1);
}

std::string KCDeletingPathExtension(std::string_view name)
{
    size_t slash = name.rfind('/');
    size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || (slash != std::string_view::npos && dot <= slash + 1))
        return std::string(name);
    return std::string(name.substr(0, dot));
}
