#pragma once
// An absolute URL, parsed once with GLib's GUri. Components are kept as the
// URL writes them, except path(), which is percent-decoded as a file path is.
// Errors: the constructors answer nothing for text that is not an absolute URL.
#include <optional>
#include <string>
#include <string_view>

class KCURL {
public:
    // Absent for text that is not an absolute URL.
    static std::optional<KCURL> URLWithString(std::string_view text);
    // file:// URL of an absolute path; absent for a relative path.
    static std::optional<KCURL> fileURLWithPath(std::string_view path);

    const std::string& absoluteString() const { return m_absolute; }
    const std::string& scheme() const { return m_scheme; }  // lower case
    const std::string& host() const { return m_host; }
    const std::string& path() const { return m_path; }
    const std::string& query() const { return m_query; }
    std::string lastPathComponent() const;
    std::string pathExtension() const;
    bool isFileURL() const { return m_scheme == "file"; }

    friend bool operator==(const KCURL& a, const KCURL& b) { return a.m_absolute == b.m_absolute; }

private:
    KCURL() = default;
    std::string m_absolute;
    std::string m_scheme;
    std::string m_host;
    std::string m_path;
    std::string m_query;
};

// Path helpers shared by URLs and file paths.
std::string KCLastPathComponent(std::string_view path);
std::string KCPathExtension(std::string_view path);
std::string KCDeletingPathExtension(std::string_view name);
