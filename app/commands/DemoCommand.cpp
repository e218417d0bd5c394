// pagemoor demo: shows what the engine can do on a bundled sample.
#include "PMCommand.h"

#include "Utilities/KCFormat.h"
#include "Utilities/KCLogger.h"
#include "Utilities/KCValue.h"

#include <iostream>

namespace {

int runDemo(const std::vector<std::string>& args)
{
    PMArguments arguments(args, {});
    if (!arguments.positionals().empty())
        return PMFail("demo takes no arguments");

    std::cout << "Pagemoor reading engine demo\n\n";
    std::cout << "Formatting: " << KCStringWithFormat("%@ has %d chapters, %.2f%% read, id %x", u"Sample Book", 30, 42.5, 0xbeefu) << "\n";

    KCDictionary body {{"task", 1}, {"PMEpubWebProcessPlugInObjectDocumentIndex", 7u}};
    std::cout << "A task message body:\n" << KCValue(body).description() << "\n\n";

    std::cout << "A log line:\n" << std::flush;
    KCLog("Demo started with %d argument(s)", static_cast<int>(args.size()));
    return 0;
}

PMCommandRegistration registration({"demo", "show what the engine can do on a bundled sample", "usage: pagemoor demo\n", runDemo});

} // namespace
