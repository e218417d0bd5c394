#pragma once
// Subcommands of the pagemoor program and the small argument parser they share.
#include "Utilities/KCGeometry.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Parsed arguments: "--name value" options, "--name" flags, and positionals.
// A command declares which names take a value; everything else starting with
// "--" is a flag. "-o" is accepted as "--output".
class PMArguments {
public:
    PMArguments(const std::vector<std::string>& raw, const std::set<std::string>& valueOptions);

    bool flag(const std::string& name) const { return m_flags.count(name) > 0; }
    std::optional<std::string> option(const std::string& name) const;
    std::vector<std::string> options(const std::string& name) const;
    const std::vector<std::string>& positionals() const { return m_positionals; }
    // Set when the arguments could not be parsed (an option without its value).
    const std::optional<std::string>& error() const { return m_error; }
    // Names given that the command does not know; reported as errors.
    std::vector<std::string> unknownNames(const std::set<std::string>& knownFlags) const;

private:
    std::set<std::string> m_flags;
    std::multimap<std::string, std::string> m_options;
    std::vector<std::string> m_positionals;
    std::optional<std::string> m_error;
};

struct PMCommand {
    std::string name;
    std::string summary;
    std::string usage;  // shown by --help
    int (*run)(const std::vector<std::string>& args);
};

// Registers a command at start-up; used as a static object in each command file.
struct PMCommandRegistration {
    explicit PMCommandRegistration(PMCommand command);
};

const std::map<std::string, PMCommand>& PMRegisteredCommands();

// Prints "pagemoor: message" to standard error and answers the failure status.
int PMFail(const std::string& message);
// Where PMFail writes once standard error carries something else (the
// engine's log); standard error until then.
void PMSetFailureDescriptor(int descriptor);
// Writes every byte to the descriptor; false when a write fails.
bool PMWriteAll(int descriptor, std::string_view bytes);
// Writes the bytes to the file at `path` (replacing it), or to standard output without one; false when that fails.
bool PMWriteOutput(std::string_view bytes, const std::optional<std::string>& path);
// Fails (with the status) when the arguments did not parse or name a flag that the command does not know.
std::optional<int> PMRejectUnknown(const PMArguments& arguments, const std::set<std::string>& flags);
// Sends the log to standard error, so that standard output carries only the answer.
void PMSendLogToStandardError();
// Answers true and prints the usage when the arguments ask for help.
bool PMPrintUsageIfAsked(const std::vector<std::string>& args, const std::string& usage);
// "600x800" -> {600, 800}; nothing for anything else (each side 1 to 8192).
std::optional<KCSize> PMParseSize(const std::string& text);
