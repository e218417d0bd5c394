#pragma once
// Sends the shared logger's lines to a private file, and only there, for the
// life of the object, so that a test can read what was logged.
#include <string>

class PMLogCapture {
public:
    PMLogCapture();
    ~PMLogCapture();
    PMLogCapture(const PMLogCapture&) = delete;
    PMLogCapture& operator=(const PMLogCapture&) = delete;

    std::string text() const;
    bool contains(const std::string& needle) const { return text().find(needle) != std::string::npos; }

private:
    std::string m_path;
};
