#include "PMDisplay.h"

#include "app/PMCommand.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

std::optional<int> PMEnsureDisplay()
{
    if (std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY") || std::getenv("PAGEMOOR_UNDER_XVFB"))
        return std::nullopt;
    std::ifstream commandLine("/proc/self/cmdline", std::ios::binary);
    std::string raw((std::istreambuf_iterator<char>(commandLine)), std::istreambuf_iterator<char>());
    std::vector<std::string> arguments {"xvfb-run", "-a", "-s", "-screen 0 1280x1024x24"};
    char executable[4096];
    ssize_t length = readlink("/proc/self/exe", executable, sizeof(executable) - 1);
    if (length <= 0)
        return PMFail("there is no display, and the program cannot find itself to start under xvfb-run");
    arguments.push_back(std::string(executable, static_cast<size_t>(length)));
    size_t start = raw.find('\0');  // the program name is replaced by its full path
    while (start != std::string::npos && start + 1 < raw.size()) {
        size_t end = raw.find('\0', start + 1);
        arguments.push_back(raw.substr(start + 1, end - start - 1));
        start = end;
    }
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    setenv("PAGEMOOR_UNDER_XVFB", "1", 1);
    execvp("xvfb-run", argv.data());
    return PMFail("there is no display and xvfb-run could not be started");
}
