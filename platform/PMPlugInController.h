#pragma once
// The engine's side of the plug-in: what it hands the plug-in at start-up.
#include "PMMessageConnection.h"

#include <memory>

class PMPlugInController {
public:
    virtual ~PMPlugInController() = default;
    // The connection to the reader's UI process.
    virtual std::shared_ptr<PMMessageConnection> connection() = 0;
};
