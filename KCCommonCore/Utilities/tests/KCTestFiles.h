#pragma once
// Scratch directories, files and standard-output capture shared by the tests.
#include "Utilities/KCURL.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include <unistd.h>

// A fresh directory, removed with everything in it. Canonical, since the
// code under test may resolve links in the paths it is given.
class KCScratchDirectory {
public:
    KCScratchDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "kctest-XXXXXX").string();
        m_path = ::mkdtemp(pattern.data()) ? std::filesystem::canonical(pattern).string() : std::string();
    }
    ~KCScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }
    KCURL url(const std::string& name) const { return *KCURL::fileURLWithPath(file(name)); }
    // Every file, directory and link below the directory, relative to it, sorted.
    std::vector<std::string> contents() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_path))
            names.push_back(std::filesystem::relative(entry.path(), m_path).string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::string m_path;
};

inline std::string KCReadTestFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

inline void KCWriteTestFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// Points file descriptor 1 at a temporary file until finish().
class KCStdoutCapture {
public:
    KCStdoutCapture()
    {
        std::fflush(stdout);
        m_file = std::tmpfile();
        m_saved = ::dup(STDOUT_FILENO);
        ::dup2(::fileno(m_file), STDOUT_FILENO);
    }
    ~KCStdoutCapture() { finish(); }

    std::string finish()
    {
        if (!m_file)
            return m_text;
        std::fflush(stdout);
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        std::rewind(m_file);
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, m_file)) > 0;)
            m_text.append(buffer, n);
        std::fclose(m_file);
        m_file = nullptr;
        return m_text;
    }

private:
    std::FILE* m_file = nullptr;
    int m_saved = -1;
    std::string m_text;
};

// A binary property list as another tool reads it: plistutil's XML, or its
// error text with a non-zero status.
inline std::string KCPlistAsXML(const std::vector<uint8_t>& plist, int& status)
{
    KCScratchDirectory scratch;
    std::string path = scratch.file("archive.plist");
    KCWriteTestFile(path, std::string(plist.begin(), plist.end()));
    std::FILE* pipe = ::popen(("plistutil -i '" + path + "' -f xml 2>&1").c_str(), "r");
    std::string xml;
    char buffer[4096];
    while (size_t read = pipe ? std::fread(buffer, 1, sizeof buffer, pipe) : 0)
        xml.append(buffer, read);
    status = pipe ? ::pclose(pipe) : -1;
    return xml;
}
