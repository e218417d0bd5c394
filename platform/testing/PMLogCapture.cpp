#include "PMLogCapture.h"

#include "Utilities/KCLogger.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unistd.h>

PMLogCapture::PMLogCapture()
{
    const char* directory = std::getenv("TMPDIR");
    std::string pattern = std::string(directory && *directory ? directory : "/tmp") + "/pm-log-XXXXXX";
    int fd = ::mkstemp(pattern.data());
    if (fd >= 0)
        ::close(fd);
    m_path = pattern;
    KCLogger::sharedLogger()->setAuxPath(m_path);
    KCLogger::sharedLogger()->setLogToFileOnly(true);
}

PMLogCapture::~PMLogCapture()
{
    KCLogger::sharedLogger()->setLogToFileOnly(false);
    KCLogger::sharedLogger()->setAuxPath(std::nullopt);
    std::remove(m_path.c_str());
}

std::string PMLogCapture::text() const
{
    std::ifstream file(m_path);
    std::stringstream contents;
    contents << file.rdbuf();
    return contents.str();
}
