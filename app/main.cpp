// pagemoor: runs the reading engine from the command line.
#include "PMCommand.h"

#include <iostream>

static void printOverview()
{
    std::cout << "usage: pagemoor COMMAND [ARGS...]\n"
                 "       pagemoor COMMAND --help\n\n"
                 "commands:\n";
    for (const auto& [name, command] : PMRegisteredCommands())
        std::cout << "  " << name << std::string(name.size() < 14 ? 14 - name.size() : 1, ' ') << command.summary << '\n';
}

int main(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        printOverview();
        return args.empty() ? 2 : 0;
    }
    if (args[0] == "--version") {
        std::cout << "pagemoor " PAGEMOOR_VERSION "\n";
        return 0;
    }
    const auto& commands = PMRegisteredCommands();
    auto found = commands.find(args[0]);
    if (found == commands.end())
        return PMFail("unknown command '" + args[0] + "' (see pagemoor --help)");
    args.erase(args.begin());
    if (PMPrintUsageIfAsked(args, found->second.usage))
        return 0;
    return found->second.run(args);
}
