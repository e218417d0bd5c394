#include "PMEngineCommand.h"

#include "app/PMCommand.h"

std::unique_ptr<PMEngineSession> PMStartEngineSession(const std::string& epubPath, const KCSize& viewSize, bool verbose, int* status,
    const PMEngineArgumentCheck& check, bool forReaderWindow)
{
    KCError error;
    auto session = PMEngineSession::openBook(epubPath, &error);
    std::optional<std::string> problem = !session ? std::optional(error.message) : check ? check(*session) : std::nullopt;
    if (!problem) {
        if (auto prepared = PMPrepareEngineCommand(verbose)) {
            *status = *prepared;
            return nullptr;
        }
        if (forReaderWindow ? session->beginEngineForReader(viewSize, &error) : session->startEngine(viewSize, &error))
            return session;
        problem = error.message;
    }
    *status = PMFail(*problem);
    return nullptr;
}
