#include "PMCommand.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>

#include <unistd.h>

PMArguments::PMArguments(const std::vector<std::string>& raw, const std::set<std::string>& valueOptions)
{
    for (size_t i = 0; i < raw.size(); ++i) {
        std::string argument = raw[i];
        if (argument == "-o")
            argument = "--output";
        if (argument.size() < 3 || !argument.starts_with("--")) {
            m_positionals.push_back(raw[i]);
            continue;
        }
        std::string name = argument.substr(2);
        std::optional<std::string> inlineValue;
        if (size_t equals = name.find('='); equals != std::string::npos) {
            inlineValue = name.substr(equals + 1);
            name.resize(equals);
        }
        if (!valueOptions.count(name)) {
            m_flags.insert(name);
            continue;
        }
        if (inlineValue) {
            m_options.emplace(name, *inlineValue);
        } else if (i + 1 < raw.size()) {
            m_options.emplace(name, raw[++i]);
        } else {
            m_error = "option --" + name + " needs a value";
        }
    }
}

std::optional<std::string> PMArguments::option(const std::string& name) const
{
    auto found = m_options.find(name);
    return found == m_options.end() ? std::nullopt : std::optional<std::string>(found->second);
}

std::vector<std::string> PMArguments::options(const std::string& name) const
{
    std::vector<std::string> values;
    auto [first, last] = m_options.equal_range(name);
    for (auto it = first; it != last; ++it)
        values.push_back(it->second);
    return values;
}

std::vector<std::string> PMArguments::unknownNames(const std::set<std::string>& knownFlags) const
{
    std::vector<std::string> unknown;
    for (const auto& name : m_flags) {
        if (!knownFlags.count(name))
            unknown.push_back("--" + name);
    }
    return unknown;
}

static std::map<std::string, PMCommand>& registry()
{
    static std::map<std::string, PMCommand> commands;
    return commands;
}

PMCommandRegistration::PMCommandRegistration(PMCommand command)
{
    std::string name = command.name;
    registry().emplace(std::move(name), std::move(command));
}

const std::map<std::string, PMCommand>& PMRegisteredCommands()
{
    return registry();
}

namespace {

int failureDescriptor = STDERR_FILENO;

} // namespace

void PMSetFailureDescriptor(int descriptor)
{
    failureDescriptor = descriptor;
}

int PMFail(const std::string& message)
{
    std::cout.flush();
    std::cerr.flush();
    PMWriteAll(failureDescriptor, "pagemoor: " + message + "\n");
    return 1;
}

bool PMWriteAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool PMWriteOutput(std::string_view bytes, const std::optional<std::string>& path)
{
    if (!path)
        return std::fflush(stdout) == 0 && PMWriteAll(STDOUT_FILENO, bytes);
    std::ofstream file(*path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(file.flush());
}

std::optional<int> PMRejectUnknown(const PMArguments& arguments, const std::set<std::string>& flags)
{
    if (arguments.error())
        return PMFail(*arguments.error());
    if (auto unknown = arguments.unknownNames(flags); !unknown.empty())
        return PMFail("unknown option " + unknown.front());
    return std::nullopt;
}

void PMSendLogToStandardError()
{
    KCLogger::sharedLogger()->setAuxPath("/dev/stderr");
    KCLogger::sharedLogger()->setLogToFileOnly(true);
}

bool PMPrintUsageIfAsked(const std::vector<std::string>& args, const std::string& usage)
{
    for (const auto& argument : args) {
        if (argument == "--help" || argument == "-h") {
            std::cout << usage;
            if (!usage.empty() && usage.back() != '\n')
                std::cout << '\n';
            return true;
        }
    }
    return false;
}

std::optional<KCSize> PMParseSize(const std::string& text)
{
    size_t separator = text.find('x');
    if (separator == std::string::npos)
        return std::nullopt;
    std::optional<double> width = KCDoubleFromString(std::string_view(text).substr(0, separator));
    std::optional<double> height = KCDoubleFromString(std::string_view(text).substr(separator + 1));
    if (!width || !height || !(*width >= 1 && *width <= 8192) || !(*height >= 1 && *height <= 8192))
        return std::nullopt;
    return KCSize {*width, *height};
}
