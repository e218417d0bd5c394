#pragma once
// The start that the engine commands share: the book is opened and the
// arguments checked against it before anything of the engine starts, so a
// mistake is reported at once.
#include "PMEngineOutput.h"
#include "engine/PMEngineSession.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

// What is wrong with the arguments for this book, or nothing.
using PMEngineArgumentCheck = std::function<std::optional<std::string>(const PMEngineSession&)>;

// The session with its engine running, or nothing once the reason is printed
// (*status is then the exit status). For the reader window the engine is
// begun, not waited for (PMEngineSession::beginEngineForReader).
std::unique_ptr<PMEngineSession> PMStartEngineSession(const std::string& epubPath, const KCSize& viewSize, bool verbose, int* status,
    const PMEngineArgumentCheck& check = {}, bool forReaderWindow = false);
